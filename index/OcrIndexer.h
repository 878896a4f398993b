#pragma once

#include "index/Database.h"
#include "index/FolderScan.h"
#include "index/OcrRunner.h"
#include "platform/FolderWatch.h"
#include "platform/TaskQueue.h"

#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

enum class Scan { no, yes };

// How far the pictures that are waiting have been read. Those that could not be read before do not count, though they
// are tried again.
struct ReadingProgress {
    int done = 0;
    int total = 0; // 0: nothing is being read

    bool operator==(const ReadingProgress &) const = default;
};

// Keeps the index current: scans and reads at start, shortly after one of the folders has changed, and every minute in
// case a change was missed, in batches until no picture is waiting. Everything runs on its queue except start() and
// settingsChanged(), which belong to the main thread. Failures are recorded as IndexTrouble; the next trigger retries.
class OcrIndexer : public std::enable_shared_from_this<OcrIndexer>
{
public:
    using FindHelper = std::function<std::optional<QString>()>;

    static OcrIndexer &shared();
    // At quit: ends the shared indexer's queue, and a helper it is waiting for. False if it has not finished within the
    // limit.
    static bool stopShared(std::chrono::milliseconds limit);

    // queue must outlive the indexer, which must be held by a shared_ptr: late tasks hold it weakly.
    OcrIndexer(TaskQueue &queue, const QString &databasePath, FindHelper findHelper);
    ~OcrIndexer();

    // Call before start(). The listener is called on the main thread, with every change.
    void tellProgress(std::function<void(const ReadingProgress &)> listener) { m_listener = std::move(listener); }
    void start();           // call once
    void settingsChanged(); // other folders may be in force
    // From the main thread: text and boxes of a shot anew, as one read by an older program has none of these. Only if the
    // settings allow reading by itself.
    void readAgain(qint64 id);
    void pump(Scan scan); // one step: a scan if requested, then a batch if the settings allow it
    void scheduleDrain(); // soon another step without a scan, unless one is already scheduled

private:
    void startSafetyTimer();
    void folderChanged(const QByteArray &path);
    void post(void (OcrIndexer::*task)());
    Timer postAfter(std::chrono::milliseconds delay, void (OcrIndexer::*task)());

    void createCaptureFolder();
    void openAndStep();
    void step(Scan scan); // pump's work, on an open connection
    OcrRunner::Batch readBatch();
    void report(const ReadingProgress &progress);
    FolderScan::Changes scanFolders();
    void scanAndPump();
    void drain();
    void safetyPass();

    TaskQueue &m_queue;
    FindHelper m_findHelper;
    std::function<void(const ReadingProgress &)> m_listener; // set before the queue is used
    std::unique_ptr<FolderWatch> m_watch;                    // main thread, but for follow()

    // Used on the queue only.
    Database m_database;
    int m_read = 0; // pictures since the last time that none was waiting
    ReadingProgress m_reported;
    QSet<QByteArray> m_changed; // files the watch has told of since the last scan
    qint64 m_lookedAt = 0;      // how far the round over all known files has come, an id
    Timer m_changeTimer;        // restarted by every change: a burst ends in one pass
    Timer m_changeLimit;        // by then at the latest
    Timer m_drainTimer;
    Timer m_safetyTimer;
};

} // namespace qm
