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
#if __has_include("qor/blas_level3.h")
#include "qor/blas_level3.h"
#endif
#if __has_include("qor/blas_gemm_scz.h")
#include "qor/blas_gemm_scz.h"
#endif
#if __has_include("qor/blas_level3_ext.h")
#include "qor/blas_level3_ext.h"
#endif
#endif

#endif
