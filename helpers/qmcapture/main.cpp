// qmcapture -i PATH    the user draws a region; its picture is written to PATH
// qmcapture -iw PATH   the user points at a window
// Exit status 0: written, or cancelled (no file); 1: failed, with one line on stderr and no file.
//
// This program is only the first stage: it grabs the input, freezes the screen, shows it dimmed, and then loads the
// rest. Loading Qt takes longer than all of that, and a screen that responds late to a key feels broken.

#include "helpers/qmcapture/Choice.h"
#include "helpers/x11/CaptureClaim.h"
#include "helpers/x11/Curtain.h"

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qm;

namespace {

int fail(const char *reason, const std::string &subject = {})
{
    std::fprintf(stderr, "qmcapture: %s%s\n", reason, subject.c_str());
    return 1;
}

std::string folderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool isWritableFolder(const std::string &path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && access(path.c_str(), W_OK | X_OK) == 0;
}

ChooseFunction loadRest()
{
    char program[PATH_MAX] = {};
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0)
        return nullptr;
    void *library = dlopen((folderOf(program) + '/' + choiceLibraryName).c_str(), RTLD_LAZY);
    return library ? reinterpret_cast<ChooseFunction>(dlsym(library, chooseFunctionName)) : nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM); // an overlay must not outlive the program that waits for it

    const char *mode = argc == 3 ? argv[1] : "";
    if (std::strcmp(mode, "-i") != 0 && std::strcmp(mode, "-iw") != 0)
        return fail("usage: qmcapture -i|-iw PATH");
    if (const std::string folder = folderOf(argv[2]); !isWritableFolder(folder))
        return fail("cannot write to the folder ", folder);

    const std::unique_ptr<XConnection> server = XConnection::open();
    if (!server)
        return fail("no X server");
    if (!CaptureClaim::take(*server))
        return 0;
    Curtain curtain(*server);
    const ChooseFunction choose = loadRest();
    if (!choose)
        return fail("cannot load ", std::string(choiceLibraryName) + ": " + dlerror());
    return choose(curtain, std::strcmp(mode, "-i") == 0 ? CaptureMode::region : CaptureMode::window, argv[2]);
}
