#pragma once

#include <QColor>
#include <QFont>

class QPalette;

namespace qm {

// Colours and fonts shared by the library's views, all derived from the current palette and font.
namespace LibraryLook {

QColor hairline(const QColor &text);        // edges of pictures, lines between panes
QColor marked(const QPalette &palette);     // background of matched words
QColor markedText(const QPalette &palette); // for text on it, whatever surrounds it

// Of a row in the list. All its texts can be read, whatever accent colour the desktop has.
enum class RowState { plain, selected, selectedWithFocus };
struct RowColors {
    QColor ground, text, secondary;
};
RowColors rowColors(const QPalette &palette, RowState state);
QFont caption(const QFont &font);

} // namespace LibraryLook

} // namespace qm
