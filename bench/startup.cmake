# Start-up and launch benchmarks. The timed programs link startup_probe, which reports the
# first shown window on stdout; the floors are the references measured in the same run.
add_library(startupprobe OBJECT "${CMAKE_CURRENT_LIST_DIR}/startup_probe.cpp")
target_link_libraries(startupprobe PUBLIC Qt6::Gui)

add_library(startupsupport STATIC
    "${CMAKE_CURRENT_LIST_DIR}/startup_support.cpp" "${CMAKE_CURRENT_LIST_DIR}/startup_support.h")
target_link_libraries(startupsupport PUBLIC Qt6::Core)
target_include_directories(startupsupport PUBLIC "${CMAKE_CURRENT_LIST_DIR}")

foreach(floor floor_bare floor_widgets)
    qt_add_executable(${floor} "${CMAKE_CURRENT_LIST_DIR}/${floor}.cpp")
    target_link_libraries(${floor} PRIVATE startupprobe Qt6::Widgets)
endforeach()
# Steps between the floors and the launcher, to show where the time goes.
qt_add_executable(floor_text "${CMAKE_CURRENT_LIST_DIR}/floor_bare.cpp")
target_link_libraries(floor_text PRIVATE startupprobe Qt6::Widgets)
target_compile_definitions(floor_text PRIVATE FLOOR_WITH_TEXT)
qt_add_executable(floor_network "${CMAKE_CURRENT_LIST_DIR}/floor_widgets.cpp")
target_link_libraries(floor_network PRIVATE startupprobe Qt6::Widgets Qt6::Network)
target_compile_definitions(floor_network PRIVATE FLOOR_WITH_NETWORK)
qt_add_executable(floor_quit "${CMAKE_CURRENT_LIST_DIR}/floor_quit.cpp")
target_link_libraries(floor_quit PRIVATE Qt6::Widgets)

# The launcher's own entry point with the probe, in an app folder of the benchmarks' own that
# holds the shipped default file, so it starts exactly as the launcher does.
set(bench_app "${CMAKE_CURRENT_BINARY_DIR}/Bench App.app/Contents")
qt_add_executable(launcher_startup)
target_link_libraries(launcher_startup PRIVATE launchermain launcherui startupprobe)
set_target_properties(launcher_startup PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${bench_app}/MacOS")
# Its single-instance module loads from the app folder, as the launcher's does.
add_custom_command(TARGET launcher_startup POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory "${bench_app}/PlugIns"
    COMMAND ${CMAKE_COMMAND} -E copy "$<TARGET_FILE:nimbra-mobile-instance>" "${bench_app}/PlugIns/")
set(default_ini "${bench_app}/Resources/LauncherDefault.ini")
configure_file("${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini" "${default_ini}" COPYONLY)

add_executable(bench_startup "${CMAKE_CURRENT_LIST_DIR}/bench_startup.cpp")
target_link_libraries(bench_startup PRIVATE startupsupport)
target_compile_definitions(bench_startup PRIVATE
    FLOOR_BARE="$<TARGET_FILE:floor_bare>"
    FLOOR_WIDGETS="$<TARGET_FILE:floor_widgets>"
    FLOOR_TEXT="$<TARGET_FILE:floor_text>"
    FLOOR_NETWORK="$<TARGET_FILE:floor_network>"
    LAUNCHER_STARTUP="$<TARGET_FILE:launcher_startup>"
    LAUNCHER_DEFAULT_INI="${default_ini}")
add_dependencies(bench_startup floor_bare floor_widgets floor_text floor_network launcher_startup)

add_executable(bench_handoff "${CMAKE_CURRENT_LIST_DIR}/bench_handoff.cpp")
target_link_libraries(bench_handoff PRIVATE startupsupport)
target_compile_definitions(bench_handoff PRIVATE
    LAUNCHER="$<TARGET_FILE:nimbra-mobile-launcher>"
    FLOOR_QUIT="$<TARGET_FILE:floor_quit>"
    LAUNCHER_DEFAULT_INI="${default_ini}")
add_dependencies(bench_handoff nimbra-mobile-launcher floor_quit)

# Points the launcher's file lookups at a fixture app folder holding the stand-in emulator.
qt_add_executable(bench_launch "${CMAKE_CURRENT_LIST_DIR}/bench_launch.cpp")
target_link_libraries(bench_launch PRIVATE launcherui startupsupport)
target_include_directories(bench_launch PRIVATE "${PROJECT_SOURCE_DIR}/tests")
target_compile_definitions(bench_launch PRIVATE
    STANDIN_EMULATOR="$<TARGET_FILE:nimbra-mobile-emulator-standin>"
    SUPERVISOR="$<TARGET_FILE:nimbra-mobile-supervise>"
    LAUNCHER_DEFAULT_SOURCE="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
add_dependencies(bench_launch nimbra-mobile-emulator-standin nimbra-mobile-supervise)

# The window's scale: building it, filtering and quitting with 10,000 profiles, in process.
qt_add_executable(bench_window "${CMAKE_CURRENT_LIST_DIR}/bench_window.cpp")
target_link_libraries(bench_window PRIVATE launcherui)
target_include_directories(bench_window PRIVATE "${PROJECT_SOURCE_DIR}/tests")
target_compile_definitions(bench_window PRIVATE
    LAUNCHER_DEFAULT_INI="${PROJECT_SOURCE_DIR}/resources/LauncherDefault.ini")
