#pragma once

#include "annotate/editor/AnnotationView.h"
#include "imaging/ImageFile.h"
#include "ui/LatestJob.h"

#include <QList>
#include <QPointer>
#include <QThreadPool>

#include <functional>

namespace qm {

class DraftsWindow;

// Opens pictures in editor windows, each with its own document and history. Main thread; lives as long as the
// application.
class AnnotationWindowController : public QObject
{
    Q_OBJECT

public:
    AnnotationWindowController();
    ~AnnotationWindowController() override;

    // Opens a window in front of the others, at once or as soon as there is memory for decoding. Beeps if the file is not
    // a picture or cannot be read.
    void open(const QString &path); // absolute

    // The one opened last; null once it is closed.
    AnnotationView *window() const { return m_windows.isEmpty() ? nullptr : m_windows.last().data(); }

    // At the start: a window with what was being drawn when the application ended, if anything was. It comes up once the
    // pictures have been looked at, which may be on a slow network folder.
    void offerDrafts();

    // Before quitting. Windows with something to lose ask, one after the other; done is called when none is left that
    // has, and never if one stays open.
    void askAll(std::function<void()> done);
    void storeDrafts(); // of all windows, at once
    void endSession();  // the same, and none of them asks when it is closed

    bool stop(std::chrono::milliseconds limit); // at quit; false if a picture is still being looked at or loaded then

private:
    enum class Left { offer, resume }; // by an earlier editor of the picture
    void open(const QString &path, Left left);
    void show(const QString &path, const ImageFile::Result &loaded, Left left);
    void lookAtDrafts(std::function<void(const QList<Draft::Left> &)> seen);

    QList<QPointer<AnnotationView>> m_windows; // in the order of opening; deleted when closed, since pictures are large
    QPointer<DraftsWindow> m_drafts;
    LatestJob m_looking{2};
    QThreadPool m_loading; // when the memory for decoding is in use: the main thread can't wait for it
};

} // namespace qm
