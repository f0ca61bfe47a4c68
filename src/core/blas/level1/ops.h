// The vector routines as the public interfaces use them: sizes and strides
// by value in any integer width, arrays typed. Both the Fortran and the
// CBLAS names are thin wrappers over these.
#pragma once
#include <type_traits>

#include "blas/level1/route.h"

namespace qor::core::blas1::ops {

template <class T> real_t<T> asum(i64 n, const T* x, i64 incx) { return route<T>::asum(&n, x, &incx); }
template <class T> real_t<T> nrm2(i64 n, const T* x, i64 incx) { return route<T>::nrm2(&n, x, &incx); }
template <class T> void axpy(i64 n, const T* alpha, const T* x, i64 incx, T* y, i64 incy) {
  route<T>::axpy(&n, alpha, x, &incx, y, &incy);
}
template <class T> void axpby(i64 n, const T* alpha, const T* x, i64 incx, const T* beta, T* y, i64 incy) {
  route<T>::axpby(&n, alpha, x, &incx, beta, y, &incy);
}
template <class T> void copy(i64 n, const T* x, i64 incx, T* y, i64 incy) { route<T>::copy(&n, x, &incx, y, &incy); }
template <class T> void swap(i64 n, T* x, i64 incx, T* y, i64 incy) { route<T>::swap(&n, x, &incx, y, &incy); }
template <class T> void scal(i64 n, const T* alpha, T* x, i64 incx) { route<T>::scal(&n, alpha, x, &incx); }
template <class T> void rscal(i64 n, const real_t<T>* alpha, T* x, i64 incx) { route<T>::rscal(&n, alpha, x, &incx); }
template <class T> T dot(i64 n, const T* x, i64 incx, const T* y, i64 incy) {
  return route<T>::dot(&n, x, &incx, y, &incy);
}
template <class T, bool Conj> T cdot(i64 n, const T* x, i64 incx, const T* y, i64 incy) {
  T r;
  (Conj ? route<T>::dotc : route<T>::dotu)(&r, &n, x, &incx, y, &incy);
  return r;
}
template <class T> i64 iamax(i64 n, const T* x, i64 incx) { return route<T>::iamax(&n, x, &incx); }
template <class T> i64 iamin(i64 n, const T* x, i64 incx) { return route<T>::iamin(&n, x, &incx); }
template <class T> void rot(i64 n, T* x, i64 incx, T* y, i64 incy, real_t<T> c, real_t<T> s) {
  if constexpr (is_complex_v<T>)
    route<T>::rrot(&n, x, &incx, y, &incy, &c, &s);
  else
    route<T>::rot(&n, x, &incx, y, &incy, &c, &s);
}
template <class T> void crot(i64 n, T* x, i64 incx, T* y, i64 incy, real_t<T> c, const T* s) {
  route<T>::rot(&n, x, &incx, y, &incy, &c, s);
}
template <class T> void rotm(i64 n, T* x, i64 incx, T* y, i64 incy, const T* param) {
  route<T>::rotm(&n, x, &incx, y, &incy, param);
}

// Sparse vectors. Indices arrive 1-based (add = 0) or 0-based (add = 1) in
// any width; the kernels take 1-based 64-bit ones. A 0-based index i is the
// 1-based index i of the vector that starts one element later, so y is
// shifted by `add`; narrower indices are widened in pieces.
template <class X, class F>
void indices(i64 nz, const X* indx, F&& fn) {
  if constexpr (std::is_same_v<X, i64>)
    fn(i64{0}, nz, indx);
  else
    with_indices(nz, indx, 0, fn);
}
template <class T, class X> void gthr(i64 nz, const T* y, T* x, const X* indx, i64 add) {
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) { route<T>::gthr(&len, y + add, x + s, idx); });
}
template <class T, class X> void gthrz(i64 nz, T* y, T* x, const X* indx, i64 add) {
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) { route<T>::gthrz(&len, y + add, x + s, idx); });
}
template <class T, class X> void sctr(i64 nz, const T* x, const X* indx, T* y, i64 add) {
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) { route<T>::sctr(&len, x + s, idx, y + add); });
}
template <class T, class X> void axpyi(i64 nz, const T* alpha, const T* x, const X* indx, T* y, i64 add) {
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) { route<T>::axpyi(&len, alpha, x + s, idx, y + add); });
}
template <class T, class X> T doti(i64 nz, const T* x, const X* indx, const T* y, i64 add) {
  T sum{};
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) {
    T part = route<T>::doti(&len, x + s, idx, y + add);
    sum = s == 0 ? part : sum + part;
  });
  return sum;
}
template <class T, bool Conj, class X> T cdoti(i64 nz, const T* x, const X* indx, const T* y, i64 add) {
  T sum{};
  indices(nz, indx, [&](i64 s, i64 len, const i64* idx) {
    T part;
    (Conj ? route<T>::dotci : route<T>::dotui)(&part, &len, x + s, idx, y + add);
    sum = s == 0 ? part : sum + part;
  });
  return sum;
}
template <class T, class X> void roti(i64 nz, T* x, const X* indx, T* y, T c, T s, i64 add) {
  indices(nz, indx, [&](i64 f, i64 len, const i64* idx) { route<T>::roti(&len, x + f, idx, y + add, &c, &s); });
}

}  // namespace qor::core::blas1::ops
