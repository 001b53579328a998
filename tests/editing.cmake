# Profile editing and the option lists through the real dialogs, and the add dialog itself.
launcher_test(tst_editing LABEL gui SOURCES tst_editing.cpp LIBS launcherui)
