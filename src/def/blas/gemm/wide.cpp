// The 512-bit GEMM body: blocking from the machine's caches, the packers,
// the driver over the tiles, and the entry for s, d, c and z. See wide.h for
// the per-entry arithmetic every path here keeps, and wide_kernel.h for the
// micro-kernel.
#include "blas/gemm/wide.h"

#include <immintrin.h>

// GCC 12 reports the undefined pass-through operand of its own 512-bit
// broadcasts and permutes as uninitialised.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <cstdint>
#include <cstring>

#include "blas/gemm/wide_kernel.h"
#include "frame/services.h"
#include "frame/types.h"
#include "frame/zmm.h"

QOR_ISA_BEGIN
namespace gemm_wide {
namespace {

inline i64 ceil_div(i64 a, i64 b) { return (a + b - 1) / b; }
inline i64 lesser(i64 a, i64 b) { return a < b ? a : b; }
inline i64 greater(i64 a, i64 b) { return a > b ? a : b; }

// ---- Operands ---------------------------------------------------------------
// What the packers need of a call: the letters (a real type takes any letter
// but N as T) and the operands.
template <class T>
struct Operands {
  bool ta, tb;          // op(A) = A^T or A^H; op(B) likewise
  bool conj_a, conj_b;  // ... conjugated (complex C)
  const T* a;
  i64 lda;
  const T* b;
  i64 ldb;
  T alpha;
};

template <class T>
inline T conj_if(T v, bool conj) {
  if constexpr (is_complex_v<T>) {
    return conj ? T(v.real(), -v.imag()) : v;
  } else {
    (void)conj;
    return v;
  }
}

// ---- Blocking ---------------------------------------------------------------
// Sizes of the blocks, from the caches of the machine:
//   - the depth block keeps one packed B strip (kc steps by NR columns) in
//     half of the first-level cache, where every A strip of a block meets it;
//   - the row block keeps the packed A block (mc rows by kc) in half of the
//     second level;
//   - the column block keeps the packed B panel (kc by nc) in a quarter of
//     the last level, which the cores share.
// Each size is then evened out over the blocks the dimension needs, so no
// block is a sliver. None of this changes a result bit (see wide.h).
struct Blocking {
  i64 kc, mc, nc;
};

// Sizes the caches report, with defaults of a common machine where one is
// missing.
inline i64 cache_or(int level, i64 fallback) {
  const i64 s = qor_serv_get_cache_size(level);
  return s > 0 ? s : fallback;
}

// The largest block of `unit` multiples under `limit` (at least one unit),
// evened out over a dimension of `total`.
inline i64 even_block(i64 total, i64 limit, i64 unit) {
  limit = greater(unit, limit / unit * unit);
  const i64 blocks = ceil_div(total, limit);
  return lesser(limit, ceil_div(ceil_div(total, blocks), unit) * unit);
}

// The limits of the blocks in elements, from the cache sizes, worked out
// once per element type (the sizes are facts of the machine).
struct Limits {
  i64 kmax;      // depth block
  i64 a_budget;  // elements of the A block
  i64 b_budget;  // elements of the B panel
};

template <class T>
const Limits& limits() {
  static const Limits lim = [] {
    using S = Tile<T>;
    constexpr i64 r = sizeof(real_t<T>);
    const i64 l1 = cache_or(1, 32 << 10), l2 = cache_or(2, 1 << 20), l3 = cache_or(3, 8 << 20);
    return Limits{lesser(1024, greater(64, l1 / 2 / (S::BS * r))), l2 / 2 / ((S::AS / S::MR) * r), l3 / 4 / (S::E * r)};
  }();
  return lim;
}

template <class T>
Blocking plan(i64 m, i64 n, i64 k) {
  using S = Tile<T>;
  const Limits& lim = limits<T>();
  Blocking b;
  b.kc = k <= lim.kmax ? k : ceil_div(k, ceil_div(k, lim.kmax));
  b.mc = even_block(m, lim.a_budget / b.kc, S::MR);
  b.nc = even_block(n, lim.b_budget / b.kc, S::NR);
  return b;
}

// Small products: one block each way, when it fits the stack area (checked
// by the caller), without the divisions of plan().
template <class T>
Blocking small_plan(i64 m, i64 n, i64 k) {
  using S = Tile<T>;
  return Blocking{k, (m + S::MR - 1) / S::MR * S::MR, (n + S::NR - 1) / S::NR * S::NR};
}

// Reals of the work area the blocking needs: the A block, then the B panel.
template <class T>
inline i64 a_reals(const Blocking& b) {
  return ceil_div(b.mc, Tile<T>::MR) * b.kc * Tile<T>::AS;
}
template <class T>
inline i64 b_reals(const Blocking& b) {
  return ceil_div(b.nc, Tile<T>::NR) * b.kc * Tile<T>::BS;
}

// ---- Packing A --------------------------------------------------------------
// One strip of mt <= MR rows of op(A) (rows i0.., depth p0..p0+kb): per depth
// step, the MR elements alpha * op(A)(i, l) side by side (zero past mt),
// then for complex elements the same with each (re, im) turned into
// (-im, re). The product by alpha is the same vector operation on every
// path, and is left out when alpha is 1.
template <class T>
inline typename zmm<real_t<T>>::reg times_alpha(typename zmm<real_t<T>>::reg x, T alpha) {
  using R = real_t<T>;
  using Z = zmm<R>;
  if constexpr (is_complex_v<T>) {
    // (xr ar - xi ai, xi ar + xr ai): two products, the second with its even
    // lanes negated (exact), and one sum.
    const auto p = Z::mul(x, Z::set1(alpha.real()));
    const auto q = Z::mul(Z::swap_pairs(x), Z::pair(-alpha.imag(), alpha.imag()));
    return Z::add(p, q);
  } else {
    return Z::mul(x, Z::set1(alpha));
  }
}

// Completes one depth step of an A strip from its V registers x of
// op(A) elements: times alpha (when `scale`), stored, and for complex
// elements followed by the (-im, re) copy.
template <class T>
inline void finish_a_step(typename zmm<real_t<T>>::reg* x, T alpha, bool scale, real_t<T>* dst) {
  using S = Tile<T>;
  using Z = typename S::Z;
  constexpr i64 L = Z::L;
#pragma GCC unroll 3
  for (int v = 0; v < S::V; ++v) {
    if (scale) x[v] = times_alpha<T>(x[v], alpha);
    Z::store(dst + v * L, x[v]);
    if constexpr (S::E == 2) {
      // (-im, re): exchanged and the even lanes negated, both exact.
      const auto neg_even = Z::pair(real_t<T>(-1), real_t<T>(1));
      Z::store(dst + S::V * L + v * L, Z::mul(Z::swap_pairs(x[v]), neg_even));
    }
  }
}

template <class T>
void pack_a_strip(const Operands<T>& op, i64 i0, i64 mt, i64 p0, i64 kb, real_t<T>* dst) {
  using S = Tile<T>;
  using R = real_t<T>;
  using Z = typename S::Z;
  constexpr i64 L = Z::L;
  const bool scale = !(op.alpha == T(1));
  typename Z::reg x[S::V];
  if (!op.ta) {
    // Rows are adjacent in each column of A: masked loads past mt.
    typename Z::mask k[S::V];
    for (int v = 0; v < S::V; ++v) {
      const i64 left = mt * S::E - v * L;
      k[v] = left >= L ? static_cast<typename Z::mask>(~0u) : left > 0 ? Z::first(left) : typename Z::mask(0);
    }
    for (i64 l = 0; l < kb; ++l) {
      const R* src = reinterpret_cast<const R*>(op.a + i0 + (p0 + l) * op.lda);
#pragma GCC unroll 3
      for (int v = 0; v < S::V; ++v) x[v] = Z::load(k[v], src + v * L);
      finish_a_step<T>(x, op.alpha, scale, dst + l * S::AS);
    }
    return;
  }
  // op(A) row i is column i of A: a depth step takes one element of each of
  // the mt column streams.
  const T* src[S::MR];
  for (i64 r = 0; r < S::MR; ++r) src[r] = op.a + p0 + (i0 + lesser(r, mt - 1)) * op.lda;
  for (i64 l = 0; l < kb; ++l) {
    R* d = dst + l * S::AS;
    T* e = reinterpret_cast<T*>(d);
    for (i64 r = 0; r < S::MR; ++r) e[r] = r < mt ? conj_if(src[r][l], op.conj_a) : T(0);
#pragma GCC unroll 3
    for (int v = 0; v < S::V; ++v) x[v] = Z::load(d + v * L);
    finish_a_step<T>(x, op.alpha, scale, d);
  }
}

// The block of rows i0..i0+mb in strips of MR.
template <class T>
void pack_a(const Operands<T>& op, i64 i0, i64 mb, i64 p0, i64 kb, real_t<T>* dst) {
  using S = Tile<T>;
  for (i64 i = 0; i < mb; i += S::MR) pack_a_strip<T>(op, i0 + i, lesser(S::MR, mb - i), p0, kb, dst + i / S::MR * kb * S::AS);
}

// ---- Packing B --------------------------------------------------------------
// One strip of nt <= NR columns of op(B): per depth step, the NR elements
// op(B)(l, j) side by side (zero past nt). Copies only.
template <class T>
void pack_b_strip(const Operands<T>& op, i64 j0, i64 nt, i64 p0, i64 kb, real_t<T>* dst) {
  using S = Tile<T>;
  T* d = reinterpret_cast<T*>(dst);
  if (op.tb) {
    // op(B) row l is column l of B: the columns are adjacent.
    for (i64 l = 0; l < kb; ++l) {
      const T* src = op.b + j0 + (p0 + l) * op.ldb;
      for (i64 q = 0; q < S::NR; ++q) d[l * S::NR + q] = q < nt ? conj_if(src[q], op.conj_b) : T(0);
    }
    return;
  }
  // Each column of op(B) is a column of B: the strip is written a depth
  // step (one line of the strip) at a time from its nt column streams.
  const T* src[S::NR];
  for (i64 q = 0; q < S::NR; ++q) src[q] = op.b + p0 + (j0 + lesser(q, nt - 1)) * op.ldb;
  if (nt == S::NR) {
    for (i64 l = 0; l < kb; ++l)
#pragma GCC unroll 8
      for (int q = 0; q < S::NR; ++q) d[l * S::NR + q] = conj_if(src[q][l], op.conj_b);
    return;
  }
  for (i64 l = 0; l < kb; ++l)
    for (i64 q = 0; q < S::NR; ++q) d[l * S::NR + q] = q < nt ? conj_if(src[q][l], op.conj_b) : T(0);
}

template <class T>
void pack_b(const Operands<T>& op, i64 j0, i64 nb, i64 p0, i64 kb, real_t<T>* dst) {
  using S = Tile<T>;
  for (i64 j = 0; j < nb; j += S::NR) pack_b_strip<T>(op, j0 + j, lesser(S::NR, nb - j), p0, kb, dst + j / S::NR * kb * S::BS);
}

// ---- C = beta C ---------------------------------------------------------------
// Element by element, one rounding per part for real beta; a beta of 0
// stores zeros without reading C.
template <class T>
void scale_c(i64 m, i64 n, T beta, T* c, i64 ldc) {
  for (i64 j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    if (beta == T(0)) {
      for (i64 i = 0; i < m; ++i) cj[i] = T(0);
    } else if constexpr (is_complex_v<T>) {
      using R = real_t<T>;
      const R br = beta.real(), bi = beta.imag();
      for (i64 i = 0; i < m; ++i) {
        const R xr = cj[i].real(), xi = cj[i].imag();
        const R pr = xr * br, qr = xi * bi, pi = xi * br, qi = xr * bi;
        cj[i] = T(pr - qr, pi + qi);
      }
    } else {
      for (i64 i = 0; i < m; ++i) cj[i] *= beta;
    }
  }
}

// ---- The driver -----------------------------------------------------------------
// C(m x n) = the running sums over the depth blocks of the tiles; C already
// holds beta C unless `beta_zero`, in which case the first depth block
// starts from zero. The loops: column blocks, depth blocks (pack the B
// panel), row blocks (pack the A block), then each B strip against every A
// strip of the block, so the B strip stays in the first level.
template <class T>
void drive(const Operands<T>& op, i64 m, i64 n, i64 k, bool beta_zero, T* c, i64 ldc, const Blocking& bl,
           real_t<T>* work) {
  using S = Tile<T>;
  using R = real_t<T>;
  using Z = typename S::Z;
  constexpr i64 L = Z::L;
  R* apack = work;
  R* bpack = work + a_reals<T>(bl);
  R* cr = reinterpret_cast<R*>(c);
  const i64 ldr = ldc * S::E;
  for (i64 jc = 0; jc < n; jc += bl.nc) {
    const i64 nb = lesser(bl.nc, n - jc);
    for (i64 pc = 0; pc < k; pc += bl.kc) {
      const i64 kb = lesser(bl.kc, k - pc);
      const bool zero = beta_zero && pc == 0;
      pack_b<T>(op, jc, nb, pc, kb, bpack);
      for (i64 ic = 0; ic < m; ic += bl.mc) {
        const i64 mb = lesser(bl.mc, m - ic);
        pack_a<T>(op, ic, mb, pc, kb, apack);
        for (i64 jr = 0; jr < nb; jr += S::NR) {
          const i64 nt = lesser(S::NR, nb - jr);
          const R* bs = bpack + jr / S::NR * kb * S::BS;
          for (i64 ir = 0; ir < mb; ir += S::MR) {
            const i64 rows = lesser(S::MR, mb - ir) * S::E;  // reals
            const i64 vu = ceil_div(rows, L);
            const auto last = rows - (vu - 1) * L == L ? static_cast<typename Z::mask>(~0u) : Z::first(rows - (vu - 1) * L);
            // The next tile down, or the top of the next strip of columns.
            const R* next = ir + S::MR < mb ? cr + (ic + ir + S::MR) * S::E + (jc + jr) * ldr
                            : jr + S::NR < nb ? cr + ic * S::E + (jc + jr + S::NR) * ldr
                                              : nullptr;
            kKernels<T>.at[vu - 1][nt - 1](kb, apack + ir / S::MR * kb * S::AS, bs,
                                           cr + (ic + ir) * S::E + (jc + jr) * ldr, ldr, last, zero, next);
          }
        }
      }
    }
  }
}

// Small real products with op(A) = A, read in place tile by tile: no
// packing to pay. The arithmetic is the packed path's (wide_kernel.h).
// Up to this many multiply-adds, where packing costs more than it saves.
constexpr double kDirectWork = 128.0 * 128 * 128;

template <class T>
void drive_direct(const Operands<T>& op, i64 m, i64 n, i64 k, bool beta_zero, T* c, i64 ldc) {
  using S = Tile<T>;
  using Z = typename S::Z;
  constexpr i64 L = Z::L;
  const bool scale = !(op.alpha == T(1));
  const i64 bl = op.tb ? op.ldb : 1, bq = op.tb ? 1 : op.ldb;
  for (i64 j = 0; j < n; j += S::NR) {
    const i64 nt = lesser(S::NR, n - j);
    for (i64 i = 0; i < m; i += S::MR) {
      const i64 rows = lesser(S::MR, m - i);
      const i64 vu = ceil_div(rows, L);
      const auto last = rows - (vu - 1) * L == L ? static_cast<typename Z::mask>(~0u) : Z::first(rows - (vu - 1) * L);
      kDirect<T>.at[vu - 1][nt - 1](k, op.a + i, op.lda, op.b + j * bq, bl, bq, c + i + j * ldc, ldc, last, beta_zero,
                                    scale, op.alpha);
    }
  }
}

// A work area on the stack, for small products (no allocation to pay) and
// for the case where the allocation is refused. 32 KiB: a few tiles' worth
// of strips, well inside any thread's stack.
constexpr i64 kStackBytes = 32 << 10;

// The blocking of the stack path: one tile at a time, as deep as the area
// allows. The bits are those of every other blocking.
template <class T>
Blocking stack_plan(i64 k) {
  using S = Tile<T>;
  const i64 per_step = (S::AS + S::BS) * static_cast<i64>(sizeof(real_t<T>));
  const i64 kmax = kStackBytes / per_step;
  return Blocking{ceil_div(k, ceil_div(k, kmax)), S::MR, S::NR};
}

template <class T>
void body(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
          i64 ldc) {
  using R = real_t<T>;
  // alpha 0 or no depth: C = beta C, nothing of A or B is read.
  if (k <= 0 || alpha == T(0)) {
    if (!(beta == T(1))) scale_c<T>(m, n, beta, c, ldc);
    return;
  }
  const bool beta_zero = beta == T(0);
  if (!beta_zero && !(beta == T(1))) scale_c<T>(m, n, beta, c, ldc);
  ta = static_cast<char>(ta & 0xDF);
  tb = static_cast<char>(tb & 0xDF);
  const Operands<T> op{ta != 'N', tb != 'N', is_complex_v<T> && ta == 'C', is_complex_v<T> && tb == 'C',
                       a, lda, b, ldb, alpha};
  if constexpr (!is_complex_v<T>) {
    // (In floating point: the product of three sizes may not fit 64 bits.)
    if (!op.ta && static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k) <= kDirectWork)
      return drive_direct<T>(op, m, n, k, beta_zero, c, ldc);
  }
  alignas(64) R stack[kStackBytes / sizeof(R)];
  Blocking bl = small_plan<T>(m, n, k);
  if (k <= limits<T>().kmax && (a_reals<T>(bl) + b_reals<T>(bl)) * static_cast<i64>(sizeof(R)) <= kStackBytes)
    return drive<T>(op, m, n, k, beta_zero, c, ldc, bl, stack);
  bl = plan<T>(m, n, k);
  const i64 reals = a_reals<T>(bl) + b_reals<T>(bl);
  if (reals * static_cast<i64>(sizeof(R)) <= kStackBytes) return drive<T>(op, m, n, k, beta_zero, c, ldc, bl, stack);
  void* area = qor_serv_allocate(reals * static_cast<i64>(sizeof(R)), 64);
  if (qor_serv_check_ptr_and_warn(area, "xdgemm") != 0) {
    // Refused: one warning under the name the other vector bodies use, then
    // the same sums, one tile at a time in the stack area.
    return drive<T>(op, m, n, k, beta_zero, c, ldc, stack_plan<T>(k), stack);
  }
  drive<T>(op, m, n, k, beta_zero, c, ldc, bl, static_cast<R*>(area));
  qor_serv_deallocate(area);
}

}  // namespace

template <class T>
void gemm(const char* transa, const char* transb, const i64* m, const i64* n, const i64* k, const T* alpha, const T* a,
          const i64* lda, const T* b, const i64* ldb, const T* beta, T* c, const i64* ldc) {
  if (*m <= 0 || *n <= 0) return;
  body<T>(*transa, *transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

template void gemm<float>(const char*, const char*, const i64*, const i64*, const i64*, const float*, const float*,
                          const i64*, const float*, const i64*, const float*, float*, const i64*);
template void gemm<double>(const char*, const char*, const i64*, const i64*, const i64*, const double*,
                           const double*, const i64*, const double*, const i64*, const double*, double*, const i64*);
template void gemm<c32>(const char*, const char*, const i64*, const i64*, const i64*, const c32*, const c32*,
                        const i64*, const c32*, const i64*, const c32*, c32*, const i64*);
template void gemm<c64>(const char*, const char*, const i64*, const i64*, const i64*, const c64*, const c64*,
                        const i64*, const c64*, const i64*, const c64*, c64*, const i64*);

}  // namespace gemm_wide
QOR_ISA_END
