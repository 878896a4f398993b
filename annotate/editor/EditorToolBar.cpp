#include "annotate/editor/EditorBars.h"

#include "annotate/editor/ColorWell.h"
#include "annotate/editor/PlateButton.h"
#include "ui/AppLocale.h"
#include "ui/IconButton.h"
#include "ui/Symbol.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QMenu>
#include <QSlider>

#include <cmath>

namespace qm {

static constexpr double sliderSteps = 100; // per point

namespace {

struct ToolFace {
    AnnotationTool tool;
    const char16_t *label, *japanese, *symbol;
    Qt::Key key;
};

} // namespace

static constexpr ToolFace toolFaces[] = {
    {AnnotationTool::select, u"Select / Move", u"選択 / 移動", u"cursorarrow", Qt::Key_V},
    {AnnotationTool::crop, u"Crop", u"クロップ", u"crop", Qt::Key_C},
    {AnnotationTool::text, u"Text", u"テキスト", u"textformat", Qt::Key_T},
    {AnnotationTool::line, u"Line", u"直線", u"line.diagonal", Qt::Key_Backslash},
    {AnnotationTool::arrow, u"Arrow", u"矢印", u"arrow.up.right", Qt::Key_A},
    {AnnotationTool::rect, u"Rectangle", u"四角", u"rectangle", Qt::Key_M},
    {AnnotationTool::ellipse, u"Ellipse", u"丸", u"circle", Qt::Key_L},
    {AnnotationTool::blur, u"Blur", u"ぼかし", u"drop.fill", Qt::Key_B},
    {AnnotationTool::cover, u"Cover", u"塗りつぶし", u"rectangle.fill", Qt::Key_X},
    {AnnotationTool::number, u"Number", u"番号", u"number.circle", Qt::Key_N},
    {AnnotationTool::highlighter, u"Highlighter", u"蛍光ペン", u"highlighter", Qt::Key_H},
    {AnnotationTool::pen, u"Pen", u"ペン", u"scribble", Qt::Key_P},
};

static bool folds(AnnotationTool tool)
{
    return tool >= AnnotationTool::cover;
}

static QString helpFor(const ToolFace &face)
{
    return QStringLiteral("%1  (%2)")
        .arg(AppLocale::text(face.label, face.japanese), QKeySequence(face.key).toString());
}

// Adds a little space around it, if there is any.
static void addDivider(QHBoxLayout *row, QWidget *parent)
{
    constexpr int room = 4;
    auto *line = new QWidget(parent); // filled: a frame's thin line may fall between pixels at fractional scales
    line->setAutoFillBackground(true);
    line->setBackgroundRole(QPalette::Mid);
    line->setFixedSize(1, 20);
    row->addSpacerItem(new QSpacerItem(room, 0, QSizePolicy::Maximum));
    row->addWidget(line);
    row->addSpacerItem(new QSpacerItem(room, 0, QSizePolicy::Maximum));
}

static IconButton *button(const char16_t *symbol, const QString &help, const std::function<void()> &action,
                          QWidget *parent)
{
    auto *made = new IconButton(QString::fromUtf16(symbol), help, parent);
    QObject::connect(made, &QToolButton::clicked, parent, action);
    return made;
}

Qt::Key EditorToolBar::key(AnnotationTool tool)
{
    return toolFaces[size_t(tool)].key;
}

IconButton *EditorToolBar::toolButton(AnnotationTool tool)
{
    const ToolFace &face = toolFaces[size_t(tool)];
    auto *made = new IconButton(QString::fromUtf16(face.symbol), helpFor(face), this);
    QObject::connect(made, &QToolButton::clicked, this, [this, tool] { m_actions.setTool(tool); });
    m_tools[tool] = made;
    return made;
}

EditorToolBar::EditorToolBar(const EditorActions &actions, QWidget *parent)
    : QWidget(parent)
    , m_actions(actions)
{
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(6, 5, 6, 5);
    row->setSpacing(2);
    for (const ToolFace &face : toolFaces) {
        row->addWidget(toolButton(face.tool));
        if (face.tool == AnnotationTool::select || face.tool == AnnotationTool::blur)
            addDivider(row, this);
    }
    addFolded();
    addBlurShapes();
    addColorAndWidth();
    row->addStretch();
    m_delete = button(u"trash", AppLocale::text(u"Delete selected", u"選択を削除"), m_actions.deleteSelected, this);
    row->addWidget(m_delete);
    addDivider(row, this);

    row->addWidget(button(u"minus.magnifyingglass", AppLocale::text(u"Zoom out", u"縮小"), m_actions.zoomOut, this));
    m_resetZoom = new QToolButton(this);
    m_resetZoom->setToolTip(AppLocale::text(u"Reset zoom", u"拡大率を元に戻す"));
    m_resetZoom->setFocusPolicy(Qt::TabFocus);
    QObject::connect(m_resetZoom, &QToolButton::clicked, this, m_actions.resetZoom);
    row->addWidget(m_resetZoom);
    row->addWidget(button(u"plus.magnifyingglass", AppLocale::text(u"Zoom in", u"拡大"), m_actions.zoomIn, this));
    addDivider(row, this);

    m_undo = button(u"arrow.uturn.backward", AppLocale::text(u"Undo", u"取り消す"), m_actions.undo, this);
    m_redo = button(u"arrow.uturn.forward", AppLocale::text(u"Redo", u"やり直す"), m_actions.redo, this);
    row->addWidget(m_undo);
    row->addWidget(m_redo);
    constexpr int narrowest = 24;
    for (auto *made : findChildren<QToolButton *>())
        made->setMinimumWidth(narrowest);
}

// Side by side without a gap, to look like one choice of two.
void EditorToolBar::addBlurShapes()
{
    m_blurShapes = new QWidget(this);
    auto *row = new QHBoxLayout(m_blurShapes);
    row->setContentsMargins(4, 0, 4, 0);
    row->setSpacing(0);
    const auto choose = [this](Annotation::BlurShape shape) {
        return [this, shape] { m_actions.setBlurShape(shape); };
    };
    m_blurRect = button(u"rectangle", AppLocale::text(u"Blur a rectangle", u"四角くぼかす"),
                        choose(Annotation::BlurShape::rect), m_blurShapes);
    m_blurEllipse = button(u"circle", AppLocale::text(u"Blur an ellipse", u"丸くぼかす"),
                           choose(Annotation::BlurShape::ellipse), m_blurShapes);
    row->addWidget(m_blurRect);
    row->addWidget(m_blurEllipse);
    m_coverHint = button(
        u"info.circle", AppLocale::text(u"To hide a secret, use Cover", u"秘密は「塗りつぶし」で隠してください"),
        [this] { m_actions.setTool(AnnotationTool::cover); }, m_blurShapes);
    m_coverNote = new QLabel(m_coverHint->toolTip(), m_blurShapes);
    m_coverNote->setContentsMargins(6, 0, 4, 0);
    row->addWidget(m_coverHint);
    row->addWidget(m_coverNote);
    layout()->addWidget(m_blurShapes);
}

// One button with a menu in place of several.
void EditorToolBar::addFolded()
{
    auto *menu = new QMenu(this);
    m_moreTools = button(
        u"ellipsis", AppLocale::text(u"More tools", u"ほかのツール"),
        [this, menu] { menu->popup(m_moreTools->mapToGlobal(QPoint(0, m_moreTools->height()))); }, this);
    for (const ToolFace &face : toolFaces) {
        if (!folds(face.tool))
            continue;
        QAction *action =
            menu->addAction(AppLocale::text(face.label, face.japanese) + u'\t' + QKeySequence(face.key).toString());
        QObject::connect(action, &QAction::triggered, this, [this, tool = face.tool] { m_actions.setTool(tool); });
        QObject::connect(menu, &QMenu::aboutToShow, action, [menu, action, symbol = face.symbol] { // by day or by night
            action->setIcon(Symbol::icon(QString::fromUtf16(symbol), menu->palette().color(QPalette::WindowText)));
        });
    }
    layout()->addWidget(m_moreTools);
}

void EditorToolBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fold();
}

void EditorToolBar::fold()
{
    const auto show = [this](bool tools, bool note) {
        for (const auto &[tool, made] : m_tools) {
            if (folds(tool))
                made->setVisible(tools);
        }
        m_moreTools->setVisible(!tools);
        m_coverNote->setVisible(note);
        m_coverHint->setVisible(!note);
        m_lineWidth->show();
        m_blurShapes->layout()->invalidate();
        layout()->invalidate();
        return layout()->minimumSize().width() <= width();
    };
    if (!show(true, true) && !show(true, false) && !show(false, true) && !show(false, false) &&
        !m_blurShapes->isHidden())
        m_lineWidth->hide(); // a blur has none
    layout()->invalidate();
    layout()->activate(); // the row must not keep the room of what has just been hidden
}

void EditorToolBar::addColorAndWidth()
{
    m_color = new ColorWell(this);
    m_color->onChange = m_actions.setColor;
    m_color->keepInSight = m_actions.keepInSight;
    layout()->addWidget(m_color);
    m_plate = new PlateButton(this);
    m_plate->onChange = m_actions.setPlate;
    layout()->addWidget(m_plate);

    m_lineWidth = new QSlider(Qt::Horizontal, this);
    m_lineWidth->setRange(int(1 * sliderSteps), int(12 * sliderSteps));
    m_lineWidth->setSingleStep(int(sliderSteps / 2));
    m_lineWidth->setPageStep(int(sliderSteps));
    m_lineWidth->setMinimumWidth(40);
    m_lineWidth->setMaximumWidth(80);
    m_lineWidth->setFocusPolicy(Qt::TabFocus);
    m_lineWidth->setToolTip(AppLocale::text(u"Line width", u"線の太さ"));
    m_lineWidth->setAccessibleName(m_lineWidth->toolTip());
    QObject::connect(m_lineWidth, &QSlider::valueChanged, this,
                     [this](int value) { m_actions.setLineWidth(value / sliderSteps); });
    layout()->addWidget(m_lineWidth);
}

void EditorToolBar::refresh(const EditorState &state)
{
    for (const auto &[tool, made] : m_tools)
        made->setActive(tool == state.tool);
    m_moreTools->setActive(folds(state.tool));
    const bool plates = state.tool == AnnotationTool::text || state.selectsText();
    const bool blurs = state.tool == AnnotationTool::blur;
    if (m_plate->isHidden() == plates || m_blurShapes->isHidden() == blurs) {
        m_plate->setVisible(plates);
        m_blurShapes->setVisible(blurs);
        fold();
    }
    m_plate->setPlate(state.shownPlate());
    m_blurRect->setActive(state.blurShape == Annotation::BlurShape::rect);
    m_blurEllipse->setActive(state.blurShape == Annotation::BlurShape::ellipse);
    m_color->setColor(state.shownColor());
    const QSignalBlocker quiet(m_lineWidth);
    m_lineWidth->setValue(int(std::lround(state.shownLineWidth() * sliderSteps)));
    m_delete->setEnabled(state.selectedItem() != nullptr);
    if (const QString label = state.zoomLabel(); label != m_resetZoom->text()) { // a new text redoes the layout
        m_resetZoom->setText(label);
        const QString widest = label.size() > 4 ? QString(label.size(), u'8') : QStringLiteral("800%");
        m_resetZoom->setFixedSize(m_resetZoom->fontMetrics().horizontalAdvance(widest) + 10, 28);
        m_resetZoom->setAccessibleName(m_resetZoom->toolTip() + QStringLiteral(", ") + label);
    }
    m_undo->setEnabled(state.canUndo());
    m_redo->setEnabled(state.canRedo());
}

} // namespace qm
