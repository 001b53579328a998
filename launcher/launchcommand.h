// The one command a launch starts, from the window, its preview and the command-line tool.
#pragma once

#include "model.h"

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

// Text split into arguments as the command is: blanks separate, double quotes group.
QStringList SplitArguments(const QString& text);

// Arguments for this launch only, after the profile's own: passed as they are, and shown in the
// command string as a command line would show them.
void AppendArguments(LaunchCommand& launch, const QStringList& extra);

// Starts the command detached; false when the program could not be started.
bool StartDetached(const LaunchCommand& launch);
