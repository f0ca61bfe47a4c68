// The subroutine forms of the BLAS functions (ddotsub_, idamaxsub_, ...)
// and the two flags the reference CBLAS layer exports. Programs linked
// against the system's libblas.so.3 may call these; each form stores the
// value of its function in its last argument, and carries the integer width
// of the function it wraps (the _64_ forms take 64-bit integers).
#include <cstdint>

#include "qor/blas.h"
#include "qor/qor.h"

extern "C" {

// Set by the reference CBLAS layer around its calls and read by an
// application's own cblas_xerbla; this library's CBLAS does not use them,
// but programs that read them must find them.
QOR_API int CBLAS_CallFromC = 0;
QOR_API int RowMajorStrg = 0;

QOR_API void scabs1sub_(const void* z, float* value) { *value = scabs1_(z); }
QOR_API void dcabs1sub_(const void* z, double* value) { *value = dcabs1_(z); }

}  // extern "C"

// One set of forms per integer width; SFX is "_" or "_64_".
#define QOR_SUBROUTINES(INT, SFX)                                                                               \
  extern "C" {                                                                                                  \
  QOR_API void sdotsub##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy,      \
                            float* v) {                                                                         \
    *v = sdot##SFX(n, x, incx, y, incy);                                                                        \
  }                                                                                                             \
  QOR_API void ddotsub##SFX(const INT* n, const double* x, const INT* incx, const double* y, const INT* incy,   \
                            double* v) {                                                                        \
    *v = ddot##SFX(n, x, incx, y, incy);                                                                        \
  }                                                                                                             \
  QOR_API void sdsdotsub##SFX(const INT* n, const float* sb, const float* x, const INT* incx, const float* y,    \
                              const INT* incy, float* v) {                                                      \
    *v = sdsdot##SFX(n, sb, x, incx, y, incy);                                                                  \
  }                                                                                                             \
  QOR_API void dsdotsub##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy,     \
                             double* v) {                                                                       \
    *v = dsdot##SFX(n, x, incx, y, incy);                                                                       \
  }                                                                                                             \
  QOR_API void cdotcsub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy,       \
                             void* v) {                                                                         \
    *static_cast<qor_complex_float*>(v) = cdotc##SFX(n, x, incx, y, incy);                                      \
  }                                                                                                             \
  QOR_API void cdotusub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy,       \
                             void* v) {                                                                         \
    *static_cast<qor_complex_float*>(v) = cdotu##SFX(n, x, incx, y, incy);                                      \
  }                                                                                                             \
  QOR_API void zdotcsub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy,       \
                             void* v) {                                                                         \
    *static_cast<qor_complex_double*>(v) = zdotc##SFX(n, x, incx, y, incy);                                     \
  }                                                                                                             \
  QOR_API void zdotusub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy,       \
                             void* v) {                                                                         \
    *static_cast<qor_complex_double*>(v) = zdotu##SFX(n, x, incx, y, incy);                                     \
  }                                                                                                             \
  QOR_API void snrm2sub##SFX(const INT* n, const float* x, const INT* incx, float* v) {                         \
    *v = snrm2##SFX(n, x, incx);                                                                                \
  }                                                                                                             \
  QOR_API void dnrm2sub##SFX(const INT* n, const double* x, const INT* incx, double* v) {                       \
    *v = dnrm2##SFX(n, x, incx);                                                                                \
  }                                                                                                             \
  QOR_API void scnrm2sub##SFX(const INT* n, const void* x, const INT* incx, float* v) {                         \
    *v = scnrm2##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void dznrm2sub##SFX(const INT* n, const void* x, const INT* incx, double* v) {                        \
    *v = dznrm2##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void sasumsub##SFX(const INT* n, const float* x, const INT* incx, float* v) {                         \
    *v = sasum##SFX(n, x, incx);                                                                                \
  }                                                                                                             \
  QOR_API void dasumsub##SFX(const INT* n, const double* x, const INT* incx, double* v) {                       \
    *v = dasum##SFX(n, x, incx);                                                                                \
  }                                                                                                             \
  QOR_API void scasumsub##SFX(const INT* n, const void* x, const INT* incx, float* v) {                         \
    *v = scasum##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void dzasumsub##SFX(const INT* n, const void* x, const INT* incx, double* v) {                        \
    *v = dzasum##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void isamaxsub##SFX(const INT* n, const float* x, const INT* incx, INT* v) {                          \
    *v = isamax##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void idamaxsub##SFX(const INT* n, const double* x, const INT* incx, INT* v) {                         \
    *v = idamax##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void icamaxsub##SFX(const INT* n, const void* x, const INT* incx, INT* v) {                           \
    *v = icamax##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  QOR_API void izamaxsub##SFX(const INT* n, const void* x, const INT* incx, INT* v) {                           \
    *v = izamax##SFX(n, x, incx);                                                                               \
  }                                                                                                             \
  }

QOR_SUBROUTINES(int, _)
QOR_SUBROUTINES(std::int64_t, _64_)
