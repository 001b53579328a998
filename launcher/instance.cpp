#include "instance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

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
QString InstanceFolder()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return runtime;
    return QDir::tempPath();
}

} // namespace

InstancePaths InstancePathsFor(const QString& executablePath)
{
    // Hashed, so the name stays short: macOS allows socket paths of about 100 bytes.
    const QByteArray identity = executablePath.toUtf8() + '\n' + UserId();
    const QString name =
        QStringLiteral("nimbra-launcher-") +
        QString::fromLatin1(
            QCryptographicHash::hash(identity, QCryptographicHash::Sha256).toHex().left(16));
    const QString base = InstanceFolder() + u'/' + name;
    return {base + QStringLiteral(".lock"), base};
}
