#include "config.h"

#include "quotedentries.h"

#include <utility>

namespace Config {

namespace {

// Profile values split where QRegExp's "\s" did, at every QChar::isSpace() character: the same
// set trimmed() strips when the value is written, so a saved value reads back as it was.
// (QRegularExpression's "\s" is ASCII only.)
bool IsValueSpace(QChar c)
{
    return c.isSpace();
}

// The next run of characters that are not value whitespace, from *pos on; empty at the end.
QStringView NextValueToken(QStringView value, qsizetype* pos)
{
    qsizetype i = *pos;
    while (i < value.size() && IsValueSpace(value[i]))
        ++i;
    const qsizetype start = i;
    while (i < value.size() && !IsValueSpace(value[i]))
        ++i;
    *pos = i;
    return value.mid(start, i - start);
}

} // namespace

bool IsAcceptedVersion(qint32 version)
{
    return version >= 103 && version <= 106;
}

QList<ConfigSection> NewSections()
{
    return {{QStringLiteral("[Profile]"), {}, nullptr},
            {QStringLiteral("[Resolution]"), {}, nullptr},
            {QStringLiteral("[PixelDensity]"), {}, nullptr},
            {QStringLiteral("[Input]"), {}, nullptr}};
}

bool ParseLong(QStringView text, qint64* value)
{
    bool ok = false;
    *value = text.toLongLong(&ok, 10);
    return ok;
}

QStringList SplitValueTokens(const QString& value)
{
    QStringList tokens;
    qsizetype i = 0;
    while (i < value.size()) {
        while (i < value.size() && IsValueSpace(value[i]))
            ++i;
        const qsizetype start = i;
        while (i < value.size() && !IsValueSpace(value[i]))
            ++i;
        if (i > start)
            tokens.append(value.mid(start, i - start));
    }
    return tokens;
}

void AddDefaultEntries(QList<ConfigSection>& sections)
{
    for (ConfigSection& section : sections) {
        if (section.entries.isEmpty())
            section.entries.append({QStringLiteral("Default"), QString()});
    }
}

void ParseProfileValue(const QString& value, const QList<ConfigSection>& sections, Profile& profile)
{
    // Walks views into the value instead of a token list: this runs once per stored profile,
    // and making every token a string was most of the time spent loading a large file.
    qsizetype pos = 0;
    profile.arguments.reserve(value.size());
    QStringView token = NextValueToken(value, &pos);
    while (!token.isEmpty()) {
        int section = -1;
        for (int k = 1; k < SectionCount && section < 0; ++k) {
            if (token == sections[k].name)
                section = k;
        }
        if (section < 0) {
            profile.arguments += u' ';
            profile.arguments += token;
            token = NextValueToken(value, &pos);
            continue;
        }
        const QStringView next = NextValueToken(value, &pos);
        qint64 number = 0;
        if (!next.isEmpty() && ParseLong(next, &number)) {
            profile.optionIndex[section - 1] = static_cast<qint32>(number);
            token = NextValueToken(value, &pos);
        } else {
            token = next;
        }
    }
}

QList<Profile> ProfilesFromSection(const QList<ConfigSection>& sections)
{
    QList<Profile> profiles;
    profiles.reserve(sections[ProfileSection].entries.size());
    for (const OptionEntry& entry : sections[ProfileSection].entries) {
        Profile profile;
        profile.name = entry.key;
        ParseProfileValue(entry.value, sections, profile);
        RestoreExactArguments(entry.value, sections, profile);
        profiles.append(std::move(profile));
    }
    return profiles;
}

QString SectionDisplayName(const QString& sectionName, bool lowerCase)
{
    QString result;
    bool previousLower = false;
    for (const QChar c : sectionName) {
        if (c == u'[' || c == u']')
            continue;
        const bool upper = c.category() == QChar::Letter_Uppercase;
        if (previousLower && upper)
            result += u' ';
        previousLower = c.category() == QChar::Letter_Lowercase;
        result += (lowerCase && upper) ? c.toLower() : c;
    }
    return result;
}

} // namespace Config
