// The dispatching GEMM names of the core library, all four types.
//
// A kernel that needs a matrix product (TRSM, the LAPACK kernels) calls this,
// never a qor_blas_def_* body: the core chooses the body again and may run it
// on several threads. It takes the arguments of the reference routine, all by
// pointer, with 64-bit integers, and checks nothing. The core includes this
// header for its definitions; the signature comes from signatures.h.
#pragma once
#include "blas/gemm/signatures.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_GEMM_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_GEMM_DISPATCH extern "C"
#endif

#define QOR_GEMM_DISPATCH_DECL(t, T) QOR_GEMM_DISPATCH ::qor::gemm_sig::gemm_fn<T> qor_blas_##t##gemm;
QOR_FOR_EACH_TYPE(QOR_GEMM_DISPATCH_DECL)
#undef QOR_GEMM_DISPATCH_DECL
