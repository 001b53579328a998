#include "atomicfile.h"

#include <QSaveFile>

bool WriteFileAtomically(const QString& path, const QByteArray& data)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // Written through QSaveFile itself: a QTextStream on top hides a failed write and lets
    // commit() replace the old file with a truncated one.
    if (file.write(data) != data.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}
