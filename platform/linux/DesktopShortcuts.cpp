#include "platform/DesktopShortcuts.h"

#include "platform/ChildProcess.h"

#include <QRegularExpression>
#include <QStringList>

namespace qm {

namespace {

const QString keys = QStringLiteral("org.gnome.settings-daemon.plugins.media-keys");
const QString list = QStringLiteral("custom-keybindings");
const QString folder = QStringLiteral("/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/");

struct Shortcut {
    const char16_t *path; // below folder
    QString DesktopShortcuts::Names::*name;
    const char16_t *command;
    const char16_t *keys;
};
constexpr Shortcut shortcuts[] = {
    {u"quillmere-region/", &DesktopShortcuts::Names::region, u"capture-region", u"<Shift><Super>r"},
    {u"quillmere-window/", &DesktopShortcuts::Names::window, u"capture-window", u"<Shift><Super>w"},
};

// As GVariant writes text.
QString quoted(QString text)
{
    return u'\'' + text.replace(u'\\', QStringLiteral("\\\\")).replace(u'\'', QStringLiteral("\\'")) + u'\'';
}

std::optional<QString> gsettings(const QStringList &arguments, QString *reason = nullptr)
{
    const auto result = ChildProcess::run(QStringLiteral("gsettings"), arguments);
    if (result && result->exitCode == 0)
        return QString::fromUtf8(result->output);
    if (reason)
        *reason = result ? QString::fromUtf8(result->errors).trimmed() : QStringLiteral("gsettings");
    return std::nullopt;
}

// The paths of all shortcuts that the user has added.
std::optional<QStringList> customShortcuts()
{
    const std::optional<QString> value = gsettings({QStringLiteral("get"), keys, list});
    if (!value)
        return std::nullopt;
    static const QRegularExpression path(QStringLiteral("'([^']*)'"));
    QStringList paths;
    for (const QRegularExpressionMatch &match : path.globalMatch(*value))
        paths += match.captured(1);
    return paths;
}

} // namespace

std::optional<bool> DesktopShortcuts::areSet()
{
    if (!qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(QStringLiteral("GNOME")))
        return std::nullopt;
    const std::optional<QStringList> paths = customShortcuts();
    return paths ? std::optional(paths->contains(folder + QString::fromUtf16(shortcuts[0].path))) : std::nullopt;
}

Outcome DesktopShortcuts::set(bool on, const QString &program, const Names &names)
{
    std::optional<QStringList> paths = customShortcuts();
    QString reason = keys;
    bool done = paths.has_value();
    for (const Shortcut &shortcut : shortcuts) {
        const QString path = folder + QString::fromUtf16(shortcut.path);
        const QString each = keys + QStringLiteral(".custom-keybinding:") + path;
        if (!done)
            break;
        paths->removeAll(path);
        if (!on) {
            done = gsettings({QStringLiteral("reset-recursively"), each}, &reason).has_value();
            continue;
        }
        *paths += path;
        const std::pair<QString, QString> values[] = {
            {QStringLiteral("name"), names.*shortcut.name},
            {QStringLiteral("command"), program + u' ' + QString::fromUtf16(shortcut.command)},
            {QStringLiteral("binding"), QString::fromUtf16(shortcut.keys)}};
        for (const auto &[name, value] : values)
            done = done && gsettings({QStringLiteral("set"), each, name, quoted(value)}, &reason);
    }
    QStringList written;
    for (const QString &path : paths.value_or(QStringList()))
        written += quoted(path);
    done = done &&
           gsettings({QStringLiteral("set"), keys, list, u'[' + written.join(QStringLiteral(", ")) + u']'}, &reason);
    return done ? Outcome::success() : Outcome::failure(reason);
}

} // namespace qm
