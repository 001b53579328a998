#include "threewaymerge.h"

#include "profiletransfer.h"

#include <QHash>
#include <QSet>

#include <array>

namespace {

// One of the three models, with its profiles found by name: the n-th of several of one name
// is its n-th occurrence. Profiles are compared and taken by row, never copied until the end:
// merging two large models touches each profile a few times only.
class Side
{
public:
    explicit Side(const ConfigModel& model) : m_model(model), m_occurrence(model.profiles.size())
    {
        const QList<Profile>& profiles = model.profiles;
        m_first.reserve(profiles.size());
        for (qsizetype row = 0; row < profiles.size(); ++row) {
            const auto it = m_first.constFind(profiles[row].name);
            if (it == m_first.cend())
                m_first.insert(profiles[row].name, row);
            else
                m_occurrence[row] = Occurrences(profiles[row].name, *it, row);
        }
    }

    const ConfigModel& Model() const { return m_model; }
    qsizetype Size() const { return m_model.profiles.size(); }
    int Occurrence(qsizetype row) const { return m_occurrence[row]; }

    // Row of the occurrence-th profile named name, or -1.
    qsizetype Find(const QString& name, int occurrence) const
    {
        const auto it = m_first.constFind(name);
        if (it == m_first.cend() || occurrence == 0)
            return it == m_first.cend() ? -1 : *it;
        return Nth(name, *it, occurrence);
    }

private:
    // Duplicate names are rare: counted and found by a walk.
    int Occurrences(const QString& name, qsizetype from, qsizetype before) const
    {
        int count = 0;
        for (qsizetype row = from; row < before; ++row)
            count += m_model.profiles[row].name == name;
        return count;
    }
    qsizetype Nth(const QString& name, qsizetype from, int n) const
    {
        for (qsizetype row = from + 1; row < Size(); ++row) {
            if (m_model.profiles[row].name == name && --n == 0)
                return row;
        }
        return -1;
    }

    const ConfigModel& m_model;
    QHash<QString, qsizetype> m_first;
    QList<int> m_occurrence;
};

struct Taken
{
    const Side* side;
    qsizetype row;
};

// Same name, arguments and choices, a choice being the entry it names in its own model's
// list, or the raw index for one outside it.
bool Same(Taken a, Taken b)
{
    const Profile& p = a.side->Model().profiles[a.row];
    const Profile& q = b.side->Model().profiles[b.row];
    if (p.name != q.name || p.arguments != q.arguments)
        return false;
    for (const OptionKind kind : AllOptionKinds) {
        const QList<OptionEntry>& pe = a.side->Model().Options(kind);
        const QList<OptionEntry>& qe = b.side->Model().Options(kind);
        const qint32 i = ChosenIndex(p, kind);
        const qint32 j = ChosenIndex(q, kind);
        const bool inP = i >= 0 && i < pe.size();
        const bool inQ = j >= 0 && j < qe.size();
        if (inP != inQ || (inP ? !(pe[i] == qe[j]) : i != j))
            return false;
    }
    return true;
}

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

// Where each entry of a side's list stands in the merged list; -1 for one that went.
using Moves = std::array<QList<qsizetype>, OptionKindCount>;

Moves MovesOf(const ConfigModel& side, const ConfigModel& merged)
{
    Moves moves;
    for (const OptionKind kind : AllOptionKinds) {
        for (const OptionEntry& entry : side.Options(kind))
            moves[int(kind)].append(merged.Options(kind).indexOf(entry));
    }
    return moves;
}

// The profile with its choices moved to the merged lists; a choice whose entry went is
// repaired as removing it would have.
Profile Renumber(Taken taken, const Moves& moves)
{
    Profile profile = taken.side->Model().profiles[taken.row];
    for (const OptionKind kind : AllOptionKinds) {
        const QList<qsizetype>& move = moves[int(kind)];
        qint32& choice = ChosenIndex(profile, kind);
        if (choice < 0 || choice >= move.size())
            continue;
        if (move[choice] >= 0) {
            choice = qint32(move[choice]);
            continue;
        }
        if (!profile.arguments.isEmpty())
            profile.arguments += u' ';
        profile.arguments += taken.side->Model().Options(kind)[choice].value;
        choice = 0;
    }
    return profile;
}

class ProfileMerge
{
public:
    ProfileMerge(const Side& base, const Side& ours, const Side& theirs)
        : m_base(base), m_ours(ours), m_theirs(theirs), m_handled(theirs.Size(), false)
    {
    }

    // Ours' order first, then what only theirs holds.
    void Run()
    {
        for (qsizetype row = 0; row < m_ours.Size(); ++row)
            TakeOurs(row);
        for (qsizetype row = 0; row < m_theirs.Size(); ++row) {
            if (!m_handled[row])
                TakeTheirsOnly(row);
        }
    }

    const QList<Taken>& Result() const { return m_result; }
    // Theirs' side of profiles both changed differently.
    const QList<Taken>& Conflicts() const { return m_conflicts; }

private:
    qsizetype In(const Side& side, const Side& from, qsizetype row) const
    {
        return side.Find(from.Model().profiles[row].name, from.Occurrence(row));
    }

    void TakeOurs(qsizetype row)
    {
        const Taken ours{&m_ours, row};
        const qsizetype base = In(m_base, m_ours, row);
        const qsizetype theirRow = In(m_theirs, m_ours, row);
        const bool oursChanged = base < 0 || !Same(ours, {&m_base, base});
        if (theirRow < 0) {
            // Removed there: gone, unless edited here.
            if (oursChanged)
                m_result.append(ours);
            return;
        }
        m_handled[theirRow] = true;
        const Taken theirs{&m_theirs, theirRow};
        const bool theirsChanged = base < 0 || !Same(theirs, {&m_base, base});
        m_result.append(oursChanged ? ours : theirs);
        if (oursChanged && theirsChanged && !Same(ours, theirs))
            m_conflicts.append(theirs);
    }

    void TakeTheirsOnly(qsizetype row)
    {
        const qsizetype base = In(m_base, m_theirs, row);
        // Removed here: gone, unless edited there.
        if (base < 0 || !Same({&m_theirs, row}, {&m_base, base}))
            m_result.append({&m_theirs, row});
    }

    const Side& m_base;
    const Side& m_ours;
    const Side& m_theirs;
    QList<bool> m_handled;
    QList<Taken> m_result;
    QList<Taken> m_conflicts;
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

    const Side baseSide(base), ourSide(ours), theirSide(theirs);
    ProfileMerge profiles(baseSide, ourSide, theirSide);
    profiles.Run();
    const Moves ourMoves = MovesOf(ours, merged);
    const Moves theirMoves = MovesOf(theirs, merged);
    const auto renumber = [&](Taken taken) {
        return Renumber(taken, taken.side == &ourSide ? ourMoves : theirMoves);
    };
    merged.profiles.reserve(profiles.Result().size() + profiles.Conflicts().size());
    for (const Taken taken : profiles.Result())
        merged.profiles.append(renumber(taken));
    if (profiles.Conflicts().isEmpty())
        return merged;
    // Theirs' side of a conflict joins under a name of its own.
    QSet<QString> names;
    for (const Profile& profile : std::as_const(merged.profiles))
        names.insert(profile.name);
    const auto taken = [&names](const QString& name) { return names.contains(name); };
    for (const Taken conflict : profiles.Conflicts()) {
        Profile profile = renumber(conflict);
        profile.name = FreeProfileName(taken, profile.name);
        names.insert(profile.name);
        merged.profiles.append(profile);
    }
    return merged;
}
