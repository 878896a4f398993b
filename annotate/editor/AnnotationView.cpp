#include "annotate/editor/AnnotationView.h"

#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/EditorBars.h"
#include "annotate/editor/Export.h"
#include "annotate/render/AnnotationRenderer.h"
#include "config/ConfigStore.h"
#include "imaging/Pasteboard.h"
#include "ui/AppLocale.h"

#include <QFileInfo>
#include <QKeyEvent>
#include <QShortcut>
#include <QVBoxLayout>

namespace qm {

static QWidget *divider(QWidget *parent)
{
    auto *line = new QWidget(parent);
    line->setAutoFillBackground(true);
    line->setBackgroundRole(QPalette::Mid);
    line->setFixedHeight(1);
    return line;
}

AnnotationView::AnnotationView(const AnnotationDoc &doc, const QString &sourcePath, std::function<void()> onClose,
                               QWidget *parent)
    : QWidget(parent)
    , m_sourcePath(sourcePath)
    , m_onClose(std::move(onClose))
{
    m_state.doc = doc;
    m_toolBar = new EditorToolBar(actions(), this);
    m_canvas = bridge().make(m_coordinator, this);
    m_canvas->installEventFilter(this);
    m_statusBar = new EditorStatusBar(actions(), this);

    auto *rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(m_toolBar);
    rows->addWidget(divider(this));
    rows->addWidget(m_canvas, 1);
    rows->addWidget(divider(this));
    rows->addWidget(m_statusBar);

    addShortcuts();
    m_canvas->setFocus();
    refresh();
}

// QShortcuts rather than key events: they work on keyboards without Latin letters, and a text field keeps what it can
// use.
void AnnotationView::addShortcuts()
{
    const auto add = [this](const QKeySequence &keys, auto action) {
        auto *shortcut = new QShortcut(keys, this);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setAutoRepeat(false);
        QObject::connect(shortcut, &QShortcut::activated, this, action);
        return shortcut;
    };
    for (const AnnotationTool tool : allAnnotationTools) {
        const auto choose = [this, tool] { change([&] { m_state.tool = tool; }); };
        add(EditorToolBar::key(tool), choose);
        if (EditorToolBar::key(tool) == Qt::Key_Backslash)
            add(Qt::Key_yen, choose); // the same key on a Japanese keyboard
    }
    add(Qt::CTRL | Qt::Key_Z, [this] { undo(); })->setAutoRepeat(true);
    add(Qt::CTRL | Qt::SHIFT | Qt::Key_Z, [this] { redo(); })->setAutoRepeat(true);
}

template<class Change>
void AnnotationView::change(Change change)
{
    change();
    requestRefresh();
}

EditorActions AnnotationView::actions()
{
    EditorActions made;
    made.setTool = [this](AnnotationTool tool) { change([&] { m_state.tool = tool; }); };
    made.setBlurShape = [this](Annotation::BlurShape shape) { change([&] { m_state.blurShape = shape; }); };
    made.setColor = [this](const QColor &color) {
        if (color != m_state.color)
            change([&] { m_state.setColor(color); });
    };
    made.setLineWidth = [this](double width) {
        if (width != m_state.lineWidth)
            change([&] { m_state.setLineWidth(width); });
    };
    made.deleteSelected = [this] { change([&] { m_state.deleteSelected(); }); };
    made.zoomOut = [this] { change([&] { m_state.zoomOut(); }); };
    made.resetZoom = [this] { change([&] { m_state.resetZoom(); }); };
    made.zoomIn = [this] { change([&] { m_state.zoomIn(); }); };
    made.undo = [this] { undo(); };
    made.redo = [this] { redo(); };
    made.save = [this] { save(); };
    made.copyAnnotated = [this] { copyAnnotated(); };
    made.close = [this] { m_onClose(); };
    return made;
}

AnnotationCanvas AnnotationView::bridge()
{
    AnnotationCanvas made;
    made.doc = {[this] { return m_state.doc; },
                [this](const AnnotationDoc &doc) { change([&] { m_state.doc = doc; }); }};
    made.tool = m_state.tool;
    made.color = m_state.color;
    made.lineWidth = m_state.lineWidth;
    made.blurShape = m_state.blurShape;
    made.zoom = {[this] { return m_state.zoom; }, [this](double zoom) { change([&] { m_state.zoom = zoom; }); }};
    made.selection = {[this] { return m_state.selectedIndex; },
                      [this](std::optional<int> index) { change([&] { m_state.selectedIndex = index; }); }};
    made.onSnapshot = [this] { change([&] { m_state.pushUndo(); }); };
    made.onDelete = [this] { change([&] { m_state.deleteSelected(); }); };
    return made;
}

void AnnotationView::requestRefresh()
{
    if (std::exchange(m_refreshRequested, true))
        return;
    QMetaObject::invokeMethod(
        this, [this] { refreshIfRequested(); }, Qt::QueuedConnection);
}

void AnnotationView::refreshIfRequested()
{
    if (m_refreshRequested)
        refresh();
}

void AnnotationView::refresh()
{
    m_refreshRequested = false;
    m_toolBar->refresh(m_state);
    bridge().update(*m_canvas, m_coordinator);
    m_statusBar->refresh(m_state);
}

bool AnnotationView::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::NativeGesture:
    case QEvent::KeyPress: refreshIfRequested(); break;
    default: break;
    }
    return QWidget::eventFilter(watched, event);
}

void AnnotationView::undo()
{
    m_canvas->endDrag();
    change([&] { m_state.undo(); });
}

void AnnotationView::redo()
{
    m_canvas->endDrag();
    change([&] { m_state.redo(); });
}

// The document at full resolution, including text still being typed.
Image AnnotationView::flattened()
{
    refreshIfRequested();
    m_canvas->commitText();
    return AnnotationRenderer::render(m_state.doc);
}

void AnnotationView::save()
{
    const Image image = flattened();
    const QString folder = ConfigStore::resolveCaptureDir();
    ConfigStore::createFolder(folder); // if this fails, so does the save
    const std::optional<QString> path = Export::save(image, m_sourcePath, folder);
    change([&] {
        m_state.statusText = path ? AppLocale::text(u"Saved: ", u"保存: ") + QFileInfo(*path).fileName()
                                  : AppLocale::text(u"Failed to save", u"保存に失敗しました");
    });
}

void AnnotationView::copyAnnotated()
{
    Pasteboard::setImage(flattened());
    change([&] { m_state.statusText = AppLocale::text(u"Copied", u"コピーしました"); });
}

void AnnotationView::keyPressEvent(QKeyEvent *event)
{
    const bool plain = !(event->modifiers() & ~Qt::KeypadModifier);
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && plain && !event->isAutoRepeat())
        return copyAnnotated();
    if ((event->key() == Qt::Key_Escape && escape()) || nudge(event))
        return;
    QWidget::keyPressEvent(event);
}

bool AnnotationView::escape()
{
    refreshIfRequested();
    if (m_canvas->cancelDrag() || m_canvas->cancelText())
        return true;
    if (!m_state.selectedIndex)
        return false;
    change([&] { m_state.selectedIndex.reset(); });
    return true;
}

bool AnnotationView::nudge(QKeyEvent *event)
{
    QPointF by;
    switch (event->key()) {
    case Qt::Key_Left: by = {-1, 0}; break;
    case Qt::Key_Right: by = {1, 0}; break;
    case Qt::Key_Up: by = {0, 1}; break;
    case Qt::Key_Down: by = {0, -1}; break;
    default: return false;
    }
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (!m_state.selectedItem() || (modifiers & ~Qt::ShiftModifier) || m_canvas->isDragging())
        return false;
    const double points = modifiers.testFlag(Qt::ShiftModifier) ? 10 : 1;
    change([&] { m_state.nudgeSelected(by * points, std::chrono::milliseconds(event->timestamp())); });
    return true;
}

} // namespace qm
