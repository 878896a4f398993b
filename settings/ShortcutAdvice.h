#pragma once

#include <QString>

namespace qm {

// How a key of the desktop's own is bound to a command of ours, for when the trigger key cannot be heard.
struct ShortcutAdvice {
    QString where; // a sentence: what is to be done with the lines
    QString lines; // to be copied as they are
};

// desktops is XDG_CURRENT_DESKTOP, names between colons; program what is typed to run Quillmere.
ShortcutAdvice shortcutAdvice(const QString &desktops, const QString &program);

} // namespace qm
