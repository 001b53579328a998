// Writing the Launcher.ini text: the profile value text and the whole file, encoded once,
// straight to the bytes that are saved.
#include "config.h"

#include "atomicfile.h"
#include "quotedentries.h"

#include <QDir>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <charconv>

namespace Config {

namespace {

// The exact lines of one save. Whether an entry needs one takes a read of its key and value,
// nearly as costly as encoding them, so it is worked out on the first pass over the entries
// and looked up on the second.
class ExactLines
{
public:
    QStringView Record(const OptionEntry& entry)
    {
        if (!NeedsExactEntryLine(entry))
            return {};
        m_lines.append({&entry, ExactEntryLine(entry)});
        return m_lines.last().second;
    }

    // Entries come in the order Record saw them.
    QStringView Replay(const OptionEntry& entry)
    {
        if (m_next == m_lines.size() || m_lines[m_next].first != &entry)
            return {};
        return m_lines[m_next++].second;
    }

private:
    QList<std::pair<const OptionEntry*, QString>> m_lines;
    qsizetype m_next = 0;
};

// The saved file as a sequence of pieces, so the UTF-16 text and the UTF-8 bytes are laid
// out by the same code and cannot drift apart. Fixed text comes as QLatin1String and is ASCII;
// the user's text comes as QStringView. exactLine(entry) gives the line to follow entry's own,
// empty for none.
template <typename ExactLine, typename Sink>
void ForEachPiece(const QList<ConfigSection>& sections, ExactLine&& exactLine, Sink&& sink)
{
    sink(QLatin1String("# A configuration out for the Nimbra Mobile Launcher.\n"
                       "# It makes it easy to start multiple instances with various command line\n"
                       "# options.\n"
                       "#\n"
                       "# Note that the arguments are just concatenated together, so start new\n"
                       "# arguments with a space in the string to avoid errors.\n"
                       "\n"));
    sink(QLatin1String("$VERSION"));
    sink(QLatin1String("\t"));
    char version[16];
    const char* const versionEnd =
        std::to_chars(version, version + sizeof version, CurrentVersion).ptr;
    sink(QLatin1String(version, versionEnd));
    sink(QLatin1String("\n\n"));
    for (const ConfigSection& section : sections) {
        sink(QStringView(section.name));
        sink(QLatin1String("\n"));
        for (const OptionEntry& entry : section.entries) {
            sink(QLatin1String("\""));
            sink(QStringView(entry.key));
            sink(QLatin1String("\"\t\""));
            sink(QStringView(entry.value));
            sink(QLatin1String("\"\n"));
            const QStringView line = exactLine(entry);
            if (!line.isEmpty())
                sink(line);
        }
        sink(QLatin1String("\n"));
    }
}

// The file is nearly all ASCII, so the encoder takes four UTF-16 units at a time while they
// are: one unit at a time cost as much as building the UTF-16 text and converting it.
constexpr quint64 NonAsciiBits = 0xff80ff80ff80ff80;

qsizetype Utf8Size(QLatin1String ascii)
{
    return ascii.size();
}

// Byte count of text as QString::toUtf8() encodes it. Every piece of the file is bounded by
// ASCII punctuation, so no surrogate pair spans two pieces and encoding them one by one gives
// the bytes of encoding the whole text.
qsizetype Utf8Size(QStringView text)
{
    qsizetype size = text.size();
    const char16_t* p = text.utf16();
    const char16_t* const end = p + text.size();
    while (p < end) {
        if (end - p >= 4 && (qFromLittleEndian<quint64>(p) & NonAsciiBits) == 0) {
            p += 4;
            continue;
        }
        const char16_t u = *p++;
        if (u < 0x80)
            continue;
        if (u < 0x800) {
            size += 1;
        } else if (!QChar::isSurrogate(u)) {
            size += 2;
        } else if (QChar::isHighSurrogate(u) && p < end && QChar::isLowSurrogate(*p)) {
            size += 2; // four bytes for the two units
            ++p;
        }
        // A surrogate outside a pair becomes one '?', as toUtf8() writes it.
    }
    return size;
}

char* AppendUtf8(char* out, QLatin1String ascii)
{
    return std::copy(ascii.begin(), ascii.end(), out);
}

char* AppendUtf8(char* out, QStringView text)
{
    const char16_t* p = text.utf16();
    const char16_t* const end = p + text.size();
    while (p < end) {
        if (end - p >= 4) {
            quint64 units = qFromLittleEndian<quint64>(p);
            if ((units & NonAsciiBits) == 0) {
                // The low byte of each unit, packed into four bytes in order.
                units = (units | units >> 8) & 0x0000ffff0000ffff;
                qToLittleEndian(quint32(units | units >> 16), out);
                out += 4;
                p += 4;
                continue;
            }
        }
        const char16_t u = *p++;
        if (u < 0x80) {
            *out++ = char(u);
        } else if (u < 0x800) {
            *out++ = char(0xc0 | (u >> 6));
            *out++ = char(0x80 | (u & 0x3f));
        } else if (!QChar::isSurrogate(u)) {
            *out++ = char(0xe0 | (u >> 12));
            *out++ = char(0x80 | ((u >> 6) & 0x3f));
            *out++ = char(0x80 | (u & 0x3f));
        } else if (QChar::isHighSurrogate(u) && p < end && QChar::isLowSurrogate(*p)) {
            const char32_t c = QChar::surrogateToUcs4(u, *p++);
            *out++ = char(0xf0 | (c >> 18));
            *out++ = char(0x80 | ((c >> 12) & 0x3f));
            *out++ = char(0x80 | ((c >> 6) & 0x3f));
            *out++ = char(0x80 | (c & 0x3f));
        } else {
            *out++ = '?';
        }
    }
    return out;
}

// FormatText(sections).toUtf8() without the UTF-16 text: encoded straight into one buffer of
// the exact size. A large file's text grown by appending was reallocated and copied again and
// again, each time into fresh pages, and then copied once more by the conversion.
QByteArray FormatUtf8(const QList<ConfigSection>& sections)
{
    qsizetype size = 0;
    ExactLines exact;
    const auto record = [&](const OptionEntry& entry) { return exact.Record(entry); };
    const auto replay = [&](const OptionEntry& entry) { return exact.Replay(entry); };
    ForEachPiece(sections, record, [&](auto piece) { size += Utf8Size(piece); });
    QByteArray bytes(size, Qt::Uninitialized);
    char* out = bytes.data();
    ForEachPiece(sections, replay, [&](auto piece) { out = AppendUtf8(out, piece); });
    Q_ASSERT(out == bytes.constData() + size);
    return bytes;
}

// Writes the value of profile into text, reusing text's buffer when it is its own and large
// enough: saving again rewrites every profile, and a fresh string per profile made freeing
// and allocating them most of that work.
void WriteProfileValue(const QList<ConfigSection>& sections, const Profile& profile, QString& text)
{
    const QStringView arguments = QStringView(profile.arguments).trimmed();
    char digits[SectionCount - 1][16];
    qsizetype digitCount[SectionCount - 1];
    qsizetype size = arguments.size();
    for (int k = 1; k < SectionCount; ++k) {
        char* const first = digits[k - 1];
        const char* end =
            std::to_chars(first, first + sizeof digits[0], profile.optionIndex[k - 1]).ptr;
        digitCount[k - 1] = end - first;
        size += sections[k].name.size() + 2 + digitCount[k - 1];
    }
    if (text.isDetached() && text.capacity() >= size)
        text.resize(size);
    else
        text = QString(size, Qt::Uninitialized);
    char16_t* out = reinterpret_cast<char16_t*>(text.data());
    for (int k = 1; k < SectionCount; ++k) {
        const QStringView name = sections[k].name;
        out = std::copy(name.utf16(), name.utf16() + name.size(), out);
        *out++ = u' ';
        out = std::copy(digits[k - 1], digits[k - 1] + digitCount[k - 1], out);
        *out++ = u' ';
    }
    std::copy(arguments.utf16(), arguments.utf16() + arguments.size(), out);
}

} // namespace

QString ProfileValue(const QList<ConfigSection>& sections, const Profile& profile)
{
    QString text;
    WriteProfileValue(sections, profile, text);
    return text;
}

void StoreProfiles(QList<ConfigSection>& sections, const QList<Profile>& profiles)
{
    QList<OptionEntry>& entries = sections[ProfileSection].entries;
    entries.resize(profiles.size());
    for (qsizetype i = 0; i < profiles.size(); ++i) {
        OptionEntry& entry = entries[i];
        const Profile& profile = profiles[i];
        if (!entry.key.isSharedWith(profile.name))
            entry.key = profile.name;
        WriteProfileValue(sections, profile, entry.value);
    }
}

QString FormatText(const QList<ConfigSection>& sections)
{
    qsizetype size = 0;
    ExactLines exact;
    const auto record = [&](const OptionEntry& entry) { return exact.Record(entry); };
    const auto replay = [&](const OptionEntry& entry) { return exact.Replay(entry); };
    ForEachPiece(sections, record, [&](auto piece) { size += piece.size(); });
    QString text;
    text.reserve(size);
    ForEachPiece(sections, replay, [&](auto piece) { text += piece; });
    return text;
}

bool WriteFile(const QString& fileName, const QList<ConfigSection>& sections, QString* errorString)
{
    // A folder that can't be made shows in the write's own reason.
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    return WriteFileAtomically(fileName, FormatUtf8(sections), errorString);
}

} // namespace Config
