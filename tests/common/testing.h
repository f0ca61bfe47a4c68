// Helpers shared by the test programs.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
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

// Runs body once on every runnable path, asserting that the path was in
// force and, when `expect_hits` is set, that the kernel library asked for it
// (the tuned body was really reached).
template <class F>
void on_every_path(F&& body, bool expect_hits = false) {
  for (int p : runnable_paths()) {
    SCOPED_TRACE(std::string("cpu path ") + qor_cpu_path_name(p));
    PathGuard guard(p);
    ASSERT_EQ(qor_get_cpu_path(), p);
    std::int64_t before = qor_cpu_path_hits(p);
    body(p);
    if (expect_hits && p != QOR_CPU_PATH_BASELINE) {
      EXPECT_GT(qor_cpu_path_hits(p), before) << "the tuned body was not reached";
    }
  }
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
