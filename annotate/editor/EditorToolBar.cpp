#include "annotate/editor/EditorBars.h"

#include "annotate/editor/ColorWell.h"
#include "ui/AppLocale.h"
#include "ui/IconButton.h"

#include <QHBoxLayout>
#include <QKeySequence>
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
};

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

IconButton *EditorToolBar::toolButton(AnnotationTool tool, const QString &label, const QString &symbol)
{
    const QString help = QStringLiteral("%1  (%2)").arg(label, QKeySequence(key(tool)).toString());
    auto *made = new IconButton(symbol, help, this);
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
        row->addWidget(
            toolButton(face.tool, AppLocale::text(face.label, face.japanese), QString::fromUtf16(face.symbol)));
        if (face.tool == AnnotationTool::select)
            addDivider(row, this);
    }
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
    m_resetZoom->setFixedSize(m_resetZoom->fontMetrics().horizontalAdvance(QStringLiteral("800%")) + 10, 28);
    QObject::connect(m_resetZoom, &QToolButton::clicked, this, m_actions.resetZoom);
    row->addWidget(m_resetZoom);
    row->addWidget(button(u"plus.magnifyingglass", AppLocale::text(u"Zoom in", u"拡大"), m_actions.zoomIn, this));
    addDivider(row, this);

    m_undo = button(u"arrow.uturn.backward", AppLocale::text(u"Undo", u"取り消す"), m_actions.undo, this);
    m_redo = button(u"arrow.uturn.forward", AppLocale::text(u"Redo", u"やり直す"), m_actions.redo, this);
    row->addWidget(m_undo);
    row->addWidget(m_redo);
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
    layout()->addWidget(m_blurShapes);
}

void EditorToolBar::addColorAndWidth()
{
    m_color = new ColorWell(this);
    m_color->onChange = m_actions.setColor;
    layout()->addWidget(m_color);

    m_lineWidth = new QSlider(Qt::Horizontal, this);
    m_lineWidth->setRange(int(1 * sliderSteps), int(12 * sliderSteps));
    m_lineWidth->setSingleStep(int(sliderSteps / 2));
    m_lineWidth->setPageStep(int(sliderSteps));
    m_lineWidth->setFixedWidth(80);
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
    m_blurShapes->setVisible(state.tool == AnnotationTool::blur);
    m_blurRect->setActive(state.blurShape == Annotation::BlurShape::rect);
    m_blurEllipse->setActive(state.blurShape == Annotation::BlurShape::ellipse);
    m_color->setColor(state.shownColor());
    const QSignalBlocker quiet(m_lineWidth);
    m_lineWidth->setValue(int(std::lround(state.shownLineWidth() * sliderSteps)));
    m_delete->setEnabled(state.selectedItem() != nullptr);
    if (const QString label = state.zoomLabel(); label != m_resetZoom->text()) { // a new text redoes the layout
        m_resetZoom->setText(label);
        m_resetZoom->setAccessibleName(m_resetZoom->toolTip() + QStringLiteral(", ") + label);
    }
    m_undo->setEnabled(state.canUndo());
    m_redo->setEnabled(state.canRedo());
}

} // namespace qm
