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
    // Queued after the expected answers: rejects the next few dialogs, so one nobody
    // expected is closed instead of hanging the test, and `seen` shows it.
    void guard();

    static void PressButton(QWidget* dialog, const QString& text);

    QStringList seen;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QList<Answer> m_answers;
};
