#include "helpers/x11/overlay/X11Monitors.h"

#include "helpers/x11/XConnection.h"

#include <algorithm>
#include <xcb/randr.h>

namespace qm {

static QList<Monitor> unscaledMonitors(XConnection &server)
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

static ScaleSettings scaleSettings(XConnection &server)
{
    QByteArray resources;
    if (const auto property = server.property(server.root(), XCB_ATOM_RESOURCE_MANAGER))
        resources = QByteArray(static_cast<const char *>(xcb_get_property_value(property.get())),
                               xcb_get_property_value_length(property.get()));
    return {resources, qgetenv("QT_SCREEN_SCALE_FACTORS"), qgetenv("QT_SCALE_FACTOR")};
}

QList<Monitor> x11Monitors(XConnection &server)
{
    QList<Monitor> found = unscaledMonitors(server);
    applyScales(found, scaleSettings(server));
    return found;
}

} // namespace qm
