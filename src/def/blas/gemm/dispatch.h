// The dispatching GEMM name of the core library.
//
// A kernel that needs a matrix product (TRSM, the LAPACK kernels) calls this,
// never a qor_blas_def_* body: the core chooses the body again and may run it
// on several threads. It takes the arguments of the reference routine, all by
// pointer, with 64-bit integers, and checks nothing. The core includes this
// header for its definition, so the signature is written once.
#pragma once
#include <cstdint>

#include "frame/types.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_GEMM_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_GEMM_DISPATCH extern "C"
#endif

QOR_GEMM_DISPATCH void qor_blas_dgemm(const char* transa, const char* transb, const std::int64_t* m,
                                      const std::int64_t* n, const std::int64_t* k, const double* alpha,
                                      const double* a, const std::int64_t* lda, const double* b,
                                      const std::int64_t* ldb, const double* beta, double* c,
                                      const std::int64_t* ldc);
