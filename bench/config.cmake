# Launcher.ini load and save times against a QSettings reference.
add_executable(bench_config "${CMAKE_CURRENT_LIST_DIR}/bench_config.cpp")
target_link_libraries(bench_config PRIVATE launchercore Qt6::Core)
target_compile_definitions(bench_config PRIVATE
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")

# The three-way merge and the recovery write on 10,000 profiles, against loading the file.
add_executable(bench_keeping "${CMAKE_CURRENT_LIST_DIR}/bench_keeping.cpp")
target_link_libraries(bench_keeping PRIVATE launchercore)
target_compile_definitions(bench_keeping PRIVATE
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
