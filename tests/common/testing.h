// Helpers shared by the test programs.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "qor/qor.h"

namespace qor::test {

// The processor paths this machine can execute, baseline first.
std::vector<int> runnable_paths();

// Forces a processor path for the life of the guard and restores the
// automatic choice afterwards.
class PathGuard {
 public:
  explicit PathGuard(int path);
  ~PathGuard();
  PathGuard(const PathGuard&) = delete;
  PathGuard& operator=(const PathGuard&) = delete;
};

// The processor paths on which the code under test has a tuned body of its
// own, which the test proves was reached.
class TunedOn {
 public:
  static TunedOn none() { return TunedOn(0); }
  // Every path but the baseline.
  static TunedOn every_tuned_path() { return TunedOn(~1u); }
  static TunedOn paths(std::initializer_list<int> ps) {
    unsigned m = 0;
    for (int p : ps) m |= 1u << p;
    return TunedOn(m);
  }
  bool has(int path) const { return (mask_ >> path) & 1u; }

 private:
  explicit TunedOn(unsigned m) : mask_(m) {}
  unsigned mask_;
};

// Runs body once on every runnable path, asserting that the path was in
// force and, on the paths `tuned` names, that the kernel library asked for
// the path and was told yes (its tuned body was really reached).
template <class F>
void on_every_path(F&& body, TunedOn tuned) {
  for (int p : runnable_paths()) {
    SCOPED_TRACE(std::string("cpu path ") + qor_cpu_path_name(p));
    PathGuard guard(p);
    ASSERT_EQ(qor_get_cpu_path(), p);
    std::int64_t before = qor_cpu_path_hits(p);
    body(p);
    if (tuned.has(p) && p != QOR_CPU_PATH_BASELINE) {
      EXPECT_GT(qor_cpu_path_hits(p), before) << "the tuned body was not reached";
    }
  }
}

// The same, with `expect_hits` standing for every tuned path or none.
template <class F>
void on_every_path(F&& body, bool expect_hits = false) {
  on_every_path(std::forward<F>(body), expect_hits ? TunedOn::every_tuned_path() : TunedOn::none());
}

// Watches both allocation pools over a scope: on exit it checks that every
// block handed out was given back, and clears any injected fault.
class AllocWatch {
 public:
  AllocWatch();
  ~AllocWatch();
  std::int64_t allocations() const;  // blocks handed out since the start
  std::int64_t failures() const;      // requests refused since the start
 private:
  qor_alloc_counts start_;
};

// Collects warnings and argument errors instead of printing them.
class MessageCapture {
 public:
  MessageCapture();
  ~MessageCapture();
  struct Entry {
    int kind;
    std::string routine, text;
  };
  const std::vector<Entry>& entries() const { return entries_; }
  int count(int kind) const;

 private:
  static void handler(int kind, const char* routine, const char* text, void* user);
  std::vector<Entry> entries_;
};

// Deterministic pseudo-random values in [-1, 1).
class Rng {
 public:
  explicit Rng(std::uint64_t seed = 12345) : s_(seed * 0x9E3779B97F4A7C15ULL + 1) {}
  double next() {
    s_ ^= s_ << 13;
    s_ ^= s_ >> 7;
    s_ ^= s_ << 17;
    return static_cast<double>(s_ >> 11) * 0x1p-52 - 1.0;
  }

 private:
  std::uint64_t s_;
};

}  // namespace qor::test
