#include "loading.h"

#include "filelocations.h"
#include "profilerules.h"

#include <algorithm>

namespace {

int EditDistance(const QString& a, const QString& b)
{
    QList<int> row(b.size() + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
            diagonal = above;
        }
    }
    return row[b.size()];
}

} // namespace

bool ExplainDefaults(const UserFile::Loaded& loaded, const Console& console)
{
    switch (loaded.defaults) {
    case UserFile::DefaultsState::Outdated:
        // The window warns and goes on with empty lists; so does this.
        console.PrintError(QStringLiteral("%1 is out of date.\n").arg(loaded.defaultsPath));
        return true;
    case UserFile::DefaultsState::Unreadable:
        console.PrintError(QStringLiteral("Cannot read %1 nor the defaults at %2.\n")
                               .arg(loaded.userPath, loaded.defaultsPath));
        return false;
    case UserFile::DefaultsState::Loaded:
    case UserFile::DefaultsState::NotRead:
        break;
    }
    return loaded.Ok();
}

bool LoadForReading(const Options& options, ConfigModel& model, const Console& console)
{
    using UserFile::UserState;
    const bool named = !options.file.isEmpty();
    UserFile::LoadRequest request;
    request.userPath = named ? options.file : GetFileName(UserConfigFile);
    // A file named on the command line is meant to be read: no fallback.
    if (!named)
        request.defaultsPath = [] { return GetFileName(DefaultConfigFile); };
    UserFile::Loaded loaded = UserFile::Load(request);
    const QString& path = loaded.userPath;
    if (loaded.user == UserState::Outdated) {
        console.PrintError(
            (named ? QStringLiteral("%1 is not a Launcher.ini of a version this program reads "
                                    "(version %2).\n")
                   // The launcher sets it aside at its next start; reading leaves it be.
                   : QStringLiteral("%1 is out of date (version %2); using the defaults.\n"))
                .arg(path)
                .arg(loaded.userVersion));
    } else if (loaded.user == UserState::Unreadable ||
               (named && loaded.user == UserState::Missing)) {
        console.PrintError(named
                               ? QStringLiteral("Cannot read %1.\n").arg(path)
                               : QStringLiteral("Cannot read %1; using the defaults.\n").arg(path));
    }
    if (!ExplainDefaults(loaded, console))
        return false;
    model = std::move(loaded.model);
    return true;
}

int FindOrExplain(const QList<Profile>& profiles, const QString& name, const Console& console)
{
    const int row = FindProfile(profiles, name);
    if (row >= 0)
        return row;
    console.PrintError(QStringLiteral("No profile named \"%1\".\n").arg(name));
    QStringList names;
    for (const Profile& profile : profiles)
        names.append(profile.name);
    const QStringList close = CloseNames(names, name);
    if (!close.isEmpty())
        console.PrintError(QStringLiteral("Close names:\n  ") + close.join(QStringLiteral("\n  ")) +
                           u'\n');
    return -1;
}

QStringList CloseNames(const QStringList& names, const QString& name)
{
    const QString wanted = name.toCaseFolded();
    // A blank name is inside nearly every name and close to none.
    if (wanted.trimmed().isEmpty())
        return {};
    // Typing slips grow with the name; a third of it, at least one character.
    const int limit = std::max(1, int(wanted.size()) / 3);
    QList<std::pair<int, QString>> ranked;
    for (const QString& candidate : names) {
        const QString folded = candidate.toCaseFolded();
        int score = EditDistance(folded, wanted);
        if (folded.contains(wanted) || wanted.contains(folded))
            score = std::min(score, 1);
        if (score <= limit && !std::any_of(ranked.cbegin(), ranked.cend(),
                                           [&](const auto& r) { return r.second == candidate; }))
            ranked.append({score, candidate});
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    QStringList close;
    for (int i = 0; i < ranked.size() && i < 3; ++i)
        close.append(ranked[i].second);
    return close;
}
