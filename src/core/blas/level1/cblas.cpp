// CBLAS names of the vector routines, with int sizes (cblas_daxpy) and
// int64_t ones (cblas_daxpy_64). Index results are 0-based, and so are the
// index arrays of the sparse routines.
#include "blas/level1/ops.h"
#include "frame/trace.h"
#include "qor/cblas.h"
#include "qor/qor.h"

using namespace qor::core::blas1;
using qor::c32;
using qor::c64;
using qor::i64;

namespace {
// 1-based result of the index routines to the 0-based CBLAS_INDEX.
inline CBLAS_INDEX zero_based(i64 i) { return i > 0 ? static_cast<CBLAS_INDEX>(i - 1) : 0; }
}  // namespace

#define QOR_C_REAL(INT, SFX, l, R)                                                                                 \
  QOR_API R cblas_##l##asum##SFX(const INT n, const R* x, const INT incx) {                                        \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return ops::asum<R>(n, x, incx);                                                                             \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API R cblas_##l##nrm2##SFX(const INT n, const R* x, const INT incx) {                                        \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return ops::nrm2<R>(n, x, incx);                                                                             \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpy##SFX(const INT n, const R a, const R* x, const INT incx, R* y, const INT incy) {     \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::axpy<R>(n, &a, x, incx, y, incy);                                                                       \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpby##SFX(const INT n, const R a, const R* x, const INT incx, const R b, R* y,          \
                                     const INT incy) {                                                             \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::axpby<R>(n, &a, x, incx, &b, y, incy);                                                                  \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##copy##SFX(const INT n, const R* x, const INT incx, R* y, const INT incy) {               \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::copy<R>(n, x, incx, y, incy);                                                                           \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##swap##SFX(const INT n, R* x, const INT incx, R* y, const INT incy) {                     \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::swap<R>(n, x, incx, y, incy);                                                                           \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##scal##SFX(const INT n, const R a, R* x, const INT incx) {                                \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      ops::scal<R>(n, &a, x, incx);                                                                                \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API R cblas_##l##dot##SFX(const INT n, const R* x, const INT incx, const R* y, const INT incy) {             \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      return ops::dot<R>(n, x, incx, y, incy);                                                                     \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API CBLAS_INDEX cblas_i##l##amax##SFX(const INT n, const R* x, const INT incx) {                             \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return zero_based(ops::iamax<R>(n, x, incx));                                                                \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API CBLAS_INDEX cblas_i##l##amin##SFX(const INT n, const R* x, const INT incx) {                             \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return zero_based(ops::iamin<R>(n, x, incx));                                                                \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rot##SFX(const INT n, R* x, const INT incx, R* y, const INT incy, const R c,             \
                                   const R s) {                                                                    \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::rot<R>(n, x, incx, y, incy, c, s);                                                                      \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rotm##SFX(const INT n, R* x, const INT incx, R* y, const INT incy, const R* p) {         \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::rotm<R>(n, x, incx, y, incy, p);                                                                        \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rotg##SFX(R* a, R* b, R* c, R* s) {                                                      \
    QOR_TRACED((), [=] {                                                                                           \
      route<R>::rotg(a, b, c, s);                                                                                  \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rotmg##SFX(R* d1, R* d2, R* x1, const R y1, R* p) {                                      \
    QOR_TRACED((), [=] {                                                                                           \
      route<R>::rotmg(d1, d2, x1, &y1, p);                                                                         \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##gthr##SFX(const INT nz, const R* y, R* x, const INT* indx) {                             \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::gthr<R>(nz, y, x, indx, 1);                                                                             \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##gthrz##SFX(const INT nz, R* y, R* x, const INT* indx) {                                  \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::gthrz<R>(nz, y, x, indx, 1);                                                                            \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##sctr##SFX(const INT nz, const R* x, const INT* indx, R* y) {                             \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::sctr<R>(nz, x, indx, y, 1);                                                                             \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpyi##SFX(const INT nz, const R a, const R* x, const INT* indx, R* y) {                 \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::axpyi<R>(nz, &a, x, indx, y, 1);                                                                        \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API R cblas_##l##doti##SFX(const INT nz, const R* x, const INT* indx, const R* y) {                          \
    QOR_TRACED((nz), [=] {                                                                                         \
      return ops::doti<R>(nz, x, indx, y, 1);                                                                      \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##roti##SFX(const INT nz, R* x, const INT* indx, R* y, const R c, const R s) {             \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::roti<R>(nz, x, indx, y, c, s, 1);                                                                       \
    });                                                                                                            \
  }

#define QOR_C_COMPLEX(INT, SFX, l, T, R, rl, ax)                                                                   \
  QOR_API R cblas_##ax##asum##SFX(const INT n, const void* x, const INT incx) {                                    \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return ops::asum<T>(n, in<T>(x), incx);                                                                      \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API R cblas_##ax##nrm2##SFX(const INT n, const void* x, const INT incx) {                                    \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return ops::nrm2<T>(n, in<T>(x), incx);                                                                      \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpy##SFX(const INT n, const void* a, const void* x, const INT incx, void* y,            \
                                    const INT incy) {                                                              \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::axpy<T>(n, in<T>(a), in<T>(x), incx, out<T>(y), incy);                                                  \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpby##SFX(const INT n, const void* a, const void* x, const INT incx, const void* b,     \
                                     void* y, const INT incy) {                                                    \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::axpby<T>(n, in<T>(a), in<T>(x), incx, in<T>(b), out<T>(y), incy);                                       \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##copy##SFX(const INT n, const void* x, const INT incx, void* y, const INT incy) {         \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::copy<T>(n, in<T>(x), incx, out<T>(y), incy);                                                            \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##swap##SFX(const INT n, void* x, const INT incx, void* y, const INT incy) {               \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::swap<T>(n, out<T>(x), incx, out<T>(y), incy);                                                           \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##scal##SFX(const INT n, const void* a, void* x, const INT incx) {                         \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      ops::scal<T>(n, in<T>(a), out<T>(x), incx);                                                                  \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rl##scal##SFX(const INT n, const R a, void* x, const INT incx) {                         \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      ops::rscal<T>(n, &a, out<T>(x), incx);                                                                       \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##dotc_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy, \
                                        void* r) {                                                                 \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      *out<T>(r) = ops::cdot<T, true>(n, in<T>(x), incx, in<T>(y), incy);                                          \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##dotu_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy, \
                                        void* r) {                                                                 \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      *out<T>(r) = ops::cdot<T, false>(n, in<T>(x), incx, in<T>(y), incy);                                         \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API CBLAS_INDEX cblas_i##l##amax##SFX(const INT n, const void* x, const INT incx) {                          \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return zero_based(ops::iamax<T>(n, in<T>(x), incx));                                                         \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API CBLAS_INDEX cblas_i##l##amin##SFX(const INT n, const void* x, const INT incx) {                          \
    QOR_TRACED((n, incx), [=] {                                                                                    \
      return zero_based(ops::iamin<T>(n, in<T>(x), incx));                                                         \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rl##rot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const R c,    \
                                       const R s) {                                                                \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::rot<T>(n, out<T>(x), incx, out<T>(y), incy, c, s);                                                      \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const R c,       \
                                   const void* s) {                                                                \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      ops::crot<T>(n, out<T>(x), incx, out<T>(y), incy, c, in<T>(s));                                              \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##rotg##SFX(void* a, void* b, R* c, void* s) {                                             \
    QOR_TRACED((), [=] {                                                                                           \
      route<T>::rotg(out<T>(a), in<T>(b), c, out<T>(s));                                                           \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API R cblas_##rl##cabs1##SFX(const void* z) {                                                                \
    QOR_TRACED((), [=] {                                                                                           \
      return route<T>::cabs1(in<T>(z));                                                                            \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##gthr##SFX(const INT nz, const void* y, void* x, const INT* indx) {                       \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::gthr<T>(nz, in<T>(y), out<T>(x), indx, 1);                                                              \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##gthrz##SFX(const INT nz, void* y, void* x, const INT* indx) {                            \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::gthrz<T>(nz, out<T>(y), out<T>(x), indx, 1);                                                            \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##sctr##SFX(const INT nz, const void* x, const INT* indx, void* y) {                       \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::sctr<T>(nz, in<T>(x), indx, out<T>(y), 1);                                                              \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##axpyi##SFX(const INT nz, const void* a, const void* x, const INT* indx, void* y) {       \
    QOR_TRACED((nz), [=] {                                                                                         \
      ops::axpyi<T>(nz, in<T>(a), in<T>(x), indx, out<T>(y), 1);                                                   \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##dotci_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* r) {   \
    QOR_TRACED((nz), [=] {                                                                                         \
      *out<T>(r) = ops::cdoti<T, true>(nz, in<T>(x), indx, in<T>(y), 1);                                           \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API void cblas_##l##dotui_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* r) {   \
    QOR_TRACED((nz), [=] {                                                                                         \
      *out<T>(r) = ops::cdoti<T, false>(nz, in<T>(x), indx, in<T>(y), 1);                                          \
    });                                                                                                            \
  }

#define QOR_C_ALL(INT, SFX)                                                                                        \
  QOR_C_REAL(INT, SFX, s, float)                                                                                   \
  QOR_C_REAL(INT, SFX, d, double)                                                                                  \
  QOR_C_COMPLEX(INT, SFX, c, c32, float, s, sc)                                                                    \
  QOR_C_COMPLEX(INT, SFX, z, c64, double, d, dz)                                                                   \
  QOR_API float cblas_sdsdot##SFX(const INT n, const float sb, const float* x, const INT incx, const float* y,     \
                                  const INT incy) {                                                                \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      const i64 nn = n, ix = incx, iy = incy;                                                                      \
      return qor_blas_sdsdot(&nn, &sb, x, &ix, y, &iy);                                                            \
    });                                                                                                            \
  }                                                                                                                \
  QOR_API double cblas_dsdot##SFX(const INT n, const float* x, const INT incx, const float* y, const INT incy) {   \
    QOR_TRACED((n, incx, incy), [=] {                                                                              \
      const i64 nn = n, ix = incx, iy = incy;                                                                      \
      return qor_blas_dsdot(&nn, x, &ix, y, &iy);                                                                  \
    });                                                                                                            \
  }

extern "C" {
QOR_C_ALL(int, )
QOR_C_ALL(int64_t, _64)
}
