#include "launcher.h"
#include "qtsingleapplication.h"
#include "quitsignals.h"

int main(int argc, char** argv)
{
    QtSingleApplication app(argc, argv, true);
    if (app.isRunning())
        return app.sendMessage(QString(), 5000) ? 0 : 1;

    MainWindow window(nullptr);
    window.show();
    app.setActivationWindow(&window, true);
    // Logout, kill and Ctrl+C end the loop as a closed window does, so the save at exit runs;
    // a session manager's logout saves at once, as no box may be shown then.
    QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::received, &window, [&] {
        window.SetUnattended();
        app.quit();
    });
    QObject::connect(&app, &QGuiApplication::commitDataRequest, &window, &MainWindow::CommitData);
    return app.exec();
}
