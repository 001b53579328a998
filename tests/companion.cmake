# The command-line companion: its model rules against the core, and the real program, run
# from the build's app folder beside the real launcher and stand-in emulator.
launcher_test(tst_profileio LABEL unit SOURCES tst_profileio.cpp LIBS launchercore)

foreach(name tst_companion tst_companionimport)
    launcher_test(${name} LABEL process SOURCES ${name}.cpp companion_support.cpp
                  companion_support.h LIBS launcherui)
    target_compile_definitions(${name} PRIVATE
        COMPANION="$<TARGET_FILE:nimbra-mobile-launch>"
        LAUNCHER_EXECUTABLE="$<TARGET_FILE:nimbra-mobile-launcher>")
    add_dependencies(${name} nimbra-mobile-launch nimbra-mobile-launcher
                     nimbra-mobile-emulator-standin)
endforeach()
