// The Launcher.ini text format: records of the configuration model and the pure functions
// that read and write them. Nothing here touches a widget, so tests and the fuzzer use it
// without a window.
#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <functional>
#include <iterator>

class QComboBox;

struct OptionEntry
{
    QString key;
    QString value;
};

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

struct Profile
{
    QString name;
    QString arguments;
    qint32 optionIndex[3] = {0, 0, 0};
};

inline bool operator==(const Profile& a, const Profile& b)
{
    return a.name == b.name && a.arguments == b.arguments &&
           std::equal(std::begin(a.optionIndex), std::end(a.optionIndex),
                      std::begin(b.optionIndex));
}

namespace Config {

constexpr qint32 CurrentVersion = 106;
constexpr int SectionCount = 4;
constexpr int ProfileSection = 0;

bool IsAcceptedVersion(qint32 version);

// The four sections every model holds, empty, in their fixed order.
QList<ConfigSection> NewSections();

// Decimal number as QString::toLong parses it on a 64-bit platform.
bool ParseLong(QStringView text, qint64* value);

// Tokens of a line split at runs of blanks, commas, equals signs and tabs, empty ones kept.
QStringList SplitLineTokens(const QString& line);

// Tokens of a profile value split at runs of ASCII whitespace, empty ones dropped.
QStringList SplitValueTokens(const QString& value);

// Reads decoded file text line by line into sections; returns the version found (0 if none).
qint32 ReadText(const QString& text, QList<ConfigSection>& sections);

// Reads the file at fileName (text mode, the text stream's default encoding) into four new
// sections; false when it can't be opened, leaving sections untouched.
bool ReadFile(const QString& fileName, QList<ConfigSection>& sections, qint32* version);

// Receives each entry as the reader completes it, with its section's index.
using EntrySink = std::function<void(int section, OptionEntry&& entry)>;

// ReadFile's reading, ReadChunkBytes at a time, handing each entry to sink instead of keeping
// it: a reader that needs only some of the file touches no memory for the rest.
constexpr qsizetype ReadChunkBytes = 64 * 1024;
bool ReadFileEntries(const QString& fileName, const EntrySink& sink, qint32* version);

// Gives every empty section one "Default" entry with an empty value.
void AddDefaultEntries(QList<ConfigSection>& sections);

// Parses a profile value text into optionIndex and arguments of profile.
void ParseProfileValue(const QString& value, const QList<ConfigSection>& sections,
                       Profile& profile);

QList<Profile> ProfilesFromSection(const QList<ConfigSection>& sections);

QString ProfileValue(const QList<ConfigSection>& sections, const Profile& profile);

QString SectionDisplayName(const QString& sectionName, bool lowerCase);

// Section 0 rebuilt from the profiles, in their order.
void StoreProfiles(QList<ConfigSection>& sections, const QList<Profile>& profiles);

// The whole file as the saver writes it.
QString FormatText(const QList<ConfigSection>& sections);

// Writes FormatText to fileName atomically, creating its folder; false when nothing changed.
// On failure, *errorString (when given) holds the system's reason.
bool WriteFile(const QString& fileName, const QList<ConfigSection>& sections,
               QString* errorString = nullptr);

} // namespace Config
