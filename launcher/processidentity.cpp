#include "processidentity.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QList>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#if defined(Q_OS_LINUX)
#include <sys/syscall.h>
#elif defined(Q_OS_MACOS)
#include <libproc.h>
#include <sys/proc.h>
#include <sys/sysctl.h>
#include <sys/types.h>
#endif

namespace {

#if defined(Q_OS_LINUX)

QByteArray ReadSmallFile(const char* path)
{
    char buffer[1024];
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return QByteArray();
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    ::close(fd);
    return n > 0 ? QByteArray(buffer, int(n)) : QByteArray();
}

// Start times count from boot; the boot's id keeps a record that outlived a reboot apart.
const QByteArray& BootId()
{
    static const QByteArray id = ReadSmallFile("/proc/sys/kernel/random/boot_id").trimmed();
    return id;
}

#if defined(SYS_pidfd_open)
int PidFd(qint64 pid)
{
    return int(::syscall(SYS_pidfd_open, pid_t(pid), 0));
}
#endif

#endif

} // namespace

ProcessState ReadProcessState(qint64 pid)
{
    ProcessState state;
    if (pid <= 0)
        return state;
#if defined(Q_OS_LINUX)
    char path[48];
    std::snprintf(path, sizeof path, "/proc/%lld/stat", static_cast<long long>(pid));
    const QByteArray stat = ReadSmallFile(path);
    // The name in parentheses may hold blanks and parentheses itself: fields count from the
    // last ')'. After it come the state (field 3) and, 19 fields on, the start time (field 22).
    const int close = stat.lastIndexOf(')');
    if (close < 0)
        return state;
    const QList<QByteArray> fields = stat.mid(close + 2).split(' ');
    if (fields.size() < 20)
        return state;
    state.exists = true;
    state.ended = fields[0] == "Z" || fields[0] == "X";
    state.identity = QString::fromLatin1(BootId() + ':' + fields[19]);
#elif defined(Q_OS_MACOS)
    struct kinfo_proc info;
    size_t size = sizeof info;
    int mib[4] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, int(pid)};
    if (::sysctl(mib, 4, &info, &size, nullptr, 0) != 0 || size == 0)
        return state;
    state.exists = true;
    state.ended = info.kp_proc.p_stat == SZOMB;
    const timeval& start = info.kp_proc.p_starttime;
    state.identity = QString::number(qint64(start.tv_sec)) + u'.' + QString::number(start.tv_usec);
#endif
    return state;
}

bool IsSameLiveProcess(qint64 pid, const QString& identity)
{
    const ProcessState state = ReadProcessState(pid);
    return state.exists && !state.ended && !identity.isEmpty() && state.identity == identity;
}

bool SignalSameProcess(qint64 pid, const QString& identity, int sig)
{
#if defined(Q_OS_LINUX) && defined(SYS_pidfd_open) && defined(SYS_pidfd_send_signal)
    // Through a pidfd the id can't pass to another process between the check and the signal.
    const int fd = PidFd(pid);
    if (fd >= 0) {
        const bool sent = IsSameLiveProcess(pid, identity) &&
                          ::syscall(SYS_pidfd_send_signal, fd, sig, nullptr, 0) == 0;
        ::close(fd);
        return sent;
    }
    if (errno == ESRCH)
        return false;
#endif
    return IsSameLiveProcess(pid, identity) && ::kill(pid_t(pid), sig) == 0;
}

QString OwnProcessIdentity()
{
    return ReadProcessState(QCoreApplication::applicationPid()).identity;
}

QString ExecutableOfProcess(qint64 pid)
{
    if (pid <= 0)
        return QString();
#if defined(Q_OS_LINUX)
    // Empty for an id that names no process, or one of another user.
    return QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid));
#elif defined(Q_OS_MACOS)
    char path[PROC_PIDPATHINFO_MAXSIZE];
    return ::proc_pidpath(int(pid), path, sizeof path) > 0 ? QString::fromUtf8(path) : QString();
#else
    return QString();
#endif
}

int OpenExitDescriptor(qint64 pid, const QString& identity)
{
#if defined(Q_OS_LINUX) && defined(SYS_pidfd_open)
    const int fd = PidFd(pid);
    // Checked after opening: from then on the descriptor follows that process, whatever
    // becomes of its id. A pidfd is close-on-exec from the start.
    if (fd >= 0 && !IsSameLiveProcess(pid, identity)) {
        ::close(fd);
        return -1;
    }
    return fd;
#else
    Q_UNUSED(pid);
    Q_UNUSED(identity);
    return -1;
#endif
}
