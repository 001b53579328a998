// How the commands find their model: the user-file unit's outcomes as lines on stderr, and a
// profile looked up by name with close names offered when it is missing.
#pragma once

#include "commandline.h"
#include "console.h"
#include "userfile.h"

// The defaults' part of a load, explained; false when there is no model.
bool ExplainDefaults(const UserFile::Loaded& loaded, const Console& console);

// The model a reading command works on: the --file or the user's file, falling back to the
// defaults as the launcher does, leaving an out-of-date file where it is. False, explained,
// when there is none.
bool LoadForReading(const Options& options, ConfigModel& model, const Console& console);

// Row of the first profile named name; -1 after explaining, with close names.
int FindOrExplain(const QList<Profile>& profiles, const QString& name, const Console& console);

// Up to three of names close to name: equal but for case, containing it or contained in it
// (ignoring case), or a small edit away; closest first. None for a blank name.
QStringList CloseNames(const QStringList& names, const QString& name);
