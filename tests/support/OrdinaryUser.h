#pragma once

#include <unistd.h>

namespace qm {

// Root may do everything, so a test of what is forbidden would pass with the code broken. While this lives, the process
// acts as nobody, where it was started by root. Make it before the files of the test.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        if (geteuid() == 0)
            m_dropped = setegid(nobody) == 0 && seteuid(nobody) == 0;
    }
    ~OrdinaryUser()
    {
        if (m_dropped && (seteuid(0) != 0 || setegid(0) != 0))
            _exit(1);
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    static constexpr unsigned nobody = 65534;
    bool m_dropped = false;
};

} // namespace qm
