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

// Shows a document and lets it be edited with the mouse and the keyboard. Main thread.
// It holds a copy of the document and no history: every change is reported, and comes back with the next document.
// View points have their origin at the lower left, y up; where a member takes Qt's, y down, it says so.
class AnnotationCanvasView : public QWidget
{
    Q_OBJECT

public:
    explicit AnnotationCanvasView(QWidget *parent = nullptr);
    ~AnnotationCanvasView() override;

    // Set from outside, followed by redisplay().
    AnnotationDoc doc;
    AnnotationTool tool = AnnotationTool::select;
    QColor strokeColor = QColor::fromRgb(annotationRed); // these three are for new items
    double strokeWidth = 3;                              // points
    Annotation::BlurShape blurShape = Annotation::BlurShape::rect;
    std::optional<int> selectedIndex; // may name no item; every use checks it

    // Each may be empty. None may change this view or delete it before it returns.
    std::function<void(const Annotation &)> onCommit;              // a new finished item
    std::function<void(const QRectF &)> onCrop;                    // image points
    std::function<void(const QList<Annotation> &)> onReplaceItems; // after each step of an edit
    std::function<void()> onSnapshot;                              // before an existing item changes
    std::function<void(double)> onZoomChanged;                     // by the wheel or a pinch
    std::function<void(std::optional<int>)> onSelect;              // by a press with the select tool
    std::function<void()> onDelete;                                // the delete key, with a selection

    void redisplay(); // paints what changed

    double zoom() const { return m_zoom.zoom; } // magnification over the fitted size
    QPointF panOffset() const { return m_zoom.pan; }
    void zoomAbout(QPointF point, double zoom); // the image point at a view point stays there; clamped, snaps to 1
    CanvasMapping mapping() const;

    // What is going on between a press and its release.
    const std::optional<Annotation> &draft() const { return m_draft; }
    DragMode dragMode() const { return m_itemDrag ? m_itemDrag->mode : DragMode::none; }
    bool isDragging() const { return m_dragStart || m_itemDrag || m_panFrom; }
    bool cancelDrag(); // as it was before the press; false when there is none
    void endDrag();    // as it is now

    // The text being typed.
    QLineEdit *textField() const;
    void commitText(); // nothing without a field
    bool cancelText(); // false without a field

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
        QPointF start; // image
        AnnotationTool tool;
    };
    struct OpenText {
        QPointer<TextEntry> field;
        QPointF origin;           // image
        std::optional<int> index; // of the item edited; none for a new one
    };

    QPointF toView(QPointF widget) const { return {widget.x(), height() - widget.y()}; } // from Qt's, y down
    QTransform toWidget() const { return {1, 0, 0, -1, 0, double(height())}; }
    AnnotationDoc shownDoc() const;
    void display(CanvasFrame::Resolution resolution);
    void updateMarks();
    void updateCursor();
    Qt::CursorShape cursorShape() const; // says what a press would do
    bool names(std::optional<int> index) const { return index && *index >= 0 && *index < doc.items.size(); }

    void beginDrag(QPointF view);
    void dragTo(QPointF view, Qt::KeyboardModifiers modifiers);
    void finishDrag(QPointF view, Qt::KeyboardModifiers modifiers);
    QPointF drawnTo(QPointF view, Qt::KeyboardModifiers modifiers) const;
    void replaceItem(int index, const Annotation &item);
    void zoomBy(QPointF view, double factor);

    void openText(QPointF origin, const std::optional<int> &index);
    std::optional<int> textAt(QPointF view) const;
    void placeText();
    OpenText closeText(); // with its field, about to go

    ItemStyle style() const { return {strokeColor, strokeWidth, blurShape}; }

    CanvasZoom m_zoom;
    std::optional<DrawingDrag> m_dragStart;
    std::optional<Annotation> m_draft;
    std::optional<ItemDrag> m_itemDrag;
    std::optional<QPointF> m_panFrom; // view
    bool m_spaceHeld = false;
    QPointF m_pointer; // view; where it was last seen
    std::optional<OpenText> m_text;

    CanvasFrame m_frame;
    QTimer m_sharpen;  // renders at the new resolution once a zoom or a resize rests
    QRect m_marksRect; // where the selection is shown, Qt's coordinates
};

} // namespace qm
