// Changing values: one stored element (set_value), or all of them at once
// (update_values), which also drops every analysis built on the old values.
#include <cstring>

#include "sparse/handle/common.h"

namespace qor::sparse::handle {

namespace {

// Position of the first element of compressed line `line` (zero-based)
// whose index equals `index` (in the matrix's base), or -1.
template <class I> I find_in_line(const bsr_x_matrix<I>* m, I line, I index) {
  if (m->rows_start[line] >= m->rows_end[line]) return -1;
  for (I k = m->rows_start[line] - m->index_base; k < m->rows_end[line] - m->index_base; ++k)
    if (m->col_indx[k] == index) return k;
  return -1;
}

template <class T, class I> status set_coordinate(coo_matrix<I>* m, I row, I col, T value) {
  if (m->values == nullptr) return internal_error;
  if (m->nnz < 1) return invalid_value;
  for (I k = 0; k < m->nnz; ++k) {
    if (m->row_indx[k] == row && m->col_indx[k] == col) {
      static_cast<T*>(m->values)[k] = value;
      return ok;
    }
  }
  return invalid_value;
}

// CSR (line = row) and CSC (line = column): the compressed index is checked
// against the extent, then the line is searched for the other index.
template <class T, class I> status set_compressed(bsr_x_matrix<I>* m, I extent, I line, I index, T value) {
  const I l = line - m->index_base;
  if (l < 0 || l >= extent) return invalid_value;
  const I k = find_in_line(m, l, index);
  if (k < 0) return invalid_value;
  static_cast<T*>(m->values)[k] = value;
  return ok;
}

// BSR: the block row is searched for the block column; within the block
// the element sits by the block layout.
template <class T, class I> status set_blocked(bsr_x_matrix<I>* m, I row, I col, T value) {
  const I b = m->block_size;
  const I r = row - m->index_base, c = col - m->index_base;
  if (r < 0 || r >= m->rows * b || c < 0 || c >= m->cols * b) return invalid_value;
  const I k = find_in_line(m, r / b, c / b + m->index_base);
  if (k < 0) return invalid_value;
  const I ri = r % b, ci = c % b;
  const I within = m->block_col_major != 0 ? ci * b + ri : ri * b + ci;
  static_cast<T*>(m->values)[static_cast<std::int64_t>(k) * b * b + within] = value;
  return ok;
}

}  // namespace

template <class T, class I> status set_value(sparse_matrix<I>* h, I row, I col, T value) {
  if (h == nullptr) return not_initialized;
  if (row < 0 || col < 0 || h->format > fmt_bsr) return invalid_value;
  if (h->primary == nullptr) return internal_error;
  if (h->format == fmt_coo) return set_coordinate(coordinate(h), row, col, value);
  bsr_x_matrix<I>* m = compressed(h);
  if (m->values == nullptr) return internal_error;
  switch (h->format) {
    case fmt_csr:
      // A handle analysed for symmetric Gauss-Seidel keeps its diagonal
      // split off, and a diagonal element is written there (with its
      // reciprocal) instead of into `values`. That analysis stores no data
      // yet, so every element goes to `values`.
      return set_compressed(m, m->rows, row, col, value);
    case fmt_csc: return set_compressed(m, m->cols, col, row, value);
    default: return set_blocked(m, row, col, value);
  }
}

template <class T, class I>
status update_values(sparse_matrix<I>* h, I nvalues, const I* indx, const I* indy, const T* values) {
  if (h == nullptr || values == nullptr) return not_initialized;
  if (nvalues < 0) return invalid_value;
  if (indx != nullptr || indy != nullptr || (h->format != fmt_csr && h->format != fmt_bsr)) return not_supported;

  // Payloads derived from the old values go first, whatever happens next.
  destroy_sparse_bsr_x_matrix(h->derived_a);
  destroy_sparse_bsr_x_matrix(h->derived_b);
  destroy_sparse_bsr_x_matrix(h->transposed);
  h->derived_a = h->derived_b = h->transposed = nullptr;
  bsr_x_matrix<I>* m = compressed(h);
  if (m == nullptr) return internal_error;

  destroy_diagonal_data(m->diagonal);
  m->diagonal = nullptr;
  if (m->optimal == nullptr) return ok;

  const std::int64_t full = static_cast<std::int64_t>(m->nnz) * m->block_size * m->block_size;
  if (nvalues != 0 && nvalues != full) return invalid_value;
  if (m->owns_arrays == 0) {
    m->values = const_cast<T*>(values);
  } else {
    // A library-owned pattern-only matrix gets an array of its own.
    if (m->values == nullptr && (m->values = make_array<T>(full)) == nullptr) return alloc_failed;
    if (full > 0) std::memcpy(m->values, values, static_cast<std::size_t>(full) * sizeof(T));
  }

  // The user sets hints again; analyses of the old values are dropped, and
  // the records that stay are marked stale.
  free_requests(h);
  destroy_value_analyses(m->optimal);
  if (m->optimal->jit_kernel != nullptr) m->optimal->jit_kernel->stale_values = 1;
  if (m->optimal->product != nullptr) m->optimal->product->stale_values = 1;
  return ok;
}

}  // namespace qor::sparse::handle

using qor::sparse::sparse_matrix;
using qor::sparse::status;

#define QOR_SPARSE_STAMP(w, I, l, T)                                                                           \
  QOR_DEF_API status qor_sparse_##l##_set_value_##w##_def(sparse_matrix<I>* h, I row, I col, T value) {        \
    return qor::sparse::handle::set_value<T, I>(h, row, col, value);                                          \
  }                                                                                                            \
  QOR_DEF_API status qor_sparse_##l##_update_values_##w##_def(sparse_matrix<I>* h, I nvalues, const I* indx,   \
                                                              const I* indy, const T* values) {               \
    return qor::sparse::handle::update_values<T, I>(h, nvalues, indx, indy, values);                          \
  }
#define QOR_SPARSE_STAMP_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_STAMP_T)
