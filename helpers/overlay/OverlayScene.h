#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/overlay/OverlayFrame.h"
#include "helpers/overlay/Picker.h"

#include <QHash>

namespace qm {

// The visible state of a choice: the selection with its size, the loupe, the window under the pointer with its name,
// the hint.
class OverlayScene
{
public:
    OverlayScene(FrozenScreen &screen, Picker::Offer offer);

    // Use none as long as there is no QGuiApplication.
    enum class Words { none, labels, labelsAndHint };
    OverlayFrame compose(const Picker &picker, Words words);

    // What clicking the window captures: all of it if it has pixels of its own, otherwise only what is visible.
    QRect windowArea(int index) const;

private:
    void composeRegion(OverlayFrame &frame, const Picker &picker, const Monitor &monitor, Words words);
    void composeWindow(OverlayFrame &frame, int index, const Monitor &monitor, Words words);
    const QImage &label(const QString &text, double scale, double maxWidth = 0);
    const QImage &hintFor(const Picker &picker, const Monitor &monitor);
    QString hintText(const Picker &picker, bool all) const;

    FrozenScreen &m_screen;
    const Picker::Offer m_offer;
    OverlayFrame::Sprite m_loupe; // reused while the pointer rests
    QPoint m_loupePoint;
    double m_loupeScale = 0;
    QHash<QString, QImage> m_labels; // only a few: cleared often, as a drag's sizes keep changing
};

} // namespace qm
