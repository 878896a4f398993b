#include "app/StatusMenu.h"

#include "ui/AppLocale.h"
#include "ui/WindowPlacement.h"

#include <QKeyEvent>
#include <QScreen>

namespace qm {

StatusMenu::StatusMenu(std::function<void(const Command &)> chosen)
{
    using Verb = Command::Verb;
    const auto add = [&](Verb verb, QStringView english, QStringView japanese, const QKeySequence &key = {}) {
        QAction *action = addAction(AppLocale::text(english, japanese), this,
                                    [chosen, verb] { chosen({.verb = verb, .isFromMenu = true}); });
        action->setShortcut(key);
        action->setShortcutVisibleInContextMenu(true);
        action->setMenuRole(QAction::NoRole); // macOS would move "Settings…" and "Quit" into an application menu
    };
    add(Verb::captureRegion, u"Capture Region  (tap)", u"範囲を撮る  （タップ）");
    add(Verb::captureWindow, u"Capture Window  (hold)", u"ウィンドウを撮る  （長押し）");
    add(Verb::captureScroll, u"Scrolling Capture  (region)", u"スクロールで撮る  （範囲選択）");
    add(Verb::openStore, u"Open Save Folder", u"保存先を開く");
    addSeparator();
    add(Verb::library, u"Library…", u"ライブラリ…", Qt::CTRL | Qt::Key_F);
    add(Verb::settings, u"Settings…", u"設定…", Qt::CTRL | Qt::Key_Comma);
    addSeparator();
    add(Verb::quit, u"Quit Quillmere", u"Quillmere を終了", Qt::CTRL | Qt::Key_Q);
    connect(this, &QMenu::aboutToShow, this, [this] { m_place = {}; }); // also when a tray is about to show it
}

QRect StatusMenu::takePlace()
{
    return std::exchange(m_place, {});
}

void StatusMenu::showEvent(QShowEvent *event)
{
    QMenu::showEvent(event);
    constexpr int shadow = 40; // points; compositors draw smaller ones
    m_place = WindowPlacement::toNative(geometry().adjusted(-shadow, -shadow, shadow, shadow), *screen());
}

// A menu without a window has no shortcut map, so look the key up here.
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
