// Loading and saving of Launcher.ini by the main window.
#include "filelocations.h"
#include "launcher.h"

#include <QFile>
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
                QStringLiteral("Your Launcher.ini configuration file is out of date and will not "
                               "be used. It has been renamed to %1 to make place for a new "
                               "configuration file.")
                    .arg(newName));
            return false;
        }
        QMessageBox::warning(this, WarningTitle, QStringLiteral("Config file is out of date"));
        for (ConfigSection& section : m_sections)
            section.entries.clear();
    }

    Config::AddDefaultEntries(m_sections);
    m_profiles = Config::ProfilesFromSection(m_sections);
    return true;
}

QString MainWindow::RenameOutdatedConfig(qint32 version)
{
    QString newName = GetFileName(UserConfigFile);
    newName.chop(3);
    newName += QString::number(version) + QStringLiteral(".ini");
    QFile::rename(GetFileName(UserConfigFile), newName);
    return newName;
}

bool MainWindow::SaveConfig()
{
    if (m_sections.size() < Config::SectionCount)
        return false;

    Config::StoreProfiles(m_sections, m_profiles);
    // Nothing can act on a failure this late, at exit; the old file stays whole instead.
    Config::WriteFile(GetFileName(UserConfigFile), m_sections);
    return true;
}

QString MainWindow::GetProfileValue(const Profile& profile) const
{
    return Config::ProfileValue(m_sections, profile);
}

QString MainWindow::GetSectionDisplayName(const QString& sectionName, bool lowerCase) const
{
    return Config::SectionDisplayName(sectionName, lowerCase);
}
