// Unsaved edits kept on disk while the launcher runs, so that a run that ends without saving
// (a crash, SIGKILL, a display that goes away) loses nothing: written shortly after each edit,
// removed after a clean exit, brought back by the next start. No widgets.
#pragma once

#include "model.h"

namespace Recovery {

// Where the launcher installed at executablePath keeps its state: one file per installation
// and user, in the user's state folder.
QString StatePath(const QString& executablePath);

struct State
{
    QString launcher; // the executable of the run that wrote it
    qint64 pid = 0;
    ConfigModel base;  // the user's file as that run last read or wrote it
    ConfigModel model; // what that run's window held
    // The writing process's identity (processidentity.h), so that a later process given the
    // same id is not taken for it; empty in states written before it was kept.
    QString process = {};
};

// The state of this run: its executable, id and identity with base and model.
State OfThisRun(const ConfigModel& base, const ConfigModel& model);

// Whether the run that wrote state still runs (another first instance, one without the
// single-instance lock): its state is its own then, not left behind. A process that merely got
// the same id since (after a reboot, or ids wrapping around) is not that run.
bool WriterStillRuns(const State& state);

// Writes states to path atomically, creating its folder. The base changes far less often than
// the model, so its text is kept from the last write while it stays the same.
class Writer
{
public:
    explicit Writer(const QString& path) : m_path(path) {}
    const QString& Path() const { return m_path; }
    // False with the system's reason.
    bool Write(const State& state, QString* errorString = nullptr);

private:
    QString m_path;
    ConfigModel m_base;
    QByteArray m_baseText;
};

enum class ReadResult { None, Usable, Unusable };

// Reads the state at path. None: there is none. Unusable: *reason says why it can't be used
// (cut short, another format, another installed copy than executablePath, unreadable).
ReadResult Read(const QString& path, const QString& executablePath, State* state, QString* reason);

// Removes the state at path when this run wrote it, as after a clean exit. A state that
// another run left and this one has not looked at yet (it quit that soon) stays for the next.
void RemoveOwn(const QString& path);

// Moves an unusable state out of the way under a name of its own, kept for the user; returns
// where it went (path itself when it could not move).
QString SetAside(const QString& path);

} // namespace Recovery
