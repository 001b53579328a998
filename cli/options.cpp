#include "options.h"

namespace {

// Sets the command once; a second, different one is bad usage.
void SetCommand(Options& options, Command command, bool& chosen)
{
    if (chosen && options.command != command)
        options.error = QStringLiteral("Give only one of --list, --command, --export, --import.");
    options.command = command;
    chosen = true;
}

bool IsValueOption(const QString& argument, const QString& name)
{
    return argument == name || argument.startsWith(name + u'=');
}

// The value of an option given as "--name VALUE" or "--name=VALUE"; false when it has none.
bool TakeValue(const QStringList& arguments, int& i, const QString& name, QString* value)
{
    const QString& argument = arguments[i];
    if (argument.startsWith(name + u'=')) {
        *value = argument.mid(name.size() + 1);
        return true;
    }
    if (i + 1 >= arguments.size())
        return false;
    *value = arguments[++i];
    return true;
}

QString Validate(const Options& options, bool chosen)
{
    const int count = options.words.size();
    if (options.longList && options.command != Command::List)
        return QStringLiteral("--long goes with --list only.");
    if (options.wait && chosen)
        return QStringLiteral("--wait goes with a launch only.");
    switch (options.command) {
    case Command::Launch:
        return count == 0 ? QStringLiteral("No profile name given.") : QString();
    case Command::List:
        return count ? QStringLiteral("--list takes no names.") : QString();
    case Command::ShowCommand:
        return count != 1 ? QStringLiteral("--command takes one profile name.") : QString();
    case Command::Import:
        return count ? QStringLiteral("--import takes one file and no names.") : QString();
    case Command::Export:
    case Command::Help:
    case Command::Version:
        break;
    }
    return QString();
}

} // namespace

Options ParseOptions(const QStringList& arguments)
{
    Options options;
    bool chosen = false;
    bool help = false;
    bool version = false;
    for (int i = 0; i < arguments.size() && options.error.isEmpty(); ++i) {
        const QString& argument = arguments[i];
        // After the first name everything is a word: the emulator's own options start with
        // a dash too.
        if (!options.words.isEmpty() || !argument.startsWith(u'-') || argument == u'-') {
            options.words.append(argument);
        } else if (argument == QLatin1String("--")) {
            options.words += arguments.mid(i + 1);
            break;
        } else if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            help = true;
        } else if (argument == QLatin1String("--version")) {
            version = true;
        } else if (argument == QLatin1String("--list")) {
            SetCommand(options, Command::List, chosen);
        } else if (argument == QLatin1String("--long")) {
            options.longList = true;
        } else if (argument == QLatin1String("--wait")) {
            options.wait = true;
        } else if (argument == QLatin1String("--command")) {
            SetCommand(options, Command::ShowCommand, chosen);
        } else if (argument == QLatin1String("--export")) {
            SetCommand(options, Command::Export, chosen);
        } else if (IsValueOption(argument, QStringLiteral("--import"))) {
            SetCommand(options, Command::Import, chosen);
            if (!TakeValue(arguments, i, QStringLiteral("--import"), &options.importFile))
                options.error = QStringLiteral("--import needs a file.");
        } else if (IsValueOption(argument, QStringLiteral("--file"))) {
            if (!TakeValue(arguments, i, QStringLiteral("--file"), &options.file))
                options.error = QStringLiteral("--file needs a path.");
        } else {
            options.error = QStringLiteral("Unknown option %1.").arg(argument);
        }
    }
    // Help and version answer whatever else was given, as most programs do.
    if (help || version) {
        options.command = help ? Command::Help : Command::Version;
        options.error.clear();
        return options;
    }
    if (options.error.isEmpty())
        options.error = Validate(options, chosen);
    return options;
}

QString UsageText()
{
    return QStringLiteral(
        "Usage: nimbra-mobile-launch [--file PATH] [--wait] NAME [ARG...]\n"
        "       nimbra-mobile-launch [--file PATH] --list [--long]\n"
        "       nimbra-mobile-launch [--file PATH] --command NAME\n"
        "       nimbra-mobile-launch [--file PATH] --export [NAME...]\n"
        "       nimbra-mobile-launch [--file PATH] --import FILE\n"
        "       nimbra-mobile-launch --help | --version\n"
        "\n"
        "Starts the Nimbra Mobile emulator with a profile of the launcher, detached, with the\n"
        "ARGs after the profile's own arguments.\n"
        "\n"
        "  --wait          wait for the emulator and exit with its status\n"
        "  --list          the profile names, one a line; with --long, a tab and the command\n"
        "  --command NAME  the command the launcher's Launch starts for the profile\n"
        "  --export        the named profiles (all when none is named) and the options they\n"
        "                  use, as a Launcher.ini file on standard output\n"
        "  --import FILE   add the profiles and options of FILE to Launcher.ini; the launcher\n"
        "                  must not be running\n"
        "  --file PATH     use PATH instead of the user's Launcher.ini\n"
        "  --              ends the options, for a profile name that starts with a dash\n"
        "\n"
        "Exit status: 0 on success, 1 on an error, 2 on bad usage or an unknown profile;\n"
        "with --wait, the emulator's status.\n");
}
