#include "helpers/grab/Monitors.h"

#include "helpers/freeze/XConnection.h"

#include <QRegion>

#include <algorithm>
#include <cmath>
#include <xcb/randr.h>

namespace qm {

namespace {

constexpr double ordinaryDpi = 96; // where desktops count from

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

// The scale by "Xft.dpi" of the X resources.
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

QList<Monitor> monitors(XConnection &server)
{
    QList<Monitor> found;
    if (server.hasExtension(xcb_randr_id)) {
        const Reply<xcb_randr_get_monitors_reply_t> answer(xcb_randr_get_monitors_reply(
            server.get(), xcb_randr_get_monitors(server.get(), server.root(), 1), nullptr));
        QList<xcb_get_atom_name_cookie_t> names;
        if (answer) {
            for (auto next = xcb_randr_get_monitors_monitors_iterator(answer.get()); next.rem;
                 xcb_randr_monitor_info_next(&next)) {
                const QRect area =
                    QRect(next.data->x, next.data->y, next.data->width, next.data->height) & server.area();
                const bool known = std::any_of(found.cbegin(), found.cend(),
                                               [&](const Monitor &monitor) { return monitor.area.contains(area); });
                if (area.isEmpty() || known) // mirrored outputs
                    continue;
                found.append({{}, area, 1});
                names.append(xcb_get_atom_name(server.get(), next.data->name));
            }
        }
        for (qsizetype i = 0; i < found.size(); ++i) {
            const Reply<xcb_get_atom_name_reply_t> name(xcb_get_atom_name_reply(server.get(), names[i], nullptr));
            if (name)
                found[i].name =
                    QByteArray(xcb_get_atom_name_name(name.get()), xcb_get_atom_name_name_length(name.get()));
        }
    }
    if (found.isEmpty())
        found.append({"screen", server.area(), 1});
    return found;
}

ScaleSettings ScaleSettings::read(XConnection &server)
{
    QByteArray resources;
    if (const auto property = server.property(server.root(), XCB_ATOM_RESOURCE_MANAGER))
        resources = QByteArray(static_cast<const char *>(xcb_get_property_value(property.get())),
                               xcb_get_property_value_length(property.get()));
    return {resources, qgetenv("QT_SCREEN_SCALE_FACTORS"), qgetenv("QT_SCALE_FACTOR")};
}

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
