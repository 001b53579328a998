#include "instancepaths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

QByteArray UserId()
{
#ifdef Q_OS_UNIX
    return QByteArray::number(::getuid());
#else
    return qgetenv("USERNAME");
#endif
}

// The session's runtime folder belongs to the user alone (Linux has one); macOS has none, but
// its temporary folder is per user. Where that is a shared /tmp, the user in the hashed name
// still keeps users apart, and a socket made under the default umask admits only its owner.
// The data folder is the last resort, for when neither can be written.
QStringList InstanceFolders()
{
    QStringList folders;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        folders.append(runtime);
    folders.append(QDir::tempPath());
    folders.append(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                   QStringLiteral("/Nimbra Mobile"));
    folders.removeDuplicates();
    return folders;
}

} // namespace

InstancePaths InstancePathsFor(const QString& executablePath)
{
    return InstancePathCandidatesFor(executablePath).first();
}

QString InstanceName(const QString& executablePath)
{
    const QByteArray identity = executablePath.toUtf8() + '\n' + UserId();
    return QStringLiteral("nimbra-launcher-") +
           QString::fromLatin1(
               QCryptographicHash::hash(identity, QCryptographicHash::Sha256).toHex().left(16));
}

QList<InstancePaths> InstancePathCandidatesFor(const QString& executablePath)
{
    const QString name = InstanceName(executablePath);
    QList<InstancePaths> candidates;
    for (const QString& folder : InstanceFolders()) {
        const QString base = folder + u'/' + name;
        candidates.append({base + QStringLiteral(".lock"), base});
    }
    return candidates;
}
