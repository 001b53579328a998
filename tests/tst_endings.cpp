// However the launcher ends, nothing is lost: a signal quits as a closed window does and the
// save runs, a second one during it included; after SIGKILL the next start brings the edit back; a
// save that fails with nobody there to ask leaves the edit for the next start. Real processes of
// the launcher's own entry point, with a companion that makes the edit (endings_editor.cpp).
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
    for (QDeadlineTimer deadline(kWaitMs); !deadline.hasExpired();) {
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

bool EndedWith(QProcess& process, int status)
{
    return process.waitForFinished(kWaitMs) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == status;
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
        process->setReadChannel(QProcess::StandardError);
        process->start(m_program, {});
        m_running.append(process);
        return process;
    }
    QString UserFile() const { return m_dir->filePath("data/Nimbra Mobile/Launcher.ini"); }
    QString RecoveryFile() const { return Recovery::StatePath(m_program); }
    bool EditIn(const QString& path) const { return ReadBytes(path).contains(" copy\""); }

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
        QTest::addColumn<QList<int>>("signalNumbers"); // the first; the rest during the save
        QTest::newRow("SIGTERM") << QList<int>{SIGTERM};
        QTest::newRow("SIGHUP") << QList<int>{SIGHUP};
        QTest::newRow("SIGINT") << QList<int>{SIGINT};
        // The save waits for another program to finish writing the file; meanwhile more
        // signals neither end the process nor lose the save.
        QTest::newRow("SIGTERM, then SIGTERM and SIGINT during the save")
            << QList<int>{SIGTERM, SIGTERM, SIGINT};
    }

    void signalQuitsAndSaves()
    {
        QFETCH(QList<int>, signalNumbers);
        QProcess* launcher = Start();
        QVERIFY(WaitForLine(*launcher, "edited"));
        QFile writer(UserFile());
        if (signalNumbers.size() > 1) {
            QVERIFY(writer.open(QIODevice::Append));
            if (UserFile::WritersOf(UserFile()) != UserFile::Writers::Some)
                QSKIP("open writers can't be told on this file system");
        }
        QCOMPARE(::kill(pid_t(launcher->processId()), signalNumbers.takeFirst()), 0);
        if (writer.isOpen()) {
            QTest::qWait(400);
            for (const int signalNumber : signalNumbers)
                QCOMPARE(::kill(pid_t(launcher->processId()), signalNumber), 0);
            QTest::qWait(300);
            writer.close();
        }
        QVERIFY(EndedWith(*launcher, 0));
        QVERIFY(EditIn(UserFile()));
        QVERIFY(!QFileInfo::exists(RecoveryFile()));
    }

    void recoveredAtTheNextStart_data()
    {
        QTest::addColumn<QString>("recorded"); // the process identity in a state written here
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("told");
        QTest::addColumn<bool>("kept");
        // The edit is on disk within a second; after SIGKILL the next start offers it once.
        QTest::newRow("killed, kept") << "(killed)"
                                      << "Keep Changes" << true << true;
        QTest::newRow("killed, discarded") << "(killed)"
                                           << "Discard Changes" << true << false;
        // The recorded id now names a process that is no launcher (after a reboot, or ids
        // wrapped).
        QTest::newRow("id reused since") << "another boot:1"
                                         << "Keep Changes" << true << true;
        QTest::newRow("id reused since, state without identity")
            << QString() << "Keep Changes" << true << true;
        // The writer still runs: its state is its own, and even this run's clean exit leaves it.
        QTest::newRow("writer still running") << "(live)"
                                              << "Keep Changes" << false << false;
    }

    // Brought back or not, a state this run looked at goes with its clean exit.
    void recoveredAtTheNextStart()
    {
        QFETCH(QString, recorded);
        QFETCH(QString, answer);
        if (recorded == "(killed)") {
            QProcess* killed = Start();
            QVERIFY(WaitForLine(*killed, "edited"));
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(RecoveryFile()), 1500);
            killed->kill();
            QVERIFY(killed->waitForFinished(kWaitMs));
        } else {
            auto* other = new QProcess(this);
            m_running.append(other);
            other->start("sleep", {"60"});
            QVERIFY(other->waitForStarted());
            if (recorded == "(live)")
                recorded = ReadProcessState(other->processId()).identity;
            UserFile::Loaded loaded = UserFile::Load({UserFile(), {}, {}});
            QVERIFY(loaded.Ok());
            ConfigModel edited = loaded.model;
            edited.profiles.append({"Recovered copy", " -r", {0, 0, 0}});
            QVERIFY(Recovery::Writer(RecoveryFile())
                        .Write({QFileInfo(m_program).canonicalFilePath(), other->processId(),
                                loaded.baseline.base, edited, recorded}));
        }

        QProcess* next =
            Start({"NIMBRA_TEST_EDIT=0", "NIMBRA_TEST_CLOSE=1", "NIMBRA_TEST_ANSWER=" + answer});
        QVERIFY(EndedWith(*next, 0));
        const QByteArray told = "box|Nimbra Mobile Emulator Launcher|The launcher did not quit "
                                "normally last time.";
        QTEST(next->readAll().contains(told), "told");
        QTEST(EditIn(UserFile()), "kept");
        QTEST(!QFileInfo::exists(RecoveryFile()), "told");
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
        const QByteArray promise = stateFolderUsable ? "the next start brings them back from"
                                                     : "could not be kept for the next start in";
        QVERIFY2(line.contains(promise), line.constData());
        QVERIFY(stateFolderUsable ? EditIn(RecoveryFile())
                                  : !line.contains("the next start brings them back"));
    }
};

QTEST_GUILESS_MAIN(EndingsTest)
#include "tst_endings.moc"
