#pragma once

namespace qm {

// Only one helper lets the user choose at a time: meanwhile it has a lock in the runtime folder, one for each compositor.
class WaylandClaim
{
public:
    WaylandClaim();
    ~WaylandClaim() { giveUp(); }
    WaylandClaim(const WaylandClaim &) = delete;
    WaylandClaim &operator=(const WaylandClaim &) = delete;

    bool isOurs() const { return m_isOurs; } // false if another helper has it
    void giveUp();                           // lets the next one have it

private:
    int m_file = -1;
    bool m_isOurs = true; // without a runtime folder, the next capture is not kept out
};
} // namespace qm
