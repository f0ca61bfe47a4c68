// sgemm, cgemm and zgemm in the core: the dispatching names qor_blas_?gemm,
// threaded over blocks of C by the GEMM template that dgemm uses, and the
// public Fortran and CBLAS interfaces with the reference argument checks.
#include <cstddef>
#include <cstdint>

#include "blas/gemm/gemm.h"
#include "blas/gemm_scz/api.h"
#include "blas/gemm_scz/dispatch.h"
#include "frame/member.h"
#include "frame/trace.h"
#include "qor/blas_gemm_scz.h"
#include "qor/cblas.h"
#include "qor/cblas_gemm_scz.h"
#include "qor/qor.h"

namespace {

using qor::c32;
using qor::c64;
using qor::core::blas::i64;

// Row and column units of the split over threads: the row tile of the
// tuned kernels and their column group.
template <class T> constexpr i64 row_unit = 16;
template <> constexpr i64 row_unit<c32> = 8;
template <> constexpr i64 row_unit<c64> = 4;

template <class T> struct names;
template <> struct names<float> {
  static constexpr const char* fortran = "SGEMM";
  static constexpr const char* cblas = "cblas_sgemm";
};
template <> struct names<c32> {
  static constexpr const char* fortran = "CGEMM";
  static constexpr const char* cblas = "cblas_cgemm";
};
template <> struct names<c64> {
  static constexpr const char* fortran = "ZGEMM";
  static constexpr const char* cblas = "cblas_zgemm";
};

template <class T> void dispatch(QOR_GEMM_SCZ_ARGS(T));
template <> void dispatch<float>(QOR_GEMM_SCZ_ARGS(float)) {
  qor_blas_sgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <> void dispatch<c32>(QOR_GEMM_SCZ_ARGS(c32)) {
  qor_blas_cgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <> void dispatch<c64>(QOR_GEMM_SCZ_ARGS(c64)) {
  qor_blas_zgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <class T> const T* in(const void* p) { return static_cast<const T*>(p); }
template <class T> T* out(void* p) { return static_cast<T*>(p); }

// The public names take their operands as float or as void pointers.
template <class T, class Int>
QOR_TRACED_WORK
void fortran_call(const char* ta, const char* tb, const Int* m, const Int* n, const Int* k, const void* alpha,
                  const void* a, const Int* lda, const void* b, const Int* ldb, const void* beta, void* c,
                  const Int* ldc) {
  qor::core::blas::gemm_fortran<T, Int>(names<T>::fortran, &dispatch<T>, ta, tb, m, n, k, in<T>(alpha), in<T>(a), lda,
                                        in<T>(b), ldb, in<T>(beta), out<T>(c), ldc);
}
template <class T, class Int>
QOR_TRACED_WORK
void cblas_call(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, Int m, Int n, Int k, const void* alpha,
                const void* a, Int lda, const void* b, Int ldb, const void* beta, void* c, Int ldc) {
  qor::core::blas::gemm_cblas<T, Int>(names<T>::cblas, &dispatch<T>, layout, ta, tb, m, n, k, in<T>(alpha), in<T>(a),
                                      lda, in<T>(b), ldb, in<T>(beta), out<T>(c), ldc);
}

}  // namespace

// The member's sequential entry on each block of C.
#define QOR_GEMM_SCZ_DISPATCH_DEF(x, T)                                                                      \
  QOR_GEMM_SCZ_DISPATCH void qor_blas_##x##gemm(QOR_GEMM_SCZ_ARGS(T)) {                                      \
    qor::core::blas::gemm_threaded<T>(                                                                       \
        [](QOR_GEMM_SCZ_ARGS(T)) {                                                                           \
          QOR_KERNEL(qor_blas_def_x##x##gemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);  \
        },                                                                                                   \
        transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc, row_unit<T>, 4);                 \
  }
QOR_GEMM_SCZ_DISPATCH_DEF(s, float)
QOR_GEMM_SCZ_DISPATCH_DEF(c, c32)
QOR_GEMM_SCZ_DISPATCH_DEF(z, c64)

#define QOR_GEMM_SCZ_FORTRAN(SFX, INT)                                                                       \
  QOR_API void sgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,   \
                          const float* alpha, const float* a, const INT* lda, const float* b, const INT* ldb,  \
                          const float* beta, float* c, const INT* ldc, std::size_t, std::size_t) {           \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                         \
      fortran_call<float, INT>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                \
    });                                                                                                      \
  }                                                                                                          \
  QOR_API void cgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,   \
                          const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,     \
                          const void* beta, void* c, const INT* ldc, std::size_t, std::size_t) {             \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                         \
      fortran_call<c32, INT>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                  \
    });                                                                                                      \
  }                                                                                                          \
  QOR_API void zgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,   \
                          const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,     \
                          const void* beta, void* c, const INT* ldc, std::size_t, std::size_t) {             \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                         \
      fortran_call<c64, INT>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                  \
    });                                                                                                      \
  }

#define QOR_GEMM_SCZ_CBLAS(SFX, INT)                                                                         \
  QOR_API void cblas_sgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m,  \
                                INT n, INT k, float alpha, const float* a, INT lda, const float* b, INT ldb,  \
                                float beta, float* c, INT ldc) {                                             \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                       \
      cblas_call<float, INT>(layout, transa, transb, m, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);        \
    });                                                                                                      \
  }                                                                                                          \
  QOR_API void cblas_cgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m,  \
                                INT n, INT k, const void* alpha, const void* a, INT lda, const void* b,      \
                                INT ldb, const void* beta, void* c, INT ldc) {                               \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                       \
      cblas_call<c32, INT>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);            \
    });                                                                                                      \
  }                                                                                                          \
  QOR_API void cblas_zgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m,  \
                                INT n, INT k, const void* alpha, const void* a, INT lda, const void* b,      \
                                INT ldb, const void* beta, void* c, INT ldc) {                               \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                       \
      cblas_call<c64, INT>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);            \
    });                                                                                                      \
  }

extern "C" {
QOR_GEMM_SCZ_FORTRAN(_, int)
QOR_GEMM_SCZ_FORTRAN(_64_, std::int64_t)
QOR_GEMM_SCZ_CBLAS(, int)
QOR_GEMM_SCZ_CBLAS(_64, std::int64_t)
}
