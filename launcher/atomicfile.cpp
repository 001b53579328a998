#include "atomicfile.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

bool Fail(QSaveFile& file, QString* errorString)
{
    if (errorString)
        *errorString = file.errorString();
    file.cancelWriting();
    return false;
}

bool Fail(QFile& file, QString* errorString)
{
    if (errorString)
        *errorString = file.errorString();
    return false;
}

// Writes data at the file's position until a write fails.
bool WriteAll(QFileDevice& file, QByteArrayView data)
{
    // Unbuffered and written until a write fails: a short write carries no reason, the next
    // one fails with it ("File too large", "No space left on device").
    for (qsizetype written = 0; written < data.size();) {
        const qint64 n = file.write(data.data() + written, data.size() - written);
        if (n <= 0)
            return false;
        written += n;
    }
    return true;
}

bool Synced(QFile& file)
{
#ifdef Q_OS_UNIX
    return ::fsync(file.handle()) == 0;
#else
    return file.flush();
#endif
}

} // namespace

bool WriteFileInPlace(const QString& path, const QByteArray& data, QString* errorString,
                      const QString& backupFolder)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return Fail(file, errorString);
    const QByteArray old = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Fail(file, errorString);
    const QString backup =
        backupFolder.isEmpty()
            ? QString()
            : backupFolder + u'/' + QFileInfo(path).fileName() + QStringLiteral(".before-save");
    if (!backup.isEmpty() &&
        (!QDir().mkpath(backupFolder) || !WriteFileAtomically(backup, old, errorString)))
        return false;
    if (file.seek(0) && WriteAll(file, data) && file.resize(data.size()) && Synced(file)) {
        if (!backup.isEmpty())
            QFile::remove(backup);
        return true;
    }
    const QString reason = file.errorString();
    // The copy is needed only while the old bytes are not back in place.
    const bool restored =
        file.seek(0) && WriteAll(file, old) && file.resize(old.size()) && Synced(file);
    if (restored && !backup.isEmpty())
        QFile::remove(backup);
    if (errorString) {
        *errorString = reason;
        if (!restored && !backup.isEmpty())
            *errorString += QStringLiteral("; the file as it was is kept in %1").arg(backup);
    }
    return false;
}

bool WriteFileAtomically(const QString& path, const QByteArray& data, QString* errorString,
                         const QString& backupFolder)
{
    return WriteFileAtomically(path, QList<QByteArrayView>{data}, errorString, backupFolder);
}

bool WriteFileAtomically(const QString& path, const QList<QByteArrayView>& pieces,
                         QString* errorString, const QString& backupFolder)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        const QFileInfo info(path);
        if (info.isFile() && info.isWritable() && !QFileInfo(info.absolutePath()).isWritable()) {
            QByteArray data;
            for (const QByteArrayView piece : pieces)
                data += piece;
            return WriteFileInPlace(path, data, errorString, backupFolder);
        }
        return Fail(file, errorString);
    }
    // Written through QSaveFile itself: a QTextStream on top hides a failed write and lets
    // commit() replace the old file with a truncated one.
    for (const QByteArrayView piece : pieces)
        if (!WriteAll(file, piece))
            return Fail(file, errorString);
    if (!file.commit()) {
        if (errorString)
            *errorString = file.errorString();
        return false;
    }
    return true;
}
