#pragma once

namespace qm {

// Deletes what a C library has made: std::unique_ptr<wl_display, CallingDeleter<wl_display_disconnect>>.
template<auto destroy>
struct CallingDeleter {
    template<class T>
    void operator()(T *object) const
    {
        destroy(object);
    }
};

} // namespace qm
