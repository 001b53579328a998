// Running emulators in the window: each profile row's state, Stop and Show Log in the profile
// menu, the question before launching a profile that runs, and the box for a start that failed.
// What runs, how it is stopped and what counts as a failed start are the core's.
#include "launcher.h"

#include "launchcommand.h"
#include "launchlogs.h"
#include "runningemulators.h"
#include "runningwatcher.h"
#include "supervisedlaunch.h"

#include <QAccessible>
#include <QAction>
#include <QDateTime>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QStyle>
#include <QTimer>
#include <QUrl>
#include <QWindow>

#include <functional>

namespace {

const QString BoxTitle = QStringLiteral("Nimbra Mobile Emulator Launcher");
constexpr int ShownOutputLines = 10;

// Runs call once the window has been painted for the first time, so reading the running
// emulators costs the first paint nothing.
class AfterFirstPaint : public QObject
{
public:
    AfterFirstPaint(QWidget* window, std::function<void()> call)
        : QObject(window), m_call(std::move(call))
    {
        window->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show && watched->isWidgetType()) {
            watched->removeEventFilter(this);
            QWindow* handle = static_cast<QWidget*>(watched)->windowHandle();
            if (handle && !handle->isExposed())
                handle->installEventFilter(this);
            else
                Finish();
        } else if (event->type() == QEvent::Expose && watched->isWindowType() &&
                   static_cast<QWindow*>(watched)->isExposed()) {
            watched->removeEventFilter(this);
            Finish();
        }
        return false;
    }

private:
    void Finish()
    {
        // Queued: the exposed window paints first.
        QTimer::singleShot(0, parent(), m_call);
        deleteLater();
    }

    std::function<void()> m_call;
};

QString RunningToolTip(const QList<RunningEmulator>& running)
{
    QStringList lines;
    for (const RunningEmulator& entry : running) {
        lines.append(QStringLiteral("Running since %1 (process %2)")
                         .arg(QDateTime::fromMSecsSinceEpoch(entry.startedMs)
                                  .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))
                         .arg(entry.pid));
    }
    return lines.join(u'\n');
}

QString FailedStartText(const RunningEmulator& report)
{
    QString text = QStringLiteral("The emulator of profile \"%1\" stopped right after it "
                                  "started (%2).")
                       .arg(report.profile, Running::DescribeEnd(report.exitCode, report.signal));
    const QStringList output = LaunchLogs::LastLines(report.log, ShownOutputLines);
    if (!output.isEmpty())
        text += QStringLiteral("\n\nThe last lines of its output:\n") + output.join(u'\n');
    return text;
}

void OpenLog(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace

void MainWindow::WatchRunningOnceShown()
{
    new AfterFirstPaint(this, [this] { StartWatchingRunning(); });
}

void MainWindow::StartWatchingRunning()
{
    if (m_running)
        return;
    m_running = new RunningWatcher(Running::Folder(), this);
    connect(m_running, &RunningWatcher::Changed, this, &MainWindow::RefreshRunningRows);
    // Queued: the box runs an event loop of its own, which must not run inside a refresh.
    connect(m_running, &RunningWatcher::StartFailed, this, &MainWindow::ReportFailedStart,
            Qt::QueuedConnection);
    m_running->Start();
    RefreshRunningRows();
}

void MainWindow::BuildRunningActions()
{
    m_stopAction = new QAction(QStringLiteral("Stop"), m_profileList);
    m_stopAction->setEnabled(false);
    connect(m_stopAction, &QAction::triggered, this, &MainWindow::StopCurrentProfile);
    m_showLogAction = new QAction(QStringLiteral("Show Log"), m_profileList);
    connect(m_showLogAction, &QAction::triggered, this, &MainWindow::ShowCurrentLog);
}

void MainWindow::RefreshRunningRows()
{
    const QList<RunningEmulator> none;
    const QList<RunningEmulator>& running = m_running ? m_running->Running() : none;
    // Only rows whose state may change are looked at: those marked and those of running
    // profiles. A list of thousands is not walked for every change of the controls.
    QSet<int> rows = m_runningRows;
    for (const RunningEmulator& emulator : running) {
        for (int row = 0; row < m_profiles.size(); ++row) {
            if (m_profiles[row].name == emulator.profile)
                rows.insert(row);
        }
    }
    m_runningRows.clear();
    for (const int row : std::as_const(rows)) {
        if (row >= m_profileList->count() || row >= m_profiles.size())
            continue;
        const QList<RunningEmulator> ofRow = Running::OfProfile(running, m_profiles[row].name);
        if (!ofRow.isEmpty())
            m_runningRows.insert(row);
        QListWidgetItem* item = m_profileList->item(row);
        const QString description = ofRow.isEmpty() ? QString() : QStringLiteral("Running");
        const QString toolTip = RunningToolTip(ofRow);
        if (item->data(Qt::AccessibleDescriptionRole).toString() == description &&
            item->toolTip() == toolTip)
            continue;
        // The name stays the row's text; the state is told by the icon and to screen readers.
        item->setIcon(ofRow.isEmpty() ? QIcon() : style()->standardIcon(QStyle::SP_MediaPlay));
        item->setData(Qt::AccessibleDescriptionRole, description);
        item->setToolTip(toolTip);
        if (QAccessible::isActive()) {
            QAccessibleInterface* list = QAccessible::queryAccessibleInterface(m_profileList);
            if (QAccessibleInterface* cell = list ? list->child(row) : nullptr) {
                QAccessibleEvent event(cell, QAccessible::DescriptionChanged);
                QAccessible::updateAccessibility(&event);
            }
        }
    }
    RefreshStopAction();
}

void MainWindow::RefreshStopAction()
{
    const int row = m_profileList->currentRow();
    m_stopAction->setEnabled(
        m_running && row >= 0 && row < m_profiles.size() &&
        !Running::OfProfile(m_running->Running(), m_profiles[row].name).isEmpty());
}

void MainWindow::RefreshLogAction()
{
    const int row = m_profileList->currentRow();
    m_showLogAction->setEnabled(
        row >= 0 && row < m_profiles.size() &&
        !LaunchLogs::Latest(LaunchLogs::Folder(), m_profiles[row].name).isEmpty());
}

bool MainWindow::ConfirmLaunchWhileRunning(const QString& profile)
{
    // Read now, not taken from the last refresh: an emulator may have ended since.
    if (Running::OfProfile(Running::Read(Running::Folder()).running, profile).isEmpty())
        return true;
    QMessageBox box(QMessageBox::Question, BoxTitle,
                    QStringLiteral("The emulator of profile \"%1\" is already running. Launch "
                                   "another one?")
                        .arg(profile),
                    QMessageBox::Cancel, this);
    QPushButton* another = box.addButton(QStringLiteral("Launch Another"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == another;
}

bool MainWindow::StartRecorded(const LaunchCommand& launch, const QString& profile)
{
    StartWatchingRunning();
    const SupervisedStart start = StartSupervised(launch, profile, Supervision::Report);
    if (start.supervisorPid > 0)
        m_running->Expect(start.supervisorPid);
    return start.started;
}

void MainWindow::StopCurrentProfile()
{
    const int row = m_profileList->currentRow();
    if (row < 0 || row >= m_profiles.size())
        return;
    const QList<RunningEmulator> stopping =
        Running::OfProfile(Running::Read(Running::Folder()).running, m_profiles[row].name);
    // Supervisors force the end themselves, whether or not the window is still there; only an
    // emulator whose supervisor is gone is left to the window.
    QList<RunningEmulator> unsupervised;
    for (const RunningEmulator& entry : stopping) {
        if (Running::RequestStop(entry) == Running::StopBy::Caller)
            unsupervised.append(entry);
    }
    if (unsupervised.isEmpty())
        return;
    QTimer::singleShot(Running::StopGraceMs, this, [unsupervised] {
        for (const RunningEmulator& entry : unsupervised)
            Running::ForceStop(entry);
    });
}

void MainWindow::ShowCurrentLog()
{
    const int row = m_profileList->currentRow();
    if (row >= 0 && row < m_profiles.size())
        OpenLog(LaunchLogs::Latest(LaunchLogs::Folder(), m_profiles[row].name));
}

void MainWindow::ReportFailedStart(const RunningEmulator& report)
{
    if (report.state == RunningEmulator::State::NotStarted) {
        QMessageBox::critical(this, BoxTitle,
                              QStringLiteral("Failed to start Nimbra Mobile Emulator!"));
        return;
    }
    QMessageBox box(QMessageBox::Warning, BoxTitle, FailedStartText(report), QMessageBox::Ok, this);
    QPushButton* showLog = report.log.isEmpty()
                               ? nullptr
                               : box.addButton(QStringLiteral("Show Log"), QMessageBox::ActionRole);
    box.exec();
    if (showLog && box.clickedButton() == showLog)
        OpenLog(report.log);
}
