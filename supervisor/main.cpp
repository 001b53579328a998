// nimbra-mobile-supervise: the emulator's parent. The launcher and the companion can't learn
// how a detached emulator ended, so they start this program detached instead, and it starts
// the emulator with the launch's exact program and arguments as its child. It records the
// launch among the running emulators until the emulator ends, keeps its output in a log, and
// for the launcher leaves a record of a start that failed. A SIGTERM asks it to stop the
// emulator (by force after the grace); an end so asked for is no failed start.
//
// nimbra-mobile-supervise [--attached | --report] --profile NAME --command TEXT
//                         -- PROGRAM [ARG...]
//   --attached  the output also goes to this program's own, and it ends as the emulator did
//   --report    a start that fails is left on record for the launcher to tell
#include "child.h"

#include "launchlogs.h"
#include "processidentity.h"
#include "runningemulators.h"

#include <QDateTime>
#include <QFile>

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

struct Request
{
    bool attached = false;
    bool report = false;
    QString profile;
    QString command;
    QList<QByteArray> argv; // the program, then its arguments
};

bool Parse(int argc, char** argv, Request* request)
{
    int i = 1;
    for (; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        const QByteArray option = argv[i];
        if (option == "--attached") {
            request->attached = true;
        } else if (option == "--report") {
            request->report = true;
        } else if ((option == "--profile" || option == "--command") && i + 1 < argc) {
            (option == "--profile" ? request->profile : request->command) =
                QString::fromLocal8Bit(argv[++i]);
        } else {
            return false;
        }
    }
    for (++i; i < argc; ++i)
        request->argv.append(argv[i]);
    return !request->argv.isEmpty();
}

void Say(const QString& message)
{
    WriteAll(STDERR_FILENO, ("nimbra-mobile-supervise: " + message + u'\n').toLocal8Bit());
}

// The logs that running emulators still write, and that reports still point to; this launch's
// own is not on record yet.
QStringList LogsInUse()
{
    const Running::Registry registry = Running::Read(Running::Folder());
    QStringList logs;
    for (const QList<RunningEmulator>* entries : {&registry.running, &registry.reports}) {
        for (const RunningEmulator& entry : *entries)
            logs.append(entry.log);
    }
    return logs;
}

// A log for the launch, pruning older ones; -1, after a line on stderr, when there is none.
int OpenLog(RunningEmulator& entry)
{
    QString error;
    const QString folder = LaunchLogs::Folder();
    entry.log = LaunchLogs::Create(folder, entry.profile, entry.command, entry.startedMs, &error);
    if (entry.log.isEmpty()) {
        Say(QStringLiteral("no log for this launch: %1").arg(error));
        return -1;
    }
    LaunchLogs::Prune(folder, LogsInUse() << entry.log);
    const int fd =
        ::open(QFile::encodeName(entry.log).constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
    if (fd < 0)
        entry.log.clear();
    return fd;
}

// What is left on record once the emulator has ended: a failed start for the launcher that
// asked, otherwise nothing. A stop someone asked for ends no start that failed, however soon.
void RecordEnd(RunningEmulator& entry, const QString& folder, bool report)
{
    entry.endedMs = QDateTime::currentMSecsSinceEpoch();
    const bool failed = entry.state == RunningEmulator::State::NotStarted ||
                        (!StopWasAsked() && Running::IsFailedStart(entry.startedMs, entry.endedMs,
                                                                   entry.exitCode, entry.signal));
    if (report && failed) {
        if (entry.state == RunningEmulator::State::Running)
            entry.state = RunningEmulator::State::StartFailed;
        if (Running::Write(entry, folder))
            return;
    }
    Running::Remove(entry);
}

} // namespace

int main(int argc, char** argv)
{
    Request request;
    if (!Parse(argc, argv, &request)) {
        std::fputs("usage: nimbra-mobile-supervise [--attached | --report] --profile NAME "
                   "--command TEXT -- PROGRAM [ARG...]\n",
                   stderr);
        return 2;
    }
    SetUpSignals(unsigned(Running::StopGraceMs / 1000));
    RunningEmulator entry;
    entry.profile = request.profile;
    entry.command = request.command;
    entry.startedMs = QDateTime::currentMSecsSinceEpoch();
    const int logFd = OpenLog(entry);

    Child child = Fork(request.argv, logFd, request.attached && logFd >= 0);
    if (child.pid < 0) {
        Say(QStringLiteral("cannot start a process: %1")
                .arg(QString::fromLocal8Bit(std::strerror(errno))));
        return 127;
    }
    entry.pid = child.pid;
    entry.identity = ReadProcessState(child.pid).identity;
    entry.supervisorPid = ::getpid();
    entry.supervisorIdentity = ReadProcessState(entry.supervisorPid).identity;
    const QString folder = Running::Folder();
    // On record before it runs: whoever sees the emulator can find it.
    if (!Running::Write(entry, folder))
        Say(QStringLiteral("cannot record the launch in %1").arg(folder));

    if (const int error = Release(child)) {
        const QByteArray message =
            "Failed to start Nimbra Mobile Emulator: " + request.argv.first() + ": " +
            std::strerror(error) + '\n';
        WriteAll(logFd, message);
        WriteAll(STDERR_FILENO, message);
        WaitFor(child);
        entry.state = RunningEmulator::State::NotStarted;
        entry.error = QString::fromLocal8Bit(std::strerror(error));
        entry.exitCode = 127;
        RecordEnd(entry, folder, request.report);
        return 127;
    }
    if (child.out >= 0)
        CopyOutput(child, logFd);
    const int status = WaitFor(child);
    entry.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    entry.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    RecordEnd(entry, folder, request.report);
    return request.attached ? EndAs(status) : 0;
}
