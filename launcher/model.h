// The rules the window, the command-line tool and the tests share: the option kinds, the
// command a launch starts, and the repair of profiles when an option goes away. No widgets.
#pragma once

#include "config.h"

#include <QStringList>

#include <array>

// The option lists a profile chooses from, in the order of their sections after "[Profile]".
enum class OptionKind { Resolution = 0, PixelDensity = 1, Input = 2 };

constexpr std::array<OptionKind, 3> AllOptionKinds = {OptionKind::Resolution,
                                                      OptionKind::PixelDensity, OptionKind::Input};

// Position of the kind's section in the model's section list.
constexpr int SectionIndex(OptionKind kind)
{
    return int(kind) + 1;
}

inline qint32& ChosenIndex(Profile& profile, OptionKind kind)
{
    return profile.optionIndex[int(kind)];
}

inline qint32 ChosenIndex(const Profile& profile, OptionKind kind)
{
    return profile.optionIndex[int(kind)];
}

// What a launch starts: the one command string, and the program and arguments Qt makes of it.
struct LaunchCommand
{
    QString command;
    QString program;
    QStringList arguments;
};

// The command for profile: the quoted emulator path, the value of each chosen entry (nothing
// for an index outside its section), " -profile-name ", the quoted name and the arguments
// as they stand. It is split as Qt splits a command: blanks separate, double quotes group.
LaunchCommand BuildLaunchCommand(const QString& emulatorPath, const QList<ConfigSection>& sections,
                                 const Profile& profile);

// Starts the command detached; false when the program could not be started.
bool StartDetached(const LaunchCommand& launch);

// Names of the profiles that choose entry index of kind, in profile order.
QStringList ProfilesUsingOption(const QList<Profile>& profiles, OptionKind kind, int index);

// Erases entry index of kind's section. Profiles that chose it fall back to entry 0 and keep
// its effect through their arguments; later choices move up with the entries.
void RemoveOption(QList<ConfigSection>& sections, QList<Profile>& profiles, OptionKind kind,
                  int index);

// Index of the first profile named name, or -1.
int FindProfile(const QList<Profile>& profiles, const QString& name);

// Why a text can't be a profile's name.
enum class NameFault { None, Empty, Quote, Unreadable, Taken };

// Whether name can be a profile's name at all: not empty, no double quote (the launch command
// can't carry one), and read back from Launcher.ini as written. Taken is never returned.
NameFault NameFormatFault(const QString& name);

// Whether profile row may be renamed to name: a name the file carries that no other profile
// has. Its own name is fine.
NameFault RenameFault(const QList<Profile>& profiles, int row, const QString& name);

// Inserts a copy of profile row below it, named "NAME copy", or "NAME copy N" from N = 2 when
// that is taken; returns the copy's row.
int DuplicateProfile(QList<Profile>& profiles, int row);

// Row that a move by delta takes profile row to, or -1. The first profile is the base one, so
// nothing moves into or out of row 0.
int MoveTarget(const QList<Profile>& profiles, int row, int delta);

// Moves profile row by delta when MoveTarget allows it; returns its new row or -1.
int MoveProfile(QList<Profile>& profiles, int row, int delta);
