#include "helpers/qmscroll/pipewire/StreamPixels.h"
#include "helpers/qmscroll/wayland/StreamModule.h"
#include "platform/wayland/CallingDeleter.h"

#include <chrono>
#include <memory>
#include <pipewire/pipewire.h>
#include <spa/param/video/format-utils.h>
#include <type_traits>
#include <unistd.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto firstFrameLimit = 3s; // the first one comes by itself, the others when something changes
constexpr auto changeLimit = 300ms;
constexpr int fewestBuffers = 2, mostBuffers = 16;

// The newest frame is taken out of its buffer on PipeWire's thread at once: a compositor that finds no free buffer leaves the frame
// out, and there may be no other for long. Everything else is called by one thread.
class StreamFrames : public RegionFrames
{
public:
    explicit StreamFrames(const RegionPart &part);
    ~StreamFrames() override;
    bool open(int remote, uint32_t node);
    QImage grab() override;
    QImage grabMonitor() override;

private:
    // PipeWire's lock: its thread runs none of our handlers while one of these exists.
    class Lock
    {
    public:
        explicit Lock(pw_thread_loop *loop)
            : m_loop(loop)
        {
            pw_thread_loop_lock(loop);
        }
        ~Lock() { pw_thread_loop_unlock(m_loop); }
        Q_DISABLE_COPY_MOVE(Lock)

    private:
        pw_thread_loop *const m_loop;
    };

    static const pw_stream_events *events();
    void chooseFormat(const spa_pod *format);
    void takeNewest();
    void take(const spa_buffer &buffer);
    void end();
    bool waitFor(const QImage &image, std::chrono::nanoseconds limit); // with the lock; false if it does not come

    const RegionPart m_part;
    std::unique_ptr<pw_thread_loop, CallingDeleter<pw_thread_loop_destroy>> m_loop;
    std::unique_ptr<pw_context, CallingDeleter<pw_context_destroy>> m_context;
    std::unique_ptr<pw_core, CallingDeleter<pw_core_disconnect>> m_core;
    std::unique_ptr<pw_stream, CallingDeleter<pw_stream_destroy>> m_stream;
    spa_hook m_listening = {};
    spa_video_info_raw m_format = {};
    QImage m_newest;
    QImage m_all; // of the monitor
    bool m_isAllWanted = false;
    bool m_hasEnded = false; // or the monitor has become another
};

StreamFrames::StreamFrames(const RegionPart &part)
    : m_part(part)
{
    pw_init(nullptr, nullptr);
    m_loop.reset(pw_thread_loop_new("stream", nullptr));
}

StreamFrames::~StreamFrames()
{
    if (m_loop)
        pw_thread_loop_stop(m_loop.get());
}

const pw_stream_events *StreamFrames::events()
{
    static const pw_stream_events events = [] {
        pw_stream_events all = {};
        all.version = PW_VERSION_STREAM_EVENTS;
        all.state_changed = [](void *self, pw_stream_state, pw_stream_state state, const char *) {
            if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED)
                static_cast<StreamFrames *>(self)->end();
        };
        all.param_changed = [](void *self, uint32_t id, const spa_pod *param) {
            if (id == SPA_PARAM_Format && param)
                static_cast<StreamFrames *>(self)->chooseFormat(param);
        };
        all.process = [](void *self) { static_cast<StreamFrames *>(self)->takeNewest(); };
        return all;
    }();
    return &events;
}

bool StreamFrames::open(int remote, uint32_t node)
{
    if (!m_loop || pw_thread_loop_start(m_loop.get()) < 0) {
        close(remote);
        return false;
    }
    const Lock lock(m_loop.get());
    m_context.reset(pw_context_new(pw_thread_loop_get_loop(m_loop.get()), nullptr, 0));
    if (!m_context) {
        close(remote);
        return false;
    }
    m_core.reset(pw_context_connect_fd(m_context.get(), remote, nullptr, 0)); // which closes it
    if (!m_core)
        return false;
    m_stream.reset(pw_stream_new(m_core.get(), "Quillmere",
                                 pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture",
                                                   PW_KEY_MEDIA_ROLE, "Screen", nullptr)));
    if (!m_stream)
        return false;
    pw_stream_add_listener(m_stream.get(), &m_listening, events(), this);

    uint8_t memory[1024];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
    const spa_rectangle size = SPA_RECTANGLE(uint32_t(m_part.monitor.width()), uint32_t(m_part.monitor.height()));
    const spa_rectangle least = SPA_RECTANGLE(1, 1), most = SPA_RECTANGLE(32767, 32767);
    const spa_fraction none = SPA_FRACTION(0, 1), usual = SPA_FRACTION(60, 1), fastest = SPA_FRACTION(1000, 1);
    const auto *const wanted = static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat,     //
        SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),     //
        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), //
        SPA_FORMAT_VIDEO_format,                                    //
        SPA_POD_CHOICE_ENUM_Id(5, streamFormats[0], streamFormats[0], streamFormats[1], streamFormats[2],
                               streamFormats[3]),                                    //
        SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&size, &least, &most), //
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&usual, &none, &fastest)));
    const spa_pod *params[] = {wanted};
    return pw_stream_connect(m_stream.get(), PW_DIRECTION_INPUT, node,
                             pw_stream_flags(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), params, 1) >= 0;
}

void StreamFrames::chooseFormat(const spa_pod *format)
{
    if (spa_format_video_raw_parse(format, &m_format) < 0 ||
        QSize(int(m_format.size.width), int(m_format.size.height)) != m_part.monitor) {
        end();
        return;
    }
    uint8_t memory[256];
    spa_pod_builder builder = SPA_POD_BUILDER_INIT(memory, sizeof memory);
    const auto *const buffers = static_cast<const spa_pod *>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers,                          //
        SPA_PARAM_BUFFERS_buffers, SPA_POD_CHOICE_RANGE_Int(4, fewestBuffers, mostBuffers), //
        SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd))));
    const spa_pod *params[] = {buffers};
    pw_stream_update_params(m_stream.get(), params, 1);
}

void StreamFrames::takeNewest()
{
    pw_buffer *newest = nullptr;
    while (pw_buffer *const buffer = pw_stream_dequeue_buffer(m_stream.get())) {
        // One that only tells of the pointer has no pixels.
        const bool hasPixels = buffer->buffer->n_datas > 0 && buffer->buffer->datas[0].data &&
                               buffer->buffer->datas[0].chunk->size > 0 &&
                               (buffer->buffer->datas[0].chunk->flags & SPA_CHUNK_FLAG_CORRUPTED) == 0;
        pw_buffer *const passed = hasPixels ? std::exchange(newest, buffer) : buffer;
        if (passed)
            pw_stream_queue_buffer(m_stream.get(), passed);
    }
    if (!newest)
        return;
    take(*newest->buffer);
    pw_stream_queue_buffer(m_stream.get(), newest);
}

void StreamFrames::take(const spa_buffer &buffer)
{
    const spa_data &data = buffer.datas[0];
    const StreamPixels pixels = {.memory = {static_cast<const uchar *>(data.data), data.maxsize},
                                 .offset = data.chunk->offset,
                                 .bytesPerLine = data.chunk->stride,
                                 .size = m_part.monitor,
                                 .format = m_format.format};
    m_newest = pixels.cut(m_part.pixels);
    if (m_newest.isNull())
        end();
    if (std::exchange(m_isAllWanted, false))
        m_all = pixels.cut(QRect(QPoint(), m_part.monitor));
    pw_thread_loop_signal(m_loop.get(), false);
}

void StreamFrames::end()
{
    m_hasEnded = true;
    pw_thread_loop_signal(m_loop.get(), false);
}

bool StreamFrames::waitFor(const QImage &image, std::chrono::nanoseconds limit)
{
    timespec end = {};
    pw_thread_loop_get_time(m_loop.get(), &end, limit.count());
    while (image.isNull() && !m_hasEnded) {
        if (pw_thread_loop_timed_wait_full(m_loop.get(), &end) < 0)
            return false;
    }
    return !m_hasEnded;
}

QImage StreamFrames::grab()
{
    const Lock lock(m_loop.get());
    return waitFor(m_newest, firstFrameLimit) ? m_newest : QImage();
}

QImage StreamFrames::grabMonitor()
{
    const Lock lock(m_loop.get());
    m_all = {};
    m_isAllWanted = true;
    return waitFor(m_all, changeLimit) ? std::exchange(m_all, {}) : QImage();
}

} // namespace
} // namespace qm

extern "C" Q_DECL_EXPORT qm::RegionFrames *quillmereOpenStream(int remote, uint32_t node, const qm::RegionPart &part)
{
    auto frames = std::make_unique<qm::StreamFrames>(part);
    return frames->open(remote, node) ? frames.release() : nullptr;
}
static_assert(std::is_same_v<qm::OpenStreamFunction, decltype(&quillmereOpenStream)>);
