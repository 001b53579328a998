# Keeping what the user typed or kept: quoted entries in the file and out-of-date files set
# aside.
launcher_test(tst_keeping LABEL unit SOURCES tst_keeping.cpp LIBS launchercore)
