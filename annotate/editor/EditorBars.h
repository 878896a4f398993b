#pragma once

#include "annotate/document/EditorState.h"

#include <QLabel>
#include <QWidget>

#include <functional>
#include <map>

class QPushButton;
class QSlider;
class QToolButton;

namespace qm {

class ColorWell;
class IconButton;
class PlateButton;

// Actions behind the editor's buttons. All must be set.
struct EditorActions {
    std::function<void(AnnotationTool)> setTool;
    std::function<void(Annotation::BlurShape)> setBlurShape;
    std::function<void(const QColor &)> setColor;
    std::function<QList<QRect>()> keepInSight; // see ColorWell
    std::function<void(Annotation::Plate)> setPlate;
    std::function<void(double)> setLineWidth; // points
    std::function<void()> deleteSelected, zoomOut, resetZoom, zoomIn, undo, redo, save, copyAnnotated, close;
};

// The tool bar above the canvas. Main thread. It shows the state passed to refresh(); clicks only call actions. In a narrow
// window, some of the tools fold into a menu.
class EditorToolBar : public QWidget
{
public:
    EditorToolBar(const EditorActions &actions, QWidget *parent);

    void refresh(const EditorState &state);
    static Qt::Key key(AnnotationTool tool); // shortcut of the tool, without modifiers

    QSize minimumSizeHint() const override { return {0, QWidget::minimumSizeHint().height()}; }

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    IconButton *toolButton(AnnotationTool tool);
    void addBlurShapes();
    void addFolded();
    void fold();
    void addColorAndWidth();

    const EditorActions m_actions;
    std::map<AnnotationTool, IconButton *> m_tools;
    IconButton *m_moreTools = nullptr; // stands for those that fold
    QWidget *m_blurShapes = nullptr;
    QLabel *m_coverNote = nullptr; // this and the next: with the blur shapes, whichever fits
    IconButton *m_coverHint = nullptr;
    PlateButton *m_plate = nullptr;
    IconButton *m_blurRect = nullptr, *m_blurEllipse = nullptr;
    ColorWell *m_color = nullptr;
    QSlider *m_lineWidth = nullptr;
    IconButton *m_delete = nullptr, *m_undo = nullptr, *m_redo = nullptr;
    QToolButton *m_resetZoom = nullptr;
};

// A line of text elided in the middle when space is short: the ends of a file name tell the most. Main thread.
class StatusLine : public QLabel
{
public:
    explicit StatusLine(QWidget *parent);

    void setFailure(bool failure); // in red
    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_failure = false;
};

// The status bar below the canvas: the last result, and the buttons that finish. Main thread.
class EditorStatusBar : public QWidget
{
public:
    EditorStatusBar(const EditorActions &actions, QWidget *parent);

    void refresh(const EditorState &state);

private:
    StatusLine *m_status;
};

} // namespace qm
