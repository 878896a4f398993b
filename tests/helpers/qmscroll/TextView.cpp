// A page of text in a Qt view, for scrolling captures: text_view KIND X,Y,WIDTH,HEIGHT LINES TRUTH
// KIND: browser (scrolls by pixels) or plain (by lines). Writes to TRUTH what the view holds as one tall picture, as wide as
// its viewport, and says on stdout where the viewport is once it is shown.

#include <QApplication>
#include <QPlainTextEdit>
#include <QTextBrowser>
#include <QWindow>

#include <cstdio>
#include <memory>

namespace {

QString line(int number)
{
    return number % 7 == 3 ? QStringLiteral("%1  日本語の行、番号は %2 番です。").arg(number, 4).arg(number * 37 % 1009)
                           : QStringLiteral("%1  No two lines of this page are alike: %2.")
                                 .arg(number, 4)
                                 .arg(number * 7919 % 10007);
}

QString page(int lines)
{
    QString html;
    for (int i = 0; i < lines; ++i) {
        if (i % 25 == 0)
            html += QStringLiteral("<h2>Chapter %1</h2>").arg(i / 25 + 1);
        html += QStringLiteral("<p>%1</p>").arg(line(i).toHtmlEscaped());
    }
    return html;
}

int contentHeight(const QAbstractScrollArea &view)
{
    if (const auto *plain = qobject_cast<const QPlainTextEdit *>(&view))
        return plain->blockCount() * QFontMetrics(plain->font()).lineSpacing() * 3 /
               2; // with room for other scripts' lines
    return int(static_cast<const QTextEdit &>(view).document()->size().height());
}

// The same view without a screen, as tall as all of its text.
void writeTruth(QAbstractScrollArea &view, const QSize &content, const QString &path)
{
    view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.resize(content);
    QImage image(content, QImage::Format_RGB32);
    image.fill(Qt::white);
    view.viewport()->render(&image);
    image.save(path);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 5)
        return 2;
    const QStringList place = arguments[2].split(u',');
    const QRect area(place[0].toInt(), place[1].toInt(), place[2].toInt(), place[3].toInt());
    const int lines = arguments[3].toInt();
    const bool plain = arguments[1] == QLatin1String("plain");

    const auto make = [&]() -> std::unique_ptr<QAbstractScrollArea> {
        if (plain) {
            QStringList texts;
            for (int i = 0; i < lines; ++i)
                texts += line(i);
            auto view = std::make_unique<QPlainTextEdit>(texts.join(u'\n'));
            view->setReadOnly(true);
            return view;
        }
        auto view = std::make_unique<QTextBrowser>();
        view->setHtml(page(lines));
        return view;
    };
    const std::unique_ptr<QAbstractScrollArea> view = make();
    view->setFrameShape(QFrame::NoFrame);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setWindowFlag(Qt::BypassWindowManagerHint);
    view->setGeometry(area);
    view->show();

    while (!view->windowHandle()->isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const QRect viewport(view->viewport()->mapToGlobal(QPoint()), view->viewport()->size());
    const std::unique_ptr<QAbstractScrollArea> tall = make();
    tall->setFrameShape(QFrame::NoFrame);
    writeTruth(*tall, {viewport.width(), contentHeight(*view)}, arguments[4]);
    std::printf("%d %d %d %d\n", viewport.x(), viewport.y(), viewport.width(), viewport.height());
    std::fflush(stdout);
    return QApplication::exec();
}
