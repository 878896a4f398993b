#include "helpers/wayland/overlay/Keymap.h"

#include "helpers/overlay/KeySymbols.h"

#include <sys/mman.h>
#include <unistd.h>
#include <xkbcommon/xkbcommon.h>

namespace qm {

static constexpr quint32 firstCode = 8; // X's codes, which keymaps use, begin there

void Keymap::Deleter::operator()(xkb_keymap *keymap) const
{
    xkb_keymap_unref(keymap);
}

void Keymap::Deleter::operator()(xkb_state *state) const
{
    xkb_state_unref(state);
}

Keymap::Keymap() = default;
Keymap::~Keymap() = default;

void Keymap::read(int file, quint32 size)
{
    void *text = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    close(file);
    if (text == MAP_FAILED)
        return;
    if (xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES)) {
        m_keymap.reset(xkb_keymap_new_from_buffer(context, static_cast<const char *>(text), qMax(size, 1u) - 1,
                                                  XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
        m_state.reset(m_keymap ? xkb_state_new(m_keymap.get()) : nullptr);
        xkb_context_unref(context); // the keymap keeps it
    }
    munmap(text, size);
}

void Keymap::setModifiers(quint32 depressed, quint32 latched, quint32 locked, quint32 group)
{
    if (m_state)
        xkb_state_update_mask(m_state.get(), depressed, latched, locked, 0, 0, group);
}

quint32 Keymap::symbol(quint32 key) const
{
    if (!m_state)
        return 0;
    const xkb_keycode_t code = key + firstCode;
    const auto plain = [&](xkb_layout_index_t layout) -> quint32 {
        const xkb_keysym_t *symbols = nullptr;
        return xkb_keymap_key_get_syms_by_level(m_keymap.get(), code, layout, 0, &symbols) > 0 ? symbols[0] : 0;
    };
    quint32 found = plain(xkb_state_key_get_layout(m_state.get(), code));
    const xkb_layout_index_t layouts = xkb_keymap_num_layouts_for_key(m_keymap.get(), code);
    for (xkb_layout_index_t layout = 0; layout < layouts && !KeySymbols::isReachable(found); ++layout)
        found = plain(layout);
    return found;
}

bool Keymap::repeats(quint32 key) const
{
    return m_keymap && xkb_keymap_key_repeats(m_keymap.get(), key + firstCode);
}

bool Keymap::isShiftDown() const
{
    return m_state && xkb_state_mod_name_is_active(m_state.get(), XKB_MOD_NAME_SHIFT, XKB_STATE_MODS_DEPRESSED) > 0;
}

} // namespace qm
