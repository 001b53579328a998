#pragma once

#include "profilerules.h"
#include "userfile.h"

#include <QListWidget>
#include <QMainWindow>

class QAction;
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
    ProfileQListWidget() = default;
    ~ProfileQListWidget() override = default;

    QSize sizeHint() const override;
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

    void LoadStartupConfig();
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

    ConfigModel m_model;
    QList<Profile>& m_profiles = m_model.profiles;
    QList<ConfigSection>& m_sections = m_model.sections;
    ProfileQListWidget* m_profileList = nullptr;
    QPushButton* m_addUpdateButton = nullptr;
    QPushButton* m_removeProfileButton = nullptr;
    QLineEdit* m_argumentsEdit = nullptr;
    QPushButton* m_removeResolutionButton = nullptr;
    QPushButton* m_removePixelDensityButton = nullptr;
    // The user's file as loaded, for the save at exit.
    UserFile::Baseline m_baseline;
    // Set when no single-instance lock guards the file: another launcher may save it too.
    bool m_sharedUserFile = false;

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

    QLineEdit* m_commandEdit = nullptr;
    QMenu* m_profileMenu = nullptr;
    QAction* m_duplicateAction = nullptr;
    QAction* m_renameAction = nullptr;
    QAction* m_copyCommandAction = nullptr;
    QAction* m_moveUpAction = nullptr;
    QAction* m_moveDownAction = nullptr;
    QAction* m_launchAction = nullptr;

    // Running emulators: the rows' state, Stop and Show Log, the question before launching a
    // profile that runs, and the box for a start that failed (launcher_running.cpp).
    void WatchRunningOnceShown();
    void StartWatchingRunning();
    void BuildRunningActions();
    void RefreshRunningRows();
    void RefreshLogAction();
    bool ConfirmLaunchWhileRunning(const QString& profile);
    bool StartRecorded(const LaunchCommand& launch, const QString& profile);
    void StopCurrentProfile();
    void ShowCurrentLog();
    void ReportFailedStart(const RunningEmulator& report);

    RunningWatcher* m_running = nullptr;
    QAction* m_stopAction = nullptr;
    QAction* m_showLogAction = nullptr;
};
