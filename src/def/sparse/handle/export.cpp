// Export: the handle's own arrays and sizes, written back only when every
// output can be written and the handle has the asked-for format.
#include "sparse/handle/common.h"

namespace qor::sparse::handle {

namespace {

// The checks every export makes, in order: a null handle or output is 1, a
// format other than the one asked for is 3, a handle without payload 5.
template <class I, class... P> status export_check(const sparse_matrix<I>* h, bool format_ok, P*... outputs) {
  if (h == nullptr || ((outputs == nullptr) || ...)) return not_initialized;
  if (!format_ok) return invalid_value;
  if (h->primary == nullptr) return internal_error;
  return ok;
}

}  // namespace

// CSR and CSC: the CSC arrays are compressed by columns.
template <class T, class I>
status export_compressed(u32 format, const sparse_matrix<I>* h, i32* base, I* rows, I* cols, I** starts, I** ends,
                         I** indices, T** values) {
  const status st = export_check(h, h != nullptr && h->format == format, base, rows, cols, starts, ends, indices, values);
  if (st != ok) return st;
  const bsr_x_matrix<I>* m = compressed(h);
  *base = m->index_base;
  *rows = h->rows;
  *cols = h->cols;
  *starts = m->rows_start;
  *ends = m->rows_end;
  *indices = m->col_indx;
  *values = static_cast<T*>(m->values);
  return ok;
}

// BSR also serves a CSR handle, as blocks of size 1 in row layout.
template <class T, class I>
status export_bsr(const sparse_matrix<I>* h, i32* base, i32* layout, I* rows, I* cols, I* block_size, I** rows_start,
                  I** rows_end, I** col_indx, T** values) {
  const bool format_ok = h != nullptr && (h->format == fmt_csr || h->format == fmt_bsr);
  const status st =
      export_check(h, format_ok, base, layout, rows, cols, block_size, rows_start, rows_end, col_indx, values);
  if (st != ok) return st;
  const bsr_x_matrix<I>* m = compressed(h);
  const bool bsr = h->format == fmt_bsr;
  *base = m->index_base;
  *layout = bsr && m->block_col_major != 0 ? column_major : row_major;
  *rows = h->rows;
  *cols = h->cols;
  *block_size = bsr ? m->block_size : I{1};
  *rows_start = m->rows_start;
  *rows_end = m->rows_end;
  *col_indx = m->col_indx;
  *values = static_cast<T*>(m->values);
  return ok;
}

template <class T, class I>
status export_coo(const sparse_matrix<I>* h, i32* base, I* rows, I* cols, I* nnz, I** row_indx, I** col_indx,
                  T** values) {
  const status st =
      export_check(h, h != nullptr && h->format == fmt_coo, base, rows, cols, nnz, row_indx, col_indx, values);
  if (st != ok) return st;
  const coo_matrix<I>* m = coordinate(h);
  *base = m->index_base;
  *rows = m->rows;
  *cols = m->cols;
  *nnz = m->nnz;
  *row_indx = m->row_indx;
  *col_indx = m->col_indx;
  *values = static_cast<T*>(m->values);
  return ok;
}

}  // namespace qor::sparse::handle

using qor::sparse::i32;
using qor::sparse::sparse_matrix;
using qor::sparse::status;
namespace h = qor::sparse::handle;

#define QOR_SPARSE_STAMP(w, I, l, T)                                                                              \
  QOR_DEF_API status qor_sparse_##l##_export_csr_##w##_def(const sparse_matrix<I>* a, i32* base, I* rows,         \
                                                           I* cols, I** rows_start, I** rows_end, I** col_indx,   \
                                                           T** values) {                                          \
    return h::export_compressed<T, I>(qor::sparse::fmt_csr, a, base, rows, cols, rows_start, rows_end, col_indx,  \
                                      values);                                                                    \
  }                                                                                                               \
  QOR_DEF_API status qor_sparse_##l##_export_csc_##w##_def(const sparse_matrix<I>* a, i32* base, I* rows,         \
                                                           I* cols, I** cols_start, I** cols_end, I** row_indx,   \
                                                           T** values) {                                          \
    return h::export_compressed<T, I>(qor::sparse::fmt_csc, a, base, rows, cols, cols_start, cols_end, row_indx,  \
                                      values);                                                                    \
  }                                                                                                               \
  QOR_DEF_API status qor_sparse_##l##_export_bsr_##w##_def(const sparse_matrix<I>* a, i32* base, i32* layout,     \
                                                           I* rows, I* cols, I* block_size, I** rows_start,       \
                                                           I** rows_end, I** col_indx, T** values) {              \
    return h::export_bsr<T, I>(a, base, layout, rows, cols, block_size, rows_start, rows_end, col_indx, values);  \
  }                                                                                                               \
  QOR_DEF_API status qor_sparse_##l##_export_coo_##w##_def(const sparse_matrix<I>* a, i32* base, I* rows,         \
                                                           I* cols, I* nnz, I** row_indx, I** col_indx,           \
                                                           T** values) {                                          \
    return h::export_coo<T, I>(a, base, rows, cols, nnz, row_indx, col_indx, values);                             \
  }
#define QOR_SPARSE_STAMP_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_STAMP_T)
