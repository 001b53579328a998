#pragma once

#include <QString>

enum FileKind {
    UserConfigFile = 0,
    DefaultConfigFile = 1,
    HelpFile = 2,
    EmulatorFile = 3,
};

// Path of the file of the given kind, traced at debug level on every call; empty for an
// unknown kind.
QString GetFileName(int kind);

// The same path without the trace, for what only looks (the command preview): the trace
// records lookups that the launcher acts on.
QString ResolveFileName(int kind);

// The single-instance module, in the app folder's Contents/PlugIns.
QString InstanceModulePath();

// Tests only: resolve the app folder's files as if the executable sat in macosFolder (a
// Contents/MacOS folder of a fixture app folder). An empty path restores the real one.
void SetApplicationDirForTesting(const QString& macosFolder);

// The launcher's own executable in the app folder, which single instance's identity is made
// from; on macOS it is the bundle's main executable and named as the bundle.
QString LauncherExecutablePath();

// The "Nimbra Mobile" folder of the user's state, for what the launcher keeps between runs
// that is not the user's file: $XDG_STATE_HOME (by default ~/.local/state) on Linux, the data
// folder on macOS.
QString UserStateFolder();
