/*
 * Fortran BLAS Level 1 of qor, with the extensions: axpby, i?amin, and the
 * sparse-vector routines (gthr, gthrz, sctr, axpyi, doti, dotci, dotui, roti).
 *
 * Two sets of names: the usual ones with 32-bit integers (daxpy_) and twins
 * with 64-bit integers (daxpy_64_). gfortran calling convention: every
 * argument by address; complex functions (cdotc_, zdotu_, ...) return their
 * value. Complex arrays and scalars are interleaved (re, im) pairs passed as
 * void pointers. Sparse index arrays are 1-based, of the integer width of
 * the name.
 *
 * Departures from the reference BLAS, kept on purpose:
 *  - ?scal multiplies by alpha whatever it is: a zero alpha turns NaN and
 *    infinity into NaN instead of clearing the vector, and a negative stride
 *    scales the vector walked from its far end.
 *  - ?asum and ?nrm2 use the absolute value of the stride.
 *  - ?axpy with a NaN alpha updates y (only an alpha equal to 0 returns).
 *  - i?amax and i?amin of a unit-stride vector holding a NaN give the
 *    position of the first NaN; with other strides a quiet NaN is passed over.
 *  - ?nrm2 of a vector with two or more infinities is NaN.
 */
#ifndef QOR_BLAS_LEVEL1_H
#define QOR_BLAS_LEVEL1_H

#include <stdint.h>

#include "qor/qor_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declares every routine for integer type INT with name suffix SFX. */
#define QOR_BLAS_LEVEL1_DECLARE(INT, SFX)                                                                        \
  float sasum##SFX(const INT* n, const float* x, const INT* incx);                                               \
  double dasum##SFX(const INT* n, const double* x, const INT* incx);                                             \
  float scasum##SFX(const INT* n, const void* x, const INT* incx);                                               \
  double dzasum##SFX(const INT* n, const void* x, const INT* incx);                                              \
  float snrm2##SFX(const INT* n, const float* x, const INT* incx);                                               \
  double dnrm2##SFX(const INT* n, const double* x, const INT* incx);                                             \
  float scnrm2##SFX(const INT* n, const void* x, const INT* incx);                                               \
  double dznrm2##SFX(const INT* n, const void* x, const INT* incx);                                              \
                                                                                                                 \
  void saxpy##SFX(const INT* n, const float* alpha, const float* x, const INT* incx, float* y, const INT* incy);  \
  void daxpy##SFX(const INT* n, const double* alpha, const double* x, const INT* incx, double* y,                \
                  const INT* incy);                                                                              \
  void caxpy##SFX(const INT* n, const void* alpha, const void* x, const INT* incx, void* y, const INT* incy);    \
  void zaxpy##SFX(const INT* n, const void* alpha, const void* x, const INT* incx, void* y, const INT* incy);    \
  /* y = alpha * x + beta * y */                                                                                 \
  void saxpby##SFX(const INT* n, const float* alpha, const float* x, const INT* incx, const float* beta,         \
                   float* y, const INT* incy);                                                                   \
  void daxpby##SFX(const INT* n, const double* alpha, const double* x, const INT* incx, const double* beta,      \
                   double* y, const INT* incy);                                                                  \
  void caxpby##SFX(const INT* n, const void* alpha, const void* x, const INT* incx, const void* beta, void* y,   \
                   const INT* incy);                                                                             \
  void zaxpby##SFX(const INT* n, const void* alpha, const void* x, const INT* incx, const void* beta, void* y,   \
                   const INT* incy);                                                                             \
  void scopy##SFX(const INT* n, const float* x, const INT* incx, float* y, const INT* incy);                     \
  void dcopy##SFX(const INT* n, const double* x, const INT* incx, double* y, const INT* incy);                   \
  void ccopy##SFX(const INT* n, const void* x, const INT* incx, void* y, const INT* incy);                       \
  void zcopy##SFX(const INT* n, const void* x, const INT* incx, void* y, const INT* incy);                       \
  void sswap##SFX(const INT* n, float* x, const INT* incx, float* y, const INT* incy);                           \
  void dswap##SFX(const INT* n, double* x, const INT* incx, double* y, const INT* incy);                         \
  void cswap##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy);                             \
  void zswap##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy);                             \
  void sscal##SFX(const INT* n, const float* alpha, float* x, const INT* incx);                                  \
  void dscal##SFX(const INT* n, const double* alpha, double* x, const INT* incx);                                \
  void cscal##SFX(const INT* n, const void* alpha, void* x, const INT* incx);                                    \
  void zscal##SFX(const INT* n, const void* alpha, void* x, const INT* incx);                                    \
  void csscal##SFX(const INT* n, const float* alpha, void* x, const INT* incx);                                  \
  void zdscal##SFX(const INT* n, const double* alpha, void* x, const INT* incx);                                 \
                                                                                                                 \
  float sdot##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy);               \
  double ddot##SFX(const INT* n, const double* x, const INT* incx, const double* y, const INT* incy);            \
  /* sb + x . y, accumulated in double precision */                                                              \
  float sdsdot##SFX(const INT* n, const float* sb, const float* x, const INT* incx, const float* y,             \
                    const INT* incy);                                                                            \
  double dsdot##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy);             \
  qor_complex_float cdotc##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy);    \
  qor_complex_float cdotu##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy);    \
  qor_complex_double zdotc##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy);   \
  qor_complex_double zdotu##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy);   \
                                                                                                                 \
  /* 1-based index of the largest (amax) or smallest (amin) |x| or |re| + |im|; 0 if n < 1 or incx < 1 */      \
  INT isamax##SFX(const INT* n, const float* x, const INT* incx);                                                \
  INT idamax##SFX(const INT* n, const double* x, const INT* incx);                                               \
  INT icamax##SFX(const INT* n, const void* x, const INT* incx);                                                 \
  INT izamax##SFX(const INT* n, const void* x, const INT* incx);                                                 \
  INT isamin##SFX(const INT* n, const float* x, const INT* incx);                                                \
  INT idamin##SFX(const INT* n, const double* x, const INT* incx);                                               \
  INT icamin##SFX(const INT* n, const void* x, const INT* incx);                                                 \
  INT izamin##SFX(const INT* n, const void* x, const INT* incx);                                                 \
                                                                                                                 \
  void srot##SFX(const INT* n, float* x, const INT* incx, float* y, const INT* incy, const float* c,             \
                 const float* s);                                                                                \
  void drot##SFX(const INT* n, double* x, const INT* incx, double* y, const INT* incy, const double* c,          \
                 const double* s);                                                                               \
  void csrot##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy, const float* c,              \
                  const float* s);                                                                               \
  void zdrot##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy, const double* c,             \
                  const double* s);                                                                              \
  /* complex s: x' = c x + s y, y' = c y - conj(s) x */                                                          \
  void crot##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy, const float* c,               \
                 const void* s);                                                                                 \
  void zrot##SFX(const INT* n, void* x, const INT* incx, void* y, const INT* incy, const double* c,              \
                 const void* s);                                                                                 \
  void srotm##SFX(const INT* n, float* x, const INT* incx, float* y, const INT* incy, const float* param);       \
  void drotm##SFX(const INT* n, double* x, const INT* incx, double* y, const INT* incy, const double* param);    \
  void srotg##SFX(float* a, float* b, float* c, float* s);                                                       \
  void drotg##SFX(double* a, double* b, double* c, double* s);                                                   \
  void crotg##SFX(void* a, const void* b, float* c, void* s);                                                    \
  void zrotg##SFX(void* a, const void* b, double* c, void* s);                                                   \
  void srotmg##SFX(float* d1, float* d2, float* x1, const float* y1, float* param);                              \
  void drotmg##SFX(double* d1, double* d2, double* x1, const double* y1, double* param);                         \
  float scabs1##SFX(const void* z);                                                                              \
  double dcabs1##SFX(const void* z);                                                                             \
                                                                                                                 \
  /* Sparse vectors: x holds nz values, indx their 1-based positions in y. */                                   \
  void sgthr##SFX(const INT* nz, const float* y, float* x, const INT* indx);                                     \
  void dgthr##SFX(const INT* nz, const double* y, double* x, const INT* indx);                                   \
  void cgthr##SFX(const INT* nz, const void* y, void* x, const INT* indx);                                       \
  void zgthr##SFX(const INT* nz, const void* y, void* x, const INT* indx);                                       \
  void sgthrz##SFX(const INT* nz, float* y, float* x, const INT* indx);                                          \
  void dgthrz##SFX(const INT* nz, double* y, double* x, const INT* indx);                                        \
  void cgthrz##SFX(const INT* nz, void* y, void* x, const INT* indx);                                            \
  void zgthrz##SFX(const INT* nz, void* y, void* x, const INT* indx);                                            \
  void ssctr##SFX(const INT* nz, const float* x, const INT* indx, float* y);                                     \
  void dsctr##SFX(const INT* nz, const double* x, const INT* indx, double* y);                                   \
  void csctr##SFX(const INT* nz, const void* x, const INT* indx, void* y);                                       \
  void zsctr##SFX(const INT* nz, const void* x, const INT* indx, void* y);                                       \
  void saxpyi##SFX(const INT* nz, const float* alpha, const float* x, const INT* indx, float* y);                \
  void daxpyi##SFX(const INT* nz, const double* alpha, const double* x, const INT* indx, double* y);             \
  void caxpyi##SFX(const INT* nz, const void* alpha, const void* x, const INT* indx, void* y);                   \
  void zaxpyi##SFX(const INT* nz, const void* alpha, const void* x, const INT* indx, void* y);                   \
  float sdoti##SFX(const INT* nz, const float* x, const INT* indx, const float* y);                              \
  double ddoti##SFX(const INT* nz, const double* x, const INT* indx, const double* y);                           \
  qor_complex_float cdotci##SFX(const INT* nz, const void* x, const INT* indx, const void* y);                   \
  qor_complex_float cdotui##SFX(const INT* nz, const void* x, const INT* indx, const void* y);                   \
  qor_complex_double zdotci##SFX(const INT* nz, const void* x, const INT* indx, const void* y);                  \
  qor_complex_double zdotui##SFX(const INT* nz, const void* x, const INT* indx, const void* y);                  \
  void sroti##SFX(const INT* nz, float* x, const INT* indx, float* y, const float* c, const float* s);           \
  void droti##SFX(const INT* nz, double* x, const INT* indx, double* y, const double* c, const double* s);

QOR_BLAS_LEVEL1_DECLARE(int, _)
QOR_BLAS_LEVEL1_DECLARE(int64_t, _64_)

#ifdef __cplusplus
}
#endif

#endif
