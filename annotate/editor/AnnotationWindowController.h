#pragma once

#include "annotate/editor/AnnotationView.h"
#include "imaging/ImageFile.h"

#include <QList>
#include <QPointer>
#include <QThreadPool>

#include <functional>

namespace qm {

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

    AnnotationView *window() const { return m_window; } // the one opened last; null once it is closed

    // Before quitting. Windows with something to lose ask, one after the other; done is called when none is left that
    // has, and never if one stays open.
    void askAll(std::function<void()> done);
    void storeDrafts(); // of all windows, at once
    void endSession();  // the same, and none of them asks when it is closed

private:
    void show(const QString &path, const ImageFile::Result &loaded);

    QList<QPointer<AnnotationView>> m_windows; // deleted when closed, since pictures are large
    QPointer<AnnotationView> m_window;
    QThreadPool m_loading; // when the memory for decoding is in use: the main thread can't wait for it
};

} // namespace qm
