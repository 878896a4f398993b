#include "platform/FolderWatch.h"

#include <QFileSystemWatcher>

namespace qm {

// Tells of names that come and go, not which, and not of files that are written in place.
struct FolderWatch::Private {
    QFileSystemWatcher watcher;
};

FolderWatch::FolderWatch(Changed changed)
    : m_private(std::make_unique<Private>())
{
    QObject::connect(&m_private->watcher, &QFileSystemWatcher::directoryChanged, &m_private->watcher,
                     [changed = std::move(changed)] { changed({}); });
}

FolderWatch::~FolderWatch() = default;

void FolderWatch::follow(const QStringList &folders)
{
    QMetaObject::invokeMethod(
        &m_private->watcher,
        [watcher = &m_private->watcher, folders] {
            // Added anew each time: a path that is listed already may stand for a folder that is no more.
            if (const QStringList before = watcher->directories(); !before.isEmpty())
                watcher->removePaths(before);
            if (!folders.isEmpty())
                watcher->addPaths(folders);
        },
        Qt::QueuedConnection);
}

} // namespace qm
