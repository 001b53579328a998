// Shared by the tests of profile editing, the option lists and the add dialog.
#pragma once

#include "config.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

class QLineEdit;
class QListWidget;
class QWidget;

// The user's Launcher.ini these tests start from. Profiles (Resolution, Pixel Density, Input,
// arguments): Base 0 0 0, Phone 1 2 0, Tablet 2 3 1 "-t", Watch 1 2 1 "-b". So Resolution 1
// and Pixel Density 2 have two users, later entries have users too, and Resolution 3 and
// Pixel Density 1 have none.
extern const QByteArray EditingConfig;

// One line per profile: "name|arguments as held|three indexes".
QStringList EditingProfiles(const QList<Profile>& profiles);

// All a user can see of the window's controls, the file the model would save as, and the
// untrimmed arguments: equal texts mean an action changed nothing.
QString EditingState(QWidget* window, const QList<Profile>& profiles,
                     const QList<ConfigSection>& sections);

// Reads the user's Launcher.ini back after a save: empty when it holds the model, else what
// went wrong or what it holds.
QString EditingReloadDifference(bool saved, const QList<Profile>& profiles,
                                const QList<ConfigSection>& sections);

// Sets the option rows to indexes and the arguments field to text.
void EditingSetControls(const QList<ConfigSection>& sections, QLineEdit* arguments,
                        const QList<int>& indexes, const QString& text);

// The controls as a line of EditingProfiles, under the current row's name.
QString EditingControls(const QListWidget* list, const QList<ConfigSection>& sections,
                        const QLineEdit* arguments);

class ModalAnswerer;

// Queued after the expected answers: rejects the next few dialogs, so one nobody expected is
// closed instead of hanging the test, and the answerer's `seen` shows it.
void EditingGuard(ModalAnswerer& answerer, int dialogs = 5);
