// Exported names of GEMM, all four types: the entries and the processor
// bodies, the pieces on C, the blocking rules and work areas, the packing
// routines, the kernels, and the empty interface of the threaded members.
//
// Signatures come from signatures.h; the names are listed in
// exports/blas_gemm.txt. Nothing here checks its arguments: the core does.
// A kernel of this library that needs a product calls the entry of its type
// (qor_blas_def_x?gemm) directly; see dispatch.h for why.
#pragma once
#include <cstdint>

#include "blas/gemm/signatures.h"
#include "frame/export.h"
#include "frame/types.h"

#define QOR_GEMM_DECLARE(fn, name) QOR_DEF_API ::qor::gemm_sig::fn qor_blas_def_##name;
#define QOR_GEMM_COMMA ,

// Parameter lists for the definitions; the declarations below fix the
// types, so a definition that strays from them does not compile.
#define QOR_GEMM_ARGS(T)                                                                                   \
  const char *transa, const char *transb, const std::int64_t *m, const std::int64_t *n,                 \
      const std::int64_t *k, const T *alpha, const T *a, const std::int64_t *lda, const T *b,           \
      const std::int64_t *ldb, const T *beta, T *c, const std::int64_t *ldc
#define QOR_GEMM_COPYA_ARGS(T) \
  const std::int64_t *rows, const std::int64_t *depth, const T *a, const std::int64_t *lda, T *panel, const T *alpha
#define QOR_GEMM_COPYB_ARGS(T) \
  const std::int64_t *depth, const std::int64_t *cols, const T *b, const std::int64_t *ldb, T *panel
#define QOR_GEMM_BLK_INFO_ARGS                                                                            \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, std::int64_t *mb, std::int64_t *nb, \
      std::int64_t *kb, std::int64_t *mu, std::int64_t *nu, std::int64_t *ku
#define QOR_GEMM_GETBUFS_ARGS(P)                                                                          \
  const std::int64_t *mb, const std::int64_t *nb, const std::int64_t *kb, void **raw, P **apanel,         \
      P **bpanel, P **extra
#define QOR_GEMM_INNER_ARGS                                                                                \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *depth, const double *apanel,           \
      const double *bpanel, const std::int64_t *zero, double *c, const std::int64_t *ldc, double *expanded, \
      const double *alpha
#define QOR_GEMM_KERNEL_B_ARGS                                                                             \
  const char *transb, const std::int64_t *m, const std::int64_t *n, const std::int64_t *depth,             \
      const double *apanel, const double *b, const std::int64_t *ldb, double *c, const std::int64_t *ldc,   \
      double *expanded, const double *alpha
#define QOR_GEMM_SSE_INNER_ARGS(T)                                                                 \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, const T *a, const T *b,    \
      const T *beta, T *c, const std::int64_t *ldc, T *expanded, const T *alpha
#define QOR_GEMM_KERNEL_ARGS(T)                                                                    \
  const std::int64_t *m, const std::int64_t *n, const std::int64_t *k, const T *a, const T *b,    \
      const T *beta, T *c, const std::int64_t *ldc
#define QOR_GEMM_STRIPA_ARGS(T) \
  const std::int64_t *width, const std::int64_t *depth, const T *src, const std::int64_t *ld, T *dst, const T *alpha
#define QOR_GEMM_STRIPB_ARGS(T) \
  const std::int64_t *width, const std::int64_t *depth, const T *src, const std::int64_t *ld, T *dst

// ---- Entries and bodies, every type ---------------------------------------------
// The entry: quick return and the choice of body; the Bulldozer/Zen body;
// the unpacked kernel for small and thin products (needs no memory).
#define QOR_GEMM_DECLARE_T(t, T)                                  \
  QOR_GEMM_DECLARE(gemm_fn<T>, x##t##gemm)                        \
  QOR_GEMM_DECLARE(gemm_fn<T>, x##t##gemm_bdz)                    \
  QOR_GEMM_DECLARE(gemm_fn<T>, t##gemm_pst)
QOR_FOR_EACH_TYPE(QOR_GEMM_DECLARE_T)
#undef QOR_GEMM_DECLARE_T

// ---- d --------------------------------------------------------------------------------
// The Bulldozer/Zen body's twin with the blocking rule for many threads.
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm_hi_thr_bdz)
// Barcelona bodies: <kernel family>_<where B is packed: 0 separately, 1 in
// the kernel>, and the two forwarders to the _0 form of each family. The
// entry uses xdgemm1_brc.
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm0_brc)
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm1_brc)
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm0_0_brc)
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm0_1_brc)
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm1_0_brc)
QOR_GEMM_DECLARE(gemm_fn<double>, xdgemm1_1_brc)

// C = beta * C (beta 0 stores zeros without reading C): four columns at a
// time for the baseline body, two for the tuned bodies.
QOR_GEMM_DECLARE(scale_fn<double>, dgemm_scalm)
QOR_GEMM_DECLARE(scale_fn<double>, dgemm_mscale)

// Blocking rules: the unrolls are stored; a block is filled where it is
// zero (dgemm_blk_info_0_brc stores all three).
QOR_GEMM_DECLARE(blk_info_fn, dgemm_blk_info_bdz)
QOR_GEMM_DECLARE(blk_info_fn, dgemm_blk_info_hi_thr_bdz)
QOR_GEMM_DECLARE(blk_info_fn, dgemm_blk_info_0_brc)
QOR_GEMM_DECLARE(blk_info_fn, dgemm_blk_info_1_brc)
// Work areas; freebufs gives the raw pointer back.
QOR_GEMM_DECLARE(getbufs_fn<double>, dgemm_getbufs_bdz)
QOR_GEMM_DECLARE(getbufs_fn<double>, dgemm_getbufs_brc)
QOR_GEMM_DECLARE(freebufs_fn, dgemm_freebufs_bdz)
QOR_GEMM_DECLARE(freebufs_fn, dgemm_freebufs_brc)

// Packing. Baseline: A in strips of 2 rows, B in strips of 12 columns then
// one of 8 or 4; depth padded to a multiple of 4 with zeros.
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyan)
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyat)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybn)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybt)
// Bulldozer/Zen: A in strips of 12 rows, B in strips of 4 columns; depth
// padded to even with zeros.
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyan_bdz)
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyat_bdz)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybn_bdz)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybt_bdz)
// Barcelona: A in strips of 4 rows (family 0 pads the last strip with zero
// rows, family 1 packs it at its own width), B in strips of 4 columns with a
// narrower last strip; depth padded to a multiple of 4 with zeros.
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyan_0_brc)
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyat_0_brc)
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyan_1_brc)
QOR_GEMM_DECLARE(copy_a_fn<double>, dgemm_copyat_1_brc)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybn_brc)
QOR_GEMM_DECLARE(copy_b_fn<double>, dgemm_copybt_brc)

// Kernels. Baseline: m even, n a multiple of 4, depth a multiple of 4 up to
// 128; inner_general always runs depth 128.
QOR_GEMM_DECLARE(d_inner_fn, dgemm_inner)
QOR_GEMM_DECLARE(d_inner_fn, dgemm_inner_general)
// Bulldozer/Zen: m a multiple of 12, n of 4.
QOR_GEMM_DECLARE(d_kernel_fn, dgemm_kernel_bdz)
QOR_GEMM_DECLARE(d_kernel_fn, dgemm_kernel_zen)
// Barcelona, B packed beforehand: any m and n (tails of 1 to 3 inside),
// depth a multiple of 4; and B expanded from its source inside, any depth.
QOR_GEMM_DECLARE(d_inner_fn, dgemm_kernel0_0_brc)
QOR_GEMM_DECLARE(d_inner_fn, dgemm_kernel1_0_brc)
QOR_GEMM_DECLARE(d_inner_b_fn, dgemm_kernel0_1_brc)
QOR_GEMM_DECLARE(d_inner_b_fn, dgemm_kernel1_1_brc)

// ---- s, c, z ----------------------------------------------------------------------------
// The baseline pieces: C = 0 and C = beta C; packing into the 128-bit
// strips; the 128-bit kernel, whose _roll forms round the depth up to 4 and
// apply beta as 1 (_roll), 0 without reading C (_z_roll) or any (_b_roll).
// The tuned pieces: blocking rule, work area, packing into the 256-bit
// strips, and the 256-bit kernel built for each class.
#define QOR_GEMM_DECLARE_SCZ(t, T)                                      \
  QOR_GEMM_DECLARE(zero_fn<T>, t##gemm_zerom)                           \
  QOR_GEMM_DECLARE(scale_fn<T>, t##gemm_scalm)                          \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyan)                        \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyat)                        \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybn)                        \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybt)                        \
  QOR_GEMM_DECLARE(inner_fn<T>, t##gemm_inner)                          \
  QOR_GEMM_DECLARE(inner_fn<T>, t##gemm_inner_roll)                     \
  QOR_GEMM_DECLARE(inner_fn<T>, t##gemm_inner_b_roll)                   \
  QOR_GEMM_DECLARE(inner_fn<T>, t##gemm_inner_z_roll)                   \
  QOR_GEMM_DECLARE(blk_info_fn, t##gemm_blk_info_bdz)                   \
  QOR_GEMM_DECLARE(getbufs_fn<void>, t##gemm_getbufs_bdz)               \
  QOR_GEMM_DECLARE(freebufs_fn, t##gemm_freebufs_bdz)                   \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyan_bdz)                    \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyat_bdz)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybn_bdz)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybt_bdz)                    \
  QOR_GEMM_DECLARE(kernel_fn<T>, t##gemm_kernel_0_bdz)                  \
  QOR_GEMM_DECLARE(kernel_fn<T>, t##gemm_kernel_0_zen)
QOR_GEMM_DECLARE_SCZ(s, float)
QOR_GEMM_DECLARE_SCZ(c, ::qor::c32)
QOR_GEMM_DECLARE_SCZ(z, ::qor::c64)
#undef QOR_GEMM_DECLARE_SCZ

// The complex members: the conjugating copies of every body, and the
// Barcelona body with its blocking rule, kernel and copies.
#define QOR_GEMM_DECLARE_COMPLEX(t, T)                                  \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyac)                        \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybc)                        \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyac_bdz)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybc_bdz)                    \
  QOR_GEMM_DECLARE(gemm_fn<T>, x##t##gemm_brc)                          \
  QOR_GEMM_DECLARE(blks_size_fn, t##gemm_get_blks_size_brc)             \
  QOR_GEMM_DECLARE(inner_fn<T>, t##gemm_kernel_0_brc)                   \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyan_brc)                    \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyat_brc)                    \
  QOR_GEMM_DECLARE(copy_a_fn<T>, t##gemm_copyac_brc)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybn_brc)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybt_brc)                    \
  QOR_GEMM_DECLARE(copy_b_fn<T>, t##gemm_copybc_brc)
QOR_FOR_EACH_COMPLEX_TYPE(QOR_GEMM_DECLARE_COMPLEX)
#undef QOR_GEMM_DECLARE_COMPLEX

// Strip copies of the tuned bodies ("down" walks a source column, "right" a
// source row; the number is the strip width; cc / zc conjugate).
QOR_GEMM_DECLARE(strip_a_fn<float>, sgemm_scopy_down16_bdz)
QOR_GEMM_DECLARE(strip_a_fn<float>, sgemm_scopy_right16_bdz)
QOR_GEMM_DECLARE(strip_b_fn<float>, sgemm_scopy_down4_bdz)
QOR_GEMM_DECLARE(strip_b_fn<float>, sgemm_scopy_right4_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c32>, cgemm_ccopy_down8_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c32>, cgemm_ccopy_right8_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c32>, cgemm_cccopy_right8_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c32>, cgemm_ccopy_down2_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c32>, cgemm_ccopy_right2_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c32>, cgemm_cccopy_down2_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c64>, zgemm_zcopy_down4_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c64>, zgemm_zcopy_right4_bdz)
QOR_GEMM_DECLARE(strip_a_fn<::qor::c64>, zgemm_zccopy_right4_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c64>, zgemm_zcopy_down2_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c64>, zgemm_zcopy_right2_bdz)
QOR_GEMM_DECLARE(strip_b_fn<::qor::c64>, zgemm_zccopy_down2_bdz)

// Barcelona bodies of the s member, named as the d ones; the entry uses
// xsgemm1_brc.
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm0_brc)
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm1_brc)
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm0_0_brc)
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm0_1_brc)
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm1_0_brc)
QOR_GEMM_DECLARE(gemm_fn<float>, xsgemm1_1_brc)
QOR_GEMM_DECLARE(blk_info_fn, sgemm_blk_info_0_brc)
QOR_GEMM_DECLARE(blk_info_fn, sgemm_blk_info_1_brc)
// Work area as dgemm_getbufs_brc: a row block of zero asks for no A panel, a
// column block of zero for no B panel.
QOR_GEMM_DECLARE(getbufs_fn<void>, sgemm_getbufs_brc)
QOR_GEMM_DECLARE(freebufs_fn, sgemm_freebufs_brc)
// Kernels with packed B (_0) and with B packed from its source inside (_1).
QOR_GEMM_DECLARE(inner_fn<float>, sgemm_kernel0_0_brc)
QOR_GEMM_DECLARE(inner_fn<float>, sgemm_kernel1_0_brc)
QOR_GEMM_DECLARE(s_inner_b_fn, sgemm_kernel0_1_brc)
QOR_GEMM_DECLARE(copy_a_fn<float>, sgemm_copyan_0_brc)
QOR_GEMM_DECLARE(copy_a_fn<float>, sgemm_copyat_0_brc)
QOR_GEMM_DECLARE(copy_a_fn<float>, sgemm_copyan_1_brc)
QOR_GEMM_DECLARE(copy_a_fn<float>, sgemm_copyat_1_brc)
QOR_GEMM_DECLARE(copy_a_fn<float>, sgemm_copyan_1_0_brc)
QOR_GEMM_DECLARE(copy_b_fn<float>, sgemm_copybn_brc)
QOR_GEMM_DECLARE(copy_b_fn<float>, sgemm_copybt_brc)
QOR_GEMM_DECLARE(copy_b_fn<float>, sgemm_copybn_0_brc)
QOR_GEMM_DECLARE(copy_b_fn<float>, sgemm_copybt_0_brc)

// ---- The interface of the threaded and tuned members ------------------------------
// Present for every letter so that a core looking them up finds them; in
// this member they do nothing (see stubs.cpp).
#define QOR_GEMM_STUB_DECLS(t, T)                                    \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_zero_desc)                       \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_get_optimal_kernel)              \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_get_blks_size)                   \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_set_blks_size)                   \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_num_kernels)                     \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_free_bufs)                       \
  QOR_GEMM_DECLARE(answer_fn, x##t##gemm_par)                        \
  QOR_GEMM_DECLARE(answer_fn, t##gemm_get_bufs_size)                 \
  QOR_GEMM_DECLARE(answer_fn, t##gemm_get_kernel)                    \
  QOR_GEMM_DECLARE(answer_fn, t##gemm_get_bufs)                      \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_map_thread_to_kernel)            \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_initialize_buffers)              \
  QOR_GEMM_DECLARE(hook_fn, t##gemm_initialize_kernel_info)          \
  QOR_GEMM_DECLARE(hook_fn, x##t##gemm_internal)                     \
  QOR_GEMM_DECLARE(hook_fn, x##t##gemm_internal_team)                \
  QOR_GEMM_DECLARE(answer_fn, t##gemm_api_support)
QOR_FOR_EACH_TYPE(QOR_GEMM_STUB_DECLS)
#undef QOR_GEMM_STUB_DECLS

// Versions of the kernel-level interfaces: 1 for each.
QOR_GEMM_DECLARE(answer_fn, get_kernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_ikernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_bkernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_fkernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_hkernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_e4m3kernel_api_version)
QOR_GEMM_DECLARE(answer_fn, get_e5m2kernel_api_version)
