#pragma once

#include <QColor>
#include <QFont>

class QPalette;

namespace qm {

// Colours and fonts shared by the library's views, all derived from the current palette and font.
namespace LibraryLook {

QColor hairline(const QColor &text);            // edges of pictures, lines between panes
QColor quietSelection(const QPalette &palette); // background of a selected row in a list without focus
QColor marked(const QPalette &palette);         // background of matched words
QFont caption(const QFont &font);

} // namespace LibraryLook

} // namespace qm
