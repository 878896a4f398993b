#include "helpers/wayland/Screencopy.h"

#include "helpers/wayland/ShmBuffer.h"

#include <algorithm>
#include <protocol/screencopy.h>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto patience = 5s;

struct Frame {
    wl_shm *shm;
    zwlr_screencopy_frame_v1 *handle = nullptr;
    std::shared_ptr<ShmBuffer> buffer = nullptr;
    bool isBottomUp = false;
    bool isReady = false;
    bool hasFailed = false;

    Frame(wl_shm *memory, zwlr_screencopy_frame_v1 *frame)
        : shm(memory)
        , handle(frame)
    {
        zwlr_screencopy_frame_v1_add_listener(handle, &listener, this);
    }
    ~Frame() { zwlr_screencopy_frame_v1_destroy(handle); }
    Q_DISABLE_COPY_MOVE(Frame)

    static Frame &of(void *data) { return *static_cast<Frame *>(data); }
    static constexpr zwlr_screencopy_frame_v1_listener listener = {
        .buffer =
            [](void *data, zwlr_screencopy_frame_v1 *handle, uint32_t format, uint32_t width, uint32_t height,
               uint32_t stride) {
                Frame &frame = of(data);
                frame.buffer = ShmBuffer::create(frame.shm, QSize(int(width), int(height)), int(stride), format);
                if (frame.buffer)
                    zwlr_screencopy_frame_v1_copy(handle, frame.buffer->handle());
                else
                    frame.hasFailed = true;
            },
        .flags = [](void *data, zwlr_screencopy_frame_v1 *, uint32_t flags) { of(data).isBottomUp = flags & 1; },
        .ready = [](void *data, zwlr_screencopy_frame_v1 *, uint32_t, uint32_t, uint32_t) { of(data).isReady = true; },
        .failed = [](void *data, zwlr_screencopy_frame_v1 *) { of(data).hasFailed = true; },
    };
};

} // namespace

bool Screencopy::isOffered(const WaylandServer &server)
{
    return !server.globals(zwlr_screencopy_manager_v1_interface).empty();
}

Screencopy::Screencopy(WaylandServer &server, wl_shm *shm)
    : m_server(server)
    , m_shm(shm)
    , m_manager(server.bind<zwlr_screencopy_manager_v1>(zwlr_screencopy_manager_v1_interface, 1))
{
}

Screencopy::~Screencopy()
{
    if (m_manager)
        zwlr_screencopy_manager_v1_destroy(m_manager);
}

std::vector<OutputPicture> Screencopy::take(const WaylandOutputs &outputs, const std::function<void()> &meanwhile)
{
    std::vector<std::unique_ptr<Frame>> frames;
    for (const std::unique_ptr<WaylandOutput> &output : outputs.all())
        frames.push_back(
            std::make_unique<Frame>(m_shm, zwlr_screencopy_manager_v1_capture_output(m_manager, 0, output->handle)));
    const auto all = [&](auto is) {
        return m_server.waitFor([&] { return std::all_of(frames.begin(), frames.end(), is); }, patience);
    };
    if (!all([](const auto &frame) { return frame->buffer || frame->hasFailed; }))
        return {};
    wl_display_flush(m_server.get()); // the requests to copy
    meanwhile();
    const bool answered = all([](const auto &frame) { return frame->isReady || frame->hasFailed; });
    std::vector<OutputPicture> pictures;
    for (size_t i = 0; answered && i < frames.size(); ++i) {
        const Frame &frame = *frames[i];
        if (frame.hasFailed)
            return {};
        // The pixels keep their buffer.
        pictures.push_back(upright({.size = frame.buffer->size(),
                                    .bytesPerLine = frame.buffer->bytesPerLine(),
                                    .format = frame.buffer->format(),
                                    .transform = outputs.all()[i]->transform,
                                    .isBottomUp = frame.isBottomUp,
                                    .pixels = {frame.buffer, frame.buffer->pixels()}}));
        if (!pictures.back().pixels)
            return {};
    }
    return pictures;
}

} // namespace qm
