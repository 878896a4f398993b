#pragma once

#include <cstdint>

typedef int kern_return_t;
#define KERN_SUCCESS 0
struct mach_timebase_info {
    uint32_t numer;
    uint32_t denom;
};
typedef struct mach_timebase_info mach_timebase_info_data_t;
typedef struct mach_timebase_info *mach_timebase_info_t;

extern "C" kern_return_t mach_timebase_info(mach_timebase_info_t info);
