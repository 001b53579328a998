// The command line of nimbra-mobile-launch: everything after the profile name belongs to the
// emulator, dashes included.
#pragma once

#include <QString>
#include <QStringList>

enum class Command {
    Launch,
    List,
    ShowCommand,
    Export,
    Import,
    Running,
    Stop,
    StopAll,
    Help,
    Version
};

struct Options
{
    Command command = Command::Launch;
    bool longList = false;
    bool wait = false;
    bool json = false;  // --json: one JSON object instead of lines
    QString file;       // --file: instead of the user's Launcher.ini
    QString importFile; // --import
    QStringList words;  // NAME [ARG...] for a launch, the names otherwise
    QString error;      // set on bad usage
};

// Parses the arguments after the program's name.
Options ParseCommandLine(const QStringList& arguments);

QString UsageText();
