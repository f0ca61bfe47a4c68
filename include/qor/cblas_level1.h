/*
 * CBLAS Level 1 of qor, with the extensions: cblas_?axpby, cblas_i?amin,
 * cblas_crot/zrot and the sparse-vector routines. Included by qor/cblas.h.
 *
 * Names without suffix take int sizes and strides; the twins with the suffix
 * _64 take int64_t. Real scalars are passed by value, complex ones as
 * pointers to (re, im) pairs. cblas_i?amax and cblas_i?amin return a 0-based
 * index (0 for an empty vector). Sparse index arrays are 0-based here, as C
 * programs count, of the integer width of the name. The departures from the
 * reference BLAS listed in qor/blas_level1.h hold here too.
 */
#ifndef QOR_CBLAS_LEVEL1_H
#define QOR_CBLAS_LEVEL1_H

#include <stddef.h>
#include <stdint.h>

#ifndef CBLAS_INDEX
#define CBLAS_INDEX size_t
#endif

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_CBLAS_LEVEL1_DECLARE(INT, SFX)                                                                        \
  float cblas_sdsdot##SFX(const INT n, const float alpha, const float* x, const INT incx, const float* y,        \
                          const INT incy);                                                                       \
  double cblas_dsdot##SFX(const INT n, const float* x, const INT incx, const float* y, const INT incy);          \
  float cblas_sdot##SFX(const INT n, const float* x, const INT incx, const float* y, const INT incy);            \
  double cblas_ddot##SFX(const INT n, const double* x, const INT incx, const double* y, const INT incy);         \
  void cblas_cdotu_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy,           \
                            void* dotu);                                                                         \
  void cblas_cdotc_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy,           \
                            void* dotc);                                                                         \
  void cblas_zdotu_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy,           \
                            void* dotu);                                                                         \
  void cblas_zdotc_sub##SFX(const INT n, const void* x, const INT incx, const void* y, const INT incy,           \
                            void* dotc);                                                                         \
                                                                                                                 \
  float cblas_snrm2##SFX(const INT n, const float* x, const INT incx);                                           \
  float cblas_sasum##SFX(const INT n, const float* x, const INT incx);                                           \
  double cblas_dnrm2##SFX(const INT n, const double* x, const INT incx);                                         \
  double cblas_dasum##SFX(const INT n, const double* x, const INT incx);                                         \
  float cblas_scnrm2##SFX(const INT n, const void* x, const INT incx);                                           \
  float cblas_scasum##SFX(const INT n, const void* x, const INT incx);                                           \
  double cblas_dznrm2##SFX(const INT n, const void* x, const INT incx);                                          \
  double cblas_dzasum##SFX(const INT n, const void* x, const INT incx);                                          \
                                                                                                                 \
  CBLAS_INDEX cblas_isamax##SFX(const INT n, const float* x, const INT incx);                                    \
  CBLAS_INDEX cblas_idamax##SFX(const INT n, const double* x, const INT incx);                                   \
  CBLAS_INDEX cblas_icamax##SFX(const INT n, const void* x, const INT incx);                                     \
  CBLAS_INDEX cblas_izamax##SFX(const INT n, const void* x, const INT incx);                                     \
  CBLAS_INDEX cblas_isamin##SFX(const INT n, const float* x, const INT incx);                                    \
  CBLAS_INDEX cblas_idamin##SFX(const INT n, const double* x, const INT incx);                                   \
  CBLAS_INDEX cblas_icamin##SFX(const INT n, const void* x, const INT incx);                                     \
  CBLAS_INDEX cblas_izamin##SFX(const INT n, const void* x, const INT incx);                                     \
                                                                                                                 \
  void cblas_sswap##SFX(const INT n, float* x, const INT incx, float* y, const INT incy);                        \
  void cblas_scopy##SFX(const INT n, const float* x, const INT incx, float* y, const INT incy);                  \
  void cblas_saxpy##SFX(const INT n, const float alpha, const float* x, const INT incx, float* y,                \
                        const INT incy);                                                                         \
  void cblas_dswap##SFX(const INT n, double* x, const INT incx, double* y, const INT incy);                      \
  void cblas_dcopy##SFX(const INT n, const double* x, const INT incx, double* y, const INT incy);                \
  void cblas_daxpy##SFX(const INT n, const double alpha, const double* x, const INT incx, double* y,             \
                        const INT incy);                                                                         \
  void cblas_cswap##SFX(const INT n, void* x, const INT incx, void* y, const INT incy);                          \
  void cblas_ccopy##SFX(const INT n, const void* x, const INT incx, void* y, const INT incy);                    \
  void cblas_caxpy##SFX(const INT n, const void* alpha, const void* x, const INT incx, void* y, const INT incy); \
  void cblas_zswap##SFX(const INT n, void* x, const INT incx, void* y, const INT incy);                          \
  void cblas_zcopy##SFX(const INT n, const void* x, const INT incx, void* y, const INT incy);                    \
  void cblas_zaxpy##SFX(const INT n, const void* alpha, const void* x, const INT incx, void* y, const INT incy); \
  /* y = alpha * x + beta * y */                                                                                 \
  void cblas_saxpby##SFX(const INT n, const float alpha, const float* x, const INT incx, const float beta,       \
                         float* y, const INT incy);                                                              \
  void cblas_daxpby##SFX(const INT n, const double alpha, const double* x, const INT incx, const double beta,    \
                         double* y, const INT incy);                                                             \
  void cblas_caxpby##SFX(const INT n, const void* alpha, const void* x, const INT incx, const void* beta,        \
                         void* y, const INT incy);                                                               \
  void cblas_zaxpby##SFX(const INT n, const void* alpha, const void* x, const INT incx, const void* beta,        \
                         void* y, const INT incy);                                                               \
                                                                                                                 \
  void cblas_srotg##SFX(float* a, float* b, float* c, float* s);                                                 \
  void cblas_srotmg##SFX(float* d1, float* d2, float* b1, const float b2, float* p);                             \
  void cblas_srot##SFX(const INT n, float* x, const INT incx, float* y, const INT incy, const float c,           \
                       const float s);                                                                           \
  void cblas_srotm##SFX(const INT n, float* x, const INT incx, float* y, const INT incy, const float* p);        \
  void cblas_drotg##SFX(double* a, double* b, double* c, double* s);                                             \
  void cblas_drotmg##SFX(double* d1, double* d2, double* b1, const double b2, double* p);                        \
  void cblas_drot##SFX(const INT n, double* x, const INT incx, double* y, const INT incy, const double c,        \
                       const double s);                                                                          \
  void cblas_drotm##SFX(const INT n, double* x, const INT incx, double* y, const INT incy, const double* p);     \
  void cblas_crotg##SFX(void* a, void* b, float* c, void* s);                                                    \
  void cblas_zrotg##SFX(void* a, void* b, double* c, void* s);                                                   \
  void cblas_csrot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const float c,            \
                        const float s);                                                                          \
  void cblas_zdrot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const double c,           \
                        const double s);                                                                         \
  /* complex s: x' = c x + s y, y' = c y - conj(s) x */                                                          \
  void cblas_crot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const float c,             \
                       const void* s);                                                                           \
  void cblas_zrot##SFX(const INT n, void* x, const INT incx, void* y, const INT incy, const double c,            \
                       const void* s);                                                                           \
                                                                                                                 \
  void cblas_sscal##SFX(const INT n, const float alpha, float* x, const INT incx);                               \
  void cblas_dscal##SFX(const INT n, const double alpha, double* x, const INT incx);                             \
  void cblas_cscal##SFX(const INT n, const void* alpha, void* x, const INT incx);                                \
  void cblas_zscal##SFX(const INT n, const void* alpha, void* x, const INT incx);                                \
  void cblas_csscal##SFX(const INT n, const float alpha, void* x, const INT incx);                               \
  void cblas_zdscal##SFX(const INT n, const double alpha, void* x, const INT incx);                              \
  float cblas_scabs1##SFX(const void* z);                                                                        \
  double cblas_dcabs1##SFX(const void* z);                                                                       \
                                                                                                                 \
  /* Sparse vectors: x holds nz values, indx their 0-based positions in y. */                                   \
  void cblas_sgthr##SFX(const INT nz, const float* y, float* x, const INT* indx);                                \
  void cblas_dgthr##SFX(const INT nz, const double* y, double* x, const INT* indx);                              \
  void cblas_cgthr##SFX(const INT nz, const void* y, void* x, const INT* indx);                                  \
  void cblas_zgthr##SFX(const INT nz, const void* y, void* x, const INT* indx);                                  \
  void cblas_sgthrz##SFX(const INT nz, float* y, float* x, const INT* indx);                                     \
  void cblas_dgthrz##SFX(const INT nz, double* y, double* x, const INT* indx);                                   \
  void cblas_cgthrz##SFX(const INT nz, void* y, void* x, const INT* indx);                                       \
  void cblas_zgthrz##SFX(const INT nz, void* y, void* x, const INT* indx);                                       \
  void cblas_ssctr##SFX(const INT nz, const float* x, const INT* indx, float* y);                                \
  void cblas_dsctr##SFX(const INT nz, const double* x, const INT* indx, double* y);                              \
  void cblas_csctr##SFX(const INT nz, const void* x, const INT* indx, void* y);                                  \
  void cblas_zsctr##SFX(const INT nz, const void* x, const INT* indx, void* y);                                  \
  void cblas_saxpyi##SFX(const INT nz, const float alpha, const float* x, const INT* indx, float* y);            \
  void cblas_daxpyi##SFX(const INT nz, const double alpha, const double* x, const INT* indx, double* y);         \
  void cblas_caxpyi##SFX(const INT nz, const void* alpha, const void* x, const INT* indx, void* y);              \
  void cblas_zaxpyi##SFX(const INT nz, const void* alpha, const void* x, const INT* indx, void* y);              \
  float cblas_sdoti##SFX(const INT nz, const float* x, const INT* indx, const float* y);                         \
  double cblas_ddoti##SFX(const INT nz, const double* x, const INT* indx, const double* y);                      \
  void cblas_cdotci_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* dotci);          \
  void cblas_cdotui_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* dotui);          \
  void cblas_zdotci_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* dotci);          \
  void cblas_zdotui_sub##SFX(const INT nz, const void* x, const INT* indx, const void* y, void* dotui);          \
  void cblas_sroti##SFX(const INT nz, float* x, const INT* indx, float* y, const float c, const float s);        \
  void cblas_droti##SFX(const INT nz, double* x, const INT* indx, double* y, const double c, const double s);

QOR_CBLAS_LEVEL1_DECLARE(int, )
QOR_CBLAS_LEVEL1_DECLARE(int64_t, _64)

#ifdef __cplusplus
}
#endif

#endif
