#include "helpers/wayland/WaylandOutputs.h"

#include <algorithm>
#include <iterator>
#include <protocol/xdg-output.h>
#include <wayland-client-protocol.h>

namespace qm {

namespace {

WaylandOutput &outputOf(void *data)
{
    return *static_cast<WaylandOutput *>(data);
}

constexpr wl_output_listener outputListener = {
    .geometry =
        [](void *data, wl_output *, int32_t x, int32_t y, int32_t, int32_t, int32_t, const char *, const char *,
           int32_t transform) {
            outputOf(data).transform = transform;
            outputOf(data).logical.moveTo(x, y); // unless xdg-output knows better
        },
    .mode =
        [](void *data, wl_output *, uint32_t flags, int32_t width, int32_t height, int32_t) {
            if (flags & WL_OUTPUT_MODE_CURRENT)
                outputOf(data).mode = QSize(width, height);
        },
    .done = [](void *, wl_output *) {},
    .scale = [](void *data, wl_output *, int32_t scale) { outputOf(data).scale = scale; },
    .name = [](void *data, wl_output *, const char *name) { outputOf(data).name = name; },
    .description = [](void *, wl_output *, const char *) {},
};

constexpr zxdg_output_v1_listener placeListener = {
    .logical_position = [](void *data, zxdg_output_v1 *, int32_t x, int32_t y) { outputOf(data).logical.moveTo(x, y); },
    .logical_size =
        [](void *data, zxdg_output_v1 *, int32_t width, int32_t height) {
            outputOf(data).logical.setSize({width, height});
        },
    .done = [](void *, zxdg_output_v1 *) {},
    .name = [](void *data, zxdg_output_v1 *, const char *name) { outputOf(data).name = name; },
    .description = [](void *, zxdg_output_v1 *, const char *) {},
};

} // namespace

WaylandOutputs::WaylandOutputs(WaylandServer &server)
    : m_server(server)
    , m_places(server.bind<zxdg_output_manager_v1>(zxdg_output_manager_v1_interface, 3))
{
    for (const uint32_t id : server.globals(wl_output_interface)) {
        auto output =
            std::make_unique<WaylandOutput>(WaylandOutput{id, server.bind<wl_output>(wl_output_interface, 4, id)});
        wl_output_add_listener(output->handle, &outputListener, output.get());
        if (m_places) {
            m_details.push_back(zxdg_output_manager_v1_get_xdg_output(m_places, output->handle));
            zxdg_output_v1_add_listener(m_details.back(), &placeListener, output.get());
        }
        m_outputs.push_back(std::move(output));
    }
    server.roundTrip();
    const auto off = std::stable_partition(m_outputs.begin(), m_outputs.end(),
                                           [](const auto &output) { return !output->mode.isEmpty(); });
    std::move(off, m_outputs.end(), std::back_inserter(m_switchedOff));
    m_outputs.erase(off, m_outputs.end());
    for (const std::unique_ptr<WaylandOutput> &output : m_outputs) {
        if (output->logical.isEmpty()) {
            const QSize pixels = output->pixels();
            output->logical.setSize({pixels.width() / output->scale, pixels.height() / output->scale});
        }
        m_atFirst.push_back(shape(*output));
    }
}

WaylandOutputs::~WaylandOutputs()
{
    for (zxdg_output_v1 *detail : m_details)
        zxdg_output_v1_destroy(detail);
    if (m_places)
        zxdg_output_manager_v1_destroy(m_places);
    for (const auto *outputs : {&m_outputs, &m_switchedOff}) {
        for (const std::unique_ptr<WaylandOutput> &output : *outputs)
            wl_output_destroy(output->handle);
    }
}

bool WaylandOutputs::haveChanged() const
{
    for (size_t i = 0; i < m_outputs.size(); ++i) {
        if (!m_server.hasGlobal(m_outputs[i]->id) || !(shape(*m_outputs[i]) == m_atFirst[i]))
            return true;
    }
    const bool isOneOn = std::any_of(m_switchedOff.begin(), m_switchedOff.end(),
                                     [](const auto &output) { return !output->mode.isEmpty(); });
    return isOneOn || m_server.globals(wl_output_interface).size() > m_outputs.size() + m_switchedOff.size();
}

WaylandOutputs::Shape WaylandOutputs::shape(const WaylandOutput &output)
{
    return {output.logical, output.mode, output.transform, output.scale};
}

} // namespace qm
