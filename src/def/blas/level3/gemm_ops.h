// The GEMM entries of each element type, under one name for the templates
// of this directory. Level 3 routines do their bulk arithmetic here, through
// the member entries qor_blas_def_x?gemm on the calling thread, never the
// core's dispatching names: the core has already split the Level 3 call over
// its threads (blas/gemm/dispatch.h).
#pragma once
#include <cstdint>

#include "blas/gemm/api.h"
#include "frame/isa.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace l3 {

// The letter texts handed to the GEMM entries; only the first letter is read.
inline constexpr const char* kNoTrans = "No transpose";
inline constexpr const char* kTrans = "Transpose";
inline constexpr const char* kConjTrans = "Conjugate transpose";

template <class T>
struct Gemm;

#define QOR_L3_GEMM_OF(t, T)                                                                                   \
  template <>                                                                                                  \
  struct Gemm<T> {                                                                                             \
    static void call(const char* ta, const char* tb, std::int64_t m, std::int64_t n, std::int64_t k, T alpha,   \
                     const T* a, std::int64_t lda, const T* b, std::int64_t ldb, T beta, T* c,                 \
                     std::int64_t ldc) {                                                                       \
      qor_blas_def_x##t##gemm(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc);                   \
    }                                                                                                          \
  };
QOR_FOR_EACH_TYPE(QOR_L3_GEMM_OF)
#undef QOR_L3_GEMM_OF

template <class T>
inline void gemm(const char* ta, const char* tb, std::int64_t m, std::int64_t n, std::int64_t k, T alpha, const T* a,
                 std::int64_t lda, const T* b, std::int64_t ldb, T beta, T* c, std::int64_t ldc) {
  if (m <= 0 || n <= 0) return;
  Gemm<T>::call(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The text for op(X): none, transposed, or conjugated and transposed.
inline const char* op_text(bool trans, bool conj) { return !trans ? kNoTrans : conj ? kConjTrans : kTrans; }

}  // namespace l3
QOR_ISA_END
