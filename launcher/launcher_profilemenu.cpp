// The command preview and the profile list's menu: duplicate, rename, move, copy the command
// and launch without leaving the list.
#include "desktopentry.h"
#include "filelocations.h"
#include "launchcommand.h"
#include "launcher.h"

#include <QAction>
#include <QClipboard>
#include <QFileInfo>
#include <QFormLayout>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QSignalBlocker>

#include <algorithm>

QString MainWindow::NameFaultText(NameFault fault)
{
    switch (fault) {
    case NameFault::Empty:
        return QStringLiteral("A profile name can't be empty. Please choose another name.");
    case NameFault::Quote:
        return QStringLiteral(
            "A profile name can't contain a double quote (\"). Please choose another name.");
    case NameFault::Unreadable:
        return QStringLiteral("Launcher.ini can't keep this name as typed. Please choose "
                              "another name.");
    case NameFault::Taken:
        return QStringLiteral("Another profile already has this name. Please choose another "
                              "name.");
    case NameFault::None:
        break;
    }
    return QString();
}

QLayout* MainWindow::BuildCommandRow()
{
    m_commandEdit = new QLineEdit;
    m_commandEdit->setReadOnly(true);
    m_commandEdit->setAccessibleName(QStringLiteral("Command line"));
    // Kept out of the Tab chain, which stays as it was; from the keyboard the list's "Copy
    // Command Line" gives the same text.
    m_commandEdit->setFocusPolicy(Qt::ClickFocus);
    // A row of its own under the profile group, so the group's form keeps its rows.
    auto* row = new QFormLayout;
    row->addRow(QStringLiteral("Command"), m_commandEdit);
    return row;
}

void MainWindow::BuildProfileActions()
{
    const auto add = [this](const QString& text, const QList<QKeySequence>& keys, auto handler) {
        auto* action = new QAction(text, m_profileList);
        action->setShortcuts(keys);
        // Only while the list has the focus: elsewhere these keys keep their usual meaning.
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        m_profileList->addAction(action);
        connect(action, &QAction::triggered, this, handler);
        return action;
    };
    m_duplicateAction = add(QStringLiteral("Duplicate"), {QKeySequence(Qt::CTRL | Qt::Key_D)},
                            &MainWindow::DuplicateCurrentProfile);
    m_renameAction = add(QStringLiteral("Rename\u2026"), {QKeySequence(Qt::Key_F2)},
                         &MainWindow::RenameCurrentProfile);
    m_copyCommandAction =
        add(QStringLiteral("Copy Command Line"), {}, &MainWindow::CopyCommandLine);
    m_moveUpAction = add(QStringLiteral("Move Up"), {QKeySequence(Qt::ALT | Qt::Key_Up)},
                         [this] { MoveCurrentProfile(-1); });
    m_moveDownAction = add(QStringLiteral("Move Down"), {QKeySequence(Qt::ALT | Qt::Key_Down)},
                           [this] { MoveCurrentProfile(1); });
    m_launchAction =
        add(QStringLiteral("Launch"), {QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)},
            &MainWindow::OnLaunch);
    m_launchWithArgumentsAction = add(QStringLiteral("Launch with Arguments\u2026"),
                                      {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Return),
                                       QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Enter)},
                                      &MainWindow::LaunchWithArguments);
    m_addMenuEntryAction =
        add(QStringLiteral("Add to Applications Menu"), {}, &MainWindow::AddToApplicationsMenu);
    m_removeMenuEntryAction = add(QStringLiteral("Remove from Applications Menu"), {},
                                  &MainWindow::RemoveFromApplicationsMenu);
    BuildRunningActions();

    m_profileList->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_profileList, &QWidget::customContextMenuRequested, this,
            &MainWindow::ShowProfileMenu);
    connect(m_profileList, &QListWidget::itemDoubleClicked, this, &MainWindow::LaunchItem);
}

QString MainWindow::PreviewCommand() const
{
    // Launch's own command; the path is looked up untraced, since only a launch acts on it.
    return BuildLaunchCommand(ResolveFileName(EmulatorFile), m_sections, ControlsProfile()).command;
}

void MainWindow::RefreshCommandPreview()
{
    const QString command = PreviewCommand();
    // Unchanged text keeps a selection the user is about to copy.
    if (command == m_commandEdit->text())
        return;
    m_commandEdit->setText(command);
    m_commandEdit->setToolTip(command);
}

void MainWindow::RefreshProfileActions()
{
    const int row = m_profileList->currentRow();
    const bool any = row >= 0 && row < m_profiles.size();
    for (QAction* action : {m_duplicateAction, m_renameAction, m_copyCommandAction, m_launchAction,
                            m_launchWithArgumentsAction})
        action->setEnabled(any);
    m_moveUpAction->setEnabled(MoveTarget(m_profiles, row, -1) >= 0);
    m_moveDownAction->setEnabled(MoveTarget(m_profiles, row, 1) >= 0);
    RefreshStopAction();
}

void MainWindow::ShowProfileMenu(const QPoint& pos)
{
    // The actions work on the current row: a right click on a row makes it current first.
    if (QListWidgetItem* item = m_profileList->itemAt(pos))
        m_profileList->setCurrentItem(item);
    if (!m_profileMenu) {
        // Built at first use: start-up pays only for the actions, which the shortcuts need.
        m_profileMenu = new QMenu(m_profileList);
        m_profileMenu->addActions({m_duplicateAction, m_renameAction, m_copyCommandAction});
        m_profileMenu->addSeparator();
        m_profileMenu->addActions({m_moveUpAction, m_moveDownAction});
        m_profileMenu->addSeparator();
        m_profileMenu->addActions(
            {m_launchAction, m_launchWithArgumentsAction, m_stopAction, m_showLogAction});
        m_profileMenu->addSeparator();
        m_profileMenu->addActions({m_undoAction, m_redoAction});
        if (DesktopEntry::Supported) {
            m_profileMenu->addSeparator();
            m_profileMenu->addActions({m_addMenuEntryAction, m_removeMenuEntryAction});
        }
    }
    // Looked at when the menu opens, not at every change of the controls.
    const int row = m_profileList->currentRow();
    const bool hasEntry = row >= 0 && row < m_profiles.size() &&
                          QFileInfo::exists(DesktopEntry::ApplicationsFolder() + u'/' +
                                            DesktopEntry::FileName(m_profiles[row].name));
    m_addMenuEntryAction->setEnabled(row >= 0 && !hasEntry);
    m_removeMenuEntryAction->setEnabled(hasEntry);
    RefreshLogAction();
    m_profileMenu->popup(m_profileList->viewport()->mapToGlobal(pos));
}

void MainWindow::LaunchWithArguments()
{
    bool ok = false;
    // Offered again: a one-off is often repeated.
    const QString typed = QInputDialog::getText(this, QStringLiteral("Launch with Arguments"),
                                                QStringLiteral("Arguments for this launch only:"),
                                                QLineEdit::Normal, m_oneOffArguments, &ok);
    if (!ok)
        return;
    m_oneOffArguments = typed;
    // Split on their own, as the companion's extra arguments come: a quote the profile's
    // arguments leave open does not swallow them. Nothing is stored.
    Launch(ControlsProfile(), SplitArguments(typed));
}

void MainWindow::DuplicateCurrentProfile()
{
    const EditStart before = BeginEdit();
    const int copy = ::DuplicateProfile(m_model.profiles, m_profileList->currentRow());
    m_profileList->insertItem(copy, m_profiles[copy].name);
    m_profileList->setCurrentRow(copy);
    EditCommitted(QStringLiteral("Duplicate Profile"), before);
}

void MainWindow::RenameCurrentProfile()
{
    const int row = m_profileList->currentRow();
    const QString title = QStringLiteral("Rename Profile");
    QString name = m_profiles[row].name;
    for (;;) {
        bool ok = false;
        // Asked again with the refused name, so that a typo is fixed rather than retyped.
        name =
            QInputDialog::getText(this, title, QStringLiteral("Enter the new name for the profile"),
                                  QLineEdit::Normal, name, &ok);
        if (!ok)
            return;
        const NameFault fault = RenameFault(m_profiles, row, name);
        if (fault == NameFault::None)
            break;
        QMessageBox::warning(this, title, NameFaultText(fault));
    }
    const EditStart before = BeginEdit();
    const QString oldName = m_profiles[row].name;
    m_model.profiles[row].name = name;
    m_profileList->item(row)->setText(name);
    // The name is part of the command the preview shows.
    RefreshAddUpdateButton();
    EditCommitted(QStringLiteral("Rename Profile"), before);
    FollowMenuEntry(oldName, name);
}

void MainWindow::CopyCommandLine()
{
    QGuiApplication::clipboard()->setText(PreviewCommand());
}

void MainWindow::MoveCurrentProfile(int delta)
{
    const EditStart before = BeginEdit();
    const int row = m_profileList->currentRow();
    const int target = ::MoveProfile(m_model.profiles, row, delta);
    if (target < 0)
        return;
    for (int i = std::min(row, target); i <= std::max(row, target); ++i)
        m_profileList->item(i)->setText(m_profiles[i].name);
    {
        // Only the row moves: the controls keep what they show, unsaved changes included.
        const QSignalBlocker blocker(m_profileList);
        m_profileList->setCurrentRow(target);
    }
    RefreshAddUpdateButton();
    EditCommitted(QStringLiteral("Move Profile"), before);
}

void MainWindow::LaunchItem(QListWidgetItem* item)
{
    m_profileList->setCurrentItem(item);
    OnLaunch();
}
