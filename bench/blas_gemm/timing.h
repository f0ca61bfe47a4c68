// Timing shared by the GEMM benchmarks. With `cputime` set, a run on one
// thread is timed by the CPU time of the calling thread (every library then
// computes on that thread), which keeps the ratios honest on a machine
// shared with other work; runs on more threads keep the wall clock.
#pragma once
#include <cmath>
#include <ctime>

#include "common/bench.h"
#include "qor/qor.h"

namespace gemm_bench {

inline bool cputime = false;

inline double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// The best of at least min_reps runs and min_seconds in all.
template <class F>
double best_time(F&& body, double min_seconds, int min_reps) {
  if (!cputime || qor_get_max_threads() > 1) return qor::bench::best_time(body, min_seconds, min_reps);
  double best = 1e300, total = 0;
  for (int r = 0; r < min_reps || total < min_seconds; ++r) {
    const double t0 = thread_seconds();
    body();
    const double t = thread_seconds() - t0;
    total += t;
    best = std::fmin(best, t);
  }
  return best;
}

}  // namespace gemm_bench
