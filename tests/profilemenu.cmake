# The profile list's menu, its keys and the command preview (its rules are tst_model's).
launcher_test(tst_profilemenu LABEL gui SOURCES tst_profilemenu.cpp
              LIBS launcherui)
