// Row-major conjugated calls without memory. The row-major Hermitian and
// conjugate-transposed calls normally run the column-major kernels on a
// conjugated copy of the caller's vector. When no block can be had for
// that copy, these loops compute the same result straight from the
// row-major storage, element by element, reading the caller's vectors and
// writing only the output. They are the reference loops, not fast ones:
// they run only when the allocator refuses.
#pragma once
#include <complex>

#include "blas/level2/route.h"

namespace qor::core::l2::direct {

// Where element (i, j) of a row-major Hermitian matrix is stored, or null
// outside the band. The other triangle is read as the conjugate of the
// mirror element, and the diagonal as its real part.
enum class Store { Full, Band, Packed };

template <class T>
struct Herm {
  Store form;
  bool upper;
  i64 n, k, lda;
  const T* a;

  // Stored element (i, j) with i <= j for upper, i >= j for lower.
  const T* stored(i64 i, i64 j) const {
    switch (form) {
      case Store::Full:
        return a + i * lda + j;
      case Store::Band:
        if ((upper ? j - i : i - j) > k) return nullptr;
        return a + i * lda + (upper ? j - i : k + j - i);
      case Store::Packed:
        return a + (upper ? i * n - i * (i - 1) / 2 + (j - i) : i * (i + 1) / 2 + j);
    }
    return nullptr;
  }
  T operator()(i64 i, i64 j) const {
    const bool in = upper ? i <= j : i >= j;
    const T* p = in ? stored(i, j) : stored(j, i);
    if (p == nullptr) return T(0);
    if (i == j) return T(std::real(*p));
    return in ? *p : conj(*p);
  }
};

// y = alpha op x + beta y with op given element by element, rows x cols;
// beta 0 stores zeros over y first, as the kernels do.
template <class T, class Op>
void mv(i64 rows, i64 cols, const Op& op, T alpha, const T* x, i64 incx, T beta, T* y, i64 incy) {
  for (i64 i = 0; i < rows; ++i) {
    T sum(0);
    for (i64 j = 0; j < cols; ++j) sum += op(i, j) * at(x, cols, incx, j);
    T& yi = at(y, rows, incy, i);
    yi = (beta == T(0) ? T(0) : beta * yi) + alpha * sum;
  }
}

// y = alpha A^H x + beta y for a row-major m x n matrix, general (kl < 0)
// or banded with kl, ku.
template <class T>
void gemv_conj(i64 m, i64 n, i64 kl, i64 ku, T alpha, const T* a, i64 lda, const T* x, i64 incx, T beta, T* y,
               i64 incy) {
  auto op = [&](i64 j, i64 i) -> T {  // element (j, i) of A^H is conj A(i, j)
    if (kl < 0) return conj(a[i * lda + j]);
    if (j - i > ku || i - j > kl) return T(0);
    return conj(a[i * lda + kl + j - i]);
  };
  mv(n, m, op, alpha, x, incx, beta, y, incy);
}

// A += alpha x y^H for a row-major m x n matrix.
template <class T>
void gerc(i64 m, i64 n, T alpha, const T* x, i64 incx, const T* y, i64 incy, T* a, i64 lda) {
  for (i64 i = 0; i < m; ++i)
    for (i64 j = 0; j < n; ++j) a[i * lda + j] += alpha * at(x, m, incx, i) * conj(at(y, n, incy, j));
}

// The stored triangle of a row-major Hermitian matrix gets
// alpha x y^H + conj(alpha) y x^H (rank two), or alpha x x^H (y null); the
// diagonal keeps a zero imaginary part.
template <class T>
void herk_update(const Herm<T>& h, T alpha, const T* x, i64 incx, const T* y, i64 incy) {
  const i64 n = h.n;
  for (i64 i = 0; i < n; ++i)
    for (i64 j = h.upper ? i : 0; j <= (h.upper ? n - 1 : i); ++j) {
      T* p = const_cast<T*>(h.stored(i, j));
      const T xi = at(x, n, incx, i), xj = at(x, n, incx, j);
      T add = y == nullptr ? alpha * xi * conj(xj)
                           : alpha * xi * conj(at(y, n, incy, j)) + conj(alpha) * at(y, n, incy, i) * conj(xj);
      *p += add;
      if (i == j) *p = T(std::real(*p));
    }
}

}  // namespace qor::core::l2::direct
