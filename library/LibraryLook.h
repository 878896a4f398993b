#pragma once

#include <QColor>
#include <QFont>
#include <QWidget>

class QPalette;

namespace qm {

// Colours and fonts that the library's views share, all of them derived from the palette and font in use.
namespace LibraryLook {

QColor secondary(const QColor &text);           // for what is less important, on the same ground
QColor hairline(const QColor &text);            // the edge of a picture
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

} // namespace qm
