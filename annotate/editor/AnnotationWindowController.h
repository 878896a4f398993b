#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

#include <memory>

namespace qm {

// Opens pictures in editor windows, each with its own document and history. Main thread; lives as long as the
// application.
class AnnotationWindowController : public QObject
{
    Q_OBJECT

public:
    ~AnnotationWindowController() override;

    // Opens a window in front of the others. Beeps if the file is not a picture or cannot be read.
    void open(const QString &path); // absolute

    QWidget *window() const { return m_window.get(); } // the one opened last, even if closed since; null before

private:
    void letGo();

    std::unique_ptr<QWidget> m_window;
    QList<QPointer<QWidget>> m_earlier; // still open; deleted when closed
};

} // namespace qm
