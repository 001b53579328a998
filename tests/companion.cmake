# The command-line companion: its model rules against the core, and the real program, run
# from the build's app folder beside the real launcher and stand-in emulator.
launcher_test(tst_profileio LABEL unit SOURCES tst_profileio.cpp LIBS launchercore)

foreach(test tst_companion tst_companionimport)
    launcher_test(${test} LABEL process SOURCES ${test}.cpp companionfixture.h LIBS launchercore)
    target_compile_definitions(${test} PRIVATE
        COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
        LAUNCHER_EXECUTABLE="$<TARGET_FILE:nimbra-mobile-launcher>")
    add_dependencies(${test} nimbra-mobile-launch nimbra-mobile-launcher
                     nimbra-mobile-emulator-standin)
endforeach()
