#include "helpers/x11/overlay/SurveyedWindows.h"

#include <QMargins>
#include <QStringDecoder>

#include <algorithm>

namespace qm {

namespace {

constexpr quint32 everyDesktop = 0xffffffff;

QMargins margins(const std::array<quint32, 4> &extents) // left, right, top, bottom
{
    return QMargins(int(extents[0]), int(extents[2]), int(extents[1]), int(extents[3]));
}

// Names are UTF-8 today. By the ICCCM the old property is Latin-1, but many programs write UTF-8.
QString text(const std::string &name)
{
    const QByteArrayView bytes(name.data(), qsizetype(name.size()));
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString decoded = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : decoded;
}

} // namespace

QList<ScreenWindow> screenWindows(const WindowSurvey &survey, const QRect &screen)
{
    QList<ScreenWindow> windows;
    for (const WindowSurvey::Top &top : survey.tops) {
        if (top.isShown && top.id != survey.compositorsWindow && top.area.intersects(screen))
            windows.append({top.id, top.area, top.area, top.depth, text(top.name), !survey.isManaged});
    }
    for (const WindowSurvey::Client &client : survey.clients) {
        const auto window = std::find_if(windows.begin(), windows.end(),
                                         [&client](const ScreenWindow &each) { return each.top == client.top; });
        const bool elsewhere =
            client.desktop && survey.desktop && *client.desktop != *survey.desktop && *client.desktop != everyDesktop;
        if (window == windows.end() || elsewhere || client.isHidden)
            continue;
        // A shaded window's frame is smaller than its content plus the frame's edges.
        window->frame = ((client.content + margins(client.frame)) - margins(client.shadow)) & window->topArea;
        window->title = text(client.name);
        window->offered = !window->frame.isEmpty();
    }
    return windows;
}

} // namespace qm
