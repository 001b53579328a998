#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

// Replaces the file at path with data, or leaves it untouched: the data goes to a temporary
// file beside it that is renamed over the old one only once it is completely written. On
// failure, *errorString (when given) holds the system's reason.
//
// A folder that can't take a new file, holding a file that can be written, is written in
// place (WriteFileInPlace).
bool WriteFileAtomically(const QString& path, const QByteArray& data,
                         QString* errorString = nullptr, const QString& backupFolder = {});

// The same for data given in pieces, written one after the other: a large text need not be
// copied into one array first.
bool WriteFileAtomically(const QString& path, const QList<QByteArrayView>& pieces,
                         QString* errorString = nullptr, const QString& backupFolder = {});

// Writes data over the file at path in place: its old bytes are first kept in a copy,
// <backupFolder>/<file name>.before-save (when backupFolder is given); when the new ones
// can't be written whole, the old ones are put back. The copy is removed once either is
// complete, and stays only when the old bytes could not be put back (the reason then names
// it). The fallback of WriteFileAtomically; tests call it directly.
bool WriteFileInPlace(const QString& path, const QByteArray& data, QString* errorString = nullptr,
                      const QString& backupFolder = {});
