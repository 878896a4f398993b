#pragma once

#include "imaging/Pasteboard.h"
#include "platform/TaskQueue.h"

#include <QSet>
#include <QStringList>
#include <QThreadPool>

#include <functional>

namespace qm {

// Takes one screenshot with the capture tool: the tool lets the user select and writes the file, which also goes to the
// clipboard. Main thread; each capture waits on a thread of the runner's own pool, and several may run at once.
// Failures are silent, as is a cancelled selection: no file, and the clipboard is unchanged.
class CaptureRunner
{
public:
    using TakePicture = std::function<void(const Pasteboard::Content &)>;

    // takePicture is called on main with each picture taken.
    CaptureRunner(TaskQueue &main, TakePicture takePicture);
    ~CaptureRunner();

    // {"-i"} captures a region, {"-iw"} a window. Returns at once. The file is named by the time; if that name is taken,
    // or promised to another capture, by the next second that is free.
    void runCapture(const QStringList &arguments);

    bool isCapturing() const; // from runCapture() until the last picture has been read or its user has cancelled

    // At quit. Returns false if a capture is still waiting for its user after the limit.
    bool stop(std::chrono::milliseconds limit);

private:
    TaskQueue &m_main;
    std::shared_ptr<TakePicture> m_takePicture; // weak references keep late pictures from being delivered
    QSet<QString> m_promised;                   // paths of pictures that are on their way
    QThreadPool m_pool;
};

} // namespace qm
