#pragma once

#include "annotate/document/EditorState.h"
#include "annotate/editor/AnnotationCanvas.h"

#include <QWidget>

namespace qm {

class AnnotationCanvasView;
class EditorStatusBar;
class EditorToolBar;
struct EditorActions;

// Content of an editor window: tools, canvas and status line over one EditorState, which lives as long as the view and
// is not saved. Main thread.
// Every action changes the state and requests refresh(), which runs once per turn of the event loop, and always before
// the canvas handles its next input, so that the canvas never acts on an outdated document.
class AnnotationView : public QWidget
{
    Q_OBJECT

public:
    // sourcePath: absolute path of the picture in doc; saved files are named after it. onClose is asked to close the
    // window.
    AnnotationView(const AnnotationDoc &doc, const QString &sourcePath, std::function<void()> onClose,
                   QWidget *parent = nullptr);

    const EditorState &state() const { return m_state; }
    AnnotationCanvasView *canvas() const { return m_canvas; }

    // Both use the full resolution of the source and report the outcome in the status line.
    void save();          // to a new file in the screenshot folder
    void copyAnnotated(); // to the pasteboard

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    EditorActions actions();
    AnnotationCanvas bridge();
    void addShortcuts();
    template<class Change>
    void change(Change change);
    void requestRefresh();
    void refresh();
    void refreshIfRequested();
    Image flattened();
    void undo();
    void redo();
    bool nudge(QKeyEvent *event);
    bool escape();

    EditorState m_state;
    const QString m_sourcePath;
    const std::function<void()> m_onClose;
    AnnotationCanvas::Coordinator m_coordinator;
    EditorToolBar *m_toolBar = nullptr; // this and the next two are child widgets
    AnnotationCanvasView *m_canvas = nullptr;
    EditorStatusBar *m_statusBar = nullptr;
    bool m_refreshRequested = false;
};

} // namespace qm
