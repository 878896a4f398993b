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

// What the editor's buttons ask for. All are set.
struct EditorActions {
    std::function<void(AnnotationTool)> setTool;
    std::function<void(Annotation::BlurShape)> setBlurShape;
    std::function<void(const QColor &)> setColor;
    std::function<void(double)> setLineWidth; // points
    std::function<void()> deleteSelected, zoomOut, resetZoom, zoomIn, undo, redo, save, copyAnnotated, close;
};

// The row of tools above the canvas. Main thread. It shows the state it was given last; a click only asks.
class EditorToolBar : public QWidget
{
public:
    EditorToolBar(const EditorActions &actions, QWidget *parent);

    void refresh(const EditorState &state);
    static Qt::Key key(AnnotationTool tool); // chooses the tool, without a modifier

private:
    IconButton *toolButton(AnnotationTool tool, const QString &label, const QString &symbol);
    void addBlurShapes();
    void addColorAndWidth();

    const EditorActions m_actions;
    std::map<AnnotationTool, IconButton *> m_tools;
    QWidget *m_blurShapes = nullptr;
    IconButton *m_blurRect = nullptr, *m_blurEllipse = nullptr;
    ColorWell *m_color = nullptr;
    QSlider *m_lineWidth = nullptr;
    IconButton *m_delete = nullptr, *m_undo = nullptr, *m_redo = nullptr;
    QToolButton *m_resetZoom = nullptr;
};

// One line that is cut in the middle where there is no room: the ends of a file's name tell most. Main thread.
class StatusLine : public QLabel
{
public:
    explicit StatusLine(QWidget *parent);

    QSize minimumSizeHint() const override { return {0, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent *event) override;
};

// The row below the canvas: what happened last, and how to finish. Main thread.
class EditorStatusBar : public QWidget
{
public:
    EditorStatusBar(const EditorActions &actions, QWidget *parent);

    void refresh(const EditorState &state);

private:
    StatusLine *m_status;
};

} // namespace qm
