#include "model.h"

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

QStringList ProfilesUsingOption(const QList<Profile>& profiles, OptionKind kind, int index)
{
    QStringList names;
    for (const Profile& profile : profiles) {
        if (ChosenIndex(profile, kind) == index)
            names.append(profile.name);
    }
    return names;
}

void RemoveOption(QList<ConfigSection>& sections, QList<Profile>& profiles, OptionKind kind,
                  int index)
{
    QList<OptionEntry>& entries = sections[SectionIndex(kind)].entries;
    const QString removedValue = entries[index].value;
    for (Profile& profile : profiles) {
        qint32& choice = ChosenIndex(profile, kind);
        if (choice == index) {
            choice = 0;
            if (!profile.arguments.isEmpty())
                profile.arguments += u' ';
            profile.arguments += removedValue;
        } else if (choice > index) {
            --choice;
        }
    }
    entries.removeAt(index);
}

int FindProfile(const QList<Profile>& profiles, const QString& name)
{
    for (int i = 0; i < profiles.size(); ++i) {
        if (profiles[i].name == name)
            return i;
    }
    return -1;
}
