// Running emulators through the companion as a process, with the build's supervisor and
// stand-in: --running names the emulator's own process and its log, --json says the same,
// --stop and --stop-all end them, --wait still passes the output on and ends as the emulator
// did, also when no log can be written.
#include "launchlogs.h"
#include "processidentity.h"
#include "runningsupport.h"
#include "testenv.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
    QByteArray All() const { return QByteArray::number(status) + '|' + out + '|' + err; }
    // The one JSON object on standard output of a run that succeeded and said nothing else.
    QJsonObject Json() const
    {
        QJsonParseError error;
        const QJsonObject object = QJsonDocument::fromJson(out, &error).object();
        return status == 0 && err.isEmpty() && error.error == QJsonParseError::NoError
                   ? object
                   : QJsonObject();
    }
};

Run Companion(const QStringList& arguments)
{
    QProcess process; // kills a program still running when it goes
    process.start(COMPANION, arguments);
    process.closeWriteChannel();
    const bool ended =
        process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

QList<QStringList> RunningLines()
{
    QList<QStringList> lines;
    for (const QByteArray& line : Companion({"--running"}).out.split('\n')) {
        if (!line.isEmpty())
            lines.append(QString::fromUtf8(line).split(u'\t'));
    }
    return lines;
}

// The stand-in the build's companion starts, as the running program's executable shows it.
bool RunsTheStandIn(qint64 pid)
{
    return QFileInfo(QStringLiteral("/proc/%1/exe").arg(pid)).canonicalFilePath() ==
           QFileInfo(StandInEmulator()).canonicalFilePath();
}

} // namespace

class RunningLaunchTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }

private slots:
    // A state folder per test, inherited by the programs it starts; stand-ins keep running
    // unless a test says otherwise.
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        UsePrivateDataLocation();
        qputenv("XDG_STATE_HOME", QFile::encodeName(Path("state")));
        qunsetenv("NIMBRA_STANDIN_QUIT");
        qunsetenv("NIMBRA_STANDIN_FAIL");
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(Path("starts.jsonl")));
        QVERIFY(WriteText(UserConfigPath(), TwoProfiles()));
    }

    void cleanup() { QVERIFY(EndEverythingStarted()); }

    void listedAndStopped()
    {
        for (const char* name : {"Phone HD", "Phone HD", "Default"})
            QCOMPARE(Companion({name}).status, 0);
        QTRY_COMPARE_WITH_TIMEOUT(RunningLines().size(), 3, 15000);
        // Ten newer logs of the profile, then a launch that prunes: the running emulators'
        // logs stay (checked below), and so does its own.
        const QString newer = Path("state/Nimbra Mobile/logs/Phone HD.2099%1-000000-000.log");
        for (int day = 1; day <= 10; ++day)
            QVERIFY(WriteText(newer.arg(1000 + day), "cmd\n"));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
        QCOMPARE(Companion({"--wait", "Phone HD"}).status, 0);
        qunsetenv("NIMBRA_STANDIN_QUIT");
        QCOMPARE(QDir(LaunchLogs::Folder()).entryList({"Phone HD.*"}).size(), 13);

        // Each line as the JSON object has it: the emulator's own process, its start in local
        // time with seconds, its command, and its log, which begins with the command.
        const QList<QStringList> lines = RunningLines();
        const QJsonObject json = Companion({"--running", "--json"}).Json();
        QCOMPARE(json.value("version").toInt(), 1);
        const QJsonArray running = json.value("running").toArray();
        QCOMPARE(running.size(), 3);
        const QRegularExpression isoSeconds(
            QStringLiteral("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(Z|[+-]\\d\\d:\\d\\d)$"));
        QList<qint64> phonePids;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            const QJsonObject entry = running[i].toObject();
            const QStringList& line = lines[i];
            QCOMPARE(
                (QStringList{entry["profile"].toString(), QString::number(entry["pid"].toInteger()),
                             entry["started"].toString(), entry["log"].toString()}),
                line);
            QTRY_VERIFY_WITH_TIMEOUT(RunsTheStandIn(line[1].toLongLong()), 15000);
            QVERIFY2(isoSeconds.match(line[2]).hasMatch(), qPrintable(line[2]));
            QVERIFY(qAbs(QDateTime::fromString(line[2], Qt::ISODate)
                             .secsTo(QDateTime::currentDateTime())) < 60);
            const QByteArray command = Companion({"--command", line[0]}).out;
            QCOMPARE(entry["command"].toString().toUtf8() + '\n', command);
            QCOMPARE(ReadBytes(line[3]).left(command.size()), command);
            if (line[0] == "Phone HD")
                phonePids.append(line[1].toLongLong());
        }
        QCOMPARE(phonePids.size(), 2);

        QCOMPARE(Companion({"--stop", "Phone HD"}).All(), "0||");
        for (const qint64 pid : phonePids)
            QVERIFY(!RunsTheStandIn(pid) || ReadProcessState(pid).ended);
        QCOMPARE(RunningLines().size(), 1);
        QCOMPARE(Companion({"--stop", "Phone HD"}).All(),
                 "1||No emulator of profile \"Phone HD\" is running.\n");
        QCOMPARE(Companion({"--stop", "Phone"}).status, 2);
        QCOMPARE(Companion({"--stop-all"}).status, 0);
        QCOMPARE(Companion({"--running"}).All(), "0||");
    }

    // Whatever a name holds, each running emulator is one line of four fields.
    void runningLineEscapes()
    {
        QProcess sleeper;
        sleeper.start("/bin/sleep", {"30"});
        QVERIFY(sleeper.waitForStarted());
        RunningEmulator entry;
        entry.profile = "Tab\there\\ and\nline";
        entry.pid = sleeper.processId();
        entry.identity = ReadProcessState(entry.pid).identity;
        entry.startedMs = QDateTime::currentMSecsSinceEpoch();
        entry.log = "/logs/a\tb.log";
        QVERIFY(Running::Write(entry, Running::Folder()));
        QCOMPARE(Companion({"--running"}).out,
                 QStringLiteral("Tab\\there\\\\ and\\nline\t%1\t%2\t/logs/a\\tb.log\n")
                     .arg(entry.pid)
                     .arg(Running::TimeText(entry.startedMs))
                     .toUtf8());
        sleeper.kill();
        sleeper.waitForFinished();
    }

    void listAsJson()
    {
        QJsonArray names, commands;
        for (const QString name : {"Default", "Phone HD"}) {
            names.append(QJsonObject{{"name", name}});
            const QByteArray command = Companion({"--command", name}).out;
            commands.append(QJsonObject{{"name", name}, {"command", QString(command.chopped(1))}});
        }
        QCOMPARE(Companion({"--json", "--list"}).Json(),
                 (QJsonObject{{"version", 1}, {"profiles", names}}));
        QCOMPARE(Companion({"--list", "--long", "--json"}).Json(),
                 (QJsonObject{{"version", 1}, {"profiles", commands}}));
    }

    // The output reaches the caller and the log alike, and the status is the emulator's; a
    // signal still reads as a crash. A log folder that can't be written still launches, and
    // the emulator then writes where the companion does, so that must stay open.
    void waitKeepsItsWays()
    {
        qputenv("NIMBRA_STANDIN_FAIL", "first\nsecond");
        QCOMPARE(Companion({"--wait", "Phone HD", "-x"}).All(), "3||first\nsecond\n");
        const QStringList logs = QDir(Path("state/Nimbra Mobile/logs")).entryList(QDir::Files);
        QCOMPARE(logs.size(), 1);
        const QByteArray command = Companion({"--command", "Phone HD"}).out.trimmed();
        QCOMPARE(ReadBytes(Path("state/Nimbra Mobile/logs/") + logs[0]),
                 command + " -x\nfirst\nsecond\n");
        QCOMPARE(RecordFiles(), QStringList());

        qunsetenv("NIMBRA_STANDIN_FAIL");
        QVERIFY(QDir(Path("state")).removeRecursively());
        QVERIFY(WriteText(Path("state"), "not a folder\n"));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
        const Run quick = Companion({"--wait", "Phone HD"});
        QCOMPARE(quick.status, 0);
        QCOMPARE(quick.err.count('\n'), 1);
        QVERIFY2(quick.err.startsWith("nimbra-mobile-supervise: no log for this launch: "),
                 quick.err);
        QCOMPARE(Recorded(Path("starts.jsonl")).size(), 2); // the failed start, then this one

        qunsetenv("NIMBRA_STANDIN_QUIT");
        QProcess waiting;
        waiting.start(COMPANION, {"--wait", "Default"});
        QTRY_COMPARE_WITH_TIMEOUT(RunningLines().size(), 1, 15000);
        QCOMPARE(RunningLines()[0].value(3), QString());
        QVERIFY(Running::ForceStop(Running::Read(Running::Folder()).running[0]));
        QVERIFY(waiting.waitForFinished(10000));
        QCOMPARE(waiting.exitCode(), 1);
        QVERIFY(waiting.readAllStandardError().endsWith("Nimbra Mobile Emulator crashed.\n"));
        QCOMPARE(ReadBytes(Path("state")), "not a folder\n");
    }
};

QTEST_GUILESS_MAIN(RunningLaunchTest)
#include "tst_runninglaunch.moc"
