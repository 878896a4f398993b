#include "helpers/overlay/OverlayScene.h"

#include "helpers/overlay/OverlaySprites.h"
#include "helpers/overlay/Pixels.h"
#include "ui/AppLocale.h"

#include <algorithm>

namespace qm {

static constexpr QRgb white = 0xffffffff;
static constexpr QRgb shade = 0x80000000;
static constexpr QRgb faint = 0x70707070;
static constexpr QRgb accent = 0xff0a84ff;

OverlayScene::OverlayScene(FrozenScreen &screen, Picker::Offer offer)
    : m_screen(screen)
    , m_offer(offer)
{
}

OverlayFrame OverlayScene::compose(const Picker &picker, Words words)
{
    OverlayFrame frame;
    const Monitor &monitor = monitorAt(m_screen.monitors(), picker.pointer());
    if (picker.mode() == Picker::Mode::region)
        composeRegion(frame, picker, monitor, words);
    else if (const int index = picker.window(); index >= 0)
        composeWindow(frame, index, monitor, words);
    if (words == Words::labelsAndHint && !picker.isDragging()) {
        const QImage &hint = hintFor(picker, monitor);
        frame.sprites.prepend({QPoint(monitor.area.center().x() - hint.width() / 2,
                                      monitor.area.bottom() - pixels(48, monitor.scale) - hint.height()),
                               hint});
    }
    return frame;
}

void OverlayScene::composeRegion(OverlayFrame &frame, const Picker &picker, const Monitor &monitor, Words words)
{
    const QRect selection = picker.selection();
    const QPoint pointer = picker.pointer();
    const int line = pixels(1, monitor.scale);
    if (!selection.isEmpty()) {
        frame.clear = selection;
        frame.addBorder(selection, line, white);
        frame.addBorder(selection.adjusted(-line, -line, line, line), line, shade);
    } else if (const QRect last = picker.lastRegion(); !last.isNull()) {
        frame.addBorder(last, line, faint);
    }
    if (words == Words::none)
        return;
    if (m_loupe.picture.isNull() || m_loupePoint != pointer || m_loupeScale != monitor.scale) {
        m_loupe.picture = OverlaySprites::loupe(m_screen.pixels(), pointer, monitor.scale);
        m_loupePoint = pointer;
        m_loupeScale = monitor.scale;
    }
    const QPoint direction =
        selection.isEmpty() ? QPoint(1, 1) : 2 * pointer - selection.topLeft() - selection.bottomRight();
    m_loupe.at = placeLoupe(m_loupe.picture.size(), pointer, direction, monitor.area, pixels(18, monitor.scale));
    if (!selection.isEmpty()) {
        const QImage &size =
            label(QStringLiteral("%1 × %2").arg(selection.width()).arg(selection.height()), monitor.scale);
        frame.sprites.append(
            {placeLabel(size.size(), selection, monitor.area, m_loupe.area(), pixels(8, monitor.scale)), size});
    }
    frame.sprites.append(m_loupe);
}

void OverlayScene::composeWindow(OverlayFrame &frame, int index, const Monitor &monitor, Words words)
{
    const QRect area = windowArea(index);
    frame.clear = area;
    frame.addBorder(area, pixels(3, monitor.scale), accent, OverlayFrame::Side::inside);
    if (words == Words::none)
        return;
    const QRect seen = area & monitor.area;
    const QString title = m_screen.windows()[index].title;
    const QImage &name = label(title.isEmpty() ? QStringLiteral("%1 × %2").arg(area.width()).arg(area.height()) : title,
                               monitor.scale, std::clamp(seen.width() / monitor.scale - 40, 120.0, 480.0));
    frame.sprites.append({seen.center() - QPoint(name.width(), name.height()) / 2, name});
}

QRect OverlayScene::windowArea(int index) const
{
    return m_screen.isComposited() ? m_screen.windows()[index].frame
                                   : visibleArea(m_screen.windows(), index, m_screen.area());
}

const QImage &OverlayScene::label(const QString &text, double scale, double maxWidth)
{
    if (m_labels.size() > 8)
        m_labels.clear();
    QImage &label = m_labels[QStringLiteral("%1|%2|%3").arg(scale).arg(maxWidth).arg(text)];
    if (label.isNull())
        label = OverlaySprites::label(text, scale, maxWidth);
    return label;
}

// All the keys where the monitor has room for them, otherwise the most important ones.
const QImage &OverlayScene::hintFor(const Picker &picker, const Monitor &monitor)
{
    const int room = monitor.area.width();
    QImage &hint = m_labels[QStringLiteral("?%1|%2|%3").arg(monitor.scale).arg(room).arg(int(picker.mode()))];
    if (hint.isNull()) {
        hint = OverlaySprites::hint(hintText(picker, true), monitor.scale);
        if (hint.width() > room)
            hint = OverlaySprites::hint(hintText(picker, false), monitor.scale);
    }
    return hint;
}

QString OverlayScene::hintText(const Picker &picker, bool all) const
{
    const bool isRegion = picker.mode() == Picker::Mode::region;
    QStringList parts{isRegion ? AppLocale::text(u"Drag to select", u"ドラッグで範囲を選択")
                               : AppLocale::text(u"Click a window", u"クリックでウィンドウを選択")};
    if (m_offer != Picker::Offer::regionOnly) {
        if (isRegion && all)
            parts << AppLocale::text(u"Return for the screen", u"Return で画面全体");
        if (m_offer == Picker::Offer::all)
            parts << (isRegion ? AppLocale::text(u"Space for a window", u"スペースでウィンドウ")
                               : AppLocale::text(u"Space for a region", u"スペースで範囲"));
        if (!picker.lastRegion().isNull() && all)
            parts << AppLocale::text(u"R for the last region", u"R で前回の範囲");
        if (isRegion && all)
            parts << AppLocale::text(u"C for the color", u"C で色");
    }
    parts << AppLocale::text(u"Esc to cancel", u"Esc でキャンセル");
    return parts.join(AppLocale::text(u"   ·   ", u"　·　"));
}

} // namespace qm
