#include "userfile.h"

#include "fileformat.h"
#include "profiletransfer.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace UserFile {

namespace {

// Bounds the search in a folder full of set-aside files; one more name never takes that long.
constexpr int kMaxSetAsideNames = 10000;

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

// The model to write when the file changed since the load: the file's, with ours merged in.
bool MergeWithFile(const QString& path, const ConfigModel& model, ConfigModel& merged)
{
    if (ReadModel(path, merged) != ReadResult::Loaded)
        return false;
    MergeModel(merged, model, SameName::KeepTarget);
    return true;
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

bool MayWrite(const ConfigModel& model, const Baseline& baseline)
{
    return model.sections.size() >= Config::SectionCount && !baseline.keepFile;
}

SaveResult Save(const QString& path, ConfigModel& model, const Baseline& baseline,
                QString* errorString)
{
    if (!MayWrite(model, baseline))
        return SaveResult::Refused;
    ConfigModel merged;
    const bool changed = baseline.shared && StampOf(path) != baseline.stamp;
    ConfigModel& written = changed && MergeWithFile(path, model, merged) ? merged : model;
    return Config::WriteFile(path, written, errorString) ? SaveResult::Written : SaveResult::Failed;
}

} // namespace UserFile
