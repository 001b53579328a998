// Profiles in the applications menu (Linux): a desktop entry per profile that starts it with
// the companion beside this launcher.
#include "desktopentry.h"
#include "launcher.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QListWidget>
#include <QMessageBox>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");

QString EntryPath(const QString& name)
{
    return DesktopEntry::ApplicationsFolder() + u'/' + DesktopEntry::FileName(name);
}

// By its absolute path, so an entry made from a build tree works too.
QString CompanionPath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/nimbra-mobile-launch");
}

void RefreshMenuDatabase()
{
    const QString tool = QStandardPaths::findExecutable(QStringLiteral("update-desktop-database"));
    if (!tool.isEmpty())
        QProcess::startDetached(tool, {DesktopEntry::ApplicationsFolder()});
}

} // namespace

bool MainWindow::WriteMenuEntry(const QString& name)
{
    const QString path = EntryPath(name);
    const QByteArray text = DesktopEntry::Text(name, CompanionPath()).toUtf8();
    if (text.isEmpty()) {
        QMessageBox::warning(this, Title,
                             QStringLiteral("Profile \"%1\" can't be added to the applications "
                                            "menu: its name or the launcher's folder holds a "
                                            "control character, which a desktop entry can't "
                                            "carry.")
                                 .arg(name));
        return false;
    }
    // One of ours that someone changed by hand is replaced only when they say so.
    if (!ConfirmMenuEntryChange(name, QStringLiteral("Replace it?")))
        return false;
    QDir().mkpath(DesktopEntry::ApplicationsFolder());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.commit()) {
        QMessageBox::warning(this, Title,
                             QStringLiteral("Profile \"%1\" could not be added to the "
                                            "applications menu.\n\nReason: %2")
                                 .arg(name, file.errorString()));
        return false;
    }
    RefreshMenuDatabase();
    return true;
}

bool MainWindow::ConfirmMenuEntryChange(const QString& name, const QString& question)
{
    QFile existing(EntryPath(name));
    if (!existing.open(QIODevice::ReadOnly) ||
        DesktopEntry::IsUnchanged(QString::fromUtf8(existing.readAll()), name))
        return true;
    return QMessageBox::question(this, Title,
                                 QStringLiteral("The applications menu entry of profile \"%1\" "
                                                "was changed by hand. %2")
                                     .arg(name, question),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

bool MainWindow::RemoveMenuEntry(const QString& name)
{
    QFile file(EntryPath(name));
    if (!file.remove()) {
        QMessageBox::warning(this, Title,
                             QStringLiteral("The applications menu entry of profile \"%1\" "
                                            "could not be removed.\n\nReason: %2")
                                 .arg(name, file.errorString()));
        return false;
    }
    RefreshMenuDatabase();
    return true;
}

void MainWindow::AddToApplicationsMenu()
{
    if (WriteMenuEntry(m_profiles[m_profileList->currentRow()].name))
        RefreshProfileActions();
}

void MainWindow::RemoveFromApplicationsMenu()
{
    if (RemoveMenuEntry(m_profiles[m_profileList->currentRow()].name))
        RefreshProfileActions();
}

void MainWindow::FollowMenuEntry(const QString& oldName, const QString& newName)
{
    if (!DesktopEntry::Supported || !QFileInfo::exists(EntryPath(oldName)))
        return;
    // A hand-edited entry is the user's own work: it goes only when they say so.
    if (!ConfirmMenuEntryChange(oldName, newName.isEmpty() ? QStringLiteral("Remove it?")
                                                           : QStringLiteral("Replace it?")))
        return;
    if (!newName.isEmpty() && !WriteMenuEntry(newName))
        return;
    RemoveMenuEntry(oldName);
}
