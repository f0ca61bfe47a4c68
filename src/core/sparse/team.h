// How the sparse products split their work.
//
// Work is cut into ranges that depend on the matrix alone: their number
// comes from the amount of work, and their bounds from the matrix's
// pointer arrays. Threads only choose which ranges they run. Rows are
// independent in a gather, partial dot products are added in range order,
// and scattered parts are merged in part order, so a product gives the
// same bits on any number of threads.
#pragma once
#include <omp.h>

#include <algorithm>
#include <cstdint>

#include "frame/threads.h"

namespace qor::core::sparse {

// The figures behind the splits, in units of stored elements (a row costs
// row_cost elements more for its pointer reads and its store).
struct split_rules {
  // Elements per range, and the most ranges a product is cut into: enough
  // for a team of a few dozen threads, few enough to sum dots in a tiny
  // local array.
  static constexpr std::int64_t range_work = 16384;
  static constexpr int max_ranges = 64;
  // Below this much work one thread does it all: a team costs more than
  // the product.
  static constexpr std::int64_t parallel_work = 40000;
  // Private buffers of a scatter: at most max_parts, and each part must
  // have at least part_work times as much work as the buffer has entries,
  // since every buffer is cleared and merged in full.
  static constexpr int max_parts = 8;
  static constexpr std::int64_t part_work = 4;
  static constexpr std::int64_t row_cost = 2;
};

// Bounds of ranges over positions [0, n): range r is [at[r], at[r + 1]).
template <class I>
struct ranges {
  I at[split_rules::max_ranges + 1];
  int count = 0;
  I first(int r) const { return at[r]; }
  I last(int r) const { return at[r + 1]; }
};

// Cuts [0, n) into `count` ranges of about equal cost, where cost(i) is
// the work before position i (non-decreasing for well-formed pointers).
// The bounds are kept non-decreasing even if cost is not.
template <class I, class C>
ranges<I> cut(I n, int count, C cost) {
  ranges<I> r;
  count = std::clamp(count, 1, split_rules::max_ranges);
  if (n < count) count = n > 0 ? static_cast<int>(n) : 1;
  r.count = count;
  r.at[0] = 0;
  r.at[count] = n;
  const std::int64_t total = static_cast<std::int64_t>(cost(n));
  for (int p = 1; p < count; ++p) {
    const std::int64_t target = total / count * p + total % count * p / count;
    I lo = r.at[p - 1], hi = n;
    while (lo < hi) {
      const I mid = lo + (hi - lo) / 2;
      if (static_cast<std::int64_t>(cost(mid)) < target)
        lo = mid + 1;
      else
        hi = mid;
    }
    r.at[p] = lo;
  }
  return r;
}

// The number of ranges for `work` elements of work.
inline int range_count(std::int64_t work) {
  return static_cast<int>(std::clamp<std::int64_t>(work / split_rules::range_work, 1, split_rules::max_ranges));
}

// Threads for `work` elements cut into `count` pieces.
inline int team_size(std::int64_t work, int count) {
  if (work < split_rules::parallel_work) return 1;
  return std::max(1, std::min(max_threads(), count));
}

// Runs f(r) for r in [0, count) on `threads` threads, each taking a
// contiguous block of r.
template <class F>
void run_pieces(int count, int threads, F&& f) {
  if (threads <= 1 || count <= 1) {
    for (int r = 0; r < count; ++r) f(r);
    return;
  }
#pragma omp parallel num_threads(threads)
  {
    const int t = omp_get_thread_num(), n = omp_get_num_threads();
    for (int r = count * t / n; r < count * (t + 1) / n; ++r) f(r);
  }
}

}  // namespace qor::core::sparse
