#include "annotate/editor/AnnotationCanvasView.h"

#include "annotate/editor/PositionMarks.h"
#include "annotate/editor/SelectionMarks.h"
#include "annotate/editor/TextEntry.h"
#include "ui/AppLocale.h"
#include "ui/SystemLook.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto zoomRests = 120ms;

AnnotationCanvasView::AnnotationCanvasView(QWidget *parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true); // the cursor shape hints at what a press would do
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(120, 90);
    setAccessibleName(AppLocale::text(u"Canvas", u"キャンバス"));
    m_sharpen.setSingleShot(true);
    m_sharpen.setInterval(zoomRests);
    QObject::connect(&m_sharpen, &QTimer::timeout, this, [this] { display(CanvasFrame::Resolution::exact); });
}

AnnotationCanvasView::~AnnotationCanvasView() = default;

CanvasMapping AnnotationCanvasView::mapping() const
{
    return CanvasMapping::of(size(), shownRegion(doc), m_zoom.zoom, m_zoom.pan);
}

QList<QRect> AnnotationCanvasView::inSight() const
{
    QList<QRect> places{m_marksRect, toWidget().mapRect(mapping().display).toAlignedRect()};
    for (QRect &place : places)
        place = QRect(mapToGlobal(QPoint()), size()) & place.translated(mapToGlobal(QPoint()));
    places.removeIf([](const QRect &place) { return place.isEmpty(); });
    return places;
}

AnnotationDoc AnnotationCanvasView::shownDoc() const
{
    AnnotationDoc shown = doc;
    if (m_text && names(m_text->index))
        shown.items[*m_text->index].text = QString(); // the text field replaces it
    if (m_draft)
        shown.items.append(*m_draft);
    return shown;
}

void AnnotationCanvasView::redisplay()
{
    display(CanvasFrame::Resolution::mayWait);
}

void AnnotationCanvasView::display(CanvasFrame::Resolution resolution)
{
    if (!isVisible())
        return; // showEvent() will render
    update(m_frame.show(shownDoc(), mapping(), size(), devicePixelRatioF(), resolution));
    if (m_frame.isExact())
        m_sharpen.stop();
    else
        m_sharpen.start();
    const bool dims = drawsCrop();
    if (std::exchange(m_dimmed, dims) || dims)
        update();
    updateMarks();
    placeText();
    updateCursor();
}

void AnnotationCanvasView::updateMarks()
{
    const QRect before = m_marksRect;
    m_marksRect = {};
    if (tool == AnnotationTool::select && names(selectedIndex))
        m_marksRect = SelectionMarks::of(doc.items[*selectedIndex], mapping()).bounds(toWidget());
    update(QRegion(before) | m_marksRect);
}

void AnnotationCanvasView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    m_frame.paint(painter, event->region(), palette().color(QPalette::Window));
    if (!m_marksRect.isEmpty() && names(selectedIndex)) {
        const SelectionMarks marks = SelectionMarks::of(doc.items[*selectedIndex], mapping());
        marks.paint(painter, toWidget(), SystemLook::accent(palette()));
    }
    if (drawsCrop())
        paintCropped(painter);
    PositionMarks::paint(PositionMarks::of(mapping()), painter);
}

// What a crop would cut off.
void AnnotationCanvasView::paintCropped(QPainter &painter) const
{
    const CanvasMapping where = mapping();
    const QRectF kept(where.toView(m_draft->rect.topLeft()), where.toView(m_draft->rect.bottomRight()));
    QPainterPath outside;
    outside.addRect(toWidget().mapRect(where.display));
    outside.addRect(toWidget().mapRect(kept));
    painter.fillPath(outside, QColor(0, 0, 0, 115));
}

void AnnotationCanvasView::resizeEvent(QResizeEvent *)
{
    redisplay();
}

void AnnotationCanvasView::showEvent(QShowEvent *)
{
    if (!std::exchange(m_opened, true)) {
        m_zoom = CanvasZoom::opening(size(), shownRegion(doc), mostZoom());
        if (onZoomChanged)
            onZoomChanged(zoom());
    }
    display(CanvasFrame::Resolution::exact);
}

// A closed window may live on for a while; its pictures need not.
void AnnotationCanvasView::hideEvent(QHideEvent *event)
{
    if (event->spontaneous())
        return;
    endDrag();
    m_sharpen.stop();
    m_frame.forget();
}

void AnnotationCanvasView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        update();
    QWidget::changeEvent(event);
}

void AnnotationCanvasView::zoomAbout(QPointF point, double wanted)
{
    m_zoom = m_zoom.zoomedAbout(point, wanted, size(), shownRegion(doc), mostZoom());
    redisplay();
}

double AnnotationCanvasView::mostZoom() const
{
    return CanvasZoom::mostFor(size(), shownRegion(doc), doc.source.scale(), devicePixelRatioF());
}

void AnnotationCanvasView::fit()
{
    m_zoom = {};
    redisplay();
}

QLineEdit *AnnotationCanvasView::textField() const
{
    return m_text ? m_text->field.data() : nullptr;
}

std::optional<int> AnnotationCanvasView::textAt(QPointF view) const
{
    const PressTarget target = PressTarget::at(view, doc.items, selectedIndex, mapping());
    return target.index && doc.items[*target.index].kind == Annotation::Kind::text ? target.index : std::nullopt;
}

void AnnotationCanvasView::openText(QPointF origin, const std::optional<int> &index)
{
    const QString text = index ? doc.items[*index].text.value_or(QString()) : QString();
    m_text = OpenText{new TextEntry(text, this), origin, index};
    m_text->field->onReturn = [this] { commitText(); };
    QObject::connect(m_text->field, &QLineEdit::textEdited, this, [this] {
        if (onTyped)
            onTyped();
    });
    if (index) {
        const double shownWidth = doc.items[*index].rect.width() / mapping().scale();
        m_text->field->resize(std::max(TextEntry::standardSize.width(), int(shownWidth)), m_text->field->height());
        m_text->field->selectAll();
    }
    m_text->field->show();
    m_text->field->setFocus();
    redisplay();
}

void AnnotationCanvasView::placeText()
{
    if (!m_text)
        return;
    const QPointF corner = toWidget().map(mapping().toView(m_text->origin)); // lower left
    QLineEdit &field = *m_text->field;
    field.resize(std::min(field.width(), width()), field.height());
    // In the canvas, wherever the text will be: nobody types blindly.
    field.move(std::clamp(qRound(corner.x()), 0, width() - field.width()),
               std::clamp(qRound(corner.y()) - field.height(), 0, height() - field.height()));
}

QList<Annotation> AnnotationCanvasView::itemsWith(const OpenText &typed) const
{
    QList<Annotation> items = doc.items;
    const QString text = typed.field->text();
    if (!typed.index) {
        if (!text.isEmpty())
            items << ItemFactory::text(text, typed.origin, style());
    } else if (names(typed.index) && items[*typed.index].kind == Annotation::Kind::text) {
        if (text.isEmpty())
            items.removeAt(*typed.index);
        else if (items[*typed.index].text != text)
            items[*typed.index] = ItemFactory::withText(items[*typed.index], text);
    }
    return items;
}

AnnotationDoc AnnotationCanvasView::settledDoc() const
{
    AnnotationDoc settled = doc;
    if (m_text)
        settled.items = itemsWith(*m_text);
    return settled;
}

AnnotationCanvasView::OpenText AnnotationCanvasView::closeText()
{
    const OpenText closed = *std::exchange(m_text, std::nullopt);
    if (closed.field->hasFocus())
        setFocus();
    closed.field->hide();
    closed.field->deleteLater(); // deferred: one of its own key events may be closing it
    return closed;
}

bool AnnotationCanvasView::cancelText()
{
    if (!m_text)
        return false;
    closeText();
    redisplay();
    return true;
}

void AnnotationCanvasView::commitText()
{
    if (!m_text)
        return;
    const OpenText closed = closeText(); // first: it ends what an input method is composing
    const QList<Annotation> settled = itemsWith(closed);
    if (settled.size() > doc.items.size()) {
        if (onCommit)
            onCommit(settled.last());
    } else if (settled != doc.items) {
        if (onSnapshot)
            onSnapshot();
        const bool gone = settled.size() < doc.items.size();
        doc.items = settled;
        if (onReplaceItems)
            onReplaceItems(doc.items);
        if (gone)
            selectedIndex.reset();
        if (gone && onSelect)
            onSelect(selectedIndex);
    }
    redisplay();
}

} // namespace qm
