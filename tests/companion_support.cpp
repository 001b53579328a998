#include "companion_support.h"

#include "model.h"
#include "profileio.h"
#include "testenv.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>

CompanionRun RunCompanion(const QStringList& arguments, const QString& program)
{
    QProcess process;
    process.start(program.isEmpty() ? QStringLiteral(COMPANION) : program, arguments);
    process.closeWriteChannel();
    CompanionRun run;
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    if (process.exitStatus() == QProcess::NormalExit)
        run.status = process.exitCode();
    return run;
}

CompanionHome::CompanionHome()
{
    QDir().mkpath(path(QStringLiteral("data")));
    QDir().mkpath(path(QStringLiteral("runtime")));
    QFile::setPermissions(path(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_DATA_HOME", QFile::encodeName(path(QStringLiteral("data"))));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(path(QStringLiteral("runtime"))));
    qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(recordPath()));
    qputenv("NIMBRA_STANDIN_QUIT", "1");
}

QList<QStringList> Recorded(const QString& recordPath)
{
    QList<QStringList> starts;
    for (const QByteArray& line : ReadBytes(recordPath).split('\n')) {
        if (line.isEmpty())
            continue;
        QStringList arguments;
        for (const QJsonValue& value : QJsonDocument::fromJson(line).array())
            arguments.append(value.toString());
        starts.append(arguments);
    }
    return starts;
}

QString CompanionEmulator()
{
    return QDir(QFileInfo(QStringLiteral(COMPANION)).canonicalPath() +
                QStringLiteral("/../Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile"))
        .absolutePath();
}

QStringList CoreArguments(const QString& path, const QString& name)
{
    ConfigModel model;
    if (ReadModel(path.isEmpty() ? UserConfigPath() : path, model) != ReadResult::Loaded)
        return {QStringLiteral("(unreadable)")};
    const int row = FindProfile(model.profiles, name);
    if (row < 0)
        return {QStringLiteral("(no profile)")};
    return BuildLaunchCommand(CompanionEmulator(), model.sections, model.profiles[row]).arguments;
}
