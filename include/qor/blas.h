/*
 * The Fortran BLAS interface of qor: the reference names with a trailing
 * underscore and 32-bit integers (daxpy_), and 64-bit integer twins with the
 * suffix _64_ (daxpy_64_). gfortran calling convention: every argument by
 * address, a hidden length per character argument, complex functions
 * returning by value.
 */
#ifndef QOR_BLAS_H
#define QOR_BLAS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reports a bad argument; an application may replace either. */
void xerbla_(const char* routine, const int* arg, size_t len);
void xerbla_64_(const char* routine, const int64_t* arg, size_t len);

/* XERBLA_ARRAY: reports argument `info` of the routine whose name is the
 * `srname_len` characters at `srname_array` (not terminated). As the
 * reference, xerbla_ receives the first 32 of them padded with blanks to
 * 32, length 32. The hidden length (1, one array element) may be left out
 * by C callers. */
void xerbla_array_(const char* srname_array, const int* srname_len, const int* info, size_t);
void xerbla_array_64_(const char* srname_array, const int64_t* srname_len, const int64_t* info, size_t);

/* LSAME: 1 when the letters *ca and *cb are the same regardless of case,
 * else 0 (a Fortran LOGICAL; lsame_64_ returns it in 64 bits for builds
 * with 64-bit default integers). The hidden lengths may be left out by C
 * callers. */
int lsame_(const char* ca, const char* cb, size_t, size_t);
int64_t lsame_64_(const char* ca, const char* cb, size_t, size_t);

/* Subroutine forms of the BLAS functions, as the system's libblas.so.3
 * exports them: each stores the function's value in its last argument
 * (ddotsub_(n, x, incx, y, incy, &dot) is dot = ddot_(...)). Present for
 * programs linked against that library; the functions serve new code. */
#define QOR_BLAS_SUBROUTINES_DECLARE(INT, SFX)                                                                  \
  void sdotsub##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy, float* v);  \
  void ddotsub##SFX(const INT* n, const double* x, const INT* incx, const double* y, const INT* incy,           \
                    double* v);                                                                                 \
  void sdsdotsub##SFX(const INT* n, const float* sb, const float* x, const INT* incx, const float* y,            \
                      const INT* incy, float* v);                                                               \
  void dsdotsub##SFX(const INT* n, const float* x, const INT* incx, const float* y, const INT* incy, double* v); \
  void cdotcsub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy, void* v);    \
  void cdotusub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy, void* v);    \
  void zdotcsub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy, void* v);    \
  void zdotusub##SFX(const INT* n, const void* x, const INT* incx, const void* y, const INT* incy, void* v);    \
  void snrm2sub##SFX(const INT* n, const float* x, const INT* incx, float* v);                                 \
  void dnrm2sub##SFX(const INT* n, const double* x, const INT* incx, double* v);                               \
  void scnrm2sub##SFX(const INT* n, const void* x, const INT* incx, float* v);                                 \
  void dznrm2sub##SFX(const INT* n, const void* x, const INT* incx, double* v);                                \
  void sasumsub##SFX(const INT* n, const float* x, const INT* incx, float* v);                                 \
  void dasumsub##SFX(const INT* n, const double* x, const INT* incx, double* v);                               \
  void scasumsub##SFX(const INT* n, const void* x, const INT* incx, float* v);                                 \
  void dzasumsub##SFX(const INT* n, const void* x, const INT* incx, double* v);                                \
  void isamaxsub##SFX(const INT* n, const float* x, const INT* incx, INT* v);                                  \
  void idamaxsub##SFX(const INT* n, const double* x, const INT* incx, INT* v);                                 \
  void icamaxsub##SFX(const INT* n, const void* x, const INT* incx, INT* v);                                   \
  void izamaxsub##SFX(const INT* n, const void* x, const INT* incx, INT* v);
QOR_BLAS_SUBROUTINES_DECLARE(int, _)
QOR_BLAS_SUBROUTINES_DECLARE(int64_t, _64_)
void scabs1sub_(const void* z, float* v);
void dcabs1sub_(const void* z, double* v);

/* Flags the reference CBLAS layer exports for an application's own
 * cblas_xerbla; qor's CBLAS leaves them 0. */
extern int CBLAS_CallFromC;
extern int RowMajorStrg;

#ifdef __cplusplus
}
#endif

#if defined(__has_include)
#if __has_include("qor/blas_level1.h")
#include "qor/blas_level1.h"
#endif
#if __has_include("qor/blas_level2.h")
#include "qor/blas_level2.h"
#endif
#if __has_include("qor/blas_gemm.h")
#include "qor/blas_gemm.h"
#endif
#if __has_include("qor/blas_level3_ext.h")
#include "qor/blas_level3_ext.h"
#endif
#endif

#endif
