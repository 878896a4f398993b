#include "helpers/overlay/Monitors.h"

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

constexpr double ordinaryDpi = 96; // Xft.dpi at a scale of 1

std::optional<double> number(const QByteArray &text, double highest)
{
    bool valid = false;
    const double value = text.trimmed().toDouble(&valid);
    return valid && value > 0 && value <= highest ? std::optional(value) : std::nullopt;
}

std::optional<double> factor(const QByteArray &text)
{
    return number(text, 16);
}

// The scale from "Xft.dpi" in the X resources.
std::optional<double> resourceScale(const QByteArray &resources)
{
    for (const QByteArray &line : resources.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed() == "Xft.dpi") {
            const std::optional<double> dpi = number(line.mid(colon + 1), 16 * ordinaryDpi);
            return dpi ? std::optional(*dpi / ordinaryDpi) : std::nullopt;
        }
    }
    return {};
}

std::optional<double> screenFactor(const QByteArray &factors, const Monitor &monitor, qsizetype index)
{
    const QList<QByteArray> entries = factors.split(';');
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const qsizetype equals = entries[i].lastIndexOf('=');
        if (equals < 0 ? i == index : entries[i].left(equals).trimmed() == monitor.name)
            return factor(entries[i].mid(equals + 1));
    }
    return {};
}

qint64 distance(const QRect &area, QPoint point)
{
    const qint64 x = std::max({area.left() - point.x(), point.x() - area.right(), 0});
    const qint64 y = std::max({area.top() - point.y(), point.y() - area.bottom(), 0});
    return x * x + y * y;
}

} // namespace

void applyScales(QList<Monitor> &monitors, const ScaleSettings &settings)
{
    const double desktop = resourceScale(settings.resources).value_or(1);
    const double common = factor(settings.factor).value_or(1);
    for (qsizetype i = 0; i < monitors.size(); ++i)
        monitors[i].scale = common * screenFactor(settings.screenFactors, monitors[i], i).value_or(desktop);
}

const Monitor &monitorAt(const QList<Monitor> &monitors, QPoint point)
{
    return *std::min_element(monitors.cbegin(), monitors.cend(), [point](const Monitor &a, const Monitor &b) {
        return distance(a.area, point) < distance(b.area, point);
    });
}

int pictureScale(const QList<Monitor> &monitors, const QRect &area)
{
    const auto shared = [&area](const Monitor &monitor) {
        const QRect common = monitor.area & area;
        return qint64(common.width()) * common.height();
    };
    const Monitor &most = *std::max_element(monitors.cbegin(), monitors.cend(),
                                            [&](const Monitor &a, const Monitor &b) { return shared(a) < shared(b); });
    const double whole = std::round(most.scale);
    return std::abs(most.scale - whole) < 0.01 && whole >= 1 ? int(whole) : 1;
}

} // namespace qm
