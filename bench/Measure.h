#pragma once

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <limits>

namespace qm::bench {

// Best CPU time of this process for the work over several runs, in seconds; other load on the machine drops out.
// prepare runs before each run, untimed.
inline double bestOf(int runs, const std::function<void()> &work, const std::function<void()> &prepare = {})
{
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    };
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        if (prepare)
            prepare();
        const double start = now();
        work();
        best = std::min(best, now() - start);
    }
    return best;
}

// Rows of the index that a benchmark fills: 100,000, or QM_BENCH_ROWS from the environment.
inline int rows()
{
    const char *wanted = std::getenv("QM_BENCH_ROWS");
    return wanted ? std::atoi(wanted) : 100'000;
}

} // namespace qm::bench
