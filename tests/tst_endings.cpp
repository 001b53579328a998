// However the launcher ends, nothing is lost: a signal quits as a closed window does and the
// save runs; after SIGKILL the next start brings the edit back; a save that fails with
// nobody there to ask leaves the edit for the next start. Real processes of the launcher's
// own entry point, with a companion that makes the edit (endings_editor.cpp).
#include "processidentity.h"
#include "recovery.h"
#include "testenv.h"
#include "userfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <signal.h>

namespace {

constexpr int kWaitMs = 20000;

// Reads the process's stderr until a line starts with text; that line in *line.
bool WaitForLine(QProcess& process, const QByteArray& text, QByteArray* line = nullptr)
{
    QDeadlineTimer deadline(kWaitMs);
    while (!deadline.hasExpired()) {
        while (process.canReadLine()) {
            const QByteArray read = process.readLine();
            if (read.startsWith(text)) {
                if (line)
                    *line = read;
                return true;
            }
        }
        if (process.state() == QProcess::NotRunning)
            return false;
        process.waitForReadyRead(int(deadline.remainingTime()));
    }
    return false;
}

} // namespace

class EndingsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_program;
    QList<QProcess*> m_running;

    // The launcher with private data, state and runtime folders; env adds to its environment.
    QProcess* Start(const QStringList& env = {})
    {
        auto* process = new QProcess(this);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_DATA_HOME", m_dir->filePath("data"));
        environment.insert("XDG_STATE_HOME", m_dir->filePath("state"));
        environment.insert("XDG_RUNTIME_DIR", m_dir->filePath("run"));
        for (const QString& entry : env)
            environment.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::SeparateChannels);
        process->setReadChannel(QProcess::StandardError);
        process->start(m_program, {});
        m_running.append(process);
        return process;
    }

    QString UserFile() const { return m_dir->filePath("data/Nimbra Mobile/Launcher.ini"); }
    QString RecoveryFile() const { return Recovery::StatePath(m_program); }

    static bool EndedWith(QProcess& process, int status)
    {
        return process.waitForFinished(kWaitMs) && process.exitStatus() == QProcess::NormalExit &&
               process.exitCode() == status;
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(m_dir->filePath("run")));
        QFile::setPermissions(m_dir->filePath("run"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        // A copy in an app folder of its own: an instance and a recovery state of its own.
        m_program = UseFixtureAppFolder() + "/endings_launcher";
        QFile::remove(m_program);
        QVERIFY(QFile::copy(ENDINGS_LAUNCHER, m_program));
        qputenv("XDG_STATE_HOME", QFile::encodeName(m_dir->filePath("state")));
        QVERIFY(WriteText(UserFile(), ReadBytes(SourceResource("LauncherDefault.ini"))));
    }

    void cleanup()
    {
        for (QProcess* process : std::as_const(m_running)) {
            process->kill();
            process->waitForFinished();
        }
        qDeleteAll(m_running);
        m_running.clear();
    }

    void signalQuitsAndSaves_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGHUP") << int(SIGHUP);
        QTest::newRow("SIGINT") << int(SIGINT);
    }

    void signalQuitsAndSaves()
    {
        QFETCH(int, signalNumber);
        QProcess* launcher = Start();
        QVERIFY(WaitForLine(*launcher, "edited"));
        QCOMPARE(::kill(pid_t(launcher->processId()), signalNumber), 0);
        QVERIFY(EndedWith(*launcher, 0));
        QVERIFY(ReadBytes(UserFile()).contains(" copy\""));
        QVERIFY(!QFileInfo::exists(RecoveryFile()));
    }

    void killedRunIsRecovered_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("kept");
        QTest::newRow("kept") << "Keep Changes" << true;
        QTest::newRow("discarded") << "Discard Changes" << false;
    }

    // The edit is on disk within a second; after SIGKILL the next start offers it once.
    void killedRunIsRecovered()
    {
        QFETCH(QString, answer);
        QFETCH(bool, kept);
        QProcess* killed = Start();
        QVERIFY(WaitForLine(*killed, "edited"));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(RecoveryFile()), 1500);
        killed->kill();
        QVERIFY(killed->waitForFinished(kWaitMs));

        QProcess* next =
            Start({"NIMBRA_TEST_EDIT=0", "NIMBRA_TEST_CLOSE=1", "NIMBRA_TEST_ANSWER=" + answer});
        QVERIFY(WaitForLine(*next, "box|Nimbra Mobile Emulator Launcher|The launcher did not "
                                   "quit normally last time."));
        QVERIFY(EndedWith(*next, 0));
        QCOMPARE(ReadBytes(UserFile()).contains(" copy\""), kept);
        QVERIFY(!QFileInfo::exists(RecoveryFile()));
    }

    void failedUnattendedSaveLeavesTheEdit_data()
    {
        QTest::addColumn<bool>("waitForState"); // until the recovery timer has kept the edit
        QTest::addColumn<bool>("stateFolderUsable");
        QTest::newRow("the edit kept before the signal") << true << true;
        // Before the recovery timer: the failed save itself must keep the edit.
        QTest::newRow("the signal right after the edit") << false << true;
        QTest::newRow("nowhere to keep the edit") << false << false;
    }

    // With the data folder gone, the save at SIGTERM fails: one line on stderr, no box, and
    // the edit waits in the recovery state; the line promises it back only when it is there.
    void failedUnattendedSaveLeavesTheEdit()
    {
        QFETCH(bool, waitForState);
        QFETCH(bool, stateFolderUsable);
        if (!stateFolderUsable)
            QVERIFY(WriteText(QFileInfo(RecoveryFile()).path(), "not a folder\n"));
        QProcess* launcher = Start();
        QVERIFY(WaitForLine(*launcher, "edited"));
        if (waitForState)
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(RecoveryFile()), 1500);
        const QString folder = QFileInfo(UserFile()).path();
        QVERIFY(QDir(folder).removeRecursively() && WriteText(folder, "not a folder\n"));
        QCOMPARE(::kill(pid_t(launcher->processId()), SIGTERM), 0);
        QByteArray line;
        QVERIFY(WaitForLine(*launcher, "nimbra-mobile-launcher: your profiles could not be saved",
                            &line));
        QVERIFY(EndedWith(*launcher, 0));
        if (!stateFolderUsable) {
            QVERIFY2(line.contains("could not be kept for the next start in"), line.constData());
            QVERIFY(!line.contains("the next start brings them back"));
            return;
        }
        QVERIFY2(line.contains("the next start brings them back from"), line.constData());
        QVERIFY(ReadBytes(RecoveryFile()).contains(" copy\""));
    }

    // A second quit signal while the save at exit runs (here it waits for another program to
    // finish writing the file) neither ends the process nor loses the save.
    void secondSignalDuringTheSave()
    {
        QProcess* launcher = Start();
        QVERIFY(WaitForLine(*launcher, "edited"));
        QFile writer(UserFile());
        QVERIFY(writer.open(QIODevice::Append));
        if (UserFile::WritersOf(UserFile()) != UserFile::Writers::Some)
            QSKIP("open writers can't be told on this file system");
        QCOMPARE(::kill(pid_t(launcher->processId()), SIGTERM), 0);
        QTest::qWait(400);
        QCOMPARE(::kill(pid_t(launcher->processId()), SIGTERM), 0);
        QCOMPARE(::kill(pid_t(launcher->processId()), SIGINT), 0);
        QTest::qWait(300);
        writer.close();
        QVERIFY(EndedWith(*launcher, 0));
        QVERIFY(ReadBytes(UserFile()).contains(" copy\""));
        QVERIFY(!QFileInfo::exists(RecoveryFile()));
    }

    void stateOfAnotherProcessId_data()
    {
        QTest::addColumn<QString>("recorded"); // the process identity in the state
        QTest::addColumn<bool>("recovered");
        // The id now names a process that is no launcher (after a reboot, or ids wrapped).
        QTest::newRow("id reused since") << "another boot:1" << true;
        QTest::newRow("id reused since, state without identity") << QString() << true;
        // The writer still runs: its state is its own.
        QTest::newRow("writer still running") << "(the live process's)" << false;
    }

    // A state whose recorded id names a live process is left alone only when that process is
    // the run that wrote it; then even this run's clean exit leaves it.
    void stateOfAnotherProcessId()
    {
        QFETCH(QString, recorded);
        QFETCH(bool, recovered);
        auto* other = new QProcess(this);
        m_running.append(other);
        other->start("sleep", {"60"});
        QVERIFY(other->waitForStarted());
        if (recorded.startsWith(u'('))
            recorded = ReadProcessState(other->processId()).identity;

        UserFile::Loaded loaded = UserFile::Load({UserFile(), {}, {}});
        QVERIFY(loaded.Ok());
        ConfigModel edited = loaded.model;
        edited.profiles.append({"Recovered", " -r", {0, 0, 0}});
        const Recovery::State state{QFileInfo(m_program).canonicalFilePath(), other->processId(),
                                    loaded.baseline.base, edited, recorded};
        QVERIFY(Recovery::Writer(RecoveryFile()).Write(state));

        QProcess* next =
            Start({"NIMBRA_TEST_EDIT=0", "NIMBRA_TEST_CLOSE=1", "NIMBRA_TEST_ANSWER=Keep Changes"});
        QVERIFY(EndedWith(*next, 0));
        const QByteArray said = next->readAll();
        QCOMPARE(said.contains("The launcher did not quit normally last time."), recovered);
        QCOMPARE(ReadBytes(UserFile()).contains("\"Recovered\""), recovered);
        // Brought back, it went with the clean exit; the running writer's stays.
        QCOMPARE(QFileInfo::exists(RecoveryFile()), !recovered);
    }
};

QTEST_GUILESS_MAIN(EndingsTest)
#include "tst_endings.moc"
