// Loading and name lookup shared by the commands.
#pragma once

#include "options.h"
#include "profileio.h"

// The defaults, as the launcher loads them when the user's file can't be used; instead names
// that file in the message when the defaults can't be read either.
bool LoadDefaults(ConfigModel& model, const QString& instead);

// The model a reading command works on: the --file or the user's file, falling back to the
// defaults as the launcher does. False, with a message printed, when there is none.
bool LoadForReading(const Options& options, ConfigModel& model);

// Row of the first profile named name; -1 after explaining on stderr.
int FindOrExplain(const QList<Profile>& profiles, const QString& name);
