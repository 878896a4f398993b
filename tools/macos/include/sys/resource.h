#pragma once

#include_next <sys/resource.h>

#include <cstdint>

typedef void *rusage_info_t;
struct rusage_info_v0 { // only the fields read here
    uint8_t ri_uuid[16];
    uint64_t ri_user_time;
    uint64_t ri_system_time;
};
#define RUSAGE_INFO_V0 0
