#include "commands.h"

#include "fileformat.h"
#include "filelocations.h"
#include "launchcommand.h"
#include "loading.h"
#include "profiletransfer.h"
#include "supervisedlaunch.h"

#include <QFileInfo>
#include <QProcess>

namespace {

LaunchCommand CommandFor(const ConfigModel& model, int row)
{
    return BuildLaunchCommand(GetFileName(EmulatorFile), model.sections, model.profiles[row]);
}

// The profile names of path in file order, as the model would give them, without building it.
// False where the model's fallbacks apply: the file does not load as it stands or names none.
bool StreamProfileNames(const QString& path, QByteArray& names)
{
    bool named = false;
    qint32 version = 0;
    // Rarely more than the file holds; growing copies would touch fresh memory again.
    names.reserve(QFileInfo(path).size());
    const auto sink = [&](int section, OptionEntry&& entry) {
        if (section == Config::ProfileSection) {
            named = true;
            names += entry.key.toUtf8();
            names += '\n';
        }
    };
    return Config::ReadFileEntries(path, sink, &version) && named &&
           Config::IsAcceptedVersion(version);
}

// Loads the model and finds the profile the first word names. On failure *status is the exit
// status and the result negative.
int LoadNamedProfile(const Options& options, ConfigModel& model, const Console& console,
                     int* status)
{
    *status = ExitStatus::Failed;
    if (!LoadForReading(options, model, console))
        return -1;
    *status = ExitStatus::BadUsage;
    return FindOrExplain(model.profiles, options.words.constFirst(), console);
}

} // namespace

int RunCompanion(const QStringList& arguments, const Console& console)
{
    const Options options = ParseCommandLine(arguments);
    if (!options.error.isEmpty()) {
        console.PrintError(options.error + u'\n' + UsageText());
        return ExitStatus::BadUsage;
    }
    switch (options.command) {
    case Command::Help:
        console.Print(UsageText());
        return ExitStatus::Ok;
    case Command::Version:
        console.Print(QStringLiteral("nimbra-mobile-launch " LAUNCHER_VERSION "\n"));
        return ExitStatus::Ok;
    case Command::List:
        return ListProfiles(options, console);
    case Command::ShowCommand:
        return ShowCommand(options, console);
    case Command::Export:
        return ExportProfiles(options, console);
    case Command::Import:
        return ImportProfiles(options, console);
    case Command::Running:
        return ListRunning(options, console);
    case Command::Stop:
        return StopProfile(options, console);
    case Command::StopAll:
        return StopAllEmulators(options, console);
    case Command::Launch:
        break;
    }
    return LaunchProfile(options, console);
}

int ListProfiles(const Options& options, const Console& console)
{
    if (options.json)
        return ListProfilesAsJson(options, console);
    // Names alone need no model: the common case streams them from the file.
    if (!options.longList) {
        QByteArray names;
        const QString path = options.file.isEmpty() ? GetFileName(UserConfigFile) : options.file;
        if (StreamProfileNames(path, names)) {
            console.out(names);
            return ExitStatus::Ok;
        }
    }
    ConfigModel model;
    if (!LoadForReading(options, model, console))
        return ExitStatus::Failed;
    QString text;
    for (int row = 0; row < model.profiles.size(); ++row) {
        text += model.profiles[row].name;
        if (options.longList)
            text += u'\t' + CommandFor(model, row).command;
        text += u'\n';
    }
    console.Print(text);
    return ExitStatus::Ok;
}

int ShowCommand(const Options& options, const Console& console)
{
    ConfigModel model;
    int status = 0;
    const int row = LoadNamedProfile(options, model, console, &status);
    if (row < 0)
        return status;
    console.Print(CommandFor(model, row).command + u'\n');
    return ExitStatus::Ok;
}

int LaunchProfile(const Options& options, const Console& console)
{
    ConfigModel model;
    int status = 0;
    const int row = LoadNamedProfile(options, model, console, &status);
    if (row < 0)
        return status;
    LaunchCommand launch = CommandFor(model, row);
    // Handed over as they came, not through the command string, so the shell's quoting holds.
    AppendArguments(launch, options.words.mid(1));
    const QString& profile = model.profiles[row].name;
    const QString failed =
        QStringLiteral("Failed to start Nimbra Mobile Emulator: %1\n").arg(launch.program);
    if (!CanExecute(launch.program)) {
        console.PrintError(failed);
        return ExitStatus::CannotStart;
    }
    if (!options.wait) {
        if (StartSupervised(launch, profile, Supervision::Detached).started)
            return ExitStatus::Ok;
        console.PrintError(failed);
        return ExitStatus::CannotStart;
    }
    // In the foreground under the supervisor, which passes the output on as well as logging
    // it and ends as the emulator ended.
    const LaunchCommand attached = SupervisedCommand(launch, profile, Supervision::Attached);
    QProcess emulator;
    emulator.setProcessChannelMode(QProcess::ForwardedChannels);
    emulator.setInputChannelMode(QProcess::ForwardedInputChannel);
    emulator.start(attached.program, attached.arguments);
    if (!emulator.waitForStarted(-1)) {
        console.PrintError(failed);
        return ExitStatus::CannotStart;
    }
    emulator.waitForFinished(-1);
    if (emulator.exitStatus() != QProcess::NormalExit) {
        console.PrintError(QStringLiteral("Nimbra Mobile Emulator crashed.\n"));
        return ExitStatus::Failed;
    }
    return emulator.exitCode();
}

int ExportProfiles(const Options& options, const Console& console)
{
    ConfigModel model;
    if (!LoadForReading(options, model, console))
        return ExitStatus::Failed;
    QList<int> rows;
    for (const QString& name : options.words) {
        const int row = FindOrExplain(model.profiles, name, console);
        if (row < 0)
            return ExitStatus::BadUsage;
        if (!rows.contains(row))
            rows.append(row);
    }
    if (options.words.isEmpty()) {
        for (int row = 0; row < model.profiles.size(); ++row)
            rows.append(row);
    }
    ConfigModel exported = ExtractProfiles(model, rows);
    console.Print(Config::FormatText(exported));
    return ExitStatus::Ok;
}
