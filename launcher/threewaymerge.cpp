#include "threewaymerge.h"

#include "profiletransfer.h"

#include <QHash>
#include <QSet>

#include <array>
#include <optional>

namespace {

using Chosen = std::array<std::optional<OptionEntry>, OptionKindCount>;

// A profile with its choices as the entries they name, so profiles of models whose option
// lists differ compare by what they launch. A choice outside its list keeps its raw index.
struct Resolved
{
    Profile profile;
    Chosen chosen;
};

bool operator==(const Resolved& a, const Resolved& b)
{
    if (a.profile.name != b.profile.name || a.profile.arguments != b.profile.arguments)
        return false;
    for (const OptionKind kind : AllOptionKinds) {
        const int k = int(kind);
        if (!(a.chosen[k] == b.chosen[k]) ||
            (!a.chosen[k] && ChosenIndex(a.profile, kind) != ChosenIndex(b.profile, kind)))
            return false;
    }
    return true;
}

Resolved Resolve(const ConfigModel& model, const Profile& profile)
{
    Resolved resolved{profile, {}};
    for (const OptionKind kind : AllOptionKinds) {
        const QList<OptionEntry>& entries = model.Options(kind);
        const qint32 i = ChosenIndex(profile, kind);
        if (i >= 0 && i < entries.size())
            resolved.chosen[int(kind)] = entries[i];
    }
    return resolved;
}

// A model's profiles by name; the n-th of several of one name is its n-th occurrence.
class Profiles
{
public:
    explicit Profiles(const ConfigModel& model)
    {
        QHash<QString, int> seen;
        for (const Profile& profile : model.profiles) {
            const int n = seen[profile.name]++;
            m_keys.append(Key(profile.name, n));
            m_index.insert(m_keys.last(), m_list.size());
            m_list.append(Resolve(model, profile));
        }
    }
    const Resolved* Find(const QString& key) const
    {
        const auto it = m_index.constFind(key);
        return it == m_index.cend() ? nullptr : &m_list[*it];
    }
    qsizetype Size() const { return m_list.size(); }
    const Resolved& At(qsizetype i) const { return m_list[i]; }
    const QString& KeyAt(qsizetype i) const { return m_keys[i]; }

private:
    static QString Key(const QString& name, int n) { return name + u'\n' + QString::number(n); }
    QList<Resolved> m_list;
    QStringList m_keys;
    QHash<QString, qsizetype> m_index;
};

// Theirs' options, less what ours removed from base, plus what ours added.
QList<OptionEntry> MergeOptions(const QList<OptionEntry>& base, const QList<OptionEntry>& ours,
                                const QList<OptionEntry>& theirs)
{
    QList<OptionEntry> merged = theirs;
    for (const OptionEntry& entry : base) {
        if (!ours.contains(entry))
            merged.removeOne(entry);
    }
    for (const OptionEntry& entry : ours) {
        if (!base.contains(entry) && !merged.contains(entry))
            merged.append(entry);
    }
    return merged;
}

// The profile with its choices found in the merged lists; a choice whose entry went is repaired
// as removing it would have.
Profile Renumber(const Resolved& resolved, const ConfigModel& merged)
{
    Profile profile = resolved.profile;
    for (const OptionKind kind : AllOptionKinds) {
        const std::optional<OptionEntry>& entry = resolved.chosen[int(kind)];
        if (!entry)
            continue;
        const qsizetype at = merged.Options(kind).indexOf(*entry);
        ChosenIndex(profile, kind) = at < 0 ? 0 : qint32(at);
        if (at < 0) {
            if (!profile.arguments.isEmpty())
                profile.arguments += u' ';
            profile.arguments += entry->value;
        }
    }
    return profile;
}

class ProfileMerge
{
public:
    ProfileMerge(const ConfigModel& base, const ConfigModel& ours, const ConfigModel& theirs)
        : m_base(base), m_ours(ours), m_theirs(theirs)
    {
    }

    // Ours' order first, then what only theirs holds.
    void Run()
    {
        for (qsizetype i = 0; i < m_ours.Size(); ++i)
            TakeOurs(m_ours.KeyAt(i), m_ours.At(i));
        for (qsizetype i = 0; i < m_theirs.Size(); ++i) {
            if (!m_handled.contains(m_theirs.KeyAt(i)))
                TakeTheirsOnly(m_theirs.KeyAt(i), m_theirs.At(i));
        }
    }

    const QList<Resolved>& Result() const { return m_result; }
    // Theirs' side of profiles both changed differently.
    const QList<Resolved>& Conflicts() const { return m_conflicts; }

private:
    void TakeOurs(const QString& key, const Resolved& ours)
    {
        const Resolved* base = m_base.Find(key);
        const Resolved* theirs = m_theirs.Find(key);
        if (theirs)
            m_handled.insert(key);
        if (!theirs) {
            // Removed there: gone, unless edited here.
            if (!base || !(ours == *base))
                m_result.append(ours);
            return;
        }
        const bool oursChanged = !base || !(ours == *base);
        const bool theirsChanged = !base || !(*theirs == *base);
        m_result.append(oursChanged ? ours : *theirs);
        if (oursChanged && theirsChanged && !(ours == *theirs))
            m_conflicts.append(*theirs);
    }

    void TakeTheirsOnly(const QString& key, const Resolved& theirs)
    {
        const Resolved* base = m_base.Find(key);
        // Removed here: gone, unless edited there.
        if (!base || !(theirs == *base))
            m_result.append(theirs);
    }

    Profiles m_base;
    Profiles m_ours;
    Profiles m_theirs;
    QSet<QString> m_handled;
    QList<Resolved> m_result;
    QList<Resolved> m_conflicts;
};

} // namespace

bool SameContent(const ConfigModel& a, const ConfigModel& b)
{
    for (const OptionKind kind : AllOptionKinds) {
        if (a.Options(kind) != b.Options(kind))
            return false;
    }
    return a.profiles == b.profiles;
}

ConfigModel MergeThreeWay(const ConfigModel& base, const ConfigModel& ours,
                          const ConfigModel& theirs)
{
    if (SameContent(theirs, base))
        return ours;
    if (SameContent(ours, base))
        return theirs;
    ConfigModel merged{ours.sections, {}};
    for (const OptionKind kind : AllOptionKinds)
        merged.Options(kind) =
            MergeOptions(base.Options(kind), ours.Options(kind), theirs.Options(kind));
    Config::AddDefaultEntries(merged.sections);

    ProfileMerge profiles(base, ours, theirs);
    profiles.Run();
    QSet<QString> names;
    for (const Resolved& resolved : profiles.Result()) {
        merged.profiles.append(Renumber(resolved, merged));
        names.insert(resolved.profile.name);
    }
    // Theirs' side of a conflict joins under a name of its own.
    const auto taken = [&names](const QString& name) { return names.contains(name); };
    for (const Resolved& resolved : profiles.Conflicts()) {
        Profile profile = Renumber(resolved, merged);
        profile.name = FreeProfileName(taken, profile.name);
        names.insert(profile.name);
        merged.profiles.append(profile);
    }
    return merged;
}
