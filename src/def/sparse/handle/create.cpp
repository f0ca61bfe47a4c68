// Creating handles. Every compressed form goes through one routine,
// create_bsr_internal: CSR is BSR with block size 1, CSC is CSR of the
// exchanged dimensions. The handle adopts the caller's arrays by pointer and
// copies nothing; `owns_arrays` stays 0 until optimize takes a private copy.
#include "sparse/handle/common.h"

namespace qor::sparse::handle {

namespace {

bool base_valid(i32 index_base) { return index_base == 0 || index_base == 1; }

// The element count of a compressed matrix whose caller gave none: the end
// of the last row in the three-array form, the sum of the row lengths in
// the four-array form; 0 without column indices.
template <class I> I count_elements(i32 index_base, I rows, const I* rows_start, const I* rows_end, const I* col_indx) {
  if (col_indx == nullptr) return 0;
  if (rows_end == rows_start + 1) return rows_end[rows - 1] - (index_base == 1 ? 1 : 0);
  I total = 0;
  for (I i = 0; i < rows; ++i) total += rows_end[i] - rows_start[i];
  return total;
}

template <class T, class I> sparse_matrix<I>* make_handle(u32 format, I rows, I cols) {
  auto* h = make_zeroed<sparse_matrix<I>>();
  if (h == nullptr) return nullptr;
  h->memory_hint = aggressive_memory;
  h->data_type = type_code<T>;
  h->format = format;
  h->rows = rows;
  h->cols = cols;
  return h;
}

}  // namespace

template <class T, class I>
status create_bsr_internal(sparse_matrix<I>** out, i32 index_base, i32 block_layout, I rows, I cols, I nnz_hint,
                           I block_size, I* rows_start, I* rows_end, I* col_indx, T* values, i32 allow_empty) {
  if (out == nullptr) return not_initialized;
  if ((block_layout != row_major && block_layout != column_major) || !base_valid(index_base)) return invalid_value;

  I count;
  if (allow_empty != 0 && rows == 0 && cols == 0) {
    if (block_size < 0 || rows_start != nullptr || rows_end != nullptr || col_indx != nullptr || values != nullptr)
      return invalid_value;
    count = nnz_hint < 0 ? I{-1} : nnz_hint;
  } else {
    if (rows < 1 || cols < 1 || block_size < 1) return invalid_value;
    if (rows_start == nullptr || rows_end == nullptr) return not_initialized;
    if (values != nullptr && col_indx == nullptr) return not_initialized;
    const bool three_array = rows_end == rows_start + 1;
    if (!three_array && values == nullptr && col_indx == nullptr) return not_initialized;
    count = nnz_hint >= 0 ? nnz_hint : count_elements(index_base, rows, rows_start, rows_end, col_indx);
  }

  // The handle is stored before its payload is made: if the payload cannot
  // be had the caller still receives the handle, and destroys it.
  auto* h = make_handle<T, I>(block_size == 1 ? fmt_csr : fmt_bsr, rows, cols);
  if (h == nullptr) return alloc_failed;
  *out = h;

  bsr_x_matrix<I>* m = make_bsr_x_matrix<I>();
  if (m == nullptr) return alloc_failed;
  m->rows = rows;
  m->cols = cols;
  m->nnz = count;
  m->index_base = index_base != 0;
  m->block_size = block_size;
  m->block_col_major = block_layout != row_major && block_size != 1;
  m->copy_if_needed = 1;
  m->three_array = rows_start != nullptr && rows_end == rows_start + 1;
  m->rows_start = rows_start;
  m->rows_end = rows_end;
  m->col_indx = col_indx;
  m->values = values;
  h->primary = m;
  return ok;
}

template <class T, class I>
status create_csc_internal(sparse_matrix<I>** out, i32 index_base, I rows, I cols, I nnz_hint, I* cols_start,
                           I* cols_end, I* row_indx, T* values, i32 allow_empty) {
  if (out == nullptr) return not_initialized;
  sparse_matrix<I>* h = nullptr;
  const status st = create_bsr_internal<T, I>(&h, index_base, row_major, cols, rows, nnz_hint, I{1}, cols_start,
                                              cols_end, row_indx, values, allow_empty);
  if (h == nullptr) return st;
  // Compressed by columns; the dimensions read in the user's order.
  h->format = fmt_csc;
  h->rows = rows;
  h->cols = cols;
  if (auto* m = compressed(h)) {
    m->rows = rows;
    m->cols = cols;
  }
  *out = h;
  return st;
}

template <class T, class I>
status create_coo_internal(sparse_matrix<I>** out, i32 index_base, I rows, I cols, I nnz, I* row_indx,
                           I* col_indx, T* values, i32 allow_empty) {
  if (out == nullptr) return not_initialized;
  if (!base_valid(index_base)) return invalid_value;
  if (allow_empty != 0 && nnz == 0) {
    if (rows < 0 || cols < 0) return invalid_value;
  } else {
    if (rows < 1 || cols < 1 || nnz < 1) return invalid_value;
    if (row_indx == nullptr || col_indx == nullptr) return not_initialized;
  }
  auto* h = make_handle<T, I>(fmt_coo, rows, cols);
  if (h == nullptr) return alloc_failed;
  auto* m = make_zeroed<coo_matrix<I>>();
  if (m == nullptr) {
    release(h);
    return alloc_failed;
  }
  m->rows = rows;
  m->cols = cols;
  m->nnz = nnz;
  m->index_base = index_base != 0;
  m->flag = 1;
  m->row_indx = row_indx;
  m->col_indx = col_indx;
  m->values = values;
  h->primary = m;
  *out = h;
  return ok;
}

#define QOR_SPARSE_INSTANTIATE(w, I, l, T)                                                                      \
  template status create_bsr_internal<T, I>(sparse_matrix<I>**, i32, i32, I, I, I, I, I*, I*, I*, T*, i32);    \
  template status create_csc_internal<T, I>(sparse_matrix<I>**, i32, I, I, I, I*, I*, I*, T*, i32);            \
  template status create_coo_internal<T, I>(sparse_matrix<I>**, i32, I, I, I, I*, I*, T*, i32);
#define QOR_SPARSE_INSTANTIATE_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_INSTANTIATE, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_INSTANTIATE_T)

}  // namespace qor::sparse::handle

using qor::sparse::i32;
using qor::sparse::sparse_matrix;
using qor::sparse::status;
namespace h = qor::sparse::handle;

#define QOR_SPARSE_STAMP(w, I, l, T)                                                                             \
  QOR_DEF_API status qor_sparse_##l##_create_bsr_internal_##w##_def(                                             \
      sparse_matrix<I>** out, i32 base, i32 layout, I rows, I cols, I nnz_hint, I block_size, I* rows_start,     \
      I* rows_end, I* col_indx, T* values, i32 allow_empty) {                                                    \
    return h::create_bsr_internal<T, I>(out, base, layout, rows, cols, nnz_hint, block_size, rows_start,         \
                                        rows_end, col_indx, values, allow_empty);                                \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_bsr_##w##_def(sparse_matrix<I>** out, i32 base, i32 layout, I rows, \
                                                           I cols, I block_size, I* rows_start, I* rows_end,    \
                                                           I* col_indx, T* values) {                             \
    return h::create_bsr_internal<T, I>(out, base, layout, rows, cols, I{-1}, block_size, rows_start, rows_end,  \
                                        col_indx, values, 0);                                                    \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_csr_internal_##w##_def(sparse_matrix<I>** out, i32 base, I rows,    \
                                                                    I cols, I nnz_hint, I* rows_start,          \
                                                                    I* rows_end, I* col_indx, T* values,        \
                                                                    i32 allow_empty) {                           \
    return h::create_bsr_internal<T, I>(out, base, qor::sparse::row_major, rows, cols, nnz_hint, I{1},           \
                                        rows_start, rows_end, col_indx, values, allow_empty);                    \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_csr_##w##_def(sparse_matrix<I>** out, i32 base, I rows, I cols,     \
                                                           I* rows_start, I* rows_end, I* col_indx, T* values) { \
    return h::create_bsr_internal<T, I>(out, base, qor::sparse::row_major, rows, cols, I{-1}, I{1}, rows_start,  \
                                        rows_end, col_indx, values, 0);                                          \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_csc_internal_##w##_def(sparse_matrix<I>** out, i32 base, I rows,    \
                                                                    I cols, I nnz_hint, I* cols_start,          \
                                                                    I* cols_end, I* row_indx, T* values,        \
                                                                    i32 allow_empty) {                           \
    return h::create_csc_internal<T, I>(out, base, rows, cols, nnz_hint, cols_start, cols_end, row_indx, values, \
                                        allow_empty);                                                            \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_csc_##w##_def(sparse_matrix<I>** out, i32 base, I rows, I cols,     \
                                                           I* cols_start, I* cols_end, I* row_indx, T* values) { \
    return h::create_csc_internal<T, I>(out, base, rows, cols, I{-1}, cols_start, cols_end, row_indx, values, 0); \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_coo_internal_##w##_def(sparse_matrix<I>** out, i32 base, I rows,    \
                                                                    I cols, I nnz, I* row_indx, I* col_indx,    \
                                                                    T* values, i32 allow_empty) {                \
    return h::create_coo_internal<T, I>(out, base, rows, cols, nnz, row_indx, col_indx, values, allow_empty);    \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_##l##_create_coo_##w##_def(sparse_matrix<I>** out, i32 base, I rows, I cols,     \
                                                           I nnz, I* row_indx, I* col_indx, T* values) {         \
    return h::create_coo_internal<T, I>(out, base, rows, cols, nnz, row_indx, col_indx, values, 0);              \
  }
#define QOR_SPARSE_STAMP_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_STAMP_T)
