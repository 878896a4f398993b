// Pictures of the editor, for looking at: render_editor OUT.png [--dark] [--select N] [--tool KEY] [--narrow]
// In the language and at the scale that the environment asks for.
#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/AnnotationView.h"
#include "tests/annotate/CanvasEvents.h"
#include "tests/annotate/SampleDocument.h"

#include <QCommandLineParser>
#include <QLineEdit>
#include <QTest>

using namespace qm;

static QPalette darkPalette()
{
    const QColor window(45, 45, 48), base(30, 30, 32), text(235, 235, 238);
    QPalette palette(text, window.lighter(125), window.lighter(150), base.darker(140), window.darker(130), text,
                     Qt::white, base, window);
    palette.setColor(QPalette::Highlight, QColor(10, 110, 220));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, window);
    palette.setColor(QPalette::ToolTipText, text);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(120, 120, 124));
    return palette;
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QCommandLineParser words;
    words.addOptions({{QStringLiteral("dark"), {}},
                      {QStringLiteral("narrow"), {}},
                      {QStringLiteral("select"), {}, QStringLiteral("N")},
                      {QStringLiteral("tool"), {}, QStringLiteral("KEY")}});
    words.process(app);
    AnnotationView view(sampleDocument(2), QStringLiteral("/sample.png"));
    view.setMinimumSize(560, 420);
    view.resize(words.isSet(QStringLiteral("narrow")) ? QSize(560, 420) : QSize(940, 660));
    view.show();
    // After it is shown, as when the desktop turns dark at dusk.
    if (words.isSet(QStringLiteral("dark")))
        QApplication::setPalette(darkPalette());
    if (!QTest::qWaitForWindowActive(&view))
        return 1;
    AnnotationCanvasView &canvas = *view.canvas();
    CanvasEvents events(canvas);
    QTest::keyClick(&canvas, Qt::Key_V);
    if (words.isSet(QStringLiteral("select")))
        events.click(
            canvas.mapping().toView(canvas.doc.items[words.value(QStringLiteral("select")).toInt()].rect.center()));
    if (const QString key = words.value(QStringLiteral("tool")); !key.isEmpty())
        QTest::keyClick(&canvas, key[0].toLatin1());
    if (words.value(QStringLiteral("tool")) == QStringLiteral("t")) {
        events.click({300, 300});
        QTest::keyClicks(canvas.textField(), QStringLiteral("typed"));
        canvas.textField()->insert(QStringLiteral("入力する字gjpq"));
    }
    QCoreApplication::processEvents();
    return view.grab().save(words.positionalArguments().value(0)) ? 0 : 1;
}
