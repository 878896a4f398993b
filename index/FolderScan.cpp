#include "index/FolderScan.h"

#include "config/ConfigStore.h"
#include "index/Database.h"
#include "index/IndexSql.h"
#include "index/PathSet.h"
#include "index/TakenAt.h"
#include "platform/FolderListing.h"

#include <QSet>

#include <algorithm>
#include <string>

namespace qm {

using FolderListing::Kind;

namespace {

constexpr int newestLookedAt = 300;

struct NewFile {
    PathSet::Ref path;
    qint64 bytes;
    qint64 modifiedMs;
};

// Result of listing the folders.
struct Findings {
    PathSet paths; // known and new; marked if the file is proven to exist
    std::vector<NewFile> fresh;
};

Findings knownPaths(Database &database)
{
    Findings findings;
    Statement known = database.prepare(IndexSql::knownPaths);
    while (known.nextRow())
        findings.paths.insert(known.bytes(0));
    return findings;
}

void lookInto(const QString &folder, Findings &findings)
{
    const QByteArray folderBytes = folder.toUtf8();
    std::string path(folderBytes.constData(), size_t(folderBytes.size()));
    if (path != "/")
        path += '/';
    const size_t prefix = path.size();
    FolderListing::forEach(folderBytes, [&](std::string_view name, Kind kind) {
        if (!FolderScan::isImage(name))
            return;
        path.resize(prefix);
        path += name;
        if (const std::optional<PathSet::Ref> known = findings.paths.find(path)) {
            // A link may be broken, and an entry of unknown kind may be a link.
            if (kind == Kind::regular || kind == Kind::other)
                findings.paths.mark(*known);
            return;
        }
        if (kind == Kind::link || kind == Kind::other)
            return;
        const auto attributes = FolderListing::attributes(QByteArray::fromRawData(path.data(), qsizetype(path.size())));
        if (!attributes || !attributes->regular || !QUtf8StringView(path.data(), qsizetype(path.size())).isValidUtf8())
            return;
        const PathSet::Ref fresh = findings.paths.insert(path).ref;
        findings.paths.mark(fresh);
        findings.fresh.push_back({fresh, attributes->bytes, attributes->modifiedMs});
    });
}

int removeGone(Database &database, const Findings &findings, const QStringList &away, QString *error)
{
    std::vector<std::string> kept;
    for (const QString &folder : away)
        kept.push_back(folder.toStdString() + '/');
    const auto isAway = [&](std::string_view path) {
        return std::any_of(kept.begin(), kept.end(),
                           [&](const std::string &folder) { return path.starts_with(folder); });
    };
    std::vector<PathSet::Ref> gone;
    findings.paths.forEach([&](PathSet::Ref ref) {
        const std::string_view path = findings.paths[ref];
        if (!findings.paths.isMarked(ref) && !isAway(path) &&
            FolderListing::existence(QByteArray::fromRawData(path.data(), qsizetype(path.size()))) ==
                FolderListing::Existence::gone)
            gone.push_back(ref);
    });
    if (gone.empty())
        return 0;
    Transaction transaction(database);
    Statement remove = database.prepare(IndexSql::deleteShot);
    Statement removeBoxes = database.prepare(IndexSql::deleteBoxes);
    for (const PathSet::Ref ref : gone) {
        remove.bind(1, findings.paths[ref].data());
        removeBoxes.bind(1, findings.paths[ref].data());
        if (!removeBoxes.run() || !remove.run()) {
            *error = database.error();
            return 0;
        }
    }
    if (database.execute(IndexSql::forgetFailuresOfGone) && transaction.commit())
        return int(gone.size());
    *error = database.error();
    return 0;
}

int insertNew(Database &database, Findings &findings, const QDateTime &now, QString *error)
{
    // A search walks the rows by modification time: inserting them in that order places them in the file as the search
    // reads them, which makes it about twice as fast.
    std::sort(findings.fresh.begin(), findings.fresh.end(), [](const NewFile &a, const NewFile &b) {
        return std::tie(a.modifiedMs, a.path) < std::tie(b.modifiedMs, b.path);
    });
    const QByteArray indexedAt = isoUtc(now.toMSecsSinceEpoch()).toLatin1();
    Transaction transaction(database);
    Statement insert = database.prepare(IndexSql::insertShot);
    for (const NewFile &file : findings.fresh) {
        const char *path = findings.paths[file.path].data();
        const char *name = path + findings.paths[file.path].rfind('/') + 1;
        insert.bind(1, path);
        insert.bind(2, name);
        insert.bind(3, file.bytes);
        insert.bind(4, file.modifiedMs);
        insert.bind(5, parseTakenAt(QString::fromUtf8(name), file.modifiedMs));
        insert.bind(6, indexedAt.constData());
        if (!insert.run()) {
            *error = database.error();
            return 0;
        }
    }
    if (transaction.commit())
        return int(findings.fresh.size());
    *error = database.error();
    return 0;
}

struct Suspect {
    qint64 id;
    QByteArray path;
    qint64 bytes, modifiedMs;
};

// Rows that differ from their files: a file that was replaced, or whose end had not been written when it was found.
std::vector<Suspect> changedFiles(Database &database, const FolderScan::Pass &pass, qint64 *after)
{
    QSet<qint64> seen;
    std::vector<Suspect> changed;
    const auto look = [&](Statement rows) {
        qint64 last = 0;
        while (rows.nextRow()) {
            last = rows.int64(0);
            if (seen.contains(last))
                continue;
            seen.insert(last);
            const std::string_view path = rows.bytes(1);
            const auto attributes =
                FolderListing::attributes(QByteArray::fromRawData(path.data(), qsizetype(path.size())));
            if (attributes && attributes->regular &&
                (attributes->bytes != rows.int64(2) || attributes->modifiedMs != rows.int64(3)))
                changed.push_back(
                    {last, QByteArray(path.data(), qsizetype(path.size())), attributes->bytes, attributes->modifiedMs});
        }
        return last;
    };
    for (const QByteArray &path : pass.named) {
        Statement named = database.prepare(IndexSql::namedFile);
        named.bind(1, path.constData());
        look(std::move(named));
    }
    look(database.prepare(IndexSql::failedFiles));
    Statement newest = database.prepare(IndexSql::newestFiles);
    newest.bind(1, newestLookedAt);
    look(std::move(newest));
    if (pass.share > 0) {
        const qint64 turn = database.number(IndexSql::largestId) / pass.share + 1;
        Statement others = database.prepare(IndexSql::filesAfter);
        others.bind(1, pass.after);
        others.bind(2, turn);
        *after = look(std::move(others)); // 0 behind the last one: the next pass begins anew
    }
    return changed;
}

int updateChanged(Database &database, const FolderScan::Pass &pass, FolderScan::Changes &changes)
{
    changes.after = pass.after;
    const std::vector<Suspect> changed = changedFiles(database, pass, &changes.after);
    if (changed.empty())
        return 0;
    Transaction transaction(database);
    Statement update = database.prepare(IndexSql::fileChanged);
    Statement forget = database.prepare(IndexSql::forgetFailure);
    Statement forgetBoxes = database.prepare(IndexSql::forgetBoxes);
    for (const Suspect &file : changed) {
        update.bind(1, file.bytes);
        update.bind(2, file.modifiedMs);
        update.bind(3, parseTakenAt(QString::fromUtf8(file.path.mid(file.path.lastIndexOf('/') + 1)), file.modifiedMs));
        update.bind(4, file.id);
        forget.bind(1, file.id);
        forgetBoxes.bind(1, file.id);
        if (!update.run() || !forget.run() || !forgetBoxes.run()) {
            changes.error = database.error();
            return 0;
        }
    }
    if (transaction.commit())
        return int(changed.size());
    changes.error = database.error();
    return 0;
}

} // namespace

bool FolderScan::isImage(std::string_view name)
{
    constexpr std::string_view imageExts[] = {"png", "jpg", "jpeg", "gif", "heic", "tiff", "webp"};
    name.remove_prefix(name.rfind('/') + 1); // all of it without one
    const size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || name.size() - dot > 5)
        return false;
    char lower[8];
    const std::string_view extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), lower,
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return std::find(std::begin(imageExts), std::end(imageExts), std::string_view(lower, extension.size())) !=
           std::end(imageExts);
}

QStringList FolderScan::orderedSourceDirs()
{
    QStringList folders{ConfigStore::resolveSource(), ConfigStore::resolveCaptureDir()};
    folders.removeDuplicates();
    return folders;
}

FolderScan::Changes FolderScan::scan(Database &database, const Pass &pass)
{
    if (!database.isOpen())
        return {};
    Findings findings = knownPaths(database);
    for (const QString &folder : pass.folders)
        lookInto(folder, findings);
    Changes changes;
    changes.removed = removeGone(database, findings, pass.away, &changes.error);
    changes.changed = updateChanged(database, pass, changes); // before the new ones, which need no second look
    changes.added = insertNew(database, findings, pass.now, &changes.error);
    return changes;
}

} // namespace qm
