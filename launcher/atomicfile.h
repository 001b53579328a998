#pragma once

#include <QByteArray>
#include <QString>

// Replaces the file at path with data, or leaves it untouched: the data goes to a temporary
// file beside it that is renamed over the old one only once it is completely written. On
// failure, *errorString (when given) holds the system's reason.
bool WriteFileAtomically(const QString& path, const QByteArray& data,
                         QString* errorString = nullptr);
