// The interface of the threaded and tuned members of the library family.
// In this member it is empty: the hooks do nothing or answer 0, so a core
// that looks for a parallel or kernel-level GEMM here finds none and calls
// the sequential entry. The kernel-level interface versions answer 1.
#include "blas/gemm/api.h"

#define QOR_GEMM_STUB_DEFS(t, T)                                      \
  QOR_DEF_API void qor_blas_def_##t##gemm_zero_desc(void) {}          \
  QOR_DEF_API void qor_blas_def_##t##gemm_get_optimal_kernel(void) {} \
  QOR_DEF_API void qor_blas_def_##t##gemm_get_blks_size(void) {}      \
  QOR_DEF_API void qor_blas_def_##t##gemm_set_blks_size(void) {}      \
  QOR_DEF_API void qor_blas_def_##t##gemm_num_kernels(void) {}        \
  QOR_DEF_API void qor_blas_def_##t##gemm_free_bufs(void) {}          \
  QOR_DEF_API int qor_blas_def_x##t##gemm_par(void) { return 0; }     \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_bufs_size(void) { return 0; } \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_kernel(void) { return 0; } \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_bufs(void) { return 0; } \
  QOR_DEF_API void qor_blas_def_##t##gemm_map_thread_to_kernel(void) {} \
  QOR_DEF_API void qor_blas_def_##t##gemm_initialize_buffers(void) {} \
  QOR_DEF_API void qor_blas_def_##t##gemm_initialize_kernel_info(void) {} \
  QOR_DEF_API void qor_blas_def_x##t##gemm_internal(void) {}          \
  QOR_DEF_API void qor_blas_def_x##t##gemm_internal_team(void) {}     \
  QOR_DEF_API int qor_blas_def_##t##gemm_api_support(void) { return 0; }
QOR_FOR_EACH_TYPE(QOR_GEMM_STUB_DEFS)

QOR_DEF_API int qor_blas_def_get_kernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_ikernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_bkernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_fkernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_hkernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_e4m3kernel_api_version(void) { return 1; }
QOR_DEF_API int qor_blas_def_get_e5m2kernel_api_version(void) { return 1; }
