#pragma once

#include "imaging/ImageFile.h"

#include <QList>
#include <QPointer>
#include <QThreadPool>
#include <QWidget>

#include <memory>

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

    QWidget *window() const { return m_window.get(); } // the one opened last, even if closed since; null before

private:
    void show(const QString &path, const ImageFile::Result &loaded);
    void letGo();

    std::unique_ptr<QWidget> m_window;
    QThreadPool m_loading;              // when the memory for decoding is in use: the main thread can't wait for it
    QList<QPointer<QWidget>> m_earlier; // still open; deleted when closed
};

} // namespace qm
