#include "platform/FolderWatch.h"

#include <QFile>
#include <QMultiHash>
#include <QSocketNotifier>

#include <sys/inotify.h>
#include <unistd.h>

namespace qm {

// Half a picture appears with the creation of its file and is whole when whoever writes it closes it. Moves and removals
// of the folder itself are told as well: what has taken its place is only watched after the next follow().
static constexpr uint32_t events = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                   IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

struct FolderWatch::Private {
    explicit Private(Changed tell)
        : changed(std::move(tell))
        , notifier(inotify, QSocketNotifier::Read)
    {
        notifier.setEnabled(inotify >= 0);
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { readEvents(); });
    }
    ~Private()
    {
        notifier.setEnabled(false);
        if (inotify >= 0)
            close(inotify);
    }
    Q_DISABLE_COPY_MOVE(Private)

    void readEvents();

    const Changed changed;
    const int inotify = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QSocketNotifier notifier;
    QMultiHash<int, QByteArray> folders; // by the number of their watch; two names may lead to one folder. Main thread
};

void FolderWatch::Private::readEvents()
{
    alignas(inotify_event) char buffer[64 * 1024];
    ssize_t size = 0;
    while ((size = read(inotify, buffer, sizeof buffer)) > 0) {
        for (const char *at = buffer; at < buffer + size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(at);
            at += sizeof(inotify_event) + event->len;
            if (event->mask & IN_Q_OVERFLOW) { // more happened than the system keeps for us
                changed({});
                continue;
            }
            const QByteArrayList found = folders.values(event->wd);
            if (found.isEmpty() && !(event->mask & IN_IGNORED))
                changed({}); // in a folder of which this thread has not been told yet
            for (const QByteArray &folder : found)
                changed(event->len > 0 ? folder + '/' + event->name : QByteArray());
        }
    }
}

FolderWatch::FolderWatch(Changed changed)
    : m_private(std::make_unique<Private>(std::move(changed)))
{
}

FolderWatch::~FolderWatch() = default;

void FolderWatch::follow(const QStringList &folders)
{
    // The system gives the same number for a folder that is watched already, and another for one in its place.
    QMultiHash<int, QByteArray> now;
    for (const QString &folder : folders) {
        const int watch = inotify_add_watch(m_private->inotify, QFile::encodeName(folder).constData(), events);
        if (watch >= 0)
            now.insert(watch, folder.toUtf8());
    }
    QMetaObject::invokeMethod(&m_private->notifier, [all = m_private.get(), now] {
        const QList<int> before = all->folders.uniqueKeys();
        for (const int watch : before) {
            if (!now.contains(watch))
                inotify_rm_watch(all->inotify, watch);
        }
        all->folders = now;
    });
}

} // namespace qm
