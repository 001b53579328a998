// Reading Launcher.ini: every line by the format's rules, views into the text throughout.
#include "fileformat.h"

#include "exactlines.h"
#include "textio.h"

#include <QFile>

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
    const EntrySink& sink;
    const QList<ConfigSection> headers = NewSections();
    int current = -1;
    qint32 version = 0;
    // The last entry line and its entry, held back one line: only the line right after it may
    // be an exact line that completes it.
    QStringView entryLine = {};
    OptionEntry entry = {};
    // entryLine's own copy once the text it points into is about to be reused.
    QString keptLine = {};

    void KeepEntryLine()
    {
        if (!entryLine.isNull()) {
            keptLine = entryLine.toString();
            entryLine = keptLine;
        }
    }
};

void ReadVersionLine(Reader& reader, QStringView line)
{
    const QStringList tokens = SplitLineTokens(line);
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

// Lines are views into the file's text: a string per line was a good part of loading.
void ReadLine(Reader& reader, QStringView line)
{
    const QStringView first = FirstLineToken(line);
    if (!reader.entryLine.isNull()) {
        OptionEntry exact;
        if (first.startsWith(u'#') && ParseExactEntryLine(line, reader.entryLine, &exact))
            reader.entry = std::move(exact);
        reader.sink(reader.current, std::move(reader.entry));
        reader.entryLine = {};
    }
    if (line.isEmpty() || first.startsWith(u'#'))
        return;
    if (first == VersionToken) {
        ReadVersionLine(reader, line);
        return;
    }
    const int header = FindSection(reader.headers, first);
    if (header >= 0) {
        reader.current = header;
        return;
    }
    if (reader.current < 0)
        return;
    bool ok = false;
    OptionEntry entry = ParseEntryLine(line, &ok);
    if (ok) {
        reader.entry = std::move(entry);
        reader.entryLine = line;
    }
}

// The end of the file ends the last entry.
void ReadEnd(Reader& reader)
{
    ReadLine(reader, QStringView());
}

EntrySink AppendTo(QList<ConfigSection>& sections)
{
    return [&sections](int section, OptionEntry&& entry) {
        sections[section].entries.append(std::move(entry));
    };
}

} // namespace

bool IsAcceptedVersion(qint32 version)
{
    return version >= 103 && version <= 106;
}

QStringList SplitLineTokens(QStringView line)
{
    QStringList tokens;
    qsizetype start = 0;
    qsizetype i = 0;
    while (i < line.size()) {
        if (!IsLineSeparator(line[i])) {
            ++i;
            continue;
        }
        tokens.append(line.mid(start, i - start).toString());
        while (i < line.size() && IsLineSeparator(line[i]))
            ++i;
        start = i;
    }
    tokens.append(line.mid(start).toString());
    return tokens;
}

qint32 ReadText(QStringView text, QList<ConfigSection>& sections)
{
    const EntrySink sink = AppendTo(sections);
    Reader reader{sink};
    const qsizetype rest =
        TextIO::ForEachCompleteLine(text, [&reader](QStringView line) { ReadLine(reader, line); });
    if (rest < text.size())
        ReadLine(reader, text.mid(rest));
    ReadEnd(reader);
    return reader.version;
}

bool ReadFileEntries(const QString& fileName, const EntrySink& sink, qint32* version)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    Reader reader{sink};
    TextIO::ReadLines(
        file, ReadChunkBytes, [&reader](QStringView line) { ReadLine(reader, line); },
        [&reader] { reader.KeepEntryLine(); });
    ReadEnd(reader);
    *version = reader.version;
    return true;
}

bool ReadFile(const QString& fileName, QList<ConfigSection>& sections, qint32* version)
{
    QList<ConfigSection> read = NewSections();
    if (!ReadFileEntries(fileName, AppendTo(read), version))
        return false;
    sections = std::move(read);
    return true;
}

} // namespace Config
