#pragma once

#include "annotate/document/CanvasZoom.h"
#include "annotate/document/ItemDrag.h"
#include "annotate/document/ItemFactory.h"
#include "annotate/editor/CanvasFrame.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <functional>

class QLineEdit;

namespace qm {

class TextEntry;

// Shows a document and lets the user edit it with mouse and keyboard. Main thread. It holds a copy of the document and
// no history: every change is reported and comes back with the next document. View points have their origin at the
// lower left, y up; members that take Qt's coordinates (y down) say so.
class AnnotationCanvasView : public QWidget
{
    Q_OBJECT

public:
    explicit AnnotationCanvasView(QWidget *parent = nullptr);
    ~AnnotationCanvasView() override;

    // Set from outside; call redisplay() afterwards.
    AnnotationDoc doc;
    AnnotationTool tool = AnnotationTool::select;
    QColor strokeColor = QColor::fromRgb(annotationRed); // this and the next two apply to new items
    double strokeWidth = 3;                              // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    Annotation::Plate plate = Annotation::Plate::none;
    std::optional<int> selectedIndex; // may be out of range; every use checks it

    // Any of these may be empty. They must not modify or delete this view before they return.
    std::function<void(const Annotation &)> onCommit;              // a finished new item
    std::function<void(const QRectF &)> onCrop;                    // image points
    std::function<void(const QList<Annotation> &)> onReplaceItems; // after each step of a drag
    std::function<void()> onSnapshot;                              // before an existing item changes
    std::function<void()> onRelease;                  // a press has ended, whether or not it changed anything
    std::function<void()> onTyped;                    // in the text field
    std::function<void(double)> onZoomChanged;        // by wheel or pinch, and at first
    std::function<void(std::optional<int>)> onSelect; // on a press with the select tool
    std::function<void()> onDelete;                   // on Delete or Backspace, if an item is selected

    void redisplay(); // repaints what changed

    double zoom() const { return m_zoom.zoom; } // magnification over the fitted size
    QPointF panOffset() const { return m_zoom.pan; }
    void zoomAbout(QPointF point, double zoom); // keeps the image point at the view point in place; clamped, snaps to 1
    double mostZoom() const;
    void fit(); // the whole picture, centred
    CanvasMapping mapping() const;
    QList<QRect> inSight() const; // on the screen: the selected item with its marks, if there is one, and the picture

    // State between a press and its release.
    const std::optional<Annotation> &draft() const { return m_draft; }
    DragMode dragMode() const { return m_itemDrag ? m_itemDrag->mode : DragMode::none; }
    bool isDragging() const { return m_dragStart || m_itemDrag || m_panFrom; }
    bool cancelDrag(); // restores the state before the press; false if no drag is under way
    void endDrag();    // finishes the drag where it is

    // The text field, if one is open.
    QLineEdit *textField() const;
    void commitText();                // no effect without a field
    bool cancelText();                // false without a field
    AnnotationDoc settledDoc() const; // as commitText() would make it

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool event(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    struct DrawingDrag {
        QPointF start; // image points
        AnnotationTool tool;
        QList<QPointF> course; // image points; of a pen
    };
    struct OpenText {
        QPointer<TextEntry> field;
        QPointF origin;           // image points
        std::optional<int> index; // of the item being edited; empty for a new one
    };

    QPointF toView(QPointF widget) const { return {widget.x(), height() - widget.y()}; } // from Qt's y down
    QTransform toWidget() const { return {1, 0, 0, -1, 0, double(height())}; }
    AnnotationDoc shownDoc() const;
    void display(CanvasFrame::Resolution resolution);
    void updateMarks();
    bool drawsCrop() const { return m_draft && m_dragStart && m_dragStart->tool == AnnotationTool::crop; }
    void paintCropped(QPainter &painter) const;
    void updateCursor();
    Qt::CursorShape cursorShape() const; // hints at what a press would do
    bool names(std::optional<int> index) const { return index && *index >= 0 && *index < doc.items.size(); }

    void beginDrag(QPointF view, Qt::KeyboardModifiers modifiers);
    Annotation drawn(QPointF view, Qt::KeyboardModifiers modifiers) const; // by the drag under way
    void extendCourse(QPointF image);
    void dragTo(QPointF view, Qt::KeyboardModifiers modifiers);
    void finishDrag(QPointF view, Qt::KeyboardModifiers modifiers);
    QPointF drawnTo(QPointF view, Qt::KeyboardModifiers modifiers) const;
    void replaceItem(int index, const Annotation &item);
    void zoomBy(QPointF view, double factor);

    void openText(QPointF origin, const std::optional<int> &index);
    std::optional<int> textAt(QPointF view) const;
    void placeText();
    QList<Annotation> itemsWith(const OpenText &typed) const;
    OpenText closeText(); // returned with its field, which is about to be deleted

    ItemStyle style() const { return {strokeColor, strokeWidth, blurShape, plate}; }

    CanvasZoom m_zoom;
    bool m_opened = false; // shown at least once
    std::optional<DrawingDrag> m_dragStart;
    std::optional<Annotation> m_draft;
    std::optional<ItemDrag> m_itemDrag;
    std::optional<QPointF> m_panFrom; // view points
    bool m_spaceHeld = false;
    QPointF m_pointer; // view points; last known position
    std::optional<OpenText> m_text;

    CanvasFrame m_frame;
    QTimer m_sharpen;      // renders at the new resolution once zooming or resizing pauses
    bool m_dimmed = false; // what a crop would cut off
    QRect m_marksRect;     // area of the selection marks, in Qt's coordinates
};

} // namespace qm
