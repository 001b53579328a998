#include "qtsingleapplication.h"

#include "filelocations.h"
#include "instancechannel.h"
#include "instancepaths.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QLockFile>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <cstdio>

namespace {

// Connecting to a local socket either succeeds or fails at once; this only bounds the odd case.
constexpr int kProbeMs = 250;
// A window that is never exposed (started minimised, say) must not keep later starts out.
constexpr int kListenAtLatestMs = 500;

} // namespace

std::unique_ptr<InstanceChannel> LoadInstanceChannel(QString* error)
{
    QLibrary module(InstanceModulePath());
    const auto create =
        reinterpret_cast<CreateInstanceChannelFunction>(module.resolve("CreateInstanceChannel"));
    if (!create) {
        *error = module.errorString();
        return nullptr;
    }
    return std::unique_ptr<InstanceChannel>(create());
}

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
            QMetaObject::invokeMethod(this, &QtSingleApplication::ListenOnceShown,
                                      Qt::QueuedConnection);
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
    // Running alone beats not running; its save merges with what another launcher saved.
    QStringList folders;
    for (const InstancePaths& paths : m_candidates)
        folders.append(QFileInfo(paths.lockPath).absolutePath());
    std::fprintf(stderr,
                 "nimbra-mobile-launcher: no folder can hold the single-instance lock (%s); "
                 "running without it\n",
                 qPrintable(folders.join(QStringLiteral(", "))));
    UsePaths(m_candidates.first());
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

bool QtSingleApplication::ServerAnswers()
{
    InstanceChannel* channel = Channel();
    return channel && channel->ServerAnswers(m_serverPath, kProbeMs);
}

InstanceChannel* QtSingleApplication::Channel()
{
    if (!m_channel) {
        QString error;
        m_channel = LoadInstanceChannel(&error);
        if (!m_channel)
            std::fprintf(stderr,
                         "nimbra-mobile-launcher: cannot load the single-instance "
                         "module: %s\n",
                         qPrintable(error));
    }
    return m_channel.get();
}

// Runs from the event loop, so the activation window, if any, is set and shown by now: its
// first paint comes before the module is loaded.
void QtSingleApplication::ListenOnceShown()
{
    QWindow* window = m_window ? m_window->windowHandle() : nullptr;
    if (window && window->isVisible() && !window->isExposed()) {
        window->installEventFilter(this);
        QTimer::singleShot(kListenAtLatestMs, this, &QtSingleApplication::Listen);
        return;
    }
    Listen();
}

bool QtSingleApplication::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && static_cast<QWindow*>(watched)->isExposed()) {
        watched->removeEventFilter(this);
        // Queued, so the window paints first.
        QMetaObject::invokeMethod(this, &QtSingleApplication::Listen, Qt::QueuedConnection);
    }
    return QApplication::eventFilter(watched, event);
}

void QtSingleApplication::Listen()
{
    if (m_listening)
        return;
    m_listening = true;
    InstanceChannel* channel = Channel();
    // Holding the lock, a socket already in place was left by an instance that was killed.
    // Without it (no writable folder) the socket may be a live instance's: leave it alone.
    if (channel)
        channel->Listen(m_serverPath, m_lock->isLocked(),
                        [this](const QString& message) { emit messageReceived(message); });
}

bool QtSingleApplication::sendMessage(const QString& message, int timeout)
{
    if (!isRunning())
        return false;
    InstanceChannel* channel = Channel();
    return channel && channel->Send(m_serverPath, message, timeout);
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
