// The filter over the profile list: rows whose name lacks the text are hidden, never removed.
#include "launcher.h"

#include <QAction>
#include <QBoxLayout>
#include <QLineEdit>

void MainWindow::BuildFilter(QBoxLayout* into)
{
    m_filterEdit = new QLineEdit;
    m_filterEdit->setPlaceholderText(QStringLiteral("Filter profiles"));
    m_filterEdit->setAccessibleName(QStringLiteral("Filter profiles"));
    m_filterEdit->setClearButtonEnabled(true);
    into->addWidget(m_filterEdit);
    connect(m_filterEdit, &QLineEdit::textChanged, this, [this] { ApplyFilter(); });
    connect(m_filterEdit, &QLineEdit::returnPressed, this, [this] {
        // With nothing shown the current row is a hidden one: nothing to launch.
        const int row = m_profileList->currentRow();
        if (row >= 0 && !m_profileList->isRowHidden(row))
            OnLaunch();
    });

    const auto add = [this](QWidget* on, const QKeySequence& key, Qt::ShortcutContext context,
                            auto handler) {
        auto* action = new QAction(on);
        action->setShortcut(key);
        action->setShortcutContext(context);
        on->addAction(action);
        connect(action, &QAction::triggered, this, handler);
    };
    add(this, QKeySequence(Qt::CTRL | Qt::Key_F), Qt::WindowShortcut, [this] {
        m_filterEdit->setFocus(Qt::ShortcutFocusReason);
        m_filterEdit->selectAll();
    });
    add(m_filterEdit, QKeySequence(Qt::Key_Down), Qt::WidgetShortcut,
        [this] { m_profileList->setFocus(Qt::OtherFocusReason); });
    add(m_filterEdit, QKeySequence(Qt::Key_Escape), Qt::WidgetShortcut,
        [this] { m_filterEdit->clear(); });
}

void MainWindow::ApplyFilter()
{
    const QString text = m_filterEdit->text();
    int firstShown = -1;
    // Thousands of rows change at a keystroke: one repaint for them all, not one a row.
    m_profileList->viewport()->setUpdatesEnabled(false);
    for (int row = 0; row < m_profiles.size(); ++row) {
        // Literal text, whatever it holds; letter case does not count.
        const bool shown = m_profiles[row].name.contains(text, Qt::CaseInsensitive);
        if (m_profileList->isRowHidden(row) == shown)
            m_profileList->setRowHidden(row, !shown);
        if (shown && firstShown < 0)
            firstShown = row;
    }
    // The next paint would otherwise place every row shown again where the old layout had it,
    // thousands of names in one view.
    m_profileList->viewport()->setUpdatesEnabled(true);
    m_profileList->LayOutRowsNow();
    const int current = m_profileList->currentRow();
    if (firstShown >= 0 && (current < 0 || m_profileList->isRowHidden(current)))
        m_profileList->setCurrentRow(firstShown);
}
