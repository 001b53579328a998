#include "config.h"

#include "quotedentries.h"

#include <QFile>
#include <QTextStream>

#include <utility>

namespace Config {

namespace {

const QString VersionToken = QStringLiteral("$VERSION");

// The separators of "[ ,=\t]+", tested by hand: a regular expression per line costs more than
// the rest of loading together.
bool IsLineSeparator(QChar c)
{
    return c == u' ' || c == u',' || c == u'=' || c == u'\t';
}

// Profile values split where QRegExp's "\s" did, at every QChar::isSpace() character: the same
// set trimmed() strips when the value is written, so a saved value reads back as it was.
// (QRegularExpression's "\s" is ASCII only.)
bool IsValueSpace(QChar c)
{
    return c.isSpace();
}

QStringView FirstLineToken(QStringView line)
{
    qsizetype end = 0;
    while (end < line.size() && !IsLineSeparator(line[end]))
        ++end;
    return line.left(end);
}

int FindSection(const QList<ConfigSection>& sections, QStringView name)
{
    for (int i = 0; i < sections.size(); ++i) {
        if (sections[i].name == name)
            return i;
    }
    return -1;
}

// Reader state across the lines of one file.
struct Reader
{
    QList<ConfigSection>* sections;
    int current = -1;
    qint32 version = 0;
    // The previous line when it was an entry line: only then may an exact line complete it.
    QStringView entryLine = {};
};

void ReadVersionLine(Reader& reader, QStringView line)
{
    const QStringList tokens = SplitLineTokens(line.toString());
    for (qsizetype i = 1; i < tokens.size(); ++i) {
        qint64 number = 0;
        if (!tokens[i].isEmpty() && ParseLong(tokens[i], &number)) {
            reader.version = static_cast<qint32>(number);
            return;
        }
    }
}

// The line's non-empty pieces between double quotes; only the first and third matter, so the
// rest are never made into strings.
OptionEntry ParseEntryLine(QStringView line, bool* ok)
{
    QStringView pieces[3];
    int count = 0;
    qsizetype start = 0;
    while (count < 3 && start < line.size()) {
        qsizetype end = line.indexOf(u'"', start);
        if (end < 0)
            end = line.size();
        if (end > start)
            pieces[count++] = line.mid(start, end - start);
        start = end + 1;
    }
    *ok = count > 0;
    if (!*ok)
        return {};
    QString key = pieces[0].toString();
    // Searching for the two characters costs more than the rare key that holds them.
    if (pieces[0].contains(u'\\'))
        key.replace(QStringLiteral("\\t"), QStringLiteral("\t"));
    return {key, count >= 3 ? pieces[2].toString() : QString()};
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

QStringList SplitLineTokens(const QString& line)
{
    QStringList tokens;
    qsizetype start = 0;
    qsizetype i = 0;
    while (i < line.size()) {
        if (!IsLineSeparator(line[i])) {
            ++i;
            continue;
        }
        tokens.append(line.mid(start, i - start));
        while (i < line.size() && IsLineSeparator(line[i]))
            ++i;
        start = i;
    }
    tokens.append(line.mid(start));
    return tokens;
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

namespace {

// Lines are views into the file's text: a string per line was a good part of loading.
void ReadLine(Reader& reader, QStringView line)
{
    const QStringView previous = std::exchange(reader.entryLine, QStringView());
    if (line.isEmpty())
        return;
    const QStringView first = FirstLineToken(line);
    if (first.startsWith(u'#')) {
        OptionEntry exact;
        if (!previous.isNull() && ParseExactEntryLine(line, previous, &exact))
            (*reader.sections)[reader.current].entries.last() = exact;
        return;
    }
    if (first == VersionToken) {
        ReadVersionLine(reader, line);
        return;
    }
    const int header = FindSection(*reader.sections, first);
    if (header >= 0) {
        reader.current = header;
        return;
    }
    if (reader.current < 0)
        return;
    bool ok = false;
    OptionEntry entry = ParseEntryLine(line, &ok);
    if (ok) {
        (*reader.sections)[reader.current].entries.append(std::move(entry));
        reader.entryLine = line;
    }
}

} // namespace

qint32 ReadText(const QString& text, QList<ConfigSection>& sections)
{
    Reader reader{&sections};
    const QStringView all = text;
    qsizetype start = 0;
    while (start < all.size()) {
        qsizetype end = all.indexOf(u'\n', start);
        if (end < 0)
            end = all.size();
        ReadLine(reader, all.mid(start, end - start));
        start = end + 1;
    }
    return reader.version;
}

bool ReadFile(const QString& fileName, QList<ConfigSection>& sections, qint32* version)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    sections = NewSections();
    QTextStream in(&file);
    *version = ReadText(in.readAll(), sections);
    return true;
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
