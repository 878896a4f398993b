#include "index/OcrIndexer.h"

#include "config/ConfigStore.h"
#include "index/FolderScan.h"
#include "index/IndexSql.h"
#include "index/OcrRunner.h"
#include "index/ShotStore.h"
#include "platform/QtQueue.h"
#include "platform/ToolPaths.h"

#include <QFileSystemWatcher>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto debounce = 1500ms;
static constexpr auto drainDelay = 1500ms;
static constexpr auto safetyInterval = 60s;

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
    post(&OcrIndexer::startSafetyTimer); // before the first step, which may read pictures for longer than the interval
    post(&OcrIndexer::openAndStep);
    startWatching();
}

void OcrIndexer::openAndStep()
{
    if (m_database.open())
        step(Scan::yes);
}

void OcrIndexer::pump(Scan scan)
{
    Q_ASSERT(m_queue.isCurrent());
    // If the connection could not be opened at start, it stays closed until the next start; qms status tells the
    // reason. A schema whose setup another process blocked is retried.
    if (m_database.isOpen() && m_database.open())
        step(scan);
}

void OcrIndexer::step(Scan scan)
{
    if (scan == Scan::yes)
        FolderScan::scan(m_database, FolderScan::orderedSourceDirs(), QDateTime::currentDateTimeUtc());
    if (!ConfigStore::autoOcr())
        return;
    // A batch without a single text ends the drain: its pictures would only fail again.
    if (OcrRunner::run(m_database, m_findHelper(), OcrRunner::batchSize) > 0 &&
        m_database.number(IndexSql::countWaiting) > 0)
        scheduleDrain();
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

void OcrIndexer::startWatching()
{
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder);
    m_watcher = std::make_unique<QFileSystemWatcher>();
    if (!m_watcher->addPath(folder))
        return; // the safety pass alone keeps the index current
    QObject::connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, m_watcher.get(),
                     [this] { post(&OcrIndexer::folderChanged); });
}

void OcrIndexer::folderChanged()
{
    m_changeTimer = postAfter(debounce, &OcrIndexer::scanAndPump);
}

void OcrIndexer::scanAndPump()
{
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
