#include "quitsignals.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGTERM, SIGHUP, SIGINT};
int g_pair[2] = {-1, -1};

extern "C" void WriteSignal(int signalNumber)
{
    const char byte = char(signalNumber);
    // Nothing else is safe in a handler. The handler's end does not block, so a full pair
    // (nobody reads any more, as during the save at exit) only loses a repeat.
    const int savedErrno = errno;
    [[maybe_unused]] const ssize_t written = ::write(g_pair[0], &byte, 1);
    errno = savedErrno;
}

} // namespace

QuitSignals::QuitSignals(QObject* parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pair) != 0)
        return;
    const int flags = ::fcntl(g_pair[0], F_GETFL);
    if (flags < 0 || ::fcntl(g_pair[0], F_SETFL, flags | O_NONBLOCK) != 0) {
        for (int& fd : g_pair) {
            ::close(fd);
            fd = -1;
        }
        return;
    }
    m_notifier = new QSocketNotifier(g_pair[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &QuitSignals::Read);
    struct sigaction action = {};
    action.sa_handler = WriteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : kSignals)
        ::sigaction(signalNumber, &action, nullptr);
}

QuitSignals::~QuitSignals()
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (const int signalNumber : kSignals)
        ::sigaction(signalNumber, &action, nullptr);
    for (int& fd : g_pair) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void QuitSignals::Read()
{
    char byte = 0;
    if (::read(g_pair[1], &byte, 1) == 1)
        emit received(byte);
}
