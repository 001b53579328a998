#include "supervisedlaunch.h"

#include "filelocations.h"

#include <QFileInfo>
#include <QProcess>

#include <cstdio>

QString SupervisorPath()
{
    return QFileInfo(LauncherExecutablePath()).path() + QStringLiteral("/nimbra-mobile-supervise");
}

bool CanExecute(const QString& program)
{
    const QFileInfo info(program);
    return info.isFile() && info.isExecutable();
}

LaunchCommand SupervisedCommand(const LaunchCommand& launch, const QString& profile,
                                Supervision supervision)
{
    const QString supervisor = SupervisorPath();
    if (!CanExecute(supervisor)) {
        std::fprintf(stderr,
                     "%s is missing: the emulator starts without a log and is not "
                     "listed as running.\n",
                     qPrintable(supervisor));
        return launch;
    }
    LaunchCommand supervised;
    supervised.command = launch.command;
    supervised.program = supervisor;
    if (supervision == Supervision::Attached)
        supervised.arguments.append(QStringLiteral("--attached"));
    else if (supervision == Supervision::Report)
        supervised.arguments.append(QStringLiteral("--report"));
    supervised.arguments << QStringLiteral("--profile") << profile << QStringLiteral("--command")
                         << launch.command << QStringLiteral("--") << launch.program;
    supervised.arguments += launch.arguments;
    return supervised;
}

SupervisedStart StartSupervised(const LaunchCommand& launch, const QString& profile,
                                Supervision supervision)
{
    // The supervisor would start whatever it is given; a missing emulator must fail here,
    // while the caller still waits for the answer.
    if (!CanExecute(launch.program))
        return {};
    const LaunchCommand supervised = SupervisedCommand(launch, profile, supervision);
    qint64 pid = 0;
    if (!QProcess::startDetached(supervised.program, supervised.arguments, QString(), &pid))
        return {};
    return {true, supervised.program == launch.program ? 0 : pid};
}
