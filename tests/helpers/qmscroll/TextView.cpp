// TextView text|list: a long text or list in Qt, for tools/scroll; see View in programs.py there.

#include <QApplication>
#include <QListWidget>
#include <QScrollBar>
#include <QSocketNotifier>
#include <QTextBrowser>

#include <iostream>
#include <memory>

static std::unique_ptr<QAbstractScrollArea> makeView(bool isList)
{
    QStringList lines;
    for (int i = 0; i < 200; ++i)
        lines << QString::number(i * 7919 % 10007) + QStringLiteral(" river stone 長いページ").repeated(i % 7 + 1);
    if (!isList) {
        auto text = std::make_unique<QTextBrowser>();
        text->setPlainText(lines.join(QStringLiteral("\n\n")));
        return text;
    }
    auto list = std::make_unique<QListWidget>();
    list->addItems(lines + lines.mid(50));
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    return list;
}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const std::unique_ptr<QAbstractScrollArea> view = makeView(argv[1] == QByteArray("list"));
    view->setFrameShape(QFrame::NoFrame);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    view->setGeometry(0, 0, 700, 560);
    view->show();
    const QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&view] {
        int row = 0;
        if (!(std::cin >> row))
            return QApplication::quit();
        QScrollBar &bar = *view->verticalScrollBar();
        const double scale = view->devicePixelRatioF();
        if (row >= 0)
            bar.setValue(qRound(row / scale));
        for (const int points : {0, 0, view->width(), view->height(), bar.value()})
            std::cout << qRound(points * scale) << ' ';
        std::cout << qRound((bar.maximum() + view->height()) * scale) << std::endl;
    });
    return QApplication::exec();
}
