#include "textio.h"

#include <QStringDecoder>
#include <QtEndian>

#include <algorithm>
#include <optional>

namespace TextIO {

namespace {

// The file is nearly all ASCII, so the encoder takes four UTF-16 units at a time while they
// are: one unit at a time cost as much as building the UTF-16 text and converting it.
constexpr quint64 NonAsciiBits = 0xff80ff80ff80ff80;

// The longest byte order mark, UTF-32's.
constexpr qsizetype MarkBytes = 4;

// Room kept for an unfinished line ahead of the next chunk.
constexpr qsizetype LineSlack = 64 * 1024;

} // namespace

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

qsizetype ForEachCompleteLine(QStringView text, const LineHandler& onLine)
{
    qsizetype start = 0;
    for (qsizetype end = text.indexOf(u'\n'); end >= 0; end = text.indexOf(u'\n', start)) {
        onLine(text.mid(start, end - start));
        start = end + 1;
    }
    return start;
}

void ReadLines(QIODevice& device, qsizetype chunkBytes, const LineHandler& onLine,
               const std::function<void()>& onRefill)
{
    // The first read takes enough for a byte order mark, whatever the chunk.
    QByteArray bytes(std::max<qsizetype>(chunkBytes, MarkBytes), Qt::Uninitialized);
    // Room for a chunk after an unfinished line, so it is rarely reallocated.
    QString text;
    text.reserve(chunkBytes + LineSlack);
    std::optional<QStringDecoder> decoder;
    qint64 count = 0;
    while ((count = device.read(bytes.data(), decoder ? chunkBytes : bytes.size())) > 0) {
        const QByteArrayView chunk(bytes.constData(), count);
        // The encoding the text stream would detect from its first read: a byte order mark
        // or else UTF-8, whose mark is dropped.
        if (!decoder)
            decoder.emplace(
                QStringConverter::encodingForData(chunk).value_or(QStringConverter::Utf8));
        const qsizetype kept = text.size();
        text.resize(kept + decoder->requiredSpace(count));
        QChar* const decoded = decoder->appendToBuffer(text.data() + kept, chunk);
        // Every carriage return goes once decoded, as the text stream drops them in text mode:
        // the byte alone may be part of another character. Qt's search is vectorised; the
        // removal runs only where there are any.
        QChar* end = decoded;
        if (QStringView(text.constData() + kept, decoded).contains(u'\r'))
            end = std::remove(text.data() + kept, decoded, QLatin1Char('\r'));
        text.truncate(end - text.constData());
        const qsizetype done = ForEachCompleteLine(text, onLine);
        onRefill();
        // The unfinished line moves to the front by hand: remove() would leave the space before
        // it unused, and the buffer would grow into fresh memory again and again.
        std::copy(text.cbegin() + done, text.cend(), text.begin());
        text.truncate(text.size() - done);
    }
    if (!text.isEmpty())
        onLine(text);
}

} // namespace TextIO
