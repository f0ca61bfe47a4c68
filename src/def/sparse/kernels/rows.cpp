// Row kernels on plain arrays (csr_ng_*: the gather over a three-array
// matrix with pointers already shifted by the base, the pattern-only
// product and the one-thread transposed product), and the reductions and
// vector steps the front ends chain around the scatter kernels.
#include "sparse/kernels/api.h"
#include "sparse/kernels/csr_paths.h"

namespace qor::sparse::kern {
namespace {

// Rows [0, last - first) of a three-array matrix, pointers shifted by the
// caller; with Dot, the unconjugated dot of the stored y with x[first + shift + i].
template <bool BetaZero, bool Dot, class T, class I>
void ng_rows(I first, I last, T* y, const T* x, const T* values, const I* rows, const I* cols, T alpha, T beta,
             I shift, T* dot) {
  T d = T(0);
  const idx n = idx(last) - idx(first);
  for (idx i = 0; i < n; ++i) {
    const T s = row_sum<false>(rows[i], rows[i + 1], cols, values, x, [](idx) { return true; });
    store<BetaZero>(y, i, mul(s, alpha), beta);
    if constexpr (Dot) d = d + mul(y[i], x[idx(first) + idx(shift) + i]);
  }
  if constexpr (Dot) *dot = d;
}

template <class T, class I>
void ng_beta(I first, I last, T* y, const T* x, const T* values, const I* rows, const I* cols, T alpha, T beta,
             I shift, T* dot, bool with_dot) {
  with_bool(is_zero(beta), [&](auto bz) {
    with_bool(with_dot, [&](auto wd) {
      ng_rows<decltype(bz)::value, decltype(wd)::value>(first, last, y, x, values, rows, cols, alpha, beta, shift,
                                                         dot);
    });
  });
}

template <class T, class I>
void pattern_rows(I first, I last, I base, T* y, const T* x, const I* rs, const I* re, const I* cols, T beta,
                  T alpha) {
  const I* cs = shift(cols, base);
  const T* xs = shift(x, base);
  with_bool(is_zero(beta), [&](auto bz) {
    for (idx i = first; i < last; ++i)
      store<decltype(bz)::value>(y, i, mul(pattern_sum<T>(rs[i], re[i], cs, xs), alpha), beta);
  });
}

// y = beta y over `cols` entries, then each row's terms t * a added at its
// columns, t = x[i] * alpha.
template <class T, class I>
void transposed_whole(I rows, I cols, I base, T* y, const T* x, const T* values, const I* rs, const I* re,
                      const I* ci, T beta, T alpha, i32 operation) {
  const bool zero = is_zero(beta);
  for (idx j = 0; j < cols; ++j) y[j] = zero ? T(0) : mul(y[j], beta);
  const I* cs = shift(ci, base);
  const T* vs = shift(values, base);
  T* ys = shift(y, base);
  with_bool(is_complex_v<T> && operation == op_c, [&](auto cj) {
    for (idx i = 0; i < rows; ++i) {
      const T t = mul(x[i], alpha);
      for (idx k = rs[i], end = re[i]; k < end; ++k) ys[cs[k]] += mul(t, take<decltype(cj)::value>(vs[k]));
    }
  });
}

// The left-to-right sum of the parts of position i; P parts when P > 0,
// else `parts`. A fixed P unrolls into one expression.
template <int P, class T> inline T parts_sum(const T* work, idx ld, idx parts, idx i) {
  const idx n = P > 0 ? P : parts;
  T s = work[i];
  for (idx p = 1; p < n; ++p) s = s + work[p * ld + i];
  return s;
}

template <int P, class T, class I> void merge1_body(I first, I last, I ld, I parts, const T* work, T* y) {
  for (idx i = first; i < last; ++i) y[i] = y[i] + parts_sum<P>(work, ld, parts, i);
}

// One body per part count 1 to 7 and 9; 8 and the rest take the loop.
template <class T, class I> void merge1(I first, I last, I ld, I parts, const T* work, T* y) {
  if (parts < 1 || first >= last) return;
  switch (parts) {
#define QOR_MERGE1_CASE(n) \
  case n:                  \
    return merge1_body<n>(first, last, ld, parts, work, y);
    QOR_MERGE1_CASE(1) QOR_MERGE1_CASE(2) QOR_MERGE1_CASE(3) QOR_MERGE1_CASE(4) QOR_MERGE1_CASE(5)
    QOR_MERGE1_CASE(6) QOR_MERGE1_CASE(7) QOR_MERGE1_CASE(9)
#undef QOR_MERGE1_CASE
    default:
      return merge1_body<0>(first, last, ld, parts, work, y);
  }
}

// y = beta y + alpha work[0] under the beta rule, then alpha work[p] added
// part by part.
template <class T, class I> void merge(I first, I last, I ld, I parts, const T* work, T* y, T alpha, T beta) {
  if (first >= last) return;
  with_bool(is_zero(beta), [&](auto bz) {
    constexpr bool z = decltype(bz)::value;
    if (parts < 1) {
      for (idx i = first; i < last; ++i) y[i] = z ? T(0) : mul(y[i], beta);
      return;
    }
    for (idx i = first; i < last; ++i) {
      T s = mul(alpha, work[i]);
      if constexpr (!z) s = mul(y[i], beta) + s;
      for (idx p = 1; p < parts; ++p) s = s + mul(alpha, work[p * ld + i]);
      y[i] = s;
    }
  });
}

template <class T, class I>
void coo_merge(I first, I last, I ld, I parts, const T* work, T* y, const T* x, T alpha, T beta, i32 unit,
               I count) {
  if (first >= last) return;
  with_bool(is_zero(beta), [&](auto bz) {
    for (idx i = first; i < last; ++i) {
      T s = parts > 0 ? mul(alpha, parts_sum<0>(work, ld, parts, i)) : T(0);
      if constexpr (!decltype(bz)::value) s = s + mul(beta, y[i]);
      if (unit && i < count) s = s + mul(alpha, x[i]);
      y[i] = s;
    }
  });
}

template <class T, class I> void dnxu(I first, I last, const T* x, T* y, T alpha, T beta) {
  const bool az = is_zero(alpha), bz = is_zero(beta);
  if (az && bz)
    for (idx i = first; i < last; ++i) y[i] = T(0);
  else if (az)
    for (idx i = first; i < last; ++i) y[i] = mul(beta, y[i]);
  else if (bz)
    for (idx i = first; i < last; ++i) y[i] = mul(alpha, x[i]);
  else
    for (idx i = first; i < last; ++i) y[i] = mul(alpha, x[i]) + mul(beta, y[i]);
}

}  // namespace
}  // namespace qor::sparse::kern

#define QOR_ROWS_ENTRIES(l, T, w, I)                                                                               \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_n_mv_ker_##w##_def(I first, I last, I, T* y, const T* x,               \
                                                                const T* values, const I* rows, const I* cols,     \
                                                                T alpha) {                                         \
    qor::sparse::kern::ng_beta<T, I>(first, last, y, x, values, rows, cols, alpha, T(0), I(0), nullptr, false);  \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_n_mv_ker_beta_##w##_def(I first, I last, I, T* y, const T* x,          \
                                                                     const T* values, const I* rows,               \
                                                                     const I* cols, T alpha, T beta) {             \
    qor::sparse::kern::ng_beta<T, I>(first, last, y, x, values, rows, cols, alpha, beta, I(0), nullptr, false);  \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_n_dotmv_ker_##w##_def(I first, I last, I, T* y, const T* x,            \
                                                                   const T* values, const I* rows, const I* cols,  \
                                                                   T alpha, I shift, T* dot) {                     \
    qor::sparse::kern::ng_beta<T, I>(first, last, y, x, values, rows, cols, alpha, T(0), shift, dot, true);      \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_n_dotmv_ker_beta_##w##_def(I first, I last, I, T* y, const T* x,       \
                                                                        const T* values, const I* rows,            \
                                                                        const I* cols, T alpha, T beta, I shift,   \
                                                                        T* dot) {                                  \
    qor::sparse::kern::ng_beta<T, I>(first, last, y, x, values, rows, cols, alpha, beta, shift, dot, true);      \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_n_mv_ker_b_##w##_def(I first, I last, I index_base, T* y, const T* x,  \
                                                                  const I* rows_start, const I* rows_end,          \
                                                                  const I* cols, T beta, T alpha) {                \
    qor::sparse::kern::pattern_rows<T, I>(first, last, index_base, y, x, rows_start, rows_end, cols, beta, alpha); \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_ng_t_mv_ker_##w##_def(                                                    \
      I rows, I cols, I index_base, T* y, const T* x, const T* values, const I* rows_start, const I* rows_end,     \
      const I* col_indx, T beta, T alpha, qor::sparse::i32 operation) {                                           \
    qor::sparse::kern::transposed_whole<T, I>(rows, cols, index_base, y, x, values, rows_start, rows_end,         \
                                              col_indx, beta, alpha, operation);                                   \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_mv_merge1_##w##_def(I first, I last, I ld, I parts, const T* work, T* y) { \
    qor::sparse::kern::merge1<T, I>(first, last, ld, parts, work, y);                                             \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_csr_mv_merge_##w##_def(I first, I last, I ld, I parts, const T* work, T* y,   \
                                                             T alpha, T beta) {                                    \
    qor::sparse::kern::merge<T, I>(first, last, ld, parts, work, y, alpha, beta);                                 \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_coo_mv_zeroize_array_##w##_def(I first, I last, T* array) {                   \
    for (I i = first; i < last; ++i) array[i] = T(0);                                                              \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_coo_mv_beta_y_##w##_def(I first, I last, T* y, T beta) {                      \
    const bool zero = qor::sparse::kern::is_zero(beta);                                                           \
    for (I i = first; i < last; ++i) y[i] = zero ? T(0) : qor::sparse::kern::mul(beta, y[i]);                     \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_coo_mv_merge_##w##_def(I first, I last, I ld, I parts, const T* work, T* y,   \
                                                             const T* x, T alpha, T beta, qor::sparse::i32 unit,   \
                                                             I count) {                                            \
    qor::sparse::kern::coo_merge<T, I>(first, last, ld, parts, work, y, x, alpha, beta, unit, count);            \
  }                                                                                                                \
  QOR_DEF_API void qor_sparse_##l##_coo_mv_dnxu_ker_##w##_def(I first, I last, const T* x, T* y, T alpha,        \
                                                                T beta) {                                          \
    qor::sparse::kern::dnxu<T, I>(first, last, x, y, alpha, beta);                                                \
  }

#define QOR_ROWS_ENTRIES_W(w, I, l, T) QOR_ROWS_ENTRIES(l, T, w, I)
#define QOR_ROWS_ENTRIES_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_ROWS_ENTRIES_W, l, T)
QOR_FOR_EACH_TYPE(QOR_ROWS_ENTRIES_T)
