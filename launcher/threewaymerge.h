// The merge of two models that went apart from one they both started from: the window's and
// the file as someone else left it. No widgets.
#pragma once

#include "model.h"

// Whether two models hold the same options and profiles; section 0 is not compared, as the
// profiles are its authority.
bool SameContent(const ConfigModel& a, const ConfigModel& b);

// What came of merging ours and theirs, both from base, by profile name and by option entry.
// What only one side added, changed or removed comes from that side. A profile both changed
// differently keeps ours under its name and theirs under the import's naming rule, "NAME (2)";
// one side's edit of a profile the other removed is kept. Options one side added are appended;
// one side's removal stands, and a profile of the other side that chose the removed entry is
// repaired as the removal repairs: entry 0 and the removed value after its arguments. Nothing
// either side had is dropped without one side having removed it. With theirs unchanged from
// base the result is ours exactly, and the other way round.
ConfigModel MergeThreeWay(const ConfigModel& base, const ConfigModel& ours,
                          const ConfigModel& theirs);
