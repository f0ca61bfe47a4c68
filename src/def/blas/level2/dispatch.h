// Dispatching names of the Level 2 BLAS, defined by the core library.
//
// Kernels of other subsystems that need a Level 2 routine call these, never
// a qor_blas_def_* body: the core chooses the implementation again. They take
// the arguments of the reference routine, all by pointer, with 64-bit
// integers, and check nothing: the caller passes valid arguments. The core
// includes this header for its definitions, so a signature is written once.
#pragma once
#include <cstdint>

#include "frame/types.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_L2_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_L2_DISPATCH extern "C"
#endif

#define QOR_L2D_I const std::int64_t*

#define QOR_L2D_GEMV(t, T)                                                                                   \
  QOR_L2_DISPATCH void qor_blas_##t##gemv(const char* trans, QOR_L2D_I m, QOR_L2D_I n, const T* alpha,      \
                                          const T* a, QOR_L2D_I lda, const T* x, QOR_L2D_I incx,            \
                                          const T* beta, T* y, QOR_L2D_I incy);
QOR_FOR_EACH_TYPE(QOR_L2D_GEMV)
