// --import: the one command that writes, through the user-file unit's save as the launcher's
// own saves do.
#include "commands.h"

#include "filelocations.h"
#include "loading.h"
#include "profiletransfer.h"

namespace {

// The target as loaded: an out-of-date or missing file starts from the defaults, as the
// launcher would. An out-of-date file is kept under the name the launcher gives it.
bool LoadTarget(const QString& path, UserFile::Loaded& loaded, const Console& console)
{
    using UserFile::UserState;
    UserFile::LoadRequest request;
    request.userPath = path;
    request.defaultsPath = [] { return GetFileName(DefaultConfigFile); };
    request.setAside = [&path](qint32 version) { return UserFile::SetFileAside(path, version); };
    loaded = UserFile::Load(request);
    switch (loaded.user) {
    case UserState::KeptInPlace:
        // One that can't move would be overwritten.
        console.PrintError(QStringLiteral("%1 is out of date and cannot be set aside: nothing "
                                          "imported.\n")
                               .arg(path));
        return false;
    case UserState::Unreadable:
        // Never replace a file that exists but can't be read: it may be all the user has.
        console.PrintError(QStringLiteral("Cannot read %1: nothing imported.\n").arg(path));
        return false;
    case UserState::SetAside:
        console.PrintError(QStringLiteral("%1 is out of date and was renamed to %2; starting "
                                          "from the defaults.\n")
                               .arg(path, loaded.keptAt));
        break;
    case UserState::Loaded:
    case UserState::Missing:
    case UserState::Outdated:
        break;
    }
    return ExplainDefaults(loaded, console);
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

// The file to import, which must be a Launcher.ini this program reads.
bool LoadSource(const QString& file, ConfigModel& source, const Console& console)
{
    qint32 version = 0;
    switch (UserFile::ReadModel(file, source, &version)) {
    case UserFile::ReadResult::Loaded:
        return true;
    case UserFile::ReadResult::Outdated:
        console.PrintError(QStringLiteral("%1 is not a Launcher.ini of a version this program "
                                          "reads (version %2): nothing imported.\n")
                               .arg(file)
                               .arg(version));
        return false;
    case UserFile::ReadResult::Unreadable:
        break;
    }
    console.PrintError(QStringLiteral("Cannot read %1: nothing imported.\n").arg(file));
    return false;
}

} // namespace

int ImportProfiles(const Options& options, const Console& console)
{
    ConfigModel source;
    if (!LoadSource(options.importFile, source, console))
        return ExitStatus::Failed;

    const QString path = options.file.isEmpty() ? GetFileName(UserConfigFile) : options.file;
    UserFile::Loaded target;
    {
        // Read and set aside under the lock every writer of the file takes; the save takes it
        // again and merges in what another writer wrote in between.
        const UserFile::WriterLock lock(path);
        if (lock.HeldElsewhere()) {
            console.PrintError(
                QStringLiteral("Another program is writing %1: nothing imported.\n").arg(path));
            return ExitStatus::Failed;
        }
        if (!LoadTarget(path, target, console))
            return ExitStatus::Failed;
    }
    const MergeReport report = MergeModel(target.model, source);
    if (UserFile::Save(path, target.model, target.baseline) != UserFile::SaveResult::Written) {
        console.PrintError(QStringLiteral("Cannot write %1: nothing imported.\n").arg(path));
        return ExitStatus::Failed;
    }
    console.Print(Report(report, target.model, options.importFile));
    return ExitStatus::Ok;
}
