#include "settings/ShortcutAdvice.h"

#include "ui/AppLocale.h"

#include <QStringList>

namespace qm {

using AppLocale::text;

namespace {

struct Desktop {
    const char16_t *name; // as it calls itself
    const char16_t *where, *whereInJapanese;
    const char16_t *lines; // %1 is the program
};

constexpr char16_t inATerminal[] = u"Run this in a terminal; the keys are Shift+Super+R and Shift+Super+W:";
constexpr char16_t inATerminalInJapanese[] =
    u"端末で次のコマンドを実行してください。キーは Shift+Super+R と Shift+Super+W です。";

constexpr Desktop desktops[] = {
    {u"XFCE", u"Run this in a terminal:", u"端末で次のコマンドを実行してください。",
     u"xfconf-query -c xfce4-keyboard-shortcuts -n -t string -p '/commands/custom/<Shift>Print' -s '%1 "
     u"capture-region'\n"
     "xfconf-query -c xfce4-keyboard-shortcuts -n -t string -p '/commands/custom/<Shift><Super>Print' -s '%1 "
     "capture-window'"},
    {u"sway", u"Add this to your configuration, ~/.config/sway/config, and reload it:",
     u"設定ファイル ~/.config/sway/config に次の行を加え、再読み込みしてください。",
     u"bindsym Shift+Print exec %1 capture-region\nbindsym Shift+Mod4+Print exec %1 capture-window"},
    {u"Hyprland", u"Add this to your configuration, ~/.config/hypr/hyprland.conf:",
     u"設定ファイル ~/.config/hypr/hyprland.conf に次の行を加えてください。",
     u"bind = SHIFT, Print, exec, %1 capture-region\nbind = SHIFT SUPER, Print, exec, %1 capture-window"},
    {u"labwc", u"Add this to ~/.config/labwc/rc.xml, within <keyboard>, and run “labwc --reconfigure”:",
     u"~/.config/labwc/rc.xml の <keyboard> に次の行を加え、「labwc --reconfigure」を実行してください。",
     u"<keybind key=\"S-Print\"><action name=\"Execute\" command=\"%1 capture-region\" /></keybind>\n"
     "<keybind key=\"S-W-Print\"><action name=\"Execute\" command=\"%1 capture-window\" /></keybind>"},
    {u"niri", u"Add this to ~/.config/niri/config.kdl, within “binds”:",
     u"~/.config/niri/config.kdl の「binds」に次の行を加えてください。",
     u"Shift+Print { spawn \"%1\" \"capture-region\"; }\nShift+Super+Print { spawn \"%1\" \"capture-window\"; }"},
    {u"KDE", u"In System Settings → Shortcuts, choose Add Application → Quillmere, or add a command:",
     u"システム設定 → ショートカットで、アプリケーションの追加 → Quillmere を選ぶか、コマンドを追加してください。",
     u"%1 capture-region\n%1 capture-window"},
    {u"GNOME", inATerminal, inATerminalInJapanese, nullptr},
};

constexpr Desktop anyOther = {nullptr, u"Bind these commands to keys in your desktop's keyboard settings:",
                              u"デスクトップのキーボード設定で、次のコマンドにキーを割り当ててください。",
                              u"%1 capture-region\n%1 capture-window"};

// The list that is there is kept: what is appended to replaces its closing bracket.
constexpr char16_t gnomeLines[] =
    u"S=org.gnome.settings-daemon.plugins.media-keys\n"
    "for K in region:r window:w; do\n"
    "P=/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/quillmere-${K%:*}/\n"
    "gsettings set $S.custom-keybinding:$P name \"Quillmere ${K%:*}\"\n"
    "gsettings set $S.custom-keybinding:$P command \"%1 capture-${K%:*}\"\n"
    "gsettings set $S.custom-keybinding:$P binding \"<Shift><Super>${K#*:}\"\n"
    "gsettings set $S custom-keybindings \"$(gsettings get $S custom-keybindings |\n"
    "sed \"s|^@as ||; s|]$|, '$P']|; s|^\\[, |[|\")\"\n"
    "done";

} // namespace

ShortcutAdvice shortcutAdvice(const QString &desktopNames, const QString &program)
{
    const Desktop *found = &anyOther;
    for (const QString &name : desktopNames.split(u':')) {
        for (const Desktop &desktop : desktops) {
            if (found == &anyOther && name.compare(QStringView(desktop.name), Qt::CaseInsensitive) == 0)
                found = &desktop;
        }
    }
    return {text(found->where, found->whereInJapanese),
            QString::fromUtf16(found->lines ? found->lines : gnomeLines).replace(QStringLiteral("%1"), program)};
}

} // namespace qm
