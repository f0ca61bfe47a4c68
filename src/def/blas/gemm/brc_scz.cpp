// The Barcelona bodies of the s, c, z members and their pieces (SSE3 build).
#include "blas/gemm/api.h"
#include "blas/gemm/brc.h"

namespace g = qor::brc::gemm_scz;
using g::Op;
using std::int64_t;

namespace {

void s_body(bool rule1, bool inside, const char* ta, const char* tb, const int64_t* m, const int64_t* n,
            const int64_t* k, const float* alpha, const float* a, const int64_t* lda, const float* b,
            const int64_t* ldb, const float* beta, float* c, const int64_t* ldc) {
  if (*m <= 0 || *n <= 0) return;
  g::sgemm_brc_body(rule1, inside, g::op_of<float>(ta), g::op_of<float>(tb), *m, *n, *k, *alpha, a, *lda, b, *ldb,
                    *beta, c, *ldc);
}

}  // namespace

#define QOR_GEMM_SCZ_S_BODY(name, RULE1, INSIDE)                                              \
  QOR_DEF_API void qor_blas_def_##name(QOR_GEMM_ARGS(float)) {                            \
    s_body(RULE1, INSIDE, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);      \
  }
QOR_GEMM_SCZ_S_BODY(xsgemm0_0_brc, false, false)
QOR_GEMM_SCZ_S_BODY(xsgemm0_1_brc, false, true)
QOR_GEMM_SCZ_S_BODY(xsgemm1_0_brc, true, false)
QOR_GEMM_SCZ_S_BODY(xsgemm1_1_brc, true, true)

QOR_DEF_API void qor_blas_def_xsgemm0_brc(QOR_GEMM_ARGS(float)) {
  qor_blas_def_xsgemm0_0_brc(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xsgemm1_brc(QOR_GEMM_ARGS(float)) {
  qor_blas_def_xsgemm1_0_brc(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_DEF_API void qor_blas_def_sgemm_blk_info_0_brc(QOR_GEMM_BLK_INFO_ARGS) {
  g::sgemm_blk_info_0(*m, *n, *k, mb, nb, kb, mu, nu, ku);
}
QOR_DEF_API void qor_blas_def_sgemm_blk_info_1_brc(QOR_GEMM_BLK_INFO_ARGS) {
  g::sgemm_blk_info_1(*m, *n, *k, mb, nb, kb, mu, nu, ku);
}
// The d member's four cases, with four bytes per A element (eight are
// reserved per B element).
QOR_DEF_API void qor_blas_def_sgemm_getbufs_brc(QOR_GEMM_GETBUFS_ARGS(void)) {
  qor::brc::gemm::getbufs_brc<4>(*mb, *nb, *kb, raw, apanel, bpanel, extra);
}
QOR_DEF_API void qor_blas_def_sgemm_freebufs_brc(void* raw) { qor_serv_deallocate(raw); }

// Two schedules of one kernel: the rule-0 and rule-1 bodies differ in their
// blocks, not in the tile.
QOR_DEF_API void qor_blas_def_sgemm_kernel0_0_brc(QOR_GEMM_SSE_INNER_ARGS(float)) {
  (void)alpha;
  g::brc_kernel(*m, *n, *k, a, b, *beta, g::beta_mode(true, *beta), c, *ldc, expanded);
}
QOR_DEF_API void qor_blas_def_sgemm_kernel1_0_brc(QOR_GEMM_SSE_INNER_ARGS(float)) {
  (void)alpha;
  g::brc_kernel(*m, *n, *k, a, b, *beta, g::beta_mode(true, *beta), c, *ldc, expanded);
}
QOR_DEF_API void qor_blas_def_sgemm_kernel0_1_brc(const char* transb, const int64_t* m, const int64_t* n,
                                                  const int64_t* k, const float* a, const float* b,
                                                  const int64_t* ldb, const float* beta, float* c,
                                                  const int64_t* ldc, float* expanded) {
  g::brc_kernel_inside(g::op_of<float>(transb), *m, *n, *k, a, b, *ldb, *beta, g::beta_mode(true, *beta), c, *ldc,
                       expanded);
}

#define QOR_GEMM_SCZ_S_COPYA(name, OP)                                         \
  QOR_DEF_API void qor_blas_def_##name(QOR_GEMM_COPYA_ARGS(float)) {            \
    g::pack_a_sse(OP, *rows, *depth, a, *lda, panel, *alpha);                  \
  }
#define QOR_GEMM_SCZ_S_COPYB(name, OP)                                         \
  QOR_DEF_API void qor_blas_def_##name(QOR_GEMM_COPYB_ARGS(float)) {            \
    g::pack_b_sse(OP, *depth, *cols, b, *ldb, panel);                          \
  }
QOR_GEMM_SCZ_S_COPYA(sgemm_copyan_0_brc, Op::N)
QOR_GEMM_SCZ_S_COPYA(sgemm_copyat_0_brc, Op::T)
QOR_GEMM_SCZ_S_COPYA(sgemm_copyan_1_brc, Op::N)
QOR_GEMM_SCZ_S_COPYA(sgemm_copyat_1_brc, Op::T)
QOR_GEMM_SCZ_S_COPYA(sgemm_copyan_1_0_brc, Op::N)
QOR_GEMM_SCZ_S_COPYB(sgemm_copybn_brc, Op::N)
QOR_GEMM_SCZ_S_COPYB(sgemm_copybt_brc, Op::T)
QOR_GEMM_SCZ_S_COPYB(sgemm_copybn_0_brc, Op::N)
QOR_GEMM_SCZ_S_COPYB(sgemm_copybt_0_brc, Op::T)

#define QOR_GEMM_SCZ_CZ_BRC(x, E)                                                                            \
  QOR_DEF_API void qor_blas_def_x##x##gemm_brc(QOR_GEMM_ARGS(E)) {                                       \
    if (*m <= 0 || *n <= 0) return;                                                                          \
    g::cz_brc_body<E>(g::op_of<E>(transa), g::op_of<E>(transb), *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, \
                      *ldc);                                                                                 \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_get_blks_size_brc(const int64_t* m, const int64_t* n,              \
                                                             const int64_t* k, int64_t* mb, int64_t* kb) {   \
    (void)n;                                                                                                 \
    g::get_blks_size_brc<E>(*m, *k, mb, kb);                                                                 \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_kernel_0_brc(QOR_GEMM_SSE_INNER_ARGS(E)) {                              \
    (void)alpha;                                                                                             \
    g::brc_kernel(*m, *n, *k, a, b, *beta, g::beta_mode(true, *beta), c, *ldc, expanded);                    \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyan_brc(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_sse(Op::N, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyat_brc(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_sse(Op::T, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copyac_brc(QOR_GEMM_COPYA_ARGS(E)) {                                \
    g::pack_a_sse(Op::C, *rows, *depth, a, *lda, panel, *alpha);                                             \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybn_brc(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_sse(Op::N, *depth, *cols, b, *ldb, panel);                                                     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybt_brc(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_sse(Op::T, *depth, *cols, b, *ldb, panel);                                                     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_##x##gemm_copybc_brc(QOR_GEMM_COPYB_ARGS(E)) {                                \
    g::pack_b_sse(Op::C, *depth, *cols, b, *ldb, panel);                                                     \
  }

QOR_GEMM_SCZ_CZ_BRC(c, ::qor::c32)
QOR_GEMM_SCZ_CZ_BRC(z, ::qor::c64)
