// Pieces every 512-bit Level 2 body shares (wide.cpp, wide_sym.cpp,
// wide_ger.cpp): the element shape, the rule for matrices that come from
// memory and the prefetch of a block of a column. For sources of the
// 512-bit class only (frame/zmm.h refuses the others).
#pragma once
#include <immintrin.h>

// GCC 12 reports the undefined pass-through operand of its own 512-bit
// reductions and permutes as uninitialised.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <complex>
#include <cstdint>

#include "blas/level2/common.h"
#include "frame/prefetch.h"
#include "frame/types.h"
#include "frame/zmm.h"

QOR_ISA_BEGIN
namespace l2w {

using i64 = std::int64_t;

template <class T>
inline constexpr bool kComplex = is_complex_v<T>;
// Reals per element.
template <class T>
inline constexpr i64 kE = kComplex<T> ? 2 : 1;

// Matrices above this many bytes come from memory: the loops ask for each
// line of every column ahead of use. Smaller ones come from the second or
// third level, whose own prefetchers keep up with the column streams; there
// the hints only take load slots (measured on the general product: a 2 MiB
// matrix ran about a tenth slower with them).
inline constexpr i64 kStreamBytes = i64{8} << 20;

// Asks for the lines of `bytes` bytes of a column from p on, a prefetch
// distance ahead (frame/prefetch.h).
template <class R>
inline void ahead(const R* p, i64 bytes) {
  for (i64 b = 0; b < bytes; b += 64) prefetch_read(reinterpret_cast<const char*>(p) + b);
}
// The same for lines the loop will write.
template <class R>
inline void ahead_write(const R* p, i64 bytes) {
  for (i64 b = 0; b < bytes; b += 64) prefetch_write(reinterpret_cast<const char*>(p) + b);
}

// The mask of every lane.
template <class R>
inline typename zmm<R>::mask all_lanes() {
  return static_cast<typename zmm<R>::mask>(~0u);
}

}  // namespace l2w
QOR_ISA_END
