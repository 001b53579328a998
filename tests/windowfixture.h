// The one way tests and benchmarks reach the main window's members: its controls and model,
// as its own slots see them.
#pragma once

#include "launcher.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

class WindowFixture
{
public:
    static QList<Profile>& Profiles(MainWindow& window) { return window.m_profiles; }
    static QList<ConfigSection>& Sections(MainWindow& window) { return window.m_sections; }
    static ProfileQListWidget* ProfileList(const MainWindow& window)
    {
        return window.m_profileList;
    }
    static QLineEdit* Arguments(const MainWindow& window) { return window.m_argumentsEdit; }
    static QPushButton* AddUpdateButton(const MainWindow& window)
    {
        return window.m_addUpdateButton;
    }
    static QPushButton* RemoveProfileButton(const MainWindow& window)
    {
        return window.m_removeProfileButton;
    }
    static QPushButton* RemoveButton(const MainWindow& window, OptionKind kind)
    {
        return kind == OptionKind::Resolution ? window.m_removeResolutionButton
                                              : window.m_removePixelDensityButton;
    }
    static QComboBox* ComboBox(const MainWindow& window, OptionKind kind)
    {
        return window.ComboBox(kind);
    }
    // What the controls show, as the profile the window would store or launch.
    static Profile Controls(const MainWindow& window) { return window.ControlsProfile(); }
    static void Select(MainWindow& window, int row) { window.m_profileList->setCurrentRow(row); }
    // As when no single-instance lock guards the user's file; takes effect at the next load.
    static void WatchUserFile(MainWindow& window) { window.m_watchUserFile = true; }
    // Sets the option rows and the arguments field as profile has them; its name is ignored.
    static void SetControls(MainWindow& window, const Profile& profile)
    {
        for (const OptionKind kind : AllOptionKinds)
            ComboBox(window, kind)->setCurrentIndex(ChosenIndex(profile, kind));
        window.m_argumentsEdit->setText(profile.arguments);
    }

    // The texts the profile list and a combo box show, and what the model says they should.
    static QStringList Rows(const MainWindow& window)
    {
        QStringList rows;
        for (int i = 0; i < window.m_profileList->count(); ++i)
            rows.append(window.m_profileList->item(i)->text());
        return rows;
    }
    static QStringList Items(const MainWindow& window, OptionKind kind)
    {
        QStringList items;
        for (int i = 0; i < ComboBox(window, kind)->count(); ++i)
            items.append(ComboBox(window, kind)->itemText(i));
        return items;
    }
    static QStringList Names(const QList<Profile>& profiles)
    {
        QStringList names;
        for (const Profile& profile : profiles)
            names.append(profile.name);
        return names;
    }
    static QStringList Keys(const ConfigSection& section)
    {
        QStringList keys;
        for (const OptionEntry& entry : section.entries)
            keys.append(entry.key);
        return keys;
    }

    // The command preview and the profile list's menu.
    static QLineEdit* CommandLine(const MainWindow& window) { return window.m_commandEdit; }
    static QMenu* ProfileMenu(const MainWindow& window) { return window.m_profileMenu; }
};
