// dgemm in the core: the dispatching name qor_blas_dgemm, threaded over
// blocks of C, and the public Fortran and CBLAS interfaces.
#include <cstddef>
#include <cstdint>

#include "blas/gemm/api.h"
#include "blas/gemm/dispatch.h"
#include "blas/gemm/gemm.h"
#include "frame/member.h"
#include "frame/trace.h"
#include "qor/blas.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using qor::core::blas::i64;

void dgemm_entry(QOR_GEMM_ARGS(double)) {
  QOR_KERNEL(qor_blas_def_xdgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace

QOR_GEMM_DISPATCH void qor_blas_dgemm(const char* transa, const char* transb, const std::int64_t* m,
                                      const std::int64_t* n, const std::int64_t* k, const double* alpha,
                                      const double* a, const std::int64_t* lda, const double* b,
                                      const std::int64_t* ldb, const double* beta, double* c,
                                      const std::int64_t* ldc) {
  qor::core::blas::gemm_threaded<double>(&dgemm_entry, transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c,
                                         *ldc);
}

extern "C" {

QOR_API void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                    const double* alpha, const double* a, const int* lda, const double* b, const int* ldb,
                    const double* beta, double* c, const int* ldc, std::size_t, std::size_t) {
  QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {
    qor::core::blas::gemm_fortran<double, int>("DGEMM", &qor_blas_dgemm, transa, transb, m, n, k, alpha, a, lda, b, ldb,
                                               beta, c, ldc);
  });
}

QOR_API void dgemm_64_(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,
                       const std::int64_t* k, const double* alpha, const double* a, const std::int64_t* lda,
                       const double* b, const std::int64_t* ldb, const double* beta, double* c,
                       const std::int64_t* ldc, std::size_t, std::size_t) {
  QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {
    qor::core::blas::gemm_fortran<double, std::int64_t>("DGEMM", &qor_blas_dgemm, transa, transb, m, n, k, alpha, a,
                                                        lda, b, ldb, beta, c, ldc);
  });
}

QOR_API void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                         double alpha, const double* a, int lda, const double* b, int ldb, double beta, double* c,
                         int ldc) {
  QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {
    qor::core::blas::gemm_cblas<double, int>("cblas_dgemm", &qor_blas_dgemm, layout, transa, transb, m, n, k, &alpha, a,
                                                lda, b, ldb, &beta, c, ldc);
  });
}

QOR_API void cblas_dgemm_64(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, std::int64_t m,
                            std::int64_t n, std::int64_t k, double alpha, const double* a, std::int64_t lda,
                            const double* b, std::int64_t ldb, double beta, double* c, std::int64_t ldc) {
  QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {
    qor::core::blas::gemm_cblas<double, std::int64_t>("cblas_dgemm", &qor_blas_dgemm, layout, transa, transb, m, n, k,
                                                         &alpha, a, lda, b, ldb, &beta, c, ldc);
  });
}

}  // extern "C"
