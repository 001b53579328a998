#include "writerlock.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace UserFile {

namespace {

// A writer holds it for one read and one write.
constexpr int kWaitMs = 5000;
constexpr int kRetryMs = 10;

// Whether fd is still the file at path: a holder removes the file before it lets go, and one
// who locked the removed file must try the new one.
bool StillThere(int fd, const QByteArray& path)
{
    struct stat held = {};
    struct stat now = {};
    return ::fstat(fd, &held) == 0 && ::stat(path.constData(), &now) == 0 &&
           held.st_dev == now.st_dev && held.st_ino == now.st_ino;
}

} // namespace

WriterLock::WriterLock(const QString& path) : m_lockPath(path + QStringLiteral(".lock"))
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QByteArray lockPath = QFile::encodeName(m_lockPath);
    const QDeadlineTimer deadline(kWaitMs);
    for (;;) {
        const int fd = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0)
            return;
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && StillThere(fd, lockPath)) {
            m_fd = fd;
            return;
        }
        ::close(fd);
        if (deadline.hasExpired()) {
            m_heldElsewhere = true;
            return;
        }
        QThread::msleep(kRetryMs);
    }
}

WriterLock::~WriterLock()
{
    if (m_fd < 0)
        return;
    // Removed while still held, so nobody locks a file that is about to go.
    ::unlink(QFile::encodeName(m_lockPath).constData());
    ::close(m_fd);
}

} // namespace UserFile
