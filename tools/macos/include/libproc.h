#pragma once

#include <sys/resource.h>

extern "C" int proc_pid_rusage(int pid, int flavor, rusage_info_t *buffer);
