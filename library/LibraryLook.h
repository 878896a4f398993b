#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QSplitter>
#include <QWidget>

class QPalette;

namespace qm {

// Colours and fonts that the library's views share, all of them derived from the palette and font in use.
namespace LibraryLook {

QColor hairline(const QColor &text);            // edges of pictures, lines between panes
QColor quietSelection(const QPalette &palette); // the ground of a selected row in a list without the focus
QColor marked(const QPalette &palette);         // the ground of words that were searched for
QFont caption(const QFont &font);

} // namespace LibraryLook

// A symbol as a picture in a layout, in the secondary text colour.
class SymbolView : public QWidget
{
public:
    SymbolView(const QString &symbol, int size, QWidget *parent = nullptr); // size in points

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
};

// A text in the secondary colour, centred, on as many lines as it needs.
class SecondaryLabel : public QLabel
{
public:
    explicit SecondaryLabel(const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

// What a search field stands in: its ground, rounded.
class FieldGround : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
};

// A splitter whose handle is a thin line.
class LineSplitter : public QSplitter
{
public:
    explicit LineSplitter(QWidget *parent = nullptr);

protected:
    QSplitterHandle *createHandle() override;
};

} // namespace qm
