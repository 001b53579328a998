// The Launcher.ini text: reading it into sections line by line, and writing a model as the
// saver lays it out. Pure functions over text and files; no widgets.
#pragma once

#include "model.h"

#include <functional>

namespace Config {

constexpr qint32 CurrentVersion = 106;

bool IsAcceptedVersion(qint32 version);

// Tokens of a line split at runs of blanks, commas, equals signs and tabs, empty ones kept.
QStringList SplitLineTokens(QStringView line);

// Reads decoded file text line by line into sections; returns the version found (0 if none).
qint32 ReadText(QStringView text, QList<ConfigSection>& sections);

// Reads the file at fileName (text mode, the text stream's default encoding) into four new
// sections; false when it can't be opened, leaving sections untouched.
bool ReadFile(const QString& fileName, QList<ConfigSection>& sections, qint32* version);

// Receives each entry as the reader completes it, with its section's index.
using EntrySink = std::function<void(int section, OptionEntry&& entry)>;

// ReadFile's reading, handing each entry to sink instead of keeping it: a reader that needs
// only some of the file touches no memory for the rest. The file is read ReadChunkBytes at a
// time: the same few buffers serve a file of any size, where fresh memory for a whole large
// file cost more than decoding it.
constexpr qsizetype ReadChunkBytes = 64 * 1024;
bool ReadFileEntries(const QString& fileName, const EntrySink& sink, qint32* version);

// The whole file as the saver writes it; section 0 is rebuilt from the profiles first.
QString FormatText(ConfigModel& model);

// FormatText(model).toUtf8(), without the UTF-16 text.
QByteArray FormatUtf8(ConfigModel& model);

// Writes FormatText(model) to fileName as UTF-8, atomically, creating its folder; false when
// nothing changed, with the system's reason in *errorString (when given). Where the folder
// takes no new file the file is written in place, its old bytes kept in backupFolder until
// then.
bool WriteFile(const QString& fileName, ConfigModel& model, QString* errorString = nullptr,
               const QString& backupFolder = {});

} // namespace Config
