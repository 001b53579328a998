// A stand-in for the launcher's start-up that reports its role on stdout, so tests can drive
// the single-instance class with real processes. Usage: singleinstance_helper [message]
#include "qtsingleapplication.h"

#include <cstdio>

static void Print(const QString& line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

int main(int argc, char** argv)
{
    QtSingleApplication app(argc, argv, true);
    const QString message = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("hello");
    if (app.isRunning()) {
        // Tells the tests that the role is decided before the message goes out.
        Print(QStringLiteral("secondary"));
        const bool confirmed = app.sendMessage(message, 5000);
        Print(confirmed ? QStringLiteral("secondary ok") : QStringLiteral("secondary failed"));
        return confirmed ? 0 : 1;
    }

    // Printed only once the instance is claimed and listening.
    Print(QStringLiteral("primary"));
    QObject::connect(&app, &QtSingleApplication::messageReceived, &app,
                     [&app](const QString& text) {
                         Print(QStringLiteral("message:") + text);
                         if (text == QLatin1String("quit"))
                             app.quit();
                     });
    return app.exec();
}
