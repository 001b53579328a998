// Loading and saving of Launcher.ini by the main window.
#include "atomicfile.h"
#include "filelocations.h"
#include "launcher.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QTextStream>

namespace {

const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

} // namespace

bool MainWindow::LoadConfig(const QString& fileName, bool renameIfOutdated)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;

    m_sections = Config::NewSections();
    QTextStream in(&file);
    const qint32 version = Config::ReadText(in.readAll(), m_sections);

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

    const QString fileName = GetFileName(UserConfigFile);
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    Config::StoreProfiles(m_sections, m_profiles);
    // Nothing can act on a failure this late, at exit; the old file stays whole instead.
    WriteFileAtomically(fileName, Config::FormatText(m_sections).toUtf8());
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
