// What others write into the user's file while the window is open (a hand edit, an import)
// merged in as soon as it is complete.
#include "filelocations.h"
#include "launcher.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

namespace {

// Long enough for a writer to finish; a file still changing is looked at again after it.
constexpr int kSettleMs = 300;

} // namespace

void MainWindow::WatchUserFile()
{
    const QString path = ResolveFileName(UserConfigFile);
    m_fileWatcher = new QFileSystemWatcher(this);
    m_mergeTimer = new QTimer(this);
    m_mergeTimer->setSingleShot(true);
    m_mergeTimer->setInterval(kSettleMs);
    connect(m_mergeTimer, &QTimer::timeout, this, &MainWindow::MergeOutsideChanges);
    const auto changed = [this] { m_mergeTimer->start(); };
    // The folder too: an atomic replacement is a new file, which the file's watch loses.
    connect(m_fileWatcher, &QFileSystemWatcher::fileChanged, this, changed);
    connect(m_fileWatcher, &QFileSystemWatcher::directoryChanged, this, changed);
    QDir().mkpath(QFileInfo(path).absolutePath());
    m_fileWatcher->addPath(QFileInfo(path).absolutePath());
    if (QFileInfo::exists(path))
        m_fileWatcher->addPath(path);
    // What changed between the load and now.
    m_mergeTimer->start();
}

void MainWindow::MergeOutsideChanges()
{
    const QString path = ResolveFileName(UserConfigFile);
    if (QFileInfo::exists(path) && !m_fileWatcher->files().contains(path))
        m_fileWatcher->addPath(path);
    ConfigModel model = m_model;
    switch (UserFile::MergeChanges(path, model, m_baseline)) {
    case UserFile::Changes::None:
        return;
    case UserFile::Changes::Unreadable:
        // Half written, or garbage: looked at again once it changes; the save sets a file
        // that stays unreadable aside.
        return;
    case UserFile::Changes::Merged:
        break;
    }
    ShowModel(model);
}
