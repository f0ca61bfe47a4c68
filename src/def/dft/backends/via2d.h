// The four-step plan of a very long one-dimensional complex transform: the
// length L is split into n1 * n2, and the transform becomes n2 transforms
// of length n1, a twist by the twiddles exp(-+2 pi i j2 k1 / L), and n1
// transforms of length n2.
//
// Both libraries include this header. The kernel library builds the plan
// and runs it on one thread; the core's threading layer runs the same
// pieces over a team, so the plan's layout, the factor search, the way a
// run chooses its intermediate array and the tile sizes that the team
// splits by are written here once.
//
// Index map: input j = j2 + n2 * j1 (j1 < n1, j2 < n2), output
// k = k1 + n1 * k2. Step 1 transforms over j1 for each j2 ("column" j2),
// step 2 multiplies by exp(-+2 pi i j2 k1 / L), step 3 transforms over j2
// for each k1 ("row" k1).
#pragma once
#include <cmath>
#include <complex>
#include <cstdint>
#include <type_traits>

#include "dft/backends/threaded.h"
#include "dft/node/backend.h"
#include "frame/export.h"
#include "frame/services.h"

// The plan, kept in the node's data_1d_via_2d.
struct dfxi_1d_via_2d {
  std::int64_t n1;      // the smaller factor
  std::int64_t n2;      // the larger
  std::int64_t ld1;     // padded row lengths, odd multiples of 4, so that
  std::int64_t ld2;     // successive rows fall into different cache sets
  dfxi_node* desc1;     // transforms of length n1 and n2: one node when
  dfxi_node* desc2;     // the factors are equal
  void* twiddle;        // n1 + n2 + 4 complex values, see the plan's code
  std::int32_t mode;    // 0: intermediate in `buffer`; 1: no workspace
  int lock;             // guards `busy`
  int busy;             // set while a caller holds `buffer`
  void* buffer;         // ld2 * n1 complex values, mode 0 only
};

// One run of a plan, shared by whoever works on it.
struct dfxi_via2d_run {
  const void* source;       // where step 1 reads its columns
  void* inter;              // where steps 2 and 3 work
  void* out;                // the output
  std::int32_t direction;   // 1 forward, -1 backward
  std::int32_t transposed;  // source holds column j2 contiguously (j1 + n1 * j2)
  std::int32_t buffered;    // inter is the padded n1 x ld2 array, rows k1
  std::int32_t holds;       // what the run must give back, see via2d_end
};

namespace qor::dfxi {

using i64 = std::int64_t;

// A run moves through the columns of step 1 in tiles of this many, and
// through the rows of step 3 in groups of this many (the buffered layout
// scatters a group into the output at once). A team splits on these
// boundaries, so every member does the same arithmetic as one thread.
inline constexpr i64 kVia2dColumnTile = 8;
inline constexpr i64 kVia2dRowGroup = 16;

// The order from which the road takes the four-step plan.
inline constexpr i64 kVia2dMinOrder = 16;

// Padded leading dimension: x rounded to a multiple of 8, minus 4 when
// that stays at or above x, so an odd multiple of 4.
inline i64 via2d_padded(i64 x) { return ((x + 3) & ~i64{7}) | 4; }

// The factor pair of L: n1 the smaller, n2 = L / n1. A power of two 2^e
// splits as 2^(e/2) by the rest. Other lengths: the prime factors are taken
// from the largest down into p while p stays within ceil(sqrt(L)) and is
// not behind q, the rest into q. kNoFactorPair when no pair exists (L
// prime), kLengthLimit when a factor is too long for the primitive.
inline status via2d_factors(i64 L, bool dbl, i64* n1, i64* n2) {
  if (L < 4) return kNoFactorPair;
  i64 small;
  if (is_pow2(L)) {
    const int e = 63 - __builtin_clzll(static_cast<unsigned long long>(L));
    small = i64{1} << (e >> 1);
  } else {
    i64 root = static_cast<i64>(std::sqrt(static_cast<double>(L)));
    while (root * root < L) ++root;
    i64 factors[64];
    int count = 0;
    i64 rest = L;
    for (i64 d : {i64{2}, i64{3}})
      while (rest % d == 0) {
        factors[count++] = d;
        rest /= d;
      }
    for (i64 d = 5; d * d <= rest; d += 6)
      for (i64 t : {d, d + 2})
        while (rest % t == 0) {
          factors[count++] = t;
          rest /= t;
        }
    if (rest >= 2) factors[count++] = rest;
    i64 p = 1, q = 1;
    for (int i = count - 1; i >= 0; --i) {
      if (q < p || p * factors[i] > root) q *= factors[i];
      else p *= factors[i];
    }
    small = p < q ? p : q;
  }
  if (small == 1) return kNoFactorPair;
  const i64 large = L / small;
  if (small > primitive_limit(dbl, small) || large > primitive_limit(dbl, large)) return kLengthLimit;
  *n1 = small;
  *n2 = large;
  return kOk;
}

// What a run needs from its library: in-place and out-of-place
// transposition, and memory for an intermediate array of its own.
template <class C> struct Via2dOps {
  void (*imatcopy)(int ordering, int trans, std::uint64_t rows, std::uint64_t cols, C alpha, C* ab,
                   std::uint64_t lda, std::uint64_t ldb);
  void (*omatcopy)(int ordering, int trans, std::uint64_t rows, std::uint64_t cols, C alpha, const C* a,
                   std::uint64_t lda, C* b, std::uint64_t ldb);
  void* (*allocate)(i64 bytes, int align);
  void (*deallocate)(void* p);
};

inline constexpr std::int32_t kVia2dHoldsNothing = 0;
inline constexpr std::int32_t kVia2dHoldsShared = 1;  // the plan's buffer, busy word set
inline constexpr std::int32_t kVia2dHoldsOwn = 2;     // an array allocated for this run
inline constexpr int kVia2dOwnAlign = 64;

// Chooses the intermediate array of a run. Mode 0 works in the plan's
// buffer; a caller that finds it busy allocates its own. Otherwise the
// output is the intermediate: out of place with mode 1 step 1 reads the
// input where it is; in place (and out of place with mode -1) the input is
// first transposed, so that its columns lie contiguously. Nothing of the
// caller's is touched before every allocation has succeeded.
template <class C>
status via2d_begin(dfxi_1d_via_2d* plan, const void* in, void* out, int direction, const Via2dOps<C>& ops,
                   dfxi_via2d_run* run) {
  *run = dfxi_via2d_run{in, out, out, direction, 0, 0, kVia2dHoldsNothing};
  const i64 n1 = plan->n1, n2 = plan->n2;
  if (plan->mode == 0) {
    run->buffered = 1;
    qor_serv_lock(&plan->lock);
    const bool free_now = plan->busy == 0 && plan->buffer != nullptr;
    if (free_now) plan->busy = 1;
    qor_serv_unlock(&plan->lock);
    if (free_now) {
      run->inter = plan->buffer;
      run->holds = kVia2dHoldsShared;
      return kOk;
    }
    run->inter = ops.allocate(plan->ld2 * n1 * static_cast<i64>(sizeof(C)), kVia2dOwnAlign);
    if (run->inter == nullptr) return kNoMemory;
    run->holds = kVia2dHoldsOwn;
    return kOk;
  }
  const bool inplace = in == out;
  if (!inplace && plan->mode == 1) return kOk;
  run->transposed = 1;
  run->source = out;
  // The input as an n2 x n1 column-major matrix, transposed to n1 x n2.
  const auto rows = static_cast<std::uint64_t>(n2), cols = static_cast<std::uint64_t>(n1);
  if (inplace) ops.imatcopy('C', 'T', rows, cols, C(1), static_cast<C*>(out), rows, cols);
  else ops.omatcopy('C', 'T', rows, cols, C(1), static_cast<const C*>(in), rows, static_cast<C*>(out), cols);
  return kOk;
}

// Gives back what via2d_begin took.
template <class C> void via2d_end(dfxi_1d_via_2d* plan, dfxi_via2d_run* run, const Via2dOps<C>& ops) {
  if (run->holds == kVia2dHoldsShared) {
    qor_serv_lock(&plan->lock);
    plan->busy = 0;
    qor_serv_unlock(&plan->lock);
  } else if (run->holds == kVia2dHoldsOwn) {
    ops.deallocate(run->inter);
  }
  run->holds = kVia2dHoldsNothing;
}

// Exported pieces. init builds the plan of a per-dimension record (the
// root is uncommitted on failure); the 1d_via_2d kernels fill the node's
// kernel slots; 4step_1_2 runs steps 1 and 2 on columns [first, first +
// count) and 4step_3 runs step 3 on rows [first, first + count) of a run
// made by via2d_begin, with `scratch` of the record's buffer_size bytes.
using via2d_init_fn = status(dfxi_node* record, dfxi_node* root);
using via2d_step_fn = status(const dfxi_node* record, const dfxi_via2d_run* run, i64 first, i64 count,
                             void* scratch);

}  // namespace qor::dfxi

QOR_DEF_API qor::dfxi::via2d_init_fn qor_dft_def_xz_init_data_1d_via_2d;
QOR_DEF_API qor::dfxi::via2d_init_fn qor_dft_def_xc_init_data_1d_via_2d;
QOR_DEF_API std::remove_pointer_t<dfxi_kernel_fn> qor_dft_def_xz_1d_via_2d_f;
QOR_DEF_API std::remove_pointer_t<dfxi_kernel_fn> qor_dft_def_xz_1d_via_2d_b;
QOR_DEF_API std::remove_pointer_t<dfxi_kernel_fn> qor_dft_def_xc_1d_via_2d_f;
QOR_DEF_API std::remove_pointer_t<dfxi_kernel_fn> qor_dft_def_xc_1d_via_2d_b;
QOR_DEF_API qor::dfxi::via2d_step_fn qor_dft_def_xz_4step_1_2;
QOR_DEF_API qor::dfxi::via2d_step_fn qor_dft_def_xc_4step_1_2;
QOR_DEF_API qor::dfxi::via2d_step_fn qor_dft_def_xz_4step_3;
QOR_DEF_API qor::dfxi::via2d_step_fn qor_dft_def_xc_4step_3;
