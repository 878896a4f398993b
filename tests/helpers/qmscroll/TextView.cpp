// A page of text in a Qt view, for scrolling captures: text_view TITLE X,Y,WIDTH,HEIGHT LINES KIND TRUTH
// KIND: browser (scrolls by pixels) or plain (by lines). Writes to TRUTH what the view holds as one tall picture, as wide as
// its viewport, and says on stdout where the viewport is once it is shown.

#include <QApplication>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTimer>

#include <cstdio>

namespace {

QString line(int number)
{
    return number % 7 == 3
               ? QStringLiteral("%1  日本語の行、番号は %2 番です。").arg(number, 4).arg(number * 37 % 1009)
               : QStringLiteral("%1  No two lines of this page are alike: %2.").arg(number, 4).arg(number * 7919 % 10007);
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

// The same view without a screen, as tall as all of its text.
QImage truth(QAbstractScrollArea &view, const QSize &content)
{
    view.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view.resize(content);
    QImage image(content, QImage::Format_RGB32);
    image.fill(Qt::white);
    view.viewport()->render(&image);
    return image;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 6)
        return 2;
    const QStringList place = arguments[2].split(u',');
    const QRect area(place[0].toInt(), place[1].toInt(), place[2].toInt(), place[3].toInt());
    const int lines = arguments[3].toInt();
    const bool plain = arguments[4] == QLatin1String("plain");

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
    view->setWindowTitle(arguments[1]);
    view->setWindowFlag(Qt::BypassWindowManagerHint);
    view->setGeometry(area);
    view->show();

    QTimer::singleShot(0, view.get(), [&] {
        const QRect viewport(view->viewport()->mapToGlobal(QPoint()), view->viewport()->size());
        const std::unique_ptr<QAbstractScrollArea> tall = make();
        tall->setFrameShape(QFrame::NoFrame);
        const QScrollBar &bar = *view->verticalScrollBar();
        const int pixels = plain ? int(static_cast<QPlainTextEdit &>(*view).blockCount()) *
                                           QFontMetrics(view->font()).lineSpacing() +
                                       8
                                 : bar.maximum() + viewport.height();
        truth(*tall, {viewport.width(), pixels}).save(arguments[5]);
        std::printf("%d %d %d %d\n", viewport.x(), viewport.y(), viewport.width(), viewport.height());
        std::fflush(stdout);
    });
    return QApplication::exec();
}
