#include "atomicfile.h"

#include <QSaveFile>

namespace {

bool Fail(QSaveFile& file, QString* errorString)
{
    if (errorString)
        *errorString = file.errorString();
    file.cancelWriting();
    return false;
}

} // namespace

bool WriteFileAtomically(const QString& path, const QByteArray& data, QString* errorString)
{
    QSaveFile file(path);
    // Unbuffered and written until a write fails: a short write carries no reason, the next
    // one fails with it ("File too large", "No space left on device").
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return Fail(file, errorString);
    // Written through QSaveFile itself: a QTextStream on top hides a failed write and lets
    // commit() replace the old file with a truncated one.
    for (qsizetype written = 0; written < data.size();) {
        const qint64 n = file.write(data.constData() + written, data.size() - written);
        if (n <= 0)
            return Fail(file, errorString);
        written += n;
    }
    if (!file.commit()) {
        if (errorString)
            *errorString = file.errorString();
        return false;
    }
    return true;
}
