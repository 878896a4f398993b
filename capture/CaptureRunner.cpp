#include "capture/CaptureRunner.h"

#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "platform/ChildProcess.h"
#include "platform/ToolPaths.h"

#include <QDateTime>
#include <QFileInfo>

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
    QString path;
    for (QDateTime time = QDateTime::currentDateTime(); path.isEmpty(); time = time.addSecs(1)) {
        const QString candidate = folder + u'/' + CaptureNames::capture(time);
        if (!m_promised.contains(candidate) && !QFileInfo::exists(candidate))
            path = candidate;
    }
    m_promised.insert(path);
    m_pool.start([this, tool, arguments, path, weak = std::weak_ptr(m_takePicture)] {
        ChildProcess::run(*tool, arguments + QStringList(path));
        // Only the file counts, whatever the exit status: without a file the user has cancelled.
        const Pasteboard::Content picture = Pasteboard::contentOf(path);
        m_main.post([this, weak, path, picture] {
            const auto takePicture = weak.lock();
            if (!takePicture)
                return; // and neither is there a runner
            m_promised.remove(path);
            if (!picture.image.isNull())
                (*takePicture)(picture);
        });
    });
}

bool CaptureRunner::isCapturing() const
{
    return !m_promised.isEmpty();
}

bool CaptureRunner::stop(std::chrono::milliseconds limit)
{
    return m_pool.waitForDone(int(limit.count()));
}

} // namespace qm
