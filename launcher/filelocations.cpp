#include "filelocations.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QStandardPaths>

namespace {

QString& ApplicationDirOverride()
{
    static QString folder;
    return folder;
}

// The app folder is laid out like a macOS bundle on every platform: the executable sits in
// Contents/MacOS, what it ships in Contents/Resources and its modules in Contents/PlugIns.
QString ContentsPath(const QString& path)
{
    const QString& override = ApplicationDirOverride();
    const QString macos = override.isEmpty() ? QCoreApplication::applicationDirPath() : override;
    return QDir(macos + QStringLiteral("/../") + path).absolutePath();
}

QString ResourcePath(const QString& name)
{
    return ContentsPath(QStringLiteral("Resources/") + name);
}

} // namespace

void SetApplicationDirForTesting(const QString& macosFolder)
{
    ApplicationDirOverride() = macosFolder;
}

QString ResolveFileName(int kind)
{
    QString result;
    switch (kind) {
    case UserConfigFile:
        result = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                 QStringLiteral("/Nimbra Mobile/Launcher.ini");
        break;
    case DefaultConfigFile:
        result = ResourcePath(QStringLiteral("LauncherDefault.ini"));
        break;
    case HelpFile:
        result = ResourcePath(QStringLiteral("LauncherHelp.html"));
        break;
    case EmulatorFile:
        result = ResourcePath(QStringLiteral("Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile"));
        break;
    default:
        break;
    }
    return result;
}

QString LauncherExecutablePath()
{
    return ContentsPath(QStringLiteral("MacOS/" LAUNCHER_EXECUTABLE_NAME));
}

QString UserStateFolder()
{
#ifdef Q_OS_MACOS
    const QString state = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
#else
    // Qt 6.4 has no state location yet: the XDG rule by hand.
    QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(state))
        state = QDir::homePath() + QStringLiteral("/.local/state");
#endif
    return state + QStringLiteral("/Nimbra Mobile");
}

QString InstanceModulePath()
{
    return ContentsPath(QStringLiteral("PlugIns/libnimbra-mobile-instance.so"));
}

QString GetFileName(int kind)
{
    const QString result = ResolveFileName(kind);
    // Built by hand: Qt 6's debug stream would escape quotes in the path and drop the
    // closing blank that the trace has always ended with.
    qDebug().noquote() << QStringLiteral("GetFileName( ") + QString::number(kind) +
                              QStringLiteral(" ): result= \"") + result + QStringLiteral("\" ");
    return result;
}
