#include "launcher.h"
#include "qtsingleapplication.h"

int main(int argc, char** argv)
{
    QtSingleApplication app(argc, argv, true);
    if (app.isRunning())
        return app.sendMessage(QString(), 5000) ? 0 : 1;

    MainWindow window(nullptr);
    window.show();
    app.setActivationWindow(&window, true);
    return app.exec();
}
