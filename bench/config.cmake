# Launcher.ini load and save times against a QSettings reference.
add_executable(bench_config "${CMAKE_CURRENT_LIST_DIR}/bench_config.cpp")
target_link_libraries(bench_config PRIVATE launchercore Qt6::Core)
target_compile_definitions(bench_config PRIVATE
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
