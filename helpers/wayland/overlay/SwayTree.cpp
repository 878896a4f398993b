#include "helpers/wayland/overlay/SwayTree.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace qm {

using namespace Qt::StringLiterals;

namespace {

QRect rectangle(const QJsonValue &value)
{
    return {value["x"_L1].toInt(), value["y"_L1].toInt(), value["width"_L1].toInt(), value["height"_L1].toInt()};
}

struct Found {
    QList<ScreenWindow> tiled, floating, fullScreen; // in which order sway draws them
};

// A window with its border, and its title bar if that is above it alone: not a tab, nor one bar of a stack that stands above
// another window's.
QRect frameOf(const QJsonObject &window, const QJsonObject &around)
{
    const QRect frame = rectangle(window["rect"_L1]); // without the title bar
    const QRect bar = rectangle(window["deco_rect"_L1]);
    const bool isInStack = window["type"_L1] != "floating_con"_L1 && around["layout"_L1] == "stacked"_L1;
    const int top = rectangle(around["rect"_L1]).top() + bar.top(); // of a tiled window's
    if (bar.width() != frame.width() || (isInStack && top + bar.height() != frame.top()))
        return frame;
    return frame.adjusted(0, -bar.height(), 0, 0);
}

void collect(const QJsonObject &node, bool isFloating, const QJsonObject &around, const OutputLayout &layout,
             Found &into)
{
    const QJsonArray inner = node["nodes"_L1].toArray();
    const QJsonArray above = node["floating_nodes"_L1].toArray();
    const bool isView = node["pid"_L1].isDouble() && inner.isEmpty() && above.isEmpty();
    if (isView && node["visible"_L1].toBool()) {
        ScreenWindow window;
        window.top = quint32(node["id"_L1].toInteger());
        window.frame = window.topArea = layout.pixels(frameOf(node, around));
        window.depth = 24;
        window.title = node["name"_L1].toString();
        const bool isFull = node["fullscreen_mode"_L1].toInt() != 0;
        if (!window.frame.isEmpty())
            (isFull ? into.fullScreen : isFloating ? into.floating : into.tiled).append(window);
    }
    for (const QJsonValue &child : inner)
        collect(child.toObject(), isFloating, node, layout, into);
    for (const QJsonValue &child : above)
        collect(child.toObject(), true, node, layout, into);
}

} // namespace

std::optional<QList<ScreenWindow>> swayWindows(const QByteArray &tree, const QStringList &outputNames,
                                               const OutputLayout &layout)
{
    const QJsonObject root = QJsonDocument::fromJson(tree).object();
    if (root.isEmpty())
        return {};
    Found found;
    for (const QJsonValue &output : root["nodes"_L1].toArray()) {
        const QString name = output["name"_L1].toString();
        if (name == "__i3"_L1) // what is hidden for now
            continue;
        if (!outputNames.contains(name))
            return {};
        collect(output.toObject(), false, root, layout, found);
    }
    return found.tiled + found.floating + found.fullScreen;
}

} // namespace qm
