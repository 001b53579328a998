# The single-instance class, driven through real processes: a small helper program started
# from copies at private paths (one identity per test), and the launcher itself, including
# the lock's fallback folders.
qt_add_executable(singleinstance_helper singleinstance_helper.cpp)
target_link_libraries(singleinstance_helper PRIVATE launcherui)

launcher_test(tst_singleinstance LABEL process SOURCES tst_singleinstance.cpp LIBS launcherui)
target_compile_definitions(tst_singleinstance PRIVATE
    SINGLEINSTANCE_HELPER="$<TARGET_FILE:singleinstance_helper>"
    LAUNCHER_EXECUTABLE="$<TARGET_FILE:nimbra-mobile-launcher>")
add_dependencies(tst_singleinstance singleinstance_helper nimbra-mobile-launcher)
# Both run outside an app folder: they load the single-instance module from the build's.
foreach(program singleinstance_helper tst_singleinstance)
    target_compile_definitions(${program} PRIVATE LAUNCHER_MACOS_DIR="${LAUNCHER_MACOS_DIR}")
endforeach()
