#pragma once

#include <QColor>
#include <QFont>

class QPalette;

namespace qm {

// Colours and fonts that the library's views share, all of them derived from the palette and font in use.
namespace LibraryLook {

QColor hairline(const QColor &text);            // edges of pictures, lines between panes
QColor quietSelection(const QPalette &palette); // the ground of a selected row in a list without the focus
QColor marked(const QPalette &palette);         // the ground of words that were searched for
QFont caption(const QFont &font);

} // namespace LibraryLook

} // namespace qm
