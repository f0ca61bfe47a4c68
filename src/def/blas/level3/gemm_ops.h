// The GEMM entries of each element type, under one name for the templates
// of this directory. Level 3 routines do their bulk arithmetic here.
#pragma once
#include <cstdint>

#include "blas/gemm/api.h"
#if __has_include("blas/gemm_scz/api.h")
#include "blas/gemm_scz/api.h"
#define QOR_L3_HAVE_SCZ_GEMM 1
#endif
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
#if defined(QOR_L3_HAVE_SCZ_GEMM)
QOR_FOR_EACH_TYPE(QOR_L3_GEMM_OF)
#else
QOR_L3_GEMM_OF(d, double)
// TEMPORARY, until the s, c, z GEMM entries are in the tree: a plain loop
// with the same meaning, so that these members build and compute.
template <class T>
struct Gemm {
  static T op(const char* t, const T* x, std::int64_t ld, std::int64_t i, std::int64_t j) {
    const char c = static_cast<char>(*t & 0xDF);
    if (c == 'N') return x[i + j * ld];
    T v = x[j + i * ld];
    if constexpr (is_complex_v<T>) {
      if (c == 'C') v = T(v.real(), -v.imag());
    }
    return v;
  }
  static void call(const char* ta, const char* tb, std::int64_t m, std::int64_t n, std::int64_t k, T alpha,
                   const T* a, std::int64_t lda, const T* b, std::int64_t ldb, T beta, T* c, std::int64_t ldc) {
    for (std::int64_t j = 0; j < n; ++j)
      for (std::int64_t i = 0; i < m; ++i) {
        T s(0);
        for (std::int64_t p = 0; p < k; ++p) s += op(ta, a, lda, i, p) * op(tb, b, ldb, p, j);
        c[i + j * ldc] = (beta == T(0) ? T(0) : beta * c[i + j * ldc]) + alpha * s;
      }
  }
};
#endif
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
