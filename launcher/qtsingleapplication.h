#pragma once

#include "instancepaths.h"

#include <QApplication>
#include <QPointer>

#include <memory>

class InstanceChannel;
class QLockFile;
class QWidget;

// One running instance per user and installed executable. The first instance holds a lock
// file and listens on a local socket once its window is up; a later start sends it a message
// and ends.
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

public slots:
    void activateWindow();

signals:
    void messageReceived(const QString& message);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class Role { Unknown, Primary, Secondary };
    enum class LockResult { Taken, Held, Unusable };

    bool TryLock();
    void UsePaths(const InstancePaths& paths);
    LockResult TryLockHere();
    bool ServerAnswers();
    InstanceChannel* Channel();
    void ListenOnceShown();
    void Listen();

    Role m_role = Role::Unknown;
    QList<InstancePaths> m_candidates;
    QString m_lockPath;
    QString m_serverPath;
    bool m_listening = false;
    // Declared before the channel so the socket is gone before the lock is released.
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<InstanceChannel> m_channel;
    QPointer<QWidget> m_window;
};
