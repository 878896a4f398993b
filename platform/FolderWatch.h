#pragma once

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <memory>

namespace qm {

// Tells when files in some folders appear, are replaced, written in place or removed; not of what is below these folders.
// Changes made by another machine in a network folder are not seen, nor is anything on a system without support: the
// owner needs a second way of finding out. Created and destroyed on the main thread, which delivers the changes.
class FolderWatch
{
public:
    // path: the file, in the folder as it was given to follow(); UTF-8. Empty if it is not known which.
    using Changed = std::function<void(const QByteArray &path)>;

    explicit FolderWatch(Changed changed);
    ~FolderWatch();
    Q_DISABLE_COPY_MOVE(FolderWatch)

    // Watches these folders and no others. Any thread; may block as long as the file system does. Folders that are not
    // there are left out. To be called again from time to time: a folder that was replaced by another of its name is
    // watched again from then on.
    void follow(const QStringList &folders);

private:
    struct Private;
    std::unique_ptr<Private> m_private;
};

} // namespace qm
