// The configuration model: the records the window edits and Launcher.ini stores, the option
// kinds, and the profile value text a profile is stored as. No widgets.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <iterator>

class QComboBox;

struct OptionEntry
{
    QString key;
    QString value;
};
// A growing list of thousands moves them by memory, not one by one into fresh memory.
Q_DECLARE_TYPEINFO(OptionEntry, Q_RELOCATABLE_TYPE);

// Entries are the same option only when both key and value agree.
inline bool operator==(const OptionEntry& a, const OptionEntry& b)
{
    return a.key == b.key && a.value == b.value;
}

struct ConfigSection
{
    QString name; // the header line as written, brackets included
    QList<OptionEntry> entries;
    QComboBox* comboBox = nullptr; // not owned; set for the option sections only
};

// The combo box is the window's view of a section, not part of its content.
inline bool operator==(const ConfigSection& a, const ConfigSection& b)
{
    return a.name == b.name && a.entries == b.entries;
}

// The option lists a profile chooses from, in the order of their sections after "[Profile]".
enum class OptionKind { Resolution = 0, PixelDensity = 1, Input = 2 };

constexpr std::array<OptionKind, 3> AllOptionKinds = {OptionKind::Resolution,
                                                      OptionKind::PixelDensity, OptionKind::Input};
constexpr int OptionKindCount = int(AllOptionKinds.size());

struct Profile
{
    QString name;
    QString arguments;
    qint32 optionIndex[OptionKindCount] = {0, 0, 0};
};
Q_DECLARE_TYPEINFO(Profile, Q_RELOCATABLE_TYPE);

inline bool operator==(const Profile& a, const Profile& b)
{
    return a.name == b.name && a.arguments == b.arguments &&
           std::equal(std::begin(a.optionIndex), std::end(a.optionIndex),
                      std::begin(b.optionIndex));
}

// Position of the kind's section in the model's section list.
constexpr int SectionIndex(OptionKind kind)
{
    return int(kind) + 1;
}

inline qint32& ChosenIndex(Profile& profile, OptionKind kind)
{
    return profile.optionIndex[int(kind)];
}

inline qint32 ChosenIndex(const Profile& profile, OptionKind kind)
{
    return profile.optionIndex[int(kind)];
}

// Everything Launcher.ini keeps: its four sections and the profiles. The profiles are the
// authority; section 0 holds them as last read or written and is rebuilt only when writing.
struct ConfigModel
{
    QList<ConfigSection> sections;
    QList<Profile> profiles;

    QList<OptionEntry>& Options(OptionKind kind) { return sections[SectionIndex(kind)].entries; }
    const QList<OptionEntry>& Options(OptionKind kind) const
    {
        return sections[SectionIndex(kind)].entries;
    }
};

inline bool operator==(const ConfigModel& a, const ConfigModel& b)
{
    return a.sections == b.sections && a.profiles == b.profiles;
}

namespace Config {

constexpr int SectionCount = OptionKindCount + 1;
constexpr int ProfileSection = 0;

// The four sections every model holds, empty, in their fixed order.
QList<ConfigSection> NewSections();

// Gives every empty section one "Default" entry with an empty value.
void AddDefaultEntries(QList<ConfigSection>& sections);

QString SectionDisplayName(const QString& sectionName, bool lowerCase);

// Decimal number as QString::toLong parses it on a 64-bit platform.
bool ParseLong(QStringView text, qint64* value);

// Tokens of a profile value split where the walk splits it, empty ones dropped.
QStringList SplitValueTokens(QStringView value);

// Parses a profile value text into optionIndex and arguments of profile.
void ParseProfileValue(QStringView value, const QList<ConfigSection>& sections, Profile& profile);

// The profile value text: each option section's name and chosen index, then the trimmed
// arguments.
QString ProfileValue(const QList<ConfigSection>& sections, const Profile& profile);

// One profile per entry of section 0, in entry order.
QList<Profile> ProfilesFromSection(const QList<ConfigSection>& sections);

// Section 0 rebuilt from the profiles, in their order: what is written.
void StoreProfiles(ConfigModel& model);

} // namespace Config
