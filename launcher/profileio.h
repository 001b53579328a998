// Whole models read from files, and profiles moved between models: the export of a few
// profiles with only the options they use, and the merge of one model into another. Shared by
// the command-line tool and its tests; no widgets.
#pragma once

#include "model.h"

struct ConfigModel
{
    QList<ConfigSection> sections;
    QList<Profile> profiles;
};

enum class ReadResult { Loaded, Unreadable, Outdated };

// Reads fileName by the loader's rules. Outdated: the version is not accepted; model then
// holds what an out-of-date default file gives (one "Default" entry per section, one profile).
ReadResult ReadModel(const QString& fileName, ConfigModel& model, qint32* version = nullptr);

// The profile names of fileName in file order, as ReadModel would give them, to onName without
// building the model. True only when the file loads as it stands and names a profile; on false
// (where ReadModel's fallbacks apply) onName may already have seen some names.
bool ReadProfileNames(const QString& fileName, const std::function<void(const QString&)>& onName);

// A model holding the profiles at rows, in that order, and only the option entries they choose
// (in their old order, renumbered). A choice outside its section becomes -1, which still
// chooses nothing.
ConfigModel ExtractProfiles(const ConfigModel& model, const QList<int>& rows);

struct AddedProfile
{
    QString name;     // as added to the target
    QString fromName; // as named in the source
};

struct MergeReport
{
    QList<AddedProfile> added;
    QStringList skipped;                // identical to a profile the target already has
    QList<OptionEntry> addedOptions[3]; // per OptionKind
};

// Name under which a profile called name joins profiles: name itself while free, else the
// first free "name (n)" from n = 2.
QString FreeProfileName(const QList<Profile>& profiles, const QString& name);

// Merges source into target without changing anything target holds: options equal in key and
// value are shared, others appended; source profiles are appended with their choices moved to
// the merged lists, renamed when their name is taken, and left out when target already has
// the same profile under that name or one of its renamed forms.
MergeReport MergeModel(ConfigModel& target, const ConfigModel& source);
