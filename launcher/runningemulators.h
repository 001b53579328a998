// The running emulators of this user, as the launcher, the companion and their supervisors
// record them: one small file per launch in a folder of their own. An entry is believed only
// while its process still runs as recorded; anything else found there is removed.
#pragma once

#include <QList>
#include <QString>

struct RunningEmulator
{
    enum class State {
        Running,
        StartFailed, // ended right after it started, with a failure status
        NotStarted,  // the program could not be started
    };

    State state = State::Running;
    QString profile;
    qint64 pid = 0;   // the emulator's own
    QString identity; // its process identity (processidentity.h)
    qint64 startedMs = 0;
    QString command;
    QString log; // empty when no log could be written
    qint64 supervisorPid = 0;
    QString supervisorIdentity;
    // How a failed start ended.
    int exitCode = 0;
    int signal = 0; // the signal that ended it; 0 when it exited
    qint64 endedMs = 0;
    QString error;     // why it could not be started
    QString entryPath; // the file it was read from or written to
};

namespace Running {

constexpr int FormatVersion = 1;
// A start counts as failed when the emulator ends this soon with a failure status.
constexpr qint64 FailedStartMs = 5000;
// Stop asks politely first, and ends by force after this.
constexpr int StopGraceMs = 5000;

// $XDG_RUNTIME_DIR/Nimbra Mobile/running; without a runtime folder the per-user temporary
// folder on macOS, else running under the state folder ($XDG_STATE_HOME/Nimbra Mobile).
QString Folder();

// Records entry in folder (made when missing), replacing the file it came from; false when
// it can't be written.
bool Write(RunningEmulator& entry, const QString& folder);
void Remove(const RunningEmulator& entry);

struct Registry
{
    QList<RunningEmulator> running; // oldest first
    QList<RunningEmulator> reports; // failed starts left for the launcher that started them
};

// What folder holds now. An entry whose emulator has ended, or whose id another process has
// since, is not running; it is removed unless its supervisor is still about to record the end.
// Files that are not entries of this version are removed.
Registry Read(const QString& folder);

QList<RunningEmulator> OfProfile(const QList<RunningEmulator>& entries, const QString& profile);

bool IsFailedStart(qint64 startedMs, qint64 endedMs, int exitCode, int signal);
// "exit status 3", "killed by signal 9 (Killed)".
QString DescribeEnd(int exitCode, int signal);
// ISO 8601 local time with seconds and the offset from UTC.
QString TimeText(qint64 ms);

enum class StopBy {
    Nobody,     // neither the emulator nor its supervisor runs as recorded
    Supervisor, // its supervisor ends it, by force after StopGraceMs, and records the end as
                // asked for, so that it never counts as a failed start
    Caller,     // its supervisor is gone: the emulator itself was asked, forcing is the caller's
};
// Asks the recorded emulator to end, through its supervisor while that runs as recorded.
StopBy RequestStop(const RunningEmulator& entry);
// Ends it at once if it still runs as recorded.
bool ForceStop(const RunningEmulator& entry);
// Asks each to end, waits up to graceMs, then ends by force those that still run and waits
// for them. Returns those that had to be forced.
QList<RunningEmulator> StopAndWait(const QList<RunningEmulator>& entries,
                                   int graceMs = StopGraceMs);

} // namespace Running
