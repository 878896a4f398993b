#include "helpers/x11/WindowSurvey.h"

#include <algorithm>
#include <cstring>
#include <xcb/composite.h>

namespace qm {

namespace {

// Properties of a window, all requested before any reply is read: one round trip for any number of windows.
struct Geometry {
    bool isShown = false; // mapped, including all its parents, and able to show anything
    QRect area;           // with its border, relative to the parent
    int border = 0;
    quint8 depth = 0;
    xcb_window_t parent = 0;
    std::vector<xcb_window_t> children;
};

std::vector<Geometry> askGeometry(XConnection &server, const std::vector<xcb_window_t> &windows)
{
    struct Question {
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
        xcb_query_tree_cookie_t tree;
    };
    std::vector<Question> questions;
    for (const xcb_window_t window : windows) {
        questions.push_back({xcb_get_window_attributes(server.get(), window), xcb_get_geometry(server.get(), window),
                             xcb_query_tree(server.get(), window)});
    }
    std::vector<Geometry> answers;
    for (const Question &question : questions) {
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(server.get(), question.attributes, nullptr));
        const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(server.get(), question.geometry, nullptr));
        const Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(server.get(), question.tree, nullptr));
        Geometry answer;
        if (attributes && geometry && tree) { // otherwise it was closed meanwhile
            answer.isShown =
                attributes->map_state == XCB_MAP_STATE_VIEWABLE && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
            answer.border = geometry->border_width;
            answer.area = QRect(geometry->x, geometry->y, geometry->width + 2 * answer.border,
                                geometry->height + 2 * answer.border);
            answer.depth = geometry->depth;
            answer.parent = tree->parent;
            const xcb_window_t *children = xcb_query_tree_children(tree.get());
            answer.children.assign(children, children + xcb_query_tree_children_length(tree.get()));
        }
        answers.push_back(std::move(answer));
    }
    return answers;
}

using PropertyCookie = xcb_get_property_cookie_t;

PropertyCookie askProperty(XConnection &server, xcb_window_t window, xcb_atom_t name)
{
    return xcb_get_property(server.get(), 0, window, name, XCB_ATOM_ANY, 0, 1024);
}

std::string bytes(const Reply<xcb_get_property_reply_t> &property)
{
    if (!property)
        return {};
    return std::string(static_cast<const char *>(xcb_get_property_value(property.get())),
                       size_t(xcb_get_property_value_length(property.get())));
}

std::string bytes(XConnection &server, PropertyCookie cookie)
{
    return bytes(Reply<xcb_get_property_reply_t>(xcb_get_property_reply(server.get(), cookie, nullptr)));
}

std::vector<quint32> numbers(const std::string &property)
{
    std::vector<quint32> values(property.size() / 4);
    if (!values.empty()) // else there is nowhere to copy to
        std::memcpy(values.data(), property.data(), values.size() * 4);
    return values;
}

std::optional<quint32> number(const std::string &property)
{
    const std::vector<quint32> values = numbers(property);
    return values.empty() ? std::nullopt : std::optional(values[0]);
}

std::array<quint32, 4> extents(const std::string &property)
{
    std::array<quint32, 4> values = {};
    if (property.size() >= sizeof values)
        std::memcpy(values.data(), property.data(), sizeof values);
    return values;
}

struct NameQuestion {
    NameQuestion(XConnection &server, xcb_window_t window)
        : name(askProperty(server, window, server.atom(Atom::wmName)))
        , oldName(askProperty(server, window, XCB_ATOM_WM_NAME))
    {
    }
    std::string answer(XConnection &server) const
    {
        std::string text = bytes(server, name);
        std::string oldText = bytes(server, oldName);
        return text.empty() ? oldText : text;
    }
    PropertyCookie name, oldName;
};

// The list outlives a window manager that exited; the manager's own window, which refers to itself, does not.
bool isManaged(XConnection &server)
{
    const xcb_atom_t check = server.atom(Atom::supportingWmCheck);
    const std::optional<quint32> window = number(bytes(server.property(server.root(), check)));
    return window && number(bytes(server.property(*window, check))) == window;
}

xcb_window_t compositorsWindow(XConnection &server)
{
    if (!server.hasExtension(xcb_composite_id))
        return XCB_WINDOW_NONE;
    xcb_discard_reply(server.get(), xcb_composite_query_version(server.get(), 0, 4).sequence);
    const Reply<xcb_composite_get_overlay_window_reply_t> answer(xcb_composite_get_overlay_window_reply(
        server.get(), xcb_composite_get_overlay_window(server.get(), server.root()), nullptr));
    xcb_composite_release_overlay_window(server.get(), server.root());
    return answer ? answer->overlay_win : xcb_window_t(XCB_WINDOW_NONE);
}

// A simple manager may be running although none is registered; its frames have no name, but their child does.
void nameTops(XConnection &server, std::vector<WindowSurvey::Top> &tops, const std::vector<Geometry> &geometry)
{
    std::vector<std::pair<NameQuestion, NameQuestion>> questions;
    for (size_t i = 0; i < tops.size(); ++i) {
        const xcb_window_t child = geometry[i].children.empty() ? tops[i].id : geometry[i].children.back();
        questions.emplace_back(NameQuestion(server, tops[i].id), NameQuestion(server, child));
    }
    for (size_t i = 0; i < tops.size(); ++i) {
        const std::string own = questions[i].first.answer(server);
        const std::string child = questions[i].second.answer(server);
        tops[i].name = own.empty() ? child : own;
    }
}

// Climbs from each window to the child of the root that contains it.
std::vector<xcb_window_t> topsOf(XConnection &server, std::vector<xcb_window_t> windows, std::vector<Geometry> level)
{
    for (bool climbing = true; climbing;) {
        climbing = false;
        for (size_t i = 0; i < windows.size(); ++i) {
            if (level[i].parent != 0 && level[i].parent != server.root()) {
                windows[i] = level[i].parent;
                climbing = true;
            }
        }
        if (climbing)
            level = askGeometry(server, windows);
    }
    return windows;
}

std::vector<WindowSurvey::Client> surveyClients(XConnection &server)
{
    const std::vector<xcb_window_t> ids =
        numbers(bytes(server.property(server.root(), server.atom(Atom::clientListStacking))));
    struct Question {
        NameQuestion name;
        PropertyCookie state, desktop, frame, shadow;
        xcb_translate_coordinates_cookie_t place;
    };
    std::vector<Question> questions;
    for (const xcb_window_t id : ids) {
        questions.push_back({NameQuestion(server, id), askProperty(server, id, server.atom(Atom::wmState)),
                             askProperty(server, id, server.atom(Atom::wmDesktop)),
                             askProperty(server, id, server.atom(Atom::frameExtents)),
                             askProperty(server, id, server.atom(Atom::gtkFrameExtents)),
                             xcb_translate_coordinates(server.get(), id, server.root(), 0, 0)});
    }
    const std::vector<Geometry> geometry = askGeometry(server, ids);
    const std::vector<xcb_window_t> tops = topsOf(server, ids, geometry);
    std::vector<WindowSurvey::Client> clients;
    for (size_t i = 0; i < ids.size(); ++i) {
        const Question &question = questions[i];
        WindowSurvey::Client client;
        client.top = tops[i];
        client.name = question.name.answer(server);
        const std::vector<quint32> states = numbers(bytes(server, question.state));
        client.isHidden = std::find(states.begin(), states.end(), server.atom(Atom::stateHidden)) != states.end();
        client.desktop = number(bytes(server, question.desktop));
        client.frame = extents(bytes(server, question.frame));
        client.shadow = extents(bytes(server, question.shadow));
        const Reply<xcb_translate_coordinates_reply_t> place(
            xcb_translate_coordinates_reply(server.get(), question.place, nullptr));
        if (!place)
            continue;
        const int borders = 2 * geometry[i].border;
        client.content =
            QRect(place->dst_x, place->dst_y, geometry[i].area.width() - borders, geometry[i].area.height() - borders);
        clients.push_back(std::move(client));
    }
    return clients;
}

} // namespace

WindowSurvey surveyWindows(XConnection &server)
{
    WindowSurvey survey;
    survey.isManaged = isManaged(server);
    survey.isComposited = server.selectionOwner(Atom::compositor) != XCB_WINDOW_NONE;
    if (survey.isComposited)
        survey.compositorsWindow = compositorsWindow(server);
    survey.desktop = number(bytes(server.property(server.root(), server.atom(Atom::currentDesktop))));

    const std::vector<xcb_window_t> tops = askGeometry(server, {server.root()}).front().children;
    const std::vector<Geometry> geometry = askGeometry(server, tops);
    for (size_t i = 0; i < tops.size(); ++i)
        survey.tops.push_back({tops[i], geometry[i].area, geometry[i].depth, geometry[i].isShown, {}});
    if (survey.isManaged)
        survey.clients = surveyClients(server);
    else
        nameTops(server, survey.tops, geometry);
    return survey;
}

} // namespace qm
