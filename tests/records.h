// Lets QCOMPARE and data tables take the model's records, and print them when they differ.
#pragma once

#include "model.h"

#include <QDebug>
#include <QMetaType>

inline QDebug operator<<(QDebug debug, const OptionEntry& entry)
{
    QDebugStateSaver saver(debug);
    return debug.nospace() << '{' << entry.key << ", " << entry.value << '}';
}

inline QDebug operator<<(QDebug debug, const ConfigSection& section)
{
    QDebugStateSaver saver(debug);
    return debug.nospace() << section.name << ' ' << section.entries;
}

inline QDebug operator<<(QDebug debug, const Profile& profile)
{
    QDebugStateSaver saver(debug);
    const qint32* k = profile.optionIndex;
    return debug.nospace() << '{' << profile.name << ", " << k[0] << ' ' << k[1] << ' ' << k[2]
                           << ", " << profile.arguments << '}';
}

inline QDebug operator<<(QDebug debug, const ConfigModel& model)
{
    return debug << model.sections << model.profiles;
}

Q_DECLARE_METATYPE(OptionEntry)
Q_DECLARE_METATYPE(Profile)
