// Exported names of the single-precision and complex GEMM members (s, c, z).
//
// Every family is one template instantiated for the three letters; the
// declarations below paste the letter into each name. All arguments follow
// the reference BLAS form: scalars by pointer, options as one-letter
// pointers, 64-bit integers.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "frame/types.h"

// The GEMM argument list of element type T.
#define QOR_GEMM_SCZ_ARGS(T)                                                                         \
  const char *transa, const char *transb, const std::int64_t *m, const std::int64_t *n,             \
      const std::int64_t *k, const T *alpha, const T *a, const std::int64_t *lda, const T *b,       \
      const std::int64_t *ldb, const T *beta, T *c, const std::int64_t *ldc

// Packing of one block of op(A) (rows x depth, multiplied by alpha) or of
// op(B) (depth x columns) into a panel.
#define QOR_GEMM_SCZ_COPYA(T) \
  const std::int64_t *rows, const std::int64_t *depth, const T *a, const std::int64_t *lda, T *panel, const T *alpha
#define QOR_GEMM_SCZ_COPYB(T) \
  const std::int64_t *depth, const std::int64_t *cols, const T *b, const std::int64_t *ldb, T *panel

// The 128-bit inner kernels: m x n of C from two panels of (padded) depth k.
// `beta` is read by the _b_roll form only; the others are handed a pointer
// to zero. The expanded-B area is the kernel's scratch. Alpha is already in
// the A panel.
#define QOR_GEMM_SCZ_INNER(T)                                                                      \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, const T *a, const T *b,    \
      const T *beta, T *c, const std::int64_t *ldc, T *expanded, const T *alpha

// The 256-bit kernels of the tuned bodies: C = beta * C + A B for any m, n
// (own row and column tails) and exact depth k; a beta of 0 never reads C.
#define QOR_GEMM_SCZ_KERNEL(T)                                                                     \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, const T *a, const T *b,    \
      const T *beta, T *c, const std::int64_t *ldc

// Strip copies of the tuned bodies: one strip of at most the named width
// over `depth` steps. The A forms scale by alpha, the B forms copy.
#define QOR_GEMM_SCZ_STRIPA(T) \
  const std::int64_t *width, const std::int64_t *depth, const T *src, const std::int64_t *ld, T *dst, const T *alpha
#define QOR_GEMM_SCZ_STRIPB(T) \
  const std::int64_t *width, const std::int64_t *depth, const T *src, const std::int64_t *ld, T *dst

// Blocking rules: pointers to m, n, k, the three blocks (filled where zero)
// and the three unrolls (always stored).
#define QOR_GEMM_SCZ_BLK_ARGS                                                                      \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, std::int64_t *mb,           \
      std::int64_t *nb, std::int64_t *kb, std::int64_t *mr, std::int64_t *nr, std::int64_t *kr
// Work areas: blocks in, raw pointer and panel placements out.
#define QOR_GEMM_SCZ_GETBUFS_ARGS                                                                  \
  const std::int64_t *mb, const std::int64_t *nb, const std::int64_t *kb, void **raw, void **apanel, \
      void **bpanel, void **extra

#define QOR_GEMM_SCZ_DECLARE(x, T)                                                                 \
  QOR_DEF_API void qor_blas_def_x##x##gemm(QOR_GEMM_SCZ_ARGS(T));                                  \
  QOR_DEF_API void qor_blas_def_x##x##gemm_bdz(QOR_GEMM_SCZ_ARGS(T));                              \
  QOR_DEF_API void qor_blas_def_##x##gemm_pst(QOR_GEMM_SCZ_ARGS(T));                               \
  QOR_DEF_API void qor_blas_def_##x##gemm_zerom(const std::int64_t *m, const std::int64_t *n,      \
                                                 T *c, const std::int64_t *ldc);                   \
  QOR_DEF_API void qor_blas_def_##x##gemm_scalm(const std::int64_t *m, const std::int64_t *n,      \
                                                 const T *beta, T *c, const std::int64_t *ldc);    \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan(QOR_GEMM_SCZ_COPYA(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat(QOR_GEMM_SCZ_COPYA(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn(QOR_GEMM_SCZ_COPYB(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt(QOR_GEMM_SCZ_COPYB(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner(QOR_GEMM_SCZ_INNER(T));                            \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_roll(QOR_GEMM_SCZ_INNER(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_b_roll(QOR_GEMM_SCZ_INNER(T));                     \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_z_roll(QOR_GEMM_SCZ_INNER(T));                     \
  QOR_DEF_API void qor_blas_def_##x##gemm_blk_info_bdz(QOR_GEMM_SCZ_BLK_ARGS);                     \
  QOR_DEF_API void qor_blas_def_##x##gemm_getbufs_bdz(QOR_GEMM_SCZ_GETBUFS_ARGS);                  \
  QOR_DEF_API void qor_blas_def_##x##gemm_freebufs_bdz(void *raw);                                 \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan_bdz(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat_bdz(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn_bdz(QOR_GEMM_SCZ_COPYB(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt_bdz(QOR_GEMM_SCZ_COPYB(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_bdz(QOR_GEMM_SCZ_KERNEL(T));                    \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_zen(QOR_GEMM_SCZ_KERNEL(T));

#define QOR_GEMM_SCZ_DECLARE_COMPLEX(x, T)                                                         \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac(QOR_GEMM_SCZ_COPYA(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc(QOR_GEMM_SCZ_COPYB(T));                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac_bdz(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc_bdz(QOR_GEMM_SCZ_COPYB(T));                       \
  QOR_DEF_API void qor_blas_def_x##x##gemm_brc(QOR_GEMM_SCZ_ARGS(T));                              \
  QOR_DEF_API void qor_blas_def_##x##gemm_get_blks_size_brc(                                       \
      const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, std::int64_t *mb,       \
      std::int64_t *kb);                                                                           \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_brc(QOR_GEMM_SCZ_INNER(T));                     \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan_brc(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat_brc(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac_brc(QOR_GEMM_SCZ_COPYA(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn_brc(QOR_GEMM_SCZ_COPYB(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt_brc(QOR_GEMM_SCZ_COPYB(T));                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc_brc(QOR_GEMM_SCZ_COPYB(T));

QOR_GEMM_SCZ_DECLARE(s, float)
QOR_GEMM_SCZ_DECLARE(c, ::qor::c32)
QOR_GEMM_SCZ_DECLARE(z, ::qor::c64)
QOR_GEMM_SCZ_DECLARE_COMPLEX(c, ::qor::c32)
QOR_GEMM_SCZ_DECLARE_COMPLEX(z, ::qor::c64)

// Strip copies of the tuned bodies ("down" walks a source column, "right" a
// source row; the number is the strip width; cc / zc conjugate).
QOR_DEF_API void qor_blas_def_sgemm_scopy_down16_bdz(QOR_GEMM_SCZ_STRIPA(float));
QOR_DEF_API void qor_blas_def_sgemm_scopy_right16_bdz(QOR_GEMM_SCZ_STRIPA(float));
QOR_DEF_API void qor_blas_def_sgemm_scopy_down4_bdz(QOR_GEMM_SCZ_STRIPB(float));
QOR_DEF_API void qor_blas_def_sgemm_scopy_right4_bdz(QOR_GEMM_SCZ_STRIPB(float));
QOR_DEF_API void qor_blas_def_cgemm_ccopy_down8_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c32));
QOR_DEF_API void qor_blas_def_cgemm_ccopy_right8_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c32));
QOR_DEF_API void qor_blas_def_cgemm_cccopy_right8_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c32));
QOR_DEF_API void qor_blas_def_cgemm_ccopy_down2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c32));
QOR_DEF_API void qor_blas_def_cgemm_ccopy_right2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c32));
QOR_DEF_API void qor_blas_def_cgemm_cccopy_down2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c32));
QOR_DEF_API void qor_blas_def_zgemm_zcopy_down4_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c64));
QOR_DEF_API void qor_blas_def_zgemm_zcopy_right4_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c64));
QOR_DEF_API void qor_blas_def_zgemm_zccopy_right4_bdz(QOR_GEMM_SCZ_STRIPA(::qor::c64));
QOR_DEF_API void qor_blas_def_zgemm_zcopy_down2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c64));
QOR_DEF_API void qor_blas_def_zgemm_zcopy_right2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c64));
QOR_DEF_API void qor_blas_def_zgemm_zccopy_down2_bdz(QOR_GEMM_SCZ_STRIPB(::qor::c64));

// Barcelona bodies of the s member. The first digit picks the kernel family
// and its blocking rule, the second whether B is packed in a separate pass
// (0) or inside the kernel (1). xsgemm0_brc and xsgemm1_brc forward to the
// _0 forms; the entry uses xsgemm1_brc.
QOR_DEF_API void qor_blas_def_xsgemm0_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_xsgemm1_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_xsgemm0_0_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_xsgemm0_1_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_xsgemm1_0_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_xsgemm1_1_brc(QOR_GEMM_SCZ_ARGS(float));
QOR_DEF_API void qor_blas_def_sgemm_blk_info_0_brc(QOR_GEMM_SCZ_BLK_ARGS);
QOR_DEF_API void qor_blas_def_sgemm_blk_info_1_brc(QOR_GEMM_SCZ_BLK_ARGS);
// Work area of the s Barcelona bodies, as dgemm_getbufs_brc: a row block of
// zero asks for no A panel, a column block of zero for no B panel.
QOR_DEF_API void qor_blas_def_sgemm_getbufs_brc(QOR_GEMM_SCZ_GETBUFS_ARGS);
QOR_DEF_API void qor_blas_def_sgemm_freebufs_brc(void *raw);
// Kernels with packed B (_0) and with B packed from its source inside (_1).
QOR_DEF_API void qor_blas_def_sgemm_kernel0_0_brc(QOR_GEMM_SCZ_INNER(float));
QOR_DEF_API void qor_blas_def_sgemm_kernel1_0_brc(QOR_GEMM_SCZ_INNER(float));
QOR_DEF_API void qor_blas_def_sgemm_kernel0_1_brc(const char *transb, const std::int64_t *m, const std::int64_t *n,
                                                  const std::int64_t *k, const float *a, const float *b,
                                                  const std::int64_t *ldb, const float *beta, float *c,
                                                  const std::int64_t *ldc, float *expanded);
QOR_DEF_API void qor_blas_def_sgemm_copyan_0_brc(QOR_GEMM_SCZ_COPYA(float));
QOR_DEF_API void qor_blas_def_sgemm_copyat_0_brc(QOR_GEMM_SCZ_COPYA(float));
QOR_DEF_API void qor_blas_def_sgemm_copyan_1_brc(QOR_GEMM_SCZ_COPYA(float));
QOR_DEF_API void qor_blas_def_sgemm_copyat_1_brc(QOR_GEMM_SCZ_COPYA(float));
QOR_DEF_API void qor_blas_def_sgemm_copyan_1_0_brc(QOR_GEMM_SCZ_COPYA(float));
QOR_DEF_API void qor_blas_def_sgemm_copybn_brc(QOR_GEMM_SCZ_COPYB(float));
QOR_DEF_API void qor_blas_def_sgemm_copybt_brc(QOR_GEMM_SCZ_COPYB(float));
QOR_DEF_API void qor_blas_def_sgemm_copybn_0_brc(QOR_GEMM_SCZ_COPYB(float));
QOR_DEF_API void qor_blas_def_sgemm_copybt_0_brc(QOR_GEMM_SCZ_COPYB(float));
