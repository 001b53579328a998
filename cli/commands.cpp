#include "commands.h"

#include "filelocations.h"
#include "profileio.h"
#include "shared.h"

#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <cstdio>

void Print(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void PrintError(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

bool LoadDefaults(ConfigModel& model, const QString& instead)
{
    const QString defaults = GetFileName(DefaultConfigFile);
    switch (ReadModel(defaults, model)) {
    case ReadResult::Loaded:
        return true;
    case ReadResult::Outdated:
        // The window warns and goes on with empty lists; so does this.
        PrintError(QStringLiteral("%1 is out of date.\n").arg(defaults));
        return true;
    case ReadResult::Unreadable:
        break;
    }
    PrintError(QStringLiteral("Cannot read %1 nor the defaults at %2.\n").arg(instead, defaults));
    return false;
}

namespace {

// The file a reading command works on: the one named, else the user's.
QString ReadPath(const Options& options)
{
    return options.file.isEmpty() ? GetFileName(UserConfigFile) : options.file;
}

} // namespace

bool LoadForReading(const Options& options, ConfigModel& model)
{
    const bool named = !options.file.isEmpty();
    const QString path = ReadPath(options);
    qint32 version = 0;
    switch (ReadModel(path, model, &version)) {
    case ReadResult::Loaded:
        return true;
    case ReadResult::Outdated:
        // A file named on the command line is meant to be read: anything else is a mistake.
        if (named) {
            PrintError(QStringLiteral("%1 is not a Launcher.ini of a version this program "
                                      "reads (version %2).\n")
                           .arg(path)
                           .arg(version));
            return false;
        }
        // The launcher sets it aside at its next start; reading leaves it where it is.
        PrintError(QStringLiteral("%1 is out of date (version %2); using the defaults.\n")
                       .arg(path)
                       .arg(version));
        break;
    case ReadResult::Unreadable:
        if (named) {
            PrintError(QStringLiteral("Cannot read %1.\n").arg(path));
            return false;
        }
        if (QFileInfo::exists(path))
            PrintError(QStringLiteral("Cannot read %1; using the defaults.\n").arg(path));
        break;
    }
    return LoadDefaults(model, path);
}

int FindOrExplain(const QList<Profile>& profiles, const QString& name)
{
    const int row = FindProfile(profiles, name);
    if (row >= 0)
        return row;
    PrintError(QStringLiteral("No profile named \"%1\".\n").arg(name));
    QStringList names;
    for (const Profile& profile : profiles)
        names.append(profile.name);
    const QStringList close = CloseNames(names, name);
    if (!close.isEmpty())
        PrintError(QStringLiteral("Close names:\n  ") + close.join(QStringLiteral("\n  ")) + u'\n');
    return -1;
}

namespace {

int EditDistance(const QString& a, const QString& b)
{
    QList<int> row(b.size() + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = above;
        }
    }
    return row[b.size()];
}

LaunchCommand CommandFor(const ConfigModel& model, int row)
{
    return BuildLaunchCommand(GetFileName(EmulatorFile), model.sections, model.profiles[row]);
}

} // namespace

QStringList CloseNames(const QStringList& names, const QString& name)
{
    const QString wanted = name.toCaseFolded();
    // Typing slips grow with the name; a third of it, at least one character.
    const int limit = std::max(1, int(wanted.size()) / 3);
    QList<std::pair<int, QString>> ranked;
    for (const QString& candidate : names) {
        const QString folded = candidate.toCaseFolded();
        int score = EditDistance(folded, wanted);
        if (folded.contains(wanted) || wanted.contains(folded))
            score = std::min(score, 1);
        if (score <= limit && !std::any_of(ranked.cbegin(), ranked.cend(),
                                           [&](const auto& r) { return r.second == candidate; }))
            ranked.append({score, candidate});
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    QStringList close;
    for (int i = 0; i < ranked.size() && i < 3; ++i)
        close.append(ranked[i].second);
    return close;
}

int ListProfiles(const Options& options)
{
    // Names alone need no model: the common case streams them from the file.
    if (!options.longList) {
        const QString path = ReadPath(options);
        QByteArray names;
        // Rarely more than the file holds; growing copies would touch fresh memory again.
        names.reserve(QFileInfo(path).size());
        const auto append = [&names](const QString& name) {
            names += name.toUtf8();
            names += '\n';
        };
        if (ReadProfileNames(path, append)) {
            std::fwrite(names.constData(), 1, size_t(names.size()), stdout);
            return ExitStatus::Ok;
        }
    }
    ConfigModel model;
    if (!LoadForReading(options, model))
        return ExitStatus::Failed;
    QString text;
    for (int row = 0; row < model.profiles.size(); ++row) {
        text += model.profiles[row].name;
        if (options.longList)
            text += u'\t' + CommandFor(model, row).command;
        text += u'\n';
    }
    Print(text);
    return ExitStatus::Ok;
}

namespace {

// Loads the model and finds the profile the first word names. On failure *status is the exit
// status and the result negative.
int LoadNamedProfile(const Options& options, ConfigModel& model, int* status)
{
    *status = ExitStatus::Failed;
    if (!LoadForReading(options, model))
        return -1;
    *status = ExitStatus::BadUsage;
    return FindOrExplain(model.profiles, options.words.constFirst());
}

} // namespace

int ShowCommand(const Options& options)
{
    ConfigModel model;
    int status = 0;
    const int row = LoadNamedProfile(options, model, &status);
    if (row < 0)
        return status;
    Print(CommandFor(model, row).command + u'\n');
    return ExitStatus::Ok;
}

int LaunchProfile(const Options& options)
{
    ConfigModel model;
    int status = 0;
    const int row = LoadNamedProfile(options, model, &status);
    if (row < 0)
        return status;
    LaunchCommand launch = CommandFor(model, row);
    // Handed over as they came, not through the command string, so the shell's quoting holds.
    launch.arguments += options.words.mid(1);
    const QString failed =
        QStringLiteral("Failed to start Nimbra Mobile Emulator: %1\n").arg(launch.program);
    if (!options.wait) {
        if (StartDetached(launch))
            return ExitStatus::Ok;
        PrintError(failed);
        return ExitStatus::CannotStart;
    }
    QProcess emulator;
    emulator.setProcessChannelMode(QProcess::ForwardedChannels);
    emulator.setInputChannelMode(QProcess::ForwardedInputChannel);
    emulator.start(launch.program, launch.arguments);
    if (!emulator.waitForStarted(-1)) {
        PrintError(failed);
        return ExitStatus::CannotStart;
    }
    emulator.waitForFinished(-1);
    if (emulator.exitStatus() != QProcess::NormalExit) {
        PrintError(QStringLiteral("Nimbra Mobile Emulator crashed.\n"));
        return ExitStatus::Failed;
    }
    return emulator.exitCode();
}

int ExportProfiles(const Options& options)
{
    ConfigModel model;
    if (!LoadForReading(options, model))
        return ExitStatus::Failed;
    QList<int> rows;
    for (const QString& name : options.words) {
        const int row = FindOrExplain(model.profiles, name);
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
    Config::StoreProfiles(exported.sections, exported.profiles);
    Print(Config::FormatText(exported.sections));
    return ExitStatus::Ok;
}
