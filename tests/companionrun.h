// nimbra-mobile-launch's commands run in process, as the program runs them, with what they
// print kept.
#pragma once

#include "commands.h"

#include <QStringList>

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
};

inline Run Companion(const QStringList& arguments)
{
    Run run;
    const Console console{[&run](QByteArrayView bytes) { run.out += bytes; },
                          [&run](QByteArrayView bytes) { run.err += bytes; }};
    run.status = RunCompanion(arguments, console);
    return run;
}
