// The short lock each writer of the user's file (a launcher's save, an import) holds around
// one read and one write of it: an flock on a file beside it. The system drops it with its
// holder, so a writer that dies never locks the others out, and taking it writes nothing.
#pragma once

#include <QString>

namespace UserFile {

class WriterLock
{
public:
    // Waits a few seconds for another writer. A folder that can hold no lock file has no
    // writer to wait for.
    explicit WriterLock(const QString& path);
    ~WriterLock();
    WriterLock(const WriterLock&) = delete;
    WriterLock& operator=(const WriterLock&) = delete;

    // True when another writer kept it the whole time this one waited.
    bool HeldElsewhere() const { return m_heldElsewhere; }

private:
    QString m_lockPath;
    int m_fd = -1;
    bool m_heldElsewhere = false;
};

} // namespace UserFile
