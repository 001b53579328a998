#include "startup_support.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

QByteArray NameOf(const QByteArray& assignment)
{
    return assignment.left(assignment.indexOf('='));
}

// The parent's environment with the overrides in place.
QList<QByteArray> MergedEnvironment(const QList<QByteArray>& overrides)
{
    QList<QByteArray> merged;
    for (char** entry = environ; *entry; ++entry) {
        const QByteArray assignment(*entry);
        const bool overridden = std::any_of(overrides.begin(), overrides.end(), [&](const auto& o) {
            return NameOf(o) == NameOf(assignment);
        });
        if (!overridden)
            merged.append(assignment);
    }
    return merged + overrides;
}

std::vector<char*> Pointers(QList<QByteArray>& strings)
{
    std::vector<char*> pointers;
    for (QByteArray& s : strings)
        pointers.push_back(s.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ChildRun RunChild(const QString& program, const QStringList& arguments,
                  const QList<QByteArray>& environment, bool awaitLine, int timeoutMs)
{
    // Everything the child needs is prepared before the clock starts.
    QList<QByteArray> argStrings{QFile::encodeName(program)};
    for (const QString& argument : arguments)
        argStrings.append(argument.toLocal8Bit());
    QList<QByteArray> envStrings = MergedEnvironment(environment);
    std::vector<char*> argv = Pointers(argStrings);
    std::vector<char*> envp = Pointers(envStrings);

    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0)
        return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    ChildRun run;
    const Clock::time_point start = Clock::now();
    pid_t pid = 0;
    const int spawnError = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawnError != 0) {
        std::fprintf(stderr, "cannot start %s: %s\n", argv[0], std::strerror(spawnError));
        ::close(pipeFds[0]);
        return run;
    }

    // The child's end of the pipe closes when it exits, so end of file stands for the exit and
    // the parent can sleep in poll() instead of polling wait4() while the child works.
    bool gotLine = false;
    bool timedOut = false;
    // Large reads: a child that prints a lot must not be timed by how slowly it is read.
    static char buffer[64 * 1024];
    while (true) {
        pollfd fd{pipeFds[0], POLLIN, 0};
        const int remaining = timeoutMs - int(MsSince(start));
        if (remaining <= 0 || ::poll(&fd, 1, remaining) <= 0) {
            timedOut = true;
            break;
        }
        const ssize_t n = ::read(pipeFds[0], buffer, sizeof buffer);
        if (n <= 0)
            break;
        if (!gotLine && std::memchr(buffer, '\n', size_t(n))) {
            gotLine = true;
            run.readyMs = MsSince(start);
        }
    }
    ::close(pipeFds[0]);
    if (timedOut) {
        std::fprintf(stderr, "%s took longer than %d ms, killed\n", argv[0], timeoutMs);
        ::kill(pid, SIGKILL);
    }

    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    run.exitMs = MsSince(start);
    run.maxRssMb = usage.ru_maxrss / 1024.0; // kilobytes on Linux
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.ok = run.status == 0 && (gotLine || !awaitLine);
    return run;
}

LauncherHome::LauncherHome(const QString& defaultIni)
{
    QTemporaryDir root(QDir::tempPath() + QStringLiteral("/nimbra-bench-XXXXXX"));
    const QString tmpfs = QStringLiteral("/dev/shm");
    QTemporaryDir runtime((QFileInfo(tmpfs).isWritable() ? tmpfs : root.path()) +
                          QStringLiteral("/nimbra-bench-runtime-XXXXXX"));
    root.setAutoRemove(false);
    runtime.setAutoRemove(false);
    m_root = root.path();
    m_runtime = runtime.path();
    // QTemporaryDir creates its folder for the owner alone, as a runtime folder must be.
    m_valid = root.isValid() && runtime.isValid() &&
              QDir(m_root).mkpath(QStringLiteral("data/Nimbra Mobile")) &&
              QFile::copy(defaultIni, m_root + QStringLiteral("/data/Nimbra Mobile/Launcher.ini"));
}

LauncherHome::~LauncherHome()
{
    if (!m_root.isEmpty())
        QDir(m_root).removeRecursively();
    if (!m_runtime.isEmpty())
        QDir(m_runtime).removeRecursively();
}

QList<QByteArray> LauncherHome::environment() const
{
    return {"XDG_DATA_HOME=" + QFile::encodeName(m_root + QStringLiteral("/data")),
            "XDG_RUNTIME_DIR=" + QFile::encodeName(m_runtime)};
}

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double MedianRatio(const std::vector<double>& measured, const std::vector<double>& reference)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < measured.size() && i < reference.size(); ++i)
        ratios.push_back(measured[i] / reference[i]);
    return Median(ratios);
}

void PrintRow(const QStringList& cells)
{
    QString line = QStringLiteral("|");
    for (QString cell : cells)
        line += QLatin1Char(' ') + cell.replace(QLatin1Char('|'), QLatin1String("\\|")) +
                QStringLiteral(" |");
    std::printf("%s\n", line.toUtf8().constData());
}

void PrintHeader(const QStringList& cells, const QString& alignment)
{
    PrintRow(cells);
    QStringList rule;
    for (int i = 0; i < cells.size(); ++i)
        rule << (i < alignment.size() && alignment[i] == QLatin1Char('r') ? QStringLiteral("---:")
                                                                          : QStringLiteral("---"));
    std::printf("|%s|\n", rule.join(QLatin1Char('|')).toUtf8().constData());
}

QString Ms(double ms)
{
    return QString::number(ms, 'f', ms < 10 ? 2 : 1) + QStringLiteral(" ms");
}

void PrintGoalHeader(const QString& firstColumn)
{
    PrintHeader({firstColumn, QStringLiteral("Measured"), QStringLiteral("Reference"),
                 QStringLiteral("Ratio (per round)"), QStringLiteral("Goal ratio"),
                 QStringLiteral("Result")},
                QStringLiteral("lrrrrl"));
}

void PrintGoalRow(const QString& label, const std::vector<double>& measured,
                  const std::vector<double>& reference, double goal)
{
    const double ratio = MedianRatio(measured, reference);
    PrintRow({label, Ms(Median(measured)), Ms(Median(reference)),
              QString::number(ratio, 'f', 2) + u'x',
              QStringLiteral("≤ ") + QString::number(goal, 'f', 2) + u'x',
              ratio <= goal ? QStringLiteral("met") : QStringLiteral("**not met**")});
}
