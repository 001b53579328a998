// A desktop entry that starts one profile from the applications menu (Linux): its file name,
// its text, escaped as the Desktop Entry Specification requires. No widgets.
#pragma once

#include <QString>
#include <QStringList>

namespace DesktopEntry {

// Where the user's own entries go: $XDG_DATA_HOME/applications.
QString ApplicationsFolder();

// The entry's file name for a profile: a valid desktop file ID whatever the name.
QString FileName(const QString& profileName);

// The whole entry: Name is the profile's name, Exec starts companionPath with exactly that
// name, the icon is the launcher's.
QString Text(const QString& profileName, const QString& companionPath);

// One argument of an Exec key: quoted, its quote, backquote, dollar and backslash escaped,
// and '%' doubled.
QString ExecArgument(const QString& argument);

// A value of type string: backslash, line ends and tabs escaped, and blanks at either end, which
// readers strip, written as \s.
QString EscapeString(const QString& value);

} // namespace DesktopEntry
