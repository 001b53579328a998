// The commands of nimbra-mobile-launch. Each returns the process's exit status and writes
// only its result to stdout; notes and errors go to stderr.
#pragma once

#include "options.h"

namespace ExitStatus {
constexpr int Ok = 0;
constexpr int Failed = 1;
constexpr int BadUsage = 2;      // also an unknown profile name
constexpr int CannotStart = 127; // as a shell reports a program it cannot run
} // namespace ExitStatus

int ListProfiles(const Options& options);
int ShowCommand(const Options& options);
int LaunchProfile(const Options& options);
int ExportProfiles(const Options& options);
int ImportProfiles(const Options& options);

// Up to three names of names close to name: equal but for case, containing it or contained
// in it (ignoring case), or a small edit away; closest first.
QStringList CloseNames(const QStringList& names, const QString& name);

// To stdout / stderr as UTF-8, unchanged.
void Print(const QString& text);
void PrintError(const QString& text);
