// The 12 x 4 kernel of the Bulldozer/Zen body, built for the Zen class.
#include "blas/gemm/api.h"
#include "blas/gemm/kernel_12x4.h"

QOR_DEF_API void qor_blas_def_dgemm_kernel_zen(const qor_dgemm_kernel_args* args) {
  qor::QOR_ISA_NAME::gemm::kernel_12x4(args);
}
