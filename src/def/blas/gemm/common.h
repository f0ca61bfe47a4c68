// Pieces shared by every GEMM body, written once over the element type and
// compiled in each instruction-set class that includes this header.
//
// - the entry of every member: quick return and the choice of body;
// - the work area of a packed body, and the fallback when it is refused;
// - the depth rules of the blocking functions;
// - scaling C by beta;
// - the unpacked kernel for small and thin products (pst);
// - the strip packers: a panel is a sequence of strips of a fixed width;
//   a strip holds, for each depth index in order, its w elements side by
//   side, and is padded in depth with zeros.
#pragma once
#include <cstdint>
#include <cstring>

#include "blas/gemm/signatures.h"
#include "blas/gemm/wide.h"
#include "frame/body.h"
#include "frame/isa.h"
#include "frame/services.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace gemm {

using i64 = std::int64_t;

inline i64 clamp(i64 x, i64 lo, i64 hi) { return x < lo ? lo : (x > hi ? hi : x); }
inline i64 round_up(i64 x, i64 q) { return (x + q - 1) / q * q; }
inline i64 min(i64 a, i64 b) { return a < b ? a : b; }
inline i64 max(i64 a, i64 b) { return a > b ? a : b; }

// Rounds an address up to a multiple of `align` (a power of two).
template <class P>
inline P* align_up(const void* p, std::uintptr_t align) {
  auto v = reinterpret_cast<std::uintptr_t>(p);
  return reinterpret_cast<P*>((v + align - 1) & ~(align - 1));
}

// ---- The entry -------------------------------------------------------------
// The GEMM arguments of element type T, in the reference order.
template <class T>
using GemmBody = ::qor::gemm_sig::gemm_fn<T>*;

// Quick return on an empty C (beta and alpha are not looked at), then the
// body by the library's one rule (frame/body.h): the 512-bit class runs the
// 512-bit body (wide.h), Barcelona tail-calls its body, Bulldozer and Zen
// call the _bdz body, and the baseline body, which has the same arguments,
// serves the rest and every processor tier but 0.
template <class T, class Baseline>
inline void entry(GemmBody<T> brc, GemmBody<T> bdz, Baseline baseline, const char* ta, const char* tb, const i64* m,
                  const i64* n, const i64* k, const T* alpha, const T* a, const i64* lda, const T* b, const i64* ldb,
                  const T* beta, T* c, const i64* ldc) {
  if (*m <= 0 || *n <= 0) return;
  switch (choose_body<bodies_of<Body::brc, Body::bdz, Body::zen, Body::avx512>>()) {
    case Body::avx512:
      return ::qor::avx512::gemm_wide::gemm<T>(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    case Body::brc:
      return brc(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    case Body::bdz:
    case Body::zen:
      bdz(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
      return;
    default:
      baseline(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
}

// ---- The work area --------------------------------------------------------------
// `alloc` asks for the work area of a packed body. A null answer is the only
// failure a body knows: the warning naming `routine` is all the caller sees,
// and the product goes through `unpacked`, which needs no memory, to the
// same result. Otherwise `packed` runs on the area and `release` gives it
// back.
template <class Alloc, class Packed, class Unpacked>
inline void with_work_area(const char* routine, Alloc alloc, void (*release)(void*), Packed packed,
                           Unpacked unpacked) {
  void* raw = alloc();
  if (qor_serv_check_ptr_and_warn(raw, routine) != 0) {
    unpacked();
    return;
  }
  packed(raw);
  release(raw);
}

// The work area of the Barcelona bodies, in four cases by whether there is
// an A block (row block not zero) and a B block (column block not zero),
// each with room for the kernel's expanded area of 64 bytes per depth step.
// An A element takes ABytes (8 for d, 4 for s); a B element always has 8
// bytes, which the s member reserves without filling. The A panel starts on
// a page boundary; the expanded area 256 bytes past the end of the A panel
// (or past the raw pointer) on a 128-byte boundary; the B panel on the page
// boundary at or above 768 bytes past the end of the expanded area. The four
// slots are cleared first and stay null on failure.
template <i64 ABytes, class P>
inline void getbufs_brc(i64 mb, i64 nb, i64 kb, void** raw, P** apanel, P** bpanel, P** extra) {
  *raw = nullptr;
  *apanel = *bpanel = *extra = nullptr;
  const bool has_a = mb != 0, has_b = nb != 0;
  i64 bytes = 64 * kb;
  if (has_a && has_b) {
    bytes += ABytes * kb * mb + 8 * kb * nb + 21760;
  } else if (has_a) {
    bytes += ABytes * kb * mb + 13056;
  } else if (has_b) {
    bytes += 8 * kb * nb + 13568;
  } else {
    bytes += 4864;
  }
  void* p = qor_serv_allocate(bytes, 128);
  if (p == nullptr) return;
  *raw = p;
  const char* after_a = static_cast<const char*>(p);
  if (has_a) {
    *apanel = align_up<P>(p, 4096);
    after_a = reinterpret_cast<const char*>(*apanel) + ABytes * mb * kb;
  }
  *extra = align_up<P>(after_a + 256, 128);
  if (has_b) *bpanel = align_up<P>(reinterpret_cast<const char*>(*extra) + 64 * kb + 768, 4096);
}

// ---- Bodies that apply beta first ----------------------------------------------
template <class T>
using ScaleC = void (*)(const i64*, const i64*, const T*, T*, const i64*);

template <class T>
void pst(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
         i64 ldc);

// The frame of the d bodies: C = beta C by `scale` unless beta is exactly 1
// (a NaN beta counts as not 1), nothing more when alpha is 0, and then the
// product with a beta of 1: unpacked when the shape is `small` or the work
// area is refused (the warning names `routine`), otherwise by `packed` on
// the area.
template <class T, class Alloc, class Packed>
void beta_first_body(ScaleC<T> scale, bool small, const char* routine, Alloc alloc, void (*release)(void*),
                     Packed packed, const char* ta, const char* tb, i64 m, i64 n, i64 k, const T* alpha, const T* a,
                     i64 lda, const T* b, i64 ldb, const T* beta, T* c, i64 ldc) {
  if (!(*beta == T(1))) scale(&m, &n, beta, c, &ldc);
  if (*alpha == T(0)) return;
  auto unpacked = [&] { pst<T>(*ta, *tb, m, n, k, *alpha, a, lda, b, ldb, T(1), c, ldc); };
  if (small) return unpacked();
  with_work_area(routine, alloc, release, packed, unpacked);
}

// ---- Depth rules -----------------------------------------------------------
// A short k is taken in one block; k just above the limit is cut into two
// near-equal blocks rather than a full block and a sliver.

// D1: 192-element blocks.
inline i64 depth_rule_d1(i64 k) {
  if (k < 192) return max(k, 128);
  return (k == 192 || k >= 384) ? 192 : k / 2;
}

// D2 with limit 256, D3 with limit 192: even blocks.
inline i64 depth_rule_even(i64 k, i64 limit) {
  if (k < limit) return (k & 1) ? max(k + 1, 128) : max(k, 128);
  if (k == limit || k >= 2 * limit) return limit;
  return ((k / 2) & ~i64{1}) + ((k & 2) ? 2 : 0);
}

// D4: blocks that are multiples of 4.
inline i64 depth_rule_d4(i64 k, i64 limit) {
  if (k < limit) return max(round_up(k, 4), 128);
  if (k == limit || k >= 2 * limit) return limit;
  return ((k / 2) & ~i64{3}) + ((k & 6) ? 4 : 0);
}

// ---- C = beta * C ------------------------------------------------------------
// Columns go `Group` at a time and each column in runs of 8, 4, 2 and 1
// elements. A beta of 0 stores zeros and never reads C, so NaN in C goes.
template <class T>
inline void scale_column(i64 m, T beta, T* c) {
  i64 i = 0;
  if (beta == T(0)) {
    for (; i + 8 <= m; i += 8)
      for (int u = 0; u < 8; ++u) c[i + u] = T(0);
    for (int run = 4; run >= 1; run /= 2)
      if (m - i >= run) {
        for (int u = 0; u < run; ++u) c[i + u] = T(0);
        i += run;
      }
  } else {
    for (; i + 8 <= m; i += 8)
      for (int u = 0; u < 8; ++u) c[i + u] *= beta;
    for (int run = 4; run >= 1; run /= 2)
      if (m - i >= run) {
        for (int u = 0; u < run; ++u) c[i + u] *= beta;
        i += run;
      }
  }
}

template <class T, int Group>
void scale_c(i64 m, i64 n, T beta, T* c, i64 ldc) {
  if (m <= 0 || n <= 0) return;
  i64 j = 0;
  for (; j + Group <= n; j += Group)
    for (int g = 0; g < Group; ++g) scale_column<T>(m, beta, c + (j + g) * ldc);
  for (; j < n; ++j) scale_column<T>(m, beta, c + j * ldc);
}

// ---- The unpacked kernel ----------------------------------------------------
// C += alpha * op(A) * op(B) with A and B read in place. One body per pair of
// letters; rows go in pairs and the depth in fours with a remainder, the last
// odd row has its own loop. For each element the products are summed over
// the depth and the sum, times alpha, is added to C. The pair of rows is a
// two-lane vector: with A not transposed its two elements are adjacent; with
// A transposed the lanes run along the depth instead (even and odd steps,
// added at the end).
template <class T>
struct pair_of;
template <>
struct pair_of<double> {
  typedef double type __attribute__((vector_size(16)));
};
template <>
struct pair_of<float> {
  typedef float type __attribute__((vector_size(8)));
};
template <class T>
using pair_t = typename pair_of<T>::type;
template <class T>
struct quad_of;
template <>
struct quad_of<double> {
  typedef double type __attribute__((vector_size(32)));
};
template <>
struct quad_of<float> {
  typedef float type __attribute__((vector_size(16)));
};
template <class T>
using quad_t = typename quad_of<T>::type;

template <class V, class T>
inline void load_lanes(V& v, const T* p) {
  std::memcpy(&v, p, sizeof v);
}
template <class T>
inline pair_t<T> load_pair(const T* p) {
  pair_t<T> v;
  load_lanes(v, p);
  return v;
}

template <class T, bool TA, bool TB>
void pst_body(i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T* c, i64 ldc) {
  using V = pair_t<T>;
  auto A = [a, lda](i64 i, i64 l) { return TA ? a[l + i * lda] : a[i + l * lda]; };
  auto B = [b, ldb](i64 l, i64 j) { return TB ? b[j + l * ldb] : b[l + j * ldb]; };
  const i64 m2 = m & ~i64{1}, k4 = k & ~i64{3}, k2 = k & ~i64{1};
  i64 j = 0;
  for (; j + 4 <= n; j += 4) {
    i64 i = 0;
    if constexpr (!TA) {
      // Two pairs at once where they are adjacent: one four-lane vector.
      using Q = quad_t<T>;
      for (; i + 4 <= m2; i += 4) {
        Q s[4] = {};
        for (i64 l = 0; l < k; ++l) {
          Q av;
          load_lanes(av, a + i + l * lda);
#pragma GCC unroll 4
          for (int q = 0; q < 4; ++q) s[q] += av * B(l, j + q);
        }
#pragma GCC unroll 4
        for (int q = 0; q < 4; ++q)
          for (int r = 0; r < 4; ++r) c[i + r + (j + q) * ldc] += alpha * s[q][r];
      }
    }
    for (; i < m2; i += 2) {
      T r0[4], r1[4];
      if constexpr (!TA) {
        V s[4] = {};
        i64 l = 0;
        for (; l < k4; l += 4)
          #pragma GCC unroll 4
          for (int u = 0; u < 4; ++u) {
            const V av = load_pair(a + i + (l + u) * lda);
            #pragma GCC unroll 4
            for (int q = 0; q < 4; ++q) s[q] += av * B(l + u, j + q);
          }
        for (; l < k; ++l) {
          const V av = load_pair(a + i + l * lda);
          #pragma GCC unroll 4
          for (int q = 0; q < 4; ++q) s[q] += av * B(l, j + q);
        }
        #pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) {
          r0[q] = s[q][0];
          r1[q] = s[q][1];
        }
      } else {
        V s0[4] = {}, s1[4] = {};
        i64 l = 0;
        for (; l < k2; l += 2) {
          const V a0 = load_pair(a + l + i * lda), a1 = load_pair(a + l + (i + 1) * lda);
          #pragma GCC unroll 4
          for (int q = 0; q < 4; ++q) {
            V bv;
            if constexpr (TB) {
              bv = V{B(l, j + q), B(l + 1, j + q)};
            } else {
              bv = load_pair(b + l + (j + q) * ldb);
            }
            s0[q] += a0 * bv;
            s1[q] += a1 * bv;
          }
        }
        #pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) {
          r0[q] = s0[q][0] + s0[q][1];
          r1[q] = s1[q][0] + s1[q][1];
        }
        for (; l < k; ++l)
          #pragma GCC unroll 4
          for (int q = 0; q < 4; ++q) {
            r0[q] += A(i, l) * B(l, j + q);
            r1[q] += A(i + 1, l) * B(l, j + q);
          }
      }
      #pragma GCC unroll 4
      for (int q = 0; q < 4; ++q) {
        c[i + (j + q) * ldc] += alpha * r0[q];
        c[i + 1 + (j + q) * ldc] += alpha * r1[q];
      }
    }
    if (m & 1) {
      const i64 i = m - 1;
      T s[4] = {};
      for (i64 l = 0; l < k; ++l) {
        T av = A(i, l);
        #pragma GCC unroll 4
        for (int q = 0; q < 4; ++q) s[q] += av * B(l, j + q);
      }
      #pragma GCC unroll 4
      for (int q = 0; q < 4; ++q) c[i + (j + q) * ldc] += alpha * s[q];
    }
  }
  for (; j < n; ++j) {
    for (i64 i = 0; i < m2; i += 2) {
      T s0 = T(0), s1 = T(0);
      i64 l = 0;
      for (; l < k4; l += 4)
        #pragma GCC unroll 4
        for (int u = 0; u < 4; ++u) {
          T bv = B(l + u, j);
          s0 += A(i, l + u) * bv;
          s1 += A(i + 1, l + u) * bv;
        }
      for (; l < k; ++l) {
        T bv = B(l, j);
        s0 += A(i, l) * bv;
        s1 += A(i + 1, l) * bv;
      }
      c[i + j * ldc] += alpha * s0;
      c[i + 1 + j * ldc] += alpha * s1;
    }
    if (m & 1) {
      const i64 i = m - 1;
      T s = T(0);
      for (i64 l = 0; l < k; ++l) s += A(i, l) * B(l, j);
      c[i + j * ldc] += alpha * s;
    }
  }
}

// The whole unpacked product with beta: a beta of 0 clears C first (by a
// loop for short columns, by memset from 13 elements), any other beta but 1
// multiplies. A real-typed kernel takes any letter but N as transposed.
template <class T>
void pst(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
         i64 ldc) {
  if (m <= 0 || n <= 0) return;
  if (beta == T(0)) {
    for (i64 j = 0; j < n; ++j) {
      T* cj = c + j * ldc;
      if (m < 13) {
        for (i64 i = 0; i < m; ++i) cj[i] = T(0);
      } else {
        std::memset(static_cast<void*>(cj), 0, static_cast<std::size_t>(m) * sizeof(T));
      }
    }
  } else if (!(beta == T(1))) {
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i) c[i + j * ldc] *= beta;
  }
  if (k <= 0 || alpha == T(0)) return;
  const bool na = (ta & 0xDF) == 'N', nb = (tb & 0xDF) == 'N';
  if (na && nb) {
    pst_body<T, false, false>(m, n, k, alpha, a, lda, b, ldb, c, ldc);
  } else if (na) {
    pst_body<T, false, true>(m, n, k, alpha, a, lda, b, ldb, c, ldc);
  } else if (nb) {
    pst_body<T, true, false>(m, n, k, alpha, a, lda, b, ldb, c, ldc);
  } else {
    pst_body<T, true, true>(m, n, k, alpha, a, lda, b, ldb, c, ldc);
  }
}

// ---- Packing -----------------------------------------------------------------
// Element (i, l) of op(A), and (l, j) of op(B).
template <class T, bool Trans>
inline const T* op_a(const T* a, i64 lda, i64 i, i64 l) {
  return Trans ? a + l + i * lda : a + i + l * lda;
}
template <class T, bool Trans>
inline const T* op_b(const T* b, i64 ldb, i64 l, i64 j) {
  return Trans ? b + j + l * ldb : b + l + j * ldb;
}

// One strip of W rows of op(A), rows i0 .. i0 + w - 1 (w <= W), times alpha,
// depth `depth` padded with zeros to `kp`. Rows w .. W-1 are zeros.
template <class T, int W, bool Trans>
inline void pack_a_strip(i64 w, i64 depth, i64 kp, const T* a, i64 lda, T alpha, T* dst) {
  if (w == W) {
    if (!Trans) {
      for (i64 l = 0; l < depth; ++l) {
        const T* src = a + l * lda;
        for (int r = 0; r < W; ++r) dst[l * W + r] = alpha * src[r];
      }
    } else {
      // Four depth steps at a time, so that each source row is read in runs.
      i64 l = 0;
      for (; l + 4 <= depth; l += 4)
        for (int r = 0; r < W; ++r) {
          const T* src = a + l + r * lda;
          for (int u = 0; u < 4; ++u) dst[(l + u) * W + r] = alpha * src[u];
        }
      for (; l < depth; ++l)
        for (int r = 0; r < W; ++r) dst[l * W + r] = alpha * a[l + r * lda];
    }
  } else {
    for (i64 l = 0; l < depth; ++l)
      for (int r = 0; r < W; ++r) dst[l * W + r] = r < w ? alpha * *op_a<T, Trans>(a, lda, r, l) : T(0);
  }
  for (i64 l = depth; l < kp; ++l)
    for (int r = 0; r < W; ++r) dst[l * W + r] = T(0);
}

// A block of `rows` rows of op(A) in strips of W. The last strip, when
// partial, is padded with zero rows to W (PadRows) or packed at its own width.
template <class T, int W, bool Trans, bool PadRows>
void pack_a(i64 rows, i64 depth, i64 kp, const T* a, i64 lda, T alpha, T* dst) {
  for (i64 i = 0; i < rows; i += W) {
    const T* src = op_a<T, Trans>(a, lda, i, 0);
    i64 w = min(W, rows - i);
    if (w == W || PadRows) {
      pack_a_strip<T, W, Trans>(w, depth, kp, src, lda, alpha, dst);
      dst += W * kp;
    } else {
      switch (w) {
        case 1: pack_a_strip<T, 1, Trans>(1, depth, kp, src, lda, alpha, dst); break;
        case 2: pack_a_strip<T, 2, Trans>(2, depth, kp, src, lda, alpha, dst); break;
        case 3: pack_a_strip<T, 3, Trans>(3, depth, kp, src, lda, alpha, dst); break;
        default:
          for (i64 l = 0; l < kp; ++l)
            for (i64 r = 0; r < w; ++r) dst[l * w + r] = l < depth ? alpha * *op_a<T, Trans>(src, lda, r, l) : T(0);
      }
      dst += w * kp;
    }
  }
}

// One strip of w columns of op(B): depth `depth` padded with zeros to `kp`.
template <class T, int W, bool Trans>
inline void pack_b_strip(i64 depth, i64 kp, const T* b, i64 ldb, T* dst) {
  if (!Trans) {
    i64 l = 0;
    for (; l + 4 <= depth; l += 4)
      for (int q = 0; q < W; ++q) {
        const T* src = b + l + q * ldb;
        for (int u = 0; u < 4; ++u) dst[(l + u) * W + q] = src[u];
      }
    for (; l < depth; ++l)
      for (int q = 0; q < W; ++q) dst[l * W + q] = b[l + q * ldb];
  } else {
    for (i64 l = 0; l < depth; ++l) {
      const T* src = b + l * ldb;
      for (int q = 0; q < W; ++q) dst[l * W + q] = src[q];
    }
  }
  for (i64 l = depth; l < kp; ++l)
    for (int q = 0; q < W; ++q) dst[l * W + q] = T(0);
}

// A strip of any width up to 12.
template <class T, bool Trans>
inline void pack_b_strip_any(i64 w, i64 depth, i64 kp, const T* b, i64 ldb, T* dst) {
  switch (w) {
    case 12: pack_b_strip<T, 12, Trans>(depth, kp, b, ldb, dst); break;
    case 8: pack_b_strip<T, 8, Trans>(depth, kp, b, ldb, dst); break;
    case 4: pack_b_strip<T, 4, Trans>(depth, kp, b, ldb, dst); break;
    case 3: pack_b_strip<T, 3, Trans>(depth, kp, b, ldb, dst); break;
    case 2: pack_b_strip<T, 2, Trans>(depth, kp, b, ldb, dst); break;
    case 1: pack_b_strip<T, 1, Trans>(depth, kp, b, ldb, dst); break;
    default:
      for (i64 l = 0; l < kp; ++l)
        for (i64 q = 0; q < w; ++q) dst[l * w + q] = l < depth ? *op_b<T, Trans>(b, ldb, l, q) : T(0);
  }
}

}  // namespace gemm
QOR_ISA_END
