// The Zen-class kernels of the tuned s, c, z bodies (AVX2 + FMA build).
#include "blas/gemm/api.h"
#include "blas/gemm/kernel_avx.h"

namespace g = qor::zen::gemm_scz;

#define QOR_GEMM_SCZ_ZEN(x, E)                                                  \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_zen(QOR_GEMM_KERNEL_ARGS(E)) { \
    g::avx_kernel<E>(*m, *n, *k, a, b, *beta, c, *ldc);                          \
  }

QOR_GEMM_SCZ_ZEN(s, float)
QOR_GEMM_SCZ_ZEN(c, ::qor::c32)
QOR_GEMM_SCZ_ZEN(z, ::qor::c64)
