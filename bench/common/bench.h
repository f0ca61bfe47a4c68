// Shared pieces of the benchmarks: loading a peer library privately,
// timing, the report line and the rows it records (common/results.h).
#pragma once
#include <algorithm>
#include <string>

#include "common/results.h"

namespace qor::bench {

// A peer library opened with RTLD_LOCAL, so its BLAS names do not clash
// with ours. sym() gives null when the library or the name is missing.
//
// A peer is measured with the kernels it picks for this machine: the
// environment variables in `set_aside` (OPENBLAS_CORETYPE, which pins
// OpenBLAS to an older kernel set, and the like) are removed while it loads
// and makes that choice, and put back afterwards, so nothing else sees a
// change. OpenBLAS, which knows processors by model number, takes a generic
// SSE3 set on a processor newer than itself: it is then loaded again with
// OPENBLAS_CORETYPE naming the set the machine's instructions call for
// (Haswell, SkylakeX, Cooperlake). QOR_BENCH_PEER_ENV=keep does neither.
// The constructor prints the kernels the peer runs and records them with
// the results.
class Peer {
 public:
  Peer(const char* label, const char* const* files, const char* const* set_aside = nullptr);
  ~Peer();
  bool ok() const { return handle_ != nullptr; }
  const std::string& label() const { return label_; }
  void* sym(const char* name) const;
  template <class F> F* fn(const char* name) const { return reinterpret_cast<F*>(sym(name)); }
  // Sets the peer's thread count where it has a call for it.
  void set_threads(int n) const;
  // The peer's kernel choice ("SkylakeX") and its build description.
  const std::string& kernels() const { return kernels_; }
  const std::string& config() const { return config_; }

 private:
  void describe();
  std::string label_, kernels_, config_;
  void* handle_ = nullptr;
};

Peer& openblas();
Peer& blis();

double now();
// The calling thread's processor time: on one thread a figure that a
// machine shared with other work does not inflate by preemption.
double thread_seconds();

// Best time in seconds of `body` over repetitions, running at least
// `min_seconds` in all and at least `min_reps` times, by `clock`.
template <class F>
double best_time(F&& body, double min_seconds = 0.2, int min_reps = 3, double (*clock)() = now);

// Best times of two bodies timed in alternating rounds, so that a change in
// the machine's load or clock during the run reaches both figures alike.
struct Pair {
  double first, second;
};
template <class F, class G>
Pair best_times_alternating(F&& a, G&& b, double min_seconds = 0.2, int rounds = 3, int min_reps = 3,
                            double (*clock)() = now);

// What a result line measures: the label printed, and for the recorded
// rows the operation, the type letter, the size (as printed and as a
// number), the working set in bytes for bandwidths, and the thread count.
struct Case {
  std::string what;
  std::string operation;
  std::string type;
  std::string size;
  double n = 0;
  double bytes = 0;
  int threads = 1;
};

// One result line: what, size, then our figure and each peer's, with ratios
// (peer time / our time: above 1 means we are faster). `work` is in the
// unit's numerator per call (GFLOP or GB). Also records a row for qor and
// one for each peer that ran.
void report(const Case& c, double ours_s, const char* unit, double work, const std::string& peer1 = "",
            double peer1_s = 0, const std::string& peer2 = "", double peer2_s = 0);
// The same with the label as operation and no type, on the threads qor
// would use.
void report(const std::string& what, const std::string& size, double ours_s, const char* unit, double work,
            const std::string& peer1 = "", double peer1_s = 0, const std::string& peer2 = "", double peer2_s = 0);
// The rows of report() without the printed line, for programs that print
// lines of their own.
void record_result(const Case& c, double ours_s, const char* unit, double work, const std::string& peer1 = "",
                   double peer1_s = 0, const std::string& peer2 = "", double peer2_s = 0);
// Records a figure of one library alone (a measured reference, or one of
// qor's bodies forced): no printed line.
void record_alone(const Case& c, const std::string& library, double seconds, const char* unit, double work);

template <class F>
double best_time(F&& body, double min_seconds, int min_reps, double (*clock)()) {
  double best = 1e300, total = 0;
  for (int r = 0; r < min_reps || total < min_seconds; ++r) {
    double t0 = clock();
    body();
    double t = clock() - t0;
    total += t;
    if (t < best) best = t;
    if (r > 10000) break;
  }
  return best;
}

template <class F, class G>
Pair best_times_alternating(F&& a, G&& b, double min_seconds, int rounds, int min_reps, double (*clock)()) {
  Pair best{1e300, 1e300};
  for (int r = 0; r < rounds; ++r) {
    best.first = std::min(best.first, best_time(a, min_seconds / rounds, min_reps, clock));
    best.second = std::min(best.second, best_time(b, min_seconds / rounds, min_reps, clock));
  }
  return best;
}

}  // namespace qor::bench
