#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <functional>

class QWidget;

// Answers the modal dialogs a test triggers, in order, and records each one in `seen`: a
// message box as "title|text", an input dialog as "title|label|text it opened with", any other
// dialog as "title|" and its visible labels. A dialog nobody expected is rejected, so it shows
// in `seen` instead of hanging the test.
class ModalAnswerer : public QObject
{
public:
    using Answer = std::function<void(QWidget*)>;

    // Each step is "button" or "typed|button"; the typed text goes into an input dialog, or,
    // split at commas, into another dialog's line edits.
    explicit ModalAnswerer(const QStringList& steps = {});

    void enqueue(const Answer& answer) { m_answers.append(answer); }
    void enqueue(const QString& step);

    // Presses the enabled button with this text (mnemonic ampersands ignored).
    static void PressButton(QWidget* dialog, const QString& text);

    QStringList seen;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QList<Answer> m_answers;
};
