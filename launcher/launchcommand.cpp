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
    launch.arguments = SplitArguments(launch.command);
    if (!launch.arguments.isEmpty())
        launch.program = launch.arguments.takeFirst();
    return launch;
}

QStringList SplitArguments(const QString& text)
{
    // Qt 6 has no single-string startDetached; splitCommand applies the same quoting rules.
    return QProcess::splitCommand(text);
}

void AppendArguments(LaunchCommand& launch, const QStringList& extra)
{
    launch.arguments += extra;
    for (const QString& argument : extra) {
        const bool blank = argument.contains(u' ');
        launch.command += (blank ? QStringLiteral(" \"%1\"") : QStringLiteral(" %1")).arg(argument);
    }
}

bool StartDetached(const LaunchCommand& launch)
{
    return QProcess::startDetached(launch.program, launch.arguments);
}
