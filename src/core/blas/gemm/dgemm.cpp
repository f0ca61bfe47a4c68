// dgemm in the core: the dispatching name qor_blas_dgemm, threaded over
// blocks of C, and the public Fortran and CBLAS interfaces.
#include <cstddef>
#include <cstdint>

#include "blas/gemm/api.h"
#include "blas/gemm/dispatch.h"
#include "blas/gemm/gemm.h"
#include "frame/member.h"
#include "qor/blas.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using qor::core::blas::i64;

void dgemm_entry(QOR_GEMM_ARGS(double)) {
  QOR_KERNEL(qor_blas_def_xdgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <class Int>
void dgemm_fortran(const char* transa, const char* transb, const Int* m, const Int* n, const Int* k,
                   const double* alpha, const double* a, const Int* lda, const double* b, const Int* ldb,
                   const double* beta, double* c, const Int* ldc) {
  using namespace qor::core::blas;
  if (int bad = gemm_fortran_check(*transa, *transb, *m, *n, *k, *lda, *ldb, *ldc); bad != 0) {
    fortran_arg_error<Int>("DGEMM", static_cast<Int>(bad));
    return;
  }
  const i64 mm = *m, nn = *n, kk = *k, la = *lda, lb = *ldb, lc = *ldc;
  qor_blas_dgemm(transa, transb, &mm, &nn, &kk, alpha, a, &la, b, &lb, beta, c, &lc);
}

template <class Int>
void dgemm_cblas(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, Int m, Int n, Int k,
                 double alpha, const double* a, Int lda, const double* b, Int ldb, double beta, double* c, Int ldc) {
  using namespace qor::core::blas;
  if (gemm_cblas_prepare<double, Int>(layout, transa, transb, m, n, k, lda, ldb, ldc, "cblas_dgemm") != 0) return;
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  const i64 mm = m, nn = n, kk = k, la = lda, lb = ldb, lc = ldc;
  if (layout == CblasColMajor) {
    qor_blas_dgemm(&ta, &tb, &mm, &nn, &kk, &alpha, a, &la, b, &lb, &beta, c, &lc);
  } else {
    qor_blas_dgemm(&tb, &ta, &nn, &mm, &kk, &alpha, b, &lb, a, &la, &beta, c, &lc);
  }
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
  dgemm_fortran<int>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_API void dgemm_64_(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,
                       const std::int64_t* k, const double* alpha, const double* a, const std::int64_t* lda,
                       const double* b, const std::int64_t* ldb, const double* beta, double* c,
                       const std::int64_t* ldc, std::size_t, std::size_t) {
  dgemm_fortran<std::int64_t>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_API void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                         double alpha, const double* a, int lda, const double* b, int ldb, double beta, double* c,
                         int ldc) {
  dgemm_cblas<int>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_API void cblas_dgemm_64(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, std::int64_t m,
                            std::int64_t n, std::int64_t k, double alpha, const double* a, std::int64_t lda,
                            const double* b, std::int64_t ldb, double beta, double* c, std::int64_t ldc) {
  dgemm_cblas<std::int64_t>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // extern "C"
