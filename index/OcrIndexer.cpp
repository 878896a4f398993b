#include "index/OcrIndexer.h"

#include "config/ConfigStore.h"
#include "config/FolderPresence.h"
#include "index/IndexSql.h"
#include "index/IndexTrouble.h"
#include "index/ShotStore.h"
#include "platform/QtQueue.h"
#include "platform/ToolPaths.h"

namespace qm {

using namespace std::chrono_literals;

static constexpr auto debounce = 1500ms;
static constexpr auto longestBurst = 10s; // a file that never stops growing does not keep the others waiting
static constexpr auto drainDelay = 1500ms;
static constexpr auto safetyInterval = 60s;
static constexpr int passesPerRound = 60; // every known file is looked at about once an hour
static constexpr int mostNamed = 20'000;  // files; a program that writes more in a second and a half is not one of ours

static QtQueue &sharedQueue()
{
    static QtQueue queue(QStringLiteral("org.quillmere.Quillmere.ocrindexer"));
    return queue;
}

OcrIndexer &OcrIndexer::shared()
{
    static const auto indexer =
        std::make_shared<OcrIndexer>(sharedQueue(), ShotStore::databasePath(), [] { return toolPaths().ocr; });
    return *indexer;
}

bool OcrIndexer::stopShared(std::chrono::milliseconds limit)
{
    return sharedQueue().stop(limit);
}

OcrIndexer::OcrIndexer(TaskQueue &queue, const QString &databasePath, FindHelper findHelper)
    : m_queue(queue)
    , m_findHelper(std::move(findHelper))
    , m_database(databasePath, Database::Access::write)
{
}

OcrIndexer::~OcrIndexer() = default;

void OcrIndexer::post(void (OcrIndexer::*task)())
{
    m_queue.post([weak = weak_from_this(), task] {
        if (const std::shared_ptr<OcrIndexer> indexer = weak.lock())
            (*indexer.*task)();
    });
}

Timer OcrIndexer::postAfter(std::chrono::milliseconds delay, void (OcrIndexer::*task)())
{
    return m_queue.postAfter(delay, [weak = weak_from_this(), task] {
        if (const std::shared_ptr<OcrIndexer> indexer = weak.lock())
            (*indexer.*task)();
    });
}

void OcrIndexer::start()
{
    m_watch = std::make_unique<FolderWatch>([this](const QByteArray &path) {
        m_queue.post([weak = weak_from_this(), path] {
            if (const std::shared_ptr<OcrIndexer> indexer = weak.lock())
                indexer->folderChanged(path);
        });
    });
    post(&OcrIndexer::startSafetyTimer); // before the first step, which may read pictures for longer than the interval
    post(&OcrIndexer::openAndStep);
}

void OcrIndexer::settingsChanged()
{
    post(&OcrIndexer::createCaptureFolder);
    post(&OcrIndexer::scanAndPump);
}

void OcrIndexer::readAgain(qint64 id)
{
    m_queue.post([weak = weak_from_this(), id] {
        const std::shared_ptr<OcrIndexer> indexer = weak.lock();
        if (indexer && indexer->m_database.isOpen() && ConfigStore::autoOcr())
            OcrRunner::readAgain(indexer->m_database, indexer->m_findHelper(), id);
    });
}

// Only when it comes into force: a user who deletes it later means it.
void OcrIndexer::createCaptureFolder()
{
    ConfigStore::createFolder(ConfigStore::resolveCaptureDir());
}

void OcrIndexer::openAndStep()
{
    createCaptureFolder();
    if (m_database.open())
        step(Scan::yes);
    else
        IndexTrouble::record({{IndexTrouble::Kind::open, m_database.error()}});
}

void OcrIndexer::pump(Scan scan)
{
    Q_ASSERT(m_queue.isCurrent());
    // If the connection could not be opened at start, it stays closed until the next start; qms status tells the
    // reason. A schema whose setup another process blocked is retried.
    if (m_database.isOpen() && m_database.open())
        step(scan);
}

FolderScan::Changes OcrIndexer::scanFolders()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QStringList folders = FolderScan::orderedSourceDirs();
    m_watch->follow(folders); // first: what changes from here on is told
    const auto changed = std::exchange(m_changed, {});
    const FolderScan::Changes changes =
        FolderScan::scan(m_database, {.folders = folders,
                                      .away = FolderPresence::rememberedAwayFolders(now),
                                      .named = QByteArrayList(changed.begin(), changed.end()),
                                      .share = passesPerRound,
                                      .after = m_lookedAt,
                                      .now = now});
    m_lookedAt = changes.after;
    return changes;
}

void OcrIndexer::step(Scan scan)
{
    std::optional<IndexTrouble> trouble;
    if (scan == Scan::yes) {
        if (const FolderScan::Changes changes = scanFolders(); !changes.error.isEmpty())
            trouble = {IndexTrouble::Kind::write, changes.error};
    }
    const OcrRunner::Batch batch = ConfigStore::autoOcr() ? readBatch() : OcrRunner::Batch();
    if (batch.trouble != OcrRunner::Batch::Trouble::none)
        trouble = {batch.trouble == OcrRunner::Batch::Trouble::write ? IndexTrouble::Kind::write
                                                                     : IndexTrouble::Kind::helper,
                   batch.reason};
    IndexTrouble::record(trouble);
    // A batch without a single text ends the drain: its pictures would only fail again.
    if (batch.read > 0 && m_database.number(IndexSql::countWaiting) > 0)
        return scheduleDrain();
    m_read = 0;
    report({});
}

OcrRunner::Batch OcrIndexer::readBatch()
{
    const std::optional<QString> helper = m_findHelper();
    if (!helper)
        return {};
    // Pictures that failed before come last in a batch, so the others are those that are answered first.
    const int untried = int(m_database.number(IndexSql::countWaiting) - m_database.number(IndexSql::countFailed));
    const int total = m_read + untried;
    if (untried > 0)
        report({m_read, total});
    const OcrRunner::Batch batch = OcrRunner::run(m_database, helper, OcrRunner::batchSize, [&](int done, int) {
        if (untried > 0)
            report({std::min(m_read + done, total), total});
    });
    m_read = std::min(m_read + batch.read + batch.failed, total);
    return batch;
}

void OcrIndexer::report(const ReadingProgress &progress)
{
    if (progress == m_reported || !m_listener)
        return;
    m_reported = progress;
    QtQueue::main().post([weak = weak_from_this(), progress] {
        if (const std::shared_ptr<OcrIndexer> indexer = weak.lock())
            indexer->m_listener(progress);
    });
}

void OcrIndexer::scheduleDrain()
{
    Q_ASSERT(m_queue.isCurrent());
    if (!m_drainTimer.isActive())
        m_drainTimer = postAfter(drainDelay, &OcrIndexer::drain);
}

void OcrIndexer::drain()
{
    pump(Scan::no);
}

void OcrIndexer::folderChanged(const QByteArray &path)
{
    if (!path.isEmpty() && !FolderScan::isImage(path.toStdString()))
        return; // a log on the desktop must not put off what is read
    if (!path.isEmpty() && m_changed.size() < mostNamed)
        m_changed.insert(path);
    m_changeTimer = postAfter(debounce, &OcrIndexer::scanAndPump);
    if (!m_changeLimit.isActive())
        m_changeLimit = postAfter(longestBurst, &OcrIndexer::scanAndPump);
}

void OcrIndexer::scanAndPump()
{
    m_changeTimer.cancel();
    m_changeLimit.cancel();
    pump(Scan::yes);
}

void OcrIndexer::startSafetyTimer()
{
    m_safetyTimer = postAfter(safetyInterval, &OcrIndexer::safetyPass);
}

void OcrIndexer::safetyPass()
{
    startSafetyTimer(); // first, so that the interval holds however long a pass takes
    pump(Scan::yes);
}

} // namespace qm
