#include "runningemulators.h"

#include "processidentity.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// A failed start's report waits this long for its launcher, then counts as abandoned.
constexpr qint64 ReportLifetimeMs = 60000;

struct StateName
{
    RunningEmulator::State state;
    const char* name;
};
constexpr StateName StateNames[] = {{RunningEmulator::State::Running, "running"},
                                    {RunningEmulator::State::StartFailed, "start-failed"},
                                    {RunningEmulator::State::NotStarted, "not-started"}};

QJsonObject ToJson(const RunningEmulator& e)
{
    QJsonObject o{{QStringLiteral("version"), Running::FormatVersion},
                  {QStringLiteral("profile"), e.profile},
                  {QStringLiteral("pid"), e.pid},
                  {QStringLiteral("identity"), e.identity},
                  {QStringLiteral("started"), e.startedMs},
                  {QStringLiteral("command"), e.command},
                  {QStringLiteral("log"), e.log},
                  {QStringLiteral("supervisor"), e.supervisorPid},
                  {QStringLiteral("supervisorIdentity"), e.supervisorIdentity}};
    for (const StateName& s : StateNames) {
        if (s.state == e.state)
            o.insert(QStringLiteral("state"), QLatin1String(s.name));
    }
    if (e.state != RunningEmulator::State::Running) {
        o.insert(QStringLiteral("exitCode"), e.exitCode);
        o.insert(QStringLiteral("signal"), e.signal);
        o.insert(QStringLiteral("ended"), e.endedMs);
        o.insert(QStringLiteral("error"), e.error);
    }
    return o;
}

// False for anything but a whole entry of this version: such a file is never acted on.
bool FromJson(const QByteArray& bytes, RunningEmulator* e)
{
    QJsonParseError parseError;
    const QJsonObject o = QJsonDocument::fromJson(bytes, &parseError).object();
    if (parseError.error != QJsonParseError::NoError ||
        o.value(QStringLiteral("version")).toInt() != Running::FormatVersion)
        return false;
    const QString state = o.value(QStringLiteral("state")).toString();
    const auto known = std::find_if(std::begin(StateNames), std::end(StateNames),
                                    [&](const StateName& s) { return state == s.name; });
    if (known == std::end(StateNames))
        return false;
    e->state = known->state;
    e->profile = o.value(QStringLiteral("profile")).toString();
    e->pid = o.value(QStringLiteral("pid")).toInteger();
    e->identity = o.value(QStringLiteral("identity")).toString();
    e->startedMs = o.value(QStringLiteral("started")).toInteger();
    e->command = o.value(QStringLiteral("command")).toString();
    e->log = o.value(QStringLiteral("log")).toString();
    e->supervisorPid = o.value(QStringLiteral("supervisor")).toInteger();
    e->supervisorIdentity = o.value(QStringLiteral("supervisorIdentity")).toString();
    e->exitCode = o.value(QStringLiteral("exitCode")).toInt();
    e->signal = o.value(QStringLiteral("signal")).toInt();
    e->endedMs = o.value(QStringLiteral("ended")).toInteger();
    e->error = o.value(QStringLiteral("error")).toString();
    return o.value(QStringLiteral("profile")).isString() && e->pid > 0 && !e->identity.isEmpty() &&
           e->startedMs > 0;
}

QByteArray ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

namespace Running {

QString Folder()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (QDir::isAbsolutePath(runtime) && QFileInfo(runtime).isDir())
        return runtime + QStringLiteral("/Nimbra Mobile/running");
#if defined(Q_OS_MACOS)
    // Per user on macOS, and emptied at restart like a runtime folder.
    return QDir::tempPath() + QStringLiteral("/Nimbra Mobile/running");
#else
    // The shared /tmp could be taken by another user first: the state folder is the user's.
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state
                                        : QDir::homePath() + QStringLiteral("/.local/state")) +
           QStringLiteral("/Nimbra Mobile/running");
#endif
}

bool Write(RunningEmulator& entry, const QString& folder)
{
    if (entry.entryPath.isEmpty()) {
        entry.entryPath =
            folder + QStringLiteral("/%1-%2.json").arg(entry.supervisorPid).arg(entry.startedMs);
    }
    if (!QDir().mkpath(folder))
        return false;
    // Written aside and renamed over: a reader sees the old entry or the new one, never part.
    const QString temporary = folder + QStringLiteral("/.") + QFileInfo(entry.entryPath).fileName();
    QFile file(temporary);
    const QByteArray bytes = QJsonDocument(ToJson(entry)).toJson(QJsonDocument::Compact);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(bytes) == bytes.size() && file.flush();
    file.close();
    if (written && std::rename(QFile::encodeName(temporary).constData(),
                               QFile::encodeName(entry.entryPath).constData()) == 0)
        return true;
    QFile::remove(temporary);
    return false;
}

void Remove(const RunningEmulator& entry)
{
    if (!entry.entryPath.isEmpty())
        QFile::remove(entry.entryPath);
}

Registry Read(const QString& folder)
{
    Registry registry;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    for (const QString& name : QDir(folder).entryList({QStringLiteral("*.json")}, QDir::Files)) {
        RunningEmulator entry;
        entry.entryPath = folder + u'/' + name;
        if (!FromJson(ReadFile(entry.entryPath), &entry)) {
            Remove(entry);
        } else if (entry.state != RunningEmulator::State::Running) {
            if (now - entry.endedMs > ReportLifetimeMs || entry.endedMs > now + ReportLifetimeMs)
                Remove(entry);
            else
                registry.reports.append(entry);
        } else if (IsSameLiveProcess(entry.pid, entry.identity)) {
            registry.running.append(entry);
        } else if (!IsSameLiveProcess(entry.supervisorPid, entry.supervisorIdentity)) {
            Remove(entry);
        }
    }
    std::sort(registry.running.begin(), registry.running.end(),
              [](const RunningEmulator& a, const RunningEmulator& b) {
                  return a.startedMs < b.startedMs;
              });
    return registry;
}

QList<RunningEmulator> OfProfile(const QList<RunningEmulator>& entries, const QString& profile)
{
    QList<RunningEmulator> found;
    for (const RunningEmulator& entry : entries) {
        if (entry.profile == profile)
            found.append(entry);
    }
    return found;
}

bool IsFailedStart(qint64 startedMs, qint64 endedMs, int exitCode, int signal)
{
    return endedMs - startedMs < FailedStartMs && (exitCode != 0 || signal != 0);
}

QString DescribeEnd(int exitCode, int signal)
{
    if (signal == 0)
        return QStringLiteral("exit status %1").arg(exitCode);
    const char* name = ::strsignal(signal);
    return name ? QStringLiteral("killed by signal %1 (%2)")
                      .arg(signal)
                      .arg(QString::fromLocal8Bit(name))
                : QStringLiteral("killed by signal %1").arg(signal);
}

QString TimeText(qint64 ms)
{
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(ms);
    return local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODate);
}

} // namespace Running
