# The rules behind the profile list's menu, and the menu, its keys and the command preview.
launcher_test(tst_profilerules LABEL unit SOURCES tst_profilerules.cpp LIBS launchercore)
launcher_test(tst_profilemenu LABEL gui SOURCES tst_profilemenu.cpp
              LIBS launcherui)
