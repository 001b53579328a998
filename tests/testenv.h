#pragma once

#include <QString>

// Points the per-user data location at a fresh private folder for this test process, so
// tests never touch the real user's files and parallel tests never share one. Returns it.
QString UsePrivateDataLocation();

// The user's Launcher.ini inside the private data location.
QString UserConfigPath();

// Writes text to path (creating folders); returns success.
bool WriteText(const QString& path, const QByteArray& text);
QByteArray ReadBytes(const QString& path);
