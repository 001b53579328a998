#include "userfile.h"

#include "fileformat.h"
#include "filelocations.h"
#include "threewaymerge.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace UserFile {

namespace {

// Bounds the search in a folder full of set-aside files; one more name never takes that long.
constexpr int kMaxSetAsideNames = 10000;

// The content a merge compares with, without section 0: the profiles stand for it. Kept
// apart, section 0's texts are the window's own, and the next save rewrites them in place
// instead of making a new one per profile.
ConfigModel BaseOf(const ConfigModel& model)
{
    ConfigModel base = model;
    base.sections[Config::ProfileSection].entries.clear();
    return base;
}

UserState Unread(const QString& path)
{
    return QFileInfo::exists(path) ? UserState::Unreadable : UserState::Missing;
}

void LoadUserFile(const LoadRequest& request, Loaded& loaded)
{
    loaded.userPath = request.userPath;
    loaded.baseline.stamp = StampOf(request.userPath);
    switch (ReadModel(request.userPath, loaded.model, &loaded.userVersion)) {
    case ReadResult::Loaded:
        loaded.user = UserState::Loaded;
        loaded.baseline.base = BaseOf(loaded.model);
        return;
    case ReadResult::Unreadable:
        loaded.user = Unread(request.userPath);
        return;
    case ReadResult::Outdated:
        break;
    }
    loaded.user = UserState::Outdated;
    if (!request.setAside)
        return;
    loaded.keptAt = request.setAside(loaded.userVersion);
    loaded.user = loaded.keptAt == request.userPath ? UserState::KeptInPlace : UserState::SetAside;
    // Left in place, the old file must outlive this session: a save would replace it.
    loaded.baseline.keepFile = loaded.user == UserState::KeptInPlace;
}

void LoadDefaults(const LoadRequest& request, Loaded& loaded)
{
    loaded.defaultsPath = request.defaultsPath();
    switch (ReadModel(loaded.defaultsPath, loaded.model)) {
    case ReadResult::Loaded:
        loaded.defaults = DefaultsState::Loaded;
        break;
    case ReadResult::Outdated:
        loaded.defaults = DefaultsState::Outdated;
        break;
    case ReadResult::Unreadable:
        loaded.defaults = DefaultsState::Unreadable;
        break;
    }
}

} // namespace

ReadResult ReadModel(const QString& fileName, ConfigModel& model, qint32* version)
{
    qint32 read = 0;
    if (!Config::ReadFile(fileName, model.sections, &read))
        return ReadResult::Unreadable;
    if (version)
        *version = read;
    const bool accepted = Config::IsAcceptedVersion(read);
    if (!accepted) {
        for (ConfigSection& section : model.sections)
            section.entries.clear();
    }
    Config::AddDefaultEntries(model.sections);
    model.profiles = Config::ProfilesFromSection(model.sections);
    return accepted ? ReadResult::Loaded : ReadResult::Outdated;
}

QString SetFileAside(const QString& path, qint32 version)
{
    QString stem = path;
    stem.chop(3);
    stem += QString::number(version);
    for (int n = 0; n < kMaxSetAsideNames; ++n) {
        const QString candidate = n == 0
                                      ? stem + QStringLiteral(".ini")
                                      : stem + u'.' + QString::number(n) + QStringLiteral(".ini");
        // QFile::rename never replaces an existing file, so a taken name only fails this try.
        if (QFile::rename(path, candidate))
            return candidate;
        const QFileInfo taken(candidate);
        if (!taken.exists() && !taken.isSymLink())
            break; // the file itself can't move (read-only folder): another name won't help
    }
    return path;
}

Stamp StampOf(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    return {info.size(), info.lastModified().toMSecsSinceEpoch()};
}

Loaded Load(const LoadRequest& request)
{
    Loaded loaded;
    if (!request.userPath.isEmpty())
        LoadUserFile(request, loaded);
    if (loaded.user != UserState::Loaded && request.defaultsPath)
        LoadDefaults(request, loaded);
    return loaded;
}

Changes MergeChanges(const QString& path, ConfigModel& model, Baseline& baseline, qint32* version)
{
    const Stamp stamp = StampOf(path);
    if (stamp == baseline.stamp || stamp.size < 0)
        return Changes::None;
    ConfigModel theirs;
    qint32 read = 0;
    const ReadResult result = ReadModel(path, theirs, &read);
    if (version)
        *version = read;
    // A file that changed while it was read is still being written.
    if (result != ReadResult::Loaded || StampOf(path) != stamp)
        return Changes::Unreadable;
    model = MergeThreeWay(baseline.base, model, theirs);
    baseline.stamp = stamp;
    baseline.base = BaseOf(theirs);
    return Changes::Merged;
}

bool MayWrite(const ConfigModel& model, const Baseline& baseline)
{
    return model.sections.size() >= Config::SectionCount && !baseline.keepFile;
}

SaveResult Save(const QString& path, ConfigModel& model, Baseline& baseline, QString* errorString)
{
    if (!MayWrite(model, baseline))
        return SaveResult::Refused;
    // Another writer holds it for a moment only; one that can't be had in time is not worth
    // losing the save for.
    const WriterLock lock(path);
    qint32 version = 0;
    if (MergeChanges(path, model, baseline, &version) == Changes::Unreadable)
        SetFileAside(path, version);
    if (!Config::WriteFile(path, model, errorString, UserStateFolder()))
        return SaveResult::Failed;
    baseline.stamp = StampOf(path);
    baseline.base = BaseOf(model);
    return SaveResult::Written;
}

} // namespace UserFile
