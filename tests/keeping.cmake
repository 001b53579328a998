# Keeping what the user typed or kept: quoted entries in the file, out-of-date files set
# aside, and profiles exported from and merged into a model.
launcher_test(tst_keeping LABEL unit SOURCES tst_keeping.cpp LIBS launchercore)
