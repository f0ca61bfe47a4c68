// Inverses from the LU factors: getri after getrf (with the column
// interchanges of the pivots), getrinp after getrfnp (without).
//
// Steps: the first exact zero on U's diagonal ends the routine with info
// set and A as it was; U is inverted in place, column by column from the
// columns before it; then, from the last column down, the strictly lower
// part of a column is moved to the work column and the column is reduced by
// the columns to its right; then the column interchanges from n - 2 down.
// work[0] = max(n, 1) at every exit. n up to 6 takes a straight-line body
// that keeps the matrix and the work column in locals and gives the bits of
// the loop.
#include "lapack/api.h"
#include "lapack/lu_common.h"

QOR_ISA_BEGIN
namespace lu {
namespace {

// 1-based index of the first exact zero on the diagonal, or 0; two
// elements a turn.
template <class T>
i64 first_zero_diagonal(const T* a, i64 lda, i64 n) {
  i64 j = 0;
  for (; j + 2 <= n; j += 2) {
    if (is_zero(a[j + j * lda])) return j + 1;
    if (is_zero(a[j + 1 + (j + 1) * lda])) return j + 2;
  }
  if (j < n && is_zero(a[j + j * lda])) return j + 1;
  return 0;
}

template <class T, bool pivoted>
void getri_loop(i64 n, T* a, i64 lda, const i64* ipiv, T* work) {
  // U^-1, column j from the inverted columns before it: x = -u_jj^-1 U^-1 x.
  for (i64 j = 0; j < n; ++j) {
    T* x = a + j * lda;
    x[j] = T(1) / x[j];
    const T ajj = -x[j];
    for (i64 k = 0; k < j; ++k) {
      const T t = x[k];
      const T* u = a + k * lda;
      for (i64 i = 0; i < k; ++i) x[i] += mul(t, u[i]);
      x[k] = mul(x[k], u[k]);
    }
    for (i64 i = 0; i < j; ++i) x[i] = mul(x[i], ajj);
  }
  // Solve X L = U^-1 for X, from the last column down.
  for (i64 j = n - 1; j >= 0; --j) {
    T* x = a + j * lda;
    for (i64 i = j + 1; i < n; ++i) {
      work[i] = x[i];
      x[i] = T(0);
    }
    for (i64 k = j + 1; k < n; ++k) {
      const T w = work[k];
      const T* y = a + k * lda;
      i64 i = 0;
      for (; i + 4 <= n; i += 4) {
        x[i] = minus_product(x[i], y[i], w);
        x[i + 1] = minus_product(x[i + 1], y[i + 1], w);
        x[i + 2] = minus_product(x[i + 2], y[i + 2], w);
        x[i + 3] = minus_product(x[i + 3], y[i + 3], w);
      }
      for (; i < n; ++i) x[i] = minus_product(x[i], y[i], w);
    }
  }
  if constexpr (pivoted) {
    for (i64 j = n - 2; j >= 0; --j) {
      const i64 p = ipiv[j] - 1;
      if (p == j) continue;
      T* x = a + j * lda;
      T* y = a + p * lda;
      i64 i = 0;
      for (; i + 4 <= n; i += 4) {
        std::swap(x[i], y[i]);
        std::swap(x[i + 1], y[i + 1]);
        std::swap(x[i + 2], y[i + 2]);
        std::swap(x[i + 3], y[i + 3]);
      }
      for (; i < n; ++i) std::swap(x[i], y[i]);
    }
  }
}

// The body for n == N; returns info.
template <class T, bool pivoted, int N>
[[gnu::flatten]] i64 getri_body(T* a, i64 lda, const i64* ipiv) {
  if constexpr (N == 0) {
    return 0;
  } else {
    Tile<T, N, N> v;
    v.load(a, lda);
    i64 zero = 0;
    down<0, N>([&](auto J) {
      if (is_zero(v(J, J))) zero = J + 1;
    });
    if (zero != 0) return zero;
    up<0, N>([&](auto J) {
      v(J, J) = T(1) / v(J, J);
      const T ajj = -v(J, J);
      up<0, J>([&](auto K) {
        const T t = v(K, J);
        up<0, K>([&](auto I) { v(I, J) += mul(t, v(I, K)); });
        v(K, J) = mul(v(K, J), v(K, K));
      });
      up<0, J>([&](auto I) { v(I, J) = mul(v(I, J), ajj); });
    });
    down<0, N>([&](auto J) {
      T w[N];
      up<J + 1, N>([&](auto I) {
        w[I] = v(I, J);
        v(I, J) = T(0);
      });
      up<J + 1, N>([&](auto K) { up<0, N>([&](auto I) { v(I, J) = minus_product(v(I, J), v(I, K), w[K]); }); });
    });
    if constexpr (pivoted) {
      down<0, N - 1>([&](auto J) {
        const i64 p = ipiv[J] - 1;
        up<0, N>([&](auto K) {
          if constexpr (K != J) {
            if (p == K) up<0, N>([&](auto I) { std::swap(v(I, J), v(I, K)); });
          }
        });
      });
    }
    v.store(a, lda);
    return 0;
  }
}

template <class T, bool pivoted>
void getri(const i64* n, T* a, const i64* lda, const i64* ipiv, T* work, const i64* lwork, i64* info) {
  const i64 nn = *n;
  const T size = T(real_t<T>(max_i(nn, 1)));
  if (*lwork == -1) {
    work[0] = size;
    return;
  }
  const i64 ld = *lda;
  i64 result = 0;
  if (!with_size<0, 6>(nn, [&](auto N) { result = getri_body<T, pivoted, N>(a, ld, ipiv); })) {
    result = first_zero_diagonal(a, ld, nn);
    if (result == 0) getri_loop<T, pivoted>(nn, a, ld, ipiv, work);
  }
  *info = result;
  work[0] = size;
}

}  // namespace
}  // namespace lu
QOR_ISA_END

#define QOR_LAPACK_GETRI(l, T)                                                                                 \
  QOR_DEF_API void qor_lapack_ps_def_##l##getri_small(const i64* n, T* a, const i64* lda, const i64* ipiv,    \
                                                      T* work, const i64* lwork, i64* info) {                  \
    qor::QOR_ISA_NAME::lu::getri<T, true>(n, a, lda, ipiv, work, lwork, info);                                 \
  }                                                                                                            \
  QOR_DEF_API void qor_lapack_ps_def_##l##getrinp_small(const i64* n, T* a, const i64* lda, T* work,          \
                                                        const i64* lwork, i64* info) {                         \
    qor::QOR_ISA_NAME::lu::getri<T, false>(n, a, lda, nullptr, work, lwork, info);                            \
  }
using qor::i64;
QOR_FOR_EACH_TYPE(QOR_LAPACK_GETRI)

// The second entries of the complex inverse.
QOR_DEF_API void qor_lapack_ps_def_qor_dc_cgetri(const i64* n, qor::c32* a, const i64* lda, const i64* ipiv,
                                                 qor::c32* work, const i64* lwork, i64* info) {
  qor::QOR_ISA_NAME::lu::getri<qor::c32, true>(n, a, lda, ipiv, work, lwork, info);
}
QOR_DEF_API void qor_lapack_ps_def_qor_dc_zgetri(const i64* n, qor::c64* a, const i64* lda, const i64* ipiv,
                                                 qor::c64* work, const i64* lwork, i64* info) {
  qor::QOR_ISA_NAME::lu::getri<qor::c64, true>(n, a, lda, ipiv, work, lwork, info);
}
