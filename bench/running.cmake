# The running emulators: the companion's --running on 20 entries, and how often an idle
# launcher wakes while emulators run, both with the programs of the build's app folder.
add_executable(bench_running "${CMAKE_CURRENT_LIST_DIR}/bench_running.cpp")
target_link_libraries(bench_running PRIVATE startupsupport launchercore)
target_compile_definitions(bench_running PRIVATE
    COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
    LAUNCHER="$<TARGET_FILE:nimbra-mobile-launcher>"
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
add_dependencies(bench_running nimbra-mobile-launch nimbra-mobile-launcher nimbra-mobile-supervise
                 nimbra-mobile-emulator-standin)
