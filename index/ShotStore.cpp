#include "index/ShotStore.h"

#include "config/ConfigStore.h"
#include "index/IndexSql.h"
#include "index/ShotReader.h"
#include "platform/QtQueue.h"

namespace qm {

QString ShotStore::databasePath()
{
    return ConfigStore::homeFolder() + QStringLiteral("/db.sqlite");
}

static QList<Shot> query(const char *sql, const std::optional<QString> &like, int limit)
{
    static ShotReader reader(ShotStore::databasePath()); // used on the queue; declared first, to outlive it
    static QtQueue queue(QStringLiteral("org.quillmere.Quillmere.shotstore"));
    QList<Shot> shots;
    queue.run([&] { shots = reader.query(sql, like, limit); });
    return shots;
}

QList<Shot> ShotStore::search(const QString &text, int limit)
{
    return query(IndexSql::searchShots, u'%' + text + u'%', limit);
}

QList<Shot> ShotStore::recent(int limit)
{
    return query(IndexSql::recentShots, std::nullopt, limit);
}

} // namespace qm
