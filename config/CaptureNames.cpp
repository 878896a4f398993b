#include "config/CaptureNames.h"

#include <QTimeZone>

namespace qm {

static constexpr QStringView product = u"Quillmere ";
static constexpr QStringView stamp = u"dddd-dd-dd-dd-dd-dd"; // d stands for any digit

static QString stamped(const QDateTime &local)
{
    return product.toString() + local.toString(QStringLiteral("yyyy-MM-dd-HH-mm-ss"));
}

QString CaptureNames::capture(const QDateTime &local)
{
    return stamped(local) + QStringLiteral(".png");
}

QString CaptureNames::scroll(const QDateTime &local)
{
    return stamped(local) + QStringLiteral(" scroll.png");
}

QString CaptureNames::aSecondLater(const QString &path)
{
    const qsizetype at = path.lastIndexOf(product) + product.size();
    const QString format = QStringLiteral("yyyy-MM-dd-HH-mm-ss");
    // By the clock's face and not the time zone's: each step is a new name.
    QDateTime time = QDateTime::fromString(path.mid(at, stamp.size()), format);
    time.setTimeZone(QTimeZone::utc());
    return path.left(at) + time.addSecs(1).toString(format) + path.mid(at + stamp.size());
}

std::optional<QString> CaptureNames::takenAt(QStringView name)
{
    if (!name.startsWith(product) || name.size() < product.size() + stamp.size())
        return std::nullopt;
    const QStringView found = name.sliced(product.size(), stamp.size());
    for (qsizetype i = 0; i < stamp.size(); ++i) {
        const bool digit = found[i] >= u'0' && found[i] <= u'9';
        if (stamp[i] == u'd' ? !digit : found[i] != u'-')
            return std::nullopt;
    }
    QString text = found.toString();
    text[10] = u'T';
    text[13] = text[16] = u':';
    return text;
}

} // namespace qm
