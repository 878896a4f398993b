#include "index/ShotStore.h"

#include "config/ConfigStore.h"
#include "index/ShotReader.h"
#include "platform/FolderListing.h"
#include "platform/QtQueue.h"

namespace qm {

QString ShotStore::databasePath()
{
    return ConfigStore::homeFolder() + QStringLiteral("/db.sqlite");
}

template<class Ask>
static auto onQueue(Ask ask)
{
    static ShotReader reader(ShotStore::databasePath()); // used on the queue; declared first, to outlive it
    static QtQueue queue(QStringLiteral("org.quillmere.Quillmere.shotstore"));
    decltype(ask(reader)) answer;
    queue.run([&] { answer = ask(reader); });
    return answer;
}

SearchResult ShotStore::search(const QString &text, int limit)
{
    return onQueue([&](ShotReader &reader) { return reader.search(text, limit); });
}

SearchResult ShotStore::recent(int limit)
{
    return onQueue([&](ShotReader &reader) { return reader.recent(limit); });
}

std::optional<qint64> ShotStore::version()
{
    return onQueue([](ShotReader &reader) { return reader.version(); });
}

// The file is looked at here: in a network folder that does not answer, that takes minutes, for which no search must wait.
ShotPlaces ShotStore::places(qint64 id)
{
    const auto stored = onQueue([id](ShotReader &reader) { return reader.places(id); });
    const auto file = stored ? FolderListing::attributes(stored->path) : std::nullopt;
    if (!file || (file->regular && (file->bytes != stored->bytes || file->modifiedMs != stored->modifiedMs)))
        return {};
    return {.unread = !stored->boxes, .boxes = stored->boxes};
}

QList<ReadFailure> ShotStore::failures()
{
    return onQueue([](ShotReader &reader) { return reader.failures(); });
}

} // namespace qm
