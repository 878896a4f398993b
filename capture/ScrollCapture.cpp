#include "capture/ScrollCapture.h"

#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "platform/ChildProcess.h"
#include "platform/ToolPaths.h"

#include <QDateTime>

namespace qm {

void ScrollCapture::start()
{
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder);
    const QString path = folder + u'/' + CaptureNames::scroll(QDateTime::currentDateTime());
    if (const std::optional<QString> helper = toolPaths().scroll)
        ChildProcess::start(*helper, {QStringLiteral("--region"), path});
}

} // namespace qm
