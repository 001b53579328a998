// The commands of nimbra-mobile-launch, callable in process. Each returns the exit status and
// writes only its result to the console's out; notes and errors go to its err.
#pragma once

#include "commandline.h"
#include "console.h"

namespace ExitStatus {
constexpr int Ok = 0;
constexpr int Failed = 1;
constexpr int BadUsage = 2;      // also an unknown profile name
constexpr int CannotStart = 127; // as a shell reports a program it cannot run
} // namespace ExitStatus

// The whole program, for the arguments after its name.
int RunCompanion(const QStringList& arguments, const Console& console);

int ListProfiles(const Options& options, const Console& console);
int ShowCommand(const Options& options, const Console& console);
int LaunchProfile(const Options& options, const Console& console);
int ExportProfiles(const Options& options, const Console& console);
int ImportProfiles(const Options& options, const Console& console);
// The running emulators and stopping them (runningcommands.cpp).
int ListRunning(const Options& options, const Console& console);
int StopProfile(const Options& options, const Console& console);
int StopAllEmulators(const Options& options, const Console& console);
// --list --json, with the model's names and, with --long, their commands.
int ListProfilesAsJson(const Options& options, const Console& console);
