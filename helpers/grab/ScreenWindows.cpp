#include "helpers/grab/ScreenWindows.h"

#include <QHash>
#include <QMargins>
#include <QRegion>
#include <QStringDecoder>

#include <xcb/composite.h>

namespace qm {

namespace {

constexpr quint32 everyDesktop = 0xffffffff;

// All of these answer together: one round trip for any number of windows.
struct Question {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_query_tree_cookie_t tree;
};

struct Answer {
    bool shown = false; // mapped, with all its parents, and able to show anything
    QRect area;         // with its border, relative to the parent
    int border = 0;
    quint8 depth = 0;
    xcb_window_t parent = 0;
    QList<xcb_window_t> children;
};

QList<Answer> ask(XConnection &server, const QList<xcb_window_t> &windows)
{
    QList<Question> questions;
    for (const xcb_window_t window : windows) {
        questions.append({xcb_get_window_attributes(server.get(), window), xcb_get_geometry(server.get(), window),
                          xcb_query_tree(server.get(), window)});
    }
    QList<Answer> answers;
    for (const Question &question : questions) {
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(server.get(), question.attributes, nullptr));
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(server.get(), question.geometry, nullptr));
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(server.get(), question.tree, nullptr));
        Answer answer;
        if (attributes && geometry && tree) { // else it was closed meanwhile
            answer.shown =
                attributes->map_state == XCB_MAP_STATE_VIEWABLE && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
            answer.border = geometry->border_width;
            answer.area = QRect(geometry->x, geometry->y, geometry->width + 2 * answer.border,
                                geometry->height + 2 * answer.border);
            answer.depth = geometry->depth;
            answer.parent = tree->parent;
            const xcb_window_t *children = xcb_query_tree_children(tree.get());
            answer.children = QList<xcb_window_t>(children, children + xcb_query_tree_children_length(tree.get()));
        }
        answers.append(answer);
    }
    return answers;
}

struct Properties {
    xcb_get_property_cookie_t name, oldName, state, desktop, frame, shadow;
};

Properties askProperties(XConnection &server, xcb_window_t window)
{
    const auto get = [&](xcb_atom_t name) {
        return xcb_get_property(server.get(), 0, window, name, XCB_ATOM_ANY, 0, 1024);
    };
    return {get(server.atom(Atom::wmName)),       get(XCB_ATOM_WM_NAME),
            get(server.atom(Atom::wmState)),      get(server.atom(Atom::wmDesktop)),
            get(server.atom(Atom::frameExtents)), get(server.atom(Atom::gtkFrameExtents))};
}

QByteArray bytes(XConnection &server, xcb_get_property_cookie_t cookie)
{
    const Reply<xcb_get_property_reply_t> answer(xcb_get_property_reply(server.get(), cookie, nullptr));
    if (!answer)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(answer.get())),
                      xcb_get_property_value_length(answer.get()));
}

QList<quint32> numbers(const QByteArray &property)
{
    const auto *values = reinterpret_cast<const quint32 *>(property.constData());
    return QList<quint32>(values, values + property.size() / 4);
}

// left, right, top, bottom, as both hints have it
QMargins margins(const QList<quint32> &extents)
{
    return extents.size() < 4 ? QMargins()
                              : QMargins(int(extents[0]), int(extents[2]), int(extents[1]), int(extents[3]));
}

QString title(const QByteArray &name, const QByteArray &oldName)
{
    // The old property is Latin-1 by the letter of the ICCCM, and UTF-8 in many programs.
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QByteArray &bytes = name.isEmpty() ? oldName : name;
    const QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

// The list outlives a window manager that ended; the manager's own window, which names itself, does not.
bool isManaged(XConnection &server)
{
    const xcb_atom_t check = server.atom(Atom::supportingWmCheck);
    const QList<quint32> window = numbers(server.property(server.root(), check));
    return !window.isEmpty() && numbers(server.property(window[0], check)) == window;
}

// The window on which a compositor shows its work: above all others, as large as the screen, and nobody's window.
xcb_window_t compositorsWindow(XConnection &server)
{
    if (!server.hasExtension(xcb_composite_id) || !server.selectionOwner(Atom::compositor))
        return XCB_WINDOW_NONE;
    xcb_discard_reply(server.get(), xcb_composite_query_version(server.get(), 0, 4).sequence);
    const Reply<xcb_composite_get_overlay_window_reply_t> answer(xcb_composite_get_overlay_window_reply(
        server.get(), xcb_composite_get_overlay_window(server.get(), server.root()), nullptr));
    xcb_composite_release_overlay_window(server.get(), server.root());
    return answer ? answer->overlay_win : xcb_window_t(XCB_WINDOW_NONE);
}

} // namespace

QList<ScreenWindow> screenWindows(XConnection &server)
{
    const QList<quint32> clients = numbers(server.property(server.root(), server.atom(Atom::clientListStacking)));
    const QList<quint32> current = numbers(server.property(server.root(), server.atom(Atom::currentDesktop)));
    const bool managed = isManaged(server);

    const QList<xcb_window_t> tops = ask(server, {server.root()}).first().children;
    const QList<Answer> topAnswers = ask(server, tops);
    const xcb_window_t overlay = compositorsWindow(server);
    QList<ScreenWindow> windows;
    QHash<xcb_window_t, qsizetype> indexOfTop;
    QList<xcb_window_t> asked; // whose properties describe it
    for (qsizetype i = 0; i < tops.size(); ++i) {
        const Answer &answer = topAnswers[i];
        if (!answer.shown || tops[i] == overlay || !answer.area.intersects(server.area()))
            continue;
        indexOfTop.insert(tops[i], windows.size());
        windows.append({tops[i], answer.area, answer.area, answer.depth, {}, !managed});
        asked.append(!managed && !answer.children.isEmpty() ? answer.children.last() : tops[i]);
    }

    if (!managed) {
        QList<std::pair<Properties, Properties>> questions; // a simple manager's frame has no name, its child has
        for (qsizetype i = 0; i < windows.size(); ++i)
            questions.append({askProperties(server, windows[i].top), askProperties(server, asked[i])});
        for (qsizetype i = 0; i < windows.size(); ++i) {
            const auto name = [&](const Properties &of) {
                for (const xcb_get_property_cookie_t unused : {of.state, of.desktop, of.frame, of.shadow})
                    xcb_discard_reply(server.get(), unused.sequence);
                const QByteArray newName = bytes(server, of.name);
                return title(newName, bytes(server, of.oldName));
            };
            const QString own = name(questions[i].first);
            const QString child = name(questions[i].second);
            windows[i].title = own.isEmpty() ? child : own;
        }
        return windows;
    }

    QList<Properties> properties;
    QList<xcb_translate_coordinates_cookie_t> places;
    for (const xcb_window_t client : clients) {
        properties.append(askProperties(server, client));
        places.append(xcb_translate_coordinates(server.get(), client, server.root(), 0, 0));
    }
    QList<xcb_window_t> ancestors = clients; // climbs until each is a child of the root
    const QList<Answer> clientAnswers = ask(server, clients);
    QList<Answer> level = clientAnswers;
    for (bool climbing = true; climbing;) {
        climbing = false;
        for (qsizetype i = 0; i < ancestors.size(); ++i) {
            if (level[i].parent != 0 && level[i].parent != server.root()) {
                ancestors[i] = level[i].parent;
                climbing = true;
            }
        }
        if (climbing)
            level = ask(server, ancestors);
    }
    for (qsizetype i = 0; i < clients.size(); ++i) {
        const Properties &of = properties[i];
        const QByteArray name = bytes(server, of.name);
        const QString shownTitle = title(name, bytes(server, of.oldName));
        const QList<quint32> states = numbers(bytes(server, of.state));
        const QList<quint32> desktop = numbers(bytes(server, of.desktop));
        const QMargins frame = margins(numbers(bytes(server, of.frame)));
        const QMargins shadow = margins(numbers(bytes(server, of.shadow)));
        const Reply<xcb_translate_coordinates_reply_t> place(
            xcb_translate_coordinates_reply(server.get(), places[i], nullptr));
        const qsizetype index = indexOfTop.value(ancestors[i], -1);
        const bool elsewhere =
            !desktop.isEmpty() && !current.isEmpty() && desktop[0] != current[0] && desktop[0] != everyDesktop;
        if (index < 0 || !place || elsewhere || states.contains(server.atom(Atom::stateHidden)))
            continue;
        const QSize size = clientAnswers[i].area.size() - 2 * QSize(clientAnswers[i].border, clientAnswers[i].border);
        ScreenWindow &window = windows[index];
        // A rolled-up window's frame is smaller than its content with the frame's edges around it.
        window.frame = ((QRect(QPoint(place->dst_x, place->dst_y), size) + frame) - shadow) & window.topArea;
        window.title = shownTitle;
        window.offered = !window.frame.isEmpty();
    }
    return windows;
}

int windowAt(const QList<ScreenWindow> &windows, QPoint point)
{
    for (qsizetype i = windows.size() - 1; i >= 0; --i) {
        const bool seeThrough = !windows[i].offered && windows[i].depth == 32;
        if (windows[i].frame.contains(point) && !seeThrough)
            return windows[i].offered ? int(i) : -1;
    }
    return -1;
}

static QRegion visibleRegion(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    QRegion visible = windows[index].frame & screen;
    for (qsizetype i = index + 1; i < windows.size(); ++i)
        visible -= windows[i].frame;
    return visible;
}

QRect visibleArea(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    return visibleRegion(windows, index, screen).boundingRect();
}

bool isWhollyVisible(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    return visibleRegion(windows, index, screen) == QRegion(windows[index].frame);
}

} // namespace qm
