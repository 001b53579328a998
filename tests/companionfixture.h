// For the tests that run nimbra-mobile-launch as users run it: the program started with fresh
// data and runtime folders, its output, and the files it is given.
#pragma once

#include "instance.h"
#include "profileio.h"
#include "testenv.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// Two profiles of one name (the first wins) and an empty section, which gets the empty
// "Default" entry.
inline const QByteArray CompanionConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n"
    "\"Phone HD\"\t\"[Resolution] 1 [PixelDensity] 1 [Input] 0 \"\n" +
    SizeAndDensitySections() + "[Input]\n";

// A choice outside its section, spacing inside the arguments, names with blanks.
inline const QByteArray ExportConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Big tablet\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0 "
    " -gpu  on\"\n"
    "\"Lost choice\"\t\"[Resolution] 9 [PixelDensity] 2 [Input] 0\"\n" +
    SizeAndDensitySections() + "[Input]\n";

inline const QByteArray ClashingFile =
    "$VERSION\t106\n[Profile]\n"
    "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Big tablet\"\t\"[Resolution] 1 [PixelDensity] 0 [Input] 0 \"\n"
    "[Resolution]\n\"Any size\"\t\"\"\n"
    "\"Tiny\"\t\" -windowsize 240x320\"\n"
    "[PixelDensity]\n\"Any density\"\t\"\"\n[Input]\n";

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
};

inline Run Companion(const QStringList& arguments, const QString& program = COMPANION)
{
    QProcess process; // kills a program still running when it goes
    process.start(program, arguments);
    process.closeWriteChannel();
    const bool ended =
        process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

// The emulator the companion in the build's app folder starts.
inline QString Emulator()
{
    return QDir(QFileInfo(COMPANION).canonicalPath() +
                "/../Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile")
        .absolutePath();
}

inline ConfigModel Load(const QString& path)
{
    ConfigModel model;
    ReadModel(path, model);
    return model;
}

inline QStringList Names(const QString& path)
{
    QStringList names;
    for (const Profile& profile : Load(path).profiles)
        names.append(profile.name);
    return names;
}

// What the core's launch function starts for the profile name in the file at path.
inline QStringList CoreArguments(const QString& path, const QString& name)
{
    const ConfigModel model = Load(path);
    const int row = FindProfile(model.profiles, name);
    return row < 0 ? QStringList{"(no profile)"}
                   : BuildLaunchCommand(Emulator(), model.sections, model.profiles[row]).arguments;
}

inline QStringList DataFiles()
{
    return QDir(QFileInfo(UserConfigPath()).path()).entryList(QDir::Files | QDir::Hidden);
}

// Fresh data and runtime folders and stand-in record per test, inherited by the programs it
// starts; the stand-in records its arguments and quits at once.
class CompanionTestBase : public QObject
{
protected:
    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }
    QString RecordPath() const { return Path("starts.jsonl"); }

    // "@" stands for the test's own folder, "EMU" for the emulator the companion starts.
    QByteArray Expand(QByteArray text) const
    {
        // The emulator first: the test's folder has a random name.
        return text.replace("EMU", QFile::encodeName(Emulator()))
            .replace('@', QFile::encodeName(m_home->path()));
    }

    void SetUpHome()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QDir().mkpath(Path("data"));
        QDir().mkpath(Path("runtime"));
        QFile::setPermissions(Path("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path("data")));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(Path("runtime")));
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(RecordPath()));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
    }
};
