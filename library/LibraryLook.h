#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QSplitter>
#include <QWidget>

class QPalette;

namespace qm {

// Colours and fonts shared by the library's views, all derived from the current palette and font.
namespace LibraryLook {

QColor hairline(const QColor &text);            // edges of pictures, lines between panes
QColor quietSelection(const QPalette &palette); // background of a selected row in a list without focus
QColor marked(const QPalette &palette);         // background of matched words
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

// Text in the secondary colour, centred and wrapped.
class SecondaryLabel : public QLabel
{
public:
    explicit SecondaryLabel(const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

// Rounded background of a search field.
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
