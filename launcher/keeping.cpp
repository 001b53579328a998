#include "keeping.h"

#include <QFile>
#include <QFileInfo>

namespace Keeping {

namespace {

// Bounds the search in a folder full of set-aside files; one more name never takes that long.
constexpr int kMaxSetAsideNames = 10000;

int IndexOfEntry(const QList<OptionEntry>& entries, const OptionEntry& entry)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries[i].key == entry.key && entries[i].value == entry.value)
            return i;
    }
    return -1;
}

} // namespace

QString SetFileAside(const QString& path, qint32 version)
{
    QString stem = path;
    stem.chop(3);
    stem += QString::number(version);
    for (int n = 0; n < kMaxSetAsideNames; ++n) {
        const QString candidate = n == 0
                                      ? stem + QStringLiteral(".ini")
                                      : stem + u'.' + QString::number(n) + QStringLiteral(".ini");
        // QFile::rename never replaces an existing file, so a taken name only fails this try.
        if (QFile::rename(path, candidate))
            return candidate;
        const QFileInfo taken(candidate);
        if (!taken.exists() && !taken.isSymLink())
            break; // the file itself can't move (read-only folder): another name won't help
    }
    return path;
}

QList<ConfigSection> MergeSaved(const QList<ConfigSection>& theirSections,
                                const QList<ConfigSection>& ourSections,
                                const QList<Profile>& ourProfiles)
{
    QList<ConfigSection> merged = theirSections;
    for (int k = 1; k < Config::SectionCount; ++k) {
        for (const OptionEntry& entry : ourSections[k].entries) {
            if (IndexOfEntry(merged[k].entries, entry) < 0)
                merged[k].entries.append(entry);
        }
    }
    QList<OptionEntry>& profiles = merged[Config::ProfileSection].entries;
    for (Profile profile : ourProfiles) {
        bool known = false;
        for (const OptionEntry& their : profiles)
            known = known || their.key == profile.name;
        if (known)
            continue;
        for (int k = 1; k < Config::SectionCount; ++k) {
            qint32& index = profile.optionIndex[k - 1];
            // An index outside our list chose nothing and keeps choosing nothing.
            if (index >= 0 && index < ourSections[k].entries.size())
                index = IndexOfEntry(merged[k].entries, ourSections[k].entries[index]);
        }
        profiles.append({profile.name, Config::ProfileValue(merged, profile)});
    }
    return merged;
}

} // namespace Keeping
