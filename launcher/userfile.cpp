#include "userfile.h"

#include "fileformat.h"
#include "filelocations.h"
#include "threewaymerge.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#ifdef Q_OS_LINUX
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>
#endif

namespace UserFile {

namespace {

// Bounds the search in a folder full of set-aside files; one more name never takes that long.
constexpr int kMaxSetAsideNames = 10000;

// How long a save waits for another program to finish writing the file, and how often it
// looks. An editor or a script holds it for a moment; the save at exit must not hang on one
// that keeps it open.
constexpr int kWriterWaitMs = 2000;
constexpr int kWriterPollMs = 50;

// Waits until no process holds path open for writing, or for as long as waitMs; true unless
// one still does.
bool WaitForWriters(const QString& path, int waitMs)
{
    const QDeadlineTimer deadline(waitMs);
    while (WritersOf(path) == Writers::Some) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(kWriterPollMs);
    }
    return true;
}

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

Writers WritersOf(const QString& path)
{
#ifdef Q_OS_LINUX
    // Non-blocking: a program holding a write lease on it is not waited for here.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return Writers::Unknown;
    // The lease is released at once; should a writer open the file in between, the holder is
    // told with this signal, which is ignored unless handled (SIGIO, the default, would end
    // the process).
    Writers writers = Writers::Unknown;
    if (::fcntl(fd, F_SETSIG, SIGURG) == 0) {
        if (::fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
            ::fcntl(fd, F_SETLEASE, F_UNLCK);
            writers = Writers::None;
        } else if (errno == EAGAIN) {
            writers = Writers::Some;
        }
    }
    ::close(fd);
    return writers;
#else
    Q_UNUSED(path);
    return Writers::Unknown;
#endif
}

Changes MergeChanges(const QString& path, ConfigModel& model, Baseline& baseline, qint32* version)
{
    const Stamp stamp = StampOf(path);
    if (stamp == baseline.stamp || stamp.size < 0)
        return Changes::None;
    // A writer that still has it open may be halfway (an editor that pauses, a script that
    // writes in pieces): what it holds now is not what it is writing.
    if (WritersOf(path) == Writers::Some)
        return Changes::BeingWritten;
    ConfigModel theirs;
    qint32 read = 0;
    const ReadResult result = ReadModel(path, theirs, &read);
    if (version)
        *version = read;
    if (WritersOf(path) == Writers::Some)
        return Changes::BeingWritten;
    // Where writers can't be told, a file that changed while it was read is still being
    // written.
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
    const bool idle = WaitForWriters(path, kWriterWaitMs);
    const Changes changes =
        idle ? MergeChanges(path, model, baseline, &version) : Changes::BeingWritten;
    if (changes == Changes::BeingWritten) {
        // Replaced now, what the other program writes after would go to a file nobody sees.
        if (errorString)
            *errorString = QStringLiteral("another program is still writing it");
        return SaveResult::Failed;
    }
    if (changes == Changes::Unreadable)
        SetFileAside(path, version);
    if (!Config::WriteFile(path, model, errorString, UserStateFolder()))
        return SaveResult::Failed;
    baseline.stamp = StampOf(path);
    baseline.base = BaseOf(model);
    return SaveResult::Written;
}

} // namespace UserFile
