// A second launcher start hands over to the running one and ends: time from spawn to exit,
// against a GUI application object that ends at once. Usage: bench_handoff [rounds]
#include "startup_support.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QThread>

#include <cstdio>

namespace {

QList<QByteArray> Environment(const LauncherHome& home)
{
    return home.environment() + QList<QByteArray>{"QT_QPA_PLATFORM=offscreen"};
}

// Starts the first instance and waits until a later start is answered. A later start made
// before the first one holds its lock would become the first instance itself, so nothing is
// started until the first one's socket shows up in the runtime folder, which is ours alone.
bool StartPrimary(QProcess& primary, const LauncherHome& home)
{
    QProcessEnvironment processEnvironment = QProcessEnvironment::systemEnvironment();
    for (const QByteArray& assignment : Environment(home)) {
        const int equals = assignment.indexOf('=');
        processEnvironment.insert(QString::fromLocal8Bit(assignment.left(equals)),
                                  QString::fromLocal8Bit(assignment.mid(equals + 1)));
    }
    primary.setProcessEnvironment(processEnvironment);
    primary.setProcessChannelMode(QProcess::ForwardedOutputChannel);
    primary.setStandardErrorFile(QProcess::nullDevice());
    primary.start(QStringLiteral(LAUNCHER), {});
    if (!primary.waitForStarted())
        return false;
    const QDeadlineTimer deadline(20000);
    const QDir runtime(home.runtimeDir());
    while (runtime.entryList(QDir::System).isEmpty()) {
        if (deadline.hasExpired() || primary.state() != QProcess::Running) {
            std::fprintf(stderr, "bench_handoff: no instance socket appeared in %s\n",
                         qPrintable(home.runtimeDir()));
            return false;
        }
        QThread::msleep(10);
    }
    return RunChild(QStringLiteral(LAUNCHER), {}, Environment(home), false).ok;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = app.arguments().value(1, QStringLiteral("40")).toInt();
    if (rounds < 1) {
        std::fprintf(stderr, "usage: bench_handoff [rounds]\n");
        return 2;
    }
    LauncherHome home(QStringLiteral(LAUNCHER_DEFAULT_INI));
    if (!home.isValid()) {
        std::fprintf(stderr, "bench_handoff: cannot prepare a temporary home\n");
        return 1;
    }
    const QList<QByteArray> environment = Environment(home);

    QProcess primary;
    if (!StartPrimary(primary, home)) {
        std::fprintf(stderr, "bench_handoff: the first launcher did not come up\n");
        return 1;
    }

    const QString programs[] = {QStringLiteral(LAUNCHER), QStringLiteral(FLOOR_QUIT)};
    std::vector<double> times[2];
    for (int round = 0; round < rounds + 1; ++round) {
        for (int k = 0; k < 2; ++k) {
            const int which = (round + k) % 2;
            const ChildRun run = RunChild(programs[which], {}, environment, false);
            if (!run.ok) {
                std::fprintf(stderr, "bench_handoff: %s ended with status %d\n",
                             qPrintable(programs[which]), run.status);
                return 1;
            }
            if (round > 0) // the first round warms the file cache
                times[which].push_back(run.exitMs);
        }
    }
    primary.terminate();
    primary.waitForFinished();

    std::printf("### Second start hands over and exits (offscreen; median of %d alternating "
                "runs each)\n\n",
                rounds);
    PrintGoalHeader(QStringLiteral("Measure"));
    PrintGoalRow(QStringLiteral("second launcher start, spawn to exit 0, against a QApplication "
                                "that ends at once"),
                 times[0], times[1], 1.30);
    std::printf("\n");
    return 0;
}
