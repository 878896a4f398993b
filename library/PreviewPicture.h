#pragma once

#include "library/PictureText.h"
#include "ui/LatestJob.h"

#include <QImage>
#include <QWidget>

namespace qm {

// A picture scaled to fit, keeping its aspect ratio, with marks on its text, which can be selected with the mouse as in a
// document. Exact scaling runs on a separate thread: on this one a large picture would make resizing sluggish, and the
// painter's own scaling is too coarse for small text. Main thread.
class PreviewPicture : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewPicture(QWidget *parent = nullptr);

    void setImage(const QImage &image);
    const QImage &image() const { return m_image; }
    bool isSharp() const; // the picture is painted at exactly the size it should have

    // What stands where; the size is the picture's own in pixels, of which the image may have fewer. Nothing is selected.
    void setText(const PictureText &text, QSize pictureSize);
    void setMarks(const QList<TextMatch::Range> &marks, qsizetype current); // -1: none of them is

    const TextMatch::Range &selection() const { return m_selection; }
    void select(const TextMatch::Range &range);
    std::function<void(const TextMatch::Range &range)> onSelect; // the user has selected another part

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QSize fittedPixels() const;
    QRectF target() const; // of the picture in this widget
    QRectF onWidget(const QRectF &box) const;
    QPointF onPicture(QPointF position) const;
    bool hasTextAt(QPointF position) const;
    void scale(QSize pixels);
    void paintMarks(QPainter &painter) const;
    void selectByUser(qsizetype from, qsizetype to);

    QImage m_image;
    QImage m_scaled;   // m_image at screen size; null until first scaled
    QSize m_scalingTo; // size the thread is working on
    LatestJob m_scaling;

    PictureText m_text;
    QSize m_pictureSize;
    QList<TextMatch::Range> m_marks;
    qsizetype m_currentMark = -1;
    TextMatch::Range m_selection;
    std::optional<qsizetype> m_anchor;        // while the mouse selects
    std::optional<quint64> m_lastDoubleClick; // milliseconds, as events tell it
};

} // namespace qm
