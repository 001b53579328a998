// A stand-in for the launcher's start-up that reports its role on stdout, so tests can drive
// the single-instance class with real processes. Usage: singleinstance_helper [message]
#include "filelocations.h"
#include "qtsingleapplication.h"

#include <cstdio>

int main(int argc, char** argv)
{
    // The tests read each line as it comes, through a pipe.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    SetApplicationDirForTesting(QStringLiteral(LAUNCHER_MACOS_DIR));
    QtSingleApplication app(argc, argv, true);
    if (app.isRunning()) {
        // Tells the tests that the role is decided before the message goes out.
        std::puts("secondary");
        const QString message =
            argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("hello");
        return app.sendMessage(message, 5000) ? 0 : 1;
    }
    // Printed only once the instance is claimed and listening: without a window it listens as
    // soon as its event loop runs, before this.
    QMetaObject::invokeMethod(
        &app, [] { std::puts("primary"); }, Qt::QueuedConnection);
    QObject::connect(&app, &QtSingleApplication::messageReceived, &app,
                     [&app](const QString& text) {
                         std::puts(qPrintable(QStringLiteral("message:") + text));
                         if (text == QLatin1String("quit"))
                             app.quit();
                     });
    return app.exec();
}
