// Plain reference forms of the Level 3 operations, written from their
// definitions over dense copies of op(A), and the typed helpers the tests
// share: random matrices, comparisons, the dispatching names of each type.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "blas/level3/dispatch.h"
#include "common/testing.h"
#include "frame/types.h"

namespace l3t {

using i64 = std::int64_t;
using qor::c32;
using qor::c64;

template <class T> using R = qor::real_t<T>;
template <class T> inline constexpr bool cplx = qor::is_complex_v<T>;

template <class T>
T cj(T x) {
  if constexpr (cplx<T>) return std::conj(x);
  else return x;
}
template <class T>
R<T> mag(T x) {
  return std::abs(x);
}
template <class T>
T from(double re, double im = 0) {
  if constexpr (cplx<T>) return T(static_cast<R<T>>(re), static_cast<R<T>>(im));
  else return static_cast<T>(re);
}
template <class T>
T rnd(qor::test::Rng& g) {
  const double re = g.next();
  return from<T>(re, cplx<T> ? g.next() : 0.0);
}

// Working precision of the type, for tolerances.
template <class T>
double eps() {
  return static_cast<double>(std::numeric_limits<R<T>>::epsilon());
}

// A column-major matrix with a leading dimension larger than its rows, so
// that a kernel writing outside its rows is caught.
template <class T>
struct Mat {
  i64 rows = 0, cols = 0, ld = 1;
  std::vector<T> v;
  Mat() = default;
  Mat(i64 r, i64 c, i64 pad = 3) : rows(r), cols(c), ld((r > 1 ? r : 1) + pad), v(ld * (c > 0 ? c : 1)) {}
  T& operator()(i64 i, i64 j) { return v[i + j * ld]; }
  const T& operator()(i64 i, i64 j) const { return v[i + j * ld]; }
  T* data() { return v.data(); }
  const T* data() const { return v.data(); }
};

template <class T>
Mat<T> random_mat(i64 r, i64 c, qor::test::Rng& g, i64 pad = 3) {
  Mat<T> m(r, c, pad);
  for (auto& x : m.v) x = rnd<T>(g);
  return m;
}

// A well-conditioned triangular matrix (both triangles filled, the kernels
// must read only theirs): diagonal of modulus 1 to 2, off-diagonal
// elements of order 1/n.
template <class T>
Mat<T> tri_mat(i64 n, qor::test::Rng& g) {
  Mat<T> a(n, n);
  const double s = 1.0 / static_cast<double>(n > 1 ? n : 1);
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) a(i, j) = i == j ? from<T>(1.5 + 0.5 * g.next(), cplx<T> ? 0.5 * g.next() : 0.0)
                                                 : rnd<T>(g) * static_cast<R<T>>(s);
  for (i64 i = 0; i < n; ++i)
    if (g.next() < 0) a(i, i) = -a(i, i);
  return a;
}

// Dense op(A) of a triangular A as the kernels should see it.
template <class T>
std::vector<T> dense_op_tri(const Mat<T>& a, char uplo, char trans, char diag) {
  const i64 n = a.rows;
  const bool lower = (uplo & 0xDF) == 'L', unit = (diag & 0xDF) == 'U';
  const char tr = static_cast<char>(trans & 0xDF);
  std::vector<T> d(n * n, T(0));
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) {
      const bool in = lower ? i >= j : i <= j;
      if (!in) continue;
      T v = (i == j && unit) ? T(1) : a(i, j);
      if (tr == 'N') d[i + j * n] = v;
      else d[j + i * n] = tr == 'C' ? cj(v) : v;
    }
  return d;
}

// Reference solve op(A) X = alpha B or X op(A) = alpha B, by substitution
// with division, on the dense op(A).
template <class T>
void ref_trsm(char side, char uplo, char trans, char diag, T alpha, const Mat<T>& a, Mat<T>& b) {
  const i64 m = b.rows, n = b.cols;
  const bool left = (side & 0xDF) == 'L';
  const i64 k = left ? m : n;
  const std::vector<T> op = dense_op_tri(a, uplo, trans, diag);
  auto M = [&](i64 i, i64 j) { return op[i + j * k]; };
  bool op_lower = true;
  for (i64 j = 0; j < k && op_lower; ++j)
    for (i64 i = 0; i < j; ++i)
      if (M(i, j) != T(0)) op_lower = false;
  std::vector<T> x(k);
  const i64 count = left ? n : m;
  for (i64 r = 0; r < count; ++r) {
    for (i64 i = 0; i < k; ++i) x[i] = alpha * (left ? b(i, r) : b(r, i));
    if (left) {  // M x = rhs
      if (op_lower) {
        for (i64 i = 0; i < k; ++i) {
          T s = x[i];
          for (i64 p = 0; p < i; ++p) s -= M(i, p) * x[p];
          x[i] = s / M(i, i);
        }
      } else {
        for (i64 i = k - 1; i >= 0; --i) {
          T s = x[i];
          for (i64 p = i + 1; p < k; ++p) s -= M(i, p) * x[p];
          x[i] = s / M(i, i);
        }
      }
    } else {  // x M = rhs, i.e. M^T x = rhs
      if (!op_lower) {
        for (i64 j = 0; j < k; ++j) {
          T s = x[j];
          for (i64 p = 0; p < j; ++p) s -= M(p, j) * x[p];
          x[j] = s / M(j, j);
        }
      } else {
        for (i64 j = k - 1; j >= 0; --j) {
          T s = x[j];
          for (i64 p = j + 1; p < k; ++p) s -= M(p, j) * x[p];
          x[j] = s / M(j, j);
        }
      }
    }
    for (i64 i = 0; i < k; ++i) (left ? b(i, r) : b(r, i)) = x[i];
  }
}

// Reference product B = alpha op(A) B or alpha B op(A).
template <class T>
void ref_trmm(char side, char uplo, char trans, char diag, T alpha, const Mat<T>& a, Mat<T>& b) {
  const i64 m = b.rows, n = b.cols;
  const bool left = (side & 0xDF) == 'L';
  const i64 k = left ? m : n;
  const std::vector<T> op = dense_op_tri(a, uplo, trans, diag);
  Mat<T> out = b;
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < m; ++i) {
      T s(0);
      if (left)
        for (i64 p = 0; p < k; ++p) s += op[i + p * k] * b(p, j);
      else
        for (i64 p = 0; p < k; ++p) s += b(i, p) * op[p + j * k];
      out(i, j) = alpha * s;
    }
  b = out;
}

// op(X) element (i, j) for a general X.
template <class T>
T op_elem(const Mat<T>& x, char trans, i64 i, i64 j) {
  const char t = static_cast<char>(trans & 0xDF);
  if (t == 'N') return x(i, j);
  return t == 'C' ? cj(x(j, i)) : x(j, i);
}

// Largest |got - want| over the rows x cols block, relative to the largest
// |want| (or 1).
template <class T>
double rel_diff(const Mat<T>& got, const Mat<T>& want) {
  double d = 0, w = 0;
  for (i64 j = 0; j < want.cols; ++j)
    for (i64 i = 0; i < want.rows; ++i) {
      d = std::fmax(d, static_cast<double>(mag(got(i, j) - want(i, j))));
      w = std::fmax(w, static_cast<double>(mag(want(i, j))));
    }
  return d / (w > 1 ? w : 1);
}

// The padding rows below each column must be untouched.
template <class T>
bool padding_same(const Mat<T>& got, const Mat<T>& before) {
  for (i64 j = 0; j < got.cols; ++j)
    for (i64 i = got.rows; i < got.ld; ++i)
      if (!(got(i, j) == before(i, j)) && !(got(i, j) != got(i, j))) return false;
  return true;
}

// The dispatching names of each type.
template <class T> struct Calls;
#define L3T_CALLS(t, T)                                 \
  template <> struct Calls<T> {                         \
    static constexpr auto trsm = &qor_blas_##t##trsm;   \
    static constexpr auto trmm = &qor_blas_##t##trmm;   \
    static constexpr auto symm = &qor_blas_##t##symm;   \
    static constexpr auto syrk = &qor_blas_##t##syrk;   \
    static constexpr auto syr2k = &qor_blas_##t##syr2k; \
    static constexpr auto gemmt = &qor_blas_##t##gemmt; \
  };
QOR_FOR_EACH_TYPE(L3T_CALLS)
#undef L3T_CALLS
template <class T> struct ComplexCalls;
#define L3T_CCALLS(t, T)                                  \
  template <> struct ComplexCalls<T> {                    \
    static constexpr auto hemm = &qor_blas_##t##hemm;     \
    static constexpr auto herk = &qor_blas_##t##herk;     \
    static constexpr auto her2k = &qor_blas_##t##her2k;   \
    static constexpr auto gemm3m = &qor_blas_##t##gemm3m; \
  };
QOR_FOR_EACH_COMPLEX_TYPE(L3T_CCALLS)
#undef L3T_CCALLS

template <class T>
void trsm(char side, char uplo, char trans, char diag, T alpha, const Mat<T>& a, Mat<T>& b) {
  const i64 m = b.rows, n = b.cols, lda = a.ld, ldb = b.ld;
  Calls<T>::trsm(&side, &uplo, &trans, &diag, &m, &n, &alpha, a.data(), &lda, b.data(), &ldb);
}

using AllTypes = ::testing::Types<float, double, c32, c64>;
using ComplexTypes = ::testing::Types<c32, c64>;

// C = alpha op(A) op(B) + beta C on dense copies; beta 0 ignores C.
template <class T, class TA = T, class TB = T>
void ref_gemm(char ta, char tb, T alpha, const Mat<TA>& a, const Mat<TB>& b, T beta, Mat<T>& c) {
  const i64 m = c.rows, n = c.cols;
  const i64 k = (ta & 0xDF) == 'N' ? a.cols : a.rows;
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < m; ++i) {
      T s(0);
      for (i64 p = 0; p < k; ++p) s += T(op_elem(a, ta, i, p)) * T(op_elem(b, tb, p, j));
      c(i, j) = alpha * s + (beta == T(0) ? T(0) : beta * c(i, j));
    }
}

}  // namespace l3t
