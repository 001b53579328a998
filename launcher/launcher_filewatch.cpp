// What others write into the user's file while the window is open (a hand edit, an import)
// merged in as soon as it is complete.
#include "filelocations.h"
#include "launcher.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

namespace {

// Long enough for a writer to finish; a file still changing, or still open for writing, is
// looked at again after it.
constexpr int kSettleMs = 300;

// The nearest folder on the way to path that exists: path's own until there is one. Nothing
// is made here: on a first run the data folder appears only with the save at exit, or with an
// import.
QString NearestFolder(const QString& path)
{
    QString folder = QFileInfo(path).absolutePath();
    while (!QFileInfo(folder).isDir()) {
        const QString parent = QFileInfo(folder).absolutePath();
        if (parent == folder)
            break;
        folder = parent;
    }
    return folder;
}

// Watches the file and its folder, or while that folder is missing the nearest one that
// exists, which says when the next one on the way appears.
void Watch(QFileSystemWatcher& watcher, const QString& path)
{
    const QString folder = NearestFolder(path);
    QStringList unwanted = watcher.directories();
    unwanted.removeAll(folder);
    if (!unwanted.isEmpty())
        watcher.removePaths(unwanted);
    if (!watcher.directories().contains(folder))
        watcher.addPath(folder);
    if (QFileInfo::exists(path) && !watcher.files().contains(path))
        watcher.addPath(path);
}

} // namespace

void MainWindow::WatchUserFile()
{
    const QString path = ResolveFileName(UserConfigFile);
    m_fileWatcher = new QFileSystemWatcher(this);
    m_mergeTimer = new QTimer(this);
    m_mergeTimer->setSingleShot(true);
    m_mergeTimer->setInterval(kSettleMs);
    connect(m_mergeTimer, &QTimer::timeout, this, &MainWindow::MergeOutsideChanges);
    connect(m_fileWatcher, &QFileSystemWatcher::fileChanged, this,
            [this] { m_mergeTimer->start(); });
    // The folder too: an atomic replacement is a new file, which the file's watch loses; and
    // a folder on the way that appears is watched in turn.
    connect(m_fileWatcher, &QFileSystemWatcher::directoryChanged, this, [this, path] {
        Watch(*m_fileWatcher, path);
        m_mergeTimer->start();
    });
    Watch(*m_fileWatcher, path);
    // What changed between the load and now.
    m_mergeTimer->start();
}

void MainWindow::MergeOutsideChanges()
{
    const QString path = ResolveFileName(UserConfigFile);
    Watch(*m_fileWatcher, path);
    ConfigModel model = m_model;
    switch (UserFile::MergeChanges(path, model, m_baseline)) {
    case UserFile::Changes::None:
        return;
    case UserFile::Changes::Unreadable:
        // Garbage, or changed while it was read: looked at again once it changes; the save
        // sets a file that stays unreadable aside.
        return;
    case UserFile::Changes::BeingWritten:
        // Half written, maybe: read once the writer has closed it, which no watch reports.
        m_mergeTimer->start();
        return;
    case UserFile::Changes::Merged:
        break;
    }
    ShowModel(model);
}
