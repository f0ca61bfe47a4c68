/*
 * The CBLAS interface of qor, with the usual names (cblas_daxpy, ...) and
 * 64-bit integer twins with the suffix _64 (cblas_daxpy_64). Existing
 * programs written for CBLAS compile unchanged against this header.
 */
#ifndef QOR_CBLAS_H
#define QOR_CBLAS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum CBLAS_ORDER { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_ORDER;
typedef CBLAS_ORDER CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;
typedef enum CBLAS_UPLO { CblasUpper = 121, CblasLower = 122 } CBLAS_UPLO;
typedef enum CBLAS_DIAG { CblasNonUnit = 131, CblasUnit = 132 } CBLAS_DIAG;
typedef enum CBLAS_SIDE { CblasLeft = 141, CblasRight = 142 } CBLAS_SIDE;

/* Reports a bad argument of a CBLAS routine; an application may replace it. */
void cblas_xerbla(int arg, const char* routine, const char* form, ...);

#ifdef __cplusplus
}
#endif

#if defined(__has_include)
#if __has_include("qor/cblas_level1.h")
#include "qor/cblas_level1.h"
#endif
#if __has_include("qor/cblas_level2.h")
#include "qor/cblas_level2.h"
#endif
#if __has_include("qor/cblas_gemm.h")
#include "qor/cblas_gemm.h"
#endif
#if __has_include("qor/cblas_level3_ext.h")
#include "qor/cblas_level3_ext.h"
#endif
#endif

#endif
