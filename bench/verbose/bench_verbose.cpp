// What verbose mode costs when it is off. Every public entry begins with the
// trace's check (one load of the verbose word and a branch not taken); the
// dispatching names (qor_blas_*) that the public entries call have none.
// Tiny calls, where a fixed cost shows most, are timed both ways in
// alternating rounds, best of many, and the ratio public time / dispatching
// time printed: it is what the whole public layer adds (the check, and the
// widening of 32-bit arguments to the dispatching names' 64-bit ones). A
// last line gives the cost with verbose mode on, its lines dropped by a
// handler, for comparison.
//
// To separate the check from the rest of the public layer, point
// QOR_BENCH_UNTRACED_CORE at a core library built without the trace: its
// public names are loaded privately and timed against ours in alternating
// rounds, and the ratio traced / untraced printed.
//
//   bench_verbose [seconds]   total timing budget per pair (default 2)
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "blas/gemm/dispatch.h"
#include "blas/level1/dispatch.h"
#include "common/bench.h"
#include "qor/blas.h"
#include "qor/qor.h"

namespace {

using i64 = std::int64_t;

constexpr int kCalls = 2000;  // calls per timed body
constexpr int kRounds = 40;   // alternating rounds per pair

volatile double g_sink;

std::string cpu_model() {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  return "unknown";
}

int vector_bits() {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  return f.avx512f ? 512 : f.avx ? 256 : 128;
}

void drop(int, const char*, const char*, void*) {}

struct Row {
  const char* what;
  double pub, disp;
};

template <class P, class D>
Row pair(const char* what, double seconds, P&& pub, D&& disp) {
  auto a = [&] {
    for (int i = 0; i < kCalls; ++i) pub();
  };
  auto b = [&] {
    for (int i = 0; i < kCalls; ++i) disp();
  };
  a();
  b();
  const auto best = qor::bench::best_times_alternating(a, b, seconds, kRounds, 5);
  return {what, best.first / kCalls, best.second / kCalls};
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 2.0;
  qor_set_verbose(0);
  qor_set_num_threads(1);
  std::printf("verbose mode off: tiny public calls against their dispatching names\n");
  std::printf("processor: %s, %d-bit vectors, path %s\n", cpu_model().c_str(), vector_bits(),
              qor_cpu_path_name(qor_get_cpu_path()));

  std::vector<double> x(64, 0.5), y(64, 0.25), a(16, 0.5), b(16, 0.25), c(16, 0.0);
  const int n8 = 8, one = 1, four = 4;
  const i64 n8l = 8, onel = 1, fourl = 4;
  const double alpha = 1e-9, beta = 1.0;

  std::vector<Row> rows;
  rows.push_back(pair(
      "daxpy n=8", seconds, [&] { daxpy_(&n8, &alpha, x.data(), &one, y.data(), &one); },
      [&] { qor_blas_daxpy(&n8l, &alpha, x.data(), &onel, y.data(), &onel); }));
  rows.push_back(pair(
      "ddot n=8", seconds, [&] { g_sink = ddot_(&n8, x.data(), &one, y.data(), &one); },
      [&] { g_sink = qor_blas_ddot(&n8l, x.data(), &onel, y.data(), &onel); }));
  rows.push_back(pair(
      "dgemm 4x4x4", seconds,
      [&] {
        dgemm_("N", "N", &four, &four, &four, &alpha, a.data(), &four, b.data(), &four, &beta, c.data(), &four, 1, 1);
      },
      [&] {
        qor_blas_dgemm("N", "N", &fourl, &fourl, &fourl, &alpha, a.data(), &fourl, b.data(), &fourl, &beta, c.data(),
                       &fourl);
      }));

  std::printf("%-14s %14s %16s %24s\n", "call", "public ns", "dispatching ns", "ratio public/dispatching");
  for (const Row& r : rows)
    std::printf("%-14s %14.2f %16.2f %24.3f\n", r.what, r.pub * 1e9, r.disp * 1e9, r.pub / r.disp);

  if (const char* other = std::getenv("QOR_BENCH_UNTRACED_CORE"); other != nullptr && *other != '\0') {
    void* h = dlopen(other, RTLD_NOW | RTLD_LOCAL);
    auto* axpy = h ? reinterpret_cast<decltype(&daxpy_)>(dlsym(h, "daxpy_")) : nullptr;
    auto* dot = h ? reinterpret_cast<decltype(&ddot_)>(dlsym(h, "ddot_")) : nullptr;
    auto* gemm = h ? reinterpret_cast<decltype(&dgemm_)>(dlsym(h, "dgemm_")) : nullptr;
    if (axpy == nullptr || dot == nullptr || gemm == nullptr) {
      std::printf("untraced core %s: not loaded (%s)\n", other, h ? "names missing" : dlerror());
    } else {
      std::vector<Row> ab;
      ab.push_back(pair(
          "daxpy n=8", seconds, [&] { daxpy_(&n8, &alpha, x.data(), &one, y.data(), &one); },
          [&] { axpy(&n8, &alpha, x.data(), &one, y.data(), &one); }));
      ab.push_back(pair(
          "ddot n=8", seconds, [&] { g_sink = ddot_(&n8, x.data(), &one, y.data(), &one); },
          [&] { g_sink = dot(&n8, x.data(), &one, y.data(), &one); }));
      ab.push_back(pair(
          "dgemm 4x4x4", seconds,
          [&] {
            dgemm_("N", "N", &four, &four, &four, &alpha, a.data(), &four, b.data(), &four, &beta, c.data(), &four, 1,
                   1);
          },
          [&] {
            gemm("N", "N", &four, &four, &four, &alpha, a.data(), &four, b.data(), &four, &beta, c.data(), &four, 1,
                 1);
          }));
      std::printf("%-14s %14s %16s %24s\n", "call", "traced ns", "untraced ns", "ratio traced/untraced");
      for (const Row& r : ab)
        std::printf("%-14s %14.2f %16.2f %24.3f\n", r.what, r.pub * 1e9, r.disp * 1e9, r.pub / r.disp);
    }
  }

  // For comparison: verbose mode on, each line formatted and handed to a
  // handler that drops it.
  qor_set_message_handler(&drop, nullptr);
  qor_set_verbose(1);
  const Row on = pair(
      "daxpy n=8", seconds / 4, [&] { daxpy_(&n8, &alpha, x.data(), &one, y.data(), &one); },
      [&] { qor_blas_daxpy(&n8l, &alpha, x.data(), &onel, y.data(), &onel); });
  qor_set_verbose(0);
  qor_set_message_handler(nullptr, nullptr);
  std::printf("verbose mode on (lines dropped): daxpy n=8 public %.1f ns, dispatching %.2f ns, ratio %.1f\n",
              on.pub * 1e9, on.disp * 1e9, on.pub / on.disp);
  return 0;
}
