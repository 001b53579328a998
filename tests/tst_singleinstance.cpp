// The single-instance class driven through real processes: copies of a helper at private
// paths (one identity per folder), the launcher itself, and this test program as an instance.
#include "filelocations.h"
#include "qtsingleapplication.h"
#include "testenv.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <memory>

#include <signal.h>

namespace {

// Generous: the machine is shared with parallel builds and tests.
constexpr int kWaitMs = 20000;

// waitForFinished() fails for a process whose end an event loop has already seen.
bool Finished(QProcess& process)
{
    return process.state() == QProcess::NotRunning || process.waitForFinished(kWaitMs);
}

// Reads the process's output until a line starts with text.
bool WaitForLine(QProcess& process, const QByteArray& text)
{
    for (QDeadlineTimer deadline(kWaitMs); !deadline.hasExpired();) {
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

class SingleInstanceTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString CopyHelper(const QString& folder)
    {
        QDir().mkpath(m_dir->filePath(folder));
        const QString copy = m_dir->filePath(folder + "/singleinstance_helper");
        return QFile::copy(SINGLEINSTANCE_HELPER, copy) ? copy : QString();
    }

    // A child of the test, killed by cleanup(), so no test leaves a process running. It inherits
    // the test's folders, unless env ("NAME=value") says otherwise.
    QProcess* Start(const QString& program, const QStringList& arguments = {},
                    const QStringList& env = {})
    {
        auto* process = new QProcess(this);
        process->setEnvironment(QProcess::systemEnvironment() + env);
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->start(program, arguments);
        return process;
    }

    QProcess* StartPrimary(const QString& program)
    {
        QProcess* process = Start(program);
        return WaitForLine(*process, "primary") ? process : nullptr;
    }

    int ExitCode(const QString& program, const QStringList& arguments = {})
    {
        QProcess* process = Start(program, arguments);
        const bool ended = Finished(*process) && process->exitStatus() == QProcess::NormalExit;
        return ended ? process->exitCode() : -1;
    }

    // Lock files and sockets included (sockets count as system files).
    QStringList EntriesInRunDir() const
    {
        return QDir(m_dir->filePath("runtime"))
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }

private slots:
    // Every instance a test started ends here, by its id, before its QProcess goes.
    void cleanup()
    {
        const QList<QProcess*> processes = findChildren<QProcess*>();
        for (QProcess* process : processes) {
            process->kill();
            process->waitForFinished(kWaitMs);
        }
        qDeleteAll(processes);
    }

    // Private data, runtime and state folders, inherited by the instances: the runtime folder
    // holds their locks and sockets.
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        UsePrivateFolders(m_dir->path());
    }

    // Copies at other paths are other instances; the message goes only to its own. A frozen
    // first instance still accepts connections; only its answer, which never comes within the
    // whole 5000 ms, shows that it is alive (cleanup() kills it, stopped or not).
    void secondStartMessagesItsOwnLivePrimary()
    {
        QProcess* primaryA = StartPrimary(CopyHelper("a"));
        const QString helperB = CopyHelper("b");
        QProcess* primaryB = StartPrimary(helperB);
        QVERIFY(primaryA && primaryB);
        // An empty text, the launcher's own message, is framed as well as the others' "hello".
        QCOMPARE(ExitCode(helperB, {QString()}), 0);
        QVERIFY(WaitForLine(*primaryB, "message:\n"));
        QVERIFY(!primaryA->waitForReadyRead(200));

        QCOMPARE(::kill(pid_t(primaryB->processId()), SIGSTOP), 0);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ExitCode(helperB), 1);
        QVERIFY2(timer.elapsed() >= 4500, qPrintable(QString::number(timer.elapsed())));
    }

    // A first instance that quits normally leaves nothing behind. A live process that then
    // holds the lock but does not listen yet is a first instance still starting up: a later
    // start waits for it rather than taking its place. A killed one leaves its lock and socket;
    // a lock without a readable owner, as a crash while writing it leaves, is taken over as a
    // dead owner's is (that one by Qt).
    void leftStateIsFreedOrTakenOver()
    {
        const QString helper = CopyHelper("a");
        QProcess* earlier = StartPrimary(helper);
        QVERIFY(earlier);
        const QString lockPath =
            QDir(m_dir->filePath("runtime")).entryInfoList({"*.lock"}).value(0).filePath();
        QCOMPARE(ExitCode(helper, {"quit"}), 0);
        QVERIFY(Finished(*earlier));
        QCOMPARE(earlier->exitCode(), 0);
        QCOMPARE(EntriesInRunDir(), QStringList());

        QLockFile lock(lockPath);
        QVERIFY(lock.tryLock());
        QProcess* second = Start(helper);
        QVERIFY(WaitForLine(*second, "secondary"));
        lock.unlock();
        QProcess* primary = StartPrimary(helper);
        QVERIFY(primary);
        QVERIFY(Finished(*second));
        QCOMPARE(second->exitCode(), 0);
        QVERIFY(WaitForLine(*primary, "message:hello"));

        primary->kill();
        QVERIFY(Finished(*primary));
        QCOMPARE(EntriesInRunDir().size(), 2);
        QVERIFY(WriteText(lockPath, ""));
        QProcess* taker = StartPrimary(helper);
        QVERIFY(taker);
        QCOMPARE(ExitCode(helper), 0);
        QVERIFY(WaitForLine(*taker, "message:hello"));
    }

    // With runtime and temporary folders too deep for any lock path (PATH_MAX 4096; nothing
    // can be created there, even by root), the data folder holds the lock; with that too
    // deep, each start runs alone and says so.
    void lockFallsBackToTheDataFolder()
    {
        QString deep = m_dir->path();
        while (deep.size() < 4080)
            deep += u'/' + QString(std::min<qsizetype>(200, 4079 - deep.size()), u'd');
        QVERIFY(QDir().mkpath(deep));
        const QString helper = CopyHelper("a");
        const QStringList deepRun = {"XDG_RUNTIME_DIR=" + deep, "TMPDIR=" + deep};
        QProcess* primary = Start(helper, {}, deepRun);
        QVERIFY(WaitForLine(*primary, "primary"));
        QCOMPARE(QDir(m_dir->filePath("Nimbra Mobile")).entryList({"*.lock"}).size(), 1);
        QVERIFY(WaitForLine(*Start(helper, {}, deepRun), "secondary"));
        QVERIFY(WaitForLine(*primary, "message:hello"));
        for (int i = 0; i < 2; ++i) {
            QProcess* alone = Start(helper, {}, deepRun + QStringList{"XDG_DATA_HOME=" + deep});
            QVERIFY(WaitForLine(
                *alone, "nimbra-mobile-launcher: no folder can hold the single-instance lock"));
            QVERIFY(WaitForLine(*alone, "primary"));
        }
    }

    // No lookup in the second start's output means no window and no configuration read.
    void launcherSecondStartShowsNothing()
    {
        QProcess* first = Start(LAUNCHER_EXECUTABLE);
        // The window traces its file lookups while it loads, after the instance is claimed.
        QVERIFY(WaitForLine(*first, "GetFileName("));
        const QString data = m_dir->filePath("data");
        QProcess* second = Start(LAUNCHER_EXECUTABLE, {}, {"XDG_DATA_HOME=" + data});
        QVERIFY(Finished(*second));
        QCOMPARE(second->exitCode(), 0);
        QVERIFY(!second->readAll().contains("GetFileName("));
        QVERIFY(QDir(data).isEmpty());
        QCOMPARE(first->state(), QProcess::Running);
    }

    // A message restores the activation window from the dock, keeping its other states. This
    // program claims the instance, which loads no QtNetwork: the first window comes before it.
    void minimisedWindowIsRestoredOnMessage()
    {
        auto* app = qobject_cast<QtSingleApplication*>(QCoreApplication::instance());
        QVERIFY(app && !app->isRunning());
        // Only the single-instance module links QtNetwork.
        QVERIFY(!ReadBytes("/proc/self/maps").contains("libQt6Network"));
        QWidget window;
        window.show();
        window.setWindowState(Qt::WindowMinimized | Qt::WindowMaximized);
        app->setActivationWindow(&window);
        emit app->messageReceived(QString());
        QCOMPARE(window.windowState(), Qt::WindowStates(Qt::WindowMaximized));
    }
};

int main(int argc, char** argv)
{
    // The instance this program claims keeps its lock and socket in a private folder, and
    // loads its module from the build's app folder.
    QTemporaryDir runtime;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    SetApplicationDirForTesting(QStringLiteral(LAUNCHER_MACOS_DIR));
    QtSingleApplication app(argc, argv);
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleinstance.moc"
