// The running emulators' records and logs, without a window: log names that stay in their
// folder whatever the profile is called, pruning, and records believed only while their
// process still runs as recorded, so that a stop never reaches another program.
#include "launchlogs.h"
#include "processidentity.h"
#include "runningemulators.h"
#include "testenv.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

namespace {

const qint64 Now = QDateTime::currentMSecsSinceEpoch();

// A child that runs until the test ends it, at the latest when it goes; sh's exec keeps the id
// for the program. Made once the script has said it is ready.
struct Child : QProcess
{
    explicit Child(const QString& script = "echo; exec sleep 30")
    {
        start("/bin/sh", {"-c", script});
        waitForReadyRead(5000);
    }
    ~Child() override { kill(), waitForFinished(); }
    QString Identity() const { return ReadProcessState(processId()).identity; }
};

// Running, with a supervisor that has finished (an id above any Linux gives).
RunningEmulator EntryFor(qint64 pid, const QString& identity, const QString& profile)
{
    static qint64 supervisor = 5000000;
    // The members in order: state, profile, pid, identity, started, command, log, supervisor
    // and its identity, exit code, signal, ended, error, file.
    return {{}, profile, pid, identity, Now, {}, {}, ++supervisor, "gone", 0, 0, 0, {}, {}};
}

} // namespace

class RunningCoreTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString Folder() const { return m_dir->filePath(QStringLiteral("folder")); }

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void logNameStaysInItsFolder_data()
    {
        QTest::addColumn<QString>("profile");
        QTest::newRow("climbs out") << "../../etc/passwd";
        QTest::newRow("dot dot") << "..";
        QTest::newRow("empty") << "";
        QTest::newRow("hidden") << ".profile";
        QTest::newRow("both separators and controls") << "a/b\\c\n\td\x01";
        QTest::newRow("what an escape looks like") << "%41%";
        QTest::newRow("not ASCII") << QStringLiteral("T\u00e9l\u00e9phone \U0001F4F1");
        QTest::newRow("longer than a file name") << QString(300, QChar(0xe9));
    }

    void logNameStaysInItsFolder()
    {
        QFETCH(QString, profile);
        QString error;
        const QString path = LaunchLogs::Create(Folder(), profile, "\"emu\" -x", Now, &error);
        QVERIFY2(!path.isEmpty(), qPrintable(error));
        const QFileInfo log(path);
        QCOMPARE(log.canonicalPath(), QFileInfo(Folder()).canonicalFilePath());
        QVERIFY(!log.fileName().startsWith(u'.'));
        QVERIFY(QFile::encodeName(log.fileName()).size() <= 255);
        QCOMPARE(QDir(Folder()).entryList(QDir::Files | QDir::Hidden), QStringList{log.fileName()});
        QCOMPARE(ReadBytes(path), QByteArray("\"emu\" -x\n"));
        QCOMPARE(LaunchLogs::Latest(Folder(), profile), path);
    }

    // Different profiles never share logs, so pruning and Show Log keep them apart.
    void logNamesDiffer()
    {
        const QString longName(200, u'a');
        const QStringList profiles =
            QStringLiteral("|%|%25|A|%41|a b|a_b|a.b|a%2Eb").split(u'|') +
            QStringList{longName + 'x', longName + 'y', QString(400, u'a')};
        QStringList stems;
        for (const QString& profile : profiles)
            stems.append(LaunchLogs::FileStem(profile));
        stems.removeDuplicates();
        QCOMPARE(stems.size(), profiles.size());
    }

    void pruning()
    {
        // Twelve launches of one profile, four of another, and forty older ones of as many
        // others: the ten newest of the first stay, then the fifty newest in all, so the four
        // oldest others go, except the oldest of all, which a running emulator still writes
        // (named another way). Files that are not logs are left alone.
        QString error;
        const auto create = [&](const QString& profile, qint64 ms) {
            return QFileInfo(LaunchLogs::Create(Folder(), profile, "cmd", ms, &error)).fileName();
        };
        QStringList kept = {"notes.log", create("Other 0", Now - 100000)}, pruned;
        for (int i = 1; i < 40; ++i)
            (i >= 4 ? kept : pruned)
                .append(create(QStringLiteral("Other %1").arg(i), Now - 100000 + i));
        for (int i = 0; i < 12; ++i)
            (i >= 2 ? kept : pruned).append(create("Phone", Now + i * 1000));
        for (int i = 0; i < 3; ++i)
            kept.append(create("Tablet", Now - 50000 + i));
        // Two in the same millisecond get names of their own.
        kept.append(create("Tablet", Now - 50000 + 2));
        QVERIFY(WriteText(Folder() + "/notes.log", "mine\n"));

        LaunchLogs::Prune(Folder(), {m_dir->filePath("folder/../folder//") + kept[1]});

        QStringList left = QDir(Folder()).entryList(QDir::Files);
        left.sort();
        kept.sort();
        QCOMPARE(left, kept);
        QCOMPARE(LaunchLogs::Latest(Folder(), "Phone"),
                 Folder() + u'/' + kept.filter("Phone.").last());
    }

    // The log's first line is the command; ten lines at most are asked for (a longer log is
    // the window's failure box test).
    void lastLines_data()
    {
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QStringList>("last");
        QTest::newRow("no newline at the end")
            << QByteArray("cmd\na\n\nb") << QStringList{"a", "", "b"};
        QTest::newRow("the command alone") << QByteArray("cmd\n") << QStringList();
        QTest::newRow("no log") << QByteArray() << QStringList();
    }

    void lastLines()
    {
        QFETCH(QByteArray, log);
        QFETCH(QStringList, last);
        const QString path = m_dir->filePath("x.log");
        QVERIFY(log.isNull() || WriteText(path, log));
        QCOMPARE(LaunchLogs::LastLines(path, 10), last);
    }

    // Only an entry whose process still runs as recorded is running. The others, and files
    // that are no entries of this version, are removed, except an entry whose supervisor is
    // still about to record its end, and a report young enough for its launcher to take.
    void recordsAreCheckedAndRebuilt()
    {
        // Started well before the others: identities tell processes apart by their start.
        qint64 endedPid;
        QString endedIdentity;
        {
            Child ended;
            endedPid = ended.processId();
            endedIdentity = ended.Identity();
            QTest::qWait(50);
        }
        Child live, supervisor;
        QVERIFY(!live.Identity().isEmpty() && live.Identity() != endedIdentity);
        QVERIFY(!ReadProcessState(endedPid).exists);

        RunningEmulator running = EntryFor(live.processId(), live.Identity(), "Phone");
        RunningEmulator reused = EntryFor(live.processId(), endedIdentity, "Reused");
        RunningEmulator gone = EntryFor(endedPid, endedIdentity, "Gone");
        RunningEmulator finishing = EntryFor(endedPid, endedIdentity, "Finishing");
        finishing.supervisorPid = supervisor.processId();
        finishing.supervisorIdentity = supervisor.Identity();
        RunningEmulator report = gone;
        report.state = RunningEmulator::State::StartFailed;
        report.endedMs = QDateTime::currentMSecsSinceEpoch();
        report.supervisorPid = 77;
        RunningEmulator oldReport = report;
        oldReport.endedMs -= 120000;
        oldReport.supervisorPid = 78;
        for (RunningEmulator* entry : {&running, &reused, &gone, &finishing, &report, &oldReport})
            QVERIFY(Running::Write(*entry, Folder()));
        QCOMPARE(QDir(Folder()).entryList(QDir::Files | QDir::Hidden).size(), 6);
        const QByteArray whole = ReadBytes(running.entryPath);
        QVERIFY(whole.contains("\"version\":1"));
        QVERIFY(WriteText(Folder() + "/truncated.json", whole.left(whole.size() / 2)));
        QVERIFY(WriteText(Folder() + "/garbage.json", QByteArray("\x00\xff garbage", 11)));
        QVERIFY(WriteText(Folder() + "/other-version.json",
                          QByteArray(whole).replace("\"version\":1", "\"version\":2")));
        QVERIFY(WriteText(Folder() + "/notes.txt", "mine"));

        const Running::Registry registry = Running::Read(Folder());

        QCOMPARE(registry.running.size(), 1);
        QCOMPARE(registry.running[0].pid, live.processId());
        QCOMPARE(registry.running[0].profile, "Phone");
        QCOMPARE(registry.reports.size(), 1);
        QCOMPARE(registry.reports[0].supervisorPid, 77);
        QStringList expected = {"notes.txt"};
        for (const RunningEmulator* entry : {&running, &finishing, &report})
            expected.append(QFileInfo(entry->entryPath).fileName());
        expected.sort();
        QCOMPARE(QDir(Folder()).entryList(QDir::Files), expected);

        // A stop reaches only the process on record: the reused id is left alone.
        QVERIFY(!Running::ForceStop(reused));
        QVERIFY(Running::StopAndWait({reused}, 0).isEmpty());
        QCOMPARE(live.state(), QProcess::Running);
    }

    // Asked first; what ignores the request is ended by force after the grace.
    void stopAsksThenForces()
    {
        Child polite, stubborn("trap '' TERM; echo; exec sleep 30");
        const QList<RunningEmulator> forced =
            Running::StopAndWait({EntryFor(polite.processId(), polite.Identity(), "Phone"),
                                  EntryFor(stubborn.processId(), stubborn.Identity(), "Phone")},
                                 300);
        QCOMPARE(forced.size(), 1);
        QCOMPARE(forced[0].pid, stubborn.processId());
        for (Child* child : {&polite, &stubborn}) {
            QVERIFY(child->waitForFinished(2000));
            QCOMPARE(child->exitStatus(), QProcess::CrashExit);
        }
        QCOMPARE(polite.exitCode(), SIGTERM);
        QCOMPARE(stubborn.exitCode(), SIGKILL);
    }
};

QTEST_GUILESS_MAIN(RunningCoreTest)
#include "tst_runningcore.moc"
