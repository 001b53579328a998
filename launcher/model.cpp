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

NameFault NameFormatFault(const QString& name)
{
    if (name.isEmpty())
        return NameFault::Empty;
    // The launch command quotes the name without escaping: a quote would split it.
    if (name.contains(u'"'))
        return NameFault::Quote;
    // Whether the file gives the name back is the format's business: ask it.
    QList<ConfigSection> sections = Config::NewSections();
    Config::StoreProfiles(sections, {{name, QString(), {0, 0, 0}}});
    QList<ConfigSection> read = Config::NewSections();
    Config::ReadText(Config::FormatText(sections), read);
    const QList<OptionEntry>& entries = read[Config::ProfileSection].entries;
    return entries.size() == 1 && entries[0].key == name ? NameFault::None : NameFault::Unreadable;
}

NameFault RenameFault(const QList<Profile>& profiles, int row, const QString& name)
{
    const NameFault fault = NameFormatFault(name);
    if (fault != NameFault::None)
        return fault;
    for (int i = 0; i < profiles.size(); ++i) {
        if (i != row && profiles[i].name == name)
            return NameFault::Taken;
    }
    return NameFault::None;
}

int DuplicateProfile(QList<Profile>& profiles, int row)
{
    Profile copy = profiles[row];
    const QString base = copy.name + QStringLiteral(" copy");
    copy.name = base;
    for (int n = 2; FindProfile(profiles, copy.name) >= 0; ++n)
        copy.name = base + u' ' + QString::number(n);
    profiles.insert(row + 1, copy);
    return row + 1;
}

int MoveTarget(const QList<Profile>& profiles, int row, int delta)
{
    const int target = row + delta;
    const bool inside = row > 0 && row < profiles.size() && target > 0 && target < profiles.size();
    return inside ? target : -1;
}

int MoveProfile(QList<Profile>& profiles, int row, int delta)
{
    const int target = MoveTarget(profiles, row, delta);
    if (target >= 0)
        profiles.move(row, target);
    return target;
}
