#include "platform/Workspace.h"

#include "platform/QtQueue.h"
#include "platform/Trash.h"

#include <QDesktopServices>
#include <QThreadPool>
#include <QUrl>

namespace qm {

void Workspace::openFolder(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void Workspace::openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

// The global pool: the application waits for it at its end, so what was begun is finished.
void Workspace::trash(const QString &path, std::function<void(const Outcome &)> done)
{
    QThreadPool::globalInstance()->start([path, done = std::move(done)] {
        QtQueue::main().post([outcome = putIntoTrash(path), done] { done(outcome); });
    });
}

} // namespace qm
