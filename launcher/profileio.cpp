#include "profileio.h"

#include <QRegularExpression>

ReadResult ReadModel(const QString& fileName, ConfigModel& model, qint32* version)
{
    qint32 read = 0;
    if (!Config::ReadFile(fileName, model.sections, &read))
        return ReadResult::Unreadable;
    if (version)
        *version = read;
    const bool accepted = Config::IsAcceptedVersion(read);
    if (!accepted) {
        for (ConfigSection& section : model.sections)
            section.entries.clear();
    }
    Config::AddDefaultEntries(model.sections);
    model.profiles = Config::ProfilesFromSection(model.sections);
    return accepted ? ReadResult::Loaded : ReadResult::Outdated;
}

bool ReadProfileNames(const QString& fileName, const std::function<void(const QString&)>& onName)
{
    bool named = false;
    qint32 version = 0;
    const auto sink = [&](int section, OptionEntry&& entry) {
        if (section == Config::ProfileSection) {
            named = true;
            onName(entry.key);
        }
    };
    return Config::ReadFileEntries(fileName, sink, &version) && named &&
           Config::IsAcceptedVersion(version);
}

ConfigModel ExtractProfiles(const ConfigModel& model, const QList<int>& rows)
{
    ConfigModel result;
    result.sections = Config::NewSections();
    for (const int row : rows)
        result.profiles.append(model.profiles[row]);

    for (const OptionKind kind : AllOptionKinds) {
        const QList<OptionEntry>& entries = model.sections[SectionIndex(kind)].entries;
        QList<int> newIndex(entries.size(), -1);
        for (const Profile& profile : std::as_const(result.profiles)) {
            const qint32 i = ChosenIndex(profile, kind);
            if (i >= 0 && i < entries.size())
                newIndex[i] = 0;
        }
        // Kept entries stay in their old order.
        QList<OptionEntry>& kept = result.sections[SectionIndex(kind)].entries;
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

QString FreeProfileName(const QList<Profile>& profiles, const QString& name)
{
    QString candidate = name;
    for (int n = 2; FindProfile(profiles, candidate) >= 0; ++n)
        candidate = name + QStringLiteral(" (%1)").arg(n);
    return candidate;
}

namespace {

bool SameOption(const OptionEntry& a, const OptionEntry& b)
{
    return a.key == b.key && a.value == b.value;
}

// True for name itself and for the names FreeProfileName makes of it.
bool IsNameOrRenamed(const QString& candidate, const QString& name)
{
    if (candidate == name)
        return true;
    static const QRegularExpression suffix(QStringLiteral("^ \\(([2-9]|[1-9][0-9]+)\\)$"));
    return candidate.startsWith(name) && suffix.match(candidate.mid(name.size())).hasMatch();
}

} // namespace

MergeReport MergeModel(ConfigModel& target, const ConfigModel& source)
{
    MergeReport report;
    // Where each source entry ends up in the target, per kind.
    QList<int> moved[3];
    for (const OptionKind kind : AllOptionKinds) {
        QList<OptionEntry>& into = target.sections[SectionIndex(kind)].entries;
        for (const OptionEntry& entry : source.sections[SectionIndex(kind)].entries) {
            int at = -1;
            for (int i = 0; i < into.size() && at < 0; ++i) {
                if (SameOption(into[i], entry))
                    at = i;
            }
            if (at < 0) {
                at = into.size();
                into.append(entry);
                report.addedOptions[int(kind)].append(entry);
            }
            moved[int(kind)].append(at);
        }
    }

    for (Profile profile : source.profiles) {
        for (const OptionKind kind : AllOptionKinds) {
            qint32& choice = ChosenIndex(profile, kind);
            const QList<int>& map = moved[int(kind)];
            // A choice of nothing must stay one: an index past the source's entries could
            // name an entry of the merged list.
            choice = choice >= 0 && choice < map.size() ? map[choice] : -1;
        }
        const QString value = Config::ProfileValue(target.sections, profile);
        bool present = false;
        for (const Profile& existing : std::as_const(target.profiles)) {
            if (IsNameOrRenamed(existing.name, profile.name) &&
                Config::ProfileValue(target.sections, existing) == value) {
                present = true;
                break;
            }
        }
        if (present) {
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
