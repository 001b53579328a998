#include "config.h"

#include "quotedentries.h"

#include <QFile>
#include <QStringDecoder>

#include <algorithm>
#include <cstring>
#include <optional>
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

// Feeds the complete lines of text to the reader; returns where the unfinished last one starts.
qsizetype ReadLines(Reader& reader, QStringView text)
{
    qsizetype start = 0;
    for (qsizetype end = text.indexOf(u'\n'); end >= 0; end = text.indexOf(u'\n', start)) {
        ReadLine(reader, text.mid(start, end - start));
        start = end + 1;
    }
    return start;
}

} // namespace

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

EntrySink AppendTo(QList<ConfigSection>& sections)
{
    return [&sections](int section, OptionEntry&& entry) {
        sections[section].entries.append(std::move(entry));
    };
}

qint32 ReadText(const QString& text, QList<ConfigSection>& sections)
{
    const EntrySink sink = AppendTo(sections);
    Reader reader{sink};
    const qsizetype rest = ReadLines(reader, text);
    if (rest < text.size())
        ReadLine(reader, QStringView(text).mid(rest));
    ReadEnd(reader);
    return reader.version;
}

namespace {

// Feeds the file to the reader chunkBytes at a time, through one reused buffer.
void ReadChunks(QFile& file, Reader& reader, qsizetype chunkBytes)
{
    QByteArray bytes(chunkBytes, Qt::Uninitialized);
    // Room for a chunk after an unfinished line, so it is rarely reallocated.
    QString text;
    text.reserve(chunkBytes + ReadChunkBytes);
    QString previousLine;
    std::optional<QStringDecoder> decoder;
    qint64 count = 0;
    while ((count = file.read(bytes.data(), chunkBytes)) > 0) {
        // Every carriage return goes, as text mode drops them, but only where there are any:
        // text mode looks at each byte, a cost most files need not pay.
        char* const end = bytes.data() + count;
        if (std::memchr(bytes.constData(), '\r', size_t(count)))
            count = std::remove(bytes.data(), end, '\r') - bytes.data();
        const QByteArrayView chunk(bytes.constData(), count);
        // The encoding the text stream would detect from its first read: a byte order mark
        // or else UTF-8, whose mark is dropped.
        if (!decoder)
            decoder.emplace(
                QStringConverter::encodingForData(chunk).value_or(QStringConverter::Utf8));
        const qsizetype kept = text.size();
        text.resize(kept + decoder->requiredSpace(count));
        const QChar* decoded = decoder->appendToBuffer(text.data() + kept, chunk);
        text.truncate(decoded - text.constData());
        const qsizetype done = ReadLines(reader, text);
        // An exact line in the next chunk may still complete the last entry: its line is kept
        // before the buffer moves.
        if (!reader.entryLine.isNull()) {
            previousLine = reader.entryLine.toString();
            reader.entryLine = previousLine;
        }
        // The unfinished line moves to the front by hand: remove() would leave the space before
        // it unused, and the buffer would grow into fresh memory again and again.
        std::copy(text.cbegin() + done, text.cend(), text.begin());
        text.truncate(text.size() - done);
    }
    if (!text.isEmpty())
        ReadLine(reader, text);
    ReadEnd(reader);
}

} // namespace

bool ReadFile(const QString& fileName, QList<ConfigSection>& sections, qint32* version)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    QList<ConfigSection> read = NewSections();
    const EntrySink sink = AppendTo(read);
    Reader reader{sink};
    // In one piece, as the model is kept anyway. In chunks, loading a large file again and
    // again took twice as long: freeing no large block left the C library's trim threshold low,
    // so it handed each model's memory back to the system and the next load faulted it in anew.
    ReadChunks(file, reader, std::max(file.size(), ReadChunkBytes));
    *version = reader.version;
    sections = std::move(read);
    return true;
}

bool ReadFileEntries(const QString& fileName, const EntrySink& sink, qint32* version)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    Reader reader{sink};
    // In chunks: a reader that keeps little touches little fresh memory, most of a short-lived
    // reader's time.
    ReadChunks(file, reader, ReadChunkBytes);
    *version = reader.version;
    return true;
}

} // namespace Config
