#include "recovery.h"

#include "atomicfile.h"
#include "fileformat.h"
#include "filelocations.h"
#include "instancepaths.h"
#include "processidentity.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace Recovery {

namespace {

constexpr int FormatVersion = 1;

const QByteArray Intro = "# Unsaved changes of a Nimbra Mobile Launcher session, kept in case it "
                         "ends without\n# saving; the launcher brings them back at its next "
                         "start.\n";
const QByteArray VersionMarker = "#recovery ";
const QByteArray PidMarker = "#recovery-pid ";
const QByteArray ProcessMarker = "#recovery-process ";
const QByteArray LauncherMarker = "#recovery-launcher ";
const QByteArray BaseMarker = "\n#recovery-base\n";
const QByteArray EndMarker = "\n#recovery-end\n";

// The value of the header line that starts with marker, or a null array.
QByteArray HeaderValue(const QByteArray& bytes, const QByteArray& marker)
{
    const qsizetype at = bytes.indexOf('\n' + marker);
    if (at < 0)
        return QByteArray();
    const qsizetype start = at + 1 + marker.size();
    return bytes.mid(start, bytes.indexOf('\n', start) - start);
}

// One model as written, read back as it was: no "Default" entries added.
bool ReadDocument(const QByteArray& bytes, ConfigModel* model)
{
    model->sections = Config::NewSections();
    if (!Config::IsAcceptedVersion(Config::ReadText(QString::fromUtf8(bytes), model->sections)))
        return false;
    model->profiles = Config::ProfilesFromSection(model->sections);
    return true;
}

ReadResult Unusable(QString* reason, const QString& why)
{
    *reason = why;
    return ReadResult::Unusable;
}

} // namespace

State OfThisRun(const ConfigModel& base, const ConfigModel& model)
{
    return {QCoreApplication::applicationFilePath(), QCoreApplication::applicationPid(), base,
            model, OwnProcessIdentity()};
}

bool WriterStillRuns(const State& state)
{
    if (state.pid <= 0 || state.pid == QCoreApplication::applicationPid())
        return false;
    if (!state.process.isEmpty())
        return IsSameLiveProcess(state.pid, state.process);
    // Written before the identity was kept: the id counts only while it runs that launcher.
    const QString executable = ExecutableOfProcess(state.pid);
    return !executable.isEmpty() && !ReadProcessState(state.pid).ended &&
           (executable == state.launcher ||
            executable == QFileInfo(state.launcher).canonicalFilePath());
}

QString StatePath(const QString& executablePath)
{
    return UserStateFolder() + u'/' + InstanceName(executablePath) +
           QStringLiteral(".recovery.ini");
}

bool Writer::Write(const State& state, QString* errorString)
{
    // The same lists, shared, are the same base.
    const bool sameBase = m_base.profiles.isSharedWith(state.base.profiles) &&
                          m_base.sections.isSharedWith(state.base.sections) && !m_baseText.isNull();
    if (!sameBase) {
        m_base = state.base;
        ConfigModel base = state.base;
        m_baseText = Config::FormatUtf8(base);
    }
    ConfigModel model = state.model;
    const QByteArray head = Intro + VersionMarker + QByteArray::number(FormatVersion) + '\n' +
                            PidMarker + QByteArray::number(state.pid) + '\n' + ProcessMarker +
                            state.process.toUtf8() + '\n' + LauncherMarker +
                            state.launcher.toUtf8() + '\n';
    const QByteArray text = Config::FormatUtf8(model);
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    // In pieces: the two texts are megabytes with many profiles, and one array of them all
    // would be copied and faulted in again at every edit.
    return WriteFileAtomically(m_path,
                               {head, text, QByteArrayView(BaseMarker).sliced(1), m_baseText,
                                QByteArrayView(EndMarker).sliced(1)},
                               errorString);
}

ReadResult Read(const QString& path, const QString& executablePath, State* state, QString* reason)
{
    QFile file(path);
    if (!file.exists())
        return ReadResult::None;
    if (!file.open(QIODevice::ReadOnly))
        return Unusable(reason, file.errorString());
    const QByteArray bytes = file.readAll();
    if (HeaderValue(bytes, VersionMarker) != QByteArray::number(FormatVersion))
        return Unusable(reason, QStringLiteral("it was written in another format"));
    if (!bytes.endsWith(EndMarker))
        return Unusable(reason, QStringLiteral("it is cut short"));
    state->launcher = QString::fromUtf8(HeaderValue(bytes, LauncherMarker));
    if (state->launcher != executablePath)
        return Unusable(
            reason,
            QStringLiteral("it belongs to the launcher installed at %1").arg(state->launcher));
    state->pid = HeaderValue(bytes, PidMarker).toLongLong();
    state->process = QString::fromUtf8(HeaderValue(bytes, ProcessMarker));
    const qsizetype base = bytes.indexOf(BaseMarker);
    const qsizetype end = bytes.size() - EndMarker.size();
    if (base < 0 || !ReadDocument(bytes.left(base + 1), &state->model) ||
        !ReadDocument(bytes.mid(base + BaseMarker.size(), end - base - BaseMarker.size() + 1),
                      &state->base))
        return Unusable(reason, QStringLiteral("it is damaged"));
    return ReadResult::Usable;
}

void RemoveOwn(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return;
    // The header is all it takes.
    const QByteArray head = file.read(4096);
    file.close();
    const QByteArray process = HeaderValue(head, ProcessMarker);
    if (HeaderValue(head, PidMarker) == QByteArray::number(QCoreApplication::applicationPid()) &&
        (process.isNull() || process == OwnProcessIdentity().toUtf8()))
        QFile::remove(path);
}

QString SetAside(const QString& path)
{
    QString stem = path;
    stem.chop(4); // ".ini"
    for (int n = 1; n < 1000; ++n) {
        const QString candidate = stem + QStringLiteral(".unused-%1.ini").arg(n);
        if (QFile::rename(path, candidate))
            return candidate;
        if (!QFileInfo::exists(candidate))
            break;
    }
    return path;
}

} // namespace Recovery
