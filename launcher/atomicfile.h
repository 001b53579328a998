#pragma once

#include <QByteArray>
#include <QString>

// Replaces the file at path with data, or leaves it untouched: the data goes to a temporary
// file beside it that is renamed over the old one only once it is completely written. On
// failure, *errorString (when given) holds the system's reason.
//
// A folder that can't take a new file, holding a file that can be written, is written in
// place: the old bytes are first kept in a copy in backupFolder (when given), removed once
// the new ones are complete, and put back if writing fails.
bool WriteFileAtomically(const QString& path, const QByteArray& data,
                         QString* errorString = nullptr, const QString& backupFolder = {});
