// Linked into a test build of the launcher's entry point: plays a user who makes one edit and
// answers the boxes, so tests can end the launcher every way it can end. Once the window is
// up it duplicates the second profile (unless NIMBRA_TEST_EDIT=0) and says "edited" on
// stderr; it reports each message box as "box|title|text" and presses the button that
// NIMBRA_TEST_ANSWER names (else the first); with NIMBRA_TEST_CLOSE=1 it then closes the
// window.
#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QListWidget>
#include <QMainWindow>
#include <QMessageBox>
#include <QTimer>

#include <cstdio>

namespace {

void Report(const QString& line)
{
    std::fprintf(stderr, "%s\n", qPrintable(line));
    std::fflush(stderr);
}

bool AnswerBox()
{
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box || !box->isVisible() || box->property("answered").toBool())
        return box != nullptr;
    box->setProperty("answered", true);
    Report(QStringLiteral("box|%1|%2").arg(box->windowTitle(), box->text()));
    const QString answer = qEnvironmentVariable("NIMBRA_TEST_ANSWER");
    for (QAbstractButton* button : box->buttons()) {
        if (answer.isEmpty() || button->text() == answer) {
            button->click();
            return true;
        }
    }
    box->reject();
    return true;
}

void Poll()
{
    static bool done = false;
    if (AnswerBox() || done)
        return;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* window = qobject_cast<QMainWindow*>(widget);
        auto* list = window ? window->findChild<QListWidget*>() : nullptr;
        if (!list || !window->isVisible())
            continue;
        done = true;
        if (qEnvironmentVariable("NIMBRA_TEST_EDIT") != QLatin1String("0")) {
            list->setCurrentRow(1);
            for (QAction* action : list->actions()) {
                if (action->text() == QLatin1String("Duplicate"))
                    action->trigger();
            }
            Report(QStringLiteral("edited"));
        }
        // Queued behind any box the start brings, so it is answered first.
        if (qEnvironmentVariable("NIMBRA_TEST_CLOSE") == QLatin1String("1"))
            QTimer::singleShot(500, window, &QWidget::close);
        return;
    }
}

void InstallPoller()
{
    auto* timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, &Poll);
    timer->start(20);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(InstallPoller)
