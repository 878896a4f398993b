#pragma once

#include "library/PictureText.h"
#include "library/PictureZoom.h"
#include "library/SharpPart.h"

#include <QAbstractScrollArea>

namespace qm {

// A picture with marks on its text. It is scaled to fit or zoomed: with Ctrl and the wheel, which keeps the point below the
// pointer, with + and - and with 0 as it opened; 1 with Ctrl is its own size. The mouse selects text as in a document; where
// there is none, with Space or with the middle button it moves a picture larger than the view. Main thread; scaling runs on
// another, as on this one a large picture would make all this sluggish, and the painter's own is too coarse for small text.
class PreviewPicture : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit PreviewPicture(QWidget *parent = nullptr);

    // The image shows the file's picture, for a screen; what is to be seen more closely is read from the file. Another
    // file is shown as it opens.
    void setImage(const QImage &image, const QString &path);
    bool isSharp() const; // the picture is painted at exactly the size it should have

    void setText(const PictureText &text);                                  // what stands where; nothing is selected
    void setMarks(const QList<TextMatch::Range> &marks, qsizetype current); // -1: none of them is
    void reveal(); // keeps the current mark in view until the user scrolls, or zooms about another point

    const TextMatch::Range &selection() const { return m_selection; }
    void select(const TextMatch::Range &range);
    std::function<void(const TextMatch::Range &range)> onSelect; // the user has selected another part

    const PictureZoom &zoom() const { return m_zoom; }
    void setZoom(const PictureZoom &zoom); // about the middle, or the current mark
    void zoomBy(int steps);                // up or down
    void resetZoom();                      // as it opens
    bool isTall() const;                   // opens at its width
    double percentage() const;             // of the picture's own size; 0 without one
    std::function<void()> onZoom;          // it, or the percentage, has changed

    QRectF onWidget(const QRectF &box) const; // from pixels of the picture

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    bool hasImage() const { return !m_sharp.image().isNull(); }
    QSize pictureSize() const;
    QSize roomFor(QSize points) const; // pixels of the screen
    QSize shownPixels() const;
    double scale() const;
    bool isPaintedAsItIs() const;
    bool isExact() const;
    QSize wholePixels() const; // of the part that is painted
    QRect seen(QSize whole) const;
    QRectF target() const; // of the picture in the viewport
    QPointF onPicture(QPointF position) const;
    bool hasTextAt(QPointF position) const;
    bool canPan() const;

    void layOut();
    void layOutAround(QPointF position, const PictureZoom &zoom);
    void zoomAbout(QPointF position, double factor);
    void scrollTo(QPoint position); // of the view in what is shown, points
    void scrollBy(QPointF by);
    void showMark();
    void paintMeanwhile(QPainter &painter) const;
    void paintPart(QPainter &painter, const SharpPart::Part &part) const;
    void paintMarks(QPainter &painter) const;
    void selectByUser(qsizetype from, qsizetype to);
    void showPointer();

    struct Pan {
        QPointF from; // of the pointer, global
        QPoint scrolled;
    };

    SharpPart m_sharp;
    QString m_path;
    PictureZoom m_zoom;
    QSize m_room; // pixels of the screen, beside the scroll bars

    PictureText m_text;
    QList<TextMatch::Range> m_marks;
    qsizetype m_currentMark = -1;
    bool m_staysAtMark = false;
    TextMatch::Range m_selection;
    std::optional<qsizetype> m_anchor;        // while the mouse selects
    std::optional<quint64> m_lastDoubleClick; // milliseconds, as events tell it
    std::optional<Pan> m_pan;                 // while the mouse moves the picture
    QPointF m_pointer;                        // where it was last
    bool m_hasMoved = false;
    bool m_isLayingOut = false;
    bool m_isSpaceDown = false;
};

} // namespace qm
