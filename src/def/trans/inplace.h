// In-place scaling and transposition.
//
// Square matrices with equal leading dimensions are transposed by blocks
// (8 by 8; 4 by 4 for the 16-byte type). Everything else is rearranged by
// following the cycles of the permutation, with no workspace at all.
#pragma once
#include "trans/copy.h"

QOR_ISA_BEGIN
namespace trans {

// Block edge of the square transposition: 8, or 4 for complex double.
template <class T>
inline constexpr u64 block_of = sizeof(T) == 16 ? 4 : 8;

// Transposes one block on the diagonal in place.
template <u64 B, class T>
inline void trans_block(T* a, u64 lda) {
  alignas(64) T t[B * B];
  transpose_into<B, false, false>(a, lda, t, T(1));
  for (u64 r = 0; r < B; ++r) std::memcpy(a + r * lda, t + r * B, B * sizeof(T));
}

// Exchanges the S by S sub-block at p with the transpose of the one at q,
// through registers: S is 4 for 4-byte elements, 2 for 8-byte ones, else 1.
template <class T>
inline constexpr u64 sub_of = sizeof(T) == 4 ? 4 : sizeof(T) == 8 ? 2 : 1;

inline void transpose4(__m128& r0, __m128& r1, __m128& r2, __m128& r3) {
  const __m128 t0 = _mm_unpacklo_ps(r0, r1), t1 = _mm_unpackhi_ps(r0, r1);
  const __m128 t2 = _mm_unpacklo_ps(r2, r3), t3 = _mm_unpackhi_ps(r2, r3);
  r0 = _mm_movelh_ps(t0, t2);
  r1 = _mm_movehl_ps(t2, t0);
  r2 = _mm_movelh_ps(t1, t3);
  r3 = _mm_movehl_ps(t3, t1);
}

template <class T>
inline void swap_sub(T* p, T* q, u64 lda) {
  if constexpr (sizeof(T) == 8) {
    auto* pp = reinterpret_cast<double*>(p);
    auto* qq = reinterpret_cast<double*>(q);
    const __m128d p0 = _mm_loadu_pd(pp), p1 = _mm_loadu_pd(pp + lda);
    const __m128d q0 = _mm_loadu_pd(qq), q1 = _mm_loadu_pd(qq + lda);
    _mm_storeu_pd(pp, _mm_unpacklo_pd(q0, q1));
    _mm_storeu_pd(pp + lda, _mm_unpackhi_pd(q0, q1));
    _mm_storeu_pd(qq, _mm_unpacklo_pd(p0, p1));
    _mm_storeu_pd(qq + lda, _mm_unpackhi_pd(p0, p1));
  } else if constexpr (sizeof(T) == 4) {
    auto* pp = reinterpret_cast<float*>(p);
    auto* qq = reinterpret_cast<float*>(q);
    __m128 p0 = _mm_loadu_ps(pp), p1 = _mm_loadu_ps(pp + lda), p2 = _mm_loadu_ps(pp + 2 * lda),
           p3 = _mm_loadu_ps(pp + 3 * lda);
    __m128 q0 = _mm_loadu_ps(qq), q1 = _mm_loadu_ps(qq + lda), q2 = _mm_loadu_ps(qq + 2 * lda),
           q3 = _mm_loadu_ps(qq + 3 * lda);
    transpose4(p0, p1, p2, p3);
    transpose4(q0, q1, q2, q3);
    _mm_storeu_ps(pp, q0);
    _mm_storeu_ps(pp + lda, q1);
    _mm_storeu_ps(pp + 2 * lda, q2);
    _mm_storeu_ps(pp + 3 * lda, q3);
    _mm_storeu_ps(qq, p0);
    _mm_storeu_ps(qq + lda, p1);
    _mm_storeu_ps(qq + 2 * lda, p2);
    _mm_storeu_ps(qq + 3 * lda, p3);
  } else {
    swap_elems(*p, *q);
  }
}

// Writes the transpose of block p over block q and that of q over p.
template <u64 B, class T>
inline void swap_blocks(T* p, T* q, u64 lda) {
  constexpr u64 S = sub_of<T>;
  for (u64 i = 0; i < B; i += S)
    for (u64 j = 0; j < B; j += S) swap_sub(p + i * lda + j, q + j * lda + i, lda);
}

// Finishes a square transposition whose leading m by m part is done: the
// rows below that part are exchanged with the columns to its right, then the
// trailing square is transposed by single swaps.
template <class T>
void sqtrans_rest(T* a, u64 n, u64 m, u64 lda) {
  for (u64 i = m; i < n; ++i) {
    T* row = a + i * lda;
    T* col = a + i;
    u64 j = 0;
    for (; j + 4 <= m; j += 4) {
      swap_elems(row[j], col[j * lda]);
      swap_elems(row[j + 1], col[(j + 1) * lda]);
      swap_elems(row[j + 2], col[(j + 2) * lda]);
      swap_elems(row[j + 3], col[(j + 3) * lda]);
    }
    for (; j < m; ++j) swap_elems(row[j], col[j * lda]);
  }
  for (u64 i = m + 1; i < n; ++i)
    for (u64 j = m; j < i; ++j) swap_elems(a[i * lda + j], a[j * lda + i]);
}

// Transposes the square by blocks. Above 256 KiB it runs two sweeps over
// the whole matrix (the diagonal blocks, then the off-diagonal pairs); below,
// it finishes each block row before the next.
template <class T>
void sqtrans_fit_64(T* a, u64 n, u64 lda) {
  constexpr u64 B = block_of<T>;
  const u64 nb = n / B;
  const u64 step = B * (lda + 1);  // from one diagonal block to the next
  u64 k = 0;
  for (; k + 8 <= nb; k += 8)
    for (u64 d = 0; d < 8; ++d) trans_block<B>(a + (k + d) * step, lda);
  for (; k < nb; ++k) trans_block<B>(a + k * step, lda);
  if (n * n * sizeof(T) >= 262145) {
    for (u64 bj = 1; bj < nb; ++bj)
      for (u64 bi = 0; bi < bj; ++bi) swap_blocks<B>(a + bi * B * lda + bj * B, a + bj * B * lda + bi * B, lda);
  } else {
    for (u64 bi = 0; bi < nb; ++bi) {
      T* p = a + bi * step;  // diagonal block of this block row
      u64 bj = bi + 1;
      for (; bj + 8 <= nb; bj += 8)
        for (u64 d = 0; d < 8; ++d) swap_blocks<B>(p + (bj + d - bi) * B, p + (bj + d - bi) * B * lda, lda);
      for (; bj < nb; ++bj) swap_blocks<B>(p + (bj - bi) * B, p + (bj - bi) * B * lda, lda);
    }
  }
  sqtrans_rest(a, n, nb * B, lda);
}

template <class T>
int sqtrans(T* a, u64 n, u64 lda) {
  if (lda % 8 == 0 || n % 8 == 0) {
    sqtrans_fit_64(a, n, lda);
    return 0;
  }
  const u64 m = n & ~static_cast<u64>(7);
  sqtrans_fit_64(a, m, lda);
  sqtrans_rest(a, n, m, lda);
  return 0;
}

// One tile of the threaded square transposition. p == q: the size by size
// tile on the diagonal is transposed in place. Otherwise p is 64 rows by
// `size` columns, q is `size` rows by 64 columns, and each receives the
// transpose of the other.
template <class T>
void square_t_64x64n(T* p, T* q, u64 lda, u64 size) {
  if (p == q) {
    sqtrans_fit_64(p, size, lda);
    return;
  }
  constexpr u64 B = block_of<T>;
  const u64 full = size / B * B;
  for (u64 r = 0; r < 64; r += B)
    for (u64 c = 0; c < full; c += B) swap_blocks<B>(p + r * lda + c, q + c * lda + r, lda);
  for (u64 c = full; c < size; ++c)
    for (u64 r = 0; r < 64; ++r) swap_elems(p[r * lda + c], q[c * lda + r]);
}

// A worker's share of the threaded square transposition. The work is the
// 64 by 64 tiles of the upper triangle by tile rows, each diagonal tile
// followed by the pairs of its row, weighed by the elements they move; each
// worker takes one run of consecutive tiles of equal weight. A run of tile
// rows keeps the tiles that meet at a tile edge with one worker, except at
// the edges between two runs: tiles dealt out in turn would put a worker on
// each side of every edge, and where the rows do not start on a cache line,
// each row of each edge would be a line written by both.
template <class T>
void square_t_team(u64 n, T* ab, u64 lda, int thread, int threads) {
  if (threads < 1 || thread < 0 || thread >= threads) return;
  const u64 tiles = (n + 63) / 64;
  auto side = [&](u64 t) { return n - t * 64 < 64 ? n - t * 64 : 64; };
  const u64 total = n * n;  // the diagonal tiles count once, the pairs twice
  const auto nth = static_cast<unsigned __int128>(threads), me = static_cast<unsigned __int128>(thread);
  const auto lo = static_cast<u64>(total * me / nth), hi = static_cast<u64>(total * (me + 1) / nth);
  u64 at = 0;  // weight of the tiles before the current one
  for (u64 i = 0; i < tiles && at < hi; ++i) {
    const u64 si = side(i);
    if (at >= lo) {
      T* d = ab + i * 64 * (lda + 1);
      square_t_64x64n(d, d, lda, si);
    }
    at += si * si;
    for (u64 j = i + 1; j < tiles && at < hi; ++j) {
      const u64 sj = side(j);
      if (at >= lo) square_t_64x64n(ab + i * 64 * lda + j * 64, ab + j * 64 * lda + i * 64, lda, sj);
      at += 2 * 64 * sj;
    }
  }
}

// Scaled swap of the two triangles: ab(i,j) and ab(j,i) trade places and
// both are multiplied by alpha (the diagonal once).
template <bool Conj, class T>
void square_swap_scaled(u64 n, T* ab, u64 lda, T alpha) {
  for (u64 i = 0; i < n; ++i) {
    T* row = ab + i * lda;
    T* col = ab + i;
    u64 j = 0;
    for (; j + 4 <= i + 1; j += 4) {
      for (u64 d = 0; d < 4; ++d) {
        T x = row[j + d], y = col[(j + d) * lda];
        row[j + d] = apply<Conj, true>(alpha, y);
        col[(j + d) * lda] = apply<Conj, true>(alpha, x);
      }
    }
    for (; j <= i; ++j) {
      T x = row[j], y = col[j * lda];
      row[j] = apply<Conj, true>(alpha, y);
      col[j * lda] = apply<Conj, true>(alpha, x);
    }
  }
}

template <class T>
void conjugate_square(u64 n, T* ab, u64 lda) {
  if constexpr (is_complex_v<T>) {
    for (u64 i = 0; i < n; ++i)
      for (u64 j = 0; j < n; ++j) ab[i * lda + j] = conj(ab[i * lda + j]);
  }
}

// _t (Conj false) and _c (Conj true) on a square with one leading dimension.
template <bool Conj, class T>
void imatcopy_square_t(u64 n, T* ab, u64 lda, T alpha) {
  if (!is_one(alpha)) {
    square_swap_scaled<Conj>(n, ab, lda, alpha);
    return;
  }
  bool done = false;
  if (n >= ::qor::trans::square_parallel_min) {
    using I = ::qor::trans::Imports<T>;
    done = I::imatcopy_square_t_par(n, ab, lda, I::imatcopy_square_t_team) != 0;
  }
  if (!done) sqtrans(ab, n, lda);
  if constexpr (Conj) conjugate_square(n, ab, lda);
}

// _n (Conj false) and _r (Conj true): ab := alpha * ab over the square.
template <bool Conj, class T>
void imatcopy_square_n(u64 n, T* ab, u64 lda, T alpha) {
  const bool one = is_one(alpha);
  if (one && !Conj) return;
  const u64 rows = lda == n ? 1 : n, len = lda == n ? n * n : n;
  for (u64 i = 0; i < rows; ++i) {
    T* p = ab + i * lda;
    u64 k = 0;
    if (one) {
      for (; k < len; ++k) p[k] = conj(p[k]);
      continue;
    }
    for (; k + 8 <= len; k += 8)
      for (u64 d = 0; d < 8; ++d) p[k + d] = apply<Conj, true>(alpha, p[k + d]);
    for (; k < len; ++k) p[k] = apply<Conj, true>(alpha, p[k]);
  }
}

// _n and _r with a change of leading dimension: row i moves from i * lda to
// i * ldb. Shrinking runs forwards and growing backwards, so a write never
// lands on an element not yet read.
template <bool Conj, class T>
void imatcopy_mipt_n(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {
  const bool one = is_one(alpha);
  auto op = [&](T x) { return one ? apply<Conj, false>(alpha, x) : apply<Conj, true>(alpha, x); };
  if (lda >= ldb) {
    for (u64 i = 0; i < rows; ++i) {
      const T* src = ab + i * lda;
      T* dst = ab + i * ldb;
      u64 j = 0;
      for (; j + 8 <= cols; j += 8) {
        T v[8];
        for (u64 d = 0; d < 8; ++d) v[d] = src[j + d];
        for (u64 d = 0; d < 8; ++d) dst[j + d] = op(v[d]);
      }
      for (; j < cols; ++j) dst[j] = op(src[j]);
    }
  } else {
    for (u64 i = rows; i-- > 0;) {
      const T* src = ab + i * lda;
      T* dst = ab + i * ldb;
      u64 j = cols;
      for (; j >= 8; j -= 8) {
        T v[8];
        for (u64 d = 0; d < 8; ++d) v[d] = src[j - 8 + d];
        for (u64 d = 0; d < 8; ++d) dst[j - 8 + d] = op(v[d]);
      }
      for (; j > 0; --j) dst[j - 1] = op(src[j - 1]);
    }
  }
}

// Quotient and remainder by the source leading dimension. A multiplication
// by a rounded-up reciprocal is exact while numerator times divisor stays
// below 2^64; past that, a hardware divide (32 bits when both fit).
struct ReciprocalDivider {
  u64 d, m;
  void operator()(u64 p, u64& q, u64& r) const {
    q = static_cast<u64>((static_cast<unsigned __int128>(p) * m) >> 64);
    r = p - q * d;
  }
};
struct HardwareDivider {
  u64 d;
  void operator()(u64 p, u64& q, u64& r) const {
    if (((p | d) >> 32) == 0) {
      const auto p32 = static_cast<std::uint32_t>(p), d32 = static_cast<std::uint32_t>(d);
      q = p32 / d32;
      r = p32 % d32;
    } else {
      q = p / d;
      r = p % d;
    }
  }
};

// Cycle following. Position p (row p / lda, column p % lda) sends its
// element to (p % lda) * ldb + p / lda. Each cycle is moved once, from its
// smallest source position (its leader); a position outside the source is
// walked but never read, and written only when an element lands on it.
//
// Deciding whether a position leads its cycle means walking the cycle until
// a source position not above it comes round. Those walks are long chains
// of dependent divisions, so eight of them run side by side, each lane
// taking the next source position as soon as its walk ends; a leader's
// cycle is carried at once. Cycles are disjoint, so the order in which they
// are carried does not matter.
template <bool Conj, bool Scale, class T, class Div>
void carry_cycle(u64 s, u64 i, u64 j, u64 rows, u64 cols, T* ab, u64 ldb, T alpha, const Div& div) {
  // Each source position is read before anything is written over it.
  T v = ab[s];
  bool carrying = true;
  u64 p = s, q = i, r = j;
  do {
    p = r * ldb + q;
    div(p, q, r);
    const bool source = r < cols && q < rows;
    T next = source && p != s ? ab[p] : v;
    if (carrying) ab[p] = apply<Conj, Scale>(alpha, v);
    carrying = source;
    v = next;
  } while (p != s);
}

template <bool Conj, bool Scale, class T, class Div>
void mipt_cycles(u64 rows, u64 cols, T* ab, u64 ldb, T alpha, const Div& div) {
  constexpr int lanes = 8;
  u64 start[lanes], quo[lanes], rem[lanes];
  bool busy[lanes];
  u64 ni = 0, nj = 0;  // the next source position to test
  auto take = [&](int k) {
    busy[k] = ni < rows;
    if (!busy[k]) return;
    start[k] = ni * div.d + nj;
    quo[k] = ni;
    rem[k] = nj;
    if (++nj == cols) {
      nj = 0;
      ++ni;
    }
  };
  int active = 0;
  for (int k = 0; k < lanes; ++k) {
    take(k);
    active += busy[k];
  }
  while (active > 0) {
#pragma GCC unroll 8
    for (int k = 0; k < lanes; ++k) {
      if (!busy[k]) continue;
      const u64 p = rem[k] * ldb + quo[k];
      div(p, quo[k], rem[k]);
      if (__builtin_expect(p > start[k] || rem[k] >= cols, 1)) continue;
      // The walk ended: at the start itself for a leader.
      if (p == start[k]) carry_cycle<Conj, Scale>(p, quo[k], rem[k], rows, cols, ab, ldb, alpha, div);
      take(k);
      active -= !busy[k];
    }
  }
}

// _t (Conj false) and _c (Conj true) for any shape and leading dimensions.
template <bool Conj, class T>
void imatcopy_mipt_t(u64 rows, u64 cols, T* ab, u64 lda, u64 ldb, T alpha) {
  // The walk is a permutation of [0, lda * ldb) only when each matrix fits
  // its leading dimension; other arguments would never close a cycle.
  if (rows == 0 || cols == 0 || lda < cols || ldb < rows) return;
  const auto span = static_cast<unsigned __int128>(lda) * ldb;
  if ((span >> 64) != 0) return;
  const bool scale = !is_one(alpha);
  // The reciprocal is exact while the largest position times lda fits in 64 bits.
  const auto limit = span * lda;
  if (lda > 1 && (limit >> 64) == 0) {
    const ReciprocalDivider div{lda, ~static_cast<u64>(0) / lda + 1};
    if (scale) {
      mipt_cycles<Conj, true>(rows, cols, ab, ldb, alpha, div);
    } else {
      mipt_cycles<Conj, false>(rows, cols, ab, ldb, alpha, div);
    }
  } else {
    const HardwareDivider div{lda};
    if (scale) {
      mipt_cycles<Conj, true>(rows, cols, ab, ldb, alpha, div);
    } else {
      mipt_cycles<Conj, false>(rows, cols, ab, ldb, alpha, div);
    }
  }
}

template <class T>
void imatcopy(int ordering, int trans, u64 rows, u64 cols, T alpha, T* ab, u64 lda, u64 ldb) {
  if (rows == 0 || cols == 0 || ab == nullptr) return;
  Op op;
  bool row_major;
  if (!::qor::trans::read_op(trans, op) || !::qor::trans::read_ordering(ordering, row_major)) return;
  if (::qor::trans::transposing(op)) {
    if (rows == cols && lda == ldb) {
      if (op == Op::T) {
        imatcopy_square_t<false>(rows, ab, lda, alpha);
      } else {
        imatcopy_square_t<true>(rows, ab, lda, alpha);
      }
      return;
    }
    if (!row_major) swap_elems(rows, cols);
    if (op == Op::T) {
      imatcopy_mipt_t<false>(rows, cols, ab, lda, ldb, alpha);
    } else {
      imatcopy_mipt_t<true>(rows, cols, ab, lda, ldb, alpha);
    }
    return;
  }
  if (rows == cols && cols == lda && lda == ldb) {
    if (op == Op::N) {
      imatcopy_square_n<false>(rows, ab, lda, alpha);
    } else {
      imatcopy_square_n<true>(rows, ab, lda, alpha);
    }
    return;
  }
  if (!row_major) swap_elems(rows, cols);
  if (op == Op::N) {
    imatcopy_mipt_n<false>(rows, cols, ab, lda, ldb, alpha);
  } else {
    imatcopy_mipt_n<true>(rows, cols, ab, lda, ldb, alpha);
  }
}

}  // namespace trans
QOR_ISA_END
