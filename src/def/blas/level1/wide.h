// The 512-bit bodies of the hot vector kernels (wide.cpp, built for the
// 512-bit class) and the entries' test for them.
//
// They serve the unit-stride walks only (both strides +1, or both -1, which
// pair the same elements); other strides keep the baseline body, whose
// element-by-element walks are bound by the gathers, not the width. Each
// body takes any base address: tails are masked loads and stores, and a
// long vector first takes a masked register up to the 64-byte boundary of
// the stream it stores (or of y for the dots), so that whole registers do
// not split cache lines.
//
// Results: axpy and scal are bit for bit those of the baseline (one product
// and one sum per element, no fused forms). The dots and norms sum in
// another order (eight-lane accumulators, fused products), within the same
// rounding bounds; like the baseline's, that order depends on the
// alignment, not on the run. iamax returns what the baseline returns, NaN
// rule and floating-point flags included.
#pragma once
#include <cstdint>

#include "frame/body.h"
#include "frame/isa.h"

namespace qor::avx512::l1w {

using i64 = std::int64_t;

// n elements of x and y from the bases upward.
template <class R> R dot(i64 n, const R* x, const R* y);
// Complex dot of n elements; res gets (re, im).
template <class R, bool Conj> void cdot(R* res, i64 n, const R* x, const R* y);
// y += alpha * x over n reals.
template <class R> void axpy(i64 n, R alpha, const R* x, R* y);
// y += alpha * x over n complex elements, alpha = (alpha[0], alpha[1]).
template <class R> void caxpy(i64 n, const R* alpha, const R* x, R* y);
// x *= alpha over n reals.
template <class R> void scal(i64 n, R alpha, R* x);
// 1-based index of the first largest magnitude of n >= 2 reals, with the
// index routines' NaN rule and flag protocol.
template <class R> i64 iamax(i64 n, const R* x);
// Euclidean norm of n >= 1 reals (a complex vector as its 2n parts).
double dnrm2(i64 n, const double* x);
float snrm2(i64 n, const float* x);

}  // namespace qor::avx512::l1w

QOR_ISA_BEGIN
namespace l1 {

// The families with a 512-bit body take it where the frame's rule says so.
inline bool wide_body() { return choose_body<bodies_of<Body::avx512>>() == Body::avx512; }

}  // namespace l1
QOR_ISA_END
