// What a process id names now. Ids are reused, so a recorded process is known by its id and
// its identity together: a token fixed at the process's creation that no later process with
// the same id shares.
#pragma once

#include <QString>

struct ProcessState
{
    bool exists = false; // some process has the id, possibly ended and not yet reaped
    bool ended = false;  // it has ended and waits for its parent to collect its status
    QString identity;    // empty when the id names no process
};

ProcessState ReadProcessState(qint64 pid);

// Whether pid still names the process recorded with identity and it has not ended.
bool IsSameLiveProcess(qint64 pid, const QString& identity);

// Sends sig to the recorded process only; false when it has ended or the id names another.
bool SignalSameProcess(qint64 pid, const QString& identity, int sig);

// The identity of the calling process, as ReadProcessState gives it for its own id.
QString OwnProcessIdentity();

// The executable the process with this id runs, as an absolute path; empty when that can't be
// told (no such process, another user's, or a platform that does not say).
QString ExecutableOfProcess(qint64 pid);

// A descriptor that becomes readable when the recorded process ends, for an event loop to
// watch; -1 where the platform offers none or the process no longer runs. The caller closes it.
int OpenExitDescriptor(qint64 pid, const QString& identity);
