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

#include <algorithm>
#include <cstdio>

namespace {

// An edit is on disk once edits pause this long, and never more than kRecoveryLatestMs after
// it was made, however long a stream of edits goes on; never while the user types.
constexpr int kRecoveryDelayMs = 500;
constexpr int kRecoveryLatestMs = 1000;

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");

} // namespace

void MainWindow::ModelChanged()
{
    m_editedSinceSave = true;
    RefreshRunningRows();
    if (!m_recoveryTimer) {
        m_recoveryTimer = new QTimer(this);
        m_recoveryTimer->setSingleShot(true);
        connect(m_recoveryTimer, &QTimer::timeout, this, &MainWindow::WriteRecoveryState);
    }
    // Restarted by each edit, but never past a second after the first edit not yet kept, so a
    // stream of edits is kept at least that often.
    if (!m_recoveryTimer->isActive())
        m_recoveryLatest.setRemainingTime(kRecoveryLatestMs);
    m_recoveryTimer->start(
        int(std::min<qint64>(kRecoveryDelayMs, m_recoveryLatest.remainingTime())));
}

void MainWindow::WriteRecoveryState()
{
    if (m_recoveryTimer)
        m_recoveryTimer->stop();
    QString reason;
    if (!m_recovery.Write(Recovery::OfThisRun(m_baseline.base, m_model), &reason) &&
        !m_recoveryFailureTold) {
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
    if (Recovery::WriterStillRuns(state))
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
