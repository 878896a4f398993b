// qmcapture [OPTION...] WAY PATH
//   -i           the user draws a region; its picture is written to PATH. If that is named as our captures are and is
//                there by then, the picture gets the name of the next free second
//   -iw          the user points at a window
//   --monitor    the monitor under the pointer, without asking; --desktop: all of them; --area X,Y,W,H: that part
// Options:
//   --rest X,Y,W,H   a menu was there: what lay below must come to rest before the screen is frozen
//   --last X,Y,W,H   the last region, which can be taken again
//   --patient        wait a minute, not a second, for a program that has grabbed the input: its menu is to be captured
//   --clipboard      what is chosen also goes to the clipboard where the caller cannot put it there: on Wayland without
//                    data control
//   --trigger NAME   the modifier key that starts captures: tapped at once, it cancels
//   --unsaved PATH   where the picture goes if PATH cannot be written
// QUILLMERE_DISPLAY=x11 prefers X11 where both are; desktop asks the desktop for the pictures, and fills the clipboard here, as
// compositors demand that let nobody read the screen.
// Rectangles are pixels of the whole desktop. Standard output has one line of JSON about what became of it:
//   {"area":[x,y,w,h],"what":"region"|"window"|"screen","file":PATH}
//   {"area":[x,y,w,h],"color":"#rrggbb"}          the user took a colour
//   {"error":REASON}, with "area", "what" and, if the picture is there, "unsaved":PATH, if it could not be written
// and nothing if the user cancelled. Without an area if the user chose in a dialog of the desktop, which does not tell it. Exit
// status 0: written, or cancelled; 1: failed, with one line on stderr; 3: the same because the user has not allowed the desktop
// to let screenshots be taken, and is not asked again.
//
// This program is only the first stage: it grabs the input, freezes the screen, shows it dimmed, and then loads the
// rest. Loading Qt takes longer than all of that, and a screen that responds late to a key feels broken.

#include "helpers/qmcapture/Choice.h"
#include "helpers/wayland/WaylandClaim.h"
#include "helpers/wayland/WaylandCurtain.h"
#include "helpers/x11/CaptureClaim.h"
#include "helpers/x11/Curtain.h"
#include "helpers/x11/ScreenRest.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace qm;
using namespace std::chrono_literals;

namespace {

constexpr int deniedStatus = 3; // as in platform/CaptureTool.h, which needs Qt

int fail(const std::string &reason)
{
    std::fprintf(stderr, "qmcapture: %s\n", reason.c_str());
    return 1;
}

std::string_view variable(const char *name) // empty if it is not set
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string folderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::optional<QRect> rectangle(const char *text)
{
    int x = 0, y = 0, width = 0, height = 0;
    char end = 0;
    if (!text || std::sscanf(text, "%d,%d,%d,%d%c", &x, &y, &width, &height, &end) != 4 || width < 1 || height < 1)
        return {};
    return QRect(x, y, width, height);
}

// std::nullopt if it makes no sense.
std::optional<CaptureRequest> parse(int count, char **values)
{
    using Way = CaptureRequest::Way;
    CaptureRequest request;
    bool hasWay = false;
    for (int i = 1; i + 1 < count; ++i) {
        const std::string_view option = values[i];
        const auto take = [&](Way way) {
            request.way = way;
            return !std::exchange(hasWay, true);
        };
        const auto takeRectangle = [&](QRect &into) {
            const std::optional<QRect> given = rectangle(values[++i]); // the last one is a null pointer
            into = given.value_or(QRect());
            return given.has_value();
        };
        const bool makesSense = option == "-i"            ? take(Way::region)
                                : option == "-iw"         ? take(Way::window)
                                : option == "--monitor"   ? take(Way::monitor)
                                : option == "--desktop"   ? take(Way::desktop)
                                : option == "--area"      ? take(Way::area) && takeRectangle(request.area)
                                : option == "--rest"      ? takeRectangle(request.rest)
                                : option == "--last"      ? takeRectangle(request.lastRegion)
                                : option == "--patient"   ? (request.isPatient = true)
                                : option == "--clipboard" ? (request.isForClipboard = true)
                                : option == "--trigger"   ? (request.trigger = values[++i]) != nullptr
                                : option == "--unsaved"   ? (request.unsaved = values[++i]) != nullptr
                                                          : false;
        if (!makesSense || i + 1 >= count)
            return {};
    }
    if (!hasWay)
        return {};
    request.path = values[count - 1];
    return request;
}

std::string whyNotLoaded()
{
    const char *reason = dlerror();
    return std::string("cannot load ") + choiceLibraryName + (reason ? std::string(": ") + reason : "");
}

// What is to be found in the rest of this program, which needs Qt. Null if it cannot be loaded.
void *fromRest(const char *name)
{
    char program[PATH_MAX] = {};
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0)
        return nullptr;
    void *library = dlopen((folderOf(program) + '/' + choiceLibraryName).c_str(), RTLD_LAZY);
    return library ? dlsym(library, name) : nullptr;
}

int choose(const RaisedCurtain &curtain, const CaptureRequest &request)
{
    const auto function = reinterpret_cast<ChooseFunction>(fromRest(chooseFunctionName));
    if (!function)
        return fail(whyNotLoaded());
    return function(curtain, request);
}

bool asks(const CaptureRequest &request)
{
    return request.way == CaptureRequest::Way::region || request.way == CaptureRequest::Way::window;
}

int captureOnX11(XConnection &server, const CaptureRequest &request)
{
    if (!CaptureClaim::take(server))
        return 0;
    if (!request.rest.isNull())
        waitForRest(server, request.rest);
    Curtain curtain(server, asks(request) ? Curtain::Kind::covering : Curtain::Kind::unseen);
    return choose({.x11 = &curtain}, request);
}

int captureOnWayland(WaylandServer &server, const CaptureRequest &request, WaylandCurtain::Freeze freeze)
{
    using Kind = WaylandCurtain::Kind;
    using Instead = WaylandCurtain::Instead;
    WaylandClaim claim;
    if (!claim.isOurs())
        return 0;
    if (!request.rest.isNull())
        std::this_thread::sleep_for(WaylandCurtain::restTime);
    WaylandCurtain curtain(server,
                           asks(request)                                 ? Kind::covering
                           : request.way == CaptureRequest::Way::monitor ? Kind::unseen
                                                                         : Kind::absent,
                           freeze, [&request](const WaylandOutputs &outputs) {
                               const auto function = reinterpret_cast<FreezeFunction>(fromRest(freezeFunctionName));
                               if (!function)
                                   return WaylandCurtain::Frozen{.instead = Instead::failed, .reason = whyNotLoaded()};
                               WaylandCurtain::Frozen frozen;
                               function(outputs, request, frozen);
                               return frozen;
                           });
    if (!curtain.isUp()) {
        switch (curtain.instead()) {
        case Instead::cancelled: return 0;
        case Instead::failed: return fail(curtain.reason());
        case Instead::denied: fail(curtain.reason()); return deniedStatus;
        case Instead::dialog: break;
        }
    }
    return choose({.wayland = &curtain, .claim = &claim}, request);
}

} // namespace

int main(int argc, char **argv)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // an overlay must not outlive the program that waits for it
    std::signal(SIGXFSZ, SIG_IGN);    // exceeding a limit on files (or shared memory) is then an ordinary error

    const std::optional<CaptureRequest> request = parse(argc, argv);
    if (!request)
        return fail("usage: qmcapture [OPTION...] -i|-iw|--monitor|--desktop|--area X,Y,W,H PATH");

    // An X server beside a Wayland compositor shows the windows of old programs, and black.
    const std::string_view wanted = variable("QUILLMERE_DISPLAY");
    if (wanted != "x11" && !variable("WAYLAND_DISPLAY").empty()) {
        if (const std::unique_ptr<WaylandServer> server = WaylandServer::connect())
            return captureOnWayland(*server, *request,
                                    wanted == "desktop" ? WaylandCurtain::Freeze::byDesktop
                                                        : WaylandCurtain::Freeze::byCompositor);
    }
    if (const std::unique_ptr<XConnection> server = XConnection::open())
        return captureOnX11(*server, *request);
    return fail("no display server");
}
