// Follows the running emulators for a window without polling: the folder of entries through
// the file system's notifications, each emulator's end through a descriptor that wakes the
// event loop when it ends. Only where a platform has no such descriptor does it look again
// once a second, and only while something runs.
#pragma once

#include "runningemulators.h"

#include <QHash>
#include <QObject>
#include <QTimer>

class QFileSystemWatcher;
class QSocketNotifier;

class RunningWatcher : public QObject
{
    Q_OBJECT

public:
    explicit RunningWatcher(const QString& folder, QObject* parent = nullptr);
    ~RunningWatcher() override;

    // Makes the folder when missing, watches it and reads it.
    void Start();
    const QList<RunningEmulator>& Running() const { return m_running; }

    // A start whose failure the owner wants to hear of: that supervisor's report is handed on
    // through StartFailed and removed.
    void Expect(qint64 supervisorPid);

    void Refresh();

signals:
    void Changed();
    void StartFailed(const RunningEmulator& report);

private:
    void TakeReports(const QList<RunningEmulator>& reports);
    void WatchEnds();

    QString m_folder;
    QFileSystemWatcher* m_watcher = nullptr;
    QTimer m_settle; // a launch changes the folder several times in a row
    QTimer m_poll;
    QList<RunningEmulator> m_running;
    QHash<QString, QSocketNotifier*> m_ends; // by entry file
    QHash<qint64, qint64> m_expected;        // supervisor pid, when it was started
};
