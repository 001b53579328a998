#include "profiletransfer.h"

#include "profilerules.h"

#include <QRegularExpression>

namespace {

// True for name itself and for the names FreeProfileName makes of it.
bool IsNameOrRenamed(const QString& candidate, const QString& name)
{
    if (candidate == name)
        return true;
    static const QRegularExpression suffix(QStringLiteral("^ \\(([2-9]|[1-9][0-9]+)\\)$"));
    return candidate.startsWith(name) && suffix.match(candidate.mid(name.size())).hasMatch();
}

bool HasSameProfile(const ConfigModel& target, const Profile& profile)
{
    const QString value = Config::ProfileValue(target.sections, profile);
    for (const Profile& existing : target.profiles) {
        if (IsNameOrRenamed(existing.name, profile.name) &&
            Config::ProfileValue(target.sections, existing) == value)
            return true;
    }
    return false;
}

// Appends source's options target lacks; returns where each source entry is in target.
QList<int> MergeOptions(ConfigModel& target, const ConfigModel& source, OptionKind kind,
                        MergeReport& report)
{
    QList<OptionEntry>& into = target.Options(kind);
    QList<int> moved;
    for (const OptionEntry& entry : source.Options(kind)) {
        qsizetype at = into.indexOf(entry);
        if (at < 0) {
            at = into.size();
            into.append(entry);
            report.addedOptions[int(kind)].append(entry);
        }
        moved.append(int(at));
    }
    return moved;
}

} // namespace

ConfigModel ExtractProfiles(const ConfigModel& model, const QList<int>& rows)
{
    ConfigModel result{Config::NewSections(), {}};
    for (const int row : rows)
        result.profiles.append(model.profiles[row]);

    for (const OptionKind kind : AllOptionKinds) {
        const QList<OptionEntry>& entries = model.Options(kind);
        QList<int> newIndex(entries.size(), -1);
        for (const Profile& profile : std::as_const(result.profiles)) {
            const qint32 i = ChosenIndex(profile, kind);
            if (i >= 0 && i < entries.size())
                newIndex[i] = 0;
        }
        // Kept entries stay in their old order.
        QList<OptionEntry>& kept = result.Options(kind);
        for (int i = 0; i < entries.size(); ++i) {
            if (newIndex[i] == 0) {
                newIndex[i] = kept.size();
                kept.append(entries[i]);
            }
        }
        for (Profile& profile : result.profiles) {
            qint32& choice = ChosenIndex(profile, kind);
            choice = choice >= 0 && choice < entries.size() ? newIndex[choice] : -1;
        }
    }
    return result;
}

QString FreeProfileName(const std::function<bool(const QString&)>& taken, const QString& name)
{
    QString candidate = name;
    for (int n = 2; taken(candidate); ++n)
        candidate = name + QStringLiteral(" (%1)").arg(n);
    return candidate;
}

QString FreeProfileName(const QList<Profile>& profiles, const QString& name)
{
    return FreeProfileName(
        [&profiles](const QString& candidate) { return FindProfile(profiles, candidate) >= 0; },
        name);
}

MergeReport MergeModel(ConfigModel& target, const ConfigModel& source, SameName rule)
{
    MergeReport report;
    std::array<QList<int>, OptionKindCount> moved;
    for (const OptionKind kind : AllOptionKinds)
        moved[int(kind)] = MergeOptions(target, source, kind, report);

    for (Profile profile : source.profiles) {
        for (const OptionKind kind : AllOptionKinds) {
            qint32& choice = ChosenIndex(profile, kind);
            const QList<int>& map = moved[int(kind)];
            // A choice of nothing must stay one: an index past the source's entries could
            // name an entry of the merged list.
            choice = choice >= 0 && choice < map.size() ? map[choice] : -1;
        }
        const bool leftOut = rule == SameName::KeepTarget
                                 ? FindProfile(target.profiles, profile.name) >= 0
                                 : HasSameProfile(target, profile);
        if (leftOut) {
            report.skipped.append(profile.name);
            continue;
        }
        const QString fromName = profile.name;
        profile.name = FreeProfileName(target.profiles, fromName);
        target.profiles.append(profile);
        report.added.append({profile.name, fromName});
    }
    return report;
}
