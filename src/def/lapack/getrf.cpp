// LU factorisation of small matrices, with partial pivoting (getrf) and
// without (getrfnp).
//
// Square matrices of up to 7 rows (getrf) or 5 rows (getrfnp) take a
// straight-line body: the whole matrix in locals, every step unrolled at
// compile time, the result stored once. All other shapes run one
// right-looking loop. A body performs the loop's operations in the loop's
// order and gives its bits. Under a zero pivot a body keeps the column as
// it is, as a divisor of 1.0 would, which is also what the loop leaves.
#include "lapack/api.h"
#include "lapack/lu_common.h"

QOR_ISA_BEGIN
namespace lu {
namespace {

// ---- Pivoted factorisation -------------------------------------------------

// Row of the largest pivot size in rows j..m-1 of column c: ascending, a
// row replaces the running maximum only when strictly larger, so ties keep
// the lowest row and a NaN never wins. Groups of 8 rows, then single rows.
template <class T>
i64 pivot_row(const T* c, i64 j, i64 m) {
  real_t<T> best = mag(c[j]);
  i64 p = j;
  i64 i = j + 1;
  for (; i + 8 <= m; i += 8) {
    for (int k = 0; k < 8; ++k) {
      const real_t<T> v = mag(c[i + k]);
      if (v > best) {
        best = v;
        p = i + k;
      }
    }
  }
  for (; i < m; ++i) {
    const real_t<T> v = mag(c[i]);
    if (v > best) {
      best = v;
      p = i;
    }
  }
  return p;
}

// Interchanges rows j and p across n columns, four columns a turn.
template <class T>
void swap_rows(T* a, i64 lda, i64 n, i64 j, i64 p) {
  i64 c = 0;
  for (; c + 4 <= n; c += 4) {
    T* x = a + c * lda;
    std::swap(x[j], x[p]);
    std::swap(x[j + lda], x[p + lda]);
    std::swap(x[j + 2 * lda], x[p + 2 * lda]);
    std::swap(x[j + 3 * lda], x[p + 3 * lda]);
  }
  for (; c < n; ++c) std::swap(a[j + c * lda], a[p + c * lda]);
}

// Multipliers x[0..count) under the pivot d. When the pivot's size (for
// complex, |Re| + |Im|) is above the safe minimum all are formed by the
// reciprocal; at or below it only the leading groups of 4 are, and the rest
// divided, since the reciprocal may have overflowed.
template <class T>
void pivoted_multipliers(T* x, i64 count, T d, real_t<T> sfmin) {
  const T r = T(1) / d;
  const i64 q = mag(d) > sfmin ? count : reciprocal_rows(count);
  for (i64 i = 0; i < count; ++i) x[i] = multiplier(x[i], r, d, i < q);
}

// Multipliers under the pivot d without the safe-minimum test: groups of 4
// by the reciprocal, the rest divided.
template <class T>
void unpivoted_multipliers(T* x, i64 count, T d) {
  const T r = T(1) / d;
  const i64 q = reciprocal_rows(count);
  for (i64 i = 0; i < count; ++i) x[i] = multiplier(x[i], r, d, i < q);
}

// Rank-1 update of rows j+1..m-1, columns j+1..n-1, by column j and row j;
// rows unrolled by 4.
template <class T>
void rank1_update(T* a, i64 lda, i64 m, i64 n, i64 j) {
  const T* l = a + j * lda;
  for (i64 c = j + 1; c < n; ++c) {
    T* x = a + c * lda;
    const T u = x[j];
    i64 i = j + 1;
    for (; i + 4 <= m; i += 4) {
      x[i] = minus_product(x[i], l[i], u);
      x[i + 1] = minus_product(x[i + 1], l[i + 1], u);
      x[i + 2] = minus_product(x[i + 2], l[i + 2], u);
      x[i + 3] = minus_product(x[i + 3], l[i + 3], u);
    }
    for (; i < m; ++i) x[i] = minus_product(x[i], l[i], u);
  }
}

template <class T>
void getrf_loop(i64 m, i64 n, T* a, i64 lda, i64* ipiv, i64* info, real_t<T> sfmin) {
  i64 first_zero = 0;
  const i64 mn = min_i(m, n);
  for (i64 j = 0; j < mn; ++j) {
    T* cj = a + j * lda;
    const i64 p = pivot_row(cj, j, m);
    ipiv[j] = p + 1;
    if (!is_zero(cj[p])) {
      if (p != j) swap_rows(a, lda, n, j, p);
      pivoted_multipliers(cj + j + 1, m - j - 1, cj[j], sfmin);
    } else if (first_zero == 0) {
      first_zero = j + 1;
    }
    if (j + 1 < m && j + 1 < n) rank1_update(a, lda, m, n, j);
  }
  *info = first_zero;
}

// The body for an N x N matrix.
template <class T, int N>
[[gnu::flatten]] void getrf_body(T* a, i64 lda, i64* ipiv, i64* info, real_t<T> sfmin) {
  Tile<T, N, N> v;
  v.load(a, lda);
  i64 piv[N];
  i64 first_zero = 0;
  up<0, N>([&](auto J) {
    constexpr int j = J;
    real_t<T> best = mag(v(j, j));
    int p = j;
    up<j + 1, N>([&](auto I) {
      const real_t<T> x = mag(v(I, j));
      if (x > best) {
        best = x;
        p = I;
      }
    });
    piv[j] = p + 1;
    // A zero pivot is found in place (nothing below is larger), so the
    // interchange may come before the test.
    up<j + 1, N>([&](auto I) {
      if (p == I) up<0, N>([&](auto C) { std::swap(v(j, C), v(I, C)); });
    });
    const T d = v(j, j);
    if (is_zero(d)) {
      if (first_zero == 0) first_zero = j + 1;
    } else {
      const T r = T(1) / d;
      const bool all_by_reciprocal = mag(d) > sfmin;
      constexpr i64 q = reciprocal_rows(N - 1 - j);
      up<j + 1, N>([&](auto I) { v(I, j) = multiplier(v(I, j), r, d, all_by_reciprocal || I - (j + 1) < q); });
    }
    up<j + 1, N>([&](auto C) { up<j + 1, N>([&](auto I) { v(I, C) = minus_product(v(I, C), v(I, j), v(j, C)); }); });
  });
  v.store(a, lda);
  up<0, N>([&](auto J) { ipiv[J] = piv[J]; });
  *info = first_zero;
}

template <class T>
void getrf(const i64* m, const i64* n, T* a, const i64* lda, i64* ipiv, i64* info) {
  const real_t<T> sfmin = safe_minimum<T>();
  const i64 rows = *m, cols = *n, ld = *lda;
  if (rows == cols && with_size<1, 7>(cols, [&](auto N) { getrf_body<T, N>(a, ld, ipiv, info, sfmin); })) return;
  getrf_loop(rows, cols, a, ld, ipiv, info, sfmin);
}

// ---- Factorisation without pivoting ----------------------------------------
// info is the caller's: only a zero pivot met while it is still 0 writes
// it (the 1 x 1 body alone assigns it either way).

template <class T>
void getrfnp_loop(i64 m, i64 n, T* a, i64 lda, i64* info) {
  const i64 mn = min_i(m, n);
  for (i64 j = 0; j < mn; ++j) {
    T* cj = a + j * lda;
    if (is_zero(cj[j])) {
      if (*info == 0) *info = j + 1;
    } else {
      unpivoted_multipliers(cj + j + 1, m - j - 1, cj[j]);
    }
    if (j + 1 < m && j + 1 < n) rank1_update(a, lda, m, n, j);
  }
}

template <class T, int N>
[[gnu::flatten]] void getrfnp_body(T* a, i64 lda, i64* info) {
  if constexpr (N == 1) {
    *info = is_zero(a[0]) ? 1 : 0;
  } else {
    Tile<T, N, N> v;
    v.load(a, lda);
    up<0, N>([&](auto J) {
      constexpr int j = J;
      const T d = v(j, j);
      if (is_zero(d)) {
        if (*info == 0) *info = j + 1;
      } else {
        const T r = T(1) / d;
        constexpr i64 q = reciprocal_rows(N - 1 - j);
        up<j + 1, N>([&](auto I) { v(I, j) = multiplier(v(I, j), r, d, I - (j + 1) < q); });
      }
      up<j + 1, N>([&](auto C) { up<j + 1, N>([&](auto I) { v(I, C) = minus_product(v(I, C), v(I, j), v(j, C)); }); });
    });
    v.store(a, lda);
  }
}

template <class T>
void getrfnp(const i64* m, const i64* n, T* a, const i64* lda, i64* info) {
  const i64 rows = *m, cols = *n, ld = *lda;
  if (rows == cols && with_size<1, 5>(cols, [&](auto N) { getrfnp_body<T, N>(a, ld, info); })) return;
  getrfnp_loop(rows, cols, a, ld, info);
}

}  // namespace
}  // namespace lu
QOR_ISA_END

#define QOR_LAPACK_GETRF(l, T)                                                                            \
  QOR_DEF_API void qor_lapack_ps_def_##l##getrf_small(const i64* m, const i64* n, T* a, const i64* lda, \
                                                      i64* ipiv, i64* info) {                           \
    qor::QOR_ISA_NAME::lu::getrf(m, n, a, lda, ipiv, info);                                             \
  }                                                                                                     \
  QOR_DEF_API void qor_lapack_ps_def_##l##getrfnp_small(const i64* m, const i64* n, T* a, const i64* lda, \
                                                        i64* info) {                                     \
    qor::QOR_ISA_NAME::lu::getrfnp(m, n, a, lda, info);                                                  \
  }
using qor::i64;
QOR_FOR_EACH_TYPE(QOR_LAPACK_GETRF)
