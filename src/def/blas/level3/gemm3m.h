// Complex products through real GEMM: the 3M product (cgemm3m, zgemm3m)
// and the products of a real and a complex matrix (scgemm, dzgemm, and
// their twins with the real matrix on the right).
//
// 3M: with op(A) = Ar + i Ai and op(B) = Br + i Bi,
//   T1 = Ar Br, T2 = Ai Bi, T3 = (Ar + Ai)(Br + Bi),
//   op(A) op(B) = (T1 - T2) + i (T3 - T1 - T2),
// three real products instead of four, at some cost in accuracy when the
// parts differ much in size. Real A with complex B: op(A) Br and op(A) Bi.
// Complex A with real B: Ar op(B) and Ai op(B).
//
// Both work block by block of C: the parts of the blocks of op(A) and op(B)
// are separated into real panels, the real products accumulate over the
// depth in real squares, and C takes alpha times the result plus beta C.
// Without memory for the panels the plain complex product is used (3M) or
// the plain loops (one real operand).
#pragma once
#include <cstdint>

#include "blas/level3/elem.h"
#include "blas/level3/gemm_ops.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace l3 {

inline constexpr i64 kSplitBlock = 256;

// op(X)(i, j) of a complex X for the letter ('N', 'T', 'C').
template <class T>
inline T op_at(char op, const T* x, i64 ldx, i64 i, i64 j) {
  if (op == 'N') return x[i + j * ldx];
  return conj_if(x[j + i * ldx], op == 'C');
}

// The rows x cols block of op(X) at (r0, c0) split into its real part,
// imaginary part and (when `sum`) their sum, each column-major with leading
// dimension ld.
template <class T>
void split_block(char op, const T* x, i64 ldx, i64 r0, i64 c0, i64 rows, i64 cols, real_t<T>* re_p,
                 real_t<T>* im_p, real_t<T>* sum_p, i64 ld) {
  for (i64 j = 0; j < cols; ++j)
    for (i64 i = 0; i < rows; ++i) {
      const T v = op_at(op, x, ldx, r0 + i, c0 + j);
      re_p[i + j * ld] = v.real();
      im_p[i + j * ld] = v.imag();
      if (sum_p != nullptr) sum_p[i + j * ld] = v.real() + v.imag();
    }
}

// C(block) = alpha (pr + i pi) + beta C(block); beta 0 does not read C.
template <class T>
void combine(i64 rows, i64 cols, T alpha, const real_t<T>* pr, const real_t<T>* pi, i64 ld, T beta, T* c,
             i64 ldc) {
  for (i64 j = 0; j < cols; ++j)
    for (i64 i = 0; i < rows; ++i) {
      const T p(pr[i + j * ld], pi[i + j * ld]);
      T& cij = c[i + j * ldc];
      cij = mul(alpha, p) + (is_zero(beta) ? T(0) : mul(beta, cij));
    }
}

template <class T>
void gemm3m(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
            i64 ldc) {
  using R = real_t<T>;
  if (m <= 0 || n <= 0) return;
  if (is_zero(alpha) || k <= 0) {
    scale(m, n, beta, c, ldc);
    return;
  }
  const i64 bs = kSplitBlock;
  const i64 mb = m < bs ? m : bs, nb = n < bs ? n : bs, kb = k < bs ? k : bs;
  const i64 count = 3 * (mb * kb + kb * nb + mb * nb);
  R* buf = static_cast<R*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(R)) * count, 128));
  if (buf == nullptr) {
    const char tta[2] = {ta, 0}, ttb[2] = {tb, 0};
    Gemm<T>::call(tta, ttb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    return;
  }
  R* ar = buf;
  R* ai = ar + mb * kb;
  R* as = ai + mb * kb;
  R* br = as + mb * kb;
  R* bi = br + kb * nb;
  R* bsum = bi + kb * nb;
  R* t1 = bsum + kb * nb;
  R* t2 = t1 + mb * nb;
  R* t3 = t2 + mb * nb;
  for (i64 j0 = 0; j0 < n; j0 += nb) {
    const i64 nw = min_i(nb, n - j0);
    for (i64 i0 = 0; i0 < m; i0 += mb) {
      const i64 mw = min_i(mb, m - i0);
      for (i64 l0 = 0; l0 < k; l0 += kb) {
        const i64 kw = min_i(kb, k - l0);
        split_block(ta, a, lda, i0, l0, mw, kw, ar, ai, as, mb);
        split_block(tb, b, ldb, l0, j0, kw, nw, br, bi, bsum, kb);
        const R acc = l0 == 0 ? R(0) : R(1);
        gemm<R>(kNoTrans, kNoTrans, mw, nw, kw, R(1), ar, mb, br, kb, acc, t1, mb);
        gemm<R>(kNoTrans, kNoTrans, mw, nw, kw, R(1), ai, mb, bi, kb, acc, t2, mb);
        gemm<R>(kNoTrans, kNoTrans, mw, nw, kw, R(1), as, mb, bsum, kb, acc, t3, mb);
      }
      // Real part T1 - T2 into t1, imaginary part T3 - T1 - T2 into t3.
      for (i64 j = 0; j < nw; ++j)
        for (i64 i = 0; i < mw; ++i) {
          const i64 p = i + j * mb;
          const R r = t1[p] - t2[p];
          t3[p] = t3[p] - t1[p] - t2[p];
          t1[p] = r;
        }
      combine(mw, nw, alpha, t1, t3, mb, beta, c + i0 + j0 * ldc, ldc);
    }
  }
  qor_serv_deallocate(buf);
}

// C = alpha op(A) op(B) + beta C with one real operand and the other, and
// C, complex: A real when RealLeft, else B real. The real operand is used
// in place (op: 'N' or transposed); the complex one is split by blocks.
template <class T, bool RealLeft>
void gemm_mixed(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const void* a, i64 lda, const void* b, i64 ldb,
                T beta, T* c, i64 ldc) {
  using R = real_t<T>;
  if (m <= 0 || n <= 0) return;
  if (is_zero(alpha) || k <= 0) {
    scale(m, n, beta, c, ldc);
    return;
  }
  const bool rt = (RealLeft ? ta : tb) != 'N';  // the real operand transposed
  const R* x = static_cast<const R*>(RealLeft ? a : b);
  const T* z = static_cast<const T*>(RealLeft ? b : a);
  const i64 ldx = RealLeft ? lda : ldb, ldz = RealLeft ? ldb : lda;
  const char zop = RealLeft ? tb : ta;
  const i64 bs = kSplitBlock;
  const i64 mb = m < bs ? m : bs, nb = n < bs ? n : bs, kb = k < bs ? k : bs;
  const i64 zsize = RealLeft ? kb * nb : mb * kb;  // one part of the complex block
  const i64 zld = RealLeft ? kb : mb;
  const i64 count = 2 * (zsize + mb * nb);
  R* buf = static_cast<R*>(qor_serv_allocate(static_cast<std::int64_t>(sizeof(R)) * count, 128));
  auto xe = [&](i64 i, i64 j) { return rt ? x[j + i * ldx] : x[i + j * ldx]; };  // op(real)(i, j)
  if (buf == nullptr) {
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i) {
        T s(0);
        for (i64 p = 0; p < k; ++p) s += RealLeft ? xe(i, p) * op_at(zop, z, ldz, p, j) : op_at(zop, z, ldz, i, p) * xe(p, j);
        T& cij = c[i + j * ldc];
        cij = mul(alpha, s) + (is_zero(beta) ? T(0) : mul(beta, cij));
      }
    return;
  }
  R* zr = buf;
  R* zi = zr + zsize;
  R* tr = zi + zsize;
  R* ti = tr + mb * nb;
  const char* xt = op_text(rt, false);
  for (i64 j0 = 0; j0 < n; j0 += nb) {
    const i64 nw = min_i(nb, n - j0);
    for (i64 i0 = 0; i0 < m; i0 += mb) {
      const i64 mw = min_i(mb, m - i0);
      for (i64 l0 = 0; l0 < k; l0 += kb) {
        const i64 kw = min_i(kb, k - l0);
        const R acc = l0 == 0 ? R(0) : R(1);
        if (RealLeft) {
          split_block<T>(zop, z, ldz, l0, j0, kw, nw, zr, zi, nullptr, zld);
          const R* xb = op_block(x, ldx, rt, i0, l0);
          gemm<R>(xt, kNoTrans, mw, nw, kw, R(1), xb, ldx, zr, zld, acc, tr, mb);
          gemm<R>(xt, kNoTrans, mw, nw, kw, R(1), xb, ldx, zi, zld, acc, ti, mb);
        } else {
          split_block<T>(zop, z, ldz, i0, l0, mw, kw, zr, zi, nullptr, zld);
          const R* xb = op_block(x, ldx, rt, l0, j0);
          gemm<R>(kNoTrans, xt, mw, nw, kw, R(1), zr, zld, xb, ldx, acc, tr, mb);
          gemm<R>(kNoTrans, xt, mw, nw, kw, R(1), zi, zld, xb, ldx, acc, ti, mb);
        }
      }
      combine(mw, nw, alpha, tr, ti, mb, beta, c + i0 + j0 * ldc, ldc);
    }
  }
  qor_serv_deallocate(buf);
}

}  // namespace l3
QOR_ISA_END
