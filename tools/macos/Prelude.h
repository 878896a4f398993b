// Included before every source of the check.
//
// The C library's declarations come from musl, which follows POSIX. Whatever it has beyond POSIX that macOS lacks is
// made an error here, and types that differ on macOS are replaced.
#define _BSD_SOURCE
#define _XOPEN_SOURCE 700

#define __DEFINED_int64_t
#define __DEFINED_uint64_t
#define __DEFINED_intmax_t
#define __DEFINED_uintmax_t
#define __DEFINED_off_t
#define __DEFINED_time_t
typedef __INT64_TYPE__ int64_t; // long long, not long
typedef __UINT64_TYPE__ uint64_t;
typedef __INTMAX_TYPE__ intmax_t;
typedef __UINTMAX_TYPE__ uintmax_t;
typedef __INT64_TYPE__ off_t;
typedef long time_t;

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#undef MADV_HUGEPAGE
#undef MSG_NOSIGNAL
#undef O_ACCMODE
#undef O_PATH
#undef O_SEARCH
#undef O_TMPFILE
#undef POLLRDHUP
#undef SOCK_CLOEXEC
#undef SOCK_NONBLOCK
#define O_ACCMODE 3
#pragma GCC poison accept4 clock_getcpuclockid execvpe fallocate mempcpy memrchr pipe2 posix_fallocate ppoll           \
    sem_timedwait
