#include "tests/support/TrayIcon.h"

#include "tests/support/Desktop.h"

namespace qm {

// Qt's icon window inside the panel's tray.
static std::optional<QRect> iconBelow(const Desktop &desktop, xcb_window_t window, int depth)
{
    xcb_connection_t *connection = desktop.connection();
    if (depth > 1 && desktop.property(window, "WM_CLASS").contains("quillmere")) {
        const auto at = desktop.ask(xcb_translate_coordinates_reply,
                                    xcb_translate_coordinates(connection, window, desktop.root(), 0, 0));
        const auto size = desktop.ask(xcb_get_geometry_reply, xcb_get_geometry(connection, window));
        if (at && size && size->width > 1)
            return QRect(at->dst_x, at->dst_y, size->width, size->height);
    }
    const auto tree = desktop.ask(xcb_query_tree_reply, xcb_query_tree(connection, window));
    std::optional<QRect> found;
    for (int i = 0; tree && !found && i < xcb_query_tree_children_length(tree.get()); ++i)
        found = iconBelow(desktop, xcb_query_tree_children(tree.get())[i], depth + 1);
    return found;
}

std::optional<QRect> trayIcon(const Desktop &desktop)
{
    return iconBelow(desktop, desktop.root(), 0);
}

} // namespace qm
