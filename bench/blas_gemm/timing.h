// Timing shared by the GEMM benchmarks. With `cputime` set, a run on one
// thread is timed by the CPU time of the calling thread (every library then
// computes on that thread), which keeps the ratios honest on a machine
// shared with other work; runs on more threads keep the wall clock.
#pragma once
#include "common/bench.h"
#include "qor/qor.h"

namespace gemm_bench {

inline bool cputime = false;

using qor::bench::thread_seconds;

// The best of at least min_reps runs and min_seconds in all.
template <class F>
double best_time(F&& body, double min_seconds, int min_reps) {
  const bool cpu = cputime && qor_get_max_threads() == 1;
  return qor::bench::best_time(body, min_seconds, min_reps, cpu ? thread_seconds : qor::bench::now);
}

}  // namespace gemm_bench
