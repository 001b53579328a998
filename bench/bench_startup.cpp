// Cold start to the first shown window: the launcher against two floors, started in turn so
// that all see the same machine load. Two steps between the floors show where the time goes.
// Usage: bench_startup [offscreen|xcb] [rounds]
#include "startup_support.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

struct Program
{
    const char* label;
    QString path;
    std::vector<double> readyMs;
    std::vector<double> rssMb;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QString platform = args.value(1, QStringLiteral("offscreen"));
    const int rounds = args.value(2, QStringLiteral("40")).toInt();
    if (rounds < 1) {
        std::fprintf(stderr, "usage: bench_startup [offscreen|xcb] [rounds]\n");
        return 2;
    }

    LauncherHome home(QStringLiteral(LAUNCHER_DEFAULT_INI));
    if (!home.isValid()) {
        std::fprintf(stderr, "bench_startup: cannot prepare a temporary home\n");
        return 1;
    }
    // All get the same environment, the launcher's private folders included.
    const QList<QByteArray> environment =
        home.environment() + QList<QByteArray>{"QT_QPA_PLATFORM=" + platform.toLatin1()};

    Program programs[] = {
        {"floor (i): empty QMainWindow", QStringLiteral(FLOOR_BARE), {}, {}},
        {"step: floor (i) with one label (first text, fonts)", QStringLiteral(FLOOR_TEXT), {}, {}},
        {"floor (ii): launcher's widgets, no logic", QStringLiteral(FLOOR_WIDGETS), {}, {}},
        {"step: floor (ii) with QtNetwork loaded", QStringLiteral(FLOOR_NETWORK), {}, {}},
        {"launcher (returning user)", QStringLiteral(LAUNCHER_STARTUP), {}, {}},
    };
    constexpr int count = std::size(programs);
    constexpr int warmUpRounds = 2;
    for (int round = 0; round < warmUpRounds + rounds; ++round) {
        // The order rotates each round, so no program always follows the same one.
        for (int k = 0; k < count; ++k) {
            Program& program = programs[(round + k) % count];
            const ChildRun run = RunChild(program.path, {}, environment, true);
            if (!run.ok) {
                std::fprintf(stderr, "bench_startup: %s showed no window (status %d)\n",
                             program.label, run.status);
                return 1;
            }
            if (round >= warmUpRounds) {
                program.readyMs.push_back(run.readyMs);
                program.rssMb.push_back(run.maxRssMb);
            }
        }
    }

    std::printf("### Cold start to the first shown window (%s; median of %d rounds, the "
                "programs in rotating order)\n\n",
                qPrintable(platform), rounds);
    PrintHeader({"Program", "Start to window shown", "Over the row above", "Fastest",
                 "Peak memory (max RSS)"},
                QStringLiteral("lrrrr"));
    double previous = 0;
    for (const Program& program : programs) {
        const double median = Median(program.readyMs);
        const double step = median - previous;
        PrintRow({QLatin1String(program.label), Ms(median),
                  previous ? (step >= 0 ? QStringLiteral("+") : QString()) + Ms(step) : QString(),
                  Ms(*std::min_element(program.readyMs.begin(), program.readyMs.end())),
                  QString::number(Median(program.rssMb), 'f', 1) + QStringLiteral(" MB")});
        previous = median;
    }
    std::printf("\n");
    PrintGoalHeader(QStringLiteral("Goal"));
    PrintGoalRow(QStringLiteral("launcher against floor (i)"), programs[4].readyMs,
                 programs[0].readyMs, 1.15);
    PrintGoalRow(QStringLiteral("own code (configuration, single instance) over floor (ii)"),
                 programs[4].readyMs, programs[2].readyMs, 1.10);
    std::printf("\n");
    return 0;
}
