#pragma once

// The names of a file's times differ from Linux.

#include <sys/types.h>
#include <time.h>

struct stat {
    dev_t st_dev;
    ino_t st_ino;
    mode_t st_mode;
    nlink_t st_nlink;
    uid_t st_uid;
    gid_t st_gid;
    off_t st_size;
    struct timespec st_atimespec, st_mtimespec, st_ctimespec;
};
#define S_IFMT 0170000
#define S_IFDIR 0040000
#define S_IFREG 0100000
#define S_IFLNK 0120000
#define S_ISDIR(mode) (((mode)&S_IFMT) == S_IFDIR)
#define S_ISREG(mode) (((mode)&S_IFMT) == S_IFREG)
#define S_ISLNK(mode) (((mode)&S_IFMT) == S_IFLNK)

extern "C" {
int stat(const char *path, struct stat *status);
int lstat(const char *path, struct stat *status);
int fstat(int descriptor, struct stat *status);
int chmod(const char *path, mode_t mode);
int fchmod(int descriptor, mode_t mode);
mode_t umask(mode_t mask);
int mkdir(const char *path, mode_t mode);
int mkfifo(const char *path, mode_t mode);
}
