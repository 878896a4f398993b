// The least work that shows a picture of the screen over the screen on Wayland: take the first monitor's, put it on a layer
// surface. The baseline for qmcapture's overlay. Runs until it is killed.

#include "platform/wayland/WaylandServer.h"

#include <cstdlib>
#include <protocol/layer-shell.h>
#include <protocol/screencopy.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

using namespace qm;

namespace {

struct Floor {
    wl_shm *shm = nullptr;
    wl_buffer *buffer = nullptr;
    uint32_t *pixels = nullptr;
    bool isTaken = false;
    bool isConfigured = false;

    static Floor &of(void *data) { return *static_cast<Floor *>(data); }

    void share(zwlr_screencopy_frame_v1 *frame, uint32_t format, int width, int height, int stride)
    {
        const int bytes = stride * height;
        const int file = memfd_create("screen", MFD_CLOEXEC);
        if (ftruncate(file, bytes) != 0)
            std::abort();
        pixels = static_cast<uint32_t *>(mmap(nullptr, size_t(bytes), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
        wl_shm_pool *pool = wl_shm_create_pool(shm, file, bytes);
        buffer = wl_shm_pool_create_buffer(pool, 0, width, height, stride, format);
        zwlr_screencopy_frame_v1_copy(frame, buffer);
    }
};

} // namespace

int main()
{
    const std::unique_ptr<WaylandServer> server = WaylandServer::connect();
    if (!server)
        return 1;
    Floor floor;
    auto *compositor = server->bind<wl_compositor>(wl_compositor_interface, 4);
    floor.shm = server->bind<wl_shm>(wl_shm_interface, 1);
    auto *output = server->bind<wl_output>(wl_output_interface, 1);
    auto *screencopy = server->bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, 1);
    auto *shell = server->bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 1);
    if (!compositor || !floor.shm || !output || !screencopy || !shell)
        return 1;

    zwlr_screencopy_frame_v1 *frame = zwlr_screencopy_manager_v1_capture_output(screencopy, 0, output);
    static constexpr zwlr_screencopy_frame_v1_listener taken = {
        .buffer = [](void *data, zwlr_screencopy_frame_v1 *handle, uint32_t format, uint32_t width, uint32_t height,
                     uint32_t stride) { Floor::of(data).share(handle, format, int(width), int(height), int(stride)); },
        .flags = [](void *, zwlr_screencopy_frame_v1 *, uint32_t) {},
        .ready = [](void *data, zwlr_screencopy_frame_v1 *, uint32_t, uint32_t,
                    uint32_t) { Floor::of(data).isTaken = true; },
        .failed = [](void *, zwlr_screencopy_frame_v1 *) { std::abort(); },
    };
    zwlr_screencopy_frame_v1_add_listener(frame, &taken, &floor);
    wl_surface *surface = wl_compositor_create_surface(compositor);
    zwlr_layer_surface_v1 *layer =
        zwlr_layer_shell_v1_get_layer_surface(shell, surface, output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "floor");
    static constexpr zwlr_layer_surface_v1_listener configured = {
        .configure =
            [](void *data, zwlr_layer_surface_v1 *asked, uint32_t serial, uint32_t, uint32_t) {
                zwlr_layer_surface_v1_ack_configure(asked, serial);
                Floor::of(data).isConfigured = true;
            },
        .closed = [](void *, zwlr_layer_surface_v1 *) {},
    };
    zwlr_layer_surface_v1_add_listener(layer, &configured, &floor);
    zwlr_layer_surface_v1_set_anchor(layer, 1 | 2 | 4 | 8);
    zwlr_layer_surface_v1_set_exclusive_zone(layer, -1);
    wl_surface_commit(surface);

    using namespace std::chrono_literals;
    if (!server->waitFor([&] { return floor.isTaken && floor.isConfigured; }, 10s))
        return 1;
    floor.pixels[0] = 0; // a mark that differs from the screen
    wl_surface_attach(surface, floor.buffer, 0, 0);
    wl_surface_damage(surface, 0, 0, INT32_MAX, INT32_MAX);
    wl_surface_commit(surface);
    while (server->dispatch(1h)) {
    }
}
