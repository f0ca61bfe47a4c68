// The Bulldozer/Zen body of the s, c, z members and its pieces (AVX + FMA
// build): the _bdz kernels, blocking rules, work areas, packing and strip
// copies.
#include "blas/gemm/api.h"
#include "blas/gemm/tuned.h"

namespace g = qor::bdz::gemm_scz;
using g::Op;
using std::int64_t;

#define QOR_GEMM_SCZ_BDZ(x, E)                                                                               \
  QOR_DEF_API void qor_blas_def_x##x##gemm_bdz(QOR_GEMM_ARGS(E)) {                                       \
    if (*m <= 0 || *n <= 0) return;                                                                          \
    g::tuned_body<E>(&qor_blas_def_##x##gemm_kernel_0_zen, &qor_blas_def_##x##gemm_kernel_0_bdz,             \
                     g::op_of<E>(transa), g::op_of<E>(transb), *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, \
                     *ldc);                                                                                  \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_bdz(QOR_GEMM_KERNEL_ARGS(E)) {                             \
    g::avx_kernel<E>(*m, *n, *k, a, b, *beta, c, *ldc);                                                      \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_blk_info_bdz(QOR_GEMM_BLK_INFO_ARGS) {                              \
    g::blk_info_avx<E>(*m, *n, *k, mb, nb, kb, mu, nu, ku);                                                  \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_getbufs_bdz(QOR_GEMM_GETBUFS_ARGS(void)) {                           \
    g::getbufs_avx<E>(*mb, *nb, *kb, raw, apanel, bpanel, extra);                                            \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_freebufs_bdz(void* raw) { qor_serv_deallocate(raw); }              \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan_bdz(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_avx(Op::N, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat_bdz(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_avx(Op::T, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn_bdz(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_avx(Op::N, *depth, *cols, b, *ldb, panel);                                                     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt_bdz(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_avx(Op::T, *depth, *cols, b, *ldb, panel);                                                     \
  }

#define QOR_GEMM_SCZ_BDZ_COMPLEX(x, E)                                                                       \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac_bdz(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_avx(Op::C, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc_bdz(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_avx(Op::C, *depth, *cols, b, *ldb, panel);                                                     \
  }

QOR_GEMM_SCZ_BDZ(s, float)
QOR_GEMM_SCZ_BDZ(c, ::qor::c32)
QOR_GEMM_SCZ_BDZ(z, ::qor::c64)
QOR_GEMM_SCZ_BDZ_COMPLEX(c, ::qor::c32)
QOR_GEMM_SCZ_BDZ_COMPLEX(z, ::qor::c64)

// Strip copies: down for a source column, right for a source row; the A
// forms scale by alpha.
#define QOR_GEMM_SCZ_STRIP_A(name, E, W, DOWN, CONJ)                                      \
  QOR_DEF_API void qor_blas_def_##name(QOR_GEMM_STRIPA_ARGS(E)) {                           \
    g::strip_copy<E, W, DOWN, CONJ>(*width, *depth, src, *ld, dst, alpha);                 \
  }
#define QOR_GEMM_SCZ_STRIP_B(name, E, W, DOWN, CONJ)                                      \
  QOR_DEF_API void qor_blas_def_##name(QOR_GEMM_STRIPB_ARGS(E)) {                           \
    g::strip_copy<E, W, DOWN, CONJ>(*width, *depth, src, *ld, dst, nullptr);               \
  }

QOR_GEMM_SCZ_STRIP_A(sgemm_scopy_down16_bdz, float, 16, true, false)
QOR_GEMM_SCZ_STRIP_A(sgemm_scopy_right16_bdz, float, 16, false, false)
QOR_GEMM_SCZ_STRIP_B(sgemm_scopy_down4_bdz, float, 4, true, false)
QOR_GEMM_SCZ_STRIP_B(sgemm_scopy_right4_bdz, float, 4, false, false)
QOR_GEMM_SCZ_STRIP_A(cgemm_ccopy_down8_bdz, ::qor::c32, 8, true, false)
QOR_GEMM_SCZ_STRIP_A(cgemm_ccopy_right8_bdz, ::qor::c32, 8, false, false)
QOR_GEMM_SCZ_STRIP_A(cgemm_cccopy_right8_bdz, ::qor::c32, 8, false, true)
QOR_GEMM_SCZ_STRIP_B(cgemm_ccopy_down2_bdz, ::qor::c32, 2, true, false)
QOR_GEMM_SCZ_STRIP_B(cgemm_ccopy_right2_bdz, ::qor::c32, 2, false, false)
QOR_GEMM_SCZ_STRIP_B(cgemm_cccopy_down2_bdz, ::qor::c32, 2, true, true)
QOR_GEMM_SCZ_STRIP_A(zgemm_zcopy_down4_bdz, ::qor::c64, 4, true, false)
QOR_GEMM_SCZ_STRIP_A(zgemm_zcopy_right4_bdz, ::qor::c64, 4, false, false)
QOR_GEMM_SCZ_STRIP_A(zgemm_zccopy_right4_bdz, ::qor::c64, 4, false, true)
QOR_GEMM_SCZ_STRIP_B(zgemm_zcopy_down2_bdz, ::qor::c64, 2, true, false)
QOR_GEMM_SCZ_STRIP_B(zgemm_zcopy_right2_bdz, ::qor::c64, 2, false, false)
QOR_GEMM_SCZ_STRIP_B(zgemm_zccopy_down2_bdz, ::qor::c64, 2, true, true)
