// Sparse-vector kernels: a packed array x with 1-based indices indx into a
// full vector y. Each kernel goes through the packed array in order; the
// gathers rule out alignment work.
#include "blas/level1/api.h"
#include "blas/level1/common.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// Elements of type T as arrays of their real parts (W per element).
template <class T> constexpr i64 W = is_complex_v<T> ? 2 : 1;

template <class T>
inline void copy_elem(cep<real_t<T>> from, ep<real_t<T>> to) {
  to[0] = from[0];
  if constexpr (W<T> == 2) to[1] = from[1];
}

template <class T>
void gthr(i64 n, cep<real_t<T>> y, ep<real_t<T>> x, const i64* indx) {
  for (i64 i = 0; i < n; ++i) copy_elem<T>(y + W<T> * (indx[i] - 1), x + W<T> * i);
}

// Element by element, so a repeated index reads the zero stored by its
// first visit.
template <class T>
void gthrz(i64 n, ep<real_t<T>> y, ep<real_t<T>> x, const i64* indx) {
  for (i64 i = 0; i < n; ++i) {
    ep<real_t<T>> src = y + W<T> * (indx[i] - 1);
    copy_elem<T>(src, x + W<T> * i);
    src[0] = 0;
    if constexpr (W<T> == 2) src[1] = 0;
  }
}

template <class T>
void sctr(i64 n, cep<real_t<T>> x, const i64* indx, ep<real_t<T>> y) {
  for (i64 i = 0; i < n; ++i) copy_elem<T>(x + W<T> * i, y + W<T> * (indx[i] - 1));
}

// y[k] += alpha * x[i]; a zero alpha returns.
template <class T>
void axpyi(i64 n, const real_t<T>* a, cep<real_t<T>> x, const i64* indx, ep<real_t<T>> y) {
  using R = real_t<T>;
  if (n < 1) return;
  if constexpr (W<T> == 1) {
    const R alpha = a[0];
    if (alpha == R(0)) return;
    for (i64 i = 0; i < n; ++i) y[indx[i] - 1] += alpha * x[i];
  } else {
    const R ar = a[0], ai = a[1];
    if (ar == R(0) && ai == R(0)) return;
    for (i64 i = 0; i < n; ++i) {
      ep<R> yk = y + 2 * (indx[i] - 1);
      const R xr = x[2 * i], xi = x[2 * i + 1];
      yk[0] += ar * xr - ai * xi;
      yk[1] += ar * xi + ai * xr;
    }
  }
}

// Real sparse dot: each block of 8 products is summed as a tree over two
// lanes, ((p0 + p2) + (p4 + p6)) + ((p1 + p3) + (p5 + p7)), and added to the
// running sum; the last n mod 8 products are added last index first.
template <class R>
R doti(i64 n, cep<R> x, const i64* indx, cep<R> y) {
  if (n < 1) return R(0);
  auto p = [&](i64 i) { return x[i] * y[indx[i] - 1]; };
  R sum = 0;
  i64 i = 0;
  for (; i + 8 <= n; i += 8) {
    R even = (p(i) + p(i + 2)) + (p(i + 4) + p(i + 6));
    R odd = (p(i + 1) + p(i + 3)) + (p(i + 5) + p(i + 7));
    sum += even + odd;
  }
  for (i64 j = n - 1; j >= i; --j) sum += p(j);
  return sum;
}

// Complex sparse dot, conjugating x or not; zero is stored first.
template <class R, bool Conj>
void cdoti(ep<R> res, i64 n, cep<R> x, const i64* indx, cep<R> y) {
  res[0] = 0;
  res[1] = 0;
  if (n < 1) return;
  R sr = 0, si = 0;
  for (i64 i = 0; i < n; ++i) {
    const R xr = x[2 * i], xi = Conj ? -x[2 * i + 1] : x[2 * i + 1];
    cep<R> yk = y + 2 * (indx[i] - 1);
    sr += xr * yk[0] - xi * yk[1];
    si += xr * yk[1] + xi * yk[0];
  }
  res[0] = sr;
  res[1] = si;
}

// x'[i] = c * x[i] + s * y[k], y'[k] = c * y[k] - s * x[i]; c = 1 with s = 0
// returns.
template <class R>
void roti(i64 n, ep<R> x, const i64* indx, ep<R> y, R c, R s) {
  if (n < 1 || (c == R(1) && s == R(0))) return;
  for (i64 i = 0; i < n; ++i) {
    ep<R> yk = y + (indx[i] - 1);
    const R xv = x[i], yv = *yk;
    x[i] = c * xv + s * yv;
    *yk = c * yv - s * xv;
  }
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::i64;

#define QOR_L1_SPARSE(l, T)                                                                                     \
  QOR_DEF_API void qor_blas_def_##l##gthr(const i64* nz, const T* y, T* x, const i64* indx) {                   \
    gthr<T>(*nz, re_ptr(y), re_ptr(x), indx);                                                                    \
  }                                                                                                             \
  QOR_DEF_API void qor_blas_def_##l##gthrz(const i64* nz, T* y, T* x, const i64* indx) {                        \
    gthrz<T>(*nz, re_ptr(y), re_ptr(x), indx);                                                                   \
  }                                                                                                             \
  QOR_DEF_API void qor_blas_def_##l##sctr(const i64* nz, const T* x, const i64* indx, T* y) {                   \
    sctr<T>(*nz, re_ptr(x), indx, re_ptr(y));                                                                    \
  }                                                                                                             \
  QOR_DEF_API void qor_blas_def_##l##axpyi(const i64* nz, const T* alpha, const T* x, const i64* indx, T* y) {  \
    axpyi<T>(*nz, reinterpret_cast<const qor::real_t<T>*>(alpha), re_ptr(x), indx, re_ptr(y));                  \
  }
QOR_FOR_EACH_TYPE(QOR_L1_SPARSE)

QOR_DEF_API float qor_blas_def_sdoti(const i64* nz, const float* x, const i64* indx, const float* y) {
  return doti<float>(*nz, re_ptr(x), indx, re_ptr(y));
}
QOR_DEF_API double qor_blas_def_ddoti(const i64* nz, const double* x, const i64* indx, const double* y) {
  return doti<double>(*nz, re_ptr(x), indx, re_ptr(y));
}
#define QOR_L1_CDOTI(name, T, conj)                                                                           \
  QOR_DEF_API void qor_blas_def_##name(T* res, const i64* nz, const T* x, const i64* indx, const T* y) {      \
    cdoti<qor::real_t<T>, conj>(re_ptr(res), *nz, re_ptr(x), indx, re_ptr(y));                               \
  }
QOR_L1_CDOTI(cdotci, qor::c32, true)
QOR_L1_CDOTI(cdotui, qor::c32, false)
QOR_L1_CDOTI(zdotci, qor::c64, true)
QOR_L1_CDOTI(zdotui, qor::c64, false)

QOR_DEF_API void qor_blas_def_sroti(const i64* nz, float* x, const i64* indx, float* y, const float* c,
                                    const float* s) {
  roti<float>(*nz, re_ptr(x), indx, re_ptr(y), *c, *s);
}
QOR_DEF_API void qor_blas_def_droti(const i64* nz, double* x, const i64* indx, double* y, const double* c,
                                    const double* s) {
  roti<double>(*nz, re_ptr(x), indx, re_ptr(y), *c, *s);
}
