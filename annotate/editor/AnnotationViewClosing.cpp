// What becomes of edits when an editor closes, or should have been closed.
#include "annotate/editor/AnnotationView.h"

#include "annotate/editor/AnnotationCanvasView.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QMessageBox>

namespace qm {

bool AnnotationView::hasUnkeptEdits()
{
    settle();
    return m_state.hasUnkeptEdits();
}

void AnnotationView::storeDraft()
{
    if (m_canvas->isDragging())
        return m_handsRest.start();
    m_handsRest.stop();
    if (m_question || m_left) // what becomes of it is not decided yet
        return;
    refreshIfRequested();
    EditorState settled = m_state;
    settled.doc = m_canvas->settledDoc();
    if (settled.hasUnsavedEdits())
        m_draft.store({settled.doc.items, settled.doc.crop});
    else
        m_draft.remove();
}

void AnnotationView::offerDraft()
{
    if (!m_left)
        return;
    m_question = EditorQuestion::askToResume(*m_left, this, [this](bool resume) {
        m_question = nullptr;
        if (resume)
            return resumeDraft();
        m_left.reset();
        m_draft.remove();
    });
}

void AnnotationView::resumeDraft()
{
    if (!m_left)
        return;
    const ItemCodec::Edits left = std::exchange(m_left, std::nullopt)->edits;
    settle();
    change([&] {
        m_state.pushUndo();
        m_state.doc.items = left.items;
        m_state.doc.crop = left.crop;
    });
}

void AnnotationView::askToClose(std::function<void(bool closed)> answered)
{
    if (m_question) {
        m_question->raise();
        m_question->activateWindow();
        return answered(false);
    }
    if (!hasUnkeptEdits()) {
        close();
        return answered(true);
    }
    raise();
    activateWindow();
    m_question = EditorQuestion::askToKeep(
        QFileInfo(m_sourcePath).fileName(), this,
        [this, answered = std::move(answered)](EditorQuestion::Keep kept) { answer(kept, answered); });
}

void AnnotationView::answer(EditorQuestion::Keep answer, const std::function<void(bool closed)> &answered)
{
    m_question = nullptr;
    if (answer == EditorQuestion::Keep::save)
        save();
    const bool closes =
        answer == EditorQuestion::Keep::discard || (answer == EditorQuestion::Keep::save && !m_state.hasUnkeptEdits());
    if (!closes) {
        storeDraft();
        return answered(false);
    }
    m_closing = Closing::unasked;
    close();
    answered(true);
}

void AnnotationView::endSession()
{
    storeDraft();
    m_closing = Closing::keepsDraft;
}

void AnnotationView::closeEvent(QCloseEvent *event)
{
    if (m_closing == Closing::asks && (m_question || hasUnkeptEdits())) {
        event->ignore();
        return askToClose([](bool) {});
    }
    m_handsRest.stop();
    if (m_closing != Closing::keepsDraft)
        m_draft.remove();
    event->accept();
}

} // namespace qm
