#include "tests/support/TrayIcon.h"

#include "tests/support/Desktop.h"

#include <cstdlib>
#include <functional>

#include <xcb/xcb.h>

namespace qm {

// Qt's icon window inside the panel's tray.
std::optional<QRect> trayIcon(const Desktop &desktop)
{
    xcb_connection_t *connection = desktop.connection();
    const std::function<std::optional<QRect>(xcb_window_t, int)> find = [&](xcb_window_t window,
                                                                            int depth) -> std::optional<QRect> {
        std::optional<QRect> found;
        auto *name = xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64), nullptr);
        const QByteArray className = name ? QByteArray(static_cast<const char *>(xcb_get_property_value(name)),
                                                       xcb_get_property_value_length(name))
                                          : QByteArray();
        std::free(name);
        if (depth > 1 && className.contains("quillmere")) {
            auto *at = xcb_translate_coordinates_reply(
                connection, xcb_translate_coordinates(connection, window, desktop.root(), 0, 0), nullptr);
            auto *size = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
            if (at && size && size->width > 1)
                found = QRect(at->dst_x, at->dst_y, size->width, size->height);
            std::free(at);
            std::free(size);
        }
        auto *tree = xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr);
        for (int i = 0; tree && !found && i < xcb_query_tree_children_length(tree); ++i)
            found = find(xcb_query_tree_children(tree)[i], depth + 1);
        std::free(tree);
        return found;
    };
    return find(desktop.root(), 0);
}

} // namespace qm
