// Where the single-instance lock and socket of a launcher live. Shared by the launcher and by
// the tools that must not write Launcher.ini while it runs.
#pragma once

#include <QList>
#include <QString>

struct InstancePaths
{
    QString lockPath;
    QString serverPath;
};

// The name that tells the launcher installed at executablePath, for this user, from copies at
// other paths and other users: short, as macOS allows socket paths of about 100 bytes.
QString InstanceName(const QString& executablePath);

// The lock file and socket of the launcher installed at executablePath, for this user: copies
// at other paths and other users get paths of their own. They lie in the first of the
// candidate folders below, where a launcher runs unless that folder can't hold a lock.
InstancePaths InstancePathsFor(const QString& executablePath);

// Every place the launcher may hold its lock, in the order each start tries them: the session's
// runtime folder, the temporary folder, the "Nimbra Mobile" data folder. The first where the
// lock can be created or is already held is in use, so a tool that must not write while a
// launcher runs checks each of them.
QList<InstancePaths> InstancePathCandidatesFor(const QString& executablePath);
