// nimbra-mobile-launch as a process, for what needs one: the emulator it starts (the arguments
// the stand-in receives) and the exit statuses, with --wait and without an emulator. The
// commands' other rules are tst_companion's.
#include "testenv.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out, err;
};

Run Companion(const QStringList& arguments, const QString& program = COMPANION)
{
    QProcess process; // kills a program still running when it goes
    process.start(program, arguments);
    process.closeWriteChannel();
    const bool ended =
        process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

} // namespace

class CompanionLaunchTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }

private slots:
    // Fresh folders and stand-in record per test, inherited by the programs it starts; the
    // stand-in records its arguments and quits at once.
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        UsePrivateFolders(m_home->path());
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(Path("starts.jsonl")));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
        qunsetenv("NIMBRA_STANDIN_FAIL");
        QVERIFY(WriteText(UserConfigPath(), TestConfig()));
    }

    // The profile's command, then the extra arguments, each one argument as the shell gave it;
    // with --wait, the emulator's status and output.
    void launchStartsTheProfileCommand()
    {
        const QStringList phone = {"-windowsize",   "320x480",  "-ppi", "160",
                                   "-profile-name", "Phone HD", "-gpu", "on"};
        const Run run = Companion({"Phone HD", "-x", "a b", "\"q\""});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out + run.err, QByteArray());
        const QStringList withExtras = phone + QStringList{"-x", "a b", "\"q\""};
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(Path("starts.jsonl")), QList<QStringList>{withExtras},
                                  15000);

        qputenv("NIMBRA_STANDIN_FAIL", "stand-in failed");
        const Run waited = Companion({"--wait", "Phone HD"});
        QCOMPARE(waited.status, 3);
        QVERIFY2(waited.err.contains("stand-in failed\n"), waited.err);
        QCOMPARE(Recorded(Path("starts.jsonl")), (QList<QStringList>{withExtras, phone}));
    }

    // A copy of the companion in an app folder of its own, without an emulator.
    void missingEmulatorIs127()
    {
        const QString program = Path("Bare App.app/Contents/MacOS/nimbra-mobile-launch");
        QVERIFY(QDir().mkpath(Path("Bare App.app/Contents/MacOS")));
        QVERIFY(QFile::copy(COMPANION, program));
        QVERIFY(
            QFile::copy(SUPERVISOR, Path("Bare App.app/Contents/MacOS/nimbra-mobile-supervise")));
        const Run run = Companion({"Base"}, program);
        QCOMPARE(run.status, 127);
        QCOMPARE(run.out, QByteArray());
        QVERIFY2(run.err.startsWith("Failed to start Nimbra Mobile Emulator: "), run.err);
    }
};

QTEST_GUILESS_MAIN(CompanionLaunchTest)
#include "tst_companionlaunch.moc"
