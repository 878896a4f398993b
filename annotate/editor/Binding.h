#pragma once

#include <functional>

namespace qm {

// A value stored elsewhere that can be read and changed from here. Use it on the owner's thread and only while the
// owner lives.
template<class T>
struct Binding {
    std::function<T()> get;
    std::function<void(T)> set;
};

} // namespace qm
