// A second launcher start hands over to the running one and ends: time from spawn to exit,
// against a GUI application object that ends at once. Usage: bench_handoff [rounds]
#include "startup_support.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QThread>

#include <cstdio>

namespace {

// Starts the first instance and waits until a later start is answered.
bool StartPrimary(QProcess& primary, const QList<QByteArray>& environment)
{
    QProcessEnvironment processEnvironment = QProcessEnvironment::systemEnvironment();
    for (const QByteArray& assignment : environment) {
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
    while (!deadline.hasExpired() && primary.state() == QProcess::Running) {
        if (RunChild(QStringLiteral(LAUNCHER), {}, environment, false).ok)
            return true;
        QThread::msleep(50);
    }
    return false;
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
    const QList<QByteArray> environment =
        home.environment() + QList<QByteArray>{"QT_QPA_PLATFORM=offscreen"};

    QProcess primary;
    if (!StartPrimary(primary, environment)) {
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

    const double second = Median(times[0]);
    const double reference = Median(times[1]);
    const double ratio = second / reference;
    std::printf("### Second start hands over and exits (offscreen; median of %d alternating "
                "runs each)\n\n",
                rounds);
    PrintHeader({"Measure", "Measured", "Reference", "Ratio", "Goal ratio", "Result"},
                QStringLiteral("lrrrrl"));
    PrintRow({QStringLiteral("second launcher start, spawn to exit 0, against a QApplication "
                             "that ends at once"),
              Ms(second), Ms(reference), QString::number(ratio, 'f', 2) + u'x',
              QStringLiteral("≤ 1.30x"), GoalResult(ratio, 1.30)});
    std::printf("\n");
    return 0;
}
