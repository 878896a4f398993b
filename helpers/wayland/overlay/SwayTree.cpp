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

void collect(const QJsonObject &node, bool isFloating, const OutputLayout &layout, Found &into)
{
    const QJsonArray inner = node["nodes"_L1].toArray();
    const QJsonArray above = node["floating_nodes"_L1].toArray();
    const bool isView = node["pid"_L1].isDouble() && inner.isEmpty() && above.isEmpty();
    if (isView && node["visible"_L1].toBool()) {
        // The rectangle is without the title bar, whose own is relative to the container around it.
        QRect frame = rectangle(node["rect"_L1]);
        frame.setTop(frame.top() - rectangle(node["deco_rect"_L1]).height());
        ScreenWindow window;
        window.top = quint32(node["id"_L1].toInteger());
        window.frame = window.topArea = layout.pixels(frame);
        window.depth = 24;
        window.title = node["name"_L1].toString();
        const bool isFull = node["fullscreen_mode"_L1].toInt() != 0;
        if (!window.frame.isEmpty())
            (isFull ? into.fullScreen : isFloating ? into.floating : into.tiled).append(window);
    }
    for (const QJsonValue &child : inner)
        collect(child.toObject(), isFloating, layout, into);
    for (const QJsonValue &child : above)
        collect(child.toObject(), true, layout, into);
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
        collect(output.toObject(), false, layout, found);
    }
    return found.tiled + found.floating + found.fullScreen;
}

} // namespace qm
