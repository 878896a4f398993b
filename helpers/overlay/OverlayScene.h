#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/overlay/OverlayFrame.h"
#include "helpers/overlay/Picker.h"

#include <QHash>

namespace qm {

// What is seen of a choice under way: the selection with its size, the loupe, the window pointed at with its name, the hint.
class OverlayScene
{
public:
    OverlayScene(FrozenScreen &screen, Picker::Offer offer);

    // Without text as long as there is no QGuiApplication.
    enum class Words { none, labels, labelsAndHint };
    OverlayFrame compose(const Picker &picker, Words words);

    // What a click on the window takes: all of it where it has pixels of its own, else what is seen of it.
    QRect windowArea(int index) const;

private:
    void composeRegion(OverlayFrame &frame, const Picker &picker, const Monitor &monitor, Words words);
    void composeWindow(OverlayFrame &frame, int index, const Monitor &monitor, Words words);
    const QImage &label(const QString &text, double scale, double maxWidth = 0);
    QString hintText(Picker::Mode mode) const;

    FrozenScreen &m_screen;
    const Picker::Offer m_offer;
    OverlayFrame::Sprite m_loupe; // as long as the pointer rests
    QPoint m_loupePoint;
    double m_loupeScale = 0;
    QHash<QString, QImage> m_labels; // a few: a drag's sizes are dropped as they change
};

} // namespace qm
