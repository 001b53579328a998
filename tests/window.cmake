# The main window, launching and the start-up paths.

# Bare: no emulator and no default file beside it, so launching fails and only the user's
# own file can be loaded.
launcher_test(tst_mainwindow BARE SOURCES tst_mainwindow.cpp LIBS launcherui)

# Beside the launcher, so the stand-in emulator is the one started.
launcher_test(tst_launch SOURCES tst_launch.cpp LIBS launcherui)
if(TARGET nimbra-mobile-emulator-standin)
    add_dependencies(tst_launch nimbra-mobile-emulator-standin)
endif()

# The real entry point with a companion that answers the start-up box and closes the window
# from outside, so the process ends as a user would end it. Built beside the launcher to find
# the shipped default file; the test copies it into a bare app folder for the other cases.
qt_add_executable(startup_launcher ${PROJECT_SOURCE_DIR}/launcher/main.cpp startup_autoclose.cpp)
target_link_libraries(startup_launcher PRIVATE launcherui)
set_target_properties(startup_launcher PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${LAUNCHER_MACOS_DIR}")

launcher_test(tst_startup SOURCES tst_startup.cpp)
target_compile_definitions(tst_startup PRIVATE
    STARTUP_LAUNCHER="$<TARGET_FILE:startup_launcher>"
    SHIPPED_DEFAULT_CONFIG="${LAUNCHER_RESOURCES_DIR}/LauncherDefault.ini")
add_dependencies(tst_startup startup_launcher)
