#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

QString UsePrivateDataLocation()
{
    static QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.path()));
    return dir.path();
}

QString UserConfigPath()
{
    return qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Nimbra Mobile/Launcher.ini");
}

bool WriteText(const QString& path, const QByteArray& text)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size();
}

QByteArray ReadBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
