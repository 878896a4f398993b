#pragma once

#include <functional>

namespace qm {

// A value that lives elsewhere and can be read and changed from here. Used on the thread of whoever owns the value, and
// no longer than that lives.
template<class T>
struct Binding {
    std::function<T()> get;
    std::function<void(T)> set;
};

} // namespace qm
