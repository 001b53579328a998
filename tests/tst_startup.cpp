// The launcher's real entry point, run as its own process with a private data location: the
// first run, and the start with no configuration it can read. A companion linked into the
// program (startup_autoclose.cpp) reports each message box and the window's closing on stderr.
#include "testenv.h"

#include <QDir>
#include <QDirIterator>
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

struct Run
{
    bool finished = false;
    int exitCode = -1;
    QStringList reports;
};

Run RunLauncher(const QString& program, const QString& dataHome)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    process.setProcessEnvironment(environment);
    process.start(program, {});
    Run run;
    run.finished = process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit;
    if (!run.finished) {
        process.kill();
        process.waitForFinished();
    }
    run.exitCode = process.exitCode();
    const QStringList lines = QString::fromLocal8Bit(process.readAllStandardError()).split(u'\n');
    for (const QString& line : lines) {
        if (line.startsWith(QStringLiteral("box|")) || line.startsWith(QStringLiteral("closed|")))
            run.reports.append(line);
    }
    return run;
}

// Paths of the files and folders under dir, relative to it, sorted.
QStringList Contents(const QString& dir)
{
    QStringList paths;
    QDirIterator it(dir, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        paths.append(QDir(dir).relativeFilePath(it.next()));
    paths.sort();
    return paths;
}

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }

    void firstRunSavesDefaultsAtExit();
    void noConfigurationEndsWithStatus1_data();
    void noConfigurationEndsWithStatus1();
};

void StartupTest::firstRunSavesDefaultsAtExit()
{
    QTemporaryDir dataHome;
    QVERIFY(dataHome.isValid());
    const QString userFile = dataHome.path() + QStringLiteral("/Nimbra Mobile/Launcher.ini");

    const Run run = RunLauncher(QStringLiteral(STARTUP_LAUNCHER), dataHome.path());
    QVERIFY(run.finished);
    QCOMPARE(run.exitCode, 0);
    // No box, and the file appears only after the window has closed and the loop has ended.
    QCOMPARE(run.reports, QStringList{QStringLiteral("closed|Nimbra Mobile Emulator|no file")});
    const QByteArray shipped = ReadBytes(QStringLiteral(SHIPPED_DEFAULT_CONFIG));
    QVERIFY(!shipped.isEmpty());
    QCOMPARE(ReadBytes(userFile), shipped);
}

void StartupTest::noConfigurationEndsWithStatus1_data()
{
    QTest::addColumn<QByteArray>("userFile");       // "dir" makes Launcher.ini a folder
    QTest::addColumn<QStringList>("expectedBoxes"); // prefixes, in order
    QTest::addColumn<QStringList>("expectedContents");

    const QString folder = QStringLiteral("Nimbra Mobile");
    QTest::newRow("no user file") << QByteArray() << QStringList{CriticalBox} << QStringList();
    QTest::newRow("user file is a folder")
        << QByteArray("dir") << QStringList{CriticalBox}
        << QStringList{folder, folder + QStringLiteral("/Launcher.ini")};
    // Loading's own warning comes first; the out-of-date file is only set aside.
    QTest::newRow("out-of-date user file")
        << QByteArray("$VERSION\t102\n[Profile]\n\"A\"\t\"\"\n")
        << QStringList{QStringLiteral("box|Nimbra Mobile Emulator Launcher Warning|"), CriticalBox}
        << QStringList{folder, folder + QStringLiteral("/Launcher.102.ini")};
}

void StartupTest::noConfigurationEndsWithStatus1()
{
    QFETCH(QByteArray, userFile);
    QFETCH(QStringList, expectedBoxes);
    QFETCH(QStringList, expectedContents);

    QTemporaryDir dataHome;
    QVERIFY(dataHome.isValid());
    const QString userPath = dataHome.path() + QStringLiteral("/Nimbra Mobile/Launcher.ini");
    if (userFile == "dir")
        QVERIFY(QDir().mkpath(userPath));
    else if (!userFile.isEmpty())
        QVERIFY(WriteText(userPath, userFile));

    // A copy in an app folder of its own: no default file beside it, and an instance
    // identity no other run shares.
    QTemporaryDir appHome;
    const QString macos = appHome.path() + QStringLiteral("/Bare.app/Contents/MacOS");
    QVERIFY(QDir().mkpath(macos));
    const QString program = macos + QStringLiteral("/startup_launcher");
    QVERIFY(QFile::copy(QStringLiteral(STARTUP_LAUNCHER), program));

    const Run run = RunLauncher(program, dataHome.path());
    QVERIFY(run.finished);
    QCOMPARE(run.exitCode, 1);
    // Only boxes, no window.
    QCOMPARE(run.reports.size(), expectedBoxes.size());
    for (int i = 0; i < expectedBoxes.size(); ++i)
        QVERIFY2(run.reports[i].startsWith(expectedBoxes[i]), qPrintable(run.reports[i]));
    QCOMPARE(run.reports.last(), CriticalBox);
    QCOMPARE(Contents(dataHome.path()), expectedContents);
}

QTEST_GUILESS_MAIN(StartupTest)
#include "tst_startup.moc"
