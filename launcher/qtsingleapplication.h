#pragma once

#include <QApplication>

class QLocalServer;
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
    // Filled in by the implementation.
};
