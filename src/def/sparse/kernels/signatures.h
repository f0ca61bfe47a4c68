// Function types of the sparse product kernels, shared by the kernel
// library's entries (api.h), the core's front ends (through QOR_KERNEL) and
// the tests, so each signature is written once.
//
// T is the element type (float, double, qor::c32, qor::c64); I the integer
// width of the family: std::int32_t for the `_i4` members, std::int64_t for
// the `_i8` members. Every count, row or slice position and index-array
// element takes I; codes (operation, type, mode, diag, layout) are 32-bit.
// Scalars (alpha, beta) are passed by value.
//
// Conventions that hold for every kernel here:
//  - Ranges. `first` and `last` are zero-based positions (rows, columns,
//    elements, slices or panels, as each kernel says); the kernel does
//    [first, last) and returns at once when first >= last.
//  - Beta. A kernel with a beta has two paths: beta counts as zero only
//    when it compares equal to 0 (a NaN beta takes the general path); on the
//    zero path the output is written and never read, so stale NaNs in it do
//    not propagate. Alpha is never tested by the CSR and ESB kernels: an
//    empty row gives 0 * alpha, so an infinite alpha gives NaN.
//  - Gather and scatter. A gather path writes `y[i] = alpha * sum` under the
//    beta rule. A scatter path adds its terms into a buffer (`y[c] += ...`)
//    and applies neither alpha nor beta: the caller hands it a zeroed
//    private buffer per thread and reduces the buffers afterwards with
//    csr_mv_merge (or coo_mv_merge), which applies alpha and beta. Which
//    descriptors scatter is told by csr_mv_scatters / csc_mv_scatters below.
//  - Summation. Each output element is summed in one fixed order that
//    depends only on the matrix, never on the range a call was given, so
//    any split of the rows over threads gives the same bits.
//  - Conjugation. Complex members conjugate the stored values for
//    operation 12; real members treat 12 as 11. Dot products are
//    unconjugated: sum of y[i] * x[i].
//
// The analysis data the optimised kernels read (ESB slices, diagonal
// panels) is made by the core's analysis routines; src/core/sparse/analysis.h
// tells where it is kept and how to find the slice width, slice count and
// panel count.
#pragma once
#include <cstdint>

#include "frame/types.h"
#include "sparse/records.h"

namespace qor::sparse {

// --- The descriptor switch -------------------------------------------------
// csr_mv_def_ker, csc_mv_def_ker and csr_mm_def_ker switch on the
// descriptor (type, mode, diag) and the operation. A type outside 20..26
// returns 0 with nothing done. Types 25 and 26 take the paths of 23 and 24.
//   20 general: every stored element; diag is not read.
//   21, 22 symmetric, Hermitian: mode 40 (41) reads the lower (upper)
//      triangle and the diagonal and ignores elements of the other
//      triangle, so a fully stored matrix may be passed; the mirrored term
//      comes from the same element (conjugated for Hermitian); a stored
//      diagonal element is read as it is (conjugated for operation 12
//      only). Mode 42 is a row product over every stored element, which
//      must then hold both triangles. Diag 51 skips stored diagonal
//      elements and adds x[i] instead.
//   23 triangular: mode 40 (41) takes only the elements strictly below
//      (above) the diagonal, plus the diagonal once: the stored value for
//      diag 50 (absent gives 0), x[i] for diag 51. Mode 42 takes every
//      element, with the same diagonal rule.
//   24 diagonal: diag 51 gives y = alpha * x (beta rule); diag 50 takes the
//      first stored element on the diagonal of each row, 0 if it has none.

// True when the CSR switch takes a scatter path for these codes: the
// output is then a zeroed private buffer (indexed by column for operations
// 11 and 12, by row for symmetric and Hermitian), and alpha and beta are
// left to csr_mv_merge. Otherwise `y` gets alpha and beta directly.
constexpr bool csr_mv_scatters(i32 operation, i32 type, i32 mode) {
  switch (type) {
    case mt_general:
    case mt_triangular:
    case mt_block_triangular:
      return operation != op_n;
    case mt_symmetric:
    case mt_hermitian:
      return mode != fill_full;
    default:
      return false;
  }
}
// The same for CSC arrays, where operation 10 scatters along columns and
// 11 and 12 gather.
constexpr bool csc_mv_scatters(i32 operation, i32 type, i32 mode) {
  switch (type) {
    case mt_general:
    case mt_triangular:
    case mt_block_triangular:
      return operation == op_n;
    case mt_symmetric:
    case mt_hermitian:
      return mode != fill_full;
    default:
      return false;
  }
}

// --- Entry kernels with the descriptor switch ------------------------------

// CSR rows [first, last) of op(A) x. `rows_start`, `rows_end` (one entry
// per row, indexed by the zero-based row number), `col_indx` and `values`
// are the handle's arrays in the user's index base `index_base` (0 or 1);
// `x` and `y` are zero-based vectors. Gather paths write y[first..last)
// with alpha and beta; scatter paths add into the zeroed buffer `y` (see
// csr_mv_scatters), whose length is the matrix's column count for
// operations 11 and 12. `values` must not be null: a pattern-only matrix
// takes csr_ng_n_mv_ker_b. Returns 0.
template <class T, class I>
using csr_mv_def_ker_fn = status(I first, I last, I index_base, const I* rows_start, const I* rows_end,
                                 const I* col_indx, const T* values, const T* x, T* y, i32 operation, i32 type,
                                 i32 mode, i32 diag, T alpha, T beta);

// The same switch over CSC arrays: `first`, `last` are column positions,
// `rows_start`/`rows_end` the column pointers and `col_indx` the row
// indices. Operation 10 scatters (y is a zeroed buffer of the row count),
// 11 and 12 gather into y[first..last) with alpha and beta; symmetric and
// Hermitian modes read the CSR kernels of the other triangle, since a
// column-compressed upper triangle is a row-compressed lower one.
template <class T, class I>
using csc_mv_def_ker_fn = csr_mv_def_ker_fn<T, I>;

// Our addition: op(A) B for a dense B of `columns` columns, CSR rows
// [first, last), the same switch and arrays as csr_mv_def_ker. `layout`
// 101 (row-major) or 102 (column-major) applies to both `b` (leading
// dimension ldb) and `c` (ldc). Gather paths write rows [first, last) of
// C = alpha op(A) B + beta C; scatter paths add into `c`, a zeroed private
// buffer of the same layout and ldc with one row per matrix column (11,
// 12) or row (symmetric, Hermitian), leaving alpha and beta to a merge.
// Each column k gives the same bits as csr_mv_def_ker on column k of B.
// A layout other than 101 or 102 returns 3; otherwise 0.
template <class T, class I>
using csr_mm_def_ker_fn = status(I first, I last, I index_base, const I* rows_start, const I* rows_end,
                                 const I* col_indx, const T* values, i32 operation, i32 type, i32 mode, i32 diag,
                                 T alpha, i32 layout, const T* b, I columns, I ldb, T beta, T* c, I ldc);

// Whole COO matrix, one thread: y = alpha op(A) x + beta y. `rows`, `cols`
// are the matrix's extents; `nnz` elements in `row_indx`, `col_indx`,
// `values`, in base `index_base`. First scales all of y (rows entries for
// operation 10, cols entries for 11 and 12) by beta (clearing when beta is
// 0), then adds alpha * a * x per element in array order; symmetric and
// Hermitian add the mirrored term off the diagonal, unit kinds skip stored
// diagonal elements and add alpha * x[i] for i < min(rows, cols).
// Type outside 20..26 returns 0 with nothing done.
template <class T, class I>
using coo_mv_def_ker_full_fn = status(I rows, I cols, I nnz, I index_base, const I* row_indx, const I* col_indx,
                                      const T* values, const T* x, T* y, i32 operation, i32 type, i32 mode,
                                      i32 diag, T alpha, T beta);

// COO elements [first, last) (positions in the arrays, base
// `index_base`) scattered into the zeroed buffer `work`, without alpha or
// beta: work[r] += a x[c] (operation 10), work[c] += a x[r] (11, 12), the
// mirrored term for symmetric and Hermitian, the triangle and diagonal
// filters of types 23 to 26. Unit kinds skip stored diagonal elements; the
// unit term is added by coo_mv_merge. Type outside 20..26 returns 0.
template <class T, class I>
using coo_mv_def_ker_workspace_fn = status(I first, I last, I index_base, const I* row_indx, const I* col_indx,
                                           const T* values, const T* x, T* work, i32 operation, i32 type,
                                           i32 mode, i32 diag);

// --- Kernels on pointers already shifted by the base -----------------------
// For csr_ng_n_*: rows [first, last) of a three-array CSR matrix. The
// caller passes `rows` = rows_start + first (so row first + i runs from
// rows[i] to rows[i + 1]), `y` = y + first, and `values`, `cols`, `x`
// shifted back by the index base (values - base, col_indx - base,
// x - base), so that values[k] and x[cols[k]] are read as they stand.
// `n` is the matrix's column count; it is carried, not read.

// y[i] = alpha * sum_k values[k] x[cols[k]]; an empty row gives 0 * alpha.
template <class T, class I>
using csr_ng_n_mv_ker_fn = void(I first, I last, I n, T* y, const T* x, const T* values, const I* rows,
                                const I* cols, T alpha);
// y[i] = beta y[i] + alpha * sum, with the beta rule.
template <class T, class I>
using csr_ng_n_mv_ker_beta_fn = void(I first, I last, I n, T* y, const T* x, const T* values, const I* rows,
                                     const I* cols, T alpha, T beta);
// As csr_ng_n_mv_ker, and *dot = sum over the range of y[i] * x[first +
// shift + i], where `shift` is the amount x was shifted back (the index
// base), so the dot reads the caller's x[first + i]. An empty range writes 0.
template <class T, class I>
using csr_ng_n_dotmv_ker_fn = void(I first, I last, I n, T* y, const T* x, const T* values, const I* rows,
                                   const I* cols, T alpha, I shift, T* dot);
template <class T, class I>
using csr_ng_n_dotmv_ker_beta_fn = void(I first, I last, I n, T* y, const T* x, const T* values, const I* rows,
                                        const I* cols, T alpha, T beta, I shift, T* dot);

// --- Kernels on the user's arrays with an explicit base --------------------

// Pattern-only CSR rows [first, last): every stored element counts as 1.
// `rows_start`, `rows_end` indexed by the zero-based row, `cols` in base
// `index_base`; x, y zero-based. y[i] = alpha * sum x[c] under the beta
// rule (beta 0 has its own path).
template <class T, class I>
using csr_ng_n_mv_ker_b_fn = void(I first, I last, I index_base, T* y, const T* x, const I* rows_start,
                                  const I* rows_end, const I* cols, T beta, T alpha);
// Transposed product of the whole matrix on one thread, without a buffer:
// y (cols entries) = beta y (cleared when beta is 0), then for each row i
// with t = x[i] * alpha, y[c] += t * a for each stored (c, a). `rows`,
// `cols` are the extents; arrays in base `index_base`. `operation` 12
// conjugates a in complex types.
template <class T, class I>
using csr_ng_t_mv_ker_fn = void(I rows, I cols, I index_base, T* y, const T* x, const T* values,
                                const I* rows_start, const I* rows_end, const I* col_indx, T beta, T alpha,
                                i32 operation);

// --- Reductions of private buffers ------------------------------------------
// `parts` buffers of stride `ld` in `work`; positions [first, last).
// The parts of one element are added left to right (work[0] + work[ld] +
// ...), the same for every part count.

// y[i] += sum_p work[p * ld + i]. A count below 1 does nothing.
template <class T, class I>
using csr_mv_merge1_fn = void(I first, I last, I ld, I parts, const T* work, T* y);
// y[i] = beta y[i] + alpha * work[i], then y[i] += alpha * work[p * ld + i]
// for each further part, with the beta rule. A count below 1 applies only
// the beta rule to y.
template <class T, class I>
using csr_mv_merge_fn = void(I first, I last, I ld, I parts, const T* work, T* y, T alpha, T beta);

// array[first..last) = 0.
template <class T, class I> using coo_mv_zeroize_array_fn = void(I first, I last, T* array);
// y[first..last) *= beta; beta 0 clears.
template <class T, class I> using coo_mv_beta_y_fn = void(I first, I last, T* y, T beta);
// y[i] = alpha * s + beta y[i], s the left-to-right sum of the parts
// work[p * ld + i], with the beta rule; then, when `unit` is nonzero and
// i < count, y[i] += alpha * x[i] (the unit diagonal the workspace kernel
// left out).
template <class T, class I>
using coo_mv_merge_fn = void(I first, I last, I ld, I parts, const T* work, T* y, const T* x, T alpha, T beta,
                             i32 unit, I count);
// Unit diagonal matrix: y[i] = alpha x[i] + beta y[i] over [first, last),
// with separate paths for alpha 0 (y = beta y, or 0) and beta 0.
template <class T, class I> using coo_mv_dnxu_ker_fn = void(I first, I last, const T* x, T* y, T alpha, T beta);

// --- Optimised layouts (made by the core's analysis) ------------------------

// Diagonal panels of 8 rows. `panels` whole panels starting at the one
// `panel_ptr` points at, then, when 0 < tail < 8, one partial panel of
// `tail` rows. panel_ptr[p] .. panel_ptr[p + 1] are the diagonal positions
// of panel p in `offsets` (the start column, the column lane 0 would
// touch) and in `values` (8 per diagonal, from 8 * panel_ptr[p]). `y`
// points at the first row of the first panel; x is the whole vector of
// `ncols` entries. A range of panels [p0, p1) is done by passing
// panel_ptr + p0 and y + 8 * p0.
template <class T, class I>
using dia_mv_ker_fn = void(I panels, I tail, I ncols, const i32* panel_ptr, const i32* offsets, const T* values,
                           const T* x, T* y, T alpha, T beta);

// ESB slices [first, last) of width w: slice s holds rows s*w .. s*w+w-1,
// its interleaved steps at positions esb_start[s] .. esb_end[s] of
// `esb_cols` (zero-based) and `esb_values`. `tail` is nonzero only when the
// range ends with the last, partial slice: it then counts the rows of
// that slice (rows mod w), and the last slice of the range stores only
// `tail` rows; a tail above w leaves that slice's rows untouched. y[s*w + j]
// gets alpha * acc under the beta rule; y and x are whole vectors.
template <class T, class I>
using xESB_SpMV_4_fn = void(I first, I last, I tail, const I* esb_start, const I* esb_end, const I* esb_cols,
                            const T* esb_values, const T* x, T* y, T alpha, T beta);
template <class T, class I> using xESB_SpMV_8_fn = xESB_SpMV_4_fn<T, I>;
// Run-time width w (at least 1).
template <class T, class I>
using xESB_SpMV_fn = void(I w, I first, I last, I tail, const I* esb_start, const I* esb_end, const I* esb_cols,
                          const T* esb_values, const T* x, T* y, T alpha, T beta);
// As above, and *dot = sum of y[i] * x[i] over the rows stored, in row
// order, written once at the end (0 for an empty range). The matrix is
// square.
template <class T, class I>
using ESB_SpDOTMV_4_fn = void(I first, I last, I tail, const I* esb_start, const I* esb_end, const I* esb_cols,
                              const T* esb_values, const T* x, T* y, T alpha, T beta, T* dot);
template <class T, class I> using ESB_SpDOTMV_8_fn = ESB_SpDOTMV_4_fn<T, I>;
template <class T, class I>
using ESB_SpDOTMV_fn = void(I w, I first, I last, I tail, const I* esb_start, const I* esb_end, const I* esb_cols,
                            const T* esb_values, const T* x, T* y, T alpha, T beta, T* dot);

}  // namespace qor::sparse

// X-macro over the exported kernels: K(name, ...) with the extra arguments
// passed through, one entry per `name##_fn` above.
#define QOR_SPARSE_KERNELS(K, ...)                                                                              \
  K(csr_mv_def_ker, __VA_ARGS__) K(csc_mv_def_ker, __VA_ARGS__) K(csr_mm_def_ker, __VA_ARGS__)                \
  K(coo_mv_def_ker_full, __VA_ARGS__) K(coo_mv_def_ker_workspace, __VA_ARGS__)                                 \
  K(csr_ng_n_mv_ker, __VA_ARGS__) K(csr_ng_n_mv_ker_beta, __VA_ARGS__) K(csr_ng_n_mv_ker_b, __VA_ARGS__)       \
  K(csr_ng_t_mv_ker, __VA_ARGS__) K(csr_ng_n_dotmv_ker, __VA_ARGS__) K(csr_ng_n_dotmv_ker_beta, __VA_ARGS__)   \
  K(csr_mv_merge1, __VA_ARGS__) K(csr_mv_merge, __VA_ARGS__) K(coo_mv_zeroize_array, __VA_ARGS__)             \
  K(coo_mv_beta_y, __VA_ARGS__) K(coo_mv_merge, __VA_ARGS__) K(coo_mv_dnxu_ker, __VA_ARGS__)                   \
  K(dia_mv_ker, __VA_ARGS__) K(xESB_SpMV_4, __VA_ARGS__) K(xESB_SpMV_8, __VA_ARGS__) K(xESB_SpMV, __VA_ARGS__) \
  K(ESB_SpDOTMV_4, __VA_ARGS__) K(ESB_SpDOTMV_8, __VA_ARGS__) K(ESB_SpDOTMV, __VA_ARGS__)

// The two index widths: W(suffix, integer type, ...).
#define QOR_SPARSE_KERNEL_WIDTHS(W, ...) W(i4, std::int32_t, __VA_ARGS__) W(i8, std::int64_t, __VA_ARGS__)
