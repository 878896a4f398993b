#include "capture/CaptureRunner.h"

#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "platform/ChildProcess.h"
#include "platform/ToolPaths.h"

#include <QDateTime>

namespace qm {

static constexpr int mostAtOnce = 16; // captures waiting for a user; far more than anyone starts

CaptureRunner::CaptureRunner(TaskQueue &main, TakePicture takePicture)
    : m_main(main)
    , m_takePicture(std::make_shared<TakePicture>(std::move(takePicture)))
{
    m_pool.setMaxThreadCount(mostAtOnce);
}

CaptureRunner::~CaptureRunner() = default;

void CaptureRunner::runCapture(const QStringList &arguments)
{
    Q_ASSERT(m_main.isCurrent());
    const std::optional<QString> tool = toolPaths().capture;
    if (!tool)
        return;
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder);
    const QString path = folder + u'/' + CaptureNames::capture(QDateTime::currentDateTime());
    m_pool.start([this, tool, arguments, path, weak = std::weak_ptr(m_takePicture)] {
        ChildProcess::run(*tool, arguments + QStringList(path));
        // Only the file counts, whatever the exit status: without a file the user has cancelled.
        const Pasteboard::Content picture = Pasteboard::contentOf(path);
        if (picture.image.isNull())
            return;
        m_main.post([weak, picture] {
            if (const auto takePicture = weak.lock())
                (*takePicture)(picture);
        });
    });
}

bool CaptureRunner::stop(std::chrono::milliseconds limit)
{
    return m_pool.waitForDone(int(limit.count()));
}

} // namespace qm
