// However the launcher ends, nothing is lost: a signal quits as a closed window does and the
// save runs; after SIGKILL the next start brings the edit back; a save that fails with
// nobody there to ask leaves the edit for the next start. Real processes of the launcher's
// own entry point, with a companion that makes the edit (endings_editor.cpp).
#include "recovery.h"
#include "testenv.h"

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

// Reads the process's stderr until a line starts with text.
bool WaitForLine(QProcess& process, const QByteArray& text)
{
    QDeadlineTimer deadline(kWaitMs);
    while (!deadline.hasExpired()) {
        while (process.canReadLine())
            if (process.readLine().startsWith(text))
                return true;
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

    // With the data folder gone, the save at SIGTERM fails: one line on stderr, no box, and
    // the edit waits in the recovery state.
    void failedUnattendedSaveLeavesTheEdit()
    {
        QProcess* launcher = Start();
        QVERIFY(WaitForLine(*launcher, "edited"));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(RecoveryFile()), 1500);
        const QString folder = QFileInfo(UserFile()).path();
        QVERIFY(QDir(folder).removeRecursively() && WriteText(folder, "not a folder\n"));
        QCOMPARE(::kill(pid_t(launcher->processId()), SIGTERM), 0);
        QVERIFY(WaitForLine(*launcher, "nimbra-mobile-launcher: your profiles could not be saved"));
        QVERIFY(EndedWith(*launcher, 0));
        QVERIFY(QFileInfo::exists(RecoveryFile()));
    }
};

QTEST_GUILESS_MAIN(EndingsTest)
#include "tst_endings.moc"
