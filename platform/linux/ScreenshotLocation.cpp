#include "platform/ScreenshotLocation.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace qm {

// No desktop publishes this setting. GNOME and KDE save to a subfolder of the pictures folder named with their
// translation of "Screenshots"; it exists once the first screenshot was taken.
std::optional<QByteArray> systemScreenshotLocation()
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    for (const char16_t *name : {u"Screenshots", u"スクリーンショット"}) {
        const QString folder = pictures + u'/' + QString::fromUtf16(name);
        if (QFileInfo(folder).isDir())
            return folder.toUtf8();
    }
    return QByteArray();
}

} // namespace qm
