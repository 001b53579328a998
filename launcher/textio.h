// Speed code, fenced. Each function does exactly what the Qt call named in its contract does,
// only faster on the mostly ASCII text of Launcher.ini; tst_textio holds each to that call on
// text that is not ASCII.
#pragma once

#include <QIODevice>
#include <QLatin1String>
#include <QStringView>

#include <functional>

namespace TextIO {

// Contract: QString(text).toUtf8().size().
qsizetype Utf8Size(QStringView text);
inline qsizetype Utf8Size(QLatin1String ascii)
{
    return ascii.size();
}

// Contract: writes QString(text).toUtf8() at out; returns the end of what it wrote.
char* AppendUtf8(char* out, QStringView text);
char* AppendUtf8(char* out, QLatin1String ascii);

using LineHandler = std::function<void(QStringView line)>;

// Hands each complete line of text to onLine, without its line feed; returns where the
// unfinished last line starts.
qsizetype ForEachCompleteLine(QStringView text, const LineHandler& onLine);

// Contract: the lines of QTextStream(device in text mode).readAll().split('\n'), a last empty
// one left out (a byte order mark or else UTF-8, every carriage return dropped), read
// chunkBytes at a time. A line's view lasts until onRefill, called before its buffer is reused.
void ReadLines(QIODevice& device, qsizetype chunkBytes, const LineHandler& onLine,
               const std::function<void()>& onRefill);

} // namespace TextIO
