// Launch click to emulator process started: MainWindow::OnLaunch, which checks whether the
// profile runs and starts the emulator under the supervisor, against a bare
// QProcess::startDetached of the same program and arguments. The stand-in emulator records
// its arguments and quits at once. Usage: bench_launch [rounds]
#include "filelocations.h"
#include "launchcommand.h"
#include "launcher.h"
#include "runningemulators.h"
#include "startup_support.h"
#include "windowfixture.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

namespace {

// The path trace of every GetFileName call, and the offscreen platform's warnings, would bury
// the table.
void KeepSevereMessages(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

int CountLines(const QString& fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? int(file.readAll().count('\n')) : 0;
}

bool WaitForLines(const QString& fileName, int count)
{
    QElapsedTimer timer;
    timer.start();
    while (CountLines(fileName) < count) {
        if (timer.hasExpired(10000))
            return false;
        QThread::msleep(1);
    }
    return true;
}

// A launch from the window is on record until its supervisor has seen the emulator end; the
// next one would otherwise ask whether to launch another.
bool WaitForNoRecords()
{
    QElapsedTimer timer;
    timer.start();
    while (!QDir(Running::Folder()).entryList({QStringLiteral("*.json")}, QDir::Files).isEmpty()) {
        if (timer.hasExpired(10000))
            return false;
        QThread::msleep(1);
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    const QString record = home.filePath(QStringLiteral("standin.jsonl"));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(home.path())); // private: made for the owner only
    qputenv("XDG_STATE_HOME", QFile::encodeName(home.filePath(QStringLiteral("state"))));
    qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(record));
    qputenv("NIMBRA_STANDIN_QUIT", "1");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(KeepSevereMessages);

    // A fixture app folder with the shipped defaults, the stand-in as its emulator and the
    // supervisor.
    const QString resources = home.filePath(QStringLiteral("Bench.app/Contents/Resources"));
    const QString emulator = resources + QStringLiteral("/Nimbra Mobile.app/Contents/MacOS");
    QDir().mkpath(emulator);
    QDir().mkpath(home.filePath(QStringLiteral("Bench.app/Contents/MacOS")));
    QFile::link(QStringLiteral(SUPERVISOR),
                home.filePath(QStringLiteral("Bench.app/Contents/MacOS/nimbra-mobile-supervise")));
    QFile::link(QStringLiteral(STANDIN_EMULATOR), emulator + QStringLiteral("/Nimbra Mobile"));
    QFile::copy(QStringLiteral(LAUNCHER_DEFAULT_SOURCE),
                resources + QStringLiteral("/LauncherDefault.ini"));
    SetApplicationDirForTesting(home.filePath(QStringLiteral("Bench.app/Contents/MacOS")));

    QApplication app(argc, argv);
    const int rounds = app.arguments().value(1, QStringLiteral("100")).toInt();
    // A failed start would open a modal box and hang the run.
    if (rounds < 1 || !QFileInfo(GetFileName(EmulatorFile)).isExecutable()) {
        std::fprintf(stderr, "usage: bench_launch [rounds]; needs the stand-in emulator at %s\n",
                     qPrintable(GetFileName(EmulatorFile)));
        return 2;
    }

    MainWindow window;
    window.show();
    WindowFixture::Select(window, 1);
    const LaunchCommand launch =
        BuildLaunchCommand(GetFileName(EmulatorFile), WindowFixture::Sections(window),
                           WindowFixture::Controls(window));
    const QString& program = launch.program;
    const QStringList& arguments = launch.arguments;

    std::vector<double> times[2];
    int started = 0;
    for (int round = 0; round < rounds + 1; ++round) {
        for (int k = 0; k < 2; ++k) {
            const int which = (round + k) % 2;
            QElapsedTimer timer;
            timer.start();
            if (which == 0)
                window.OnLaunch();
            else if (!QProcess::startDetached(program, arguments))
                return 1;
            const double ms = timer.nsecsElapsed() / 1e6;
            if (round > 0)
                times[which].push_back(ms);
            // The next start is timed only once this one's stand-in has run, so the two never
            // compete for the processor.
            ++started;
            if (!WaitForLines(record, started) || !WaitForNoRecords()) {
                std::fprintf(stderr, "bench_launch: start %d never reached the stand-in\n",
                             started);
                return 1;
            }
        }
    }

    // Every start reached the stand-in, with the same arguments both ways.
    const int expected = started;
    QFile file(record);
    file.open(QIODevice::ReadOnly);
    const QList<QByteArray> lines = file.readAll().split('\n');
    if (lines.size() != expected + 1 || lines.count(lines.first()) != expected) {
        std::fprintf(stderr, "bench_launch: the stand-in recorded %lld starts, expected %d\n",
                     qlonglong(lines.size() - 1), expected);
        return 1;
    }

    std::printf("### Launch click to emulator process started (offscreen; median of %d "
                "alternating runs each)\n\n",
                rounds);
    PrintGoalHeader(QStringLiteral("Measure"));
    PrintGoalRow(QStringLiteral("OnLaunch (\"Phone WVGA hdpi\") against QProcess::startDetached "
                                "with the same arguments"),
                 times[0], times[1], 1.10);
    std::printf("\nArguments the stand-in received: %s\n\n", lines.first().constData());
    return 0;
}
