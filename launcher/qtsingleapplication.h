#pragma once

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

public slots:
    void activateWindow();

signals:
    void messageReceived(const QString& message);

private:
    enum class Role { Unknown, Primary, Secondary };

    bool TryLock();
    bool ServerAnswers() const;
    void Listen();
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    Role m_role = Role::Unknown;
    QString m_lockPath;
    QString m_serverPath;
    // Declared before the server so the socket is gone before the lock is released.
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<QLocalServer> m_server;
    QPointer<QWidget> m_window;
};
