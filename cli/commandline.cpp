#include "commandline.h"

#include <QCommandLineParser>

#include <array>

namespace {

struct Parser
{
    QCommandLineParser parser;
    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}};
    const QCommandLineOption version{QStringLiteral("version")};
    const QCommandLineOption list{QStringLiteral("list")};
    const QCommandLineOption longList{QStringLiteral("long")};
    const QCommandLineOption wait{QStringLiteral("wait")};
    const QCommandLineOption command{QStringLiteral("command")};
    const QCommandLineOption exportProfiles{QStringLiteral("export")};
    const QCommandLineOption import{QStringLiteral("import"), QString(), QStringLiteral("FILE")};
    const QCommandLineOption file{QStringLiteral("file"), QString(), QStringLiteral("PATH")};
    const QCommandLineOption running{QStringLiteral("running")};
    const QCommandLineOption stop{QStringLiteral("stop")};
    const QCommandLineOption stopAll{QStringLiteral("stop-all")};
    const QCommandLineOption json{QStringLiteral("json")};
    const QList<QCommandLineOption> all = {help,    version,        list,   longList, wait,
                                           command, exportProfiles, import, file,     running,
                                           stop,    stopAll,        json};

    Parser()
    {
        // NAME [ARG...]: the first word ends the options.
        parser.setOptionsAfterPositionalArgumentsMode(
            QCommandLineParser::ParseAsPositionalArguments);
        parser.addOptions(all);
    }

    // Whether argument, before the first word, is one the parser takes: "--name" of a long
    // option, "--name=VALUE" of one with a value, or "-h".
    bool Takes(const QString& argument) const
    {
        if (!argument.startsWith(QLatin1String("--")))
            return argument == QLatin1String("-h");
        const QString name = argument.mid(2).section(u'=', 0, 0);
        for (const QCommandLineOption& option : all) {
            if (name.size() > 1 && option.names().contains(name))
                return !argument.contains(u'=') || !option.valueName().isEmpty();
        }
        return false;
    }
};

bool IsWord(const QString& argument)
{
    return !argument.startsWith(u'-') || argument == u'-' || argument == QLatin1String("--");
}

// The first argument refused: one the parser can't take (it is laxer than our forms, taking
// "--h" and "-hh"), else a value option at the end that lacks its value; arguments.size() for
// none. Only options before it count.
qsizetype RefusedAt(const Parser& p, const QStringList& arguments, bool parsed)
{
    for (qsizetype i = 0; i < arguments.size() && !IsWord(arguments[i]); ++i) {
        if (!p.Takes(arguments[i]))
            return i;
    }
    return parsed ? arguments.size() : arguments.size() - 1;
}

// Our own words for the refused argument.
QString UsageError(const Parser& p, const QString& refused)
{
    if (!p.Takes(refused))
        return QStringLiteral("Unknown option %1.").arg(refused);
    return p.import.names().contains(refused.mid(2)) ? QStringLiteral("--import needs a file.")
                                                     : QStringLiteral("--file needs a path.");
}

// The one command given; more than one is bad usage.
Command ChosenCommand(const Parser& p, QString* error)
{
    const std::array<std::pair<const QCommandLineOption*, Command>, 7> commands = {
        {{&p.list, Command::List},
         {&p.command, Command::ShowCommand},
         {&p.exportProfiles, Command::Export},
         {&p.import, Command::Import},
         {&p.running, Command::Running},
         {&p.stop, Command::Stop},
         {&p.stopAll, Command::StopAll}}};
    Command chosen = Command::Launch;
    int count = 0;
    for (const auto& [option, command] : commands) {
        if (p.parser.isSet(*option)) {
            chosen = command;
            ++count;
        }
    }
    if (count > 1)
        *error = QStringLiteral("Give only one of --list, --command, --export, --import, "
                                "--running, --stop, --stop-all.");
    return chosen;
}

QString Validate(const Options& options, bool chosen)
{
    const qsizetype count = options.words.size();
    if (options.longList && options.command != Command::List)
        return QStringLiteral("--long goes with --list only.");
    if (options.wait && chosen)
        return QStringLiteral("--wait goes with a launch only.");
    if (options.json && options.command != Command::List && options.command != Command::Running)
        return QStringLiteral("--json goes with --list and --running only.");
    switch (options.command) {
    case Command::Launch:
        return count == 0 ? QStringLiteral("No profile name given.") : QString();
    case Command::List:
        return count ? QStringLiteral("--list takes no names.") : QString();
    case Command::ShowCommand:
        return count != 1 ? QStringLiteral("--command takes one profile name.") : QString();
    case Command::Import:
        return count ? QStringLiteral("--import takes one file and no names.") : QString();
    case Command::Running:
    case Command::StopAll:
        return count ? QStringLiteral("--running and --stop-all take no names.") : QString();
    case Command::Stop:
        return count != 1 ? QStringLiteral("--stop takes one profile name.") : QString();
    case Command::Export:
    case Command::Help:
    case Command::Version:
        break;
    }
    return QString();
}

} // namespace

Options ParseCommandLine(const QStringList& arguments)
{
    Parser p;
    const bool parsed =
        p.parser.parse(QStringList{QStringLiteral("nimbra-mobile-launch")} + arguments);
    const qsizetype refused = RefusedAt(p, arguments, parsed);
    Options options;
    // Help and version answer whatever else was given, as most programs do, unless an
    // argument before them was refused.
    const auto given = [&](const QCommandLineOption& option) {
        for (qsizetype i = 0; i < refused && p.parser.isSet(option); ++i) {
            const QString& argument = arguments[i];
            if (p.Takes(argument) &&
                option.names().contains(argument.mid(argument.size() > 2 ? 2 : 1)))
                return true;
        }
        return false;
    };
    if (given(p.help) || given(p.version)) {
        options.command = given(p.help) ? Command::Help : Command::Version;
        return options;
    }
    if (refused < arguments.size()) {
        options.error = UsageError(p, arguments[refused]);
        return options;
    }
    options.command = ChosenCommand(p, &options.error);
    if (!options.error.isEmpty())
        return options;
    options.longList = p.parser.isSet(p.longList);
    options.wait = p.parser.isSet(p.wait);
    options.json = p.parser.isSet(p.json);
    options.file = p.parser.value(p.file);
    options.importFile = p.parser.value(p.import);
    options.words = p.parser.positionalArguments();
    options.error = Validate(options, options.command != Command::Launch);
    return options;
}

QString UsageText()
{
    return QStringLiteral(
        "Usage: nimbra-mobile-launch [--file PATH] [--wait] NAME [ARG...]\n"
        "       nimbra-mobile-launch [--file PATH] --list [--long] [--json]\n"
        "       nimbra-mobile-launch [--file PATH] --command NAME\n"
        "       nimbra-mobile-launch [--file PATH] --export [NAME...]\n"
        "       nimbra-mobile-launch [--file PATH] --import FILE\n"
        "       nimbra-mobile-launch --running [--json]\n"
        "       nimbra-mobile-launch [--file PATH] --stop NAME\n"
        "       nimbra-mobile-launch --stop-all\n"
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
        "  --import FILE   add the profiles and options of FILE to Launcher.ini\n"
        "  --running       the running emulators, one a line: name, process id, start\n"
        "                  time and log file, separated by tabs\n"
        "  --stop NAME     end the profile's running emulators, by force after 5 seconds\n"
        "  --stop-all      end every running emulator\n"
        "  --json          with --list or --running: one JSON object instead of lines\n"
        "  --file PATH     use PATH instead of the user's Launcher.ini\n"
        "  --              ends the options, for a profile name that starts with a dash\n"
        "\n"
        "Exit status: 0 on success, 1 on an error or when --stop finds nothing running,\n"
        "2 on bad usage or an unknown profile, 127 when the emulator cannot be started;\n"
        "with --wait, the emulator's status.\n");
}
