#include "helpers/wayland/desktop/KWinWindows.h"

#include "helpers/wayland/desktop/UserBus.h"

#include <QDir>
#include <QTemporaryFile>

#include <optional>
#include <unistd.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto limit = 1s; // of each question; all take a hundredth of that
constexpr char kwin[] = "org.kde.KWin";
constexpr char scripting[] = "org.kde.kwin.Scripting";
constexpr char object[] = "/org/quillmere/Windows"; // of ours, which the script calls
constexpr char interface[] = "org.quillmere.Windows";

// Plasma 5 has clients where Plasma 6 has windows, and numbers its desktops. %1: our name on the bus.
constexpr char script[] = R"js(
function isOnDesktop(w) {
    var current = workspace.currentDesktop;
    return w.onAllDesktops || (w.desktops ? w.desktops.some(d => d.id == current.id) : w.desktop == current);
}
function isInActivity(w) {
    return !w.activities.length || w.activities.indexOf(workspace.currentActivity) >= 0;
}
function description(w) {
    var frame = w.frameGeometry;
    return {id: String(w.internalId), title: w.caption, isPopup: w.popupWindow,
            x: frame.x, y: frame.y, width: frame.width, height: frame.height};
}
var windows = workspace.windowList ? workspace.windowList() : workspace.clientList();
var visible = windows.filter(w => (w.managed || w.popupWindow) && !w.minimized && !w.hidden && isOnDesktop(w) && isInActivity(w));
visible.sort((a, b) => a.stackingOrder - b.stackingOrder);
callDBus("%1", "/org/quillmere/Windows", "org.quillmere.Windows", "Tell", JSON.stringify(visible.map(description)));
)js";

int told(sd_bus_message *message, void *list, sd_bus_error *)
{
    const char *text = nullptr;
    if (sd_bus_message_is_method_call(message, interface, "Tell") <= 0 || sd_bus_message_read(message, "s", &text) <= 0)
        return 0;
    *static_cast<std::optional<std::string> *>(list) = text;
    return sd_bus_reply_method_return(message, "");
}

// KWin's number of the script that it has read from this file; -1 if it has not.
int load(const UserBus &bus, const QByteArray &file, const QByteArray &name)
{
    const BusMessage question = bus.newCall(kwin, "/Scripting", scripting, "loadScript");
    int32_t number = -1;
    if (question && sd_bus_message_append(question.get(), "ss", file.constData(), name.constData()) >= 0) {
        if (const BusMessage answer = bus.call(question, limit))
            sd_bus_message_read(answer.get(), "i", &number);
    }
    return number;
}

bool run(const UserBus &bus, int number)
{
    for (const char *place : {"/Scripting/Script", "/"}) { // of Plasma 6 and 5
        const std::string path = place + std::to_string(number);
        if (bus.call(bus.newCall(kwin, path.c_str(), "org.kde.kwin.Script", "run"), limit))
            return true;
    }
    return false;
}

// Whether it has been is nothing to wait for.
void unload(const UserBus &bus, const QByteArray &name)
{
    const BusMessage question = bus.newCall(kwin, "/Scripting", scripting, "unloadScript");
    if (question && sd_bus_message_append(question.get(), "s", name.constData()) >= 0)
        bus.tell(question);
}

} // namespace

std::string KWinWindows::list(const UserBus &bus)
{
    std::optional<std::string> list;
    sd_bus_slot *slot = nullptr;
    const char *ourName = nullptr;
    if (!bus.get() || sd_bus_get_unique_name(bus.get(), &ourName) < 0 ||
        sd_bus_add_object(bus.get(), &slot, object, told, &list) < 0)
        return {};
    const BusSlot listening(slot);
    QTemporaryFile file(qEnvironmentVariable("XDG_RUNTIME_DIR", QDir::tempPath()) +
                        QStringLiteral("/quillmere-windows-XXXXXX.js"));
    if (!file.open() || file.write(QString::fromLatin1(script).arg(QLatin1StringView(ourName)).toLatin1()) < 0 ||
        !file.flush())
        return {};
    const QByteArray name = "quillmere-windows-" + QByteArray::number(getpid());
    const int number = load(bus, QFile::encodeName(file.fileName()), name);
    if (number < 0)
        return {};
    if (run(bus, number))
        bus.waitFor([&list] { return list.has_value(); }, limit);
    unload(bus, name);
    return list.value_or(std::string());
}

} // namespace qm
