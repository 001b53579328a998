// A desktop entry that starts one profile from the applications menu (Linux): its file name,
// its text, escaped as the Desktop Entry Specification requires. No widgets.
#pragma once

#include <QString>
#include <QStringList>

namespace DesktopEntry {

// Where applications menus read desktop entries: Linux and the other XDG desktops.
#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
constexpr bool Supported = true;
#else
constexpr bool Supported = false;
#endif

// Where the user's own entries go: $XDG_DATA_HOME/applications.
QString ApplicationsFolder();

// The entry's file name for a profile: a valid desktop file ID whatever the name.
QString FileName(const QString& profileName);

// The whole entry: Name is the profile's name, Exec starts companionPath with exactly that
// name, the icon is the launcher's. Empty when the name or the path holds a control character
// other than a tab or a line end: a string value can't carry one, escaped or not.
QString Text(const QString& profileName, const QString& companionPath);

// Whether text is what Text gives for profileName from any companion path: an entry the user did
// not change by hand, though the launcher may have moved since it was written.
bool IsUnchanged(const QString& text, const QString& profileName);

// One argument of an Exec key: quoted, its quote, backquote, dollar and backslash escaped,
// and '%' doubled.
QString ExecArgument(const QString& argument);

// A value of type string: backslash, line ends and tabs escaped, and blanks at either end, which
// readers strip, written as \s.
QString EscapeString(const QString& value);

} // namespace DesktopEntry
