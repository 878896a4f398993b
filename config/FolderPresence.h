#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace qm {

// Folders on drives and servers that are not always there. A folder that is away must not be taken for one whose pictures
// have been deleted. Any thread; asks the disk each time, and waits as long as that does.
namespace FolderPresence {

// Away is the system's screenshot folder or the shared folder if it is missing or cannot be listed. The shared one also
// if it was in use but shows neither its settings nor its captures: the mount point of a drive that is not mounted is an
// empty folder. One that is new and empty is there.
bool isSharedFolderAway();
QStringList awayFolders();

// Of awayFolders(), those last seen within thirty days. Also notes which folders are there now, in a file of the home
// folder; a failure to write it is quiet.
QStringList rememberedAwayFolders(const QDateTime &now);

} // namespace FolderPresence
} // namespace qm
