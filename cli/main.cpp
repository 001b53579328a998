// nimbra-mobile-launch: lists, shows, starts, exports and imports the launcher's profiles.
#include "commands.h"

#include <QCoreApplication>

namespace {

// The file lookups trace every path at debug level; output here must be the result alone.
void QuietDebug(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        PrintError(message + u'\n');
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(QuietDebug);
    QCoreApplication app(argc, argv);
    const Options options = ParseOptions(app.arguments().mid(1));
    if (!options.error.isEmpty()) {
        PrintError(options.error + u'\n' + UsageText());
        return ExitStatus::BadUsage;
    }
    switch (options.command) {
    case Command::Help:
        Print(UsageText());
        return ExitStatus::Ok;
    case Command::Version:
        Print(QStringLiteral("nimbra-mobile-launch " LAUNCHER_VERSION "\n"));
        return ExitStatus::Ok;
    case Command::List:
        return ListProfiles(options);
    case Command::ShowCommand:
        return ShowCommand(options);
    case Command::Export:
        return ExportProfiles(options);
    case Command::Import:
        return ImportProfiles(options);
    case Command::Launch:
        break;
    }
    return LaunchProfile(options);
}
