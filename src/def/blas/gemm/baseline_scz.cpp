// The entries of the s, c, z GEMM members and their baseline body, with the
// baseline pieces (unpacked kernel, scaling, packing, inner kernels).
#include "blas/gemm/api.h"
#include "blas/gemm/driver_base.h"
#include "frame/services.h"

namespace g = qor::base::gemm_scz;
using g::Beta;
using g::Op;
using std::int64_t;

#define QOR_GEMM_SCZ_BASE(x, E, BRC)                                                                         \
  QOR_DEF_API void qor_blas_def_x##x##gemm(QOR_GEMM_ARGS(E)) {                                           \
    qor::base::gemm::entry<E>(                                                                               \
        &BRC, &qor_blas_def_x##x##gemm_bdz,                                                                  \
        [](QOR_GEMM_ARGS(E)) {                                                                           \
          g::base_body(transa, g::op_of<E>(transa), g::op_of<E>(transb), *m, *n, *k, *alpha, a, *lda, b, *ldb, \
                       *beta, c, *ldc);                                                                      \
        },                                                                                                   \
        transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                       \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_pst(QOR_GEMM_ARGS(E)) {                                        \
    g::pst<E>(transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);                          \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_zerom(const int64_t* m, const int64_t* n, E* c, const int64_t* ldc) { \
    g::zero_block(*m, *n, c, *ldc);                                                                          \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_scalm(const int64_t* m, const int64_t* n, const E* beta, E* c,       \
                                                 const int64_t* ldc) {                                       \
    g::scale_block(*m, *n, *beta, c, *ldc);                                                                  \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan(QOR_GEMM_COPYA_ARGS(E)) {                                    \
    g::pack_a_sse(Op::N, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat(QOR_GEMM_COPYA_ARGS(E)) {                                    \
    g::pack_a_sse(Op::T, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn(QOR_GEMM_COPYB_ARGS(E)) {                                    \
    g::pack_b_sse(Op::N, *depth, *cols, b, *ldb, panel);                                                     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt(QOR_GEMM_COPYB_ARGS(E)) {                                    \
    g::pack_b_sse(Op::T, *depth, *cols, b, *ldb, panel);                                                     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner(QOR_GEMM_SSE_INNER_ARGS(E)) {                                     \
    (void)alpha, (void)beta;                                                                                 \
    g::inner<E, Beta::One>(*m, *n, *k, a, b, E(0), c, *ldc, expanded);                                       \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_roll(QOR_GEMM_SSE_INNER_ARGS(E)) {                                \
    (void)alpha, (void)beta;                                                                                 \
    g::inner<E, Beta::One>(*m, *n, g::round_up(*k, 4), a, b, E(0), c, *ldc, expanded);                       \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_b_roll(QOR_GEMM_SSE_INNER_ARGS(E)) {                              \
    (void)alpha, (void)beta;                                                                                 \
    g::inner<E, Beta::Any>(*m, *n, g::round_up(*k, 4), a, b, *beta, c, *ldc, expanded);                      \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_inner_z_roll(QOR_GEMM_SSE_INNER_ARGS(E)) {                              \
    (void)alpha, (void)beta;                                                                                 \
    g::inner<E, Beta::Zero>(*m, *n, g::round_up(*k, 4), a, b, E(0), c, *ldc, expanded);                      \
  }

#define QOR_GEMM_SCZ_BASE_COMPLEX(x, E)                                                                      \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac(QOR_GEMM_COPYA_ARGS(E)) {                                    \
    g::pack_a_sse(Op::C, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc(QOR_GEMM_COPYB_ARGS(E)) {                                    \
    g::pack_b_sse(Op::C, *depth, *cols, b, *ldb, panel);                                                     \
  }

QOR_GEMM_SCZ_BASE(s, float, qor_blas_def_xsgemm1_brc)
QOR_GEMM_SCZ_BASE(c, ::qor::c32, qor_blas_def_xcgemm_brc)
QOR_GEMM_SCZ_BASE(z, ::qor::c64, qor_blas_def_xzgemm_brc)
QOR_GEMM_SCZ_BASE_COMPLEX(c, ::qor::c32)
QOR_GEMM_SCZ_BASE_COMPLEX(z, ::qor::c64)
