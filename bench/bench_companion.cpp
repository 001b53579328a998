// nimbra-mobile-launch --list on 10,000 profiles: against cat of the same file (the floor of
// any program that reads it) and against the window's cold start on that file (what a user
// would otherwise start to see the names) and on the shipped one, started in turn so that all
// see the same machine load.
// Usage: bench_companion [rounds]
#include "fileformat.h"
#include "startup_support.h"
#include "userfile.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

constexpr int ProfileCount = 10000;

// The shipped option lists with ProfileCount profiles choosing among them.
bool WriteLargeFile(const QString& path)
{
    ConfigModel model;
    if (UserFile::ReadModel(QStringLiteral(LAUNCHER_DEFAULT_INI), model) !=
        UserFile::ReadResult::Loaded)
        return false;
    const QList<Profile> shipped = model.profiles;
    model.profiles.clear();
    for (int i = 0; i < ProfileCount; ++i) {
        Profile profile = shipped[i % shipped.size()];
        profile.name = QStringLiteral("Profile %1 ").arg(i) + profile.name;
        profile.arguments = QStringLiteral(" -gpu on -seed %1").arg(i);
        model.profiles.append(profile);
    }
    QFile file(path);
    const QByteArray text = Config::FormatText(model).toUtf8();
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

struct Program
{
    const char* label;
    QString path;
    QStringList arguments;
    bool awaitWindow;
    QList<QByteArray> environment;
    std::vector<double> ms;
    std::vector<double> quitMs;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int rounds = app.arguments().value(1, QStringLiteral("30")).toInt();
    if (rounds < 1) {
        std::fprintf(stderr, "usage: bench_companion [rounds]\n");
        return 2;
    }

    QTemporaryDir dir;
    const QString large = dir.filePath(QStringLiteral("Launcher.ini"));
    LauncherHome home(QStringLiteral(LAUNCHER_DEFAULT_INI));
    if (!dir.isValid() || !home.isValid() || !WriteLargeFile(large)) {
        std::fprintf(stderr, "bench_companion: cannot prepare the files\n");
        return 1;
    }
    // The window opening the same file: the work a user would otherwise do to see the names.
    LauncherHome largeHome(large);
    if (!largeHome.isValid()) {
        std::fprintf(stderr, "bench_companion: cannot prepare the files\n");
        return 1;
    }
    const QList<QByteArray> offscreen{"QT_QPA_PLATFORM=offscreen"};
    const QList<QByteArray> environment = home.environment() + offscreen;

    Program programs[] = {
        {"nimbra-mobile-launch --list",
         QStringLiteral(COMPANION),
         QStringList{"--list", "--file", large},
         false,
         environment,
         {},
         {}},
        {"cat of the same file",
         QStringLiteral("/bin/cat"),
         QStringList{large},
         false,
         environment,
         {},
         {}},
        {"window's cold start to its window, the same file as the user's",
         QStringLiteral(LAUNCHER_STARTUP),
         QStringList(),
         true,
         largeHome.environment() + offscreen,
         {},
         {}},
        {"window's cold start to its window, the shipped profiles",
         QStringLiteral(LAUNCHER_STARTUP),
         QStringList(),
         true,
         environment,
         {},
         {}},
    };
    constexpr int count = std::size(programs);
    constexpr int warmUpRounds = 2;
    for (int round = 0; round < warmUpRounds + rounds; ++round) {
        for (int k = 0; k < count; ++k) {
            Program& program = programs[(round + k) % count];
            const ChildRun run =
                RunChild(program.path, program.arguments, program.environment, program.awaitWindow);
            if (!run.ok) {
                std::fprintf(stderr, "bench_companion: %s failed (status %d)\n", program.label,
                             run.status);
                return 1;
            }
            if (round >= warmUpRounds) {
                program.ms.push_back(program.awaitWindow ? run.readyMs : run.exitMs);
                // The window quits once shown: what follows is the save and the teardown.
                program.quitMs.push_back(run.exitMs - run.readyMs);
            }
        }
    }

    std::printf("### Command line: --list on %d profiles (%.1f MB; median of %d rounds, the "
                "programs in rotating order)\n\n",
                ProfileCount, QFile(large).size() / 1e6, rounds);
    PrintHeader({"Program", "Start to exit (window: to shown)", "Fastest", "Window: quit"},
                QStringLiteral("lrrr"));
    for (const Program& program : programs) {
        PrintRow({QLatin1String(program.label), Ms(Median(program.ms)),
                  Ms(*std::min_element(program.ms.begin(), program.ms.end())),
                  program.awaitWindow ? Ms(Median(program.quitMs)) : QStringLiteral("")});
    }
    std::printf("\n");
    PrintGoalHeader(QStringLiteral("Goal"));
    PrintGoalRow(QStringLiteral("--list against 20 ms"), programs[0].ms,
                 std::vector<double>(programs[0].ms.size(), 20.0), 1.0);
    PrintGoalRow(QStringLiteral("the window's cold start on the same file against the shipped "
                                "profiles"),
                 programs[2].ms, programs[3].ms, 1.5);
    PrintGoalRow(QStringLiteral("quitting (the save) with the same file against the shipped "
                                "profiles"),
                 programs[2].quitMs, programs[3].quitMs, 1.5);
    std::printf("\n");
    return 0;
}
