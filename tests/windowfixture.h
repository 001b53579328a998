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

    // Whether the profile list and the combo boxes show what the model holds.
    static bool InStep(const MainWindow& window)
    {
        bool same = window.m_profileList->count() == window.m_profiles.size();
        for (int i = 0; same && i < window.m_profiles.size(); ++i)
            same = window.m_profileList->item(i)->text() == window.m_profiles[i].name;
        for (const OptionKind kind : AllOptionKinds) {
            const QList<OptionEntry>& entries = window.m_sections[SectionIndex(kind)].entries;
            same = same && ComboBox(window, kind)->count() == entries.size();
            for (int i = 0; same && i < entries.size(); ++i)
                same = ComboBox(window, kind)->itemText(i) == entries[i].key;
        }
        return same;
    }
    static QStringList Names(const QList<Profile>& profiles)
    {
        QStringList names;
        for (const Profile& profile : profiles)
            names.append(profile.name);
        return names;
    }

    // The command preview and the profile list's menu.
    static QLineEdit* CommandLine(const MainWindow& window) { return window.m_commandEdit; }
    static QMenu* ProfileMenu(const MainWindow& window) { return window.m_profileMenu; }
};
