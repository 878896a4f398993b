// A page in a real browser, with a header that sticks: every row of the picture is one of the browser's own, at its place,
// none is missing and none is there twice. A ruler at the page's side tells each row's place by its colour.

#include "tests/helpers/qmscroll/ViewDriver.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QTest>

using namespace qm;

namespace {

constexpr int pageHeight = 12'000;
constexpr int headerHeight = 64;
constexpr int rulerWidth = 8;
constexpr QRgb headerColor = 0xff224466;

// Neither colour of the ruler's is any other on the page, by their blue.
QRgb rulerColor(int y)
{
    return qRgb(y & 0xff, y >> 8, 0x5a);
}

int rulerPlace(QRgb color) // -1: not the ruler
{
    return qBlue(color) == 0x5a ? qRed(color) | qGreen(color) << 8 : -1;
}

QByteArray page()
{
    QImage ruler(rulerWidth, pageHeight, QImage::Format_RGB32);
    for (int y = 0; y < pageHeight; ++y)
        std::fill_n(reinterpret_cast<QRgb *>(ruler.scanLine(y)), rulerWidth, rulerColor(y));
    QByteArray png;
    QBuffer file(&png);
    file.open(QIODevice::WriteOnly);
    ruler.save(&file, "PNG");

    QByteArray lines;
    for (int i = 0; i < (pageHeight - headerHeight) / 40; ++i) {
        lines += "<p>" + QByteArray::number(i) +
                 "  No two lines of this page are alike: " + QByteArray::number(i * 7919 % 10007) +
                 (i % 7 == 3 ? " 日本語の行" : "") + "</p>";
    }
    return "<!doctype html><meta charset=utf-8><title>A page</title><style>"
           "body{margin:0;font:16px sans-serif;position:relative;height:12000px}"
           "header{position:sticky;top:0;height:64px;background:#224466;color:white;z-index:1}"
           "img{position:absolute;left:0;top:0;width:8px;height:12000px}"
           "p{margin:0 0 0 20px;height:40px;line-height:40px}</style>"
           "<img src='data:image/png;base64," +
           png.toBase64() + "'><header>The header stays</header>" + lines;
}

} // namespace

class tst_BrowserPage : public QObject
{
    Q_OBJECT

public:
    explicit tst_BrowserPage(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void everyRowOnce();

private:
    QRect startBrowser();
    QHash<int, QImage> ownRows(const QRect &region);

    Desktop &m_desktop;
};

// Answers where the page is shown, without the scroll bar.
QRect tst_BrowserPage::startBrowser()
{
    m_desktop.home().write(QStringLiteral("page.html"), page());
    // In a network name space of its own: whatever it wants to look up or send, there is nothing to reach.
    m_desktop.start(QStringLiteral("unshare"),
                    {QStringLiteral("-rn"), QStringLiteral("chromium"), QStringLiteral("--no-sandbox"),
                     QStringLiteral("--test-type"), QStringLiteral("--no-first-run"), QStringLiteral("--disable-gpu"),
                     QStringLiteral("--disable-background-networking"), QStringLiteral("--disable-component-update"),
                     QStringLiteral("--disable-sync"), QStringLiteral("--disable-extensions"),
                     QStringLiteral("--password-store=basic"),
                     QStringLiteral("--user-data-dir=") + m_desktop.home().file(QStringLiteral("browser")),
                     QStringLiteral("--window-position=60,40"), QStringLiteral("--window-size=900,720"),
                     QStringLiteral("--app=file://") + m_desktop.home().file(QStringLiteral("page.html"))});
    QRect header;
    const bool shown = Desktop::wait(
        [&] {
            const QImage now = m_desktop.picture();
            header = {};
            for (int y = 0; y < now.height(); ++y) {
                for (int x = 0; x < now.width(); ++x) {
                    if ((now.pixel(x, y) | 0xff000000) == headerColor)
                        header |= QRect(x, y, 1, 1);
                }
            }
            return header.height() == headerHeight;
        },
        std::chrono::seconds(60));
    const std::optional<Desktop::Window> window = m_desktop.windowTitled(QStringLiteral("A page"));
    if (!shown || !window)
        qFatal("the browser shows nothing");
    return QRect(header.topLeft(), QPoint(header.right(), window->content.bottom()));
}

// All of the page as the browser shows it, by each row's place: from the end, where the capture left it, up to its top.
QHash<int, QImage> tst_BrowserPage::ownRows(const QRect &region)
{
    QHash<int, QImage> rows;
    for (QImage frame, last; (frame = m_desktop.stillPicture().copy(region)) != last; last = frame) {
        for (int y = headerHeight; y < frame.height(); ++y)
            rows.insert(rulerPlace(frame.pixel(2, y)), frame.copy(0, y, frame.width(), 1));
        for (int i = 0; i < 3; ++i)
            m_desktop.click(region.center(), Button::wheelUp);
        const QImage now = frame;
        Desktop::wait([&] { return m_desktop.picture(region) != now; }, std::chrono::seconds(2));
    }
    return rows;
}

void tst_BrowserPage::everyRowOnce()
{
    const QRect region = startBrowser();
    const QImage first = m_desktop.stillPicture().copy(region);
    ViewDriver driver(m_desktop);
    QProcess &helper = driver.startCapture(region);
    QVERIFY(Desktop::wait([&] { return helper.state() == QProcess::NotRunning; }, std::chrono::seconds(120)));
    QCOMPARE(helper.readAllStandardError(), QByteArray());

    const QImage taken = driver.picture().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(taken.size(), QSize(region.width(), pageHeight));
    QCOMPARE(taken.copy(0, 0, region.width(), headerHeight), first.copy(0, 0, region.width(), headerHeight));
    const QHash<int, QImage> own = ownRows(region);
    for (int y = headerHeight; y < pageHeight; ++y) {
        const QByteArray where = "row " + QByteArray::number(y);
        QVERIFY2(rulerPlace(taken.pixel(2, y)) == y, where.constData());
        QVERIFY2(own.contains(y), where.constData());
        QVERIFY2(taken.copy(0, y, taken.width(), 1) == own[y], where.constData());
    }
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.size = {1280, 900}, .panel = false});
    tst_BrowserPage test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_BrowserPage.moc"
