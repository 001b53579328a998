// nimbra-mobile-launch: lists, shows, starts, exports and imports the launcher's profiles.
#include "commands.h"

#include <QCoreApplication>

#include <cstdio>

namespace {

void Write(std::FILE* stream, QByteArrayView bytes)
{
    // An empty view may hold no pointer at all, which fwrite must not be given.
    if (!bytes.isEmpty())
        std::fwrite(bytes.data(), 1, size_t(bytes.size()), stream);
}

// The file lookups trace every path at debug level; output here must be the result alone.
void QuietDebug(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        Write(stderr, (message + u'\n').toUtf8());
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(QuietDebug);
    QCoreApplication app(argc, argv);
    const Console console{[](QByteArrayView bytes) { Write(stdout, bytes); },
                          [](QByteArrayView bytes) { Write(stderr, bytes); }};
    return RunCompanion(app.arguments().mid(1), console);
}
