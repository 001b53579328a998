// The main window: construction, profile selection, launching and help.
#include "launcher.h"

#include "filelocations.h"
#include "launchcommand.h"
#include "recovery.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QUrl>

#include <future>

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent)
{
    setWindowTitle(QStringLiteral("Nimbra Mobile Emulator"));
    // The file is read while the controls are made: with thousands of profiles each takes a
    // while, and they need each other only to fill the lists.
    std::future<UserFile::Loaded> loading = StartLoading();
    m_sections = Config::NewSections();
    BuildControls();
    LoadStartupConfig(loading.get());
    FillControls();

    OnProfileChanged(0);
    // The Remove buttons start disabled even when the first profile selects a later entry.
    m_removeResolutionButton->setEnabled(false);
    RefreshAddUpdateButton();
    m_removePixelDensityButton->setEnabled(false);
    RefreshAddUpdateButton();

    // The one look before the first paint: whether an earlier run left edits to bring back.
    m_recovery = Recovery::Writer(Recovery::StatePath(QCoreApplication::applicationFilePath()));
    const bool recover = QFileInfo::exists(m_recovery.Path());
    QTimer::singleShot(0, this, [this, recover] {
        if (recover)
            RecoverUnsavedEdits();
        WatchUserFile();
    });
    WatchRunningOnceShown();
}

MainWindow::~MainWindow()
{
    // A save at logout left nothing to write unless something changed since.
    if (m_editedSinceSave)
        SaveConfig();
    // Edits that could not be saved unattended stay for the next start, and so does what an
    // earlier run left when this one quit before it looked.
    if (m_lastSave != UserFile::SaveResult::Failed || !m_unattended)
        Recovery::RemoveOwn(m_recovery.Path());
}

void MainWindow::BuildControls()
{
    auto* central = new QWidget(this);
    setCentralWidget(central);
    auto* outer = new QVBoxLayout;

    auto* group = new QGroupBox(QStringLiteral("Profile"));
    outer->addWidget(group, 0);
    auto* groupLayout = new QHBoxLayout;
    group->setLayout(groupLayout);
    // The filter above the list; the list and its buttons keep their grid.
    auto* profileColumn = new QVBoxLayout;
    groupLayout->addLayout(profileColumn, 0);
    BuildFilter(profileColumn);
    auto* profileGrid = new QGridLayout;
    profileColumn->addLayout(profileGrid);

    m_profileList = new ProfileQListWidget;
    m_profileList->setAccessibleName(QStringLiteral("Profiles"));
    profileGrid->addWidget(m_profileList, 0, 0, 1, -1);

    m_addUpdateButton = new QPushButton(QStringLiteral("Add"));
    connect(m_addUpdateButton, &QPushButton::clicked, this, &MainWindow::OnAddUpdateProfile);
    m_addUpdateButton->setAccessibleDescription(
        QStringLiteral("Stores the chosen options as a new profile or in the selected one"));
    m_removeProfileButton = new QPushButton(QStringLiteral("Remove"));
    // Screen readers announce a button by its name alone; the option rows have Removes too.
    m_removeProfileButton->setAccessibleName(QStringLiteral("Remove profile"));
    connect(m_removeProfileButton, &QPushButton::clicked, this, &MainWindow::OnRemoveProfile);
    profileGrid->addWidget(m_addUpdateButton, 1, 0);
    profileGrid->addWidget(m_removeProfileButton, 1, 1);

    auto* form = new QFormLayout;
    for (const OptionKind kind : AllOptionKinds) {
        auto* label = new QLabel(GetSectionDisplayName(m_sections[SectionIndex(kind)].name, false));
        QLayout* row = BuildOptionRow(kind);
        label->setBuddy(ComboBox(kind));
        form->addRow(label, row);
    }

    m_argumentsEdit = new QLineEdit;
    connect(m_argumentsEdit, &QLineEdit::textChanged, this, &MainWindow::OnTextCtrlEdit);
    form->addRow(QStringLiteral("&Arguments"), m_argumentsEdit);
    outer->addLayout(BuildCommandRow(), 0);
    BuildProfileActions();

    groupLayout->addSpacing(10);
    groupLayout->addLayout(form, 0);

    auto* help = new QPushButton(QStringLiteral("&Help"));
    connect(help, &QPushButton::clicked, this, &MainWindow::OnHelp);
    auto* launch = new QPushButton(QStringLiteral("&Launch"));
    connect(launch, &QPushButton::clicked, this, &MainWindow::OnLaunch);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(help, QDialogButtonBox::HelpRole);
    buttons->addButton(launch, QDialogButtonBox::AcceptRole);
    outer->addWidget(buttons, 0);
    central->setLayout(outer);

    // The button box orders its buttons by platform convention, not by creation: Tab follows
    // the order in which they are shown. The filter, an addition, comes after them.
    QWidget* previous = m_argumentsEdit;
    for (int i = 0; i < buttons->layout()->count(); ++i) {
        if (QWidget* button = buttons->layout()->itemAt(i)->widget()) {
            QWidget::setTabOrder(previous, button);
            previous = button;
        }
    }
    QWidget::setTabOrder(previous, m_filterEdit);
    BuildUndo();
}

QLayout* MainWindow::BuildOptionRow(OptionKind kind)
{
    ConfigSection& section = m_sections[SectionIndex(kind)];
    auto* grid = new QGridLayout;
    auto* comboBox = new QComboBox;
    section.comboBox = comboBox;
    grid->addWidget(comboBox, 0, 0, 1, -1);

    QPushButton* add = nullptr;
    QPushButton* remove = nullptr;
    switch (kind) {
    case OptionKind::Resolution:
        add = new QPushButton(QStringLiteral("Add"));
        connect(add, &QPushButton::clicked, this, &MainWindow::OnAddResolution);
        remove = m_removeResolutionButton = new QPushButton(QStringLiteral("Remove"));
        connect(remove, &QPushButton::clicked, this, &MainWindow::OnRemoveResolution);
        break;
    case OptionKind::PixelDensity:
        add = new QPushButton(QStringLiteral("Add"));
        connect(add, &QPushButton::clicked, this, &MainWindow::OnAddPixelDensity);
        remove = m_removePixelDensityButton = new QPushButton(QStringLiteral("Remove"));
        connect(remove, &QPushButton::clicked, this, &MainWindow::OnRemovePixelDensity);
        break;
    case OptionKind::Input:
        break;
    }
    if (add) {
        const QString options = GetSectionDisplayName(section.name, true);
        add->setAccessibleName(QStringLiteral("Add ") + options);
        remove->setAccessibleName(QStringLiteral("Remove ") + options);
        grid->addWidget(add, 1, 0);
        grid->addWidget(remove, 1, 1);
    }
    return grid;
}

void MainWindow::FillControls()
{
    QStringList names;
    names.reserve(m_profiles.size());
    for (const Profile& profile : m_profiles)
        names.append(profile.name);
    m_profileList->addItems(names);
    m_profileList->setCurrentRow(0);
    // Connected only now, so that the first selection runs no slot.
    connect(m_profileList, &QListWidget::currentRowChanged, this, &MainWindow::OnProfileChanged);

    for (const OptionKind kind : AllOptionKinds) {
        QComboBox* comboBox = ComboBox(kind);
        QStringList keys;
        for (const OptionEntry& entry : m_model.Options(kind))
            keys.append(entry.key);
        comboBox->insertItems(0, keys);
        comboBox->setCurrentIndex(0);
        // Also only now: filling the box chose its first entry.
        switch (kind) {
        case OptionKind::Resolution:
            connect(comboBox, &QComboBox::currentIndexChanged, this, &MainWindow::OnResolution);
            break;
        case OptionKind::PixelDensity:
            connect(comboBox, &QComboBox::currentIndexChanged, this, &MainWindow::OnPixelDensity);
            break;
        case OptionKind::Input:
            connect(comboBox, &QComboBox::currentIndexChanged, this, &MainWindow::OnInput);
            break;
        }
    }
}

QComboBox* MainWindow::ComboBox(OptionKind kind) const
{
    return m_sections[SectionIndex(kind)].comboBox;
}

Profile MainWindow::ControlsProfile() const
{
    Profile profile;
    if (const QListWidgetItem* item = m_profileList->currentItem())
        profile.name = item->text();
    for (const OptionKind kind : AllOptionKinds)
        ChosenIndex(profile, kind) = ComboBox(kind)->currentIndex();
    profile.arguments = m_argumentsEdit->text();
    return profile;
}

QString MainWindow::GetControlsValueText() const
{
    return GetProfileValue(ControlsProfile());
}

void MainWindow::RefreshAddUpdateButton()
{
    const int row = m_profileList->currentRow();
    m_addUpdateButton->setText(row == 0 ? QStringLiteral("Add") : QStringLiteral("Update"));
    m_addUpdateButton->setEnabled(GetControlsValueText() != GetProfileValue(m_profiles[row]));
    // Every change of the controls and of the row ends here; so do these.
    RefreshCommandPreview();
    RefreshProfileActions();
}

void MainWindow::OnProfileChanged(int index)
{
    if (index < 0 || index >= m_profiles.size())
        return;
    // Each change runs that control's slot at once; they all end in a refresh.
    for (const OptionKind kind : AllOptionKinds)
        ComboBox(kind)->setCurrentIndex(ChosenIndex(m_profiles[index], kind));
    m_argumentsEdit->setText(m_profiles[index].arguments);
    m_removeProfileButton->setEnabled(index != 0);
    RefreshAddUpdateButton();
}

void MainWindow::OnLaunch()
{
    Launch(ControlsProfile());
}

void MainWindow::Launch(const Profile& profile, const QStringList& extra)
{
    if (!ConfirmLaunchWhileRunning(profile.name))
        return;
    LaunchCommand launch = BuildLaunchCommand(GetFileName(EmulatorFile), m_sections, profile);
    AppendArguments(launch, extra);
    if (!StartRecorded(launch, profile.name)) {
        QMessageBox::critical(this, QStringLiteral("Nimbra Mobile Emulator Launcher"),
                              QStringLiteral("Failed to start Nimbra Mobile Emulator!"));
    }
}

void MainWindow::OnHelp()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(GetFileName(HelpFile)));
}
