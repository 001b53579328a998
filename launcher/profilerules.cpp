#include "profilerules.h"

#include "fileformat.h"

int FindProfile(const QList<Profile>& profiles, const QString& name)
{
    for (int i = 0; i < profiles.size(); ++i) {
        if (profiles[i].name == name)
            return i;
    }
    return -1;
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

void RemoveOption(ConfigModel& model, OptionKind kind, int index)
{
    QList<OptionEntry>& entries = model.Options(kind);
    const QString removedValue = entries[index].value;
    for (Profile& profile : model.profiles) {
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

NameFault NameFormatFault(const QString& name)
{
    if (name.isEmpty())
        return NameFault::Empty;
    // The launch command quotes the name without escaping: a quote would split it.
    if (name.contains(u'"'))
        return NameFault::Quote;
    // Whether the file gives the name back is the format's business: ask it.
    ConfigModel model{Config::NewSections(), {{name, QString(), {0, 0, 0}}}};
    QList<ConfigSection> read = Config::NewSections();
    Config::ReadText(Config::FormatText(model), read);
    const QList<OptionEntry>& entries = read[Config::ProfileSection].entries;
    return entries.size() == 1 && entries[0].key == name ? NameFault::None : NameFault::Unreadable;
}

NameFault RenameFault(const QList<Profile>& profiles, int row, const QString& name)
{
    const NameFault fault = NameFormatFault(name);
    if (fault != NameFault::None)
        return fault;
    const int holder = FindProfile(profiles, name);
    return holder >= 0 && holder != row ? NameFault::Taken : NameFault::None;
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
