// Batches whose transforms sit side by side: distance 1 on both sides, so
// that element j of transforms k, k+1, ... lies in one run of memory. Such
// a batch runs as columns: a chain of the engine's self-sorting steps, each
// across a block of adjacent transforms, so that every cache line read or
// written serves as many transforms as it holds and the engine's widest
// vectors run across the block. The first step reads the caller's data in
// place and the last writes the result in place; the steps between run in
// two block-sized areas of the work buffer. Nothing is gathered or
// scattered one transform at a time.
//
// Step s of a chain of radices r_1 ... r_S (N = r_1 ... r_S) has slices
// sl = r_1 ... r_{s-1} and rest m = N / (sl r_s); it maps
//   y[c + sl (r p + k)] = w_{r m}^{p k} sum_j x[c + sl (p + j m)] w_r^{j k}
// for c < sl, p < m, k < r, which leaves the last step's output in natural
// order. The last step has m = 1 and needs no twiddles, so it takes the
// plain kernels, which include the radices 8 and 16.
#include <cmath>

#include "dft/backends/road.h"
#include "frame/services.h"

namespace qor::dfxi {
namespace {

// The engine's step kernels of one precision: with twiddles (any step) and
// without (the last step).
template <class R> using step_kernel = int (*)(const typename Prim<R>::elem*, typename Prim<R>::elem*,
                                               const qor_zups_step*);

#define QOR_DFXI_STEP_CASE(kind, r, C) \
  case r: return inverse ? qor_dft_def_ownscDftInv_##kind##r##_##C : qor_dft_def_ownscDftFwd_##kind##r##_##C;
#define QOR_DFXI_STEP_KERNELS(R, C)                                                                   \
  template <> step_kernel<R> twiddled_kernel<R>(int radix, bool inverse) {                            \
    switch (radix) {                                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 2, C)                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 3, C)                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 4, C)                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 5, C)                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 7, C)                                                                  \
      QOR_DFXI_STEP_CASE(Fact, 11, C)                                                                 \
      QOR_DFXI_STEP_CASE(Fact, 13, C)                                                                 \
      default: return nullptr;                                                                        \
    }                                                                                                 \
  }                                                                                                   \
  template <> step_kernel<R> plain_kernel<R>(int radix, bool inverse) {                               \
    switch (radix) {                                                                                  \
      QOR_DFXI_STEP_CASE(Prime, 2, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 3, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 4, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 5, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 6, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 7, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 8, C)                                                                 \
      QOR_DFXI_STEP_CASE(Prime, 11, C)                                                                \
      QOR_DFXI_STEP_CASE(Prime, 13, C)                                                                \
      QOR_DFXI_STEP_CASE(Prime, 16, C)                                                                \
      default: return nullptr;                                                                        \
    }                                                                                                 \
  }
template <class R> step_kernel<R> twiddled_kernel(int radix, bool inverse);
template <class R> step_kernel<R> plain_kernel(int radix, bool inverse);
QOR_DFXI_STEP_KERNELS(double, 64fc)
QOR_DFXI_STEP_KERNELS(float, 32fc)
#undef QOR_DFXI_STEP_KERNELS
#undef QOR_DFXI_STEP_CASE

// Radices of the last step, largest first, and of the twiddled steps in the
// order they are taken from what the last one leaves (fours before twos, so
// that a power of two takes the fewest steps).
constexpr int kLastRadices[] = {16, 8, 13, 11, 7, 6, 5, 4, 3, 2};
constexpr int kTwiddledRadices[] = {4, 2, 3, 5, 7, 11, 13};
constexpr int kMostSteps = 24;
// A block holds at least a cache line of each element row.
constexpr i64 kLineBytes = 64;
// The cache level whose size bounds the two block areas, and the share of
// it they may take (the rest holds the rows the first and last steps
// stream).
constexpr int kBlockCacheLevel = 2;
constexpr i64 kBlockCacheShare = 4;

struct ColumnStep {
  int radix;
  int rest;
  i64 slices;
  i64 twiddle_offset;  // in reals from the chain's twiddle area
};

// The chain, its block width and the bytes of each of its two areas,
// followed in the same allocation by the twiddles of every step but the
// last.
struct alignas(64) ColumnChain {
  i64 block;
  i64 area_bytes;
  int steps;
  ColumnStep step[kMostSteps];
};

template <class R> const R* twiddles_of(const ColumnChain* c) {
  return reinterpret_cast<const R*>(reinterpret_cast<const char*>(c) + sizeof(ColumnChain));
}

// The radices of a length, last step last; 0 steps when the length has a
// factor no kernel takes.
int factor(i64 n, int* radix) {
  int last = 0;
  for (int r : kLastRadices)
    if (n % r == 0) {
      last = r;
      break;
    }
  if (last == 0) return 0;
  i64 rest = n / last;
  int steps = 0;
  for (int r : kTwiddledRadices)
    while (rest % r == 0 && steps < kMostSteps - 1) {
      radix[steps++] = r;
      rest /= r;
    }
  if (rest != 1) return 0;
  radix[steps++] = last;
  return steps;
}

// Block width: the two areas within a share of the cache, a whole number
// of cache lines of each row, at most the batch; 0 when not even one line
// fits (such lengths keep the engine's own plans, which block their steps
// for one long transform).
template <class R> i64 block_width(i64 length, i64 count) {
  const i64 element = 2 * i64{sizeof(R)};
  const i64 line = kLineBytes / element;
  const i64 cache = qor_serv_get_cache_size(kBlockCacheLevel);
  const i64 q = cache / kBlockCacheShare / (2 * length * element) / line * line;
  return q < count ? q : count;
}

// Interleaved heap nodes of one dimension whose transforms sit side by
// side; in place only with one stride for both sides, so that a block's
// results land where its own data was.
bool columns_apply(const dfxi_node* node) {
  return !split_storage(node) && !arena_node(node) && node->rank_committed == 1 && node->ntransforms > 1 &&
         node->distance_in == 1 && node->distance_out == 1 && node->stride_in >= 1 && node->stride_out >= 1 &&
         (node->placement != kInPlace || node->stride_in == node->stride_out) && node->length >= 2;
}

}  // namespace

template <class R> status plan_columns(dfxi_node* record, i64* area) {
  *area = 0;
  if (!columns_apply(record)) return kOk;
  const i64 N = record->length;
  int radix[kMostSteps];
  const int steps = factor(N, radix);
  if (steps == 0) return kOk;
  // A single step needs no area: the whole batch is one block.
  const i64 block = steps > 1 ? block_width<R>(N, record->ntransforms) : record->ntransforms;
  if (block == 0) return kOk;
  i64 reals = 0;
  for (int s = 0, sl = 1; s + 1 < steps; sl *= radix[s], ++s) reals += 2 * (radix[s] - 1) * (N / (sl * radix[s]));
  auto* chain = static_cast<ColumnChain*>(dfxi_malloc(sizeof(ColumnChain) + reals * i64{sizeof(R)}, 64, nullptr));
  if (chain == nullptr) return kNoMemory;
  chain->steps = steps;
  chain->block = block;
  // One step reads and writes the caller's data directly; two share one area.
  chain->area_bytes = steps > 1 ? round64(chain->block * N * 2 * i64{sizeof(R)}) : 0;
  R* tw = const_cast<R*>(twiddles_of<R>(chain));
  i64 at = 0, slices = 1;
  for (int s = 0; s < steps; ++s) {
    const i64 r = radix[s], m = N / (slices * r);
    chain->step[s] = ColumnStep{radix[s], static_cast<int>(m), slices, at};
    if (s + 1 < steps) {
      // w_{r m}^{p k} at (k - 1) m + p, forward sign; the kernels conjugate
      // them for the inverse.
      const long double turn = -2.0L * 3.14159265358979323846264338327950288L / static_cast<long double>(r * m);
      for (i64 k = 1; k < r; ++k)
        for (i64 p = 0; p < m; ++p) {
          const long double a = turn * static_cast<long double>((p * k) % (r * m));
          tw[at + 2 * ((k - 1) * m + p)] = static_cast<R>(std::cos(a));
          tw[at + 2 * ((k - 1) * m + p) + 1] = static_cast<R>(std::sin(a));
        }
      at += 2 * (r - 1) * m;
    }
    slices *= r;
  }
  record->work_data = chain;
  *area = (steps > 2 ? 2 : 1) * chain->area_bytes;
  return kOk;
}

template <class R, bool Inverse>
status run_columns(const dfxi_node* node, const void* in, void* out, i64 count, void* buffer) {
  using E = typename Prim<R>::elem;
  const auto* chain = static_cast<const ColumnChain*>(node->work_data);
  const i64 N = node->length;
  const int steps = chain->steps;
  if (steps > 1 && buffer == nullptr) return kInternal;
  E* area[2] = {static_cast<E*>(buffer),
                reinterpret_cast<E*>(static_cast<char*>(buffer) + (steps > 1 ? chain->area_bytes : 0))};
  const R* twiddles = twiddles_of<R>(chain);
  const R scale = committed_scale<R>(node, Inverse);
  const auto* src_all = static_cast<const E*>(in);
  auto* dst_all = static_cast<E*>(out);
  for (i64 k0 = 0; k0 < count; k0 += chain->block) {
    const i64 q = count - k0 < chain->block ? count - k0 : chain->block;
    const E* src = src_all + k0;
    i64 is = node->stride_in;
    for (int s = 0; s < steps; ++s) {
      const ColumnStep& st = chain->step[s];
      const bool last = s + 1 == steps;
      E* dst = last ? dst_all + k0 : area[s & 1];
      const qor_zups_step d{st.radix, st.rest, st.slices, q, is, last ? node->stride_out : q,
                            last ? nullptr : twiddles + st.twiddle_offset, nullptr};
      const step_kernel<R> kernel = last ? plain_kernel<R>(st.radix, Inverse) : twiddled_kernel<R>(st.radix, Inverse);
      const int e = kernel(src, dst, &d);
      if (e != 0) return qor_dft_def_transfer_zup_qor_error(e);
      src = dst;
      is = q;
    }
    if (scale != R(1)) {
      for (i64 j = 0; j < N; ++j) {
        R* row = reinterpret_cast<R*>(dst_all + k0 + j * node->stride_out);
        for (i64 i = 0; i < 2 * q; ++i) row[i] *= scale;
      }
    }
  }
  return kOk;
}

#define QOR_DFXI_INSTANCES(R)                                                                   \
  template status plan_columns<R>(dfxi_node*, i64*);                                            \
  template status run_columns<R, false>(const dfxi_node*, const void*, void*, i64, void*);       \
  template status run_columns<R, true>(const dfxi_node*, const void*, void*, i64, void*);
QOR_DFXI_INSTANCES(double)
QOR_DFXI_INSTANCES(float)
#undef QOR_DFXI_INSTANCES

}  // namespace qor::dfxi
