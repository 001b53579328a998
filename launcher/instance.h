// Where the single-instance lock and socket of a launcher live. Shared by the launcher and by
// the tools that must not write Launcher.ini while it runs.
#pragma once

#include <QString>

struct InstancePaths
{
    QString lockPath;
    QString serverPath;
};

// The lock file and socket of the launcher installed at executablePath, for this user: copies
// at other paths and other users get paths of their own.
InstancePaths InstancePathsFor(const QString& executablePath);
