#include "runningwatcher.h"

#include "processidentity.h"

#include <QDateTime>
#include <QDir>
#include <QFileSystemWatcher>
#include <QSocketNotifier>

#include <unistd.h>

namespace {

constexpr int SettleMs = 20;
constexpr int PollMs = 1000;
// A failed start is reported within its first seconds: an older wish is never met.
constexpr qint64 ExpectMs = 60000;

bool SameProcesses(const QList<RunningEmulator>& a, const QList<RunningEmulator>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].entryPath != b[i].entryPath || a[i].identity != b[i].identity ||
            a[i].profile != b[i].profile)
            return false;
    }
    return true;
}

// The event loop must let go of a descriptor before it is closed.
void Close(QSocketNotifier* notifier)
{
    notifier->setEnabled(false);
    ::close(int(notifier->socket()));
    notifier->deleteLater();
}

} // namespace

RunningWatcher::RunningWatcher(const QString& folder, QObject* parent)
    : QObject(parent), m_folder(folder)
{
    m_settle.setSingleShot(true);
    m_settle.setInterval(SettleMs);
    connect(&m_settle, &QTimer::timeout, this, &RunningWatcher::Refresh);
    m_poll.setInterval(PollMs);
    connect(&m_poll, &QTimer::timeout, this, &RunningWatcher::Refresh);
}

RunningWatcher::~RunningWatcher()
{
    for (QSocketNotifier* notifier : std::as_const(m_ends))
        Close(notifier);
}

void RunningWatcher::Start()
{
    if (m_watcher)
        return;
    m_watcher = new QFileSystemWatcher(this);
    if (QDir().mkpath(m_folder))
        m_watcher->addPath(m_folder);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, &m_settle,
            qOverload<>(&QTimer::start));
    Refresh();
}

void RunningWatcher::Expect(qint64 supervisorPid)
{
    m_expected.insert(supervisorPid, QDateTime::currentMSecsSinceEpoch());
}

void RunningWatcher::Refresh()
{
    const Running::Registry registry = Running::Read(m_folder);
    TakeReports(registry.reports);
    const bool changed = !SameProcesses(m_running, registry.running);
    m_running = registry.running;
    WatchEnds();
    if (changed)
        emit Changed();
}

void RunningWatcher::TakeReports(const QList<RunningEmulator>& reports)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (auto it = m_expected.begin(); it != m_expected.end();)
        it = now - it.value() > ExpectMs ? m_expected.erase(it) : std::next(it);
    for (const RunningEmulator& report : reports) {
        // Reports of other launchers' starts are theirs to take.
        if (m_expected.remove(report.supervisorPid)) {
            Running::Remove(report);
            emit StartFailed(report);
        }
    }
}

void RunningWatcher::WatchEnds()
{
    QHash<QString, QSocketNotifier*> kept;
    bool unwatched = false;
    for (const RunningEmulator& entry : std::as_const(m_running)) {
        QSocketNotifier* notifier = m_ends.take(entry.entryPath);
        if (!notifier) {
            const int fd = OpenExitDescriptor(entry.pid, entry.identity);
            if (fd < 0) {
                unwatched = true;
                continue;
            }
            notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
            connect(notifier, &QSocketNotifier::activated, this,
                    [notifier] { notifier->setEnabled(false); });
            connect(notifier, &QSocketNotifier::activated, this, &RunningWatcher::Refresh,
                    Qt::QueuedConnection);
        }
        kept.insert(entry.entryPath, notifier);
    }
    for (QSocketNotifier* ended : std::as_const(m_ends))
        Close(ended);
    m_ends = kept;
    if (unwatched && !m_poll.isActive())
        m_poll.start();
    else if (!unwatched)
        m_poll.stop();
}
