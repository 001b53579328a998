#include "launchcommand.h"

#include <QProcess>

LaunchCommand BuildLaunchCommand(const QString& emulatorPath, const QList<ConfigSection>& sections,
                                 const Profile& profile)
{
    LaunchCommand launch;
    launch.command = u'"' + emulatorPath + QStringLiteral("\" ");
    for (const OptionKind kind : AllOptionKinds) {
        const QList<OptionEntry>& entries = sections[SectionIndex(kind)].entries;
        const qint32 i = ChosenIndex(profile, kind);
        if (i >= 0 && i < entries.size())
            launch.command += entries[i].value;
    }
    launch.command += QStringLiteral(" -profile-name \"") + profile.name + QStringLiteral("\" ") +
                      profile.arguments;
    // Qt 6 has no single-string startDetached; splitCommand applies the same quoting rules.
    launch.arguments = QProcess::splitCommand(launch.command);
    if (!launch.arguments.isEmpty())
        launch.program = launch.arguments.takeFirst();
    return launch;
}

bool StartDetached(const LaunchCommand& launch)
{
    return QProcess::startDetached(launch.program, launch.arguments);
}
