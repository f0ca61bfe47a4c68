// The micro-kernel of the 512-bit GEMM body and its tile shape, written
// once over the element type. For sources of the 512-bit class only.
//
// A tile of C is V registers of rows (the last one masked) by NC columns,
// held in V x NC accumulators for the whole depth block. Per depth step the
// kernel loads the V row registers of the packed A and, per column,
// broadcasts the packed B element into fused multiply-adds:
//   real:    acc += a * b
//   complex: acc += a * (b_re, b_re, ...), then acc += a' * (b_im, b_im, ...)
// where a' = (-a_im, a_re) per element was formed by the packer, so a
// complex element is one fused chain per part, with no combining step.
//
// With three row registers and eight columns the full tile keeps 24
// accumulators, three A registers and one broadcast in the 32 zmm
// registers, and issues one load per two fused multiply-adds or fewer.
#pragma once
#include <immintrin.h>

#include <cstdint>
#include <utility>

#include "frame/isa.h"
#include "frame/types.h"
#include "frame/zmm.h"

QOR_ISA_BEGIN
namespace gemm_wide {

using i64 = std::int64_t;

template <class T>
struct Tile {
  using R = real_t<T>;
  using Z = zmm<R>;
  static constexpr i64 E = is_complex_v<T> ? 2 : 1;  // reals per element
  static constexpr int V = 3;                          // row registers
  static constexpr int NR = 8;                         // columns
  static constexpr i64 MR = V * Z::L / E;              // rows
  // Reals per depth step of a packed A strip (a, then a' for complex) and
  // of a packed B strip.
  static constexpr i64 AS = V * Z::L * E;
  static constexpr i64 BS = NR * E;
};

// C (reals, column stride ldc reals) = the running sums: loaded from C, or
// zero when `zero` (beta 0 on the first depth block: C is not read), then
// kc depth steps of the packed strips a and b. `last` masks the last row
// register. The lines of the tile the driver runs next (`next`, a full
// tile, same stride) are asked for meanwhile, since that tile starts by
// loading them.
template <class T, int VU, int NC>
void tile_kernel(i64 kc, const real_t<T>* a, const real_t<T>* b, real_t<T>* c, i64 ldc,
                 typename zmm<real_t<T>>::mask last, bool zero, const real_t<T>* next) {
  using S = Tile<T>;
  using Z = typename S::Z;
  using reg = typename Z::reg;
  constexpr i64 L = Z::L;
  constexpr auto full = static_cast<typename Z::mask>(~0u);
  reg acc[VU][NC];
#pragma GCC unroll 8
  for (int q = 0; q < NC; ++q)
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v)
      acc[v][q] = zero ? Z::zero() : Z::load(v == VU - 1 ? last : full, c + v * L + q * ldc);
  if (next != nullptr)
#pragma GCC unroll 8
    for (int q = 0; q < S::NR; ++q)
#pragma GCC unroll 3
      for (int v = 0; v < S::V; ++v) _mm_prefetch(reinterpret_cast<const char*>(next + v * L + q * ldc), _MM_HINT_T0);
#pragma GCC unroll 2
  for (i64 l = 0; l < kc; ++l) {
    reg av[VU];
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v) av[v] = Z::load(a + v * L);
    if constexpr (S::E == 2) {
      reg ap[VU];
#pragma GCC unroll 3
      for (int v = 0; v < VU; ++v) ap[v] = Z::load(a + S::V * L + v * L);
#pragma GCC unroll 8
      for (int q = 0; q < NC; ++q) {
        const reg br = Z::set1(b[2 * q]), bi = Z::set1(b[2 * q + 1]);
#pragma GCC unroll 3
        for (int v = 0; v < VU; ++v) {
          acc[v][q] = Z::fma(av[v], br, acc[v][q]);
          acc[v][q] = Z::fma(ap[v], bi, acc[v][q]);
        }
      }
    } else {
#pragma GCC unroll 8
      for (int q = 0; q < NC; ++q) {
        const reg bq = Z::set1(b[q]);
#pragma GCC unroll 3
        for (int v = 0; v < VU; ++v) acc[v][q] = Z::fma(av[v], bq, acc[v][q]);
      }
    }
    a += S::AS;
    b += S::BS;
  }
#pragma GCC unroll 8
  for (int q = 0; q < NC; ++q)
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v) Z::store(v == VU - 1 ? last : full, c + v * L + q * ldc, acc[v][q]);
}

// The same tile for a real type read in place, for small products: A with
// its rows adjacent (a column of A per depth step, lda apart, the last row
// register masked so nothing past the rows is read), and B at (l, j) =
// b[l * bl + j * bq]. Each A register is multiplied by alpha first when
// `scale`, the operation the packer does, so every entry goes through the
// steps of the packed kernel.
template <class T, int VU, int NC>
void direct_kernel(i64 kc, const T* a, i64 lda, const T* b, i64 bl, i64 bq, T* c, i64 ldc,
                   typename zmm<T>::mask last, bool zero, bool scale, T alpha) {
  static_assert(!is_complex_v<T>, "the in-place tile serves real types");
  using Z = zmm<T>;
  using reg = typename Z::reg;
  constexpr i64 L = Z::L;
  constexpr auto full = static_cast<typename Z::mask>(~0u);
  reg acc[VU][NC];
#pragma GCC unroll 8
  for (int q = 0; q < NC; ++q)
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v)
      acc[v][q] = zero ? Z::zero() : Z::load(v == VU - 1 ? last : full, c + v * L + q * ldc);
  const reg al = Z::set1(alpha);
  for (i64 l = 0; l < kc; ++l) {
    reg av[VU];
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v) {
      av[v] = Z::load(v == VU - 1 ? last : full, a + v * L);
      if (scale) av[v] = Z::mul(av[v], al);
    }
#pragma GCC unroll 8
    for (int q = 0; q < NC; ++q) {
      const reg bv = Z::set1(b[q * bq]);
#pragma GCC unroll 3
      for (int v = 0; v < VU; ++v) acc[v][q] = Z::fma(av[v], bv, acc[v][q]);
    }
    a += lda;
    b += bl;
  }
#pragma GCC unroll 8
  for (int q = 0; q < NC; ++q)
#pragma GCC unroll 3
    for (int v = 0; v < VU; ++v) Z::store(v == VU - 1 ? last : full, c + v * L + q * ldc, acc[v][q]);
}

template <class T>
using DirectKernel = void (*)(i64, const T*, i64, const T*, i64, i64, T*, i64, typename zmm<T>::mask, bool, bool, T);

template <class T>
using TileKernel = void (*)(i64, const real_t<T>*, const real_t<T>*, real_t<T>*, i64, typename zmm<real_t<T>>::mask,
                            bool, const real_t<T>*);

// Every kernel of a family for a tile of 1..V row registers by 1..NR
// columns, indexed [row registers - 1][columns - 1]: the edge tiles run the
// same steps as the full one on fewer registers. A family F names its
// kernel of VU registers by NC columns as F::template of<T, VU, NC>().
template <class T, class Fn>
struct Table {
  Fn at[Tile<T>::V][Tile<T>::NR];
};

template <class T, class F, class Fn, int VU, int... Q>
constexpr void fill_row(Table<T, Fn>& t, std::integer_sequence<int, Q...>) {
  ((t.at[VU - 1][Q] = F::template of<T, VU, Q + 1>()), ...);
}

template <class T, class F, class Fn, int... VI>
constexpr Table<T, Fn> make_table(std::integer_sequence<int, VI...>) {
  Table<T, Fn> t{};
  (fill_row<T, F, Fn, VI + 1>(t, std::make_integer_sequence<int, Tile<T>::NR>{}), ...);
  return t;
}

struct PackedFamily {
  template <class T, int VU, int NC>
  static constexpr TileKernel<T> of() { return &tile_kernel<T, VU, NC>; }
};
struct DirectFamily {
  template <class T, int VU, int NC>
  static constexpr DirectKernel<T> of() { return &direct_kernel<T, VU, NC>; }
};

template <class T>
inline constexpr Table<T, TileKernel<T>> kKernels =
    make_table<T, PackedFamily, TileKernel<T>>(std::make_integer_sequence<int, Tile<T>::V>{});

template <class T>
inline constexpr Table<T, DirectKernel<T>> kDirect =
    make_table<T, DirectFamily, DirectKernel<T>>(std::make_integer_sequence<int, Tile<T>::V>{});

}  // namespace gemm_wide
QOR_ISA_END
