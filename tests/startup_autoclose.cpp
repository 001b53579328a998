// Linked into a test build of the launcher's entry point: plays the user from outside the
// launcher's code. It reports and confirms every message box, and closes the main window a
// moment after it is shown, so the event loop ends the normal way. Reports go to stderr,
// one line each, for the test that runs this program.
#include "filelocations.h"

#include <QApplication>
#include <QFile>
#include <QMainWindow>
#include <QMessageBox>
#include <QTimer>

#include <cstdio>

namespace {

void Report(const QStringList& fields)
{
    std::fprintf(stderr, "%s\n", qPrintable(fields.join(u'|')));
}

void Poll()
{
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        // Answered boxes hide at once.
        if (box->isVisible()) {
            Report({"box", box->windowTitle(), box->text(), box->informativeText(),
                    QString::number(box->icon()), QString::number(box->standardButtons()),
                    box->parentWidget() ? "parent" : "no parent"});
            box->done(QMessageBox::Ok);
        }
        return;
    }
    // A few polls after it is shown, as a user's click would come after the window is drawn.
    static int polls = 0;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* window = qobject_cast<QMainWindow*>(widget);
        if (window && window->isVisible() && ++polls > 5) {
            window->close();
            // The loop has not ended yet: saving must wait for the window's destruction.
            Report({"closed", window->windowTitle(),
                    QFile::exists(GetFileName(UserConfigFile)) ? "file exists" : "no file"});
        }
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
