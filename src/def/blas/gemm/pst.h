// The unpacked kernel of the s, c, z members: C = alpha op(A) op(B) + beta C
// straight from the operands, for shapes too small to pack, for the row
// strips that the packed tiles leave over, and as the fallback when the
// work area cannot be allocated. It needs no memory.
#pragma once
#include <cstring>

#include "blas/gemm/scale.h"
#include "blas/gemm/traits.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace gemm_scz {

template <class T> inline T op_b(const T* b, i64 ldb, Op op, i64 l, i64 j) {
  return op == Op::N ? b[l + j * ldb] : conj_if(b[j + l * ldb], op == Op::C);
}

// Column j of C times beta: zeros without reading C when beta is 0 (a loop
// for short columns, memset from 13 elements on), nothing when beta is 1.
template <class T> inline void beta_column(i64 m, T beta, T* cj) {
  if (is_one(beta)) return;
  if (is_zero(beta)) {
    if (m < 13) {
      for (i64 i = 0; i < m; ++i) cj[i] = T(0);
    } else {
      std::memset(static_cast<void*>(cj), 0, static_cast<std::size_t>(m) * sizeof(T));
    }
    return;
  }
  for (i64 i = 0; i < m; ++i) cj[i] = mul(beta, cj[i]);
}

// The real member takes the unpacked kernel of the d member, instantiated
// for its type; the complex members have this one, which conjugates.
template <class T>
void pst(Op opa, Op opb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
         i64 ldc) {
  if constexpr (!is_complex_v<T>) {
    return gemm::pst<T>(opa == Op::N ? 'N' : 'T', opb == Op::N ? 'N' : 'T', m, n, k, alpha, a, lda, b, ldb, beta, c,
                        ldc);
  }
  if (m <= 0 || n <= 0) return;
  for (i64 j = 0; j < n; ++j) {
    T* cj = c + j * ldc;
    beta_column(m, beta, cj);
    if (is_zero(alpha) || k <= 0) continue;
    if (opa == Op::N) {
      // Columns of A scaled by alpha * op(B)(l, j), four depth steps at a time.
      i64 l = 0;
      for (; l + 4 <= k; l += 4) {
        const T t0 = mul(alpha, op_b(b, ldb, opb, l, j)), t1 = mul(alpha, op_b(b, ldb, opb, l + 1, j));
        const T t2 = mul(alpha, op_b(b, ldb, opb, l + 2, j)), t3 = mul(alpha, op_b(b, ldb, opb, l + 3, j));
        const T *a0 = a + l * lda, *a1 = a0 + lda, *a2 = a1 + lda, *a3 = a2 + lda;
        for (i64 i = 0; i < m; ++i) cj[i] += mul(a0[i], t0) + mul(a1[i], t1) + mul(a2[i], t2) + mul(a3[i], t3);
      }
      for (; l < k; ++l) {
        const T t = mul(alpha, op_b(b, ldb, opb, l, j));
        const T* al = a + l * lda;
        for (i64 i = 0; i < m; ++i) cj[i] += mul(al[i], t);
      }
    } else {
      // Rows of op(A) are columns of A: dot products, two rows at a time.
      const bool cj_a = opa == Op::C;
      i64 i = 0;
      for (; i + 2 <= m; i += 2) {
        const T *r0 = a + i * lda, *r1 = r0 + lda;
        T s0(0), s1(0);
        for (i64 l = 0; l < k; ++l) {
          const T bl = op_b(b, ldb, opb, l, j);
          s0 += mul(conj_if(r0[l], cj_a), bl);
          s1 += mul(conj_if(r1[l], cj_a), bl);
        }
        cj[i] += mul(alpha, s0);
        cj[i + 1] += mul(alpha, s1);
      }
      if (i < m) {
        const T* r0 = a + i * lda;
        T s0(0);
        for (i64 l = 0; l < k; ++l) s0 += mul(conj_if(r0[l], cj_a), op_b(b, ldb, opb, l, j));
        cj[i] += mul(alpha, s0);
      }
    }
  }
}

// The same with the letters still as bytes.
template <class T>
void pst(const char* ta, const char* tb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb,
         T beta, T* c, i64 ldc) {
  pst(op_of<T>(ta), op_of<T>(tb), m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The frame of every packed body of these members: with alpha 0 C is only
// scaled (beta 0 clears it without reading it, beta 1 leaves it); a shape
// under the member's threshold, or a refused work area (the warning names
// `routine`), goes through the unpacked kernel with the real beta;
// otherwise `packed` runs on the area that `alloc` gave.
template <class T, class Alloc, class Packed>
void packed_body(const char* routine, Alloc alloc, Packed packed, Op opa, Op opb, i64 m, i64 n, i64 k, T alpha,
                 const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c, i64 ldc) {
  if (is_zero(alpha)) return scale_block(m, n, beta, c, ldc);
  auto unpacked = [&] { pst(opa, opb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); };
  if (traits<T>::small(m, n, k)) return unpacked();
  gemm::with_work_area(routine, alloc, &qor_serv_deallocate, packed, unpacked);
}

}  // namespace gemm_scz
QOR_ISA_END
