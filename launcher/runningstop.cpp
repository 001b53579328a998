// Stopping recorded emulators: only a process that still runs as recorded is ever signalled.
#include "processidentity.h"
#include "runningemulators.h"

#include <QElapsedTimer>
#include <QThread>

#include <csignal>

namespace {

constexpr int PollMs = 20;
// After a forced end the process is gone at once; this only covers a slow system.
constexpr int ForcedEndMs = 2000;

QList<RunningEmulator> StillRunning(const QList<RunningEmulator>& entries)
{
    QList<RunningEmulator> running;
    for (const RunningEmulator& entry : entries) {
        if (IsSameLiveProcess(entry.pid, entry.identity))
            running.append(entry);
    }
    return running;
}

// Waits up to ms for every one to end; those still running.
QList<RunningEmulator> WaitForEnd(const QList<RunningEmulator>& entries, int ms)
{
    QElapsedTimer timer;
    timer.start();
    QList<RunningEmulator> running = StillRunning(entries);
    while (!running.isEmpty() && !timer.hasExpired(ms)) {
        QThread::msleep(PollMs);
        running = StillRunning(running);
    }
    return running;
}

} // namespace

namespace Running {

StopBy RequestStop(const RunningEmulator& entry)
{
    // The supervisor's SIGTERM is the request: it outlives whoever asked, so the forced end
    // still comes when the window closes or the companion is interrupted.
    if (SignalSameProcess(entry.supervisorPid, entry.supervisorIdentity, SIGTERM))
        return StopBy::Supervisor;
    return SignalSameProcess(entry.pid, entry.identity, SIGTERM) ? StopBy::Caller : StopBy::Nobody;
}

bool ForceStop(const RunningEmulator& entry)
{
    return SignalSameProcess(entry.pid, entry.identity, SIGKILL);
}

QList<RunningEmulator> StopAndWait(const QList<RunningEmulator>& entries, int graceMs)
{
    for (const RunningEmulator& entry : entries)
        RequestStop(entry);
    const QList<RunningEmulator> forced = WaitForEnd(entries, graceMs);
    for (const RunningEmulator& entry : forced)
        ForceStop(entry);
    WaitForEnd(forced, ForcedEndMs);
    return forced;
}

} // namespace Running
