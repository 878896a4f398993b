#pragma once

// kqueue(2)

#include <cstdint>
#include <time.h>

struct kevent {
    uintptr_t ident;
    int16_t filter;
    uint16_t flags;
    uint32_t fflags;
    intptr_t data;
    void *udata;
};

#define EVFILT_READ (-1)
#define EVFILT_WRITE (-2)
#define EV_ADD 0x0001
#define EV_CLEAR 0x0020
#define EV_EOF 0x8000
#define EV_SET(event, i, f, fl, ff, d, u)                                                                              \
    do {                                                                                                               \
        struct kevent *made = (event);                                                                                 \
        made->ident = (i);                                                                                             \
        made->filter = (f);                                                                                            \
        made->flags = (fl);                                                                                            \
        made->fflags = (ff);                                                                                           \
        made->data = (d);                                                                                              \
        made->udata = (u);                                                                                             \
    } while (0)

extern "C" int kqueue(void);
extern "C" int kevent(int queue, const struct kevent *changes, int changeCount, struct kevent *events, int eventCount,
                      const struct timespec *timeout);
