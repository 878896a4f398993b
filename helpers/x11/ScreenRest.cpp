#include "helpers/x11/ScreenRest.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto shortest = 200ms; // a busy program takes up to 150 before it repaints anything
static constexpr auto between = 60ms;   // two looks; a fading compositor draws several times as often
static constexpr auto longest = 600ms;

static Reply<xcb_get_image_reply_t> look(XConnection &server, const QRect &part)
{
    return Reply<xcb_get_image_reply_t>(
        xcb_get_image_reply(server.get(),
                            xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), int16_t(part.x()),
                                          int16_t(part.y()), uint16_t(part.width()), uint16_t(part.height()), ~0u),
                            nullptr));
}

static bool isSame(const xcb_get_image_reply_t *one, const xcb_get_image_reply_t *other)
{
    const int length = xcb_get_image_data_length(one);
    return length == xcb_get_image_data_length(other) &&
           std::memcmp(xcb_get_image_data(one), xcb_get_image_data(other), size_t(length)) == 0;
}

void waitForRest(XConnection &server, const QRect &part)
{
    const auto start = std::chrono::steady_clock::now();
    const QRect all = server.area();
    const QRect seen(QPoint(std::max(part.left(), all.left()), std::max(part.top(), all.top())),
                     QPoint(std::min(part.right(), all.right()), std::min(part.bottom(), all.bottom())));
    std::this_thread::sleep_until(start + shortest);
    Reply<xcb_get_image_reply_t> before = seen.isEmpty() ? nullptr : look(server, seen);
    while (before && std::chrono::steady_clock::now() + between < start + longest) {
        std::this_thread::sleep_for(between);
        Reply<xcb_get_image_reply_t> now = look(server, seen);
        if (!now || isSame(before.get(), now.get()))
            return;
        before = std::move(now);
    }
}

} // namespace qm
