#include "helpers/sandbox/Sandbox.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/landlock.h>
#include <memory>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace qm {

namespace {

// Calls of kernels newer than Linux 5.18, which all architectures number alike: some of them, too, change files.
constexpr int firstUnknownCall = 451, endOfUnknownCalls = 600;

// landlock(7), whose calls no library wraps: files can be read, and nothing be done to them, whatever system call it takes.
// What only later forms know (truncating, sockets) is left to the filter.
void allowReadingOnly()
{
    constexpr quint64 reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    constexpr quint64 firstForm = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1; // Linux 5.13
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = firstForm;
    const int rules = int(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled.handled_access_fs, 0));
    if (rules < 0)
        return; // not in this kernel, or switched off
    const int root = open("/", O_PATH | O_CLOEXEC);
    const landlock_path_beneath_attr everywhere{reading, root};
    if (syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &everywhere, 0) == 0)
        syscall(SYS_landlock_restrict_self, rules, 0);
    close(root);
    close(rules);
}

} // namespace

void Sandbox::limit(quint64 memory, std::chrono::seconds time)
{
    const auto set = [](auto resource, rlim_t most) {
        const rlimit both{most, most};
        setrlimit(resource, &both);
    };
    set(RLIMIT_AS, rlim_t(memory));
    set(RLIMIT_CORE, 0);
    if (time.count() > 0)
        set(RLIMIT_CPU, rlim_t(time.count()));
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC); // proc(5): raising it needs no privilege
    if (file >= 0) {
        [[maybe_unused]] const ssize_t written = write(file, "1000", 4);
        close(file);
    }
}

bool Sandbox::enter()
{
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return false;
    allowReadingOnly();

    const std::unique_ptr<void, decltype(&seccomp_release)> filter(seccomp_init(SCMP_ACT_ALLOW), &seccomp_release);
    if (!filter || seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1) != 0 ||
        seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2) != 0) // a search tree in place of a list
        return false;
    bool complete = true;
    const auto deny = [&](int call, int error, std::initializer_list<scmp_arg_cmp> arguments = {}) {
        const int added = seccomp_rule_add_array(filter.get(), SCMP_ACT_ERRNO(quint32(error)), call,
                                                 unsigned(arguments.size()), arguments.begin());
        // Calls that this architecture never had need no rule.
        complete &= added == 0 || added == -EDOM;
    };
    for (const int call :
         {// Programs, and other processes.
          SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(kill), SCMP_SYS(tkill), SCMP_SYS(rt_sigqueueinfo),
          SCMP_SYS(pidfd_open), SCMP_SYS(pidfd_send_signal), SCMP_SYS(pidfd_getfd), SCMP_SYS(ptrace),
          SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev), SCMP_SYS(kcmp),
          // Sockets, shared memory and message queues.
          SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(shmget),
          SCMP_SYS(msgget), SCMP_SYS(semget), SCMP_SYS(mq_open),
          // Files: what changes or makes them. Opening them is looked at below.
          SCMP_SYS(creat), SCMP_SYS(truncate), SCMP_SYS(ftruncate), SCMP_SYS(fallocate), SCMP_SYS(unlink),
          SCMP_SYS(unlinkat), SCMP_SYS(rename), SCMP_SYS(renameat), SCMP_SYS(renameat2), SCMP_SYS(link),
          SCMP_SYS(linkat), SCMP_SYS(symlink), SCMP_SYS(symlinkat), SCMP_SYS(mkdir), SCMP_SYS(mkdirat), SCMP_SYS(rmdir),
          SCMP_SYS(mknod), SCMP_SYS(mknodat), SCMP_SYS(chmod), SCMP_SYS(fchmod), SCMP_SYS(fchmodat), SCMP_SYS(chown),
          SCMP_SYS(fchown), SCMP_SYS(lchown), SCMP_SYS(fchownat), SCMP_SYS(utime), SCMP_SYS(utimes),
          SCMP_SYS(futimesat), SCMP_SYS(utimensat), SCMP_SYS(setxattr), SCMP_SYS(lsetxattr), SCMP_SYS(fsetxattr),
          SCMP_SYS(removexattr), SCMP_SYS(lremovexattr), SCMP_SYS(fremovexattr), SCMP_SYS(open_by_handle_at),
          // The kernel.
          SCMP_SYS(mount), SCMP_SYS(umount2), SCMP_SYS(pivot_root), SCMP_SYS(chroot), SCMP_SYS(unshare),
          SCMP_SYS(setns), SCMP_SYS(bpf), SCMP_SYS(perf_event_open), SCMP_SYS(userfaultfd), SCMP_SYS(keyctl),
          SCMP_SYS(add_key), SCMP_SYS(request_key), SCMP_SYS(inotify_init1), SCMP_SYS(fanotify_init)})
        deny(call, EPERM);
    deny(SCMP_SYS(rt_tgsigqueueinfo), EPERM);
    deny(SCMP_SYS(tgkill), EPERM, {SCMP_A0_64(SCMP_CMP_NE, quint64(getpid()))}); // abort(3) sends itself one
    for (const quint64 request : {quint64(TIOCSTI), quint64(TIOCLINUX)}) // types into the terminal that we run in
        deny(SCMP_SYS(ioctl), EPERM, {SCMP_A1_64(SCMP_CMP_MASKED_EQ, 0xffffffff, request)});
    // Their arguments are out of a filter's sight; programs know that older kernels lack them.
    for (const int call : {SCMP_SYS(openat2), SCMP_SYS(io_uring_setup)})
        deny(call, ENOSYS);
    for (int call = firstUnknownCall; call < endOfUnknownCalls; ++call)
        deny(call, ENOSYS);
    for (const quint64 flag : {quint64(O_WRONLY), quint64(O_RDWR), quint64(O_CREAT), quint64(O_TRUNC)}) {
        deny(SCMP_SYS(open), EPERM, {SCMP_A1_64(SCMP_CMP_MASKED_EQ, flag, flag)});
        deny(SCMP_SYS(openat), EPERM, {SCMP_A2_64(SCMP_CMP_MASKED_EQ, flag, flag)});
    }
    return complete && seccomp_load(filter.get()) == 0;
}

bool Sandbox::enterForGood()
{
#ifdef __SANITIZE_ADDRESS__
    if (qEnvironmentVariableIsEmpty("QM_CONFINED"))
        return true;
#endif
    return enter();
}

} // namespace qm
