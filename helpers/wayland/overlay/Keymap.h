#pragma once

#include <QtGlobal>

#include <memory>

struct xkb_keymap;
struct xkb_state;

namespace qm {

// The keyboard's layouts and modifiers, as the compositor tells them.
class Keymap
{
public:
    Keymap();
    ~Keymap();
    Q_DISABLE_COPY_MOVE(Keymap)

    void read(int file, quint32 size); // closes file; keys have no symbols if it makes no sense
    void setModifiers(quint32 depressed, quint32 latched, quint32 locked, quint32 group);

    // Without modifiers, of the layout in use. Where its alphabet is not Latin, of another layout that the user has: the
    // letters have to be reachable. key: as the kernel numbers it. 0: none.
    quint32 symbol(quint32 key) const;
    bool repeats(quint32 key) const;
    bool isShiftDown() const;

private:
    struct Deleter {
        void operator()(xkb_keymap *keymap) const;
        void operator()(xkb_state *state) const;
    };
    std::unique_ptr<xkb_keymap, Deleter> m_keymap;
    std::unique_ptr<xkb_state, Deleter> m_state;
};

} // namespace qm
