#include "platform/Trash.h"

#include <QFile>

#include <gio/gio.h>

#include <memory>

namespace qm {

// GLib's, not Qt's: QFile::moveToTrash of Qt 6.4 removes the file where it cannot create the trash's folders. And its own file
// system: the desktop's would ask the session bus first, and wait for it without limit.
Outcome putIntoTrash(const QString &path)
{
    const std::unique_ptr<GFile, decltype(&g_object_unref)> file(
        g_vfs_get_file_for_path(g_vfs_get_local(), QFile::encodeName(path).constData()), g_object_unref);
    GError *error = nullptr;
    if (g_file_trash(file.get(), nullptr, &error))
        return Outcome::success();
    const Outcome outcome = Outcome::failure(QString::fromUtf8(error->message));
    g_error_free(error);
    return outcome;
}

} // namespace qm
