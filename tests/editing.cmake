# Profile editing, the option lists and the add dialog, driven through the real dialogs.
add_library(editing_support STATIC editing_support.cpp editing_support.h)
target_link_libraries(editing_support PUBLIC launchercore testsupport)

launcher_test(tst_profileediting LABEL gui SOURCES tst_profileediting.cpp
              LIBS launcherui editing_support)
launcher_test(tst_optionlists LABEL gui SOURCES tst_optionlists.cpp
              LIBS launcherui editing_support)
launcher_test(tst_adddlg LABEL gui SOURCES tst_adddlg.cpp LIBS launcherui)
