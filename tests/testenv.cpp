#include "testenv.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPushButton>
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

QByteArray SizeAndDensitySections()
{
    return "[Resolution]\n"
           "\"Any size\"\t\"\"\n"
           "\"Small\"\t\" -windowsize 320x480\"\n"
           "\"Large\"\t\" -windowsize 720x1280\"\n"
           "[PixelDensity]\n"
           "\"Any density\"\t\"\"\n"
           "\"mdpi\"\t\" -ppi 160\"\n"
           "\"hdpi\"\t\" -ppi 240\"\n";
}

QPushButton* ButtonWithText(const QWidget& window, const QString& text)
{
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}
