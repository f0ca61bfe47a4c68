// Dispatching names of the vector routines: each call goes to the loaded
// member's kernel. Long element-wise updates (axpy, axpby, scal, copy, swap,
// rot) are split across the OpenMP threads; every element is computed by the
// same kernel whichever thread takes it, so the result does not depend on
// the thread count. Reductions run on the calling thread, which keeps their
// summation order, and so their results, the same from run to run.
#include <omp.h>

#include "blas/level1/api.h"
#include "blas/level1/dispatch.h"
#include "frame/member.h"
#include "frame/threads.h"

using qor::c32;
using qor::c64;
using qor::i64;

namespace {

// Below this many elements per thread a split costs more than it saves.
constexpr i64 kMinPerThread = 1 << 15;

// The team for n elements: at most the core's thread setting
// (qor_set_num_threads, QOR_NUM_THREADS, else the OpenMP default), one
// inside a parallel region.
int threads_for(i64 n) {
  if (n < 2 * kMinPerThread) return 1;
  i64 t = n / kMinPerThread;
  int max = qor::core::max_threads();
  return t < max ? static_cast<int>(t) : max;
}

// The part [a, a + len) of a vector of n elements with stride inc, as a
// vector of its own: same stride, base such that its logical elements are
// those of the whole.
template <class T>
T* part(T* x, i64 n, i64 inc, i64 a, i64 len) {
  return x + (inc >= 0 ? a * inc : (a + len - n) * inc);
}

// Runs body(a, len) over [0, n), in pieces on several threads for long
// vectors. Pieces start at multiples of 16 elements.
template <class F>
void split(i64 n, bool may_split, F&& body) {
  int nt = may_split ? threads_for(n) : 1;
  if (nt <= 1) {
    body(i64{0}, n);
    return;
  }
#pragma omp parallel num_threads(nt)
  {
    const i64 t = omp_get_thread_num(), count = omp_get_num_threads();
    i64 a = (n * t / count) & ~i64{15}, b = t + 1 == count ? n : (n * (t + 1) / count) & ~i64{15};
    if (b > a) body(a, b - a);
  }
}

template <class T, class K>
void two_vectors(K kernel, i64 n, const T* alpha, const T* x, i64 incx, T* y, i64 incy) {
  split(n, incy != 0, [&](i64 a, i64 len) {
    kernel(&len, alpha, part(x, n, incx, a, len), &incx, part(y, n, incy, a, len), &incy);
  });
}

}  // namespace

// ---- element-wise updates, split for long vectors -----------------------

#define QOR_L1_UPDATES(l, T)                                                                                    \
  QOR_SERV_API void qor_blas_##l##axpy(const i64* n, const T* alpha, const T* x, const i64* incx, T* y,         \
                                       const i64* incy) {                                                       \
    two_vectors<T>(QOR_KERNEL(qor_blas_def_x##l##axpy), *n, alpha, x, *incx, y, *incy);                         \
  }                                                                                                             \
  QOR_SERV_API void qor_blas_##l##axpby(const i64* n, const T* alpha, const T* x, const i64* incx,              \
                                        const T* beta, T* y, const i64* incy) {                                 \
    const i64 nn = *n, ix = *incx, iy = *incy;                                                                  \
    split(nn, iy != 0, [&](i64 a, i64 len) {                                                                    \
      QOR_KERNEL(qor_blas_def_x##l##axpby)(&len, alpha, part(x, nn, ix, a, len), &ix, beta,                     \
                                           part(y, nn, iy, a, len), &iy);                                       \
    });                                                                                                         \
  }                                                                                                             \
  QOR_SERV_API void qor_blas_##l##copy(const i64* n, const T* x, const i64* incx, T* y, const i64* incy) {      \
    const i64 nn = *n, ix = *incx, iy = *incy;                                                                  \
    split(nn, iy != 0, [&](i64 a, i64 len) {                                                                    \
      QOR_KERNEL(qor_blas_def_x##l##copy)(&len, part(x, nn, ix, a, len), &ix, part(y, nn, iy, a, len), &iy);    \
    });                                                                                                         \
  }                                                                                                             \
  QOR_SERV_API void qor_blas_##l##swap(const i64* n, T* x, const i64* incx, T* y, const i64* incy) {            \
    const i64 nn = *n, ix = *incx, iy = *incy;                                                                  \
    split(nn, ix != 0 && iy != 0, [&](i64 a, i64 len) {                                                         \
      QOR_KERNEL(qor_blas_def_x##l##swap)(&len, part(x, nn, ix, a, len), &ix, part(y, nn, iy, a, len), &iy);    \
    });                                                                                                         \
  }                                                                                                             \
  QOR_SERV_API void qor_blas_##l##scal(const i64* n, const T* alpha, T* x, const i64* incx) {                   \
    const i64 nn = *n, ix = *incx;                                                                              \
    split(nn, ix != 0, [&](i64 a, i64 len) {                                                                    \
      QOR_KERNEL(qor_blas_def_x##l##scal)(&len, alpha, part(x, nn, ix, a, len), &ix);                           \
    });                                                                                                         \
  }
QOR_FOR_EACH_TYPE(QOR_L1_UPDATES)

#define QOR_L1_RSCAL(name, T, R)                                                                                \
  QOR_SERV_API void qor_blas_##name(const i64* n, const R* alpha, T* x, const i64* incx) {                      \
    const i64 nn = *n, ix = *incx;                                                                              \
    split(nn, ix != 0, [&](i64 a, i64 len) {                                                                    \
      QOR_KERNEL(qor_blas_def_x##name)(&len, alpha, part(x, nn, ix, a, len), &ix);                              \
    });                                                                                                         \
  }
QOR_L1_RSCAL(csscal, c32, float)
QOR_L1_RSCAL(zdscal, c64, double)

#define QOR_L1_ROT(name, T, S)                                                                                  \
  QOR_SERV_API void qor_blas_##name(const i64* n, T* x, const i64* incx, T* y, const i64* incy,                 \
                                    const qor::real_t<T>* c, const S* s) {                                      \
    const i64 nn = *n, ix = *incx, iy = *incy;                                                                  \
    split(nn, ix != 0 && iy != 0, [&](i64 a, i64 len) {                                                         \
      QOR_KERNEL(qor_blas_def_x##name)(&len, part(x, nn, ix, a, len), &ix, part(y, nn, iy, a, len), &iy, c, s); \
    });                                                                                                         \
  }
QOR_L1_ROT(srot, float, float)
QOR_L1_ROT(drot, double, double)
QOR_L1_ROT(crot, c32, c32)
QOR_L1_ROT(zrot, c64, c64)
QOR_L1_ROT(csrot, c32, float)
QOR_L1_ROT(zdrot, c64, double)

// ---- everything else goes straight to the kernel ------------------------

#define QOR_L1_DIRECT(ret, name, kernel, params, args) \
  QOR_SERV_API ret qor_blas_##name params { return QOR_KERNEL(qor_blas_def_##kernel) args; }

#define QOR_L1_DIRECT_T(l, T)                                                                                   \
  QOR_L1_DIRECT(i64, i##l##amax, xi##l##amax, (const i64* n, const T* x, const i64* incx), (n, x, incx))        \
  QOR_L1_DIRECT(i64, i##l##amin, xi##l##amin, (const i64* n, const T* x, const i64* incx), (n, x, incx))        \
  QOR_L1_DIRECT(void, l##gthr, l##gthr, (const i64* nz, const T* y, T* x, const i64* indx), (nz, y, x, indx))   \
  QOR_L1_DIRECT(void, l##gthrz, l##gthrz, (const i64* nz, T* y, T* x, const i64* indx), (nz, y, x, indx))       \
  QOR_L1_DIRECT(void, l##sctr, l##sctr, (const i64* nz, const T* x, const i64* indx, T* y), (nz, x, indx, y))   \
  QOR_L1_DIRECT(void, l##axpyi, l##axpyi, (const i64* nz, const T* a, const T* x, const i64* indx, T* y),       \
                (nz, a, x, indx, y))
QOR_FOR_EACH_TYPE(QOR_L1_DIRECT_T)

#define QOR_L1_NORM(name, T)                                                                                    \
  QOR_L1_DIRECT(qor::real_t<T>, name, x##name, (const i64* n, const T* x, const i64* incx), (n, x, incx))
QOR_L1_NORM(sasum, float)
QOR_L1_NORM(dasum, double)
QOR_L1_NORM(scasum, c32)
QOR_L1_NORM(dzasum, c64)
QOR_L1_NORM(snrm2, float)
QOR_L1_NORM(dnrm2, double)
QOR_L1_NORM(scnrm2, c32)
QOR_L1_NORM(dznrm2, c64)
QOR_L1_DIRECT(float, xsnrm2, xsnrm2, (const i64* n, const float* x, const i64* incx), (n, x, incx))
QOR_L1_DIRECT(double, xdnrm2, xdnrm2, (const i64* n, const double* x, const i64* incx), (n, x, incx))
QOR_L1_DIRECT(float, xscnrm2, xscnrm2, (const i64* n, const c32* x, const i64* incx), (n, x, incx))
QOR_L1_DIRECT(double, xdznrm2, xdznrm2, (const i64* n, const c64* x, const i64* incx), (n, x, incx))

#define QOR_L1_DOT(l, T)                                                                                        \
  QOR_L1_DIRECT(T, l##dot, x##l##dot, (const i64* n, const T* x, const i64* incx, const T* y, const i64* incy), \
                (n, x, incx, y, incy))
QOR_L1_DOT(s, float)
QOR_L1_DOT(d, double)
QOR_L1_DIRECT(float, sdsdot, xsdsdot,
              (const i64* n, const float* sb, const float* x, const i64* incx, const float* y, const i64* incy),
              (n, sb, x, incx, y, incy))
QOR_L1_DIRECT(double, dsdot, xdsdot, (const i64* n, const float* x, const i64* incx, const float* y, const i64* incy),
              (n, x, incx, y, incy))
#define QOR_L1_CDOT(name, T)                                                                                    \
  QOR_L1_DIRECT(void, name, x##name,                                                                            \
                (T * r, const i64* n, const T* x, const i64* incx, const T* y, const i64* incy),                \
                (r, n, x, incx, y, incy))
QOR_L1_CDOT(cdotc, c32)
QOR_L1_CDOT(cdotu, c32)
QOR_L1_CDOT(zdotc, c64)
QOR_L1_CDOT(zdotu, c64)

#define QOR_L1_ROTM(l, R)                                                                                       \
  QOR_L1_DIRECT(void, l##rotm, x##l##rotm, (const i64* n, R* x, const i64* incx, R* y, const i64* incy,         \
                                           const R* param), (n, x, incx, y, incy, param))                       \
  QOR_L1_DIRECT(void, l##rotg, l##rotg, (R * a, R * b, R * c, R * s), (a, b, c, s))                             \
  QOR_L1_DIRECT(void, l##rotmg, l##rotmg, (R * d1, R * d2, R * x1, const R* y1, R* param),                      \
                (d1, d2, x1, y1, param))
QOR_L1_ROTM(s, float)
QOR_L1_ROTM(d, double)
QOR_L1_DIRECT(void, crotg, crotg, (c32 * a, const c32* b, float* c, c32* s), (a, b, c, s))
QOR_L1_DIRECT(void, zrotg, zrotg, (c64 * a, const c64* b, double* c, c64* s), (a, b, c, s))
QOR_L1_DIRECT(float, scabs1, scabs1, (const c32* z), (z))
QOR_L1_DIRECT(double, dcabs1, dcabs1, (const c64* z), (z))

QOR_L1_DIRECT(float, sdoti, sdoti, (const i64* nz, const float* x, const i64* indx, const float* y),
              (nz, x, indx, y))
QOR_L1_DIRECT(double, ddoti, ddoti, (const i64* nz, const double* x, const i64* indx, const double* y),
              (nz, x, indx, y))
#define QOR_L1_CDOTI(name, T)                                                                                   \
  QOR_L1_DIRECT(void, name, name, (T * r, const i64* nz, const T* x, const i64* indx, const T* y),              \
                (r, nz, x, indx, y))
QOR_L1_CDOTI(cdotci, c32)
QOR_L1_CDOTI(cdotui, c32)
QOR_L1_CDOTI(zdotci, c64)
QOR_L1_CDOTI(zdotui, c64)
#define QOR_L1_ROTI(l, R)                                                                                       \
  QOR_L1_DIRECT(void, l##roti, l##roti, (const i64* nz, R* x, const i64* indx, R* y, const R* c, const R* s),   \
                (nz, x, indx, y, c, s))
QOR_L1_ROTI(s, float)
QOR_L1_ROTI(d, double)

// ---- 32-bit integer forms -----------------------------------------------

#define QOR_L1_LP64(l, T)                                                                                       \
  QOR_SERV_API void qor_blas_lp64_##l##axpy(const int* n, const T* alpha, const T* x, const int* incx, T* y,    \
                                            const int* incy) {                                                  \
    const i64 nn = *n, ix = *incx, iy = *incy;                                                                  \
    qor_blas_##l##axpy(&nn, alpha, x, &ix, y, &iy);                                                             \
  }
QOR_FOR_EACH_TYPE(QOR_L1_LP64)

QOR_SERV_API float qor_blas_lp64_sdot(const int* n, const float* x, const int* incx, const float* y, const int* incy) {
  const i64 nn = *n, ix = *incx, iy = *incy;
  return QOR_KERNEL(qor_blas_def_xsdot)(&nn, x, &ix, y, &iy);
}
QOR_SERV_API double qor_blas_lp64_ddot(const int* n, const double* x, const int* incx, const double* y,
                                       const int* incy) {
  const i64 nn = *n, ix = *incx, iy = *incy;
  return QOR_KERNEL(qor_blas_def_xddot)(&nn, x, &ix, y, &iy);
}
QOR_SERV_API void qor_blas_lp64_cdotu(c32* r, const int* n, const c32* x, const int* incx, const c32* y,
                                      const int* incy) {
  const i64 nn = *n, ix = *incx, iy = *incy;
  QOR_KERNEL(qor_blas_def_xcdotu)(r, &nn, x, &ix, y, &iy);
}
QOR_SERV_API void qor_blas_lp64_zdotu(c64* r, const int* n, const c64* x, const int* incx, const c64* y,
                                      const int* incy) {
  const i64 nn = *n, ix = *incx, iy = *incy;
  QOR_KERNEL(qor_blas_def_xzdotu)(r, &nn, x, &ix, y, &iy);
}
