#pragma once

#include "profilerules.h"
#include "recovery.h"
#include "userfile.h"

#include <QDeadlineTimer>
#include <QListWidget>
#include <QMainWindow>
#include <QSet>

#include <future>

class QAction;
class QBoxLayout;
class QUndoStack;
class QFileSystemWatcher;
class QTimer;
class QComboBox;
class RunningWatcher;
struct LaunchCommand;
struct RunningEmulator;
class QLineEdit;
class QListWidgetItem;
class QMenu;
class QPushButton;

// The profile list: a plain QListWidget that asks for a fixed height and the width of its
// longest name.
class ProfileQListWidget : public QListWidget
{
    Q_OBJECT

public:
    ProfileQListWidget();
    ~ProfileQListWidget() override;

    QSize sizeHint() const override;
    // Lays out rows hidden or shown since the last layout now rather than after the next paint.
    void LayOutRowsNow() { executeDelayedItemsLayout(); }

private:
    // sizeHintForColumn(0), kept until the items change: it lays out every name.
    int NamesWidth() const;

    mutable int m_namesWidth = -1;
};

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    bool LoadConfig(const QString& fileName, bool renameIfOutdated);
    QString RenameOutdatedConfig(qint32 version);
    bool SaveConfig();

    QString GetProfileValue(const Profile& profile) const;
    QString GetSectionDisplayName(const QString& sectionName, bool lowerCase) const;

    // Nobody may be there to answer a box (the launcher ends on a signal): a save that fails
    // says so on stderr and leaves the edits to the next start.
    void SetUnattended() { m_unattended = true; }
    // Saves now, asking nothing, as a session manager asks at logout; the save at exit is then
    // skipped unless something changed since.
    void CommitData();

public slots:
    void OnProfileChanged(int index);
    void OnAddUpdateProfile();
    void OnRemoveProfile();
    void OnResolution(int index);
    void OnAddResolution();
    void OnRemoveResolution();
    void OnPixelDensity(int index);
    void OnAddPixelDensity();
    void OnRemovePixelDensity();
    void OnInput();
    void OnTextCtrlEdit();
    void OnHelp();
    void OnLaunch();

private:
    // Tests drive the window through its members, as its own slots do.
    friend class WindowFixture;

    std::future<UserFile::Loaded> StartLoading();
    void LoadStartupConfig(UserFile::Loaded loaded);
    void FillControls();
    // Shows what loading met; true when it gave a model, which then replaces this one.
    bool AdoptLoaded(UserFile::Loaded loaded);
    void BuildControls();
    QLayout* BuildOptionRow(OptionKind kind);
    QComboBox* ComboBox(OptionKind kind) const;
    void RefreshAddUpdateButton();
    // The selected profile's name with what the controls show now.
    Profile ControlsProfile() const;
    QString GetControlsValueText() const;
    void CopyControlsToProfile(Profile& profile);
    bool ConfirmResolutionSize(int width, int height);
    void AppendOption(OptionKind kind, const QString& name, const QString& value);
    bool RemoveCurrentOption(OptionKind kind);

    bool AskRetrySave(const QString& path, const QString& reason);

    // The model and selected row before an edit, for its undo.
    struct EditStart
    {
        ConfigModel model;
        int row;
    };
    EditStart BeginEdit() const;
    void EditCommitted(const QString& what, const EditStart& before);
    // The model changed under the user's hand (an edit, an undo): saved at exit, kept as
    // recovery state shortly after.
    void ModelChanged();
    // Nothing lost however the launcher ends: each edit is kept as recovery state shortly
    // after, the next start brings back what a run that did not end cleanly left, and what
    // others write into the user's file while the window is open is merged in.
    void WriteRecoveryState();
    void RecoverUnsavedEdits();
    void WatchUserFile();
    void MergeOutsideChanges();
    // Shows model in the controls, keeping what the user is looking at: the selected profile,
    // the entries chosen in the combo boxes and text typed but not yet stored; or, given a
    // row, selecting that row and showing its profile.
    void ShowModel(ConfigModel model, int selectRow = -1);
    void FillProfileList();

    ConfigModel m_model;
    // Read-only: the list is shared with the baseline and the undo history, and a write through
    // a non-const view copies all of it. Edits name m_model.profiles.
    const QList<Profile>& m_profiles = m_model.profiles;
    QList<ConfigSection>& m_sections = m_model.sections;
    ProfileQListWidget* m_profileList = nullptr;
    QPushButton* m_addUpdateButton = nullptr;
    QPushButton* m_removeProfileButton = nullptr;
    QLineEdit* m_argumentsEdit = nullptr;
    QPushButton* m_removeResolutionButton = nullptr;
    QPushButton* m_removePixelDensityButton = nullptr;
    // The user's file as last read or written, what a save merges against.
    UserFile::Baseline m_baseline;
    bool m_unattended = false;
    bool m_editedSinceSave = true;
    UserFile::SaveResult m_lastSave = UserFile::SaveResult::Refused;
    Recovery::Writer m_recovery{QString()};
    bool m_recoveryFailureTold = false;
    QTimer* m_recoveryTimer = nullptr;
    QDeadlineTimer m_recoveryLatest; // when the first edit not yet kept must be on disk
    QFileSystemWatcher* m_fileWatcher = nullptr;
    QTimer* m_mergeTimer = nullptr;

    // The command preview and the profile list's menu, for people who launch all day.
    QLayout* BuildCommandRow();
    void BuildProfileActions();
    QString PreviewCommand() const;
    static QString NameFaultText(NameFault fault);
    void RefreshCommandPreview();
    void RefreshProfileActions();
    void ShowProfileMenu(const QPoint& pos);
    void DuplicateCurrentProfile();
    void RenameCurrentProfile();
    void CopyCommandLine();
    void MoveCurrentProfile(int delta);
    void LaunchItem(QListWidgetItem* item);
    // Starts profile as Launch does, with the launch's failure box; extra follows the profile's
    // own arguments for this launch only.
    void Launch(const Profile& profile, const QStringList& extra = {});
    void LaunchWithArguments();

    // For people who keep many profiles and launch all day: a filter over the list, undo and
    // redo of every edit, and profiles in the applications menu.
    void BuildFilter(QBoxLayout* into);
    // Shows exactly the rows whose name holds the filter's text; a hidden current row gives way
    // to the first shown one (unless none is). Run after every change of the list.
    void ApplyFilter();
    void BuildUndo();
    void ApplyEditStep(const ConfigModel& from, const ConfigModel& to, int row);
    void AddToApplicationsMenu();
    void RemoveFromApplicationsMenu();
    bool WriteMenuEntry(const QString& name);
    // True unless the user keeps the entry of name, which they changed by hand, on question.
    bool ConfirmMenuEntryChange(const QString& name, const QString& question);
    // False, after a box with the system's reason, when the entry stays.
    bool RemoveMenuEntry(const QString& name);
    // Keeps the profile's menu entry with it when it is renamed or removed.
    void FollowMenuEntry(const QString& oldName, const QString& newName);

    QLineEdit* m_commandEdit = nullptr;
    QMenu* m_profileMenu = nullptr;
    QAction* m_duplicateAction = nullptr;
    QAction* m_renameAction = nullptr;
    QAction* m_copyCommandAction = nullptr;
    QAction* m_moveUpAction = nullptr;
    QAction* m_moveDownAction = nullptr;
    QAction* m_launchAction = nullptr;
    QAction* m_launchWithArgumentsAction = nullptr;
    QString m_oneOffArguments;
    QLineEdit* m_filterEdit = nullptr;
    QUndoStack* m_undoStack = nullptr;
    QAction* m_undoAction = nullptr;
    QAction* m_redoAction = nullptr;
    QAction* m_addMenuEntryAction = nullptr;
    QAction* m_removeMenuEntryAction = nullptr;

    // Running emulators: the rows' state, Stop and Show Log, the question before launching a
    // profile that runs, and the box for a start that failed (launcher_running.cpp).
    void WatchRunningOnceShown();
    void StartWatchingRunning();
    void BuildRunningActions();
    // Rows move and change names with every edit: their running state follows.
    void RefreshRunningRows();
    void RefreshStopAction();
    void RefreshLogAction();
    bool ConfirmLaunchWhileRunning(const QString& profile);
    bool StartRecorded(const LaunchCommand& launch, const QString& profile);
    void StopCurrentProfile();
    void ShowCurrentLog();
    void ReportFailedStart(const RunningEmulator& report);

    RunningWatcher* m_running = nullptr;
    QSet<int> m_runningRows;
    QAction* m_stopAction = nullptr;
    QAction* m_showLogAction = nullptr;
};
