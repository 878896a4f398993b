#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

#include <memory>

namespace qm {

// Opens pictures in editor windows, each with a document and a history of its own. Main thread; lives as long as the
// application.
class AnnotationWindowController : public QObject
{
    Q_OBJECT

public:
    ~AnnotationWindowController() override;

    // Opens a window in front of the others. A file that is no picture, or cannot be read: a beep, and nothing else.
    void open(const QString &path); // absolute

    QWidget *window() const { return m_window.get(); } // the one opened last, also when it is closed; null before

private:
    void letGo();

    std::unique_ptr<QWidget> m_window;
    QList<QPointer<QWidget>> m_earlier; // still open; deleted when they close
};

} // namespace qm
