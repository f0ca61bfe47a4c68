// Exported names of the GEMM driver, its packing routines and its kernels.
//
// All arguments follow the reference calling form: every scalar by pointer,
// options as pointers to one letter, 64-bit integers, column-major matrices.
// Nothing here checks its arguments; the core library does that.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "frame/types.h"

#define QOR_GEMM_ARGS(T)                                                                                   \
  const char *transa, const char *transb, const std::int64_t *m, const std::int64_t *n,                 \
      const std::int64_t *k, const T *alpha, const T *a, const std::int64_t *lda, const T *b,           \
      const std::int64_t *ldb, const T *beta, T *c, const std::int64_t *ldc

// ---- Entries and bodies ---------------------------------------------------

// The entry: quick returns and the choice of body; the baseline body.
QOR_DEF_API void qor_blas_def_xdgemm(QOR_GEMM_ARGS(double));
// Bulldozer and Zen body (12 x 4 FMA tile), and its twin with the blocking
// rule for many threads.
QOR_DEF_API void qor_blas_def_xdgemm_bdz(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm_hi_thr_bdz(QOR_GEMM_ARGS(double));
// Barcelona bodies: <kernel family>_<where B is packed: 0 separately, 1 in
// the kernel>, and the two forwarders to the _0 form of each family.
QOR_DEF_API void qor_blas_def_xdgemm0_brc(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm1_brc(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm0_0_brc(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm0_1_brc(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm1_0_brc(QOR_GEMM_ARGS(double));
QOR_DEF_API void qor_blas_def_xdgemm1_1_brc(QOR_GEMM_ARGS(double));

// ---- Pieces on C -----------------------------------------------------------

// C = beta * C (beta 0 stores zeros without reading C): four columns at a
// time for the baseline body, two for the tuned bodies.
QOR_DEF_API void qor_blas_def_dgemm_scalm(const std::int64_t* m, const std::int64_t* n, const double* beta,
                                          double* c, const std::int64_t* ldc);
QOR_DEF_API void qor_blas_def_dgemm_mscale(const std::int64_t* m, const std::int64_t* n, const double* beta,
                                           double* c, const std::int64_t* ldc);
// The unpacked kernel for small and thin products; needs no memory.
QOR_DEF_API void qor_blas_def_dgemm_pst(QOR_GEMM_ARGS(double));

// ---- Blocking rules and work areas ------------------------------------------
// blk_info: m, n, k, then row, column and depth block, then row, column and
// depth unroll. The unrolls are stored; a block is filled where it is zero
// (dgemm_blk_info_0_brc stores all three).
#define QOR_GEMM_BLK_INFO_ARGS                                                                            \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, std::int64_t *mb, std::int64_t *nb, \
      std::int64_t *kb, std::int64_t *mu, std::int64_t *nu, std::int64_t *ku
QOR_DEF_API void qor_blas_def_dgemm_blk_info_bdz(QOR_GEMM_BLK_INFO_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_blk_info_hi_thr_bdz(QOR_GEMM_BLK_INFO_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_blk_info_0_brc(QOR_GEMM_BLK_INFO_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_blk_info_1_brc(QOR_GEMM_BLK_INFO_ARGS);

// getbufs: row, column and depth block, then the raw pointer, the A panel,
// the B panel and the extra (expanded-B) area. All four slots are cleared
// first; on failure they stay null. freebufs gives the raw pointer back.
#define QOR_GEMM_GETBUFS_ARGS                                                                             \
  const std::int64_t *mb, const std::int64_t *nb, const std::int64_t *kb, void **raw, double **apanel,    \
      double **bpanel, double **extra
QOR_DEF_API void qor_blas_def_dgemm_getbufs_bdz(QOR_GEMM_GETBUFS_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_getbufs_brc(QOR_GEMM_GETBUFS_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_freebufs_bdz(void* raw);
QOR_DEF_API void qor_blas_def_dgemm_freebufs_brc(void* raw);

// ---- Packing -----------------------------------------------------------------
// A copies: rows, depth, source, its leading dimension, panel, alpha.
// B copies: depth, columns, source, its leading dimension, panel.
#define QOR_GEMM_COPYA_ARGS                                                                                \
  const std::int64_t *rows, const std::int64_t *depth, const double *a, const std::int64_t *lda, double *panel, \
      const double *alpha
#define QOR_GEMM_COPYB_ARGS                                                                                \
  const std::int64_t *depth, const std::int64_t *cols, const double *b, const std::int64_t *ldb, double *panel

// Baseline: A in strips of 2 rows, B in strips of 12 columns then one of 8
// or 4; depth padded to a multiple of 4 with zeros.
QOR_DEF_API void qor_blas_def_dgemm_copyan(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copyat(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybn(QOR_GEMM_COPYB_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybt(QOR_GEMM_COPYB_ARGS);
// Bulldozer/Zen: A in strips of 12 rows, B in strips of 4 columns; depth
// padded to even with zeros.
QOR_DEF_API void qor_blas_def_dgemm_copyan_bdz(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copyat_bdz(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybn_bdz(QOR_GEMM_COPYB_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybt_bdz(QOR_GEMM_COPYB_ARGS);
// Barcelona: A in strips of 4 rows (family 0 pads the last strip with zero
// rows, family 1 packs it at its own width), B in strips of 4 columns with a
// narrower last strip; depth padded to a multiple of 4 with zeros.
QOR_DEF_API void qor_blas_def_dgemm_copyan_0_brc(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copyat_0_brc(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copyan_1_brc(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copyat_1_brc(QOR_GEMM_COPYA_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybn_brc(QOR_GEMM_COPYB_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_copybt_brc(QOR_GEMM_COPYB_ARGS);

// ---- Kernels -----------------------------------------------------------------
// Baseline: m (even), n (multiple of 4), depth (multiple of 4, at most 128),
// A panel, B panel, a pointer to 0, c, ldc, the expanded-B area, the alpha
// pair (alpha lives in the packed A and is not used). C += A * B.
#define QOR_GEMM_INNER_ARGS                                                                                \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *depth, const double *apanel,           \
      const double *bpanel, const std::int64_t *zero, double *c, const std::int64_t *ldc, double *expanded, \
      const double *alpha
QOR_DEF_API void qor_blas_def_dgemm_inner(QOR_GEMM_INNER_ARGS);
// The same with no depth exits: always depth 128.
QOR_DEF_API void qor_blas_def_dgemm_inner_general(QOR_GEMM_INNER_ARGS);

// Bulldozer/Zen: one record of seven words. m a multiple of 12, n of 4.
typedef struct qor_dgemm_kernel_args {
  const double* apanel;
  const double* bpanel;
  double* c;
  std::int64_t m, n, depth, ldc;
} qor_dgemm_kernel_args;
QOR_DEF_API void qor_blas_def_dgemm_kernel_bdz(const qor_dgemm_kernel_args* args);
QOR_DEF_API void qor_blas_def_dgemm_kernel_zen(const qor_dgemm_kernel_args* args);

// Barcelona, B packed beforehand: arguments as the baseline kernel; any m
// and n (tails of 1 to 3 inside), depth a multiple of 4.
QOR_DEF_API void qor_blas_def_dgemm_kernel0_0_brc(QOR_GEMM_INNER_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_kernel1_0_brc(QOR_GEMM_INNER_ARGS);
// Barcelona, B taken from the source matrix and expanded inside: transb, m,
// n, depth (any), A panel, b, ldb, c, ldc, the expanded area, the alpha pair.
#define QOR_GEMM_KERNEL_B_ARGS                                                                             \
  const char *transb, const std::int64_t *m, const std::int64_t *n, const std::int64_t *depth,             \
      const double *apanel, const double *b, const std::int64_t *ldb, double *c, const std::int64_t *ldc,   \
      double *expanded, const double *alpha
QOR_DEF_API void qor_blas_def_dgemm_kernel0_1_brc(QOR_GEMM_KERNEL_B_ARGS);
QOR_DEF_API void qor_blas_def_dgemm_kernel1_1_brc(QOR_GEMM_KERNEL_B_ARGS);

// ---- The interface of the threaded and tuned members -------------------------
// Present for every letter so that a core looking them up finds them; in
// this member they do nothing (see stubs.cpp).
#define QOR_GEMM_STUB_DECLS(t, T)                                   \
  QOR_DEF_API void qor_blas_def_##t##gemm_zero_desc(void);          \
  QOR_DEF_API void qor_blas_def_##t##gemm_get_optimal_kernel(void); \
  QOR_DEF_API void qor_blas_def_##t##gemm_get_blks_size(void);      \
  QOR_DEF_API void qor_blas_def_##t##gemm_set_blks_size(void);      \
  QOR_DEF_API void qor_blas_def_##t##gemm_num_kernels(void);        \
  QOR_DEF_API void qor_blas_def_##t##gemm_free_bufs(void);          \
  QOR_DEF_API int qor_blas_def_x##t##gemm_par(void);                \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_bufs_size(void);       \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_kernel(void);          \
  QOR_DEF_API int qor_blas_def_##t##gemm_get_bufs(void);            \
  QOR_DEF_API void qor_blas_def_##t##gemm_map_thread_to_kernel(void); \
  QOR_DEF_API void qor_blas_def_##t##gemm_initialize_buffers(void); \
  QOR_DEF_API void qor_blas_def_##t##gemm_initialize_kernel_info(void); \
  QOR_DEF_API void qor_blas_def_x##t##gemm_internal(void);          \
  QOR_DEF_API void qor_blas_def_x##t##gemm_internal_team(void);     \
  QOR_DEF_API int qor_blas_def_##t##gemm_api_support(void);
QOR_FOR_EACH_TYPE(QOR_GEMM_STUB_DECLS)

// Versions of the kernel-level interfaces: 1 for each.
QOR_DEF_API int qor_blas_def_get_kernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_ikernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_bkernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_fkernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_hkernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_e4m3kernel_api_version(void);
QOR_DEF_API int qor_blas_def_get_e5m2kernel_api_version(void);
