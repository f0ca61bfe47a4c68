// Triangular solve with many right-hand sides, all element types:
// op(A) X = alpha B (left) or X op(A) = alpha B (right), X overwriting B.
//
// The work is a recursion of fixed depth. The entry cuts the problem into
// large blocks, layer 1 into middle ones, layer 2 into leaf blocks; each
// layer solves its diagonal blocks with the layer below and updates the rest
// of B with one GEMM per block (alpha -1, beta 1), so that nearly all the
// arithmetic runs in GEMM. The leaves multiply by reciprocals of the
// diagonal, one division per column of the triangle; a diagonal holding a
// subnormal number (whose reciprocal may overflow) is sent instead to the
// dividing solver, which is also the plain reference loop.
#pragma once
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "blas/level3/trsm_simd.h"
#include "frame/body.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace l3 {

// The four letters of a solve, read once.
struct Tri {
  bool left = true;   // op(A) X = B, else X op(A) = B
  bool lower = true;  // A holds a lower triangle
  bool trans = false; // op(A) = A^T or A^H
  bool conj = false;  // op(A) = A^H (complex types only)
  bool unit = false;  // the diagonal is taken as ones and not read
};

inline bool letter_is(const char* p, const char* letter) { return qor_serv_lsame(p, letter, 1, 1) != 0; }

template <class T>
inline Tri read_letters(const char* side, const char* uplo, const char* transa, const char* diag) {
  Tri t;
  t.left = letter_is(side, "L");
  t.unit = !letter_is(diag, "N");
  t.lower = !letter_is(uplo, "U");
  t.trans = !letter_is(transa, "N");
  t.conj = is_complex_v<T> && t.trans && letter_is(transa, "C");
  return t;
}


// ---- Blocking ------------------------------------------------------------------
// The same bytes per block for every type: the slices of the right-hand
// side that the leaves of the left cases solve at a time are 128 columns of
// doubles. The left cases never cut the right-hand side otherwise: each
// GEMM update spans all of it, so each panel of A is packed once.
template <class T>
struct TrsmBlocks {
  static constexpr i64 entry_tri_left = 1024;   // triangle blocks of the left cases
  static constexpr i64 entry_rhs_right = 1024;  // rows of B, right cases
  static constexpr i64 entry_tri_right = 256;   // triangle blocks of the right cases
  static constexpr i64 l1_tri = 1024;
  static constexpr i64 leaf_rhs = 1024 / static_cast<i64>(sizeof(T));
  static constexpr i64 l1_right_tri = 128;  // triangle blocks of the right cases
  static constexpr i64 l2_tri = 256;
  static constexpr i64 leaf = 64;
  static constexpr i64 whole = INT64_MAX / 4;  // no cut
};

// Reciprocals are formed for this many diagonal elements at a time.
inline constexpr i64 kChunk = 64;

// ---- Sweep: one layer of the recursion ------------------------------------------
// Solves the whole problem by cutting the triangle into blocks of `tb` and
// the right-hand side into blocks of `rb`, visiting the diagonal blocks in
// the order that solves each after the blocks it depends on: `inner(mm, nn,
// a_diag, b_block)` solves a diagonal block, in slices of `sb` of the
// right-hand side, and one GEMM per block removes its part from the rest of
// B over the whole width rb, so that the GEMM packs each panel of A once per
// block of rb, not once per slice. `nt` is the text of the untransposed
// GEMM operand.
template <class T, class Inner>
void sweep(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb, i64 tb, i64 rb, i64 sb,
           const char* nt, Inner&& inner) {
  const i64 tri = t.left ? m : n, rhs = t.left ? n : m;
  if (tri <= 0 || rhs <= 0) return;
  // Left: forward when op(A) is lower. Right: forward when op(A) is upper.
  const bool fwd = t.left ? (t.lower != t.trans) : (t.lower == t.trans);
  const char* ta = op_text(t.trans, t.conj);
  for (i64 r0 = 0; r0 < rhs; r0 += rb) {
    const i64 rw = min_i(rb, rhs - r0);
    for (i64 done = 0; done < tri;) {
      const i64 w = min_i(tb, tri - done);
      const i64 p0 = fwd ? done : tri - done - w, p1 = p0 + w;
      done += w;
      const T* ad = a + p0 + p0 * lda;
      const i64 q0 = fwd ? p1 : 0, q1 = fwd ? tri : p0;  // the part of B still to update
      if (t.left) {
        T* bd = b + p0 + r0 * ldb;
        for (i64 s0 = 0; s0 < rw; s0 += sb) inner(w, min_i(sb, rw - s0), ad, bd + s0 * ldb);
        if (q1 > q0) {
          gemm<T>(ta, nt, q1 - q0, rw, w, T(-1), op_block(a, lda, t.trans, q0, p0), lda, bd, ldb, T(1),
                  b + q0 + r0 * ldb, ldb);
        }
      } else {
        T* bd = b + r0 + p0 * ldb;
        for (i64 s0 = 0; s0 < rw; s0 += sb) inner(min_i(sb, rw - s0), w, ad, bd + s0);
        if (q1 > q0) {
          gemm<T>(nt, ta, rw, q1 - q0, w, T(-1), bd, ldb, op_block(a, lda, t.trans, p0, q0), lda, T(1),
                  b + r0 + q0 * ldb, ldb);
        }
      }
    }
  }
}

// ---- Leaves ----------------------------------------------------------------------
// Divide selects the dividing form (the unblocked solver); otherwise each
// diagonal element is inverted once and the solve multiplies. The
// multiplying leaves hand their work to the vector body when the processor
// path is one with 256-bit FMA and the triangle is no larger than it takes;
// the loops below serve the other paths and the dividing solver.

// True when the vector body solved the leaf.
template <class T>
bool vector_leaf(const Tri& t, bool lower, bool trans, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb);

// The diagonal element i of op(A).
template <class T>
inline T op_diag(const Tri& t, const T* a, i64 lda, i64 i) {
  return conj_if(a[i + i * lda], t.conj);
}

template <class T, bool Divide>
struct Pivots {
  T v[kChunk];
  // Fills the reciprocals of diagonal elements c0..c1 (at most kChunk).
  void load(const Tri& t, const T* a, i64 lda, i64 c0, i64 c1) {
    if constexpr (!Divide) {
      if (!t.unit)
        for (i64 i = c0; i < c1; ++i) v[i - c0] = T(1) / op_diag(t, a, lda, i);
    } else {
      (void)t, (void)a, (void)lda, (void)c0, (void)c1;
    }
  }
  // x solved against diagonal element i (chunk start c0).
  T solve(const Tri& t, const T* a, i64 lda, i64 i, i64 c0, T x) const {
    if (t.unit) return x;
    if constexpr (Divide) {
      return x / op_diag(t, a, lda, i);
    } else {
      return mul(x, v[i - c0]);
    }
  }
};

template <class T>
bool vector_leaf(const Tri& t, bool lower, bool trans, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  const i64 tri = t.left ? m : n;
  if (tri > ::qor::trsm_simd::kMaxTri) return false;
  // The vector leaves are AVX and FMA code (built for the Bulldozer class),
  // which the Zen and 512-bit classes run as well.
  if (choose_body<bodies_of<Body::bdz>>() != Body::bdz) return false;
  T r[::qor::trsm_simd::kMaxTri];
  if (!t.unit)
    for (i64 i = 0; i < tri; ++i) r[i] = T(1) / op_diag(t, a, lda, i);
  return ::qor::trsm_simd::solve({t.left, lower, trans, t.conj, t.unit}, m, n, a, lda, b, ldb, r);
}

// sum over k in [0, len) of op(a[k]) * x[k], op conjugating when asked; four
// partial sums so that the loop vectorises without reassociation flags.
template <class T>
inline T dot(i64 len, const T* a, const T* x, bool cj) {
  T s0(0), s1(0), s2(0), s3(0);
  i64 k = 0;
  if (cj) {
    for (; k + 4 <= len; k += 4) {
      s0 += mulc(x[k], a[k]);
      s1 += mulc(x[k + 1], a[k + 1]);
      s2 += mulc(x[k + 2], a[k + 2]);
      s3 += mulc(x[k + 3], a[k + 3]);
    }
    for (; k < len; ++k) s0 += mulc(x[k], a[k]);
  } else {
    for (; k + 4 <= len; k += 4) {
      s0 += mul(x[k], a[k]);
      s1 += mul(x[k + 1], a[k + 1]);
      s2 += mul(x[k + 2], a[k + 2]);
      s3 += mul(x[k + 3], a[k + 3]);
    }
    for (; k < len; ++k) s0 += mul(x[k], a[k]);
  }
  return (s0 + s1) + (s2 + s3);
}

// y[0:len] -= s * x[0:len]
template <class T>
inline void axpy_neg(i64 len, T s, const T* x, T* y) {
  for (i64 k = 0; k < len; ++k) y[k] -= mul(s, x[k]);
}

// Left side, one column of B at a time. Lower without transposition and
// upper without transposition work on columns of A (axpy form); the
// transposed cases take dot products with columns of A.
template <class T, bool Divide, bool Lower, bool Trans>
void left_leaf_case(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  constexpr bool fwd = Lower != Trans;
  if constexpr (!Divide) {
    if (vector_leaf<T>(t, Lower, Trans, m, n, a, lda, b, ldb)) return;
  }
  Pivots<T, Divide> piv;
  for (i64 done = 0; done < m;) {
    const i64 w = min_i(kChunk, m - done);
    const i64 c0 = fwd ? done : m - done - w, c1 = c0 + w;
    done += w;
    piv.load(t, a, lda, c0, c1);
    for (i64 j = 0; j < n; ++j) {
      T* x = b + j * ldb;
      if constexpr (!Trans && Lower) {
        for (i64 i = c0; i < c1; ++i) {
          const T xi = piv.solve(t, a, lda, i, c0, x[i]);
          x[i] = xi;
          axpy_neg(m - i - 1, xi, a + (i + 1) + i * lda, x + i + 1);
        }
      } else if constexpr (!Trans && !Lower) {
        for (i64 i = c1 - 1; i >= c0; --i) {
          const T xi = piv.solve(t, a, lda, i, c0, x[i]);
          x[i] = xi;
          axpy_neg(i, xi, a + i * lda, x);
        }
      } else if constexpr (Trans && Lower) {  // op(A) upper: from the bottom
        for (i64 i = c1 - 1; i >= c0; --i) {
          const T s = dot(m - i - 1, a + (i + 1) + i * lda, x + i + 1, t.conj);
          x[i] = piv.solve(t, a, lda, i, c0, x[i] - s);
        }
      } else {  // Trans, upper: op(A) lower, from the top
        for (i64 i = c0; i < c1; ++i) {
          const T s = dot(i, a + i * lda, x, t.conj);
          x[i] = piv.solve(t, a, lda, i, c0, x[i] - s);
        }
      }
    }
  }
}

template <class T, bool Divide>
void left_leaf(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  if (t.lower) {
    if (t.trans) {
      left_leaf_case<T, Divide, true, true>(t, m, n, a, lda, b, ldb);
    } else {
      left_leaf_case<T, Divide, true, false>(t, m, n, a, lda, b, ldb);
    }
  } else {
    if (t.trans) {
      left_leaf_case<T, Divide, false, true>(t, m, n, a, lda, b, ldb);
    } else {
      left_leaf_case<T, Divide, false, false>(t, m, n, a, lda, b, ldb);
    }
  }
}

// The left leaves with 2 x 2 register blocking: two columns of B and two
// rows of the triangle per step, so that each element of A loaded serves
// four multiply-adds. Real types; m and n even.
template <class T, bool Lower, bool Trans>
void left_leaf2x2_case(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  constexpr bool fwd = Lower != Trans;
  if (vector_leaf<T>(t, Lower, Trans, m, n, a, lda, b, ldb)) return;
  Pivots<T, false> piv;
  auto A = [&](i64 i, i64 j) { return a[i + j * lda]; };
  for (i64 done = 0; done < m;) {
    const i64 w = min_i(kChunk, m - done);
    const i64 c0 = fwd ? done : m - done - w, c1 = c0 + w;
    done += w;
    piv.load(t, a, lda, c0, c1);
    for (i64 j = 0; j + 1 < n; j += 2) {
      T* x = b + j * ldb;
      T* y = x + ldb;
      if constexpr (!Trans && Lower) {
        for (i64 i = c0; i + 1 < c1; i += 2) {
          const T p0 = piv.solve(t, a, lda, i, c0, x[i]), q0 = piv.solve(t, a, lda, i, c0, y[i]);
          const T l = A(i + 1, i);
          const T p1 = piv.solve(t, a, lda, i + 1, c0, x[i + 1] - l * p0);
          const T q1 = piv.solve(t, a, lda, i + 1, c0, y[i + 1] - l * q0);
          x[i] = p0, y[i] = q0, x[i + 1] = p1, y[i + 1] = q1;
          const T* a0 = a + i * lda;
          const T* a1 = a0 + lda;
          for (i64 k = i + 2; k < m; ++k) {
            x[k] -= p0 * a0[k] + p1 * a1[k];
            y[k] -= q0 * a0[k] + q1 * a1[k];
          }
        }
      } else if constexpr (!Trans && !Lower) {
        for (i64 i = c1 - 2; i >= c0; i -= 2) {
          const T p1 = piv.solve(t, a, lda, i + 1, c0, x[i + 1]), q1 = piv.solve(t, a, lda, i + 1, c0, y[i + 1]);
          const T u = A(i, i + 1);
          const T p0 = piv.solve(t, a, lda, i, c0, x[i] - u * p1);
          const T q0 = piv.solve(t, a, lda, i, c0, y[i] - u * q1);
          x[i] = p0, y[i] = q0, x[i + 1] = p1, y[i + 1] = q1;
          const T* a0 = a + i * lda;
          const T* a1 = a0 + lda;
          for (i64 k = 0; k < i; ++k) {
            x[k] -= p0 * a0[k] + p1 * a1[k];
            y[k] -= q0 * a0[k] + q1 * a1[k];
          }
        }
      } else if constexpr (Trans && Lower) {  // op(A) upper: rows i+1, then i
        for (i64 i = c1 - 2; i >= c0; i -= 2) {
          const T* a0 = a + i * lda;
          const T* a1 = a0 + lda;
          T sx0(0), sx1(0), sy0(0), sy1(0);
          for (i64 k = i + 2; k < m; ++k) {
            sx0 += a0[k] * x[k];
            sx1 += a1[k] * x[k];
            sy0 += a0[k] * y[k];
            sy1 += a1[k] * y[k];
          }
          const T l = A(i + 1, i);
          const T p1 = piv.solve(t, a, lda, i + 1, c0, x[i + 1] - sx1);
          const T q1 = piv.solve(t, a, lda, i + 1, c0, y[i + 1] - sy1);
          x[i + 1] = p1, y[i + 1] = q1;
          x[i] = piv.solve(t, a, lda, i, c0, x[i] - sx0 - l * p1);
          y[i] = piv.solve(t, a, lda, i, c0, y[i] - sy0 - l * q1);
        }
      } else {  // Trans, upper: op(A) lower, rows i then i+1
        for (i64 i = c0; i + 1 < c1; i += 2) {
          const T* a0 = a + i * lda;
          const T* a1 = a0 + lda;
          T sx0(0), sx1(0), sy0(0), sy1(0);
          for (i64 k = 0; k < i; ++k) {
            sx0 += a0[k] * x[k];
            sx1 += a1[k] * x[k];
            sy0 += a0[k] * y[k];
            sy1 += a1[k] * y[k];
          }
          const T u = A(i, i + 1);
          const T p0 = piv.solve(t, a, lda, i, c0, x[i] - sx0);
          const T q0 = piv.solve(t, a, lda, i, c0, y[i] - sy0);
          x[i] = p0, y[i] = q0;
          x[i + 1] = piv.solve(t, a, lda, i + 1, c0, x[i + 1] - sx1 - u * p0);
          y[i + 1] = piv.solve(t, a, lda, i + 1, c0, y[i + 1] - sy1 - u * q0);
        }
      }
    }
  }
}

template <class T>
void left_leaf2x2(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  if (t.lower) {
    if (t.trans) {
      left_leaf2x2_case<T, true, true>(t, m, n, a, lda, b, ldb);
    } else {
      left_leaf2x2_case<T, true, false>(t, m, n, a, lda, b, ldb);
    }
  } else {
    if (t.trans) {
      left_leaf2x2_case<T, false, true>(t, m, n, a, lda, b, ldb);
    } else {
      left_leaf2x2_case<T, false, false>(t, m, n, a, lda, b, ldb);
    }
  }
}

// Right side: for each column j of the triangle in solving order, scale
// column j of B by the reciprocal of the diagonal, then subtract multiples
// of it from the columns still unsolved. Rows of B are independent, so the
// work goes in strips of rows that stay in the first-level cache.
template <class T, bool Divide>
void right_leaf(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  if constexpr (!Divide) {
    if (vector_leaf<T>(t, t.lower, t.trans, m, n, a, lda, b, ldb)) return;
  }
  const bool fwd = t.lower == t.trans;  // op(A) upper
  constexpr i64 strip = Divide ? INT64_MAX / 4 : 512 / static_cast<i64>(sizeof(T));
  Pivots<T, Divide> piv;
  // op(A)(j, k)
  auto coef = [&](i64 j, i64 k) { return t.trans ? conj_if(a[k + j * lda], t.conj) : a[j + k * lda]; };
  for (i64 done = 0; done < n;) {
    const i64 w = min_i(kChunk, n - done);
    const i64 c0 = fwd ? done : n - done - w, c1 = c0 + w;
    done += w;
    piv.load(t, a, lda, c0, c1);
    for (i64 r0 = 0; r0 < m; r0 += strip) {
      const i64 rows = min_i(strip, m - r0);
      for (i64 s = 0; s < w; ++s) {
        const i64 j = fwd ? c0 + s : c1 - 1 - s;
        T* bj = b + r0 + j * ldb;
        if (!t.unit) {
          if constexpr (Divide) {
            const T d = op_diag(t, a, lda, j);
            for (i64 i = 0; i < rows; ++i) bj[i] = bj[i] / d;
          } else {
            const T r = piv.v[j - c0];
            for (i64 i = 0; i < rows; ++i) bj[i] = mul(bj[i], r);
          }
        }
        const i64 k0 = fwd ? j + 1 : 0, k1 = fwd ? n : j;
        for (i64 k = k0; k < k1; ++k) {
          const T c = coef(j, k);
          if (is_zero(c)) continue;
          axpy_neg(rows, c, bj, b + r0 + k * ldb);
        }
      }
    }
  }
}

// ---- Layers ------------------------------------------------------------------------

template <class T>
void solve_leaf(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  if (!t.left) {
    right_leaf<T, false>(t, m, n, a, lda, b, ldb);
  } else if constexpr (std::is_same_v<T, double>) {
    // Both sizes even: the register-blocked leaf; otherwise the plain one.
    if (m % 2 == 0 && n % 2 == 0) {
      left_leaf2x2<T>(t, m, n, a, lda, b, ldb);
    } else {
      left_leaf<T, false>(t, m, n, a, lda, b, ldb);
    }
  } else {
    left_leaf<T, false>(t, m, n, a, lda, b, ldb);
  }
}

// Layer 2: blocks of 256 of the triangle, each cut again into leaf blocks of
// 64, with GEMM between. On the left the leaf blocks are solved on slices
// of 128 columns of B (of doubles, the same bytes for the other types),
// which stay in cache through the leaves, while the GEMM below each block
// of 256 spans the whole width: its panel of A is packed once.
template <class T>
void layer2(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  using B = TrsmBlocks<T>;
  const i64 sb = t.left ? B::leaf_rhs : B::whole;
  sweep<T>(t, m, n, a, lda, b, ldb, B::l2_tri, B::whole, sb, kNoTrans, [&](i64 mm, i64 nn, const T* ad, T* bd) {
    sweep<T>(t, mm, nn, ad, lda, bd, ldb, B::leaf, B::whole, B::whole, kNoTrans,
             [&](i64 m2, i64 n2, const T* a2, T* b2) { solve_leaf<T>(t, m2, n2, a2, lda, b2, ldb); });
  });
}

// Layer 1: the triangle in blocks of 1024 on the left, of 128 on the right,
// where the rows of B stay whole, so that the GEMM updates between them keep
// the long dimension of B. B is not cut: layer 2 slices it for its leaves.
template <class T>
void layer1(const Tri& t, i64 m, i64 n, const T* a, i64 lda, T* b, i64 ldb) {
  using B = TrsmBlocks<T>;
  // The GEMM letter texts are read by their first letter only; this one is
  // misspelt and has always worked the same.
  const i64 tb = t.left ? B::l1_tri : B::l1_right_tri;
  sweep<T>(t, m, n, a, lda, b, ldb, tb, B::whole, B::whole, "No tranpose",
           [&](i64 mm, i64 nn, const T* ad, T* bd) { layer2<T>(t, mm, nn, ad, lda, bd, ldb); });
}

// Subnormal: biased exponent 0 and a fraction that is not 0.
inline unsigned subnormal_bits(double x) {
  std::uint64_t u;
  std::memcpy(&u, &x, sizeof u);
  const std::uint32_t hi = static_cast<std::uint32_t>(u >> 32), lo = static_cast<std::uint32_t>(u);
  return static_cast<unsigned>(((hi >> 20) & 0x7FFu) == 0) & static_cast<unsigned>(((hi & 0xFFFFFu) | lo) != 0);
}
inline unsigned subnormal_bits(float x) {
  std::uint32_t u;
  std::memcpy(&u, &x, sizeof u);
  return static_cast<unsigned>(((u >> 23) & 0xFFu) == 0) & static_cast<unsigned>((u & 0x7FFFFFu) != 0);
}
template <class T>
inline unsigned subnormal_elem(const T& x) {
  if constexpr (is_complex_v<T>) {
    return subnormal_bits(x.real()) | subnormal_bits(x.imag());
  } else {
    return subnormal_bits(x);
  }
}

// 1 when any of `count` elements at `stride` is subnormal (for complex
// elements: either part), else 0. Every element is read: there is no early
// exit.
template <class T>
int has_denormal(i64 count, const T* base, i64 stride) {
  if (count <= 0) return 0;
  unsigned f = 0;
  i64 i = 0;
  for (; i + 4 <= count; i += 4) {
    f |= subnormal_elem(base[i * stride]) | subnormal_elem(base[(i + 1) * stride]) |
         subnormal_elem(base[(i + 2) * stride]) | subnormal_elem(base[(i + 3) * stride]);
  }
  for (; i < count; ++i) f |= subnormal_elem(base[i * stride]);
  return f != 0 ? 1 : 0;
}

// B = 0 for alpha 0: short columns by a loop, longer ones by memset.
template <class T>
void clear_for_alpha0(i64 m, i64 n, T* b, i64 ldb) {
  if (m <= 0) return;
  for (i64 j = 0; j < n; ++j) {
    T* c = b + j * ldb;
    if (m <= 12) {
      for (i64 i = 0; i < m; ++i) c[i] = T(0);
    } else {
      std::memset(static_cast<void*>(c), 0, sizeof(T) * static_cast<std::size_t>(m));
    }
  }
}

// The unblocked solver: the reference loops with true division.
template <class T>
void trsm_pst(const Tri& t, i64 m, i64 n, T alpha, const T* a, i64 lda, T* b, i64 ldb) {
  if (m <= 0 || n <= 0) return;
  if (is_zero(alpha)) {
    clear(m, n, b, ldb);
    return;
  }
  scale(m, n, alpha, b, ldb);
  if (t.left) {
    left_leaf<T, true>(t, m, n, a, lda, b, ldb);
  } else {
    right_leaf<T, true>(t, m, n, a, lda, b, ldb);
  }
}

// A layer entered from outside: alpha first, then the layer.
template <class T, void (*Layer)(const Tri&, i64, i64, const T*, i64, T*, i64)>
void layer_entry(const Tri& t, i64 m, i64 n, T alpha, const T* a, i64 lda, T* b, i64 ldb) {
  if (m <= 0 || n <= 0) return;
  scale(m, n, alpha, b, ldb);
  Layer(t, m, n, a, lda, b, ldb);
}

// The entry.
template <class T>
void trsm(const Tri& t, i64 m, i64 n, T alpha, const T* a, i64 lda, T* b, i64 ldb) {
  if (n == 0) return;
  if (!t.unit) {
    if (has_denormal<T>(t.left ? m : n, a, lda + 1) == 1) {
      trsm_pst<T>(t, m, n, alpha, a, lda, b, ldb);
      return;
    }
  }
  if (is_zero(alpha)) {
    clear_for_alpha0(m, n, b, ldb);
    return;
  }
  if (m <= 0 || n <= 0) return;
  scale(m, n, alpha, b, ldb);
  using B = TrsmBlocks<T>;
  i64 tb, rb;
  if (t.left) {
    tb = B::entry_tri_left;
    rb = B::whole;
  } else {
    tb = B::entry_tri_right;
    rb = B::entry_rhs_right;
  }
  sweep<T>(t, m, n, a, lda, b, ldb, tb, rb, B::whole, kNoTrans,
           [&](i64 mm, i64 nn, const T* ad, T* bd) { layer1<T>(t, mm, nn, ad, lda, bd, ldb); });
}

}  // namespace l3
QOR_ISA_END
