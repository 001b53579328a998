# The Launcher.ini format, file locations, the atomic save, and loading and saving by the window.
launcher_test(tst_configformat BARE SOURCES tst_configformat.cpp LIBS launchercore)
launcher_test(tst_configfiles SOURCES tst_configfiles.cpp LIBS launchercore)
launcher_test(tst_loadsave SOURCES tst_loadsave.cpp LIBS launcherui)
