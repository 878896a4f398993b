// Duration of a scrolling capture, compared with what the scrolled program alone needs: the same steps, waiting by the
// same rules, but nothing selected, stitched, shown or written.

#include "bench/ScreenText.h"
#include "helpers/qmscroll/FrameChange.h"
#include "helpers/qmscroll/ScrollSession.h"
#include "helpers/x11/XConnection.h"
#include "helpers/x11/overlay/ScreenPixels.h"
#include "tests/support/Desktop.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextDocument>
#include <QThread>
#include <QWheelEvent>
#include <QWindow>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

using namespace qm;
using Milliseconds = ScrollSession::Milliseconds;
using Order = ScrollSession::Order;

static constexpr QSize screen(1600, 1100);
static constexpr QRect region(100, 20, 1000, 800);
static constexpr int paragraphs = 210; // about 12,000 pixels
static constexpr int pixelsPerClick = 57;
static constexpr int runs = 3;

namespace {

// Scrolls smoothly like a browser: for a fifth of a second after each turn of the wheel.
class SmoothView : public QTextBrowser
{
    void wheelEvent(QWheelEvent *event) override
    {
        QScrollBar &bar = *verticalScrollBar();
        const int from =
            m_animation.state() == QAbstractAnimation::Running ? m_animation.endValue().toInt() : bar.value();
        m_animation.stop();
        m_animation.setTargetObject(&bar);
        m_animation.setPropertyName("value");
        m_animation.setDuration(200);
        m_animation.setStartValue(bar.value());
        m_animation.setEndValue(std::clamp(from - event->angleDelta().y() * pixelsPerClick / 120, 0, bar.maximum()));
        m_animation.start();
    }
    QPropertyAnimation m_animation;
};

// The scrolled program: this binary, started a second time.
int showView(int argc, char **argv)
{
    QApplication application(argc, argv);
    std::unique_ptr<QTextBrowser> view =
        argv[2] == QByteArray("smooth") ? std::make_unique<SmoothView>() : std::make_unique<QTextBrowser>();
    QString html;
    QRandomGenerator random(7);
    for (int i = 0; i < paragraphs; ++i)
        html += QStringLiteral("<p>%1</p>").arg(bench::screenText(random, 100 + random.bounded(600)));
    view->setHtml(html);
    view->setFrameShape(QFrame::NoFrame);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->setWindowFlag(Qt::BypassWindowManagerHint);
    view->setGeometry(region);
    view->show();
    view->document()->size(); // lays out everything now, outside the measurement
    while (!view->windowHandle()->isExposed())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::puts("shown");
    std::fflush(stdout);
    return QApplication::exec();
}

// Returns milliseconds, and the number of steps in steps.
double bareLoop(Desktop &desktop, XConnection &server, int &steps)
{
    std::array<ScreenGrab, 2> grabs = {ScreenGrab(server, region.size()), ScreenGrab(server, region.size())};
    ScrollSession session({.regionHeight = region.height(), .heightLimit = std::numeric_limits<int>::max()});
    desktop.movePointer(region.center());
    QElapsedTimer time;
    time.start();
    const auto now = [&time] { return Milliseconds(time.elapsed()); };
    QImage last, joined;
    int clicks = 0;
    int height = region.height();
    steps = 0;
    for (size_t turn = 0;; turn ^= 1) {
        const QImage frame = grabs[turn].takeScreen(region);
        ScrollSession::Sight sight;
        sight.changed = last.isNull() || differs(frame, last);
        sight.fresh = joined.isNull() || differs(frame, joined);
        last = frame;
        Order order = session.look(now(), sight);
        if (order.kind == Order::Kind::join) {
            const bool isFirst = joined.isNull();
            joined = frame.copy();
            height += clicks * pixelsPerClick;
            order = session.joined(now(), {.step = isFirst ? Stitcher::Step::first : Stitcher::Step::joined,
                                           .shift = clicks * pixelsPerClick,
                                           .height = height,
                                           .moving = region.height()});
        }
        if (order.kind == Order::Kind::end)
            return double(time.nsecsElapsed()) / 1e6;
        if (order.kind == Order::Kind::scroll) {
            clicks = order.clicks;
            ++steps;
            for (int i = 0; i < clicks; ++i) {
                desktop.buttonDown(Button::wheelDown);
                desktop.buttonUp(Button::wheelDown);
            }
        }
        QThread::msleep(order.wait.count());
    }
}

// Milliseconds from the drawn region to the end of the program.
double capture(Desktop &desktop, const QString &path)
{
    QProcess &helper = desktop.start(QCoreApplication::applicationDirPath() + QStringLiteral("/qmscroll"),
                                     {QStringLiteral("--region"), path});
    const QColor before = desktop.pixel({5, 5});
    Desktop::wait([&] { return desktop.pixel({5, 5}) != before; });
    desktop.stillPicture();
    desktop.movePointer(region.topLeft());
    desktop.buttonDown();
    for (int i = 1; i <= 4; ++i)
        desktop.movePointer(region.topLeft() + (region.bottomRight() - region.topLeft()) * i / 4);
    QElapsedTimer time;
    time.start();
    desktop.buttonUp();
    helper.waitForFinished(60'000);
    return double(time.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && argv[1] == QByteArray("--view"))
        return showView(argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Desktop desktop({.size = screen, .panel = false});
    qputenv("DISPLAY", desktop.display().toLatin1());
    const std::unique_ptr<XConnection> server = XConnection::open();
    for (const char *kind : {"plain", "smooth"}) {
        double bare = std::numeric_limits<double>::max(), whole = bare;
        int steps = 0;
        int height = 0;
        for (int i = 0; i < 2 * runs; ++i) {
            QProcess &view = desktop.start(QCoreApplication::applicationFilePath(),
                                           {QStringLiteral("--view"), QString::fromLatin1(kind)},
                                           {QStringLiteral("QT_QPA_PLATFORM=xcb")});
            view.waitForReadyRead(20'000);
            desktop.stillPicture();
            if (i % 2 == 0) {
                bare = std::min(bare, bareLoop(desktop, *server, steps));
            } else {
                const QString path = desktop.home().file(QStringLiteral("a.png"));
                whole = std::min(whole, capture(desktop, path));
                height = QImage(path).height();
            }
            view.kill();
            view.waitForFinished();
        }
        std::printf("%-6s view, %d px in %d steps: %6.0f ms  %.2f x its waits (%.0f ms; at most 1.3)\n", kind, height,
                    steps, whole, whole / bare, bare);
    }
    return 0;
}
