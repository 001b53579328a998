# The command-line companion's --list on a large file, against cat of the same file and the
# window's cold start (launcher_startup, from startup.cmake).
add_executable(bench_companion "${CMAKE_CURRENT_LIST_DIR}/bench_companion.cpp")
target_link_libraries(bench_companion PRIVATE startupsupport launchercore)
target_compile_definitions(bench_companion PRIVATE
    COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
    LAUNCHER_STARTUP="$<TARGET_FILE:launcher_startup>"
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
add_dependencies(bench_companion nimbra-mobile-launch launcher_startup)
