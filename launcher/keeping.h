// What keeps a user's data when the file format alone would lose it: an out-of-date file set
// aside under a name of its own, and a save merged with what another launcher saved meanwhile.
#pragma once

#include "config.h"

namespace Keeping {

// Moves the file at path (ending in "ini") to <path without "ini"><version>.ini, or when that
// exists to <version>.1.ini, <version>.2.ini and so on. Returns the new path, or path itself
// when the file could not be moved.
QString SetFileAside(const QString& path, qint32 version);

// The model to save when another launcher saved theirSections since this one loaded: theirs,
// with this run's option entries they lack appended to their sections and this run's profiles
// whose names they lack appended to their profiles, each choosing the same entries as before.
// Nothing either launcher kept is dropped; for a name both have, theirs wins.
QList<ConfigSection> MergeSaved(const QList<ConfigSection>& theirSections,
                                const QList<ConfigSection>& ourSections,
                                const QList<Profile>& ourProfiles);

} // namespace Keeping
