// --running, --stop and --stop-all, and the JSON form of --list: the running emulators as the
// core records them, whoever started them.
#include "commands.h"

#include "fileformat.h"
#include "filelocations.h"
#include "launchcommand.h"
#include "loading.h"
#include "profilerules.h"
#include "runningemulators.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr int JsonVersion = 1;

void PrintJson(const Console& console, const QString& key, const QJsonArray& items)
{
    const QJsonObject object{{QStringLiteral("version"), JsonVersion}, {key, items}};
    console.out(QJsonDocument(object).toJson(QJsonDocument::Indented));
}

// A field of a --running line: its separators and the escape itself written as \t, \n, \r and
// \\, so that every line has four fields whatever the profile is called.
QString Field(QString text)
{
    // The backslash first: the escapes that follow bring in backslashes of their own.
    return text.replace(u'\\', QStringLiteral("\\\\"))
        .replace(u'\t', QStringLiteral("\\t"))
        .replace(u'\n', QStringLiteral("\\n"))
        .replace(u'\r', QStringLiteral("\\r"));
}

void Explain(const QList<RunningEmulator>& forced, const Console& console)
{
    for (const RunningEmulator& entry : forced) {
        console.PrintError(QStringLiteral("The emulator of \"%1\" (process %2) did not end within "
                                          "%3 seconds and was ended by force.\n")
                               .arg(entry.profile)
                               .arg(entry.pid)
                               .arg(Running::StopGraceMs / 1000));
    }
}

} // namespace

int ListRunning(const Options& options, const Console& console)
{
    const QList<RunningEmulator> running = Running::Read(Running::Folder()).running;
    if (options.json) {
        QJsonArray items;
        for (const RunningEmulator& entry : running) {
            items.append(
                QJsonObject{{QStringLiteral("profile"), entry.profile},
                            {QStringLiteral("pid"), entry.pid},
                            {QStringLiteral("started"), Running::TimeText(entry.startedMs)},
                            {QStringLiteral("command"), entry.command},
                            {QStringLiteral("log"), entry.log}});
        }
        PrintJson(console, QStringLiteral("running"), items);
        return ExitStatus::Ok;
    }
    QString text;
    for (const RunningEmulator& entry : running) {
        text += Field(entry.profile) + u'\t' + QString::number(entry.pid) + u'\t' +
                Running::TimeText(entry.startedMs) + u'\t' + Field(entry.log) + u'\n';
    }
    console.Print(text);
    return ExitStatus::Ok;
}

int StopProfile(const Options& options, const Console& console)
{
    const QString& name = options.words.constFirst();
    const QList<RunningEmulator> targets =
        Running::OfProfile(Running::Read(Running::Folder()).running, name);
    if (!targets.isEmpty()) {
        Explain(Running::StopAndWait(targets), console);
        return ExitStatus::Ok;
    }
    // Nothing runs under the name: a profile's that isn't running, or no profile's at all.
    ConfigModel model;
    if (!LoadForReading(options, model, console))
        return ExitStatus::Failed;
    if (FindProfile(model.profiles, name) < 0) {
        FindOrExplain(model.profiles, name, console);
        return ExitStatus::BadUsage;
    }
    console.PrintError(QStringLiteral("No emulator of profile \"%1\" is running.\n").arg(name));
    return ExitStatus::Failed;
}

int StopAllEmulators(const Options&, const Console& console)
{
    Explain(Running::StopAndWait(Running::Read(Running::Folder()).running), console);
    return ExitStatus::Ok;
}

int ListProfilesAsJson(const Options& options, const Console& console)
{
    ConfigModel model;
    if (!LoadForReading(options, model, console))
        return ExitStatus::Failed;
    const QString emulator = options.longList ? GetFileName(EmulatorFile) : QString();
    QJsonArray items;
    for (const Profile& profile : model.profiles) {
        QJsonObject item{{QStringLiteral("name"), profile.name}};
        if (options.longList) {
            item.insert(QStringLiteral("command"),
                        BuildLaunchCommand(emulator, model.sections, profile).command);
        }
        items.append(item);
    }
    PrintJson(console, QStringLiteral("profiles"), items);
    return ExitStatus::Ok;
}
