// Function types of the vector routines, shared by the kernel entries
// (api.h), the core's dispatching names (dispatch.h) and the core's
// 32-bit-integer forms, so each signature is written once.
//
// Every argument is passed by pointer, as in the Fortran BLAS. I is the
// integer type (64-bit in the kernels and dispatching names, 32-bit in the
// qor_blas_lp64_* forms). Complex results come back through a leading
// pointer. Sparse vectors carry 1-based indices of type X.
#pragma once
#include <cstdint>

#include "frame/types.h"

namespace qor::blas1 {

template <class T, class I = i64> using asum_fn = real_t<T>(const I* n, const T* x, const I* incx);
template <class T, class I = i64> using nrm2_fn = real_t<T>(const I* n, const T* x, const I* incx);
template <class T, class I = i64>
using axpy_fn = void(const I* n, const T* alpha, const T* x, const I* incx, T* y, const I* incy);
template <class T, class I = i64>
using axpby_fn = void(const I* n, const T* alpha, const T* x, const I* incx, const T* beta, T* y, const I* incy);
template <class T, class I = i64> using copy_fn = void(const I* n, const T* x, const I* incx, T* y, const I* incy);
template <class T, class I = i64> using swap_fn = void(const I* n, T* x, const I* incx, T* y, const I* incy);
// Real dot products return the value; complex ones store it at `result`.
template <class T, class I = i64>
using dot_fn = T(const I* n, const T* x, const I* incx, const T* y, const I* incy);
template <class T, class I = i64>
using cdot_fn = void(T* result, const I* n, const T* x, const I* incx, const T* y, const I* incy);
template <class I = i64>
using sdsdot_fn = float(const I* n, const float* sb, const float* x, const I* incx, const float* y, const I* incy);
template <class I = i64>
using dsdot_fn = double(const I* n, const float* x, const I* incx, const float* y, const I* incy);
// Plane rotation; S is the type of the sine (real, or complex for crot/zrot).
template <class T, class S, class I = i64>
using rot_fn = void(const I* n, T* x, const I* incx, T* y, const I* incy, const real_t<T>* c, const S* s);
template <class R, class I = i64>
using rotm_fn = void(const I* n, R* x, const I* incx, R* y, const I* incy, const R* param);
template <class R> using rotg_fn = void(R* a, R* b, R* c, R* s);
template <class T> using crotg_fn = void(T* a, const T* b, real_t<T>* c, T* s);
template <class R> using rotmg_fn = void(R* d1, R* d2, R* x1, const R* y1, R* param);
// Scale by A, which is T or the real type (csscal, zdscal).
template <class T, class A, class I = i64> using scal_fn = void(const I* n, const A* alpha, T* x, const I* incx);
// 1-based index of the extreme magnitude; 0 for an empty vector.
template <class T, class I = i64> using iamax_fn = I(const I* n, const T* x, const I* incx);

// Pieces of the index routines.
template <class T> using amax_kernel_fn = real_t<T>(const i64* n, const T* x, const i64* incx);
template <class T> using search_kernel_fn = i64(const i64* n, const T* x, const i64* incx);
template <class T> using index_kernel_fn = i64(const i64* n, const T* x, const i64* incx, const real_t<T>* value);
template <class T> using cabs1_fn = real_t<T>(const T* z);

// Sparse vectors: x packed, y full, indx 1-based.
template <class T, class I = i64, class X = i64> using gthr_fn = void(const I* nz, const T* y, T* x, const X* indx);
template <class T, class I = i64, class X = i64> using gthrz_fn = void(const I* nz, T* y, T* x, const X* indx);
template <class T, class I = i64, class X = i64> using sctr_fn = void(const I* nz, const T* x, const X* indx, T* y);
template <class T, class I = i64, class X = i64>
using axpyi_fn = void(const I* nz, const T* alpha, const T* x, const X* indx, T* y);
template <class T, class I = i64, class X = i64> using doti_fn = T(const I* nz, const T* x, const X* indx, const T* y);
template <class T, class I = i64, class X = i64>
using cdoti_fn = void(T* result, const I* nz, const T* x, const X* indx, const T* y);
template <class R, class I = i64, class X = i64>
using roti_fn = void(const I* nz, R* x, const X* indx, R* y, const R* c, const R* s);

}  // namespace qor::blas1
