#include "qtsingleapplication.h"
#include "testenv.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

#include <memory>
#include <vector>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Generous: the machine is shared with parallel builds and tests.
constexpr int kWaitMs = 20000;

// Reads the process's output line by line until a line equals (or starts with) text.
// waitForFinished() fails for a process whose end an event loop has already seen.
bool Finished(QProcess& process)
{
    return process.state() == QProcess::NotRunning || process.waitForFinished(kWaitMs);
}

bool WaitForLine(QProcess& process, const QByteArray& text, bool wholeLine = true)
{
    QDeadlineTimer deadline(kWaitMs);
    while (!deadline.hasExpired()) {
        while (process.canReadLine()) {
            const QByteArray line = process.readLine().trimmed();
            if (wholeLine ? line == text : line.startsWith(text))
                return true;
        }
        if (process.state() == QProcess::NotRunning)
            return false;
        process.waitForReadyRead(int(deadline.remainingTime()));
    }
    return false;
}

// Lock files and sockets included (sockets count as system files).
QStringList EntriesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::Hidden |
                                  QDir::NoDotAndDotDot);
}

} // namespace

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }
    void init();
    void cleanup();

    void secondStartIsConfirmed();
    void staleStateIsTakenOver_data();
    void staleStateIsTakenOver();
    void qlockFileNeverTakesOverAnEmptyLock();
    void frozenPrimaryMakesSecondStartFail();
    void liveLockIsNeverTakenOver_data();
    void liveLockIsNeverTakenOver();
    void copiesAtDifferentPathsRunSideBySide();
    void otherUserRunsOnItsOwn();
    void primaryThatQuitsLeavesNothingBehind();
    void launcherSecondStartShowsNothing();
    void messageRestoresTheWindow_data();
    void messageRestoresTheWindow();

private:
    QString CopyHelper(const QString& folder);
    QProcess* Process(const QString& program, const QStringList& arguments = {});
    QProcess* Start(const QString& program, const QStringList& arguments = {});
    QProcess* StartPrimary(const QString& program);
    QProcess* RunToEnd(const QString& program, const QStringList& arguments = {});
    QString LockPath() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_runDir;
    std::vector<std::unique_ptr<QProcess>> m_processes;
};

// Every test gets a fresh folder: the helper copies in it have identities nobody else uses,
// and the instance files go to a runtime folder of the test's own.
void SingleInstanceTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_runDir = m_dir->filePath(QStringLiteral("run"));
    QVERIFY(QDir().mkpath(m_runDir));
    // As private as a real runtime folder, or Qt complains about it.
    QVERIFY(
        QFile::setPermissions(m_runDir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

void SingleInstanceTest::cleanup()
{
    for (const auto& process : m_processes) {
        process->kill();
        Finished(*process);
    }
    m_processes.clear();
}

QString SingleInstanceTest::CopyHelper(const QString& folder)
{
    const QString copy = m_dir->filePath(folder + QStringLiteral("/singleinstance_helper"));
    QDir().mkpath(QFileInfo(copy).absolutePath());
    return QFile::copy(QStringLiteral(SINGLEINSTANCE_HELPER), copy) ? copy : QString();
}

QProcess* SingleInstanceTest::Process(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runDir);
    env.insert(QStringLiteral("TMPDIR"), m_runDir);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process->setProcessEnvironment(env);
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->setProgram(program);
    process->setArguments(arguments);
    m_processes.push_back(std::move(process));
    return m_processes.back().get();
}

QProcess* SingleInstanceTest::Start(const QString& program, const QStringList& arguments)
{
    QProcess* process = Process(program, arguments);
    process->start();
    return process;
}

QProcess* SingleInstanceTest::StartPrimary(const QString& program)
{
    QProcess* process = Start(program);
    return WaitForLine(*process, "primary") ? process : nullptr;
}

QProcess* SingleInstanceTest::RunToEnd(const QString& program, const QStringList& arguments)
{
    QProcess* process = Start(program, arguments);
    Finished(*process);
    return process;
}

QString SingleInstanceTest::LockPath() const
{
    const QStringList locks = QDir(m_runDir).entryList({QStringLiteral("*.lock")}, QDir::Files);
    return locks.size() == 1 ? m_runDir + QLatin1Char('/') + locks.first() : QString();
}

void SingleInstanceTest::secondStartIsConfirmed()
{
    const QString helper = CopyHelper(QStringLiteral("a"));
    QProcess* primary = StartPrimary(helper);
    QVERIFY(primary);

    // An empty text (the launcher's own message) must be framed as well as a real one.
    for (const QString& text : {QStringLiteral("wake up"), QString()}) {
        QProcess* second = RunToEnd(helper, {text});
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(second->readAllStandardOutput(), QByteArray("secondary\nsecondary ok\n"));
        QVERIFY(WaitForLine(*primary, "message:" + text.toUtf8()));
    }
    QCOMPARE(primary->state(), QProcess::Running);
}

void SingleInstanceTest::staleStateIsTakenOver_data()
{
    QTest::addColumn<QByteArray>("lockText");
    QTest::addColumn<bool>("keepSocket");
    // A null lockText keeps the killed primary's own lock file (a dead owner).
    QTest::newRow("killed primary") << QByteArray() << true;
    QTest::newRow("lock emptied") << QByteArray("") << true;
    QTest::newRow("lock without owner") << QByteArray("not a pid\n") << true;
    QTest::newRow("empty lock, no socket") << QByteArray("") << false;
}

void SingleInstanceTest::staleStateIsTakenOver()
{
    QFETCH(QByteArray, lockText);
    QFETCH(bool, keepSocket);
    const QString helper = CopyHelper(QStringLiteral("a"));
    QProcess* killed = StartPrimary(helper);
    QVERIFY(killed);
    killed->kill();
    QVERIFY(Finished(*killed));

    // SIGKILL leaves both the lock and the socket behind.
    const QString lockPath = LockPath();
    QVERIFY(!lockPath.isEmpty());
    QCOMPARE(EntriesIn(m_runDir).size(), 2);
    if (!lockText.isNull())
        QVERIFY(WriteText(lockPath, lockText));
    if (!keepSocket)
        QVERIFY(QFile::remove(lockPath.chopped(int(qstrlen(".lock")))));

    QProcess* primary = StartPrimary(helper);
    QVERIFY(primary);
    QProcess* second = RunToEnd(helper);
    QCOMPARE(second->exitCode(), 0);
    QVERIFY(WaitForLine(*primary, "message:hello"));
}

// The fact the removal of ownerless lock files rests on. Should Qt start taking such files
// over itself, that removal becomes dead code.
void SingleInstanceTest::qlockFileNeverTakesOverAnEmptyLock()
{
    const QString path = m_dir->filePath(QStringLiteral("probe.lock"));
    QVERIFY(WriteText(path, ""));
    QLockFile lock(path);
    lock.setStaleLockTime(0);
    QVERIFY(!lock.tryLock());
    QCOMPARE(lock.error(), QLockFile::LockFailedError);
    QVERIFY(lock.removeStaleLockFile());
    QVERIFY(lock.tryLock());
}

void SingleInstanceTest::frozenPrimaryMakesSecondStartFail()
{
    const QString helper = CopyHelper(QStringLiteral("a"));
    QProcess* primary = StartPrimary(helper);
    QVERIFY(primary);
    QCOMPARE(::kill(pid_t(primary->processId()), SIGSTOP), 0);

    QElapsedTimer timer;
    timer.start();
    QProcess* second = RunToEnd(helper);
    const qint64 elapsed = timer.elapsed();
    QCOMPARE(::kill(pid_t(primary->processId()), SIGCONT), 0);
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 1);
    QCOMPARE(second->readAllStandardOutput(), QByteArray("secondary\nsecondary failed\n"));
    // It waited for the answer the whole 5000 ms time-out rather than giving up early.
    QVERIFY2(elapsed >= 4500, qPrintable(QString::number(elapsed)));

    // Thawed, the first instance is still the one that answers.
    QCOMPARE(RunToEnd(helper)->exitCode(), 0);
}

void SingleInstanceTest::liveLockIsNeverTakenOver_data()
{
    QTest::addColumn<bool>("primaryComesUp");
    QTest::newRow("instance listens late") << true;
    QTest::newRow("instance never listens") << false;
}

// A live process that holds the lock but does not listen (yet) is a first instance still
// starting up or stuck: a later start waits for it and never takes its place.
void SingleInstanceTest::liveLockIsNeverTakenOver()
{
    QFETCH(bool, primaryComesUp);
    const QString helper = CopyHelper(QStringLiteral("a"));
    // Learn the lock's name from one run that quits normally.
    QProcess* earlier = StartPrimary(helper);
    QVERIFY(earlier);
    const QString lockPath = LockPath();
    QVERIFY(!lockPath.isEmpty());
    QCOMPARE(RunToEnd(helper, {QStringLiteral("quit")})->exitCode(), 0);
    QVERIFY(Finished(*earlier));

    QLockFile lock(lockPath);
    QVERIFY(lock.tryLock());
    QProcess* second = Start(helper);
    QVERIFY(WaitForLine(*second, "secondary"));
    if (primaryComesUp) {
        lock.unlock();
        QProcess* primary = StartPrimary(helper);
        QVERIFY(primary);
        QVERIFY(Finished(*second));
        QCOMPARE(second->exitCode(), 0);
        QVERIFY(WaitForLine(*primary, "message:hello"));
    } else {
        QVERIFY(Finished(*second));
        QCOMPARE(second->exitCode(), 1);
        qint64 pid = 0;
        QString host, app;
        QVERIFY(lock.getLockInfo(&pid, &host, &app));
        QCOMPARE(pid, QCoreApplication::applicationPid());
    }
}

void SingleInstanceTest::copiesAtDifferentPathsRunSideBySide()
{
    const QString helperA = CopyHelper(QStringLiteral("a"));
    const QString helperB = CopyHelper(QStringLiteral("b"));
    QProcess* primaryA = StartPrimary(helperA);
    QVERIFY(primaryA);
    QProcess* primaryB = StartPrimary(helperB);
    QVERIFY(primaryB);

    QCOMPARE(RunToEnd(helperB)->exitCode(), 0);
    QVERIFY(WaitForLine(*primaryB, "message:hello"));
    QVERIFY(!primaryA->waitForReadyRead(200));
}

// Both users share one temporary folder, as on a machine without runtime folders: only the
// user in the instance's name keeps them apart.
void SingleInstanceTest::otherUserRunsOnItsOwn()
{
    if (::geteuid() != 0)
        QSKIP("Starting a process as another user needs root");
    const QString helper = CopyHelper(QStringLiteral("a"));
    const QString shared = m_dir->filePath(QStringLiteral("shared"));
    QVERIFY(QDir().mkpath(shared));
    QCOMPARE(::chmod(QFile::encodeName(shared).constData(), 01777), 0);
    QVERIFY(QFile::setPermissions(m_dir->path(), QFile::permissions(helper)));
    auto useShared = [&](QProcess* process) {
        QProcessEnvironment env = process->processEnvironment();
        env.remove(QStringLiteral("XDG_RUNTIME_DIR"));
        env.insert(QStringLiteral("TMPDIR"), shared);
        process->setProcessEnvironment(env);
    };

    QProcess* mine = Process(helper);
    useShared(mine);
    mine->start();
    QVERIFY(WaitForLine(*mine, "primary"));
    QProcess* other = Process(helper);
    useShared(other);
    other->setChildProcessModifier([] {
        const uid_t nobody = 65534;
        if (::setgid(nobody) != 0 || ::setuid(nobody) != 0)
            ::_exit(99);
    });
    other->start();
    QVERIFY(WaitForLine(*other, "primary"));
    QCOMPARE(QDir(shared).entryList({QStringLiteral("*.lock")}, QDir::Files).size(), 2);
}

void SingleInstanceTest::primaryThatQuitsLeavesNothingBehind()
{
    const QString helper = CopyHelper(QStringLiteral("a"));
    QProcess* primary = StartPrimary(helper);
    QVERIFY(primary);
    QCOMPARE(RunToEnd(helper, {QStringLiteral("quit")})->exitCode(), 0);
    QVERIFY(Finished(*primary));
    QCOMPARE(primary->exitCode(), 0);
    QCOMPARE(EntriesIn(m_runDir), QStringList());

    QVERIFY(StartPrimary(helper));
}

void SingleInstanceTest::launcherSecondStartShowsNothing()
{
    const QString launcher = QStringLiteral(LAUNCHER_EXECUTABLE);
    const QString firstData = m_dir->filePath(QStringLiteral("data1"));
    const QString secondData = m_dir->filePath(QStringLiteral("data2"));
    QVERIFY(QDir().mkpath(firstData));
    QVERIFY(QDir().mkpath(secondData));

    QProcess* first = Process(launcher);
    QProcessEnvironment env = first->processEnvironment();
    env.insert(QStringLiteral("XDG_DATA_HOME"), firstData);
    first->setProcessEnvironment(env);
    first->setProcessChannelMode(QProcess::MergedChannels);
    first->start();
    // The window traces its file lookups while it loads, after the instance is claimed.
    QVERIFY(WaitForLine(*first, "GetFileName(", false));

    QProcess* second = Process(launcher);
    env.insert(QStringLiteral("XDG_DATA_HOME"), secondData);
    second->setProcessEnvironment(env);
    second->setProcessChannelMode(QProcess::MergedChannels);
    second->start();
    QVERIFY(Finished(*second));
    QCOMPARE(second->exitStatus(), QProcess::NormalExit);
    QCOMPARE(second->exitCode(), 0);
    // No lookup means no window and no configuration read.
    QVERIFY(!second->readAll().contains("GetFileName("));
    QCOMPARE(EntriesIn(secondData), QStringList());
    QCOMPARE(EntriesIn(m_runDir).size(), 2);
    QCOMPARE(first->state(), QProcess::Running);
}

void SingleInstanceTest::messageRestoresTheWindow_data()
{
    QTest::addColumn<Qt::WindowStates>("before");
    QTest::addColumn<bool>("activateOnMessage");
    QTest::addColumn<Qt::WindowStates>("after");
    QTest::newRow("minimised") << Qt::WindowStates(Qt::WindowMinimized) << true
                               << Qt::WindowStates(Qt::WindowNoState);
    QTest::newRow("minimised from maximised") << (Qt::WindowMinimized | Qt::WindowMaximized) << true
                                              << Qt::WindowStates(Qt::WindowMaximized);
    QTest::newRow("activation switched off")
        << Qt::WindowStates(Qt::WindowMinimized) << false << Qt::WindowStates(Qt::WindowMinimized);
}

// This test program is an instance itself; a later start of it ("--send") sends the message.
void SingleInstanceTest::messageRestoresTheWindow()
{
    QFETCH(Qt::WindowStates, before);
    QFETCH(bool, activateOnMessage);
    QFETCH(Qt::WindowStates, after);
    auto* app = qobject_cast<QtSingleApplication*>(QCoreApplication::instance());
    QVERIFY(app);
    QVERIFY(!app->isRunning());

    QWidget window;
    window.show();
    window.setWindowState(before);
    app->setActivationWindow(&window, activateOnMessage);
    QCOMPARE(app->activationWindow(), &window);

    QSignalSpy received(app, &QtSingleApplication::messageReceived);
    QProcess sender;
    sender.start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--send"), QStringLiteral("wake")});
    QTRY_COMPARE_WITH_TIMEOUT(received.count(), 1, kWaitMs);
    QCOMPARE(received.at(0).at(0).toString(), QStringLiteral("wake"));
    QVERIFY(Finished(sender));
    QCOMPARE(sender.exitCode(), 0);
    QCOMPARE(window.windowState(), after);
}

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--send") == 0) {
        QtSingleApplication app(argc, argv);
        return app.isRunning() && app.sendMessage(QString::fromLocal8Bit(argv[2]), 5000) ? 0 : 1;
    }
    // This process is an instance of its own; its lock and socket stay in a private folder
    // that the "--send" starts inherit.
    QTemporaryDir runtime;
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    QtSingleApplication app(argc, argv);
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleinstance.moc"
