#include "testenv.h"

#include "filelocations.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QPushButton>
#include <QTemporaryDir>

void UsePrivateFolders(const QString& root)
{
    qputenv("XDG_DATA_HOME", QFile::encodeName(root));
    // Launches keep logs in the state folder and their records in the runtime folder.
    const QString runtime = root + QStringLiteral("/runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_STATE_HOME", QFile::encodeName(root + QStringLiteral("/state")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
}

QString UsePrivateDataLocation()
{
    static QTemporaryDir dir;
    UsePrivateFolders(dir.path());
    return dir.path();
}

QString SourceResource(const QString& name)
{
    return QStringLiteral(LAUNCHER_RESOURCES_SOURCE "/") + name;
}

QString UseFixtureAppFolder(bool withShippedFiles)
{
    static QTemporaryDir dir;
    const QString app = dir.path() + (withShippedFiles ? QStringLiteral("/Fixture App.app")
                                                       : QStringLiteral("/Bare App.app"));
    const QString macos = app + QStringLiteral("/Contents/MacOS");
    const QString resources = app + QStringLiteral("/Contents/Resources");
    QDir().mkpath(macos);
    QFile::link(QStringLiteral(SUPERVISOR), macos + QStringLiteral("/nimbra-mobile-supervise"));
    if (withShippedFiles && !QFileInfo::exists(resources)) {
        const QString emulator = resources + QStringLiteral("/Nimbra Mobile.app/Contents/MacOS");
        QDir().mkpath(emulator);
        for (const char* name : {"LauncherDefault.ini", "LauncherHelp.html"})
            QFile::copy(SourceResource(QLatin1String(name)),
                        resources + u'/' + QLatin1String(name));
        QFile::link(StandInEmulator(), emulator + QStringLiteral("/Nimbra Mobile"));
    }
    // Single instance loads its module from the app folder.
    const QString plugins = app + QStringLiteral("/Contents/PlugIns");
    if (QDir().mkpath(plugins))
        QFile::link(QStringLiteral(INSTANCE_MODULE),
                    plugins + QStringLiteral("/") + QFileInfo(INSTANCE_MODULE).fileName());
    SetApplicationDirForTesting(macos);
    UsePrivateDataLocation();
    return macos;
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

QList<QStringList> Recorded(const QString& recordPath)
{
    QList<QStringList> starts;
    for (const QByteArray& line : ReadBytes(recordPath).split('\n')) {
        if (!line.isEmpty())
            starts.append(QJsonDocument::fromJson(line).toVariant().toStringList());
    }
    return starts;
}

QPushButton* ButtonWithText(const QWidget& window, const QString& text)
{
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

QString StandInEmulator()
{
    return QStringLiteral(STANDIN_EMULATOR);
}

QByteArray SizeAndDensitySections()
{
    return "[Resolution]\n\"Any size\"\t\"\"\n\"Small\"\t\" -windowsize 320x480\"\n"
           "\"Large\"\t\" -windowsize 720x1280\"\n[PixelDensity]\n\"Any density\"\t\"\"\n"
           "\"mdpi\"\t\" -ppi 160\"\n\"hdpi\"\t\" -ppi 240\"\n";
}

QByteArray TestConfig()
{
    return "$VERSION\t106\n[Profile]\n"
           "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
           "\"Phone HD\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 0  -gpu on\"\n"
           "\"Tablet\"\t\"[Resolution] 2 [PixelDensity] 3 [Input] 1 -t\"\n"
           "\"Watch\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 -b\"\n"
           "[Resolution]\n\"Default\"\t\"\"\n\"Small\"\t\" -windowsize 320x480\"\n"
           "\"Large\"\t\" -windowsize 800x1280\"\n\"Huge\"\t\" -windowsize 1536x2048\"\n"
           "[PixelDensity]\n\"Default\"\t\"\"\n\"ldpi\"\t\" -ppi 120\"\n\"mdpi\"\t\" -ppi 160\"\n"
           "\"hdpi\"\t\" -ppi 240\"\n[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";
}
