# The command-line companion: its model rules against the core, and the real program, run
# from the build's app folder beside the real launcher and stand-in emulator.
launcher_test(tst_profileio LABEL unit SOURCES tst_profileio.cpp LIBS launchercore)

launcher_test(tst_companion LABEL process SOURCES tst_companion.cpp LIBS launcherui)
target_compile_definitions(tst_companion PRIVATE
    COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
    LAUNCHER_EXECUTABLE="$<TARGET_FILE:nimbra-mobile-launcher>")
add_dependencies(tst_companion nimbra-mobile-launch nimbra-mobile-launcher
                 nimbra-mobile-emulator-standin)
