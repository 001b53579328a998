// --import: the one command that writes, under the launcher's own lock.
#include "commands.h"

#include "filelocations.h"
#include "instance.h"
#include "keeping.h"
#include "shared.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLockFile>

#include <memory>
#include <vector>

namespace {

// The target's model: an out-of-date or missing file starts from the defaults, as the
// launcher would. An out-of-date file is kept under the name the launcher gives it.
bool LoadTarget(const QString& path, ConfigModel& model)
{
    qint32 version = 0;
    switch (ReadModel(path, model, &version)) {
    case ReadResult::Loaded:
        return true;
    case ReadResult::Outdated: {
        // Set aside as the launcher does; one that can't move would be overwritten.
        const QString aside = Keeping::SetFileAside(path, version);
        if (aside == path) {
            PrintError(QStringLiteral("%1 is out of date and cannot be set aside: nothing "
                                      "imported.\n")
                           .arg(path));
            return false;
        }
        PrintError(QStringLiteral("%1 is out of date and was renamed to %2; starting from the "
                                  "defaults.\n")
                       .arg(path, aside));
        break;
    }
    case ReadResult::Unreadable:
        // Never replace a file that exists but can't be read: it may be all the user has.
        if (QFileInfo::exists(path)) {
            PrintError(QStringLiteral("Cannot read %1: nothing imported.\n").arg(path));
            return false;
        }
        break;
    }
    return LoadDefaults(model, path);
}

QString Report(const MergeReport& report, const ConfigModel& target, const QString& file)
{
    QString text;
    for (const OptionKind kind : AllOptionKinds) {
        const QString what =
            Config::SectionDisplayName(target.sections[SectionIndex(kind)].name, true);
        for (const OptionEntry& entry : report.addedOptions[int(kind)])
            text += QStringLiteral("Added %1 \"%2\".\n").arg(what, entry.key);
    }
    for (const AddedProfile& added : report.added) {
        text += added.name == added.fromName
                    ? QStringLiteral("Added profile \"%1\".\n").arg(added.name)
                    : QStringLiteral("Added profile \"%1\" (\"%2\" in %3).\n")
                          .arg(added.name, added.fromName, file);
    }
    for (const QString& name : report.skipped)
        text += QStringLiteral("Skipped profile \"%1\": already there.\n").arg(name);
    return text;
}

// Takes the launcher's lock in every folder where a launcher may hold it; false, explained,
// when a launcher holds one or none could be taken.
bool TakeLauncherLocks(std::vector<std::unique_ptr<QLockFile>>& locks)
{
    // applicationDirPath() resolves links, as the launcher's own identity does.
    const QString launcher =
        QCoreApplication::applicationDirPath() + QStringLiteral("/nimbra-mobile-launcher");
    for (const InstancePaths& paths : InstancePathCandidatesFor(launcher)) {
        auto lock = std::make_unique<QLockFile>(paths.lockPath);
        lock->setStaleLockTime(0);
        if (lock->tryLock(0)) {
            locks.push_back(std::move(lock));
        } else if (lock->error() == QLockFile::LockFailedError) {
            PrintError(QStringLiteral(
                "Close the launcher first: it rewrites Launcher.ini when it quits.\n"));
            return false;
        }
        // Other errors: a folder that can't hold a lock can't hold a launcher's either.
    }
    if (locks.empty())
        PrintError(QStringLiteral("Cannot take the launcher's lock: nothing imported.\n"));
    return !locks.empty();
}

} // namespace

int ImportProfiles(const Options& options)
{
    ConfigModel source;
    qint32 version = 0;
    switch (ReadModel(options.importFile, source, &version)) {
    case ReadResult::Loaded:
        break;
    case ReadResult::Outdated:
        PrintError(QStringLiteral("%1 is not a Launcher.ini of a version this program reads "
                                  "(version %2): nothing imported.\n")
                       .arg(options.importFile)
                       .arg(version));
        return ExitStatus::Failed;
    case ReadResult::Unreadable:
        PrintError(QStringLiteral("Cannot read %1: nothing imported.\n").arg(options.importFile));
        return ExitStatus::Failed;
    }

    // The launcher rewrites Launcher.ini when it quits, so a merge while it runs would be
    // lost. Holding its locks from read to write also keeps one from starting in between.
    std::vector<std::unique_ptr<QLockFile>> locks;
    if (!TakeLauncherLocks(locks))
        return ExitStatus::Failed;

    const QString path = options.file.isEmpty() ? GetFileName(UserConfigFile) : options.file;
    ConfigModel target;
    if (!LoadTarget(path, target))
        return ExitStatus::Failed;
    const MergeReport report = MergeModel(target, source);
    Config::StoreProfiles(target.sections, target.profiles);
    if (!Config::WriteFile(path, target.sections)) {
        PrintError(QStringLiteral("Cannot write %1: nothing imported.\n").arg(path));
        return ExitStatus::Failed;
    }
    Print(Report(report, target, options.importFile));
    return ExitStatus::Ok;
}
