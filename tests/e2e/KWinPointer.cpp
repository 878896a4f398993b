// A pointer in KWin's coordinates: each line of standard input, "X Y TO-X TO-Y", is a drag. It is there as long as this program
// runs, which KWin lets do so if a desktop file says that it may.

#include "platform/wayland/WaylandServer.h"

#include <iostream>
#include <linux/input-event-codes.h>
#include <protocol/fake-input.h>
#include <wayland-client-protocol.h>

int main()
{
    const auto server = qm::WaylandServer::connect();
    auto *const input = server ? server->bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, 3) : nullptr;
    if (!input)
        return 1;
    org_kde_kwin_fake_input_authenticate(input, "tests", "tests");
    server->roundTrip();
    const auto move = [&](int x, int y) {
        org_kde_kwin_fake_input_pointer_motion_absolute(input, wl_fixed_from_int(x), wl_fixed_from_int(y));
        server->roundTrip();
    };
    const auto press = [&](uint32_t state) {
        org_kde_kwin_fake_input_button(input, BTN_LEFT, state);
        server->roundTrip();
    };
    for (int x, y, toX, toY; std::cin >> x >> y >> toX >> toY;) {
        move(x, y);
        press(WL_POINTER_BUTTON_STATE_PRESSED);
        move(toX, toY);
        press(WL_POINTER_BUTTON_STATE_RELEASED);
    }
    org_kde_kwin_fake_input_destroy(input);
}
