#pragma once

namespace qm {

// Only one helper lets the user choose at a time: meanwhile it has a lock in the runtime folder, one for each compositor.
namespace WaylandClaim {

// False if another helper has it. Until the process ends.
[[nodiscard]] bool take();

} // namespace WaylandClaim
} // namespace qm
