// Function types of the sparse handle routines, shared by the kernel
// library's entries (api.h), the core's front ends (through QOR_KERNEL) and
// the tests, so each signature is written once.
//
// T is the element type (float, double, qor::c32, qor::c64); I the integer
// width of the family: std::int32_t for the `_i4` members, std::int64_t for
// the `_i8` members. Counts, extents, index-array elements and call counts
// take I; codes (base, layout, operation, kind, hint) are 32-bit in both.
// Every routine returns a qor::sparse::status.
#pragma once
#include <cstdint>

#include "frame/types.h"
#include "sparse/records.h"

namespace qor::sparse {

template <class I> using handle_t = sparse_matrix<I>;

// --- Creation ------------------------------------------------------------
// The handle adopts the caller's arrays by pointer; nothing is copied.
// `rows_end` may equal `rows_start + 1` (three arrays) or be a separate
// array (four arrays). `values` may be null for a pattern-only matrix.

// CSR: rows x cols, compressed by rows.
template <class T, class I>
using create_csr_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I* rows_start, I* rows_end,
                             I* col_indx, T* values);
// As create_csr, with an element count (`nnz_hint`, negative: count it) and
// `allow_empty` (nonzero: rows and cols both 0 with all arrays null make an
// empty handle).
template <class T, class I>
using create_csr_internal_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I nnz_hint,
                                      I* rows_start, I* rows_end, I* col_indx, T* values, i32 allow_empty);
// CSC: rows x cols, compressed by columns; `cols_start`, `cols_end` have
// one entry per column and `row_indx` holds row indices.
template <class T, class I>
using create_csc_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I* cols_start, I* cols_end,
                             I* row_indx, T* values);
template <class T, class I>
using create_csc_internal_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I nnz_hint,
                                      I* cols_start, I* cols_end, I* row_indx, T* values, i32 allow_empty);
// BSR: rows x cols blocks of block_size x block_size; `block_layout` 101
// (row-major blocks) or 102 (column-major). Block size 1 makes a CSR handle.
template <class T, class I>
using create_bsr_fn = status(handle_t<I>** out, i32 index_base, i32 block_layout, I rows, I cols, I block_size,
                             I* rows_start, I* rows_end, I* col_indx, T* values);
template <class T, class I>
using create_bsr_internal_fn = status(handle_t<I>** out, i32 index_base, i32 block_layout, I rows, I cols,
                                      I nnz_hint, I block_size, I* rows_start, I* rows_end, I* col_indx,
                                      T* values, i32 allow_empty);
// COO: nnz triplets.
template <class T, class I>
using create_coo_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I nnz, I* row_indx, I* col_indx,
                             T* values);
// As create_coo; with `allow_empty` set, nnz 0 (rows, cols not negative)
// makes an empty handle and both index arrays may be null.
template <class T, class I>
using create_coo_internal_fn = status(handle_t<I>** out, i32 index_base, I rows, I cols, I nnz, I* row_indx,
                                      I* col_indx, T* values, i32 allow_empty);

// --- Export --------------------------------------------------------------
// Writes back the handle's own arrays (not copies). Every output pointer
// is required.
template <class T, class I>
using export_csr_fn = status(const handle_t<I>* handle, i32* index_base, I* rows, I* cols, I** rows_start,
                             I** rows_end, I** col_indx, T** values);
template <class T, class I>
using export_csc_fn = status(const handle_t<I>* handle, i32* index_base, I* rows, I* cols, I** cols_start,
                             I** cols_end, I** row_indx, T** values);
template <class T, class I>
using export_bsr_fn = status(const handle_t<I>* handle, i32* index_base, i32* block_layout, I* rows, I* cols,
                             I* block_size, I** rows_start, I** rows_end, I** col_indx, T** values);
template <class T, class I>
using export_coo_fn = status(const handle_t<I>* handle, i32* index_base, I* rows, I* cols, I* nnz, I** row_indx,
                             I** col_indx, T** values);

// --- Copy and destruction --------------------------------------------------
// A new handle with library-owned copies of the arrays, without hints or
// analysis. `copy` checks and dispatches on the data type; `do_copy` is
// the typed body.
template <class I>
using copy_fn = status(const handle_t<I>* source, matrix_descriptor descriptor, handle_t<I>** out);
template <class T, class I>
using do_copy_fn = status(const handle_t<I>* source, matrix_descriptor descriptor, handle_t<I>** out);
// Releases the handle and everything it owns (never the caller's arrays).
template <class I> using destroy_fn = status(handle_t<I>* handle);

// --- Values ----------------------------------------------------------------
// Overwrites one stored element; row and col in the matrix's index base.
template <class T, class I> using set_value_fn = status(handle_t<I>* handle, I row, I col, T value);
// Replaces all values (CSR and BSR). `nvalues` 0 means the full count;
// `indx` and `indy` must be null.
template <class T, class I>
using update_values_fn = status(handle_t<I>* handle, I nvalues, const I* indx, const I* indy, const T* values);
// Callback of iterate_over_values: (user, event, position, row, col, value).
// Events: 0 begin, 1 row begin, 2 stored value, 3 implicit zero, 4 row end,
// 5 end. Its result is not examined.
template <class T, class I>
using iterate_callback_fn = status(void* user, i32 event, I position, I row, I col, T value);
template <class T, class I>
using iterate_over_values_fn = status(const handle_t<I>* handle, void* user, iterate_callback_fn<T, I>* callback);

// --- Printing and small routines ------------------------------------------
template <class T, class I> using do_print_matrix_fn = status(const handle_t<I>* handle);
// The print callbacks have the callback form and do nothing.
template <class T, class I> using print_callback_fn = iterate_callback_fn<T, I>;
template <class T, class I> using print_indexes_callback_fn = iterate_callback_fn<T, I>;
template <class T, class I> using void_foo_fn = void();
template <class I> using set_verbose_mode_fn = status(i32 mode);
template <class I> using get_error_info_fn = status(const handle_t<I>* handle, I* info);
// Prepares an array of 128 integers of the family's width.
template <class I> using ee_init_fn = status(I* pm);

// --- Hints and optimisation ---------------------------------------------------
// mv, dotmv, sv, symgs, lu_smoother: operation (10-12), descriptor, calls.
template <class I>
using set_mv_hint_fn = status(handle_t<I>* handle, i32 operation, matrix_descriptor descriptor, I expected_calls);
template <class I> using set_dotmv_hint_fn = set_mv_hint_fn<I>;
template <class I> using set_sv_hint_fn = set_mv_hint_fn<I>;
template <class I> using set_symgs_hint_fn = set_mv_hint_fn<I>;
template <class I> using set_lu_smoother_hint_fn = set_mv_hint_fn<I>;
// mm, sm: plus the dense layout (101, 102) and column count.
template <class I>
using set_mm_hint_fn = status(handle_t<I>* handle, i32 operation, matrix_descriptor descriptor, i32 layout,
                              I dense_size, I expected_calls);
template <class I> using set_sm_hint_fn = set_mm_hint_fn<I>;
// SOR: the kind (110-112) comes first, the handle second.
template <class I>
using set_sorv_hint_fn = status(i32 kind, handle_t<I>* handle, matrix_descriptor descriptor, I expected_calls);
// 80 (no extra memory) or 81 (extra memory allowed).
template <class I> using set_memory_hint_fn = status(handle_t<I>* handle, i32 policy);
template <class I> using set_qr_hint_fn = status(handle_t<I>* handle, i32 hint);
// Runs every recorded request that has not run yet.
template <class I> using optimize_fn = status(handle_t<I>* handle);

}  // namespace qor::sparse

// The two integer widths of the sparse families: M(suffix, I, extra...).
#define QOR_SPARSE_HANDLE_WIDTHS(M, ...) M(i4, std::int32_t, __VA_ARGS__) M(i8, std::int64_t, __VA_ARGS__)

// The exported handle routines: M(name, extra...). Typed ones are named
// qor_sparse_<t>_<name>_<i>_def and type-free ones qor_sparse_<name>_<i>_def;
// the signature of <name> is <name>_fn.
#define QOR_SPARSE_HANDLE_TYPED(M, ...)                                                                       \
  M(create_csr, __VA_ARGS__) M(create_csr_internal, __VA_ARGS__) M(create_csc, __VA_ARGS__)                   \
  M(create_csc_internal, __VA_ARGS__) M(create_bsr, __VA_ARGS__) M(create_bsr_internal, __VA_ARGS__)          \
  M(create_coo, __VA_ARGS__) M(create_coo_internal, __VA_ARGS__) M(export_csr, __VA_ARGS__)                   \
  M(export_csc, __VA_ARGS__) M(export_bsr, __VA_ARGS__) M(export_coo, __VA_ARGS__) M(do_copy, __VA_ARGS__)    \
  M(set_value, __VA_ARGS__) M(update_values, __VA_ARGS__) M(iterate_over_values, __VA_ARGS__)                 \
  M(do_print_matrix, __VA_ARGS__) M(print_callback, __VA_ARGS__) M(print_indexes_callback, __VA_ARGS__)       \
  M(void_foo, __VA_ARGS__)
#define QOR_SPARSE_HANDLE_UNTYPED(M, ...)                                                                     \
  M(copy, __VA_ARGS__) M(destroy, __VA_ARGS__) M(optimize, __VA_ARGS__) M(set_mv_hint, __VA_ARGS__)           \
  M(set_dotmv_hint, __VA_ARGS__) M(set_mm_hint, __VA_ARGS__) M(set_sv_hint, __VA_ARGS__)                      \
  M(set_sm_hint, __VA_ARGS__) M(set_symgs_hint, __VA_ARGS__) M(set_lu_smoother_hint, __VA_ARGS__)             \
  M(set_sorv_hint, __VA_ARGS__) M(set_memory_hint, __VA_ARGS__) M(set_qr_hint, __VA_ARGS__)                   \
  M(set_verbose_mode, __VA_ARGS__) M(get_error_info, __VA_ARGS__) M(ee_init, __VA_ARGS__)
