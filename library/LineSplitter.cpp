#include "library/LineSplitter.h"

#include "library/LibraryLook.h"

#include <QPainter>
#include <QSplitterHandle>

namespace qm {

namespace {

class LineHandle : public QSplitterHandle
{
public:
    using QSplitterHandle::QSplitterHandle;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).fillRect(contentsRect(), LibraryLook::hairline(palette().color(QPalette::WindowText)));
    }
};

} // namespace

LineSplitter::LineSplitter(QWidget *parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setHandleWidth(1); // Qt makes a few points around it draggable
    setChildrenCollapsible(false);
}

QSplitterHandle *LineSplitter::createHandle()
{
    return new LineHandle(orientation(), this);
}

} // namespace qm
