#include "modalanswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>

ModalAnswerer::ModalAnswerer(const QStringList& steps)
{
    for (const QString& step : steps)
        enqueue(step);
    startTimer(5);
}

void ModalAnswerer::enqueue(const QString& step)
{
    enqueue([step](QWidget* dialog) {
        const QString typed = step.section(u'|', 0, -2);
        if (auto* input = qobject_cast<QInputDialog*>(dialog))
            input->setTextValue(typed);
        else if (!typed.isEmpty()) {
            const QStringList parts = typed.split(u',');
            const QList<QLineEdit*> edits = dialog->findChildren<QLineEdit*>();
            for (int i = 0; i < edits.size(); ++i)
                edits[i]->setText(parts.value(i));
        }
        PressButton(dialog, step.section(u'|', -1));
    });
}

void ModalAnswerer::PressButton(QWidget* dialog, const QString& text)
{
    for (QAbstractButton* button : dialog->findChildren<QAbstractButton*>()) {
        if (button->text().remove(u'&') == text && button->isEnabled()) {
            button->click();
            return;
        }
    }
    qWarning("ModalAnswerer: no enabled button \"%s\"; rejecting", qPrintable(text));
    QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
}

void ModalAnswerer::timerEvent(QTimerEvent*)
{
    QWidget* modal = QApplication::activeModalWidget();
    // Marked rather than remembered by address: a new dialog may reuse an old one's.
    if (!modal || !modal->isVisible() || modal->property("modalAnswered").toBool())
        return;
    modal->setProperty("modalAnswered", true);
    QString text;
    if (const auto* box = qobject_cast<QMessageBox*>(modal))
        text = box->text();
    else if (const auto* input = qobject_cast<QInputDialog*>(modal))
        text = input->labelText() + u'|' + input->textValue();
    else {
        QStringList labels;
        for (const QLabel* label : modal->findChildren<QLabel*>(Qt::FindDirectChildrenOnly)) {
            if (label->isVisibleTo(modal))
                labels.append(label->text());
        }
        text = labels.join(u'|');
    }
    seen.append(modal->windowTitle() + u'|' + text);
    if (m_answers.isEmpty())
        QMetaObject::invokeMethod(modal, "reject", Qt::QueuedConnection);
    else
        m_answers.takeFirst()(modal);
}
