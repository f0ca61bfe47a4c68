// The COO descriptor switches: the whole-matrix product on one thread
// (coo_mv_def_ker_full, which applies alpha and beta itself) and the
// element-range scatter into a private buffer (coo_mv_def_ker_workspace,
// reduced afterwards by coo_mv_merge), with their hidden per-code kernels
// xcoo_<code>_mv_def_ker_full and _workspace stamped from the code table.
#include "sparse/kernels/api.h"
#include "sparse/kernels/csr_paths.h"

namespace qor::sparse::kern {
namespace {

// Elements [first, last) added into y: op(A) x term by term, each term
// alpha * a * x when Alpha, else a * x. Unit kinds skip stored diagonal
// elements (the caller adds the unit diagonal); symmetric and Hermitian
// kinds add the mirrored term off the diagonal and ignore the other
// triangle, reading the diagonal as stored (conjugated for operation 12); triangular kinds keep their strict triangle and, unless unit,
// the diagonal; diagonal kinds keep the diagonal only.
template <class Q, bool Alpha, class T, class I>
void coo_terms(idx first, idx last, idx base, const I* ri, const I* ci, const T* v, const T* x, T* y, T alpha) {
  constexpr kind K = Q::k;
  constexpr bool sym = (K == kind::symmetric || K == kind::hermitian) && Q::mode != fill::full;
  constexpr bool conj_all = (K == kind::symmetric || K == kind::hermitian) ? effective_conj(K, Q::trans, Q::conj)
                                                                          : Q::conj;
  // Symmetric and Hermitian products are the same read forwards or
  // transposed once the effective conjugation is taken.
  constexpr bool trans = (K == kind::symmetric || K == kind::hermitian) ? false : Q::trans;
  auto scaled = [&](T a) { return Alpha ? mul(alpha, a) : a; };
  for (idx k = first; k < last; ++k) {
    const idx r = idx(ri[k]) - base, c = idx(ci[k]) - base;
    const T a = take<conj_all>(v[k]);
    if constexpr (sym) {
      if (r == c) {
        if constexpr (!Q::unit) y[r] += mul(scaled(take<Q::conj>(v[k])), x[r]);
      } else if (Q::mode == fill::lower ? r > c : r < c) {
        y[r] += mul(scaled(a), x[c]);
        y[c] += mul(scaled(K == kind::hermitian ? conj(a) : a), x[r]);
      }
    } else {
      bool in;
      if constexpr (K == kind::diagonal)
        in = !Q::unit && r == c;
      else if constexpr (K == kind::triangular)
        in = (Q::mode == fill::lower ? r > c : r < c) || (!Q::unit && r == c);
      else
        in = !Q::unit || r != c;
      if (in) {
        if (trans)
          y[c] += mul(scaled(a), x[r]);
        else
          y[r] += mul(scaled(a), x[c]);
      }
    }
  }
}

template <class Q, class T, class I>
void coo_full(I rows, I cols, I nnz, I base, const I* ri, const I* ci, const T* v, const T* x, T* y, T alpha,
              T beta) {
  const idx n = Q::trans && Q::k != kind::symmetric && Q::k != kind::hermitian ? cols : rows;
  const bool zero = is_zero(beta);
  for (idx i = 0; i < n; ++i) y[i] = zero ? T(0) : mul(beta, y[i]);
  coo_terms<Q, true>(0, nnz, base, ri, ci, v, x, y, alpha);
  if constexpr (Q::unit) {
    const idx m = rows < cols ? rows : cols;
    for (idx i = 0; i < m; ++i) y[i] += mul(alpha, x[i]);
  }
}

template <class Q, class T, class I>
void coo_workspace(I first, I last, I base, const I* ri, const I* ci, const T* v, const T* x, T* work) {
  coo_terms<Q, false>(first, last, base, ri, ci, v, x, work, T(0));
}

template <class T, class I>
using full_fn = void(I rows, I cols, I nnz, I base, const I* ri, const I* ci, const T* v, const T* x, T* y, T alpha,
                     T beta);
template <class T, class I>
using workspace_fn = void(I first, I last, I base, const I* ri, const I* ci, const T* v, const T* x, T* work);

template <class T, class I>
status switch_full(full_fn<T, I>* const* grid, I rows, I cols, I nnz, I base, const I* ri, const I* ci, const T* v,
                   const T* x, T* y, i32 operation, i32 type, i32 mode, i32 diag, T alpha, T beta) {
  const plan p = make_plan(false, is_complex_v<T>, operation, type, mode, diag);
  if (!p.valid) return ok;
  const int code = grid_index(p);
  if (code >= 0)
    grid[code](rows, cols, nnz, base, ri, ci, v, x, y, alpha, beta);
  else
    dispatch<T>(p, [&](auto q) { coo_full<decltype(q)>(rows, cols, nnz, base, ri, ci, v, x, y, alpha, beta); });
  return ok;
}

template <class T, class I>
status switch_workspace(workspace_fn<T, I>* const* grid, I first, I last, I base, const I* ri, const I* ci,
                        const T* v, const T* x, T* work, i32 operation, i32 type, i32 mode, i32 diag) {
  const plan p = make_plan(false, is_complex_v<T>, operation, type, mode, diag);
  if (!p.valid || first >= last) return ok;
  const int code = grid_index(p);
  if (code >= 0)
    grid[code](first, last, base, ri, ci, v, x, work);
  else
    dispatch<T>(p, [&](auto q) { coo_workspace<decltype(q)>(first, last, base, ri, ci, v, x, work); });
  return ok;
}

}  // namespace
}  // namespace qor::sparse::kern

#define QOR_COO_PATH(K, TR, CJ, M, U, T)                                                                    \
  qor::sparse::kern::path<qor::sparse::kern::kind::K, TR, CJ && qor::is_complex_v<T>, qor::sparse::kern::fill::M, \
                          U>
#define QOR_XCOO_MEMBERS(code, K, TR, CJ, M, U, l, T, w, I)                                                        \
  extern "C" __attribute__((visibility("hidden"))) void qor_sparse_##l##_xcoo_##code##_mv_def_ker_full_##w##_def( \
      I rows, I cols, I nnz, I base, const I* ri, const I* ci, const T* v, const T* x, T* y, T alpha, T beta) {    \
    qor::sparse::kern::coo_full<QOR_COO_PATH(K, TR, CJ, M, U, T)>(rows, cols, nnz, base, ri, ci, v, x, y, alpha,  \
                                                                  beta);                                           \
  }                                                                                                                \
  extern "C" __attribute__((visibility("hidden"))) void                                                            \
      qor_sparse_##l##_xcoo_##code##_mv_def_ker_workspace_##w##_def(I first, I last, I base, const I* ri,         \
                                                                      const I* ci, const T* v, const T* x,         \
                                                                      T* work) {                                   \
    qor::sparse::kern::coo_workspace<QOR_COO_PATH(K, TR, CJ, M, U, T)>(first, last, base, ri, ci, v, x, work);    \
  }
#define QOR_XCOO_FULL_ADDRESS(code, K, TR, CJ, M, U, l, T, w, I) \
  &qor_sparse_##l##_xcoo_##code##_mv_def_ker_full_##w##_def,
#define QOR_XCOO_WORKSPACE_ADDRESS(code, K, TR, CJ, M, U, l, T, w, I) \
  &qor_sparse_##l##_xcoo_##code##_mv_def_ker_workspace_##w##_def,

#define QOR_COO_ENTRIES(l, T, w, I)                                                                                \
  QOR_SPARSE_GRID_CODES(QOR_XCOO_MEMBERS, l, T, w, I)                                                              \
  namespace qor::sparse::kern {                                                                                    \
  namespace {                                                                                                      \
  constexpr full_fn<T, I>* full_##l##_##w[] = {QOR_SPARSE_GRID_CODES(QOR_XCOO_FULL_ADDRESS, l, T, w, I)};         \
  constexpr workspace_fn<T, I>* workspace_##l##_##w[] = {                                                          \
      QOR_SPARSE_GRID_CODES(QOR_XCOO_WORKSPACE_ADDRESS, l, T, w, I)};                                              \
  static_assert(sizeof(full_##l##_##w) / sizeof(full_##l##_##w[0]) == grid_codes);                                 \
  }                                                                                                                \
  }                                                                                                                \
  QOR_DEF_API qor::sparse::status qor_sparse_##l##_coo_mv_def_ker_full_##w##_def(                                 \
      I rows, I cols, I nnz, I index_base, const I* row_indx, const I* col_indx, const T* values, const T* x,      \
      T* y, qor::sparse::i32 operation, qor::sparse::i32 type, qor::sparse::i32 mode, qor::sparse::i32 diag,      \
      T alpha, T beta) {                                                                                           \
    return qor::sparse::kern::switch_full<T, I>(qor::sparse::kern::full_##l##_##w, rows, cols, nnz, index_base,   \
                                                row_indx, col_indx, values, x, y, operation, type, mode, diag,     \
                                                alpha, beta);                                                      \
  }                                                                                                                \
  QOR_DEF_API qor::sparse::status qor_sparse_##l##_coo_mv_def_ker_workspace_##w##_def(                            \
      I first, I last, I index_base, const I* row_indx, const I* col_indx, const T* values, const T* x, T* work,   \
      qor::sparse::i32 operation, qor::sparse::i32 type, qor::sparse::i32 mode, qor::sparse::i32 diag) {          \
    return qor::sparse::kern::switch_workspace<T, I>(qor::sparse::kern::workspace_##l##_##w, first, last,         \
                                                     index_base, row_indx, col_indx, values, x, work, operation,   \
                                                     type, mode, diag);                                            \
  }

#define QOR_COO_ENTRIES_W(w, I, l, T) QOR_COO_ENTRIES(l, T, w, I)
#define QOR_COO_ENTRIES_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_COO_ENTRIES_W, l, T)
QOR_FOR_EACH_TYPE(QOR_COO_ENTRIES_T)
