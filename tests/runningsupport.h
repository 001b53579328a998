// For tests that launch emulators: what the records say, and the end of every emulator a test
// started, by the process id on record, after which its supervisor finishes by itself.
#pragma once

#include "runningemulators.h"
#include "testenv.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

// "Default" with nothing chosen, and "Phone HD" at the second size and density with " -gpu on".
inline QByteArray TwoProfiles()
{
    return "$VERSION\t106\n[Profile]\n\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
           "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n" +
           SizeAndDensitySections() + "[Input]\n";
}

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
