// Profiles moved between models: the export of a few profiles with only the options they use,
// and the merge of one model into another that --import uses. (A save that meets a file
// someone else wrote merges three ways instead: threewaymerge.) No widgets.
#pragma once

#include "model.h"

#include <array>
#include <functional>

// A model holding the profiles at rows, in that order, and only the option entries they choose
// (in their old order, renumbered). A choice outside its section becomes -1, which still
// chooses nothing.
ConfigModel ExtractProfiles(const ConfigModel& model, const QList<int>& rows);

// Name under which a profile called name joins profiles: name itself while free, else the
// first free "name (n)" from n = 2.
QString FreeProfileName(const QList<Profile>& profiles, const QString& name);
QString FreeProfileName(const std::function<bool(const QString&)>& taken, const QString& name);

// What MergeModel does with a source profile whose name the target already has.
enum class SameName {
    KeepTarget, // left out: the target's wins
    AddRenamed, // added under FreeProfileName, unless the target has the very same profile
};

struct AddedProfile
{
    QString name;     // as added to the target
    QString fromName; // as named in the source
};

struct MergeReport
{
    QList<AddedProfile> added;
    QStringList skipped; // left out by the SameName rule
    std::array<QList<OptionEntry>, OptionKindCount> addedOptions;
};

// Merges source into target without changing anything target holds: options equal in key and
// value are shared, others appended; source profiles are appended with their choices moved to
// the merged lists (a choice outside the source's list chooses nothing, -1). Under AddRenamed,
// a profile is left out when target has the same profile under its name or a renamed form of
// it.
MergeReport MergeModel(ConfigModel& target, const ConfigModel& source,
                       SameName rule = SameName::AddRenamed);
