// SIGTERM, SIGHUP and SIGINT (logout, a closed terminal, Ctrl+C, kill) as a Qt signal on the
// GUI thread, so the launcher quits as a closed window does and saves on the way out. Qt's
// documented pattern: the handler only writes to a socket pair that a notifier reads.
#pragma once

#include <QObject>

class QSocketNotifier;

class QuitSignals : public QObject
{
    Q_OBJECT

public:
    // Installs the handlers, until it is destroyed; only one object may exist at a time. A
    // signal that comes while nothing reads (a second one during the save at exit) is
    // absorbed.
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

signals:
    void received(int signalNumber);

private:
    void Read();

    QSocketNotifier* m_notifier = nullptr;
};
