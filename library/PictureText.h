#pragma once

#include "index/TextBoxes.h"
#include "index/TextMatch.h"

#include <QPointF>

namespace qm {

// The text of a picture as it is pointed at there. A value. Points are pixels of the picture; positions count UTF-16 units
// and lie between characters.
class PictureText
{
public:
    PictureText() = default;
    PictureText(const QString &text, const TextBoxes &boxes);

    const QString &text() const { return m_text; }
    bool isEmpty() const { return m_boxes.words.isEmpty(); }

    bool hasTextAt(QPointF point) const;
    qsizetype positionAt(QPointF point) const; // the nearest one; not empty
    TextMatch::Range wordAt(QPointF point) const;
    TextMatch::Range lineAt(QPointF point) const;

    QList<QRectF> boxesOf(const TextMatch::Range &range) const { return m_boxes.boxesOf(range.start, range.length); }

private:
    const TextBoxes::Word &nearest(QPointF point) const;

    QString m_text;
    TextBoxes m_boxes;
};

} // namespace qm
