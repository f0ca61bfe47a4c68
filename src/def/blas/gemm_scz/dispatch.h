// The dispatching GEMM names of the s, c, z members, defined by the core
// library. A kernel that needs one of these products calls it, never a
// qor_blas_def_* body: the core chooses the body again and may run it on
// several threads. Reference arguments, all by pointer, 64-bit integers,
// nothing checked. The core includes this header for its definitions.
#pragma once
#include <cstdint>

#include "frame/types.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_GEMM_SCZ_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_GEMM_SCZ_DISPATCH extern "C"
#endif

#define QOR_GEMM_SCZ_DISPATCH_DECL(x, T)                                                                     \
  QOR_GEMM_SCZ_DISPATCH void qor_blas_##x##gemm(                                                             \
      const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,                 \
      const std::int64_t* k, const T* alpha, const T* a, const std::int64_t* lda, const T* b,               \
      const std::int64_t* ldb, const T* beta, T* c, const std::int64_t* ldc);
QOR_GEMM_SCZ_DISPATCH_DECL(s, float)
QOR_GEMM_SCZ_DISPATCH_DECL(c, ::qor::c32)
QOR_GEMM_SCZ_DISPATCH_DECL(z, ::qor::c64)
