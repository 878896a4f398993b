#pragma once

#include "annotate/document/EditorState.h"
#include "annotate/editor/AnnotationCanvas.h"

#include <QWidget>

namespace qm {

class AnnotationCanvasView;
class EditorStatusBar;
class EditorToolBar;
struct EditorActions;

// The content of an editor window: tools, canvas and status line over one EditorState, which lives as long as the view and
// is not stored. Main thread.
// Everything that happens changes the state and asks for refresh(), which shows it: once a turn of the event loop, and in
// any case before the canvas's next input, so that the canvas never acts on a document that is no longer.
class AnnotationView : public QWidget
{
    Q_OBJECT

public:
    // sourcePath: of the picture in doc, absolute; saved files are named after it. onClose asks for the window to be closed.
    AnnotationView(const AnnotationDoc &doc, const QString &sourcePath, std::function<void()> onClose,
                   QWidget *parent = nullptr);

    const EditorState &state() const { return m_state; }
    AnnotationCanvasView *canvas() const { return m_canvas; }

    // Both take every source pixel along, and say in the status line how it went.
    void save();          // a new file in the folder of the screenshots
    void copyAnnotated(); // onto the pasteboard

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
    EditorToolBar *m_toolBar = nullptr; // these are children
    AnnotationCanvasView *m_canvas = nullptr;
    EditorStatusBar *m_statusBar = nullptr;
    bool m_refreshRequested = false;
};

} // namespace qm
