#pragma once

#include "imaging/Pasteboard.h"
#include "platform/CaptureTool.h"
#include "platform/TaskQueue.h"

#include <QImage>
#include <QRect>
#include <QSet>
#include <QTemporaryDir>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qm {

// What became of a capture that was not cancelled.
struct CaptureResult {
    QString path = {}; // where the picture belongs, and is, if there is no error
    // No image if the user took a colour, if it is lost, or if it is a saved scrolling capture.
    Pasteboard::Content picture = {};
    QImage thumbnail = {}; // as the runner was told to make it
    QRect area = {};       // what was captured, pixels of the whole desktop; null if the tool does not say
    bool isRegion = false; // area is a region of the user's own
    QString color = {};    // "#rrggbb", if the user took one
    QString error = {};    // why there is no file; empty if there is one
    bool isDenied = false; // it is because the user once forbade the desktop to give pictures of the screen
    QString cut = {};      // why the file ends early, if it could not be written further

    // Of captureText(), for which there is never a file.
    std::optional<QString> text = {}; // empty if there is none in the picture
    QString textError = {};           // why it is not known
};

// Takes screenshots with the capture tools: they let the user select and write the file. Main thread; each capture waits
// on a thread of the runner's own pool, and several may run at once. What cannot be saved at its place ends in a private
// file of the session, from which it is read; only the newest of these is kept.
class CaptureRunner
{
public:
    using Done = std::function<void(const CaptureResult &)>;
    using Thumbnail = std::function<QImage(const QImage &)>; // on a thread of the pool

    // done is called on main for each capture but those the user cancelled.
    CaptureRunner(TaskQueue &main, Done done, Thumbnail thumbnail);
    ~CaptureRunner();

    // Returns at once. The file is named by the time; if that name is taken, or promised to another capture, by the next
    // second that is free. The runner fills in the request's trigger and unsaved.
    void runCapture(CaptureTool::Request request);

    // Reads the text of a picture file, on a thread of the pool. A text or the reason why there is none.
    struct Reading {
        std::optional<QString> text;
        QString error;
    };
    using ReadText = std::function<Reading(const QString &path)>;

    // The same for the text of what is captured, which is in a private file of the session until it has been read.
    void captureText(CaptureTool::Request request, ReadText read);

    // Makes pictures of what captures left whose tool was killed; on a thread of the pool. done is called on main if there
    // were any.
    void completeLeft(std::function<void(const QStringList &pictures)> done);

    // From runCapture() until the last picture is loaded, or its user has cancelled. Its text may be still being read.
    bool isCapturing() const;

    // At quit. Returns false if a capture is still waiting for its user, or for its text, after the limit; the private files
    // of texts are gone in either case.
    bool stop(std::chrono::milliseconds limit);

private:
    void start(const QString &path, std::function<std::optional<CaptureResult>()> work);
    QString freePath(const QString &folder, CaptureTool::Request::Way way) const;
    void removeForgotten();

    TaskQueue &m_main;
    std::shared_ptr<Done> m_done; // weak references keep late pictures from being delivered
    const Thumbnail m_thumbnail;
    QSet<QString> m_promised; // paths of pictures that are on their way
    std::vector<std::weak_ptr<QTemporaryDir>> m_textFolders;
    QThreadPool m_pool;
};

} // namespace qm
