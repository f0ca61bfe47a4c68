// The CSR and CSC descriptor switches (csr_mv_def_ker, csc_mv_def_ker),
// our dense-matrix CSR product (csr_mm_def_ker), and the per-code row
// kernels xcsr_<code>_mv_def_ker they call.
//
// The per-code kernels are hidden: one per type, operation, triangle and
// diagonal letter, for every element type and index width, stamped from
// the code table below. Triangular, diagonal and fully stored (mode 42)
// descriptors have no per-code kernel: the switch runs their paths itself.
#include "sparse/kernels/api.h"
#include "sparse/kernels/csr_paths.h"

namespace qor::sparse::kern {
namespace {

template <class T, class I>
using grid_fn = void(I first, I last, I base, const I* rs, const I* re, const I* ci, const T* v, const T* x, T* y,
                     T alpha, T beta);

template <kind K, bool Trans, bool Conj, fill M, bool Unit, class T, class I>
void grid_member(I first, I last, I base, const I* rs, const I* re, const I* ci, const T* v, const T* x, T* y,
                 T alpha, T beta) {
  run_fixed<K, Trans, Conj && is_complex_v<T>, M, Unit>(make_args(first, last, base, rs, re, ci, v, x, y, alpha, beta));
}

}  // namespace
}  // namespace qor::sparse::kern

namespace qor::sparse::kern {
namespace {

template <class T, class I>
status switch_mv(bool csc, grid_fn<T, I>* const* grid, I first, I last, I base, const I* rs, const I* re,
                 const I* ci, const T* v, const T* x, T* y, i32 operation, i32 type, i32 mode, i32 diag, T alpha,
                 T beta) {
  const plan p = make_plan(csc, is_complex_v<T>, operation, type, mode, diag);
  if (!p.valid || first >= last) return ok;
  const int code = grid_index(p);
  if (code >= 0)
    grid[code](first, last, base, rs, re, ci, v, x, y, alpha, beta);
  else
    run_plan(p, make_args(first, last, base, rs, re, ci, v, x, y, alpha, beta));
  return ok;
}

// Row-major products stream whole rows of B: each stored element reads
// its row of B once and adds it into a block of the output row, so the
// innermost loop runs over contiguous columns. Every output element is
// still summed exactly as row_sum and scatter_rows sum it (steps of four
// paired products, the remainder highest index first; scatters in array
// order), so a column gives the bits of csr_mv_def_ker on that column
// whichever block or thread holds it.
inline constexpr idx row_block = 64;

// `Fixed`, when not 0, is the column count known at compile time, so a
// narrow product's row fits whole vectors with no loop control.
template <bool Conj, bool BetaZero, idx Fixed, class T, class I>
void gather_rows_rm(idx first, idx last, idx base, const I* rs, const I* re, const I* cs, const T* vs, const T* b,
                    idx columns, idx ldb, T alpha, T beta, T* c, idx ldc) {
  if constexpr (Fixed != 0) columns = Fixed;
  const T* bs = b - base * ldb;  // row cs[k] of B at bs + cs[k] * ldb
  T s[row_block];
  for (idx i = first; i < last; ++i) {
    const idx start = rs[i], end = re[i];
    T* crow = c + i * ldc;
    for (idx j0 = 0; j0 < columns; j0 += row_block) {
      const idx n = Fixed != 0 ? Fixed : columns - j0 < row_block ? columns - j0 : row_block;
      for (idx j = 0; j < n; ++j) s[j] = T(0);
      idx k = start;
      for (; k + 4 <= end; k += 4) {
        const T v0 = take<Conj>(vs[k]), v1 = take<Conj>(vs[k + 1]);
        const T v2 = take<Conj>(vs[k + 2]), v3 = take<Conj>(vs[k + 3]);
        const T* b0 = bs + static_cast<idx>(cs[k]) * ldb + j0;
        const T* b1 = bs + static_cast<idx>(cs[k + 1]) * ldb + j0;
        const T* b2 = bs + static_cast<idx>(cs[k + 2]) * ldb + j0;
        const T* b3 = bs + static_cast<idx>(cs[k + 3]) * ldb + j0;
        for (idx j = 0; j < n; ++j) {
          const T p = mul(v0, b0[j]) + mul(v1, b1[j]);
          const T q = mul(v2, b2[j]) + mul(v3, b3[j]);
          s[j] = s[j] + (p + q);
        }
      }
      for (idx r = end - 1; r >= k; --r) {
        const T v = take<Conj>(vs[r]);
        const T* br = bs + static_cast<idx>(cs[r]) * ldb + j0;
        for (idx j = 0; j < n; ++j) s[j] = s[j] + mul(v, br[j]);
      }
      T* cj = crow + j0;
      for (idx j = 0; j < n; ++j) store<BetaZero>(cj, j, mul(s[j], alpha), beta);
    }
  }
}

template <bool Conj, class T, class I>
void scatter_rows_rm(idx first, idx last, idx base, const I* rs, const I* re, const I* cs, const T* vs, const T* b,
                     idx columns, idx ldb, T* c, idx ldc) {
  T* cbase = c - base * ldc;  // row cs[k] of the buffer at cbase + cs[k] * ldc
  for (idx i = first; i < last; ++i) {
    const T* brow = b + i * ldb;
    for (idx k = rs[i], end = re[i]; k < end; ++k) {
      const T v = take<Conj>(vs[k]);
      T* crow = cbase + static_cast<idx>(cs[k]) * ldc;
      for (idx j = 0; j < columns; ++j) crow[j] += mul(v, brow[j]);
    }
  }
}

// Column k of B and C: contiguous in column-major storage, strided in
// row-major storage. Each column runs the path csr_mv_def_ker would run;
// row-major general and fully stored products take the row kernels above.
template <class T, class I>
status switch_mm(I first, I last, I base, const I* rs, const I* re, const I* ci, const T* v, i32 operation,
                 i32 type, i32 mode, i32 diag, T alpha, i32 layout, const T* b, I columns, I ldb, T beta, T* c,
                 I ldc) {
  if (layout != row_major && layout != column_major) return invalid_value;
  const plan p = make_plan(false, is_complex_v<T>, operation, type, mode, diag);
  if (!p.valid || first >= last) return ok;
  if (layout == row_major) {
    bool done = false;
    dispatch<T>(p, [&](auto q) {
      using Q = decltype(q);
      if constexpr (!Q::unit && (Q::k == kind::general || Q::mode == fill::full) && Q::k != kind::triangular &&
                    Q::k != kind::diagonal) {
        const I* cs = shift(ci, base);
        const T* vs = shift(v, base);
        if constexpr (Q::k == kind::general && Q::trans) {
          scatter_rows_rm<Q::conj>(first, last, base, rs, re, cs, vs, b, columns, ldb, c, ldc);
        } else {
          constexpr bool ec = effective_conj(Q::k, Q::trans, Q::conj);
          with_bool(is_zero(beta), [&](auto bz) {
            constexpr bool z = decltype(bz)::value;
            if (columns == 8)
              gather_rows_rm<ec, z, 8>(first, last, base, rs, re, cs, vs, b, columns, ldb, alpha, beta, c, ldc);
            else if (columns == 16)
              gather_rows_rm<ec, z, 16>(first, last, base, rs, re, cs, vs, b, columns, ldb, alpha, beta, c, ldc);
            else if (columns == 32)
              gather_rows_rm<ec, z, 32>(first, last, base, rs, re, cs, vs, b, columns, ldb, alpha, beta, c, ldc);
            else
              gather_rows_rm<ec, z, 0>(first, last, base, rs, re, cs, vs, b, columns, ldb, alpha, beta, c, ldc);
          });
        }
        done = true;
      }
    });
    if (done) return ok;
  }
  for (idx k = 0; k < columns; ++k) {
    if (layout == column_major) {
      run_plan(p, make_args(first, last, base, rs, re, ci, v, b + k * ldb, c + k * ldc, alpha, beta));
    } else {
      const strided<const T> x{b + k, ldb};
      const strided<T> y{c + k, ldc};
      run_plan(p, make_args(first, last, base, rs, re, ci, v, x, y, alpha, beta));
    }
  }
  return ok;
}

}  // namespace
}  // namespace qor::sparse::kern

#define QOR_XCSR_MEMBER(code, K, TR, CJ, M, U, l, T, w, I)                                                        \
  extern "C" __attribute__((visibility("hidden"))) void qor_sparse_##l##_xcsr_##code##_mv_def_ker_##w##_def(      \
      I first, I last, I base, const I* rs, const I* re, const I* ci, const T* v, const T* x, T* y, T alpha,     \
      T beta) {                                                                                                  \
    qor::sparse::kern::grid_member<qor::sparse::kern::kind::K, TR, CJ, qor::sparse::kern::fill::M, U>(          \
        first, last, base, rs, re, ci, v, x, y, alpha, beta);                                                    \
  }
#define QOR_XCSR_ADDRESS(code, K, TR, CJ, M, U, l, T, w, I) &qor_sparse_##l##_xcsr_##code##_mv_def_ker_##w##_def,

// Everything of one element type and width.
#define QOR_CSR_ENTRIES(l, T, w, I)                                                                                \
  QOR_SPARSE_GRID_CODES(QOR_XCSR_MEMBER, l, T, w, I)                                                                        \
  namespace qor::sparse::kern {                                                                                    \
  namespace {                                                                                                      \
  constexpr grid_fn<T, I>* grid_##l##_##w[] = {QOR_SPARSE_GRID_CODES(QOR_XCSR_ADDRESS, l, T, w, I)};                        \
  static_assert(sizeof(grid_##l##_##w) / sizeof(grid_##l##_##w[0]) == grid_codes);                                       \
  }                                                                                                                \
  }                                                                                                                \
  QOR_DEF_API qor::sparse::status qor_sparse_##l##_csr_mv_def_ker_##w##_def(                                      \
      I first, I last, I index_base, const I* rows_start, const I* rows_end, const I* col_indx, const T* values,   \
      const T* x, T* y, qor::sparse::i32 operation, qor::sparse::i32 type, qor::sparse::i32 mode,                 \
      qor::sparse::i32 diag, T alpha, T beta) {                                                                    \
    return qor::sparse::kern::switch_mv<T, I>(false, qor::sparse::kern::grid_##l##_##w, first, last, index_base, \
                                              rows_start, rows_end, col_indx, values, x, y, operation, type,      \
                                              mode, diag, alpha, beta);                                           \
  }                                                                                                                \
  QOR_DEF_API qor::sparse::status qor_sparse_##l##_csc_mv_def_ker_##w##_def(                                      \
      I first, I last, I index_base, const I* rows_start, const I* rows_end, const I* col_indx, const T* values,   \
      const T* x, T* y, qor::sparse::i32 operation, qor::sparse::i32 type, qor::sparse::i32 mode,                 \
      qor::sparse::i32 diag, T alpha, T beta) {                                                                    \
    return qor::sparse::kern::switch_mv<T, I>(true, qor::sparse::kern::grid_##l##_##w, first, last, index_base,  \
                                              rows_start, rows_end, col_indx, values, x, y, operation, type,      \
                                              mode, diag, alpha, beta);                                           \
  }                                                                                                                \
  QOR_DEF_API qor::sparse::status qor_sparse_##l##_csr_mm_def_ker_##w##_def(                                      \
      I first, I last, I index_base, const I* rows_start, const I* rows_end, const I* col_indx, const T* values,   \
      qor::sparse::i32 operation, qor::sparse::i32 type, qor::sparse::i32 mode, qor::sparse::i32 diag, T alpha,   \
      qor::sparse::i32 layout, const T* b, I columns, I ldb, T beta, T* c, I ldc) {                               \
    return qor::sparse::kern::switch_mm<T, I>(first, last, index_base, rows_start, rows_end, col_indx, values,    \
                                              operation, type, mode, diag, alpha, layout, b, columns, ldb, beta,  \
                                              c, ldc);                                                             \
  }

#define QOR_CSR_ENTRIES_W(w, I, l, T) QOR_CSR_ENTRIES(l, T, w, I)
#define QOR_CSR_ENTRIES_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_CSR_ENTRIES_W, l, T)
QOR_FOR_EACH_TYPE(QOR_CSR_ENTRIES_T)
