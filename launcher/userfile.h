// The user's Launcher.ini as one unit: loading it, with the fallback to the shipped defaults
// and an out-of-date file set aside; and saving a model back, atomically, merged with what
// someone else wrote meanwhile. The window turns the outcomes into its message boxes, the
// command-line tool into lines on stderr.
#pragma once

#include "model.h"
#include "writerlock.h"

#include <functional>

namespace UserFile {

enum class ReadResult { Loaded, Unreadable, Outdated };

// Reads one file by the loader's rules. Outdated: the version is not accepted; model then holds
// what an out-of-date default file gives (one "Default" entry per section, one profile).
ReadResult ReadModel(const QString& fileName, ConfigModel& model, qint32* version = nullptr);

// Moves the file at path (ending in "ini") to <path without "ini"><version>.ini, or when that
// exists to <version>.1.ini, <version>.2.ini and so on. Returns the new path, or path itself
// when the file could not be moved.
QString SetFileAside(const QString& path, qint32 version);

// A file's size and modification time, to tell whether it changed since it was read.
struct Stamp
{
    qint64 size = -1; // -1: no file
    qint64 modified = 0;
    bool operator==(const Stamp& other) const
    {
        return size == other.size && modified == other.modified;
    }
    bool operator!=(const Stamp& other) const { return !(*this == other); }
};

Stamp StampOf(const QString& path);

struct LoadRequest
{
    QString userPath;
    // Looked up only once the user's file can't be used; null for no fallback.
    std::function<QString()> defaultsPath;
    // Moves an out-of-date user file aside and returns where it is now (its own path when it
    // could not move); null leaves it where it is.
    std::function<QString(qint32 version)> setAside;
};

enum class UserState { Loaded, Missing, Unreadable, Outdated, SetAside, KeptInPlace };
enum class DefaultsState { NotRead, Loaded, Outdated, Unreadable };

// The user's file as this run last read or wrote it: what a save merges against.
struct Baseline
{
    Stamp stamp;                                 // of the file
    ConfigModel base{Config::NewSections(), {}}; // its content; empty when there was none to use
    bool keepFile = false; // out of date and could not be set aside: never overwritten
};

struct Loaded
{
    ConfigModel model; // when Ok()
    UserState user = UserState::Missing;
    qint32 userVersion = 0;
    QString userPath;
    QString keptAt; // SetAside, KeptInPlace: where the out-of-date file is now
    DefaultsState defaults = DefaultsState::NotRead;
    QString defaultsPath;
    Baseline baseline;

    bool Ok() const
    {
        return user == UserState::Loaded || defaults == DefaultsState::Loaded ||
               defaults == DefaultsState::Outdated;
    }
};

// The user's file by the loader's rules, else the defaults.
Loaded Load(const LoadRequest& request);

// Whether some process, this one included, holds the file open for writing right now: a
// writer that may not be done. Told on Linux (no read lease can be had on a file open for
// writing); Unknown elsewhere, on file systems without leases, and for a file that can't be
// opened, where callers go by what they read.
enum class Writers { None, Some, Unknown };
Writers WritersOf(const QString& path);

enum class Changes { None, Merged, Unreadable, BeingWritten };

// What someone else wrote into the file since the baseline, merged into model (three ways,
// with the baseline's content as the common ancestor), and the baseline moved to that file.
// None: unchanged, or gone (nothing to merge). Unreadable: changed into something that can't
// be read as it stands (or changed while it was read), with its version in *version.
// BeingWritten: a writer still holds it open (WritersOf), so what it holds may be half of
// what is coming: not read; look again once it is closed. Nothing changes unless Merged.
Changes MergeChanges(const QString& path, ConfigModel& model, Baseline& baseline,
                     qint32* version = nullptr);

enum class SaveResult { Written, Refused, Failed };

// False for a model without its four sections, or when the baseline keeps the file.
bool MayWrite(const ConfigModel& model, const Baseline& baseline);

// Writes model to path atomically, section 0 rebuilt from its profiles, under a short lock
// that other writers of the file take too. Refused, touching nothing, unless MayWrite. What
// someone else wrote since the baseline is merged in first (model then holds the merge); a
// file that changed into something unreadable is set aside as an out-of-date one is, never
// merged. A file another program still holds open for writing is waited for a moment, and
// not merged or replaced while it stays open: the save fails then, with that as its reason.
// Written: the baseline is the file as written. Failed: *errorString holds the reason and the
// old file is whole.
SaveResult Save(const QString& path, ConfigModel& model, Baseline& baseline,
                QString* errorString = nullptr);

} // namespace UserFile
