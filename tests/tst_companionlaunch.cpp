// nimbra-mobile-launch as a process, for what needs one: the emulator it starts (the arguments
// the stand-in receives), --wait and the exit statuses, and an import while the real launcher
// runs. The commands' other rules are tst_companion's.
#include "instancepaths.h"
#include "testenv.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <signal.h>

namespace {

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
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

// Whether the process has a handler for SIGTERM, from the mask of caught signals in its status.
bool CatchesTerm(qint64 pid)
{
    const QByteArray status = ReadBytes(QStringLiteral("/proc/%1/status").arg(pid));
    const qsizetype at = status.indexOf("SigCgt:");
    const quint64 caught = status.mid(at + 7, 17).trimmed().toULongLong(nullptr, 16);
    return at >= 0 && (caught >> (SIGTERM - 1) & 1);
}

} // namespace

class CompanionLaunchTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }
    QString RecordPath() const { return Path("starts.jsonl"); }

private slots:
    // Fresh data and runtime folders and stand-in record per test, inherited by the programs
    // it starts; the stand-in records its arguments and quits at once.
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QDir().mkpath(Path("data"));
        QDir().mkpath(Path("runtime"));
        QFile::setPermissions(Path("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path("data")));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(Path("runtime")));
        qputenv("XDG_STATE_HOME", QFile::encodeName(Path("state")));
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(RecordPath()));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
        QVERIFY(WriteText(UserConfigPath(), TestConfig()));
    }

    // The profile's command, then the extra arguments, each one argument as the shell gave it.
    void launchStartsTheProfileCommand()
    {
        const QStringList phone = {"-windowsize",   "320x480",  "-ppi", "160",
                                   "-profile-name", "Phone HD", "-gpu", "on"};
        const Run run = Companion({"Phone HD", "-x", "a b", "\"q\""});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out + run.err, QByteArray());
        const QStringList withExtras = phone + QStringList{"-x", "a b", "\"q\""};
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(RecordPath()), QList<QStringList>{withExtras}, 15000);

        QCOMPARE(Companion({"--wait", "Phone HD"}).status, 0);
        QCOMPARE(Recorded(RecordPath()), (QList<QStringList>{withExtras, phone}));
    }

    void exitStatus_data()
    {
        QTest::addColumn<QByteArray>("emulator"); // a script; no emulator when null
        QTest::addColumn<bool>("wait");
        QTest::addColumn<int>("status");

        QTest::newRow("--wait: the emulator's status") << QByteArray("exit 7") << true << 7;
        QTest::newRow("--wait: no emulator") << QByteArray() << true << 127;
        QTest::newRow("detached: no emulator") << QByteArray() << false << 127;
    }

    void exitStatus()
    {
        QFETCH(QByteArray, emulator);
        QFETCH(bool, wait);
        QFETCH(int, status);

        // A copy of the companion in an app folder of its own, beside a scripted emulator.
        const QString contents = Path("Script App.app/Contents");
        const QString program = contents + "/MacOS/nimbra-mobile-launch";
        QVERIFY(QDir().mkpath(contents + "/MacOS"));
        QVERIFY(QFile::copy(COMPANION, program));
        QVERIFY(QFile::copy(SUPERVISOR, contents + "/MacOS/nimbra-mobile-supervise"));
        if (!emulator.isNull()) {
            const QString script =
                contents + "/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
            QVERIFY(WriteText(script, "#!/bin/sh\n" + emulator + '\n'));
            QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
        }

        const Run run =
            Companion(wait ? QStringList{"--wait", "Base"} : QStringList{"Base"}, program);
        QCOMPARE(run.status, status);
        QCOMPARE(run.out, QByteArray());
        if (status == 127)
            QVERIFY2(run.err.startsWith("Failed to start Nimbra Mobile Emulator: "), run.err);
        else
            QCOMPARE(run.err, QByteArray());
    }

    // An import while the launcher runs reaches its window, and its save at SIGTERM keeps it.
    void importWhileTheLauncherRunsIsKept()
    {
        QVERIFY(WriteText(Path("team.ini"), "$VERSION\t106\n[Profile]\n\"Imported\"\t\"\"\n"));
        QProcess launcher;
        const auto end = qScopeGuard([&launcher] {
            launcher.kill();
            launcher.waitForFinished();
        });
        launcher.setProcessChannelMode(QProcess::MergedChannels);
        launcher.start(LAUNCHER_EXECUTABLE, {});
        // Its file is read once it traces the lookup; SIGTERM is a quit once it catches it,
        // which it starts to do only after that.
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += launcher.readAll()).contains("GetFileName( 0 )"),
                                 15000);
        QTRY_VERIFY_WITH_TIMEOUT(CatchesTerm(launcher.processId()), 15000);

        const Run run = Companion({"--import", Path("team.ini")});
        QCOMPARE(run.status, 0);
        QVERIFY(ReadBytes(UserConfigPath()).contains("\"Imported\""));
        launcher.terminate();
        QVERIFY(launcher.waitForFinished(15000));
        QCOMPARE(launcher.exitCode(), 0);
        QVERIFY(ReadBytes(UserConfigPath()).contains("\"Imported\""));
    }
};

QTEST_GUILESS_MAIN(CompanionLaunchTest)
#include "tst_companionlaunch.moc"
