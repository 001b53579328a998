// The launcher's real entry point, run as its own process with a private data location: the
// first run, and the start with no configuration it can read. A companion linked into the
// program (startup_autoclose.cpp) reports each message box and the window's closing on stderr.
#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString CriticalBox =
    QStringLiteral("box|Nimbra Mobile Emulator|Unable to start Nimbra Mobile Emulator Launcher|"
                   "Unable to read configuration file.|%1|%2|no parent")
        .arg(int(QMessageBox::Critical))
        .arg(int(QMessageBox::Ok));

// Runs program with dataHome as the data location; returns its exit code (-1 when it did not
// end normally) followed by its reports.
QStringList RunLauncher(const QString& program, const QString& dataHome)
{
    qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome));
    QProcess process; // kills a program still running when it goes
    process.start(program, {});
    const bool ended =
        process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit;
    QStringList result = {QString::number(ended ? process.exitCode() : -1)};
    for (const QString& line : QString::fromLocal8Bit(process.readAllStandardError()).split(u'\n'))
        if (line.startsWith(QStringLiteral("box|")) || line.startsWith(QStringLiteral("closed|")))
            result.append(line);
    return result;
}

// A copy in a fixture app folder, with or without the shipped files: an instance identity no
// other run shares.
QString CopyLauncher(bool withShippedFiles)
{
    const QString program = UseFixtureAppFolder(withShippedFiles) + "/startup_launcher";
    return QFile::copy(QStringLiteral(STARTUP_LAUNCHER), program) ? program : QString();
}

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void firstRunSavesDefaultsAtExit()
    {
        QTemporaryDir dataHome;
        const QString program = CopyLauncher(true);
        QVERIFY(!program.isEmpty());
        // No box, and the file appears only after the window has closed and the loop has ended.
        QCOMPARE(RunLauncher(program, dataHome.path()),
                 (QStringList{"0", "closed|Nimbra Mobile Emulator|no file"}));
        QCOMPARE(ReadBytes(dataHome.path() + "/Nimbra Mobile/Launcher.ini"),
                 ReadBytes(SourceResource("LauncherDefault.ini")));
    }

    void noConfigurationEndsWithStatus1()
    {
        QTemporaryDir dataHome;
        const QString program = CopyLauncher(false);
        QVERIFY(!program.isEmpty());
        // Only the box, no window, and nothing written.
        QCOMPARE(RunLauncher(program, dataHome.path()), (QStringList{"1", CriticalBox}));
        QVERIFY(
            QDir(dataHome.path()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
    }
};

QTEST_GUILESS_MAIN(StartupTest)
#include "tst_startup.moc"
