#pragma once

#include "imaging/Pasteboard.h"
#include "platform/TaskQueue.h"

#include <QStringList>
#include <QThreadPool>

#include <functional>

namespace qm {

// Takes one screenshot with the system's capture tool: the tool lets the user select and writes the file, which also goes
// to the clipboard. Main thread; each capture waits on a thread of the runner's own pool, and several may run.
// Every failure is silent, and so is a cancelled selection: no file, and the clipboard as it was.
class CaptureRunner
{
public:
    using TakePicture = std::function<void(const Pasteboard::Content &)>;

    // takePicture is called on main with each picture taken.
    CaptureRunner(TaskQueue &main, TakePicture takePicture);
    ~CaptureRunner();

    // {"-i"} for a region, {"-iw"} for a window. Returns at once.
    void runCapture(const QStringList &arguments);

    // At quit: false when a capture is still waiting for its user after the limit.
    bool stop(std::chrono::milliseconds limit);

private:
    TaskQueue &m_main;
    std::shared_ptr<TakePicture> m_takePicture; // late pictures hold it weakly
    QThreadPool m_pool;
};

} // namespace qm
