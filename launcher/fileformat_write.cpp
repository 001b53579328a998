// Writing Launcher.ini: the whole file laid out once, encoded straight to the bytes saved.
#include "fileformat.h"

#include "atomicfile.h"
#include "exactlines.h"
#include "textio.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <charconv>

namespace Config {

namespace {

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

// Measures the pieces on a first pass, then lays them out into a buffer of the exact size: a
// large file's text grown by appending was reallocated and copied again and again.
template <typename Buffer, typename Size, typename Append>
Buffer Layout(const QList<ConfigSection>& sections, Size&& size, Append&& append)
{
    qsizetype total = 0;
    ExactLines exact;
    ForEachPiece(
        sections, [&](const OptionEntry& entry) { return exact.Record(entry); },
        [&](auto piece) { total += size(piece); });
    Buffer buffer(total, Qt::Uninitialized);
    auto* out = buffer.data();
    ForEachPiece(
        sections, [&](const OptionEntry& entry) { return exact.Replay(entry); },
        [&](auto piece) { out = append(out, piece); });
    Q_ASSERT(out == buffer.constData() + total);
    return buffer;
}

QChar* AppendText(QChar* out, QLatin1String ascii)
{
    for (const char c : ascii)
        *out++ = QLatin1Char(c);
    return out;
}

QChar* AppendText(QChar* out, QStringView text)
{
    return std::copy(text.begin(), text.end(), out);
}

} // namespace

QByteArray FormatUtf8(ConfigModel& model)
{
    StoreProfiles(model);
    return Layout<QByteArray>(
        model.sections, [](auto piece) { return TextIO::Utf8Size(piece); },
        [](char* out, auto piece) { return TextIO::AppendUtf8(out, piece); });
}

QString FormatText(ConfigModel& model)
{
    StoreProfiles(model);
    return Layout<QString>(
        model.sections, [](auto piece) { return piece.size(); },
        [](QChar* out, auto piece) { return AppendText(out, piece); });
}

bool WriteFile(const QString& fileName, ConfigModel& model, QString* errorString,
               const QString& backupFolder)
{
    // A folder that can't be made shows in the write's own reason.
    QDir().mkpath(QFileInfo(fileName).absolutePath());
    return WriteFileAtomically(fileName, FormatUtf8(model), errorString, backupFolder);
}

} // namespace Config
