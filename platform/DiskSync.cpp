#include "platform/DiskSync.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace qm {

bool DiskSync::content(int descriptor)
{
    while (fsync(descriptor) != 0) {
        if (errno != EINTR)
            return errno == EINVAL || errno == ENOTSUP || errno == EROFS;
    }
    return true;
}

void DiskSync::names(const QString &path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const int descriptor = open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return; // names can be added where they can't be listed
    content(descriptor);
    close(descriptor);
}

Outcome DiskSync::commit(QSaveFile &file)
{
    // commit() alone notices neither that its buffer found the disk full nor that the content could not be synced.
    if (!file.flush())
        return Outcome::failure(file.errorString());
    if (!content(file.handle()))
        return Outcome::failure(qt_error_string(errno));
    if (!file.commit())
        return Outcome::failure(file.errorString());
    names(file.fileName());
    return Outcome::success();
}

} // namespace qm
