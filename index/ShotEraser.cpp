#include "index/ShotEraser.h"

#include "index/Database.h"
#include "index/IndexSql.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <optional>

namespace qm {

// The rows of a file. The index may know it by another path, through a folder that is a link; nothing if it cannot be read.
static std::optional<QList<qint64>> rowsOf(Database &database, const QByteArray &path)
{
    const QFileInfo file(QFile::decodeName(path));
    const QString place = file.canonicalFilePath(); // empty if it is gone
    Statement candidates = database.prepare(IndexSql::sameName);
    candidates.bind(1, path.constData());
    candidates.bind(2, path.mid(path.lastIndexOf('/') + 1).constData());
    QList<qint64> ids;
    while (candidates.nextRow()) {
        const QByteArray known = candidates.blob(1);
        if (known == path || (!place.isEmpty() && QFileInfo(QFile::decodeName(known)).canonicalFilePath() == place))
            ids.append(candidates.int64(0));
    }
    return candidates.failed() ? std::nullopt : std::optional(ids);
}

// Those not known are added to unknown.
static bool removeTexts(Database &database, const QList<QByteArray> &paths, QList<QByteArray> *unknown)
{
    Transaction transaction(database);
    for (const QByteArray &path : paths) {
        const std::optional<QList<qint64>> ids = rowsOf(database, path);
        if (!ids)
            return false;
        if (ids->isEmpty())
            unknown->append(path);
        for (const qint64 id : *ids) {
            for (const char *sql : {IndexSql::forgetText, IndexSql::forgetBoxes, IndexSql::forgetFailure}) {
                Statement change = database.prepare(sql);
                change.bind(1, id);
                if (!change.run())
                    return false;
            }
        }
    }
    return transaction.commit();
}

ShotEraser::Outcome ShotEraser::forget(Database &database, const QList<QByteArray> &paths)
{
    const auto clean = [&](Database &index, QList<QByteArray> *unknown) {
        return index.open() && removeTexts(index, paths, unknown) && index.execute("VACUUM");
    };
    Outcome outcome;
    if (!clean(database, &outcome.unknown))
        outcome.error = database.error();
    outcome.forgotten = int(paths.size() - outcome.unknown.size());

    const QFileInfo file(database.path());
    const QString prefix = file.fileName() + QStringLiteral(".form");
    for (const QString &name : file.dir().entryList({prefix + u'*'}, QDir::Files)) {
        bool isForm = false;
        const int form = QStringView(name).sliced(prefix.size()).toInt(&isForm);
        Database copy(file.dir().filePath(name), Database::Access::write, form);
        QList<QByteArray> unknown;
        if (isForm && !clean(copy, &unknown))
            outcome.error = copy.error();
    }
    return outcome;
}

} // namespace qm
