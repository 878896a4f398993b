// A page in a real browser, with a header that sticks: the picture begins with the header, and all that the browser shows
// of the page on the way back to its beginning stands in the picture in one piece, none of it twice.

#include "tests/helpers/qmscroll/ViewDriver.h"

#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

static constexpr int pageHeight = 12'000;
static constexpr int headerHeight = 64;

class tst_BrowserPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRowOnce()
    {
        const QRect region = startBrowser();
        const QImage first = m_desktop.stillPicture().copy(region);
        ViewDriver driver(m_desktop);
        const QProcess &helper = driver.startCapture(region);
        QVERIFY(Desktop::ended(helper));
        const QImage taken = driver.picture();
        QCOMPARE(taken.size(), QSize(region.width(), pageHeight));
        QCOMPARE(taken.copy(first.rect()), first);

        int known = pageHeight; // from here on the picture is the page
        for (QImage frame, last; (frame = m_desktop.stillPicture().copy(region)) != last; last = frame) {
            const QImage content = frame.copy(0, headerHeight, frame.width(), frame.height() - headerHeight);
            int at = std::min(known, pageHeight - content.height());
            while (at >= 0 && taken.copy(QRect(QPoint(0, at), content.size())) != content)
                --at;
            QVERIFY2(at >= 0 && at + content.height() >= known, QByteArray::number(known).constData());
            known = at;
            for (int i = 0; i < 3; ++i)
                m_desktop.click(region.center(), Button::wheelUp);
            Desktop::wait([&] { return m_desktop.picture(region) != frame; }, std::chrono::seconds(2));
        }
        QCOMPARE(known, headerHeight);
    }

private:
    // Answers where the page is shown, without the scroll bar.
    QRect startBrowser()
    {
        QByteArray page = "<!doctype html><meta charset=utf-8><title>A page</title><style>"
                          "body{margin:0;font:16px sans-serif;height:12000px}"
                          "header{position:sticky;top:0;height:64px;background:#224466}"
                          "p{margin:0 20px;height:40px;line-height:40px}</style><header></header>";
        for (int i = 0; i < (pageHeight - headerHeight) / 40; ++i)
            page += "<p>" + QByteArray::number(i) + " No two lines are alike: " + QByteArray::number(i * 7919 % 10007);
        m_desktop.home().write(u"page.html"_s, page);
        // In a network name space of its own: whatever it wants to look up or send, there is nothing to reach.
        m_desktop.start(u"unshare"_s,
                        {u"-rn"_s, u"chromium"_s, u"--no-sandbox"_s, u"--test-type"_s, u"--no-first-run"_s,
                         u"--disable-gpu"_s, u"--disable-background-networking"_s, u"--disable-component-update"_s,
                         u"--disable-sync"_s, u"--disable-extensions"_s, u"--password-store=basic"_s,
                         u"--user-data-dir="_s + m_desktop.home().file(u"browser"_s), u"--window-position=60,40"_s,
                         u"--window-size=900,720"_s, u"--app=file://"_s + m_desktop.home().file(u"page.html"_s)});
        QRect header;
        Desktop::wait([&] { return (header = m_desktop.find(0xff224466)).height() == headerHeight; },
                      std::chrono::seconds(60));
        const std::optional<Desktop::Window> window = m_desktop.windowTitled(u"A page"_s);
        if (!window)
            qFatal("the browser shows nothing");
        return QRect(header.topLeft(), QPoint(header.right(), window->content.bottom()));
    }

    Desktop m_desktop{{.size = {1280, 900}, .panel = false}};
};

QTEST_MAIN(tst_BrowserPage)
#include "tst_BrowserPage.moc"
