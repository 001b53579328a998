#pragma once

#include "instance.h"

#include <QApplication>
#include <QPointer>

#include <memory>

class QLocalServer;
class QLocalSocket;
class QLockFile;
class QWidget;

// One running instance per user and installed executable. The first instance holds a lock
// file and listens on a local socket; a later start sends it a message and ends.
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    QtSingleApplication(int& argc, char** argv, bool GUIenabled = true);
    ~QtSingleApplication() override;

    // True when another instance runs; otherwise claims the instance for this process.
    bool isRunning();
    // True when the running instance confirmed receipt within timeout milliseconds.
    bool sendMessage(const QString& message, int timeout = 5000);
    void setActivationWindow(QWidget* window, bool activateOnMessage = true);
    QWidget* activationWindow() const;
    // True for a first instance that found no folder to hold its lock in: another launcher
    // may run at the same time.
    bool runsWithoutLock() const { return m_withoutLock; }

public slots:
    void activateWindow();

signals:
    void messageReceived(const QString& message);

private:
    enum class Role { Unknown, Primary, Secondary };
    enum class LockResult { Taken, Held, Unusable };

    bool TryLock();
    void UsePaths(const InstancePaths& paths);
    LockResult TryLockHere();
    bool ServerAnswers() const;
    void Listen();
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    Role m_role = Role::Unknown;
    bool m_withoutLock = false;
    QList<InstancePaths> m_candidates;
    QString m_lockPath;
    QString m_serverPath;
    // Declared before the server so the socket is gone before the lock is released.
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
    QPointer<QWidget> m_window;
};
