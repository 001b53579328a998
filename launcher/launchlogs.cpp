#include "launchlogs.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

constexpr int MaxStemBytes = 120;
constexpr qint64 TailBytes = 64 * 1024;

// Kept as they are; every other byte of the UTF-8 name becomes %XX, so no name can reach a
// separator, a dot (no "..", no hidden file) or a character some file system refuses, and
// different names stay different.
bool KeptAsIs(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           QByteArrayView(" -_+,()[]").contains(c);
}

struct LogName
{
    QString stem;
    QString stamp; // UTC start time, so names sort as the launches came
    QString fileName;
};

// stem.yyyyMMdd-HHmmss-zzz[-n].log; other files in the folder are not logs of ours.
bool ParseLogName(const QString& fileName, LogName* log)
{
    static const QRegularExpression pattern(
        QStringLiteral("^([^.]+)\\.(\\d{8}-\\d{6}-\\d{3}(?:-\\d+)?)\\.log$"));
    const QRegularExpressionMatch match = pattern.match(fileName);
    if (!match.hasMatch())
        return false;
    *log = {match.captured(1), match.captured(2), fileName};
    return true;
}

QList<LogName> ListLogs(const QString& folder)
{
    QList<LogName> logs;
    LogName log;
    for (const QString& name :
         QDir(folder).entryList({QStringLiteral("*.log")}, QDir::Files | QDir::Hidden)) {
        if (ParseLogName(name, &log))
            logs.append(log);
    }
    // Newest first.
    std::sort(logs.begin(), logs.end(),
              [](const LogName& a, const LogName& b) { return a.stamp > b.stamp; });
    return logs;
}

QString HomeBased(const char* variable, const QString& fallback)
{
    const QString value = qEnvironmentVariable(variable);
    return QDir::isAbsolutePath(value) ? value : QDir::homePath() + fallback;
}

} // namespace

namespace LaunchLogs {

QString Folder()
{
#if defined(Q_OS_MACOS)
    return QDir::homePath() + QStringLiteral("/Library/Logs/Nimbra Mobile");
#else
    return HomeBased("XDG_STATE_HOME", QStringLiteral("/.local/state")) +
           QStringLiteral("/Nimbra Mobile/logs");
#endif
}

QString FileStem(const QString& profile)
{
    const QByteArray utf8 = profile.toUtf8();
    if (utf8.isEmpty())
        return QStringLiteral("%"); // a real escape always has two digits after it
    QByteArray stem;
    for (const char c : utf8) {
        if (KeptAsIs(c))
            stem += c;
        else
            stem += '%' + QByteArray::number(uchar(c), 16).rightJustified(2, '0').toUpper();
    }
    if (stem.size() > MaxStemBytes) {
        // Cut before an escape, never inside one; the hash keeps long names apart.
        qsizetype cut = MaxStemBytes - 10;
        while (cut > 0 && stem.lastIndexOf('%', cut - 1) > cut - 3)
            --cut;
        stem = stem.left(cut) + '~' +
               QCryptographicHash::hash(utf8, QCryptographicHash::Sha1).toHex().left(8);
    }
    return QString::fromLatin1(stem);
}

QString Create(const QString& folder, const QString& profile, const QString& command,
               qint64 startedMs, QString* error)
{
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("cannot make the folder %1").arg(folder);
        return QString();
    }
    const QString base = folder + u'/' + FileStem(profile) + u'.' +
                         QDateTime::fromMSecsSinceEpoch(startedMs, Qt::UTC)
                             .toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QByteArray header = command.toUtf8() + '\n';
    // Two launches in the same millisecond each get a file of their own.
    for (int n = 1; n < 100; ++n) {
        const QString path =
            base + (n > 1 ? QStringLiteral("-%1.log").arg(n) : QStringLiteral(".log"));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            if (file.write(header) == header.size() && file.flush())
                return path;
            *error = file.errorString();
            file.remove();
            return QString();
        }
        if (!file.exists()) {
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
            return QString();
        }
    }
    *error = QStringLiteral("too many logs named %1").arg(base);
    return QString();
}

void Prune(const QString& folder, const QStringList& inUse, int keepPerProfile, int keepInAll)
{
    // Compared as canonical paths: a record may name the folder another way.
    QSet<QString> used;
    for (const QString& path : inUse)
        used.insert(QFileInfo(path).canonicalFilePath());
    const QString canonicalFolder = QDir(folder).canonicalPath();
    QMap<QString, int> kept;
    int keptInAll = 0;
    for (const LogName& log : ListLogs(folder)) {
        int& ofProfile = kept[log.stem];
        if ((ofProfile < keepPerProfile && keptInAll < keepInAll) ||
            used.contains(canonicalFolder + u'/' + log.fileName)) {
            ++ofProfile;
            ++keptInAll;
        } else {
            QFile::remove(folder + u'/' + log.fileName);
        }
    }
}

QString Latest(const QString& folder, const QString& profile)
{
    const QString stem = FileStem(profile);
    for (const LogName& log : ListLogs(folder)) {
        if (log.stem == stem)
            return folder + u'/' + log.fileName;
    }
    return QString();
}

QStringList LastLines(const QString& path, int count)
{
    QFile file(path);
    if (count <= 0 || !file.open(QIODevice::ReadOnly))
        return {};
    const qint64 start = std::max<qint64>(0, file.size() - TailBytes);
    file.seek(start);
    QList<QByteArray> lines = file.readAll().split('\n');
    // The first piece is the command, or a line cut by the seek.
    lines.removeFirst();
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    QStringList last;
    for (qsizetype i = std::max<qsizetype>(0, lines.size() - count); i < lines.size(); ++i)
        last.append(QString::fromUtf8(lines[i]));
    return last;
}

} // namespace LaunchLogs
