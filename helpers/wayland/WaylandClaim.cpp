#include "helpers/wayland/WaylandClaim.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/file.h>

namespace qm {

bool WaylandClaim::take()
{
    const char *folder = std::getenv("XDG_RUNTIME_DIR");
    const char *display = std::getenv("WAYLAND_DISPLAY");
    if (!folder || !display)
        return true;
    // A display may be named by its whole path.
    const std::string name = display;
    const std::string path = std::string(folder) + "/quillmere-capture-" + name.substr(name.rfind('/') + 1) + ".lock";
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    return file < 0 ||
           flock(file, LOCK_EX | LOCK_NB) == 0; // without a runtime folder, the next capture is not kept out
}

} // namespace qm
