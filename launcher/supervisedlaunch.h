// Launches handed to nimbra-mobile-supervise, which starts the emulator as its own child: it
// records the launch among the running emulators, keeps its output in a log and learns how it
// ended. The emulator still gets exactly the launch's program and arguments.
#pragma once

#include "launchcommand.h"

enum class Supervision {
    Detached, // started detached; the output goes to the log only
    Report,   // the same, and a start that fails is left on record for the launcher to tell
    Attached, // run in the foreground: the output also reaches the caller's, and the
              // supervisor ends as the emulator ended
};

// The supervisor beside the launcher in the app folder.
QString SupervisorPath();

// Whether program is a file this user may execute: what a start could fail on at once.
bool CanExecute(const QString& program);

// The program and arguments that start launch under the supervisor for profile; launch
// itself, after a line on stderr, when there is no supervisor to run.
LaunchCommand SupervisedCommand(const LaunchCommand& launch, const QString& profile,
                                Supervision supervision);

struct SupervisedStart
{
    bool started = false;
    qint64 supervisorPid = 0; // 0 when the emulator was started without one
};

// Starts launch detached under the supervisor. Not started when the emulator can't be
// executed or no process could be started.
SupervisedStart StartSupervised(const LaunchCommand& launch, const QString& profile,
                                Supervision supervision);
