#include "capture/CaptureRunner.h"

#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "imaging/ImageFile.h"
#include "platform/ChildProcess.h"
#include "platform/ToolPaths.h"

#include <QDateTime>

namespace qm {

static constexpr int mostAtOnce = 16; // captures waiting for a user; far more than anyone starts

CaptureRunner::CaptureRunner(TaskQueue &main, TakeImage takeImage)
    : m_main(main)
    , m_takeImage(std::make_shared<TakeImage>(std::move(takeImage)))
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
    m_pool.start([this, tool, arguments, path, weak = std::weak_ptr(m_takeImage)] {
        ChildProcess::run(*tool, arguments + QStringList(path));
        // Only the file counts, whatever the exit status: without a file the user has cancelled.
        const Image image = ImageFile::load(path).image;
        if (image.isNull())
            return;
        m_main.post([weak, image] {
            if (const auto takeImage = weak.lock())
                (*takeImage)(image);
        });
    });
}

bool CaptureRunner::stop(std::chrono::milliseconds limit)
{
    return m_pool.waitForDone(int(limit.count()));
}

} // namespace qm
