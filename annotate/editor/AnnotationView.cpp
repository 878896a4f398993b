#include "annotate/editor/AnnotationView.h"

#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/EditorBars.h"
#include "annotate/editor/Export.h"
#include "annotate/render/AnnotationRenderer.h"
#include "config/ConfigStore.h"
#include "imaging/Pasteboard.h"
#include "ui/AppLocale.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QShortcut>
#include <QVBoxLayout>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto handsRestAfter = 800ms;
static const QString itemsType = QStringLiteral("application/x-quillmere-items");

static QWidget *divider(QWidget *parent)
{
    auto *line = new QWidget(parent);
    line->setAutoFillBackground(true);
    line->setBackgroundRole(QPalette::Mid);
    line->setFixedHeight(1);
    return line;
}

AnnotationView::AnnotationView(const AnnotationDoc &doc, const QString &sourcePath, QWidget *parent)
    : QWidget(parent)
    , m_sourcePath(sourcePath)
    , m_draft(sourcePath)
    , m_left(m_draft.load())
{
    m_state.open(doc);
    m_handsRest.setSingleShot(true);
    m_handsRest.setInterval(handsRestAfter);
    QObject::connect(&m_handsRest, &QTimer::timeout, this, [this] { storeDraft(); });
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
        const auto choose = [this, tool] { actions().setTool(tool); };
        add(EditorToolBar::key(tool), choose);
        if (EditorToolBar::key(tool) == Qt::Key_Backslash)
            add(Qt::Key_yen, choose); // the same key on a Japanese keyboard
    }
    add(Qt::CTRL | Qt::Key_Z, [this] { undo(); })->setAutoRepeat(true);
    add(Qt::CTRL | Qt::SHIFT | Qt::Key_Z, [this] { redo(); })->setAutoRepeat(true);
    add(Qt::CTRL | Qt::Key_Y, [this] { redo(); })->setAutoRepeat(true);
    add(Qt::CTRL | Qt::Key_S, [this] { save(); });
    add(Qt::CTRL | Qt::Key_W, [this] { close(); });
    add(Qt::CTRL | Qt::Key_C, [this] { copy(); });
    add(Qt::CTRL | Qt::Key_V, [this] { paste(); });
    add(Qt::CTRL | Qt::Key_D, [this] { duplicate(); });
}

EditorActions AnnotationView::actions()
{
    EditorActions made;
    made.setTool = [this](AnnotationTool tool) {
        settle();
        change([&] { m_state.setTool(tool); });
    };
    made.setBlurShape = [this](Annotation::BlurShape shape) { change([&] { m_state.blurShape = shape; }); };
    made.setColor = [this](const QColor &color) { change([&] { m_state.setColor(color); }); };
    made.keepInSight = [this] { return m_canvas->inSight(); };
    made.setPlate = [this](Annotation::Plate plate) {
        settle();
        change([&] { m_state.setPlate(plate); });
    };
    made.setLineWidth = [this](double width) { change([&] { m_state.setLineWidth(width); }); };
    made.deleteSelected = [this] {
        settle();
        change([&] { m_state.deleteSelected(); });
    };
    made.zoomOut = [this] { change([&] { m_state.zoomOut(m_canvas->mostZoom()); }); };
    made.resetZoom = [this] { resetZoom(); };
    made.zoomIn = [this] { change([&] { m_state.zoomIn(m_canvas->mostZoom()); }); };
    made.undo = [this] { undo(); };
    made.redo = [this] { redo(); };
    made.save = [this] { save(); };
    made.copyAnnotated = [this] { copyAnnotated(); };
    made.close = [this] { close(); };
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
    made.plate = m_state.plate;
    made.zoom = {[this] { return m_state.zoom; }, [this](double zoom) { change([&] { m_state.zoom = zoom; }); }};
    made.selection = {[this] { return m_state.selectedIndex; },
                      [this](std::optional<int> index) { change([&] { m_state.selectedIndex = index; }); }};
    made.onSnapshot = [this] { change([&] { m_state.pushUndo(); }); };
    made.onRelease = [this] { change([&] { m_state.dropEmptyStep(); }); };
    made.onTyped = [this] { m_handsRest.start(); };
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

void AnnotationView::settle()
{
    refreshIfRequested();
    m_canvas->endDrag();
    m_canvas->commitText();
}

void AnnotationView::undo()
{
    settle();
    change([&] { m_state.undo(); });
}

void AnnotationView::redo()
{
    settle();
    change([&] { m_state.redo(); });
}

void AnnotationView::resetZoom()
{
    m_canvas->fit();
    change([&] { m_state.resetZoom(); });
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
    const Export::Saved saved = Export::save(image, m_sourcePath, folder);
    const bool failed = saved.path.isEmpty();
    change([&] {
        m_state.statusIsFailure = failed;
        m_state.statusText = failed ? AppLocale::text(u"Failed to save: ", u"保存に失敗しました: ") + saved.reason
                                    : AppLocale::text(u"Saved: ", u"保存: ") + QFileInfo(saved.path).fileName();
        if (!failed)
            m_state.markSaved();
    });
    if (!failed)
        storeDraft(); // which is none now
}

void AnnotationView::copyAnnotated()
{
    Pasteboard::setImage(flattened());
    change([&] {
        m_state.statusIsFailure = false;
        m_state.statusText = AppLocale::text(u"Copied", u"コピーしました");
        m_state.markCopied();
    });
}

void AnnotationView::copy()
{
    refreshIfRequested();
    if (m_state.selectedItem() && !m_canvas->textField())
        copySelected();
    else
        copyAnnotated();
}

void AnnotationView::copySelected() const
{
    auto *items = new QMimeData;
    items->setData(itemsType, ItemCodec::encode({{*m_state.selectedItem()}, {}}));
    if (m_state.selectedItem()->text)
        items->setText(*m_state.selectedItem()->text);
    QGuiApplication::clipboard()->setMimeData(items);
}

void AnnotationView::paste()
{
    const QMimeData *content = QGuiApplication::clipboard()->mimeData();
    const auto pasted = content ? ItemCodec::decode(content->data(itemsType)) : std::nullopt;
    if (!pasted)
        return;
    settle();
    change([&] { m_state.paste(pasted->items); });
}

void AnnotationView::duplicate()
{
    settle();
    if (m_state.selectedItem())
        change([&] { m_state.paste({*m_state.selectedItem()}); });
}

void AnnotationView::keyPressEvent(QKeyEvent *event)
{
    const bool plain = !(event->modifiers() & ~Qt::KeypadModifier);
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && plain && !event->isAutoRepeat()) {
        if (auto *button = qobject_cast<QAbstractButton *>(focusWidget()); button && button->hasFocus())
            return button->click();
        return copyAnnotated();
    }
    if ((event->key() == Qt::Key_Escape && escape()) || nudge(event))
        return;
    const bool pages = event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown;
    if (pages && plain && m_canvas->hasFocus() && !m_canvas->isDragging())
        return change([&] { m_state.selectNeighbour(event->key() == Qt::Key_PageUp ? 1 : -1); });
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
