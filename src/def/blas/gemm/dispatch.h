// The dispatching GEMM names of the core library, all four types.
//
// The core's public names reach the member through these: each call is
// split over the core's team of threads when it is large enough, every
// thread running the member's sequential entry on its own block of C. They
// take the arguments of the reference routine, all by pointer, with 64-bit
// integers, and check nothing. The core includes this header for its
// definitions, tests and benchmarks to call them; the signature comes from
// signatures.h.
//
// The kernel library never calls them. A kernel that needs a product
// (Level 3, the LAPACK kernels) calls the entry of its type,
// qor_blas_def_x?gemm (api.h), which chooses the body and runs on the
// calling thread: threads are started by the core alone, so a kernel that
// already runs on one of the core's threads never starts another team.
#pragma once
#include "blas/gemm/signatures.h"

#if defined(QOR_BUILDING_DEF)
#error "kernels call the member entries qor_blas_def_x?gemm (blas/gemm/api.h), not the core's dispatching names"
#endif

#if defined(QOR_BUILDING_CORE)
#define QOR_GEMM_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_GEMM_DISPATCH extern "C"
#endif

#define QOR_GEMM_DISPATCH_DECL(t, T) QOR_GEMM_DISPATCH ::qor::gemm_sig::gemm_fn<T> qor_blas_##t##gemm;
QOR_FOR_EACH_TYPE(QOR_GEMM_DISPATCH_DECL)
#undef QOR_GEMM_DISPATCH_DECL
