// Shared pieces of the benchmarks: loading a peer library privately,
// timing, and the report line.
#pragma once
#include <algorithm>
#include <string>

namespace qor::bench {

// A peer library opened with RTLD_LOCAL, so its BLAS names do not clash
// with ours. sym() gives null when the library or the name is missing.
class Peer {
 public:
  Peer(const char* label, const char* const* files);
  ~Peer();
  bool ok() const { return handle_ != nullptr; }
  const std::string& label() const { return label_; }
  void* sym(const char* name) const;
  template <class F> F* fn(const char* name) const { return reinterpret_cast<F*>(sym(name)); }
  // Sets the peer's thread count where it has a call for it.
  void set_threads(int n) const;

 private:
  std::string label_;
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

// One result line: what, size, then our figure and each peer's, with ratios
// (peer time / our time: above 1 means we are faster).
void report(const std::string& what, const std::string& size, double ours_s, const char* unit, double work,
            const std::string& peer1 = "", double peer1_s = 0, const std::string& peer2 = "", double peer2_s = 0);

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
