// How the core's Level 3 drivers split a call over a team of threads.
//
// Every split gives each thread a disjoint part of the output, and each
// thread calls the member's sequential kernel on its part: right-hand sides
// of a triangular solve or product, columns or rows of a symmetric product,
// column ranges of equal area of a triangle.
#pragma once
#include <omp.h>

#include <cmath>
#include <cstdint>

#include "frame/threads.h"

namespace qor::core::l3 {

using i64 = std::int64_t;

// Below this many multiply-adds per thread a call stays on fewer threads:
// the fork and the packing each thread repeats would cost more than they
// save.
inline constexpr double kMinWorkPerThread = 96.0 * 96.0 * 96.0;

// The team size for `work` multiply-adds that can be cut into at most
// `pieces` parts.
inline int team_size(double work, i64 pieces) {
  int nt = max_threads();
  if (nt <= 1 || pieces <= 1 || work < 2 * kMinWorkPerThread) return 1;
  if (work < nt * kMinWorkPerThread) nt = static_cast<int>(work / kMinWorkPerThread);
  if (pieces < nt) nt = static_cast<int>(pieces);
  return nt < 1 ? 1 : nt;
}

// Part p of `total` in `parts` pieces, each a multiple of `unit` but the last.
inline void share(i64 total, int parts, int p, i64 unit, i64& lo, i64& hi) {
  const i64 units = (total + unit - 1) / unit;
  const i64 base = units / parts, extra = units % parts;
  const i64 first = p * base + (p < extra ? p : extra);
  const i64 count = base + (p < extra ? 1 : 0);
  lo = first * unit < total ? first * unit : total;
  hi = (first + count) * unit < total ? (first + count) * unit : total;
}

// Runs body(lo, hi) for `parts` ranges of [0, total) on a team.
template <class F>
void run_shared(int parts, i64 total, i64 unit, F&& body) {
  if (parts <= 1) {
    body(i64{0}, total);
    return;
  }
#pragma omp parallel num_threads(parts)
  {
    const int me = omp_get_thread_num(), team = omp_get_num_threads();
    for (int p = me; p < parts; p += team) {
      i64 lo, hi;
      share(total, parts, p, unit, lo, hi);
      if (hi > lo) body(lo, hi);
    }
  }
}

// Column boundaries that give each of `parts` ranges of [0, n) the same
// area of a triangle of side n: for the lower triangle column j holds n - j
// elements, for the upper j + 1. Boundaries are multiples of `unit`.
inline void triangle_bounds(i64 n, int parts, bool lower, i64 unit, i64* bounds) {
  bounds[0] = 0;
  bounds[parts] = n;
  const double total = 0.5 * static_cast<double>(n) * static_cast<double>(n + 1);
  for (int p = 1; p < parts; ++p) {
    const double f = static_cast<double>(p) / parts;
    // Area of columns [0, x): lower  x n - x^2 / 2, upper  x^2 / 2.
    double x = lower ? n - std::sqrt(static_cast<double>(n) * n * (1.0 - f)) : std::sqrt(2.0 * f * total);
    i64 b = static_cast<i64>(x / static_cast<double>(unit) + 0.5) * unit;
    if (b < bounds[p - 1]) b = bounds[p - 1];
    if (b > n) b = n;
    bounds[p] = b;
  }
}

}  // namespace qor::core::l3
