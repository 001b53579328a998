# Keeping what the user typed or kept: quoted entries in the file, out-of-date files set
# aside, a failed save at exit, and the single-instance lock's fallback folders.
launcher_test(tst_keeping LABEL unit SOURCES tst_keeping.cpp LIBS launchercore)
launcher_test(tst_savefailure LABEL gui SOURCES tst_savefailure.cpp LIBS launcherui)
launcher_test(tst_lockfallback LABEL process SOURCES tst_lockfallback.cpp LIBS launcherui)
target_compile_definitions(tst_lockfallback PRIVATE
    SINGLEINSTANCE_HELPER="$<TARGET_FILE:singleinstance_helper>")
add_dependencies(tst_lockfallback singleinstance_helper)
