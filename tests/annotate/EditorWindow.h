#pragma once

#include "annotate/document/TextLine.h"
#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/AnnotationView.h"
#include "annotate/editor/EditorBars.h"
#include "annotate/editor/PositionMarks.h"
#include "annotate/editor/SelectionMarks.h"
#include "annotate/render/AnnotationRenderer.h"
#include "tests/annotate/CanvasEvents.h"
#include "tests/annotate/SampleDocument.h"
#include "tests/support/Pixels.h"

#include <QAbstractButton>
#include <QLineEdit>
#include <QPainter>
#include <QScreen>
#include <QTest>

namespace qm {

// An editor as a person has it before them. The canvas is as large as the picture: until something is zoomed, view points and
// image points agree.
class EditorWindow
{
public:
    explicit EditorWindow(const AnnotationDoc &doc, const QString &path = QStringLiteral("/somewhere/a.b.png"))
        : view(doc, path)
    {
        view.resize(doc.source.size.toSize());
        view.show();
        view.activateWindow();
        if (!QTest::qWaitForWindowActive(&view))
            qFatal("the editor does not become active");
        view.resize(doc.source.size.toSize() + QSize(0, view.height() - canvas.height())); // the bars come on top
        QCoreApplication::processEvents();
        sharpen();
    }

    const EditorState &state() const { return view.state(); }
    const QList<Annotation> &items() const { return state().doc.items; }
    void choose(AnnotationTool tool) { key(EditorToolBar::key(tool)); }
    void key(QKeyCombination keys) // to the text field where one is open
    {
        QWidget *focus = canvas.textField() ? static_cast<QWidget *>(canvas.textField()) : &canvas;
        QTest::keyClick(focus, keys.key(), keys.keyboardModifiers());
    }

    QAbstractButton *button(const QString &help) const // or its words
    {
        for (auto *found : view.findChildren<QAbstractButton *>()) {
            if (found->toolTip() == help || found->accessibleName() == help)
                return found;
        }
        qFatal("no button %s", qPrintable(help));
    }
    void click(const QString &help) const
    {
        QTest::mouseClick(button(help), Qt::LeftButton);
        QCoreApplication::processEvents();
    }

    void sharpen() // without waiting until the size has rested
    {
        QShowEvent shown;
        QApplication::sendEvent(&canvas, &shown);
    }

    // Whether every pixel that the canvas has on the screen is what an export of that size has, but for so many levels, and for
    // what marks or a text field lie over.
    bool showsTheExport(int levels = 0) const { return showsTheExport(view, levels); }
    static bool showsTheExport(const AnnotationView &view, int levels)
    {
        const AnnotationCanvasView &canvas = *view.canvas();
        QCoreApplication::processEvents();
        AnnotationDoc doc = canvas.doc;
        if (canvas.draft())
            doc.items << *canvas.draft();
        const double ratio = canvas.devicePixelRatioF();
        const CanvasMapping mapping = canvas.mapping();
        const double most = ratio * std::max(mapping.display.width(), mapping.display.height());
        const QImage frame = AnnotationRenderer::render(doc, most).pixels;
        QImage shown = canvas.screen()
                           ->grabWindow(view.winId(), canvas.x(), canvas.y(), canvas.width(), canvas.height())
                           .toImage()
                           .convertToFormat(QImage::Format_RGB32);
        shown.setDevicePixelRatio(1);
        QImage exported(shown.size(), QImage::Format_RGB32);
        exported.fill(canvas.palette().color(QPalette::Window));
        const QRectF place(mapping.display.x() * ratio, (canvas.height() - mapping.display.bottom()) * ratio,
                           mapping.display.width() * ratio, mapping.display.height() * ratio);
        QRect target(place.topLeft().toPoint(), frame.size());
        const bool scaled =
            std::abs(place.width() - frame.width()) >= 1 || std::abs(place.height() - frame.height()) >= 1;
        if (scaled)
            target.setBottomRight(place.bottomRight().toPoint() - QPoint(1, 1));
        QPainter painter(&exported);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(target, frame);
        painter.end();
        for (int y = 0; target.width() > 2 * frame.width() && y < exported.height(); ++y) { // sharp squares
            for (int x = 0; x < exported.width(); ++x) {
                const QPointF under((x + 0.5 - target.x()) * frame.width() / target.width(),
                                    (y + 0.5 - target.y()) * frame.height() / target.height());
                if (QRectF(frame.rect()).contains(under))
                    exported.setPixel(x, y, frame.pixel(int(under.x()), int(under.y())));
            }
        }
        const QTransform toWidget(1, 0, 0, -1, 0, canvas.height());
        QRegion covered;
        if (canvas.tool == AnnotationTool::select && view.state().selectedItem())
            covered |= SelectionMarks::of(*view.state().selectedItem(), mapping).bounds(toWidget);
        if (const QLineEdit *field = canvas.textField())
            covered |= field->geometry();
        for (const QRectF &mark : PositionMarks::of(mapping))
            covered |= mark.toAlignedRect();
        if (canvas.draft() && canvas.tool == AnnotationTool::crop)
            covered |= canvas.rect(); // what it would cut off is dimmed
        for (QImage *image : {&shown, &exported}) {
            QPainter cover(image);
            cover.scale(ratio, ratio);
            for (const QRect &rect : covered)
                cover.fillRect(rect, Qt::black);
        }
        return Pixels::near(shown, exported, levels);
    }

    AnnotationView view;
    AnnotationCanvasView &canvas = *view.canvas();
    CanvasEvents events{canvas};
};

} // namespace qm
