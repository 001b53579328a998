// Loading and saving of Launcher.ini by the main window.
#include "filelocations.h"
#include "keeping.h"
#include "launcher.h"

#include <QFileInfo>
#include <QMessageBox>

namespace {

const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

} // namespace

bool MainWindow::LoadConfig(const QString& fileName, bool renameIfOutdated)
{
    qint32 version = 0;
    if (!Config::ReadFile(fileName, m_sections, &version))
        return false;

    if (!Config::IsAcceptedVersion(version)) {
        if (renameIfOutdated) {
            const QString newName = RenameOutdatedConfig(version);
            QMessageBox::warning(
                this, WarningTitle,
                (m_keepUserFile
                     ? QStringLiteral("Your Launcher.ini configuration file is out of date and "
                                      "will not be used. It could not be renamed and stays at "
                                      "%1. The launcher will not overwrite it, so changes made "
                                      "in this session will not be saved.")
                     : QStringLiteral("Your Launcher.ini configuration file is out of date and "
                                      "will not be used. It has been renamed to %1 to make "
                                      "place for a new configuration file."))
                    .arg(newName));
            return false;
        }
        QMessageBox::warning(this, WarningTitle, QStringLiteral("Config file is out of date"));
        for (ConfigSection& section : m_sections)
            section.entries.clear();
    }
    if (renameIfOutdated && m_watchUserFile)
        m_userFileAtLoad = FileStamp(fileName);

    Config::AddDefaultEntries(m_sections);
    m_profiles = Config::ProfilesFromSection(m_sections);
    return true;
}

QString MainWindow::RenameOutdatedConfig(qint32 version)
{
    const QString current = GetFileName(UserConfigFile);
    // The path trace has always shown this lookup twice: once for the new name, once to move.
    GetFileName(UserConfigFile);
    const QString newName = Keeping::SetFileAside(current, version);
    // Left in place, the old file must outlive this session: the exit save would replace it.
    m_keepUserFile = newName == current;
    return newName;
}

bool MainWindow::SaveConfig()
{
    if (m_sections.size() < Config::SectionCount || m_keepUserFile)
        return false;

    Config::StoreProfiles(m_sections, m_profiles);
    const QString path = GetFileName(UserConfigFile);
    QString reason;
    while (!Config::WriteFile(path, SectionsToSave(path), &reason) && AskRetrySave(path, reason)) {
    }
    return true;
}

QList<ConfigSection> MainWindow::SectionsToSave(const QString& path) const
{
    // Only a launcher that runs without the single-instance lock can meet another writer.
    if (!m_watchUserFile || FileStamp(path) == m_userFileAtLoad)
        return m_sections;
    QList<ConfigSection> theirs;
    qint32 version = 0;
    if (!Config::ReadFile(path, theirs, &version) || !Config::IsAcceptedVersion(version))
        return m_sections;
    return Keeping::MergeSaved(theirs, m_sections, m_profiles);
}

// The old file stays whole whatever the answer; Discard only gives up this session's changes.
bool MainWindow::AskRetrySave(const QString& path, const QString& reason)
{
    QMessageBox box(QMessageBox::Critical, QStringLiteral("Nimbra Mobile Emulator Launcher"),
                    QStringLiteral("Your profiles could not be saved to %1.\n\nReason: %2")
                        .arg(path, reason),
                    QMessageBox::Retry | QMessageBox::Discard, this);
    box.setDefaultButton(QMessageBox::Retry);
    // Closing the box, or Escape, must not leave the launcher stuck at exit.
    box.setEscapeButton(QMessageBox::Discard);
    return box.exec() == QMessageBox::Retry;
}

QString MainWindow::FileStamp(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QString();
    return QString::number(info.size()) + u' ' +
           QString::number(info.lastModified().toMSecsSinceEpoch());
}

QString MainWindow::GetProfileValue(const Profile& profile) const
{
    return Config::ProfileValue(m_sections, profile);
}

QString MainWindow::GetSectionDisplayName(const QString& sectionName, bool lowerCase) const
{
    return Config::SectionDisplayName(sectionName, lowerCase);
}
