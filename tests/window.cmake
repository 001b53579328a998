# The main window, its keys and what a screen reader gets, and the start-up paths.
launcher_test(tst_mainwindow LABEL gui SOURCES tst_mainwindow.cpp LIBS launcherui)

# The real entry point with a companion that answers the start-up box and closes the window
# from outside, so the process ends as a user would end it. The test copies it into app
# folders of its own.
qt_add_executable(startup_launcher startup_autoclose.cpp)
target_link_libraries(startup_launcher PRIVATE launchermain launcherui)

launcher_test(tst_startup LABEL process SOURCES tst_startup.cpp LIBS launchercore)
target_compile_definitions(tst_startup PRIVATE STARTUP_LAUNCHER="$<TARGET_FILE:startup_launcher>")
add_dependencies(tst_startup startup_launcher)
