// Walking a corner of the matrix for display: the callback hears a begin,
// then per row a row begin, one event per column position (a stored value,
// or an implicit zero), a row end, and finally an end. At most the first
// 72 rows are walked; columns run from 0 to the largest stored column.
//
// A value is reported when its column is the running position, so rows
// must be sorted by column; unsorted or repeated entries may go unreported.
//
// Callback arguments: position is the element's index in the values array
// for a stored value and -1 otherwise; row and col are zero-based. Begin
// and end carry the numbers of rows and columns walked.
#include <algorithm>

#include "sparse/handle/common.h"

namespace qor::sparse::handle {

namespace {

// The rows a walk shows: up to row index 71.
constexpr std::int64_t shown_rows = 72;

enum event : i32 { ev_begin = 0, ev_row_begin = 1, ev_value = 2, ev_zero = 3, ev_row_end = 4, ev_end = 5 };

template <class T, class I> struct walk {
  void* user;
  iterate_callback_fn<T, I>* callback;
  const T* values;  // null for a pattern-only matrix: each element counts as 1

  void operator()(i32 ev, I position, I row, I col, T value) const { callback(user, ev, position, row, col, value); }
  void stored(I position, I row, I col) const {
    (*this)(ev_value, position, row, col, values != nullptr ? values[position] : T(1));
  }
  void zeros(I row, I from, I to) const {
    for (I c = from; c < to; ++c) (*this)(ev_zero, I{-1}, row, c, T(0));
  }
  // Brackets the walk of `rows` rows of `cols` columns around row(i).
  template <class Row> void run(I rows, I cols, Row&& row) const {
    rows = static_cast<I>(std::min<std::int64_t>(rows, shown_rows));
    (*this)(ev_begin, I{-1}, rows, cols, T(0));
    for (I i = 0; i < rows; ++i) {
      (*this)(ev_row_begin, I{-1}, i, I{-1}, T(0));
      row(i);
      (*this)(ev_row_end, I{-1}, i, I{-1}, T(0));
    }
    (*this)(ev_end, I{-1}, rows, cols, T(0));
  }
};

// The largest stored index (zero-based) over the lines of a compressed
// payload, or -1 without elements.
template <class I> I largest_index(const bsr_x_matrix<I>* m, I lines) {
  I last = -1;
  for (I i = 0; i < lines; ++i)
    for (I k = m->rows_start[i] - m->index_base; k < m->rows_end[i] - m->index_base; ++k)
      last = std::max<I>(last, m->col_indx[k] - m->index_base);
  return last;
}

template <class T, class I> void iterate_over_csr_values(const bsr_x_matrix<I>* m, const walk<T, I>& w) {
  const I b = m->index_base;
  const I cols = largest_index(m, m->rows) + 1;
  w.run(m->rows, cols, [&](I i) {
    I k = m->rows_start[i] - b;
    const I end = m->rows_end[i] - b;
    for (I c = 0; c < cols; ++c) {
      if (k < end && m->col_indx[k] - b == c)
        w.stored(k++, i, c);
      else
        w.zeros(i, c, c + 1);
    }
  });
}

// Compressed by columns: the running position is the column, and the
// column is searched for the row.
template <class T, class I> void iterate_over_csc_values(const bsr_x_matrix<I>* m, const walk<T, I>& w) {
  const I b = m->index_base;
  I cols = 0;
  for (I c = 0; c < m->cols; ++c)
    if (m->rows_start[c] < m->rows_end[c]) cols = c + 1;
  w.run(m->rows, cols, [&](I i) {
    for (I c = 0; c < cols; ++c) {
      I found = -1;
      for (I k = m->rows_start[c] - b; k < m->rows_end[c] - b && found < 0; ++k)
        if (m->col_indx[k] - b == i) found = k;
      if (found >= 0)
        w.stored(found, i, c);
      else
        w.zeros(i, c, c + 1);
    }
  });
}

// Coordinates have no order: per row, the element with the next larger
// column (the first in the arrays among equal ones) is found by a scan.
template <class T, class I> void iterate_over_coo_values(const coo_matrix<I>* m, const walk<T, I>& w) {
  const I b = m->index_base;
  I cols = 0;
  for (I k = 0; k < m->nnz; ++k) cols = std::max<I>(cols, m->col_indx[k] - b + 1);
  w.run(m->rows, cols, [&](I i) {
    I next = 0;
    for (;;) {
      I found = -1;
      for (I k = 0; k < m->nnz; ++k)
        if (m->row_indx[k] - b == i && m->col_indx[k] - b >= next &&
            (found < 0 || m->col_indx[k] < m->col_indx[found]))
          found = k;
      if (found < 0) break;
      const I c = m->col_indx[found] - b;
      w.zeros(i, next, c);
      w.stored(found, i, c);
      next = c + 1;
    }
    w.zeros(i, next, cols);
  });
}

// Blocks: rows and columns count elements; a stored block reports each of
// its elements by the block layout, a missing one block_size zeros.
template <class T, class I> void iterate_over_bsr_values(const bsr_x_matrix<I>* m, const walk<T, I>& w) {
  const I b = m->index_base, bs = m->block_size;
  const I block_cols = largest_index(m, m->rows) + 1;
  w.run(m->rows * bs, block_cols * bs, [&](I r) {
    const I br = r / bs, ri = r % bs;
    I k = m->rows_start[br] - b;
    const I end = m->rows_end[br] - b;
    for (I bc = 0; bc < block_cols; ++bc) {
      if (k < end && m->col_indx[k] - b == bc) {
        for (I cj = 0; cj < bs; ++cj) {
          const I within = m->block_col_major != 0 ? cj * bs + ri : ri * bs + cj;
          w.stored(k * bs * bs + within, r, bc * bs + cj);
        }
        ++k;
      } else {
        w.zeros(r, bc * bs, (bc + 1) * bs);
      }
    }
  });
}

}  // namespace

template <class T, class I>
status iterate_over_values(const sparse_matrix<I>* h, void* user, iterate_callback_fn<T, I>* callback) {
  if (h == nullptr || callback == nullptr) return not_initialized;
  if (h->format > fmt_bsr) return not_supported;
  if (h->primary == nullptr) return internal_error;
  if (h->format == fmt_coo) {
    const coo_matrix<I>* m = coordinate(h);
    iterate_over_coo_values(m, walk<T, I>{user, callback, static_cast<const T*>(m->values)});
    return ok;
  }
  const bsr_x_matrix<I>* m = compressed(h);
  const walk<T, I> w{user, callback, static_cast<const T*>(m->values)};
  if (m->rows_start == nullptr) {  // an empty handle
    w.run(I{0}, I{0}, [](I) {});
    return ok;
  }
  switch (h->format) {
    case fmt_csr: iterate_over_csr_values(m, w); break;
    case fmt_csc: iterate_over_csc_values(m, w); break;
    default: iterate_over_bsr_values(m, w); break;
  }
  return ok;
}

// Printing keeps only its checks: nothing is written.
template <class I> status do_print_matrix(const sparse_matrix<I>* h) {
  if (h == nullptr) return not_initialized;
  if (h->format > fmt_bsr) return not_supported;
  if (h->primary == nullptr) return internal_error;
  return ok;
}

}  // namespace qor::sparse::handle

using qor::sparse::i32;
using qor::sparse::sparse_matrix;
using qor::sparse::status;

#define QOR_SPARSE_STAMP(w, I, l, T)                                                                           \
  QOR_DEF_API status qor_sparse_##l##_iterate_over_values_##w##_def(                                           \
      const sparse_matrix<I>* h, void* user, qor::sparse::iterate_callback_fn<T, I>* callback) {               \
    return qor::sparse::handle::iterate_over_values<T, I>(h, user, callback);                                 \
  }                                                                                                            \
  QOR_DEF_API status qor_sparse_##l##_do_print_matrix_##w##_def(const sparse_matrix<I>* h) {                   \
    return qor::sparse::handle::do_print_matrix<I>(h);                                                        \
  }                                                                                                            \
  QOR_DEF_API status qor_sparse_##l##_print_callback_##w##_def(void*, i32, I, I, I, T) { return qor::sparse::ok; } \
  QOR_DEF_API status qor_sparse_##l##_print_indexes_callback_##w##_def(void*, i32, I, I, I, T) {                  \
    return qor::sparse::ok;                                                                                    \
  }                                                                                                            \
  QOR_DEF_API void qor_sparse_##l##_void_foo_##w##_def() {}
#define QOR_SPARSE_STAMP_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_STAMP_T)
