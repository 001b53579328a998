// Loading and saving of Launcher.ini by the main window: the user-file unit's outcomes
// turned into message boxes.
#include "filelocations.h"
#include "launcher.h"
#include "recovery.h"

#include <QFile>
#include <QMessageBox>

#include <cstdio>
#include <cstdlib>

namespace {

const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

// A save that failed with nobody there to ask (a signal, a logout): the process may end right
// after, so the edits go to the recovery state now, not when its timer would have written
// them; the line on stderr promises them back only once they are there.
void KeepForNextStart(Recovery::Writer& recovery, const UserFile::Baseline& baseline,
                      const ConfigModel& model, const QString& path, const QString& reason)
{
    QString why;
    if (recovery.Write(Recovery::OfThisRun(baseline.base, model), &why)) {
        std::fprintf(stderr,
                     "nimbra-mobile-launcher: your profiles could not be saved to %s (%s); "
                     "the next start brings them back from %s\n",
                     qPrintable(path), qPrintable(reason), qPrintable(recovery.Path()));
        return;
    }
    std::fprintf(stderr,
                 "nimbra-mobile-launcher: your profiles could not be saved to %s (%s), and "
                 "this session's changes could not be kept for the next start in %s either "
                 "(%s)\n",
                 qPrintable(path), qPrintable(reason), qPrintable(recovery.Path()),
                 qPrintable(why));
}

} // namespace

std::future<UserFile::Loaded> MainWindow::StartLoading()
{
    UserFile::LoadRequest request;
    request.userPath = GetFileName(UserConfigFile);
    request.defaultsPath = [] { return GetFileName(DefaultConfigFile); };
    // Setting aside touches no member: it is safe on the loading thread.
    request.setAside = [this](qint32 version) { return RenameOutdatedConfig(version); };
    return std::async(std::launch::async, [request] { return UserFile::Load(request); });
}

void MainWindow::LoadStartupConfig(UserFile::Loaded loaded)
{
    if (AdoptLoaded(std::move(loaded)))
        return;

    QMessageBox box;
    box.setWindowTitle(QStringLiteral("Nimbra Mobile Emulator"));
    box.setText(QStringLiteral("Unable to start Nimbra Mobile Emulator Launcher"));
    box.setInformativeText(QStringLiteral("Unable to read configuration file."));
    box.setIcon(QMessageBox::Critical);
    box.exec();
    // The window was never shown, and the destructor must not save.
    std::exit(1);
}

bool MainWindow::LoadConfig(const QString& fileName, bool renameIfOutdated)
{
    UserFile::LoadRequest request;
    if (renameIfOutdated) {
        request.userPath = fileName;
        request.setAside = [this](qint32 version) { return RenameOutdatedConfig(version); };
    } else {
        request.defaultsPath = [fileName] { return fileName; };
    }
    return AdoptLoaded(UserFile::Load(request));
}

bool MainWindow::AdoptLoaded(UserFile::Loaded loaded)
{
    using UserFile::UserState;
    if (loaded.user == UserState::SetAside || loaded.user == UserState::KeptInPlace) {
        QMessageBox::warning(
            this, WarningTitle,
            (loaded.user == UserState::KeptInPlace
                 ? QStringLiteral("Your Launcher.ini configuration file is out of date and "
                                  "will not be used. It could not be renamed and stays at "
                                  "%1. The launcher will not overwrite it, so changes made "
                                  "in this session will not be saved.")
                 : QStringLiteral("Your Launcher.ini configuration file is out of date and "
                                  "will not be used. It has been renamed to %1 to make "
                                  "place for a new configuration file."))
                .arg(loaded.keptAt));
    }
    if (loaded.defaults == UserFile::DefaultsState::Outdated)
        QMessageBox::warning(this, WarningTitle, QStringLiteral("Config file is out of date"));
    if (!loaded.Ok())
        return false;
    // The controls that show the lists stay with them.
    for (const OptionKind kind : AllOptionKinds) {
        if (SectionIndex(kind) < m_sections.size())
            loaded.model.sections[SectionIndex(kind)].comboBox = ComboBox(kind);
    }
    m_model = std::move(loaded.model);
    m_baseline = loaded.baseline;
    return true;
}

QString MainWindow::RenameOutdatedConfig(qint32 version)
{
    const QString current = GetFileName(UserConfigFile);
    // The path trace has always shown this lookup twice: once for the new name, once to move.
    GetFileName(UserConfigFile);
    return UserFile::SetFileAside(current, version);
}

bool MainWindow::SaveConfig()
{
    // Refused before the path is looked up, so a refusal leaves no trace.
    m_lastSave = UserFile::SaveResult::Refused;
    if (!UserFile::MayWrite(m_model, m_baseline))
        return false;
    const QString path = GetFileName(UserConfigFile);
    QString reason;
    do {
        m_lastSave = UserFile::Save(path, m_model, m_baseline, &reason);
    } while (m_lastSave == UserFile::SaveResult::Failed && !m_unattended &&
             AskRetrySave(path, reason));
    if (m_lastSave == UserFile::SaveResult::Failed && m_unattended)
        KeepForNextStart(m_recovery, m_baseline, m_model, path, reason);
    m_editedSinceSave = m_lastSave != UserFile::SaveResult::Written;
    return true;
}

void MainWindow::CommitData()
{
    const bool unattended = m_unattended;
    m_unattended = true;
    SaveConfig();
    m_unattended = unattended;
    if (m_lastSave == UserFile::SaveResult::Written) {
        Recovery::RemoveOwn(m_recovery.Path());
        // The merge with what others wrote may have brought in more.
        ShowModel(m_model);
    }
}

// The old file stays whole whatever the answer; Discard only gives up this session's changes.
bool MainWindow::AskRetrySave(const QString& path, const QString& reason)
{
    QMessageBox box(
        QMessageBox::Critical, QStringLiteral("Nimbra Mobile Emulator Launcher"),
        QStringLiteral("Your profiles could not be saved to %1.\n\nReason: %2").arg(path, reason),
        QMessageBox::Retry | QMessageBox::Discard, this);
    box.setDefaultButton(QMessageBox::Retry);
    // Closing the box, or Escape, must not leave the launcher stuck at exit.
    box.setEscapeButton(QMessageBox::Discard);
    return box.exec() == QMessageBox::Retry;
}

QString MainWindow::GetProfileValue(const Profile& profile) const
{
    return Config::ProfileValue(m_sections, profile);
}

QString MainWindow::GetSectionDisplayName(const QString& sectionName, bool lowerCase) const
{
    return Config::SectionDisplayName(sectionName, lowerCase);
}
