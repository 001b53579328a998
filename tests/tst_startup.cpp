// The launcher's real entry point, run as its own process with a private data location: the
// first run, and the start with no configuration it can read. A companion linked into the
// program (startup_autoclose.cpp) reports each message box and the window's closing on stderr.
#include "testenv.h"

#include <QDir>
#include <QMessageBox>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void start_data()
    {
        QTest::addColumn<bool>("shippedFiles");
        QTest::addColumn<QStringList>("reports"); // the exit code, then what the companion saw
        // No box, and the file appears only after the window has closed and the loop has ended.
        QTest::newRow("first run: the defaults, saved at exit")
            << true << QStringList{"0", "closed|Nimbra Mobile Emulator|no file"};
        // Only the box, no window, and nothing written.
        QTest::newRow("no configuration it can read")
            << false
            << QStringList{"1", QStringLiteral("box|Nimbra Mobile Emulator|Unable to start Nimbra "
                                               "Mobile Emulator Launcher|Unable to read "
                                               "configuration file.|%1|%2|no parent")
                                    .arg(int(QMessageBox::Critical))
                                    .arg(int(QMessageBox::Ok))};
    }

    void start()
    {
        QFETCH(bool, shippedFiles);
        QFETCH(QStringList, reports);
        // A copy in a fixture app folder: an instance identity no other run shares.
        const QString program = UseFixtureAppFolder(shippedFiles) + "/startup_launcher";
        QVERIFY(QFile::copy(QStringLiteral(STARTUP_LAUNCHER), program));
        QTemporaryDir dataHome;
        qputenv("XDG_DATA_HOME", QFile::encodeName(dataHome.path()));
        QProcess process; // kills a program still running when it goes
        process.start(program, {});
        const bool ended =
            process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit;
        const QStringList lines =
            QString::fromLocal8Bit(process.readAllStandardError()).split(u'\n');
        QCOMPARE(QStringList{QString::number(ended ? process.exitCode() : -1)} +
                     lines.filter(QRegularExpression("^(box|closed)\\|")),
                 reports);
        if (shippedFiles)
            QCOMPARE(ReadBytes(dataHome.filePath("Nimbra Mobile/Launcher.ini")),
                     ReadBytes(SourceResource("LauncherDefault.ini")));
        else
            QVERIFY(QDir(dataHome.path())
                        .isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden));
    }
};

QTEST_GUILESS_MAIN(StartupTest)
#include "tst_startup.moc"
