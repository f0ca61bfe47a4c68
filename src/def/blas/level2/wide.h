// The 512-bit bodies of the general matrix-vector product (wide.cpp, built
// for the 512-bit class) and the kernels' test for them.
//
// They serve the general layout (column j at j * lda) once the kernel has
// made the vector that runs along the rows contiguous: y for the product
// without transposition, x for the transposed ones. The other vector keeps
// any stride. Row tails are masked loads and stores, so any m and any base
// address go through the same loops.
//
// Results: each element is a sum of the same products as the baseline's, in
// another order (fused products, the rows of a transposed product spread
// over the lanes of one register per column), within the same rounding
// bounds. The order depends on m, n and the group a column falls in, not on
// the run.
#pragma once
#include <cstdint>

#include "frame/body.h"
#include "frame/isa.h"

namespace qor::avx512::l2w {

using i64 = std::int64_t;

// y[0..m) += alpha * A * x, y contiguous, x at stride incx (x points to its
// first logical element).
template <class T>
void gemv_n(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, i64 incx, T* y);
// y[j * incy] += alpha * op(A)^T x for j < n, x contiguous; Conj conjugates
// the complex elements of A.
template <class T, bool Conj>
void gemv_t(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, T* y, i64 incy);

}  // namespace qor::avx512::l2w

QOR_ISA_BEGIN
namespace l2 {

// The general product has Zen-class and 512-bit bodies; the frame's rule
// says which serves the call.
inline bool wide_body() { return choose_body<bodies_of<Body::zen, Body::avx512>>() == Body::avx512; }

}  // namespace l2
QOR_ISA_END
