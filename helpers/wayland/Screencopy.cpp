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
    std::shared_ptr<ShmBuffer> spare; // used if it fits
    std::shared_ptr<ShmBuffer> buffer = nullptr;
    bool isBottomUp = false;
    bool isReady = false;
    bool hasFailed = false;

    Frame(wl_shm *memory, zwlr_screencopy_frame_v1 *frame, std::shared_ptr<ShmBuffer> kept = nullptr)
        : shm(memory)
        , handle(frame)
        , spare(std::move(kept))
    {
        zwlr_screencopy_frame_v1_add_listener(handle, &listener, this);
    }
    ~Frame() { zwlr_screencopy_frame_v1_destroy(handle); }
    Q_DISABLE_COPY_MOVE(Frame)

    // Once it is ready. The pixels keep their buffer.
    OutputPicture picture(int transform) const
    {
        return upright({.size = buffer->size(),
                        .bytesPerLine = buffer->bytesPerLine(),
                        .format = buffer->format(),
                        .transform = transform,
                        .isBottomUp = isBottomUp,
                        .pixels = {buffer, buffer->pixels()}});
    }

    static Frame &of(void *data) { return *static_cast<Frame *>(data); }
    static const zwlr_screencopy_frame_v1_listener listener;
};

const zwlr_screencopy_frame_v1_listener Frame::listener = {
    .buffer =
        [](void *data, zwlr_screencopy_frame_v1 *copied, uint32_t format, uint32_t width, uint32_t height,
           uint32_t stride) {
            Frame &frame = of(data);
            const QSize size = {int(width), int(height)};
            const ShmBuffer *old = frame.spare.get();
            if (old && old->size() == size && old->bytesPerLine() == int(stride) && old->format() == format)
                frame.buffer = std::move(frame.spare);
            else
                frame.buffer = ShmBuffer::create(frame.shm, size, int(stride), format);
            if (frame.buffer)
                zwlr_screencopy_frame_v1_copy(copied, frame.buffer->handle());
            else
                frame.hasFailed = true;
        },
    .flags = [](void *data, zwlr_screencopy_frame_v1 *, uint32_t flags) { of(data).isBottomUp = flags & 1; },
    .ready = [](void *data, zwlr_screencopy_frame_v1 *, uint32_t, uint32_t, uint32_t) { of(data).isReady = true; },
    .failed = [](void *data, zwlr_screencopy_frame_v1 *) { of(data).hasFailed = true; },
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
        if (frames[i]->hasFailed)
            return {};
        pictures.push_back(frames[i]->picture(outputs.all()[i]->transform));
        if (!pictures.back().pixels)
            return {};
    }
    return pictures;
}

OutputPicture Screencopy::takePart(const WaylandOutput &output, const QRect &part)
{
    std::swap(m_parts[0], m_parts[1]);
    Frame frame(m_shm,
                part.isNull() ? zwlr_screencopy_manager_v1_capture_output(m_manager, 0, output.handle)
                              : zwlr_screencopy_manager_v1_capture_output_region(m_manager, 0, output.handle, part.x(),
                                                                                 part.y(), part.width(), part.height()),
                std::move(m_parts[0]));
    if (!m_server.waitFor([&] { return frame.isReady || frame.hasFailed; }, patience) || frame.hasFailed)
        return {};
    m_parts[0] = frame.buffer;
    return frame.picture(output.transform);
}

} // namespace qm
