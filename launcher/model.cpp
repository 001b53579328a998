#include "model.h"

#include "exactlines.h"

#include <algorithm>
#include <charconv>
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

// The option section a token names, or -1.
int OptionSectionOf(QStringView token, const QList<ConfigSection>& sections)
{
    for (const OptionKind kind : AllOptionKinds) {
        if (token == sections[SectionIndex(kind)].name)
            return int(kind);
    }
    return -1;
}

// Writes the value of profile into text, reusing text's buffer when it is its own and large
// enough: saving again rewrites every profile, and a fresh string per profile made freeing
// and allocating them most of that work.
void WriteProfileValue(const QList<ConfigSection>& sections, const Profile& profile, QString& text)
{
    const QStringView arguments = QStringView(profile.arguments).trimmed();
    char digits[OptionKindCount][16];
    qsizetype digitCount[OptionKindCount];
    qsizetype size = arguments.size();
    for (const OptionKind kind : AllOptionKinds) {
        char* const first = digits[int(kind)];
        const char* end =
            std::to_chars(first, first + sizeof digits[0], ChosenIndex(profile, kind)).ptr;
        digitCount[int(kind)] = end - first;
        size += sections[SectionIndex(kind)].name.size() + 2 + digitCount[int(kind)];
    }
    if (text.isDetached() && text.capacity() >= size)
        text.resize(size);
    else
        text = QString(size, Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    for (const OptionKind kind : AllOptionKinds) {
        const QStringView name = sections[SectionIndex(kind)].name;
        out = std::copy(name.utf16(), name.utf16() + name.size(), out);
        *out++ = u' ';
        out = std::copy(digits[int(kind)], digits[int(kind)] + digitCount[int(kind)], out);
        *out++ = u' ';
    }
    std::copy(arguments.utf16(), arguments.utf16() + arguments.size(), out);
}

} // namespace

QList<ConfigSection> NewSections()
{
    return {{QStringLiteral("[Profile]"), {}, nullptr},
            {QStringLiteral("[Resolution]"), {}, nullptr},
            {QStringLiteral("[PixelDensity]"), {}, nullptr},
            {QStringLiteral("[Input]"), {}, nullptr}};
}

void AddDefaultEntries(QList<ConfigSection>& sections)
{
    for (ConfigSection& section : sections) {
        if (section.entries.isEmpty())
            section.entries.append({QStringLiteral("Default"), QString()});
    }
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

bool ParseLong(QStringView text, qint64* value)
{
    // The usual case, a few plain digits, by hand: Qt's conversion copies the text first, and
    // every stored profile has three numbers. Anything else takes Qt's rules.
    const bool negative = text.startsWith(u'-');
    const QStringView digits = text.mid(negative ? 1 : 0);
    if (!digits.isEmpty() && digits.size() <= 18) {
        qint64 number = 0;
        qsizetype i = 0;
        for (; i < digits.size() && digits[i] >= u'0' && digits[i] <= u'9'; ++i)
            number = number * 10 + (digits[i].unicode() - u'0');
        if (i == digits.size()) {
            *value = negative ? -number : number;
            return true;
        }
    }
    bool ok = false;
    *value = text.toLongLong(&ok, 10);
    return ok;
}

QStringList SplitValueTokens(QStringView value)
{
    QStringList tokens;
    qsizetype pos = 0;
    for (QStringView token = NextValueToken(value, &pos); !token.isEmpty();
         token = NextValueToken(value, &pos))
        tokens.append(token.toString());
    return tokens;
}

// The value as the saver writes it, "[Resolution] 1 [PixelDensity] 2 [Input] 0 -a -b", read
// straight: each section's name, a blank, plain digits and a blank, then arguments with single
// blanks between words and nothing the walk would treat apart. False for anything else, which
// the walk reads; both give the same profile.
bool ParseSavedValue(QStringView value, const QList<ConfigSection>& sections, Profile& profile)
{
    qsizetype pos = 0;
    qint32 chosen[OptionKindCount];
    for (const OptionKind kind : AllOptionKinds) {
        const QString& name = sections[SectionIndex(kind)].name;
        if (value.size() <= pos + name.size() || value[pos + name.size()] != u' ' ||
            !std::equal(name.begin(), name.end(), value.begin() + pos))
            return false;
        pos += name.size() + 1;
        const qsizetype digits = pos;
        qint32 number = 0; // nine digits at most: no overflow
        while (pos < value.size() && value[pos] >= u'0' && value[pos] <= u'9' && pos - digits < 9)
            number = number * 10 + (value[pos++].unicode() - u'0');
        if (pos == digits || pos == value.size() || value[pos] != u' ')
            return false;
        chosen[int(kind)] = number;
        ++pos;
    }
    const QStringView rest = value.mid(pos);
    for (qsizetype i = 0; i < rest.size(); ++i) {
        const QChar c = rest[i];
        if (c > u' ' && c < u'\x7f' && c != u'[')
            continue; // printable ASCII but '[': nearly every character, decided at once
        const bool lone = c == u' ' && i > 0 && i + 1 < rest.size() && rest[i + 1] != u' ';
        if ((IsValueSpace(c) && !lone) || c == u'[')
            return false;
    }
    for (const OptionKind kind : AllOptionKinds)
        ChosenIndex(profile, kind) = chosen[int(kind)];
    if (!rest.isEmpty()) {
        profile.arguments = QString(rest.size() + 1, Qt::Uninitialized);
        QChar* out = profile.arguments.data();
        *out++ = u' ';
        std::copy(rest.begin(), rest.end(), out);
    }
    return true;
}

void ParseProfileValue(QStringView value, const QList<ConfigSection>& sections, Profile& profile)
{
    if (profile.arguments.isEmpty() && ParseSavedValue(value, sections, profile))
        return;
    // Walks views into the value instead of a token list: this runs once per stored profile,
    // and making every token a string was most of the time spent loading a large file.
    qsizetype pos = 0;
    profile.arguments.reserve(value.size());
    QStringView token = NextValueToken(value, &pos);
    while (!token.isEmpty()) {
        const int kind = OptionSectionOf(token, sections);
        if (kind < 0) {
            profile.arguments += u' ';
            profile.arguments += token;
            token = NextValueToken(value, &pos);
            continue;
        }
        const QStringView next = NextValueToken(value, &pos);
        qint64 number = 0;
        if (!next.isEmpty() && ParseLong(next, &number)) {
            ChosenIndex(profile, OptionKind(kind)) = static_cast<qint32>(number);
            token = NextValueToken(value, &pos);
        } else {
            token = next;
        }
    }
}

QString ProfileValue(const QList<ConfigSection>& sections, const Profile& profile)
{
    QString text;
    WriteProfileValue(sections, profile, text);
    return text;
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

void StoreProfiles(ConfigModel& model)
{
    QList<OptionEntry>& entries = model.sections[ProfileSection].entries;
    entries.resize(model.profiles.size());
    for (qsizetype i = 0; i < model.profiles.size(); ++i) {
        OptionEntry& entry = entries[i];
        const Profile& profile = model.profiles[i];
        if (!entry.key.isSharedWith(profile.name))
            entry.key = profile.name;
        WriteProfileValue(model.sections, profile, entry.value);
    }
}

} // namespace Config
