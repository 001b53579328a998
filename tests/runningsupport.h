// For tests that launch emulators: what the records say, and the end of every emulator a test
// started, by the process id on record, after which its supervisor finishes by itself.
#pragma once

#include "runningemulators.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

// The records in the running folder, reports and entries about to be finished included.
inline QStringList RecordFiles()
{
    return QDir(Running::Folder()).entryList({QStringLiteral("*.json")}, QDir::Files);
}

// Ends what runs and waits until every supervisor has finished with its record.
inline bool EndEverythingStarted(int timeoutMs = 10000)
{
    Running::StopAndWait(Running::Read(Running::Folder()).running, 0);
    QElapsedTimer timer;
    timer.start();
    while (!timer.hasExpired(timeoutMs)) {
        for (const RunningEmulator& report : Running::Read(Running::Folder()).reports)
            Running::Remove(report);
        if (RecordFiles().isEmpty())
            return true;
        QTest::qWait(20);
    }
    return false;
}
