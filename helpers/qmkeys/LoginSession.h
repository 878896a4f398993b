#pragma once

#include <functional>
#include <optional>
#include <string>

namespace qm {

// The seat at which the user sits, if the session that this process belongs to is the one in front there.
struct LoginSession {
    int descriptor = -1;                                    // readable when that may have changed
    std::function<std::optional<std::string>()> activeSeat; // asks anew; also when descriptor is to become quiet
};

// By the login manager. std::nullopt without one: then nobody tells to whom the keys belong.
std::optional<LoginSession> followLogin();

} // namespace qm
