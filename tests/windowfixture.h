// The one way tests and benchmarks reach the main window's members: its controls and model,
// as its own slots see them.
#pragma once

#include "launcher.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QtWidgets/qtestsupport_widgets.h>

class WindowFixture
{
    using View = const MainWindow&;

public:
    static QList<Profile>& Profiles(MainWindow& w) { return w.m_model.profiles; }
    static QList<ConfigSection>& Sections(MainWindow& w) { return w.m_sections; }
    static ConfigModel& Model(MainWindow& w) { return w.m_model; }
    static ProfileQListWidget* ProfileList(View w) { return w.m_profileList; }
    static QLineEdit* Arguments(View w) { return w.m_argumentsEdit; }
    static QPushButton* AddUpdateButton(View w) { return w.m_addUpdateButton; }
    static QPushButton* RemoveProfileButton(View w) { return w.m_removeProfileButton; }
    static QPushButton* RemoveButton(View w, OptionKind kind)
    {
        return kind == OptionKind::Resolution ? w.m_removeResolutionButton
                                              : w.m_removePixelDensityButton;
    }
    static QComboBox* ComboBox(View w, OptionKind kind) { return w.ComboBox(kind); }
    // What the controls show, as the profile the window would store or launch.
    static Profile Controls(View w) { return w.ControlsProfile(); }
    static void Select(MainWindow& w, int row) { w.m_profileList->setCurrentRow(row); }
    // Shortcuts need an active window and the focus on their widget, the list unless given.
    static bool ShowFocused(MainWindow& w, QWidget* on = nullptr)
    {
        on = on ? on : w.m_profileList;
        w.show();
        QApplication::setActiveWindow(&w);
        if (!QTest::qWaitForWindowActive(&w))
            return false;
        on->setFocus();
        return on->hasFocus();
    }

    // Whether the profile list and the combo boxes show what the model holds, and the filter's
    // rule holds: the rows shown are exactly those whose name holds its text, and the current
    // row is a shown one.
    static bool InStep(View w)
    {
        bool same = w.m_profileList->count() == w.m_profiles.size();
        for (int i = 0; same && i < w.m_profiles.size(); ++i)
            same = w.m_profileList->item(i)->text() == w.m_profiles[i].name &&
                   w.m_profileList->isRowHidden(i) !=
                       w.m_profiles[i].name.contains(w.m_filterEdit->text(), Qt::CaseInsensitive);
        for (const OptionKind kind : AllOptionKinds) {
            const QList<OptionEntry>& entries = w.m_sections[SectionIndex(kind)].entries;
            same = same && ComboBox(w, kind)->count() == entries.size();
            for (int i = 0; same && i < entries.size(); ++i)
                same = ComboBox(w, kind)->itemText(i) == entries[i].key;
        }
        return same && !w.m_profileList->isRowHidden(w.m_profileList->currentRow());
    }

    // The command preview and the profile list's menu.
    static QLineEdit* CommandLine(View w) { return w.m_commandEdit; }
    static QMenu* ProfileMenu(View w) { return w.m_profileMenu; }

    // The filter, undo and redo, and the profile list's actions by their text.
    static QLineEdit* Filter(View w) { return w.m_filterEdit; }
    static QAction* Undo(View w) { return w.m_undoAction; }
    static QAction* Redo(View w) { return w.m_redoAction; }
    static QAction* ListAction(View w, const QString& text)
    {
        for (QAction* action : w.m_profileList->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }
};
