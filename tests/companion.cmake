# The command-line companion, run from the build's app folder beside the real launcher and
# stand-in emulator (its model rules are tst_keeping's).
launcher_test(tst_companion LABEL process SOURCES tst_companion.cpp companionfixture.h
              LIBS launchercore)
target_compile_definitions(tst_companion PRIVATE
    COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
    LAUNCHER_EXECUTABLE="$<TARGET_FILE:nimbra-mobile-launcher>")
add_dependencies(tst_companion nimbra-mobile-launch nimbra-mobile-launcher
                 nimbra-mobile-emulator-standin)
