#pragma once

#include <QString>
#include <QStringList>

class QPushButton;
class QWidget;

// Points the per-user data location at a fresh private folder for this test process, so
// tests never touch the real user's files and parallel tests never share one. Returns it.
QString UsePrivateDataLocation();
// The same at root, for a test that wants fresh folders: root is the data location, with the
// state folder and a private runtime folder inside it.
void UsePrivateFolders(const QString& root);

// Builds a private app folder laid out like the shipped one and points the launcher's file
// lookups at it, and the data location at a private folder. With shipped files, its Resources
// hold LauncherDefault.ini, the help page and the stand-in emulator; without, it is empty.
// Returns the folder's Contents/MacOS.
QString UseFixtureAppFolder(bool withShippedFiles = true);

// A shipped resource as it is in the source tree, and the stand-in emulator as built.
QString SourceResource(const QString& name);
QString StandInEmulator();

// Three resolutions and three densities, the first of each with an empty value.
QByteArray SizeAndDensitySections();

// The user's Launcher.ini inside the private data location.
QString UserConfigPath();

// Writes text to path (creating folders); returns success.
bool WriteText(const QString& path, const QByteArray& text);
QByteArray ReadBytes(const QString& path);

// The starts the stand-in emulator recorded at recordPath (its NIMBRA_STANDIN_RECORD), one
// argument list per start, argv[0] left out.
QList<QStringList> Recorded(const QString& recordPath);

// The push button under window showing text, or null.
QPushButton* ButtonWithText(const QWidget& window, const QString& text);

// Four profiles (Resolution, Pixel Density, Input, arguments): Base 0 0 0, "Phone HD" 1 2 0
// " -gpu on", Tablet 2 3 1 " -t", Watch 1 2 1 " -b"; four resolutions and densities (the first
// of each with an empty value), two inputs.
QByteArray TestConfig();
