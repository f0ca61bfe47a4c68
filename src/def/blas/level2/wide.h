// The 512-bit bodies of the Level 2 kernels, built for the 512-bit class:
// the general matrix-vector product (wide.cpp), the symmetric and Hermitian
// products (wide_sym.cpp) and the rank-one update (wide_ger.cpp); and the
// kernels' tests for them.
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

// How a stored triangle lies, as the offset of column c's row 0 from the
// base (row i of the column is i further; only the stored rows are read):
// full storage c * ld; a lower packed triangle of order ld
// c * ld - c (c + 1) / 2; an upper packed one c * ld + c (c + 1) / 2 (ld 0
// for a whole triangle, d for the trailing one from element (d, d)).
enum class Stored : int { full, packed_lower, packed_upper };

// y += alpha * A * x over the columns k..n-1 of the stored triangle (lower
// or upper) of an n x n symmetric matrix, Hermitian for complex elements;
// x and y contiguous. Each group of columns is read once: its rows off the
// diagonal both add the columns times alpha x to y and gather the rows
// times x for the group's own elements of y. Sums have the same products as
// the other bodies', in another order.
template <class T, bool Lower>
void symv(i64 n, i64 k, T alpha, Stored s, const T* a, i64 ld, const T* x, T* y);

// A += alpha x op(y)^T, x contiguous (m elements), y at stride incy; Conj
// conjugates y. A column whose y element is zero is left alone, as the
// reference does. Each element of A is x[i] * t_j added once.
template <class T, bool Conj>
void ger(i64 m, i64 n, T alpha, const T* x, const T* y, i64 incy, T* a, i64 lda);

}  // namespace qor::avx512::l2w

QOR_ISA_BEGIN
namespace l2 {

// The general and symmetric products and the rank-one update have
// Zen-class and 512-bit bodies; the frame's rule says which serves the call.
inline bool wide_body() { return choose_body<bodies_of<Body::zen, Body::avx512>>() == Body::avx512; }

}  // namespace l2
QOR_ISA_END
