// GEMM in the core, all four types: the dispatching names qor_blas_?gemm,
// threaded over blocks of C (gemm.h), and the public Fortran and CBLAS
// interfaces with the reference argument checks.
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

using qor::c32;
using qor::c64;
using qor::core::blas::i64;

// Per type: the row unit of the split over threads (the row tile of the
// tuned kernels; the column unit is 4 for every type), the names the
// argument checks report, and the member's sequential entry.
template <class T> struct gemm_of;
template <> struct gemm_of<float> {
  static constexpr i64 row_unit = 16;
  static constexpr const char* fortran = "SGEMM";
  static constexpr const char* cblas = "cblas_sgemm";
  static void entry(QOR_GEMM_ARGS(float)) {
    QOR_KERNEL(qor_blas_def_xsgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};
template <> struct gemm_of<double> {
  static constexpr i64 row_unit = 12;
  static constexpr const char* fortran = "DGEMM";
  static constexpr const char* cblas = "cblas_dgemm";
  static void entry(QOR_GEMM_ARGS(double)) {
    QOR_KERNEL(qor_blas_def_xdgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};
template <> struct gemm_of<c32> {
  static constexpr i64 row_unit = 8;
  static constexpr const char* fortran = "CGEMM";
  static constexpr const char* cblas = "cblas_cgemm";
  static void entry(QOR_GEMM_ARGS(c32)) {
    QOR_KERNEL(qor_blas_def_xcgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};
template <> struct gemm_of<c64> {
  static constexpr i64 row_unit = 4;
  static constexpr const char* fortran = "ZGEMM";
  static constexpr const char* cblas = "cblas_zgemm";
  static void entry(QOR_GEMM_ARGS(c64)) {
    QOR_KERNEL(qor_blas_def_xzgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  }
};

template <class T> void dispatch(QOR_GEMM_ARGS(T));
#define QOR_GEMM_DISPATCH_OF(t, T)                                              \
  template <> void dispatch<T>(QOR_GEMM_ARGS(T)) {                              \
    qor_blas_##t##gemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc); \
  }
QOR_FOR_EACH_TYPE(QOR_GEMM_DISPATCH_OF)
#undef QOR_GEMM_DISPATCH_OF

// The public names of the complex members take their operands as void
// pointers; A is the type the public name uses for its operands.
template <class T> const T* in(const void* p) { return static_cast<const T*>(p); }
template <class T> T* out(void* p) { return static_cast<T*>(p); }

template <class T, class Int, class A>
QOR_TRACED_WORK
void fortran_call(const char* ta, const char* tb, const Int* m, const Int* n, const Int* k, const A* alpha, const A* a,
                  const Int* lda, const A* b, const Int* ldb, const A* beta, A* c, const Int* ldc) {
  qor::core::blas::gemm_fortran<T, Int>(gemm_of<T>::fortran, &dispatch<T>, ta, tb, m, n, k, in<T>(alpha), in<T>(a),
                                        lda, in<T>(b), ldb, in<T>(beta), out<T>(c), ldc);
}
template <class T, class Int, class A>
QOR_TRACED_WORK
void cblas_call(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, Int m, Int n, Int k, const A* alpha,
                const A* a, Int lda, const A* b, Int ldb, const A* beta, A* c, Int ldc) {
  qor::core::blas::gemm_cblas<T, Int>(gemm_of<T>::cblas, &dispatch<T>, layout, ta, tb, m, n, k, in<T>(alpha), in<T>(a),
                                      lda, in<T>(b), ldb, in<T>(beta), out<T>(c), ldc);
}

}  // namespace

// The member's sequential entry on each block of C.
#define QOR_GEMM_DISPATCH_DEF(t, T)                                                                          \
  QOR_GEMM_DISPATCH void qor_blas_##t##gemm(QOR_GEMM_ARGS(T)) {                                              \
    qor::core::blas::gemm_threaded<T>(&gemm_of<T>::entry, transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, \
                                      beta, c, *ldc, gemm_of<T>::row_unit, 4);                               \
  }
QOR_FOR_EACH_TYPE(QOR_GEMM_DISPATCH_DEF)
#undef QOR_GEMM_DISPATCH_DEF

// The public names: t the letter, T the element type, A the type of the
// operands in the public name (T for s and d, void for c and z), S that of
// the CBLAS scalars (passed by value for s and d, by address otherwise).
#define QOR_GEMM_FORTRAN(SFX, INT, t, T, A)                                                                   \
  QOR_API void t##gemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k, \
                            const A* alpha, const A* a, const INT* lda, const A* b, const INT* ldb,           \
                            const A* beta, A* c, const INT* ldc, std::size_t, std::size_t) {                  \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *ldb, *ldc), [=] {                                         \
      fortran_call<T, INT, A>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                 \
    });                                                                                                      \
  }
#define QOR_GEMM_CBLAS_REAL(SFX, INT, t, T)                                                                   \
  QOR_API void cblas_##t##gemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb,      \
                                    INT m, INT n, INT k, T alpha, const T* a, INT lda, const T* b, INT ldb,    \
                                    T beta, T* c, INT ldc) {                                                 \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                       \
      cblas_call<T, INT, T>(layout, transa, transb, m, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);         \
    });                                                                                                      \
  }
#define QOR_GEMM_CBLAS_COMPLEX(SFX, INT, t, T)                                                                \
  QOR_API void cblas_##t##gemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb,      \
                                    INT m, INT n, INT k, const void* alpha, const void* a, INT lda,            \
                                    const void* b, INT ldb, const void* beta, void* c, INT ldc) {            \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, ldb, ldc), [=] {                                       \
      cblas_call<T, INT, void>(layout, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);        \
    });                                                                                                      \
  }
#define QOR_GEMM_PUBLIC(FSFX, CSFX, INT)         \
  QOR_GEMM_FORTRAN(FSFX, INT, s, float, float)   \
  QOR_GEMM_FORTRAN(FSFX, INT, d, double, double) \
  QOR_GEMM_FORTRAN(FSFX, INT, c, c32, void)      \
  QOR_GEMM_FORTRAN(FSFX, INT, z, c64, void)      \
  QOR_GEMM_CBLAS_REAL(CSFX, INT, s, float)       \
  QOR_GEMM_CBLAS_REAL(CSFX, INT, d, double)      \
  QOR_GEMM_CBLAS_COMPLEX(CSFX, INT, c, c32)      \
  QOR_GEMM_CBLAS_COMPLEX(CSFX, INT, z, c64)

extern "C" {
QOR_GEMM_PUBLIC(_, , int)
QOR_GEMM_PUBLIC(_64_, _64, std::int64_t)
}
