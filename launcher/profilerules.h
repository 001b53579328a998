// The rules of editing profiles and option lists, shared by the window and the tools: the
// repair when an option goes away, which names a profile may take, and the name, place and
// moves of profiles in the list. No widgets.
#pragma once

#include "model.h"

// Index of the first profile named name, or -1.
int FindProfile(const QList<Profile>& profiles, const QString& name);

// Names of the profiles that choose entry index of kind, in profile order.
QStringList ProfilesUsingOption(const QList<Profile>& profiles, OptionKind kind, int index);

// Erases entry index of kind's section. Profiles that chose it fall back to entry 0 and keep
// its effect through their arguments; later choices move up with the entries.
void RemoveOption(ConfigModel& model, OptionKind kind, int index);

// Why a text can't be a profile's or an option's name.
enum class NameFault { None, Empty, Quote, Unreadable, Taken };

// Whether name can be a name at all: not empty, no double quote (the launch command can't carry
// one in a profile's name), and read back from Launcher.ini as written. Taken is never
// returned.
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
