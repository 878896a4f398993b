#include "helpers/qmkeys/Confinement.h"

#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <linux/input.h>
#include <memory>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace qm {

bool Confinement::keepOneGroup()
{
    const gid_t group = getegid();
    const uid_t user = getuid();
    [[maybe_unused]] const int emptied = setgroups(0, nullptr); // only root may
    return setresgid(group, group, group) == 0 && setresuid(user, user, user) == 0;
}

bool Confinement::enter(std::initializer_list<int> moreCalls)
{
    // Neither a core file nor another program of the same user shall see what is read.
    const rlimit none{0, 0};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0 ||
        setrlimit(RLIMIT_CORE, &none) != 0)
        return false;
    // As on a kernel that lacks the call: libraries then do without, where they can.
    const std::unique_ptr<void, decltype(&seccomp_release)> filter(seccomp_init(SCMP_ACT_ERRNO(ENOSYS)),
                                                                   &seccomp_release);
    if (!filter)
        return false;
    bool complete = true;
    const auto allow = [&](int call, std::initializer_list<scmp_arg_cmp> arguments = {}) {
        const int added =
            seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call, unsigned(arguments.size()), arguments.begin());
        complete &= added == 0 || added == -EDOM; // calls that this architecture never had
    };
    for (const int call :
         {SCMP_SYS(read), SCMP_SYS(close), SCMP_SYS(poll), SCMP_SYS(ppoll), // events and udev's news
          SCMP_SYS(recvfrom), SCMP_SYS(recvmsg),
          // Finding a device and its properties.
          SCMP_SYS(fstat), SCMP_SYS(lstat), SCMP_SYS(stat), SCMP_SYS(newfstatat), SCMP_SYS(statx), SCMP_SYS(fstatfs),
          SCMP_SYS(statfs), SCMP_SYS(access), SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink),
          SCMP_SYS(readlinkat), SCMP_SYS(getdents64), SCMP_SYS(lseek), SCMP_SYS(_llseek), SCMP_SYS(name_to_handle_at),
          // Memory, time and the end.
          SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(futex), SCMP_SYS(getrandom),
          SCMP_SYS(clock_gettime), SCMP_SYS(clock_gettime64), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getuid),
          SCMP_SYS(geteuid), SCMP_SYS(getgid), SCMP_SYS(getegid), SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall),
          SCMP_SYS(exit), SCMP_SYS(exit_group)})
        allow(call);
    for (const int call : moreCalls)
        allow(call);
    allow(SCMP_SYS(mmap), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, 4, 0)}); // nothing that can be run (PROT_EXEC)
    allow(SCMP_SYS(write), {SCMP_A0_64(SCMP_CMP_LE, STDERR_FILENO)});
    constexpr scmp_datum_t changing = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;
    allow(SCMP_SYS(open), {SCMP_A1_64(SCMP_CMP_MASKED_EQ, changing, 0)});
    allow(SCMP_SYS(openat), {SCMP_A2_64(SCMP_CMP_MASKED_EQ, changing, 0)});
    allow(SCMP_SYS(fcntl), {SCMP_A1_64(SCMP_CMP_EQ, F_GETFL)});
    allow(SCMP_SYS(fcntl), {SCMP_A1_64(SCMP_CMP_EQ, F_SETFD)});
    allow(SCMP_SYS(fcntl), {SCMP_A1_64(SCMP_CMP_EQ, F_GETFD)});
    // Of evdev's calls those that ask, EVIOCG..., and the mask of what this process is told.
    constexpr scmp_datum_t directionAndKind = 0xc000ff00;
    allow(SCMP_SYS(ioctl), {SCMP_A1_64(SCMP_CMP_MASKED_EQ, directionAndKind, _IOC(_IOC_READ, 'E', 0, 0))});
    allow(SCMP_SYS(ioctl), {SCMP_A1_64(SCMP_CMP_EQ, EVIOCSMASK)});
    return complete && seccomp_load(filter.get()) == 0;
}

} // namespace qm
