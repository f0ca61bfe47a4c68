// Copying a handle: a new handle over library-owned copies of the arrays,
// made through the create routine of the same format. It carries the
// type, format, memory hint, the two carried words and the array form, and
// nothing of hints or analysis.
#include <cstring>

#include "sparse/handle/common.h"

namespace qor::sparse::handle {

namespace {

template <class T, class I> status copy_compressed(const sparse_matrix<I>* src, sparse_matrix<I>** out) {
  const bsr_x_matrix<I>* m = compressed(src);
  const I n = compressed_extent(src, m);
  const bool three = m->three_array != 0;
  const bool empty = n == 0 || m->rows_start == nullptr;
  // Every row ends at or before the end of the last row, in both forms.
  const I count = empty ? I{0} : m->rows_end[n - 1] - m->index_base;
  const std::int64_t block = static_cast<std::int64_t>(m->block_size) * m->block_size;

  new_arrays<4> c;
  if (!empty) {
    const bool got = three ? c.copy(0, m->rows_start, std::int64_t{n} + 1)
                           : c.copy(0, m->rows_start, n) && c.copy(1, m->rows_end, n);
    if (!got || !c.copy(2, m->col_indx, count) || !c.copy(3, static_cast<const T*>(m->values), count * block))
      return alloc_failed;
  }
  I* rows_start = c.at<I>(0);
  I* rows_end = three && !empty ? rows_start + 1 : c.at<I>(1);
  I* col_indx = c.at<I>(2);
  T* values = c.at<T>(3);

  sparse_matrix<I>* h = nullptr;
  status st;
  const i32 base = m->index_base;
  if (src->format == fmt_csc) {
    st = create_csc_internal<T, I>(&h, base, src->rows, src->cols, I{-1}, rows_start, rows_end, col_indx, values,
                                   empty ? 1 : 0);
  } else {
    const i32 layout = m->block_col_major != 0 ? column_major : row_major;
    st = create_bsr_internal<T, I>(&h, base, layout, src->rows, src->cols, I{-1}, m->block_size,
                                   rows_start, rows_end, col_indx, values, empty ? 1 : 0);
  }
  if (st != ok) {
    if (h != nullptr) do_destroy(h);
    return st;
  }
  c.kept = true;
  bsr_x_matrix<I>* copy = compressed(h);
  copy->owns_arrays = 1;
  copy->nnz = empty ? m->nnz : count;
  copy->state_word = m->state_word;
  copy->three_array = m->three_array;
  h->memory_hint = src->memory_hint;
  h->reserved_word = src->reserved_word;
  *out = h;
  return ok;
}

template <class T, class I> status copy_coordinate(const sparse_matrix<I>* src, sparse_matrix<I>** out) {
  const coo_matrix<I>* m = coordinate(src);
  new_arrays<4> c;
  if (!c.copy(0, m->row_indx, m->nnz) || !c.copy(1, m->col_indx, m->nnz) ||
      !c.copy(2, static_cast<const T*>(m->values), m->nnz))
    return alloc_failed;
  sparse_matrix<I>* h = nullptr;
  const status st = create_coo_internal<T, I>(&h, m->index_base, m->rows, m->cols, m->nnz, c.at<I>(0), c.at<I>(1),
                                              c.at<T>(2), m->nnz == 0 ? 1 : 0);
  if (st != ok) return st;
  c.kept = true;
  coo_matrix<I>* copy = coordinate(h);
  copy->owns_arrays = 1;
  copy->state_word = m->state_word;
  h->memory_hint = src->memory_hint;
  h->reserved_word = src->reserved_word;
  *out = h;
  return ok;
}

}  // namespace

template <class T, class I>
status do_copy(const sparse_matrix<I>* src, matrix_descriptor descriptor, sparse_matrix<I>** out) {
  if (src == nullptr || out == nullptr) return not_initialized;
  if (!descriptor_valid(descriptor)) return invalid_value;
  if (src->format > fmt_bsr) return ok;
  if (src->primary == nullptr) return internal_error;
  return src->format == fmt_coo ? copy_coordinate<T, I>(src, out) : copy_compressed<T, I>(src, out);
}

template <class I> status copy(const sparse_matrix<I>* src, matrix_descriptor descriptor, sparse_matrix<I>** out) {
  if (src == nullptr || out == nullptr) return not_initialized;
  if (!descriptor_valid(descriptor)) return invalid_value;
  return with_element_type(src->data_type, [&]<class T>(std::type_identity<T>) {
    return do_copy<T, I>(src, descriptor, out);
  });
}

}  // namespace qor::sparse::handle

using qor::sparse::matrix_descriptor;
using qor::sparse::sparse_matrix;
using qor::sparse::status;

#define QOR_SPARSE_STAMP(w, I, l, T)                                                                        \
  QOR_DEF_API status qor_sparse_##l##_do_copy_##w##_def(const sparse_matrix<I>* source, matrix_descriptor d, \
                                                        sparse_matrix<I>** out) {                            \
    return qor::sparse::handle::do_copy<T, I>(source, d, out);                                              \
  }
#define QOR_SPARSE_STAMP_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_STAMP_T)

#define QOR_SPARSE_STAMP_W(w, I, unused)                                                                 \
  QOR_DEF_API status qor_sparse_copy_##w##_def(const sparse_matrix<I>* source, matrix_descriptor d,       \
                                               sparse_matrix<I>** out) {                                  \
    return qor::sparse::handle::copy<I>(source, d, out);                                                 \
  }
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP_W, 0)
