#include "launcher.h"
#include "qtsingleapplication.h"
#include "quitsignals.h"

#include <memory>

int main(int argc, char** argv)
{
    QtSingleApplication app(argc, argv, true);
    if (app.isRunning())
        return app.sendMessage(QString(), 5000) ? 0 : 1;

    // Logout, kill and Ctrl+C end the loop as a closed window does, so the save at exit runs;
    // a session manager's logout saves at once, as no box may be shown then. The handlers come
    // before the window and go only after it: a signal while it is made quits as soon as it
    // is, and one during the save at exit is absorbed (or, while a box asks about a failed
    // save, makes it unattended) instead of ending the process halfway.
    QuitSignals quitSignals;
    MainWindow* window = nullptr;
    bool quit = false;
    QObject::connect(&quitSignals, &QuitSignals::received, &app, [&window, &quit, &app] {
        quit = true;
        if (window)
            window->SetUnattended();
        app.quit();
    });
    auto owned = std::make_unique<MainWindow>(nullptr);
    window = owned.get();
    if (quit)
        window->SetUnattended();
    window->show();
    app.setActivationWindow(window, true);
    QObject::connect(&app, &QGuiApplication::commitDataRequest, window, &MainWindow::CommitData);
    const int status = quit ? 0 : app.exec();
    owned.reset();
    window = nullptr;
    return status;
}
