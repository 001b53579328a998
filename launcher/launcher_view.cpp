// A model shown in the controls after a merge, a recovery or an undo, keeping what the user is
// looking at.
#include "launcher.h"

#include <QComboBox>
#include <QPushButton>
#include <QSignalBlocker>

#include <algorithm>
#include <array>
#include <optional>

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
        // Rows were reused by position: hidden ones are hidden anew.
        ApplyFilter();
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
    // A profile that went, or that the filter now hides, gives way to the row made current.
    const int current = m_profileList->currentRow();
    if (shownRow < 0 || current != shownRow) {
        OnProfileChanged(current);
        return;
    }
    m_removeProfileButton->setEnabled(shownRow != 0);
    RefreshAddUpdateButton();
}
