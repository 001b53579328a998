// Each launch's output in a log file of its own, named after its profile, and the pruning that
// keeps the folder small.
#pragma once

#include <QString>
#include <QStringList>

namespace LaunchLogs {

constexpr int KeepPerProfile = 10;
constexpr int KeepInAll = 50;

// $XDG_STATE_HOME/Nimbra Mobile/logs on Linux (~/.local/state by default),
// ~/Library/Logs/Nimbra Mobile on macOS.
QString Folder();

// The part of a log's file name that stands for its profile: a single path component for any
// name (no separator, no leading dot), at most 120 bytes, and different for different names.
QString FileStem(const QString& profile);

// Makes a new log in folder (and the folder) for a launch of profile at startedMs since the
// epoch, with the command as its first line. Its path; empty, with *error set, when it can't.
QString Create(const QString& folder, const QString& profile, const QString& command,
               qint64 startedMs, QString* error);

// Removes the oldest logs beyond keepPerProfile of each profile and keepInAll in all, except
// those in inUse (paths of logs still being written or read), which count as kept.
void Prune(const QString& folder, const QStringList& inUse, int keepPerProfile = KeepPerProfile,
           int keepInAll = KeepInAll);

// The newest log of profile in folder; empty when there is none.
QString Latest(const QString& folder, const QString& profile);

// Up to count last lines of the emulator's output in the log at path, oldest first; the command
// on the first line is not output.
QStringList LastLines(const QString& path, int count);

} // namespace LaunchLogs
