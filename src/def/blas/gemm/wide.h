// The 512-bit GEMM body (wide.cpp, built for the 512-bit class): one
// template over the element type, instantiated for s, d, c and z, with the
// arguments of the reference routine (every scalar by pointer, 64-bit
// integers, column-major matrices). The entry (common.h) hands it the call
// when the body rule picks the 512-bit class.
//
// Results are entry-wise reproducible: C(i,j) is formed by one sequence of
// operations that depends only on alpha, beta, the old C(i,j), row i of
// op(A), column j of op(B) and k, never on m, n, the position of the entry,
// the leading dimensions, the alignment or the split into threads:
//
//   s = beta * C(i,j)     (beta 1: C(i,j) as it is; beta 0: zero, C unread)
//   for l = 0 .. k-1:     s = fma(alpha * op(A)(i,l), op(B)(l,j), s)
//
// where a complex fma is two real fused steps per part, first with the real
// part of op(B)(l,j), then with its imaginary part. alpha * op(A)(i,l) is
// rounded once (skipped when alpha is 1). The blocking of the depth only
// decides when the running sums go through C, which holds them exactly, so
// the cache sizes do not change a bit either.
#pragma once
#include <cstdint>

namespace qor::avx512::gemm_wide {

using i64 = std::int64_t;

template <class T>
void gemm(const char* transa, const char* transb, const i64* m, const i64* n, const i64* k, const T* alpha,
          const T* a, const i64* lda, const T* b, const i64* ldb, const T* beta, T* c, const i64* ldc);

}  // namespace qor::avx512::gemm_wide
