#include "child.h"

#include <cerrno>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The child's id while it can be signalled: set before it can run, cleared once it has ended
// and before it is reaped, so that its id never names another process here.
volatile sig_atomic_t g_child = 0;
volatile sig_atomic_t g_stopAsked = 0;
volatile sig_atomic_t g_forceArmed = 0;
unsigned g_graceSeconds = 0;
int g_wake[2] = {-1, -1};

struct SavedSignal
{
    int number;
    struct sigaction action;
};
SavedSignal g_saved[] = {{SIGINT, {}},  {SIGQUIT, {}}, {SIGHUP, {}}, {SIGTERM, {}},
                         {SIGPIPE, {}}, {SIGCHLD, {}}, {SIGALRM, {}}};

// A request to stop: passed on, and made certain by force after the grace, even when whoever
// asked has gone since.
void StopChild(int)
{
    g_stopAsked = 1;
    if (g_child <= 0)
        return;
    ::kill(g_child, SIGTERM);
    if (!g_forceArmed) {
        g_forceArmed = 1;
        ::alarm(g_graceSeconds);
    }
}

void ForceChild(int)
{
    if (g_child > 0)
        ::kill(g_child, SIGKILL);
}

void WakeOnChild(int)
{
    const int saved = errno;
    if (g_wake[1] >= 0)
        (void)!::write(g_wake[1], "", 1);
    errno = saved;
}

void Handle(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART | (number == SIGCHLD ? SA_NOCLDSTOP : 0);
    sigemptyset(&action.sa_mask);
    ::sigaction(number, &action, nullptr);
}

void RestoreSignals()
{
    for (const SavedSignal& saved : g_saved)
        ::sigaction(saved.number, &saved.action, nullptr);
}

// macOS has no pipe2.
bool MakePipe(int fds[2], bool nonBlocking = false)
{
    if (::pipe(fds) != 0)
        return false;
    for (int i = 0; i < 2; ++i) {
        ::fcntl(fds[i], F_SETFD, FD_CLOEXEC);
        if (nonBlocking)
            ::fcntl(fds[i], F_SETFL, ::fcntl(fds[i], F_GETFL) | O_NONBLOCK);
    }
    return true;
}

// Whether the child has ended, without collecting its status.
bool HasEnded(pid_t pid)
{
    siginfo_t info = {};
    return ::waitid(P_PID, id_t(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == pid;
}

enum class Copy { Copied, Empty, Closed };

// Copies one read's worth from the pipe to the log and to *to.
Copy CopyOnce(int from, int logFd, int* to)
{
    char buffer[8192];
    const ssize_t n = ::read(from, buffer, sizeof buffer);
    if (n < 0)
        return errno == EINTR || errno == EAGAIN ? Copy::Empty : Copy::Closed;
    if (n == 0)
        return Copy::Closed;
    const QByteArray bytes(buffer, int(n));
    WriteAll(logFd, bytes);
    // A terminal that went away (EPIPE) no longer gets a copy; the log still does.
    if (*to >= 0 && ::write(*to, bytes.constData(), size_t(n)) < 0 && errno == EPIPE)
        *to = -1;
    return Copy::Copied;
}

} // namespace

void WriteAll(int fd, const QByteArray& bytes)
{
    qsizetype done = 0;
    while (fd >= 0 && done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n < 0 && errno != EINTR)
            return;
        done += n > 0 ? n : 0;
    }
}

void SetUpSignals(unsigned graceSeconds)
{
    g_graceSeconds = graceSeconds;
    for (SavedSignal& saved : g_saved)
        ::sigaction(saved.number, nullptr, &saved.action);
    for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGPIPE})
        Handle(number, SIG_IGN);
    Handle(SIGTERM, StopChild);
    Handle(SIGALRM, ForceChild);
}

bool StopWasAsked()
{
    return g_stopAsked != 0;
}

Child Fork(const QList<QByteArray>& argv, int logFd, bool copy)
{
    Child child;
    int gate[2], result[2], out[2] = {-1, -1}, err[2] = {-1, -1};
    if (!MakePipe(gate) || !MakePipe(result) ||
        (copy && (!MakePipe(out) || !MakePipe(err) || !MakePipe(g_wake, true))))
        return child;
    if (copy)
        Handle(SIGCHLD, WakeOnChild);
    std::vector<char*> args;
    for (const QByteArray& arg : argv)
        args.push_back(const_cast<char*>(arg.constData()));
    args.push_back(nullptr);

    // No handler runs between the fork and the child's own dispositions: a stop that comes
    // meanwhile reaches the child once it has them.
    sigset_t all, old;
    sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, &old);
    child.pid = ::fork();
    if (child.pid == 0) {
        RestoreSignals();
        ::sigprocmask(SIG_SETMASK, &old, nullptr);
        // The gate opens when its last writer closes it: this copy must not count.
        ::close(gate[1]);
        char go;
        while (::read(gate[0], &go, 1) < 0 && errno == EINTR) {
        }
        const int output[2] = {copy ? out[1] : logFd, copy ? err[1] : logFd};
        for (int i = 0; i < 2; ++i) {
            if (output[i] >= 0)
                ::dup2(output[i], STDOUT_FILENO + i);
        }
        // A program named without a folder is looked up on PATH, as QProcess would.
        ::execvp(args[0], args.data());
        const int error = errno;
        (void)!::write(result[1], &error, sizeof error);
        ::_exit(127);
    }
    if (child.pid > 0)
        g_child = child.pid;
    ::sigprocmask(SIG_SETMASK, &old, nullptr);
    ::close(gate[0]);
    ::close(result[1]);
    if (copy) {
        ::close(out[1]);
        ::close(err[1]);
    }
    child.gate = gate[1];
    child.result = result[0];
    child.out = out[0];
    child.err = err[0];
    return child;
}

int Release(Child& child)
{
    ::close(child.gate);
    int error = 0;
    ssize_t n;
    while ((n = ::read(child.result, &error, sizeof error)) < 0 && errno == EINTR) {
    }
    ::close(child.result);
    return n == ssize_t(sizeof error) ? error : 0;
}

void CopyOutput(Child& child, int logFd)
{
    int to[2] = {STDOUT_FILENO, STDERR_FILENO};
    pollfd fds[3] = {{child.out, POLLIN, 0}, {child.err, POLLIN, 0}, {g_wake[0], POLLIN, 0}};
    bool ended = false;
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (::poll(fds, 3, -1) < 0 && errno != EINTR)
            break;
        if (fds[2].revents) {
            char drained[64];
            while (::read(g_wake[0], drained, sizeof drained) > 0) {
            }
            ended = HasEnded(child.pid);
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0)
                continue;
            bool open = true;
            if (ended) {
                // A process the child left behind may hold the pipe open: take what is
                // there now and stop.
                ::fcntl(fds[i].fd, F_SETFL, ::fcntl(fds[i].fd, F_GETFL) | O_NONBLOCK);
                while (CopyOnce(fds[i].fd, logFd, &to[i]) == Copy::Copied) {
                }
                open = false;
            } else if (fds[i].revents) {
                open = CopyOnce(fds[i].fd, logFd, &to[i]) != Copy::Closed;
            }
            if (!open) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
            }
        }
    }
}

int WaitFor(const Child& child)
{
    siginfo_t info = {};
    while (::waitid(P_PID, id_t(child.pid), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    // Ended but not yet reaped: no signal can reach another process with its id from now on.
    g_child = 0;
    ::alarm(0);
    int status = 0;
    while (::waitpid(child.pid, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return status;
}

int EndAs(int status)
{
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        // The caller learns of the signal; a core file of the supervisor would help no one.
        const struct rlimit none = {0, 0};
        ::setrlimit(RLIMIT_CORE, &none);
        ::signal(number, SIG_DFL);
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, number);
        ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
        ::raise(number);
        return 128 + number;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
