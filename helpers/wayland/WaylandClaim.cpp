#include "helpers/wayland/WaylandClaim.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace qm {

WaylandClaim::WaylandClaim()
{
    const char *folder = std::getenv("XDG_RUNTIME_DIR");
    const char *display = std::getenv("WAYLAND_DISPLAY");
    if (!folder || !display)
        return;
    // A display may be named by its whole path.
    const std::string name = display;
    const std::string path = std::string(folder) + "/quillmere-capture-" + name.substr(name.rfind('/') + 1) + ".lock";
    m_file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    m_isOurs = m_file < 0 || flock(m_file, LOCK_EX | LOCK_NB) == 0;
}

void WaylandClaim::giveUp()
{
    m_isOurs = false;
    if (m_file >= 0)
        close(std::exchange(m_file, -1));
}

} // namespace qm
