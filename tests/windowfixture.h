// The one way tests and benchmarks reach the main window's members: its controls and model,
// as its own slots see them.
#pragma once

#include "launcher.h"

#include <QComboBox>
#include <QLineEdit>
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
};
