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
