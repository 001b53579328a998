#pragma once

#include "model.h"

#include <QListWidget>
#include <QMainWindow>

class QComboBox;
class QLineEdit;
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
    friend class MainWindowTest;
    friend class WindowFixture;

    void LoadStartupConfig();
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

    QList<Profile> m_profiles;
    QList<ConfigSection> m_sections;
    ProfileQListWidget* m_profileList = nullptr;
    QPushButton* m_addUpdateButton = nullptr;
    QPushButton* m_removeProfileButton = nullptr;
    QLineEdit* m_argumentsEdit = nullptr;
    QPushButton* m_removeResolutionButton = nullptr;
    QPushButton* m_removePixelDensityButton = nullptr;
};
