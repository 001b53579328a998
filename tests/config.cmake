# The Launcher.ini format, the model's shared rules, file locations, the atomic save, and
# loading and saving by the window.
launcher_test(tst_configformat LABEL unit SOURCES tst_configformat.cpp LIBS launchercore)
launcher_test(tst_model LABEL unit SOURCES tst_model.cpp LIBS launchercore)
launcher_test(tst_loadsave LABEL gui SOURCES tst_loadsave.cpp LIBS launcherui)
