// Packing for the 128-bit kernels (baseline and Barcelona bodies).
//
// A block (rows x depth) of op(A), times alpha, goes into strips of
// sse_tile<T>::rows rows; B block (depth x cols) of op(B) into strips of 4
// columns. Depth is padded with zeros to a multiple of 4, and a last strip
// that is not full (Barcelona blocks only) is padded with zero rows or
// columns, so every kernel tile reads a whole strip. Conjugation, when the
// letter asks for it, happens here, so the kernels have one form.
#pragma once
#include "blas/gemm/sse.h"
#include "blas/gemm/traits.h"

QOR_ISA_BEGIN
namespace gemm_scz {

template <class T, Op OP>
void pack_a_sse_op(i64 m, i64 d, const T* a, i64 lda, T* panel, T alpha) {
  using R = real_t<T>;
  constexpr i64 S = sse_tile<T>::rows;
  const i64 kp = round_up(d, 4);
  R* p = reinterpret_cast<R*>(panel);
  for (i64 i0 = 0; i0 < m; i0 += S) {
    R* strip = p + i0 * kp * reals<T>;
    const i64 h = m - i0 < S ? m - i0 : S;
    for (i64 l = 0; l < kp; ++l) {
      R* dst = strip + l * S * reals<T>;
      for (i64 r = 0; r < S; ++r) {
        T v(0);
        if (l < d && r < h) v = mul(alpha, OP == Op::N ? a[(i0 + r) + l * lda] : conj_if(a[l + (i0 + r) * lda], OP == Op::C));
        if constexpr (is_complex_v<T>) {
          dst[r] = v.real();
          dst[S + r] = v.imag();
        } else {
          dst[r] = v;
        }
      }
    }
  }
}

template <class T, Op OP>
void pack_b_sse_op(i64 d, i64 n, const T* b, i64 ldb, T* panel) {
  const i64 kp = round_up(d, 4);
  for (i64 j0 = 0; j0 < n; j0 += 4) {
    T* strip = panel + j0 * kp;
    const i64 w = n - j0 < 4 ? n - j0 : 4;
    for (i64 l = 0; l < kp; ++l)
      for (i64 q = 0; q < 4; ++q) {
        T v(0);
        if (l < d && q < w) v = OP == Op::N ? b[l + (j0 + q) * ldb] : conj_if(b[(j0 + q) + l * ldb], OP == Op::C);
        strip[l * 4 + q] = v;
      }
  }
}

template <class T> void pack_a_sse(Op op, i64 m, i64 d, const T* a, i64 lda, T* panel, T alpha) {
  if (m <= 0 || d <= 0) return;
  if (op == Op::N) pack_a_sse_op<T, Op::N>(m, d, a, lda, panel, alpha);
  else if (op == Op::T) pack_a_sse_op<T, Op::T>(m, d, a, lda, panel, alpha);
  else pack_a_sse_op<T, Op::C>(m, d, a, lda, panel, alpha);
}

template <class T> void pack_b_sse(Op op, i64 d, i64 n, const T* b, i64 ldb, T* panel) {
  if (n <= 0 || d <= 0) return;
  if (op == Op::N) pack_b_sse_op<T, Op::N>(d, n, b, ldb, panel);
  else if (op == Op::T) pack_b_sse_op<T, Op::T>(d, n, b, ldb, panel);
  else pack_b_sse_op<T, Op::C>(d, n, b, ldb, panel);
}

// Where a block of op(A) or op(B) starts in its source.
template <class T> inline const T* a_at(const T* a, i64 lda, Op op, i64 i, i64 l) {
  return op == Op::N ? a + i + l * lda : a + l + i * lda;
}
template <class T> inline const T* b_at(const T* b, i64 ldb, Op op, i64 l, i64 j) {
  return op == Op::N ? b + l + j * ldb : b + j + l * ldb;
}

}  // namespace gemm_scz
QOR_ISA_END
