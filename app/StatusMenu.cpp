#include "app/StatusMenu.h"

#include "app/base/AppLocale.h"

#include <QKeyEvent>

namespace qm {

StatusMenu::StatusMenu(std::function<void(Item)> chosen)
{
    const auto add = [&](Item item, QStringView english, QStringView japanese, const QKeySequence &key = {}) {
        QAction *action = addAction(AppLocale::text(english, japanese), this, [chosen, item] { chosen(item); });
        action->setShortcut(key);
        action->setShortcutVisibleInContextMenu(true);
        action->setMenuRole(QAction::NoRole); // macOS would take "Settings…" and "Quit" away into an application menu
    };
    add(Item::captureRange, u"Capture Region  (tap)", u"範囲を撮る  （タップ）");
    add(Item::captureWindow, u"Capture Window  (hold)", u"ウィンドウを撮る  （長押し）");
    add(Item::scrollCapture, u"Scrolling Capture  (region)", u"スクロールで撮る  （範囲選択）");
    add(Item::openStore, u"Open Save Folder", u"保存先を開く");
    addSeparator();
    add(Item::openLibrary, u"Library…", u"ライブラリ…", Qt::CTRL | Qt::Key_F);
    add(Item::openSettings, u"Settings…", u"設定…", Qt::CTRL | Qt::Key_Comma);
    addSeparator();
    add(Item::quit, u"Quit Quillmere", u"Quillmere を終了", Qt::CTRL | Qt::Key_Q);
}

// A menu without a window has no shortcut map that would look for them.
void StatusMenu::keyPressEvent(QKeyEvent *event)
{
    const QKeySequence pressed(event->keyCombination());
    for (QAction *action : actions()) {
        if (!action->shortcut().isEmpty() && action->shortcut() == pressed) {
            close();
            action->trigger();
            return;
        }
    }
    QMenu::keyPressEvent(event);
}

} // namespace qm
