#include "exactlines.h"

namespace Config {

namespace {

constexpr QStringView Marker = u"#=entry ";

bool NeedsEscape(QChar c)
{
    return c == u'%' || c == u'"' || c == u' ' || c.unicode() < 0x20 || c.unicode() == 0x7f;
}

// The plain line reads back a key with no double quote and no backslash-t, and not empty
// (an empty key comes back as the tab after it).
bool KeyIsPlain(QStringView key)
{
    if (key.isEmpty())
        return false;
    for (qsizetype i = 0; i < key.size(); ++i) {
        if (key[i] == u'"' || (key[i] == u'\\' && i + 1 < key.size() && key[i + 1] == u't'))
            return false;
    }
    return true;
}

void AppendEscaped(QString& text, QStringView field)
{
    static const char Hex[] = "0123456789ABCDEF";
    for (const QChar c : field) {
        if (NeedsEscape(c)) {
            text += u'%';
            text += QLatin1Char(Hex[c.unicode() >> 4]);
            text += QLatin1Char(Hex[c.unicode() & 0xf]);
        } else {
            text += c;
        }
    }
}

int HexValue(QChar c)
{
    if (c >= u'0' && c <= u'9')
        return c.unicode() - '0';
    if (c >= u'A' && c <= u'F')
        return c.unicode() - 'A' + 10;
    return -1;
}

// Strict: only what AppendEscaped writes decodes, so a damaged line is never half used.
bool Unescape(QStringView field, QString* out)
{
    out->clear();
    for (qsizetype i = 0; i < field.size(); ++i) {
        const QChar c = field[i];
        if (c != u'%') {
            if (NeedsEscape(c))
                return false;
            *out += c;
            continue;
        }
        if (i + 2 >= field.size())
            return false;
        const int high = HexValue(field[i + 1]);
        const int low = HexValue(field[i + 2]);
        if (high < 0 || low < 0 || !NeedsEscape(QChar(high * 16 + low)))
            return false;
        *out += QChar(high * 16 + low);
        i += 2;
    }
    return true;
}

bool IsPlainLineOf(QStringView line, const OptionEntry& entry)
{
    const qsizetype keyEnd = 1 + entry.key.size();
    return line.size() == keyEnd + 4 + entry.value.size() && line.startsWith(u'"') &&
           line.mid(1, entry.key.size()) == entry.key && line.mid(keyEnd, 3) == u"\"\t\"" &&
           line.mid(keyEnd + 3, entry.value.size()) == entry.value && line.endsWith(u'"');
}

} // namespace

bool NeedsExactEntryLine(const OptionEntry& entry)
{
    return !KeyIsPlain(entry.key) || entry.value.contains(u'"');
}

QString ExactEntryLine(const OptionEntry& entry)
{
    QString text = Marker.toString();
    AppendEscaped(text, entry.key);
    text += u' ';
    AppendEscaped(text, entry.value);
    text += u'\n';
    return text;
}

QStringView ExactLines::Record(const OptionEntry& entry)
{
    if (!NeedsExactEntryLine(entry))
        return {};
    m_lines.append({&entry, ExactEntryLine(entry)});
    return m_lines.last().second;
}

QStringView ExactLines::Replay(const OptionEntry& entry)
{
    if (m_next == m_lines.size() || m_lines[m_next].first != &entry)
        return {};
    return m_lines[m_next++].second;
}

bool ParseExactEntryLine(QStringView line, QStringView previousLine, OptionEntry* entry)
{
    if (previousLine.isEmpty() || !line.startsWith(Marker))
        return false;
    const QStringView body = line.mid(Marker.size());
    const qsizetype blank = body.indexOf(u' ');
    if (blank < 0)
        return false;
    OptionEntry decoded;
    if (!Unescape(body.left(blank), &decoded.key) ||
        !Unescape(body.mid(blank + 1), &decoded.value) || !IsPlainLineOf(previousLine, decoded))
        return false;
    *entry = decoded;
    return true;
}

void RestoreExactArguments(const QString& value, const QList<ConfigSection>& sections,
                           Profile& profile)
{
    if (!value.contains(u'"'))
        return;
    // Only the saver's own layout is taken as written; anything else keeps what the walk read.
    Profile chosen = profile;
    chosen.arguments.clear();
    const QString prefix = ProfileValue(sections, chosen);
    if (value.startsWith(prefix))
        profile.arguments = u' ' + value.mid(prefix.size());
}

} // namespace Config
