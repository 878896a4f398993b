#include "helpers/qmscroll/ScrollPanel.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Pixels.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace qm {

namespace {

const QColor ground(28, 28, 30);
const QColor edge(92, 92, 94);
const QColor ink(255, 255, 255);
const QColor faintInk(255, 255, 255, 178);
const QColor accent(10, 132, 255);

constexpr double radius = 10; // points, like everything below
constexpr double gap = 10;    // between region and panel, and to the monitor's edge
constexpr double smallestGap = 2;

QSizeF sizeInPoints(ScrollPanel::Shape shape)
{
    switch (shape) {
    case ScrollPanel::Shape::wide: return {324, 112};
    case ScrollPanel::Shape::tall: return {140, 300};
    case ScrollPanel::Shape::bar: return {402, 40};
    }
    return {};
}

// Draws as many lines as fit, the last one elided.
void drawLines(QPainter &painter, const QRectF &area, const QString &text, Qt::Alignment alignment)
{
    const QFontMetricsF metrics(painter.font());
    const int room = std::max(1, int(area.height() / metrics.height()));
    QStringList lines;
    QTextLayout layout(text, painter.font());
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid() && lines.size() < room; line = layout.createLine()) {
        line.setLineWidth(area.width());
        lines += lines.size() + 1 == room ? metrics.elidedText(text.mid(line.textStart()), Qt::ElideRight, area.width())
                                          : text.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    double y = area.top() + metrics.ascent();
    if (alignment & Qt::AlignVCenter)
        y += (area.height() - double(lines.size()) * metrics.height()) / 2;
    for (const QString &line : std::as_const(lines)) {
        painter.drawText(QPointF(area.left(), y), line);
        y += metrics.height();
    }
}

// The end of a picture too tall to show whole; its top fades out.
QImage tail(const QImage &picture, const QSize &room)
{
    const double wholeWidth = room.height() * double(picture.width()) / picture.height();
    const bool whole = wholeWidth >= room.width() * 0.6;
    const double width = whole ? std::min(double(room.width()), wholeWidth) : room.width();
    const double factor = width / picture.width();
    const int sourceHeight = std::min(picture.height(), int(std::ceil(room.height() / factor)));
    const QImage part = picture.copy(0, picture.height() - sourceHeight, picture.width(), sourceHeight);
    const QSize size(std::max(1, int(width)), std::clamp(int(sourceHeight * factor), 1, room.height()));
    QImage image = part.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (sourceHeight < picture.height()) {
        QLinearGradient fade(0, 0, 0, size.height() * 0.35);
        fade.setColorAt(0, Qt::transparent);
        fade.setColorAt(1, Qt::black);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.fillRect(image.rect(), fade);
    }
    return image;
}

} // namespace

ScrollPanel::ScrollPanel(Shape shape, double scale)
    : m_shape(shape)
    , m_scale(scale)
{
}

QSize ScrollPanel::size(Shape shape, double scale)
{
    const QSizeF points = sizeInPoints(shape);
    return {pixels(points.width(), scale), pixels(points.height(), scale)};
}

int ScrollPanel::cornerRadius(double scale)
{
    return pixels(radius, scale);
}

ScrollPanel::Layout ScrollPanel::layout(Shape shape)
{
    switch (shape) {
    case Shape::wide:
        return {.thumbnail = {12, 12, 88, 88},
                .height = {112, 8, 200, 24},
                .status = {112, 32, 200, 38},
                .done = {216, 72, 96, 28},
                .cancel = {112, 72, 96, 28}};
    case Shape::tall:
        return {.thumbnail = {12, 12, 116, 120},
                .height = {12, 138, 116, 24},
                .status = {12, 163, 116, 54},
                .done = {12, 226, 116, 28},
                .cancel = {12, 260, 116, 28}};
    case Shape::bar:
        return {.thumbnail = {7, 6, 28, 28},
                .height = {44, 8, 170, 24},
                .status = {44, 1, 170, 38},
                .done = {312, 6, 84, 28},
                .cancel = {222, 6, 84, 28}};
    }
    return {};
}

template<class T>
void ScrollPanel::set(T &field, const T &value)
{
    m_changed |= field != value;
    field = value;
}

void ScrollPanel::setHeight(int pixels)
{
    set(m_height, pixels);
}

void ScrollPanel::setThumbnail(const QImage &picture)
{
    m_changed |= m_thumbnail.cacheKey() != picture.cacheKey();
    m_thumbnail = picture;
}

void ScrollPanel::setStatus(const QString &text, Importance importance)
{
    set(m_status, text);
    set(m_importance, importance);
}

void ScrollPanel::setClosing()
{
    set(m_closing, true);
}

void ScrollPanel::movePointer(QPoint to)
{
    set(m_hovered, at(to));
}

void ScrollPanel::press()
{
    set(m_pressed, m_hovered);
}

ScrollPanel::Button ScrollPanel::release()
{
    const Button clicked = m_pressed == m_hovered ? m_pressed : Button::none;
    set(m_pressed, Button::none);
    return clicked;
}

bool ScrollPanel::takeChanged()
{
    return std::exchange(m_changed, false);
}

ScrollPanel::Button ScrollPanel::at(QPoint point) const
{
    const Layout places = layout(m_shape);
    const QPointF place = (QPointF(point) + QPointF(0.5, 0.5)) / m_scale;
    if (m_closing)
        return Button::none;
    return places.done.contains(place) ? Button::done : places.cancel.contains(place) ? Button::cancel : Button::none;
}

QImage ScrollPanel::picture() const
{
    const Layout places = layout(m_shape);
    const QSize size = ScrollPanel::size(m_shape, m_scale);
    QImage image(size, QImage::Format_RGB32);
    image.fill(edge);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto scaled = [this](const QRectF &area) {
        return QRect(int(std::lround(area.x() * m_scale)), int(std::lround(area.y() * m_scale)),
                     pixels(area.width(), m_scale), pixels(area.height(), m_scale));
    };
    const int line = pixels(1, m_scale);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(image.rect().adjusted(line, line, -line, -line), radius * m_scale - line,
                            radius * m_scale - line);

    const QRect thumbnail = scaled(places.thumbnail);
    QPainterPath rounded;
    rounded.addRoundedRect(thumbnail, 4 * m_scale, 4 * m_scale);
    painter.fillPath(rounded, QColor(255, 255, 255, 20));
    if (!m_thumbnail.isNull()) {
        const QImage shown = tail(m_thumbnail, thumbnail.size());
        painter.save();
        painter.setClipPath(rounded);
        painter.drawImage(thumbnail.x() + (thumbnail.width() - shown.width()) / 2,
                          thumbnail.y() + (thumbnail.height() - shown.height()) / 2, shown);
        painter.restore();
    }

    // The narrow shape has room for only one of the two.
    const bool saysStatus = m_shape != Shape::bar || m_importance == Importance::toBeRead;
    if (m_shape != Shape::bar || !saysStatus) {
        painter.setFont(overlayFont(m_shape == Shape::wide ? 18 : 16, m_scale, QFont::DemiBold));
        painter.setPen(ink);
        painter.drawText(scaled(places.height), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         QStringLiteral("%1 px").arg(QLocale::system().toString(m_height)));
    }
    if (saysStatus) {
        painter.setFont(overlayFont(12, m_scale, QFont::Normal));
        painter.setPen(faintInk);
        QRectF room = places.status;
        if (m_closing) // use the buttons' space
            room = QRectF(room.topLeft(), QPointF(places.done.right(), std::max(room.bottom(), places.done.bottom())));
        drawLines(painter, scaled(room), m_status, m_shape == Shape::bar ? Qt::AlignVCenter : Qt::AlignTop);
    }

    const auto button = [&](Button which, const QRectF &place, const QString &text, QColor color) {
        if (m_pressed == which && m_hovered == which)
            color = color.darker(125);
        else if (m_hovered == which)
            color = color.lighter(115);
        const QRect area = scaled(place);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawRoundedRect(area, 6 * m_scale, 6 * m_scale);
        painter.setFont(overlayFont(13, m_scale, QFont::DemiBold));
        painter.setPen(ink);
        painter.drawText(area, Qt::AlignCenter | Qt::TextSingleLine, text);
    };
    if (!m_closing) {
        button(Button::cancel, places.cancel, AppLocale::text(u"Cancel", u"キャンセル"), QColor(88, 88, 92));
        button(Button::done, places.done, AppLocale::text(u"Done", u"完了"), accent);
    }
    return image;
}

QString statusText(ScrollSession::Mode mode, ScrollSession::Notice notice, ScrollSession::Activity activity)
{
    using Notice = ScrollSession::Notice;
    using Activity = ScrollSession::Activity;
    switch (notice) {
    case Notice::pointerAway:
        return AppLocale::text(u"Paused: the pointer is outside the frame", u"一時停止中：ポインターが枠の外です");
    case Notice::pointerOverPanel: return AppLocale::text(u"Paused", u"一時停止中");
    case Notice::keyHeld:
        return AppLocale::text(u"Paused: a key or a button is held down", u"一時停止中：キーかボタンを離してください");
    case Notice::otherWindow:
        return AppLocale::text(u"Paused: another window lies there", u"一時停止中：別のウィンドウがあります");
    case Notice::placeLost:
        return AppLocale::text(u"Lost: return to where it was", u"見失いました：元の位置に戻してください");
    case Notice::wheelDoesNothing:
        return AppLocale::text(u"The wheel does nothing: scroll by hand",
                               u"ホイールが効きません：手でスクロールしてください");
    case Notice::none: break;
    }
    if (mode == ScrollSession::Mode::manual)
        return AppLocale::text(u"Scroll the page, not too fast", u"ゆっくりスクロール");
    switch (activity) {
    case Activity::waiting: return AppLocale::text(u"Loading…", u"読み込み待ち…");
    case Activity::lookingBack: return AppLocale::text(u"Looking back…", u"見直し中…");
    case Activity::again:
        return AppLocale::text(u"Once more: parts have loaded late", u"遅れて読み込まれたため、もう一度撮影中…");
    case Activity::scrolling: break;
    }
    return AppLocale::text(u"Scrolling…", u"スクロール中…");
}

QString unwrittenText(const QString &reason, bool isPart)
{
    return (isPart ? AppLocale::text(u"Ended early: %1", u"途中で終了：%1")
                   : AppLocale::text(u"Not saved: %1", u"保存できませんでした：%1"))
        .arg(HelperReason::shown(reason));
}

QString endText(ScrollSession::End end, bool mayBeStale)
{
    using End = ScrollSession::End;
    switch (end) {
    case End::height: return AppLocale::text(u"Height limit reached", u"高さの上限に達しました");
    case End::changed:
        return AppLocale::text(u"Ended early: the page has changed", u"途中で終了：ページが変わりました");
    case End::ambiguous:
        return AppLocale::text(u"Ended early: what follows is too similar",
                               u"途中で終了：似た内容が続き、つなげません");
    case End::lost:
        return AppLocale::text(u"Ended early: what follows does not match", u"途中で終了：続きがつながりません");
    case End::unanswered:
        return AppLocale::text(u"Ended early: the window does not respond", u"途中で終了：ウインドウが応答しません");
    default: break;
    }
    return mayBeStale ? AppLocale::text(u"Parts may have loaded too late", u"読み込みの遅い部分があるかもしれません")
                      : QString();
}

PanelPlace placePanel(const QRect &region, const PanelScreen &own, const QList<PanelScreen> &others)
{
    using Shape = ScrollPanel::Shape;
    const auto along = [](int middle, int length, int first, int last) {
        return std::clamp(middle - length / 2, first, std::max(first, last + 1 - length));
    };
    const QRect seen = region & own.area;
    const QSize wide = ScrollPanel::size(Shape::wide, own.scale);
    // Close to the region and the monitor's edge if necessary.
    for (const int space : {pixels(gap, own.scale), pixels(smallestGap, own.scale)}) {
        const QRect room = own.area.adjusted(space, space, -space, -space);
        const auto beside = [&](Shape shape, char side) {
            const QSize size = ScrollPanel::size(shape, own.scale);
            const int x = along(seen.center().x(), size.width(), room.left(), room.right());
            const int y = along(seen.center().y(), size.height(), room.top(), room.bottom());
            const QPoint at = side == 'B'   ? QPoint(x, region.bottom() + 1 + space)
                              : side == 'A' ? QPoint(x, region.top() - space - size.height())
                              : side == 'R' ? QPoint(region.right() + 1 + space, y)
                                            : QPoint(region.left() - space - size.width(), y);
            return QRect(at, size);
        };
        for (const auto &[shape, sides] :
             {std::pair(Shape::wide, "BARL"), std::pair(Shape::tall, "RL"), std::pair(Shape::bar, "BA")}) {
            for (const char *side = sides; *side; ++side) {
                if (const QRect place = beside(shape, *side); room.contains(place))
                    return {shape, place.topLeft(), own.scale, false};
            }
        }
    }
    for (const PanelScreen &screen : others) {
        const QSize size = ScrollPanel::size(Shape::wide, screen.scale);
        const QPoint at(screen.area.center().x() - size.width() / 2,
                        screen.area.bottom() + 1 - pixels(4 * gap, screen.scale) - size.height());
        const QRect place(at, size);
        if (screen.area.contains(place) && !place.intersects(region))
            return {Shape::wide, at, screen.scale, false};
    }
    const QPoint low(own.area.center().x() - wide.width() / 2,
                     own.area.bottom() + 1 - pixels(4 * gap, own.scale) - wide.height());
    return {Shape::wide, {std::max(low.x(), own.area.left()), std::max(low.y(), own.area.top())}, own.scale, true};
}

} // namespace qm
