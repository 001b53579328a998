#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <functional>

class QWidget;

// Answers the modal dialogs a test triggers: each modal widget that becomes active is
// recorded ("title|text") and handed to the next queued answer.
class ModalAnswerer : public QObject
{
public:
    using Answer = std::function<void(QWidget*)>;

    explicit ModalAnswerer(QObject* parent = nullptr);

    void enqueue(const Answer& answer);
    // Presses the enabled button with this text (mnemonic ampersands ignored).
    void pressButton(const QString& text);
    // Types text into the dialog's first line edit, then presses the button.
    void typeAndPress(const QString& text, const QString& button);

    static void PressButton(QWidget* dialog, const QString& text);

    int pending() const { return int(m_answers.size()); }
    QStringList seen;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QList<Answer> m_answers;
};
