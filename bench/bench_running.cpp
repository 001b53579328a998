// Running emulators: nimbra-mobile-launch --running with 20 entries, against 20 ms and against
// the same program's --version (its start alone); and the wakeups of an idle launcher, with no
// emulator running and with three, counted as the context switches of all its threads.
// Usage: bench_running [rounds]
#include "processidentity.h"
#include "runningemulators.h"
#include "startup_support.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

constexpr int EntryCount = 20;
constexpr int EmulatorCount = 3;
constexpr int SettleMs = 2000;
constexpr int SampleMs = 5000;

// Processes that run until the benchmark ends them.
struct Sleepers
{
    std::vector<std::unique_ptr<QProcess>> processes;
    ~Sleepers()
    {
        for (auto& process : processes) {
            process->kill();
            process->waitForFinished();
        }
    }
};

// EntryCount records of live processes, as supervisors write them.
bool WriteEntries(const QString& folder, Sleepers& sleepers)
{
    for (int i = 0; i < EntryCount; ++i) {
        auto process = std::make_unique<QProcess>();
        process->start(QStringLiteral("/bin/sleep"), {QStringLiteral("600")});
        if (!process->waitForStarted())
            return false;
        RunningEmulator entry;
        entry.profile = QStringLiteral("Profile %1").arg(i);
        entry.pid = process->processId();
        entry.identity = ReadProcessState(entry.pid).identity;
        entry.startedMs = QDateTime::currentMSecsSinceEpoch();
        entry.command = QStringLiteral("\"/emulator\" -windowsize 480x800 -profile-name \"%1\" ")
                            .arg(entry.profile);
        entry.log = QStringLiteral("/logs/Profile %1.log").arg(i);
        entry.supervisorPid = QCoreApplication::applicationPid();
        entry.supervisorIdentity = ReadProcessState(entry.supervisorPid).identity;
        sleepers.processes.push_back(std::move(process));
        if (!Running::Write(entry, folder))
            return false;
    }
    return true;
}

qint64 ContextSwitches(qint64 pid)
{
    qint64 total = 0;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(pid);
    for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks + u'/' + task + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.contains("ctxt_switches:"))
                total += line.mid(line.indexOf(':') + 1).trimmed().toLongLong();
        }
    }
    return total;
}

double WakeupsPerSecond(qint64 pid)
{
    QThread::msleep(SettleMs);
    const qint64 before = ContextSwitches(pid);
    QThread::msleep(SampleMs);
    return (ContextSwitches(pid) - before) * 1000.0 / SampleMs;
}

int MeasureRunning(int rounds, const QList<QByteArray>& environment)
{
    std::vector<double> running, version;
    for (int round = 0; round < rounds + 2; ++round) {
        for (int k = 0; k < 2; ++k) {
            const bool list = (round + k) % 2 == 0;
            const ChildRun run =
                RunChild(QStringLiteral(COMPANION),
                         {list ? QStringLiteral("--running") : QStringLiteral("--version")},
                         environment, false);
            if (!run.ok)
                return 1;
            if (round >= 2)
                (list ? running : version).push_back(run.exitMs);
        }
    }
    std::printf("### Command line: --running with %d entries (median of %d rounds)\n\n", EntryCount,
                rounds);
    PrintGoalHeader(QStringLiteral("Goal"));
    PrintGoalRow(QStringLiteral("--running against 20 ms"), running,
                 std::vector<double>(running.size(), 20.0), 1.0);
    PrintGoalRow(QStringLiteral("--running against --version, the program's start alone"), running,
                 version, 1.5);
    std::printf("\n");
    return 0;
}

// The launcher idle, first with nothing running, then with emulators that the companion
// started; all of them ended afterwards.
int MeasureIdle(const QList<QByteArray>& environment)
{
    for (const QByteArray& assignment : environment)
        qputenv(assignment.left(assignment.indexOf('=')).constData(),
                assignment.mid(assignment.indexOf('=') + 1));
    QProcess launcher;
    // Its path trace would bury the table.
    launcher.setStandardOutputFile(QProcess::nullDevice());
    launcher.setStandardErrorFile(QProcess::nullDevice());
    launcher.start(QStringLiteral(LAUNCHER), {});
    if (!launcher.waitForStarted())
        return 1;
    const double none = WakeupsPerSecond(launcher.processId());
    for (int i = 0; i < EmulatorCount; ++i)
        QProcess::execute(QStringLiteral(COMPANION), {QStringLiteral("Phone WVGA hdpi")});
    const double three = WakeupsPerSecond(launcher.processId());
    const int seen = int(Running::Read(Running::Folder()).running.size());
    Running::StopAndWait(Running::Read(Running::Folder()).running);
    launcher.kill();
    launcher.waitForFinished();

    std::printf("### Idle launcher: wakeups (context switches of all its threads; %d s after "
                "%d s to settle)\n\n",
                SampleMs / 1000, SettleMs / 1000);
    PrintHeader({QStringLiteral("Emulators running"), QStringLiteral("Wakeups per second"),
                 QStringLiteral("Goal"), QStringLiteral("Result")},
                QStringLiteral("rrll"));
    PrintRow({QStringLiteral("0"), QString::number(none, 'f', 1),
              QStringLiteral("no more than with three"),
              none <= three ? QStringLiteral("met") : QStringLiteral("**not met**")});
    PrintRow({QString::number(seen), QString::number(three, 'f', 1), QStringLiteral("≤ 3"),
              three <= 3 && seen == EmulatorCount ? QStringLiteral("met")
                                                  : QStringLiteral("**not met**")});
    std::printf("\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = app.arguments().value(1, QStringLiteral("30")).toInt();
    LauncherHome home(QStringLiteral(LAUNCHER_DEFAULT_INI));
    if (rounds < 1 || !home.isValid()) {
        std::fprintf(stderr, "usage: bench_running [rounds]\n");
        return 2;
    }
    const QList<QByteArray> environment =
        home.environment() +
        QList<QByteArray>{"QT_QPA_PLATFORM=offscreen",
                          "XDG_STATE_HOME=" +
                              QFile::encodeName(home.runtimeDir() + QStringLiteral("/state"))};
    const QString folder = home.runtimeDir() + QStringLiteral("/Nimbra Mobile/running");
    {
        Sleepers sleepers;
        if (!WriteEntries(folder, sleepers) || MeasureRunning(rounds, environment) != 0) {
            std::fprintf(stderr, "bench_running: --running failed\n");
            return 1;
        }
    }
    QDir(folder).removeRecursively();
    if (MeasureIdle(environment) != 0) {
        std::fprintf(stderr, "bench_running: the launcher did not start\n");
        return 1;
    }
    return 0;
}
