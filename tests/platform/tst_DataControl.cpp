// The clipboard of a Wayland desktop, filled by a program without a window and read by another one.

#include "imaging/Pasteboard.h"
#include "platform/Clipboard.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/SwayDesktop.h"

#include <QMimeData>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_DataControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Larger than a pipe holds; another program's content replaces it.
    void pictures()
    {
        const QImage picture = PatternWindow::makePattern({700, 500}, 1);
        const QPointer<const QMimeData> content = Pasteboard::setContent({{picture, QSizeF(350, 250)}, {}});
        QVERIFY(Clipboard::holds(content));
        const QByteArray png = content->data(u"image/png"_s);
        QVERIFY(png.size() > 1 << 17);
        QCOMPARE(paste(u"image/png"_s), png);
        QCOMPARE(QImage::fromData(paste(u"image/bmp"_s)).convertToFormat(picture.format()), picture);
        QCOMPARE(paste(u"x-kde-force-image-copy"_s), QByteArray("1"));

        m_desktop.start(u"wl-copy"_s, {u"--foreground"_s, u"of another program"_s});
        QVERIFY(Desktop::wait([&] { return !content; }));
        QVERIFY(!Clipboard::holds(content));
        QCOMPARE(paste(u"text/plain"_s), QByteArray("of another program"));
    }

    void textAndNothing()
    {
        Clipboard::setText(u"灯台 lighthouse"_s);
        for (const QString &type : {u"text/plain;charset=utf-8"_s, u"UTF8_STRING"_s})
            QCOMPARE(QString::fromUtf8(paste(type)), u"灯台 lighthouse"_s);
        Clipboard::clear();
        QCOMPARE(m_desktop.run(u"wl-paste"_s, {u"--list-types"_s}), QByteArray());
    }

    // A window of this program may be the one that pastes, and waits.
    void whileTheMainThreadWaits()
    {
        Clipboard::setText(u"lighthouse"_s);
        QProcess paste;
        paste.start(u"wl-paste"_s, {u"--no-newline"_s});
        QVERIFY(paste.waitForFinished()); // no events of this program
        QCOMPARE(paste.readAllStandardOutput(), QByteArray("lighthouse"));
    }

    // It asks, and goes away without reading.
    void aReaderThatGoes()
    {
        const QMimeData *content =
            Pasteboard::setContent({{PatternWindow::makePattern({1500, 1000}, 1), QSizeF(1500, 1000)}, {}});
        m_desktop.run(u"sh"_s, {u"-c"_s, u"wl-paste --type image/png | head -c 10"_s});
        QVERIFY(Clipboard::holds(content));
        QCOMPARE(paste(u"image/png"_s), content->data(u"image/png"_s));
    }

private:
    QByteArray paste(const QString &type)
    {
        return m_desktop.run(u"wl-paste"_s, {u"--no-newline"_s, u"--type"_s, type});
    }

    SwayDesktop m_desktop{{{}}};
};

QTEST_MAIN(tst_DataControl)
#include "tst_DataControl.moc"
