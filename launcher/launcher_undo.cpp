// Undo and redo of every committed edit. Each step keeps the model before and after it; undoing
// merges "after back to before" into the model as it is now, so an undo after the file was
// merged with someone else's change takes back only the window's own edit.
#include "launcher.h"
#include "threewaymerge.h"

#include <QAction>
#include <QUndoStack>

#include <functional>

namespace {

class EditStep : public QUndoCommand
{
public:
    using Apply = std::function<void(const ConfigModel& from, const ConfigModel& to, int row)>;

    EditStep(const QString& text, ConfigModel before, int rowBefore, ConfigModel after,
             int rowAfter, Apply apply)
        : QUndoCommand(text), m_before(std::move(before)), m_after(std::move(after)),
          m_rowBefore(rowBefore), m_rowAfter(rowAfter), m_apply(std::move(apply))
    {
    }

    void undo() override { m_apply(m_after, m_before, m_rowBefore); }

    void redo() override
    {
        // Pushed once the edit is done: the first redo has nothing left to do.
        if (m_done)
            m_apply(m_before, m_after, m_rowAfter);
        m_done = true;
    }

private:
    const ConfigModel m_before;
    const ConfigModel m_after;
    const int m_rowBefore;
    const int m_rowAfter;
    const Apply m_apply;
    bool m_done = false;
};

} // namespace

void MainWindow::BuildUndo()
{
    m_undoStack = new QUndoStack(this);
    m_undoAction = m_undoStack->createUndoAction(this, QStringLiteral("Undo"));
    m_undoAction->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Z)});
    m_redoAction = m_undoStack->createRedoAction(this, QStringLiteral("Redo"));
    m_redoAction->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    // Anywhere in the window; a line edit keeps these keys for its own typing.
    addActions({m_undoAction, m_redoAction});
}

MainWindow::EditStart MainWindow::BeginEdit() const
{
    return {m_model, m_profileList->currentRow()};
}

void MainWindow::EditCommitted(const QString& what, const EditStart& before)
{
    m_undoStack->push(new EditStep(what, before.model, before.row, m_model,
                                   m_profileList->currentRow(),
                                   [this](const ConfigModel& from, const ConfigModel& to, int row) {
                                       ApplyEditStep(from, to, row);
                                   }));
    // Every edit ends here, the row it touched recorded: the filter now holds for its rows too.
    ApplyFilter();
    ModelChanged();
}

void MainWindow::ApplyEditStep(const ConfigModel& from, const ConfigModel& to, int row)
{
    ShowModel(MergeThreeWay(from, to, m_model), row);
    ModelChanged();
}
