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
#include <QFontMetricsF>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyleOptionSlider>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <array>
#include <functional>
#include <future>
#include <optional>

namespace {

// Up to this many names the width is measured name by name, as Qt does; beyond, the names
// that look widest by their letters' advances are measured, which costs far less than laying
// out thousands.
constexpr int kMeasuredNames = 1000;
constexpr int kWidestCandidates = 64;

} // namespace

ProfileQListWidget::ProfileQListWidget()
{
    // Every row is one line of text: laid out once, not name by name.
    setUniformItemSizes(true);
    const auto changed = [this] { m_namesWidth = -1; };
    connect(model(), &QAbstractItemModel::rowsInserted, this, changed);
    connect(model(), &QAbstractItemModel::rowsRemoved, this, changed);
    connect(model(), &QAbstractItemModel::dataChanged, this, changed);
    connect(model(), &QAbstractItemModel::modelReset, this, changed);
}

// The list's own destruction empties its model, which must no longer reach this part of it.
ProfileQListWidget::~ProfileQListWidget()
{
    disconnect(model(), nullptr, this, nullptr);
}

QSize ProfileQListWidget::sizeHint() const
{
    const QStyleOptionSlider option;
    const int scrollBarExtent = verticalScrollBar()->style()->pixelMetric(
        QStyle::PM_ScrollBarExtent, &option, verticalScrollBar());
    return QSize(NamesWidth() + scrollBarExtent + 5, 192);
}

int ProfileQListWidget::NamesWidth() const
{
    if (m_namesWidth >= 0)
        return m_namesWidth;
    if (count() <= kMeasuredNames) {
        m_namesWidth = sizeHintForColumn(0);
        return m_namesWidth;
    }
    // Each letter's advance once, Latin-1 in a table; a name's sum leaves out only kerning.
    const QFontMetricsF metrics(font());
    std::array<qreal, 256> latin1;
    latin1.fill(-1);
    QHash<char16_t, qreal> others;
    const auto advance = [&](QChar c) {
        if (c.unicode() < latin1.size()) {
            qreal& known = latin1[c.unicode()];
            if (known < 0)
                known = metrics.horizontalAdvance(c);
            return known;
        }
        auto it = others.constFind(c.unicode());
        if (it == others.cend())
            it = others.insert(c.unicode(), metrics.horizontalAdvance(c));
        return *it;
    };
    QList<std::pair<qreal, int>> estimates;
    estimates.reserve(count());
    for (int row = 0; row < count(); ++row) {
        qreal width = 0;
        for (const QChar c : item(row)->text())
            width += advance(c);
        estimates.append({width, row});
    }
    const int candidates = std::min<int>(kWidestCandidates, estimates.size());
    std::partial_sort(estimates.begin(), estimates.begin() + candidates, estimates.end(),
                      std::greater<>());
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    int width = 0;
    for (int i = 0; i < candidates; ++i) {
        const QModelIndex index = model()->index(estimates[i].second, 0);
        width = std::max(width, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    m_namesWidth = width;
    return width;
}

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
    // Edits that could not be saved unattended stay for the next start.
    if (m_lastSave != UserFile::SaveResult::Failed || !m_unattended)
        QFile::remove(m_recovery.Path());
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
    for (const Profile& profile : std::as_const(m_profiles))
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
    // Read without a copy: the list is shared with the baseline until something changes it.
    m_addUpdateButton->setEnabled(GetControlsValueText() !=
                                  GetProfileValue(std::as_const(m_profiles)[row]));
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
        ComboBox(kind)->setCurrentIndex(ChosenIndex(std::as_const(m_profiles)[index], kind));
    m_argumentsEdit->setText(std::as_const(m_profiles)[index].arguments);
    m_removeProfileButton->setEnabled(index != 0);
    RefreshAddUpdateButton();
}

void MainWindow::OnLaunch()
{
    Launch(ControlsProfile());
}

void MainWindow::Launch(const Profile& profile)
{
    if (!ConfirmLaunchWhileRunning(profile.name))
        return;
    const LaunchCommand launch = BuildLaunchCommand(GetFileName(EmulatorFile), m_sections, profile);
    if (!StartRecorded(launch, profile.name)) {
        QMessageBox::critical(this, QStringLiteral("Nimbra Mobile Emulator Launcher"),
                              QStringLiteral("Failed to start Nimbra Mobile Emulator!"));
    }
}

void MainWindow::OnHelp()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(GetFileName(HelpFile)));
}

void MainWindow::FillProfileList()
{
    // Items are reused: a merge or an undo changes a few names among thousands.
    while (m_profileList->count() > m_profiles.size())
        delete m_profileList->takeItem(m_profileList->count() - 1);
    for (int row = 0; row < m_profiles.size(); ++row) {
        if (row == m_profileList->count())
            m_profileList->addItem(m_profiles[row].name);
        else if (m_profileList->item(row)->text() != m_profiles[row].name)
            m_profileList->item(row)->setText(m_profiles[row].name);
    }
}

void MainWindow::ShowModel(ConfigModel model, int selectRow)
{
    const QString shownName = ControlsProfile().name;
    std::array<std::optional<OptionEntry>, OptionKindCount> shown;
    for (const OptionKind kind : AllOptionKinds) {
        const int index = ComboBox(kind)->currentIndex();
        if (index >= 0 && index < m_model.Options(kind).size())
            shown[int(kind)] = m_model.Options(kind)[index];
        model.sections[SectionIndex(kind)].comboBox = ComboBox(kind);
    }
    const int row = m_profileList->currentRow();
    m_model = std::move(model);

    // Given a row, that one is shown from the model; else what the user is looking at stays.
    const int wanted = std::min(selectRow, int(m_profiles.size()) - 1);
    const int shownRow = wanted >= 0 ? -1
                         : row < m_profiles.size() && m_profiles[row].name == shownName
                             ? row
                             : FindProfile(m_profiles, shownName);
    {
        // The controls keep what they show; only the lists change under them.
        const QSignalBlocker blockList(m_profileList);
        FillProfileList();
        m_profileList->setCurrentRow(std::max({shownRow, wanted, 0}));
        for (const OptionKind kind : AllOptionKinds) {
            QComboBox* comboBox = ComboBox(kind);
            const QSignalBlocker blockComboBox(comboBox);
            QStringList keys;
            for (const OptionEntry& entry : m_model.Options(kind))
                keys.append(entry.key);
            comboBox->clear();
            comboBox->insertItems(0, keys);
            // An entry that went falls back to the profile's own choice.
            const std::optional<OptionEntry>& entry = shown[int(kind)];
            const qsizetype index = entry ? m_model.Options(kind).indexOf(*entry) : -1;
            comboBox->setCurrentIndex(index >= 0      ? int(index)
                                      : shownRow >= 0 ? ChosenIndex(m_profiles[shownRow], kind)
                                                      : -1);
        }
    }
    m_removeResolutionButton->setEnabled(ComboBox(OptionKind::Resolution)->currentIndex() > 0);
    m_removePixelDensityButton->setEnabled(ComboBox(OptionKind::PixelDensity)->currentIndex() > 0);
    RefreshRunningRows();
    // A profile that went shows the first one instead.
    if (shownRow < 0) {
        OnProfileChanged(std::max(wanted, 0));
        return;
    }
    m_removeProfileButton->setEnabled(shownRow != 0);
    RefreshAddUpdateButton();
}
