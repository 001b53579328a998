#include "qtsingleapplication.h"

#include "instance.h"

#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>
#include <QWidget>

#include <algorithm>
#include <cstdio>

namespace {

// Both ends are the same program, but a fixed version keeps the frame independent of Qt's default.
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;
const char kAck = '\x06';
// Connecting to a local socket either succeeds or fails at once; this only bounds the odd case.
constexpr int kProbeMs = 250;
constexpr qint64 kRetryMs = 50;

int Remaining(const QDeadlineTimer& deadline)
{
    return deadline.isForever() ? -1 : int(deadline.remainingTime());
}

} // namespace

QtSingleApplication::QtSingleApplication(int& argc, char** argv, bool GUIenabled)
    : QApplication(argc, argv)
{
    // Qt 6 has no console-only QApplication; the flag only keeps the familiar signature.
    Q_UNUSED(GUIenabled);

    m_candidates = InstancePathCandidatesFor(QCoreApplication::applicationFilePath());
    UsePaths(m_candidates.first());
}

void QtSingleApplication::UsePaths(const InstancePaths& paths)
{
    m_lockPath = paths.lockPath;
    m_serverPath = paths.serverPath;
    m_lock = std::make_unique<QLockFile>(m_lockPath);
    // A positive stale time would make a long-running instance's live lock look stale after
    // that time and let a second instance in. With 0 only a dead owner's lock is taken over.
    m_lock->setStaleLockTime(0);
}

// The server closes (removing its socket file) before the lock is released, so a new first
// instance never finds a live-looking socket of ours.
QtSingleApplication::~QtSingleApplication() = default;

bool QtSingleApplication::isRunning()
{
    if (m_role == Role::Unknown) {
        m_role = TryLock() ? Role::Primary : Role::Secondary;
        if (m_role == Role::Primary)
            Listen();
    }
    return m_role == Role::Secondary;
}

// True when this process may act as the first instance. Every start tries the folders in the
// same order, so all of them settle on the first folder where a lock can exist.
bool QtSingleApplication::TryLock()
{
    for (const InstancePaths& paths : m_candidates) {
        UsePaths(paths);
        QDir().mkpath(QFileInfo(m_lockPath).absolutePath());
        const LockResult result = TryLockHere();
        if (result != LockResult::Unusable)
            return result == LockResult::Taken;
    }
    // Running alone beats not running; the window then guards the user's file itself.
    QStringList folders;
    for (const InstancePaths& paths : m_candidates)
        folders.append(QFileInfo(paths.lockPath).absolutePath());
    std::fprintf(stderr,
                 "nimbra-mobile-launcher: no folder can hold the single-instance lock (%s); "
                 "running without it\n",
                 qPrintable(folders.join(QStringLiteral(", "))));
    UsePaths(m_candidates.first());
    m_withoutLock = true;
    return true;
}

QtSingleApplication::LockResult QtSingleApplication::TryLockHere()
{
    if (m_lock->tryLock())
        return LockResult::Taken;
    if (m_lock->error() != QLockFile::LockFailedError)
        return LockResult::Unusable;

    // QLockFile never takes over a lock file without a readable owner (a crash or a full disk
    // while it was written), which would lock the user out for good. Such a file is removed
    // only when no instance answers; removeStaleLockFile() also fails while a live process,
    // even a frozen one, holds the file's native lock.
    qint64 pid = 0;
    QString host, app;
    if (m_lock->getLockInfo(&pid, &host, &app) || ServerAnswers())
        return LockResult::Held;
    // Two starts facing the same broken file must not remove the lock the other one just took;
    // QLockFile guards its own stale-lock removal with the same file.
    QLockFile guard(m_lockPath + QStringLiteral(".rmlock"));
    guard.setStaleLockTime(0);
    if (!guard.tryLock() || m_lock->getLockInfo(&pid, &host, &app))
        return LockResult::Held;
    m_lock->removeStaleLockFile();
    return m_lock->tryLock() ? LockResult::Taken : LockResult::Held;
}

bool QtSingleApplication::ServerAnswers() const
{
    QLocalSocket socket;
    socket.connectToServer(m_serverPath);
    return socket.waitForConnected(kProbeMs);
}

void QtSingleApplication::Listen()
{
    m_server = std::make_unique<QLocalServer>();
    connect(m_server.get(), &QLocalServer::newConnection, this,
            &QtSingleApplication::OnNewConnection);
    // Holding the lock, a socket already in place was left by an instance that was killed.
    // Without it (no writable folder) the socket may be a live instance's: leave it alone.
    if (!m_server->listen(m_serverPath) && m_lock->isLocked()) {
        QLocalServer::removeServer(m_serverPath);
        m_server->listen(m_serverPath);
    }
}

void QtSingleApplication::OnNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { OnReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void QtSingleApplication::OnReadyRead(QLocalSocket* socket)
{
    QDataStream in(socket);
    in.setVersion(kStreamVersion);
    in.startTransaction();
    QString message;
    in >> message;
    if (!in.commitTransaction()) {
        // An incomplete frame waits for more data; a corrupt one will never make sense.
        if (in.status() == QDataStream::ReadCorruptData)
            socket->abort();
        return;
    }
    // Confirm before reacting, so the later start does not wait on whatever the reaction does.
    socket->write(&kAck, 1);
    socket->flush();
    emit messageReceived(message);
}

bool QtSingleApplication::sendMessage(const QString& message, int timeout)
{
    if (!isRunning())
        return false;

    const QDeadlineTimer deadline(timeout);
    QLocalSocket socket;
    // The running instance takes its lock before it listens, so it may not be listening yet.
    for (;;) {
        socket.connectToServer(m_serverPath);
        if (socket.waitForConnected(Remaining(deadline)))
            break;
        if (deadline.hasExpired())
            return false;
        const qint64 left = deadline.remainingTime();
        QThread::msleep(left < 0 ? kRetryMs : std::min(kRetryMs, left));
    }

    QByteArray frame;
    QDataStream out(&frame, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << message;
    socket.write(frame);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(Remaining(deadline)))
            return false;
    }
    // A frozen instance still accepts connections at the socket level; only its answer shows
    // that it is alive.
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(Remaining(deadline)))
            return false;
    }
    char answer = 0;
    return socket.getChar(&answer) && answer == kAck;
}

void QtSingleApplication::setActivationWindow(QWidget* window, bool activateOnMessage)
{
    m_window = window;
    if (activateOnMessage)
        connect(this, &QtSingleApplication::messageReceived, this,
                &QtSingleApplication::activateWindow, Qt::UniqueConnection);
    else
        disconnect(this, &QtSingleApplication::messageReceived, this,
                   &QtSingleApplication::activateWindow);
}

QWidget* QtSingleApplication::activationWindow() const
{
    return m_window;
}

void QtSingleApplication::activateWindow()
{
    if (!m_window)
        return;
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->raise();
    m_window->activateWindow();
}
