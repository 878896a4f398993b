#include "ui/WindowPlacement.h"

#include <QTest>

using namespace qm;

class tst_WindowPlacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placed_data()
    {
        QTest::addColumn<QRect>("frame");
        QTest::addColumn<QSize>("window");
        QTest::addColumn<QPoint>("corner");
        QTest::newRow("centred, below the margin") << QRect(0, 25, 1280, 775) << QSize(940, 615) << QPoint(170, 73);
        QTest::newRow("on the second screen") << QRect(1280, 0, 800, 600) << QSize(600, 400) << QPoint(1380, 48);
        QTest::newRow("no room for the margin") << QRect(0, 25, 1280, 775) << QSize(940, 760) << QPoint(170, 40);
        QTest::newRow("larger than the screen") << QRect(10, 20, 500, 400) << QSize(560, 420) << QPoint(10, 20);
    }
    void placed()
    {
        QFETCH(QRect, frame);
        QFETCH(QSize, window);
        QTEST(WindowPlacement::placed(frame, window, 48), "corner");
    }
};

QTEST_MAIN(tst_WindowPlacement)
#include "tst_WindowPlacement.moc"
