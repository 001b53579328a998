#include "modalanswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>

ModalAnswerer::ModalAnswerer(QObject* parent) : QObject(parent)
{
    startTimer(5);
}

void ModalAnswerer::enqueue(const Answer& answer)
{
    m_answers.append(answer);
}

void ModalAnswerer::pressButton(const QString& text)
{
    enqueue([text](QWidget* dialog) { PressButton(dialog, text); });
}

void ModalAnswerer::guard()
{
    for (int i = 0; i < 5; ++i) {
        enqueue([](QWidget* dialog) {
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
        });
    }
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
    if (!modal || !modal->isVisible() || m_answers.isEmpty() ||
        modal->property("modalAnswered").toBool())
        return;
    modal->setProperty("modalAnswered", true);
    const auto* box = qobject_cast<QMessageBox*>(modal);
    seen.append(modal->windowTitle() + u'|' + (box ? box->text() : QString()));
    m_answers.takeFirst()(modal);
}
