// Small vector layer of the Level 2 kernels.
//
// The kernels are written once on GCC vector types and compiled per
// instruction-set class: two binary64 lanes (four binary32) in the baseline
// build, twice that where AVX is on. Complex data is handled as its array of
// reals: a complex element is two adjacent lanes.
#pragma once
#include <cstdint>
#include <cstring>

#include "frame/isa.h"
#include "frame/prefetch.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace l2 {

#if defined(__AVX__)
inline constexpr int kVecBytes = 32;
#else
inline constexpr int kVecBytes = 16;
#endif

template <class R>
struct Vec {
  static constexpr int W = kVecBytes / static_cast<int>(sizeof(R));
  typedef R V __attribute__((vector_size(kVecBytes)));
  using Mask = std::conditional_t<sizeof(R) == 8, std::int64_t, std::int32_t>;
  typedef Mask M __attribute__((vector_size(kVecBytes)));

  static V load(const R* p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
  }
  static void store(R* p, V v) { std::memcpy(p, &v, sizeof v); }
  static V set1(R x) { return V{} + x; }
  // (x0, x1, x0, x1, ...): one complex value repeated across the vector.
  static V set_pair(R re, R im) {
    V v;
    for (int k = 0; k < W; k += 2) {
      v[k] = re;
      v[k + 1] = im;
    }
    return v;
  }
  // Exchanges the two lanes of every pair: (a1, a0, a3, a2, ...).
  static V swap_pairs(V v) {
    M m;
    for (int k = 0; k < W; ++k) m[k] = k ^ 1;
    return __builtin_shuffle(v, m);
  }
  static R hsum(V v) {
    R s = v[0];
    for (int k = 1; k < W; ++k) s += v[k];
    return s;
  }
  // Sums of the even lanes and of the odd lanes.
  static void hsum_pairs(V v, R& even, R& odd) {
    even = v[0];
    odd = v[1];
    for (int k = 2; k < W; k += 2) {
      even += v[k];
      odd += v[k + 1];
    }
  }
};

}  // namespace l2
QOR_ISA_END
