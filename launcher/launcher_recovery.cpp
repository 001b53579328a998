// Recovery state: each committed edit kept on disk shortly after, and what a run that did not
// end cleanly left brought back at the next start.
#include "launcher.h"
#include "recovery.h"
#include "threewaymerge.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <cstdio>

#include <signal.h>

namespace {

// An edit is on disk at most this long after it is made, never while the user types.
constexpr int kRecoveryDelayMs = 500;

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");

// The state of another first instance that runs right now (one without the single-instance
// lock) is its own, not left behind.
bool RunsElsewhere(qint64 pid)
{
    return pid > 0 && pid != QCoreApplication::applicationPid() && ::kill(pid_t(pid), 0) == 0;
}

} // namespace

void MainWindow::ModelChanged()
{
    m_editedSinceSave = true;
    RefreshRunningRows();
    if (!m_recoveryTimer) {
        m_recoveryTimer = new QTimer(this);
        m_recoveryTimer->setSingleShot(true);
        m_recoveryTimer->setInterval(kRecoveryDelayMs);
        connect(m_recoveryTimer, &QTimer::timeout, this, &MainWindow::WriteRecoveryState);
    }
    // Not restarted by later edits, so a stream of them is kept at least every interval.
    if (!m_recoveryTimer->isActive())
        m_recoveryTimer->start();
}

void MainWindow::WriteRecoveryState()
{
    const Recovery::State state{QCoreApplication::applicationFilePath(),
                                QCoreApplication::applicationPid(), m_baseline.base, m_model};
    QString reason;
    if (!m_recovery.Write(state, &reason) && !m_recoveryFailureTold) {
        m_recoveryFailureTold = true;
        std::fprintf(stderr, "nimbra-mobile-launcher: cannot keep unsaved changes in %s: %s\n",
                     qPrintable(m_recovery.Path()), qPrintable(reason));
    }
}

void MainWindow::RecoverUnsavedEdits()
{
    Recovery::State state;
    QString reason;
    switch (Recovery::Read(m_recovery.Path(), QCoreApplication::applicationFilePath(), &state,
                           &reason)) {
    case Recovery::ReadResult::None:
        return;
    case Recovery::ReadResult::Unusable: {
        const QString kept = Recovery::SetAside(m_recovery.Path());
        QMessageBox::warning(this, Title,
                             QStringLiteral("Unsaved changes left by an earlier session could "
                                            "not be brought back: %1. They are kept in %2.")
                                 .arg(reason, kept));
        return;
    }
    case Recovery::ReadResult::Usable:
        break;
    }
    if (RunsElsewhere(state.pid))
        return;
    // Merged like any other writer: what reached the file since stays.
    const ConfigModel before = m_model;
    const ConfigModel recovered = MergeThreeWay(state.base, state.model, m_model);
    if (SameContent(recovered, before)) {
        QFile::remove(m_recovery.Path());
        return;
    }
    ShowModel(recovered);
    QMessageBox box(QMessageBox::Information, Title,
                    QStringLiteral("The launcher did not quit normally last time. The changes "
                                   "it had not saved are back and will be saved when you quit."),
                    QMessageBox::NoButton, this);
    box.addButton(QStringLiteral("Keep Changes"), QMessageBox::AcceptRole);
    QPushButton* discard =
        box.addButton(QStringLiteral("Discard Changes"), QMessageBox::DestructiveRole);
    box.exec();
    if (box.clickedButton() == discard) {
        ShowModel(before);
        QFile::remove(m_recovery.Path());
        return;
    }
    m_editedSinceSave = true;
    WriteRecoveryState();
}
