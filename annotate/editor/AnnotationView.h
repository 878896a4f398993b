#pragma once

#include "annotate/document/EditorState.h"
#include "annotate/editor/AnnotationCanvas.h"
#include "annotate/editor/Draft.h"
#include "annotate/editor/EditorQuestion.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

class QMessageBox;

namespace qm {

class AnnotationCanvasView;
class EditorStatusBar;
class EditorToolBar;
struct EditorActions;

// An editor window: tools, canvas and status line over one EditorState, which lives as long as the view. What is neither
// saved nor copied is kept in a draft, and asked about when the window is closed. Main thread.
// Every action changes the state and requests refresh(), which runs once per turn of the event loop, and always before
// the canvas handles its next input, so that the canvas never acts on an outdated document.
class AnnotationView : public QWidget
{
    Q_OBJECT

public:
    // sourcePath: absolute path of the picture in doc; saved files are named after it.
    AnnotationView(const AnnotationDoc &doc, const QString &sourcePath, QWidget *parent = nullptr);

    const EditorState &state() const { return m_state; }
    AnnotationCanvasView *canvas() const { return m_canvas; }

    // Both use the full resolution of the source and report the outcome in the status line.
    void save();          // to a new file in the screenshot folder
    void copyAnnotated(); // to the pasteboard

    bool hasUnkeptEdits(); // that closing would lose
    void offerDraft();     // asks whether to go on with what an earlier editor of this picture left, if it did
    void resumeDraft();    // goes on with it
    void storeDraft();     // now, not when the hands rest
    // Closes the window; if there is something to lose, asks first. answered learns whether it has closed. While the
    // question is open, asking again only brings it to the front.
    void askToClose(std::function<void(bool closed)> answered);
    void endSession(); // stores the draft; unless something changes again, closing asks nothing and leaves it

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    EditorActions actions();
    AnnotationCanvas bridge();
    void addShortcuts();
    template<class Change>
    void change(Change change)
    {
        change();
        m_closing = Closing::asks;
        m_handsRest.start();
        requestRefresh();
    }
    void requestRefresh();
    void refresh();
    void refreshIfRequested();
    void settle(); // ends what is being dragged or typed, so that the document may be replaced
    Image flattened();
    void undo();
    void redo();
    void resetZoom();
    void copy();
    void copySelected() const;
    void paste();
    void duplicate();
    void answer(EditorQuestion::Keep answer, const std::function<void(bool closed)> &answered);
    bool nudge(QKeyEvent *event);
    bool escape();

    EditorState m_state;
    const QString m_sourcePath;
    AnnotationCanvas::Coordinator m_coordinator;
    EditorToolBar *m_toolBar = nullptr; // this and the next two are child widgets
    AnnotationCanvasView *m_canvas = nullptr;
    EditorStatusBar *m_statusBar = nullptr;
    bool m_refreshRequested = false;

    Draft m_draft;
    std::optional<Draft::Left> m_left; // by an earlier editor, until it is decided what becomes of it
    QTimer m_handsRest;                // then the draft is stored
    QPointer<QMessageBox> m_question;
    enum class Closing { asks, unasked, keepsDraft } m_closing = Closing::asks;
};

} // namespace qm
