// The copy and the transposition of a handle's payload, called by the
// kernel library's optimize loop.
//
// The copy replaces the caller's arrays in the primary payload by
// library-owned ones, so that analyses may keep pointers into them. The
// transposition builds, in `transposed`, a row-compressed payload of op(A)
// (conjugated for operation 12), which turns a transposed product into a
// plain gather. Every record and array comes from qor_serv_malloc at the
// handle's alignment, since the kernel library releases them.
#include <cstring>
#include <type_traits>

#include "sparse/handle/payload.h"
#include "sparse/imports.h"

namespace qor::sparse {
namespace {

using namespace records;

// Bytes of one stored value of a data-type code.
std::int64_t value_bytes(u32 data_type) {
  switch (data_type) {
    case type_s: return 4;
    case type_d:
    case type_c: return 8;
    default: return 16;
  }
}

// The extent of the element arrays of a compressed payload: the largest row
// end, so that a four-array matrix with gaps between rows is kept whole.
template <class I> I element_extent(const bsr_x_matrix<I>* m, I lines) {
  I end = 0;
  for (I i = 0; i < lines; ++i)
    if (m->rows_end[i] - m->index_base > end) end = m->rows_end[i] - m->index_base;
  return end;
}

template <class I> status copy_compressed(sparse_matrix<I>* h) {
  bsr_x_matrix<I>* m = static_cast<bsr_x_matrix<I>*>(h->primary);
  if (m->owns_arrays != 0 || m->rows_start == nullptr) return ok;
  const I n = compressed_extent(h, m);
  const bool three = m->three_array != 0;
  const std::int64_t count = element_extent(m, n);
  const std::int64_t block = static_cast<std::int64_t>(m->block_size) * m->block_size;
  new_arrays<4> c;
  const bool got = (three ? c.copy(0, m->rows_start, std::int64_t{n} + 1)
                          : c.copy(0, m->rows_start, n) && c.copy(1, m->rows_end, n)) &&
                   c.copy(2, m->col_indx, count) &&
                   c.copy(3, static_cast<const unsigned char*>(m->values), count * block * value_bytes(h->data_type));
  if (!got) return alloc_failed;
  c.kept = true;
  m->rows_start = c.at<I>(0);
  m->rows_end = three ? m->rows_start + 1 : c.at<I>(1);
  m->col_indx = c.at<I>(2);
  m->values = c.array[3];
  m->owns_arrays = 1;
  m->shared_arrays = 0;
  return ok;
}

template <class I> status copy_coordinate(sparse_matrix<I>* h) {
  coo_matrix<I>* m = static_cast<coo_matrix<I>*>(h->primary);
  if (m->owns_arrays != 0) return ok;
  new_arrays<3> c;
  if (!c.copy(0, m->row_indx, m->nnz) || !c.copy(1, m->col_indx, m->nnz) ||
      !c.copy(2, static_cast<const unsigned char*>(m->values), m->nnz * value_bytes(h->data_type)))
    return alloc_failed;
  c.kept = true;
  m->row_indx = c.at<I>(0);
  m->col_indx = c.at<I>(1);
  m->values = c.array[2];
  m->owns_arrays = 1;
  m->shared_arrays = 0;
  return ok;
}

// On failure the caller's arrays stay in place, and the handle gives up
// extra memory, so that optimize builds nothing more that would read them.
template <class I> status copy_sparse_matrix(sparse_matrix<I>* h) {
  if (h == nullptr) return not_initialized;
  if (h->format > fmt_bsr) return not_supported;
  if (h->primary == nullptr) return internal_error;
  const status st = h->format == fmt_coo ? copy_coordinate(h) : copy_compressed(h);
  if (st != ok) h->memory_hint = no_memory;
  return st;
}

template <class T> T conjugated(T v) {
  if constexpr (is_complex_v<T>)
    return std::conj(v);
  else
    return v;
}

// Transposes a block-compressed structure of `lines` lines over `width`
// columns (blocks of b x b): each block (i, j) moves to (j, i), transposed
// within, in the source's block layout and index base. The result is in
// three-array form with every line sorted by column.
template <class T, class I>
status transpose_structure(const bsr_x_matrix<I>* src, I lines, I width, bool conjugate, bsr_x_matrix<I>* out) {
  const I base = src->index_base, b = src->block_size;
  const std::int64_t bb = static_cast<std::int64_t>(b) * b;
  I count = 0;
  for (I i = 0; i < lines; ++i) count += src->rows_end[i] - src->rows_start[i];
  new_arrays<3> c;
  I* starts = make_array<I>(std::int64_t{width} + 1);
  c.array[0] = starts;
  I* cols = starts != nullptr ? make_array<I>(count) : nullptr;
  c.array[1] = cols;
  T* values = nullptr;
  if (cols != nullptr && src->values != nullptr) c.array[2] = values = make_array<T>(count * bb);
  if (cols == nullptr || (src->values != nullptr && values == nullptr)) return alloc_failed;

  // Counting sort by column: starts[j + 1] counts column j, then becomes
  // the next free position of line j.
  std::memset(starts, 0, (static_cast<std::size_t>(width) + 1) * sizeof(I));
  for (I i = 0; i < lines; ++i)
    for (I k = src->rows_start[i] - base; k < src->rows_end[i] - base; ++k) ++starts[src->col_indx[k] - base + 1];
  for (I j = 0; j < width; ++j) starts[j + 1] += starts[j];
  const T* sv = static_cast<const T*>(src->values);
  for (I i = 0; i < lines; ++i) {
    for (I k = src->rows_start[i] - base; k < src->rows_end[i] - base; ++k) {
      const I at = starts[src->col_indx[k] - base]++;
      cols[at] = i + base;
      if (values == nullptr) continue;
      // Transposing within the block: element (r, s) goes to (s, r), which
      // in the same layout is the swap of the two in-block offsets.
      for (I r = 0; r < b; ++r)
        for (I s = 0; s < b; ++s) values[at * bb + s * b + r] = conjugate ? conjugated(sv[k * bb + r * b + s]) : sv[k * bb + r * b + s];
    }
  }
  for (I j = width; j > 0; --j) starts[j] = starts[j - 1] + base;
  starts[0] = base;
  c.kept = true;
  out->nnz = count;
  out->rows_start = starts;
  out->rows_end = starts + 1;
  out->col_indx = cols;
  out->values = values;
  return ok;
}

// The CSC arrays of A are already the row-compressed arrays of its
// transpose: they are copied, conjugated for operation 12.
template <class T, class I> status copy_structure(const bsr_x_matrix<I>* src, I lines, bool conjugate, bsr_x_matrix<I>* out) {
  const I base = src->index_base;
  I count = 0;
  for (I i = 0; i < lines; ++i) count += src->rows_end[i] - src->rows_start[i];
  new_arrays<3> c;
  I* starts = make_array<I>(std::int64_t{lines} + 1);
  c.array[0] = starts;
  I* cols = starts != nullptr ? make_array<I>(count) : nullptr;
  c.array[1] = cols;
  T* values = nullptr;
  if (cols != nullptr && src->values != nullptr) c.array[2] = values = make_array<T>(count);
  if (cols == nullptr || (src->values != nullptr && values == nullptr)) return alloc_failed;
  const T* sv = static_cast<const T*>(src->values);
  I at = 0;
  starts[0] = base;
  for (I i = 0; i < lines; ++i) {
    for (I k = src->rows_start[i] - base; k < src->rows_end[i] - base; ++k, ++at) {
      cols[at] = src->col_indx[k];
      if (values != nullptr) values[at] = conjugate ? conjugated(sv[k]) : sv[k];
    }
    starts[i + 1] = at + base;
  }
  c.kept = true;
  out->nnz = count;
  out->rows_start = starts;
  out->rows_end = starts + 1;
  out->col_indx = cols;
  out->values = values;
  return ok;
}

template <class T, class I> status build_transposed(sparse_matrix<I>* h, i32 op, bsr_x_matrix<I>* out) {
  const bsr_x_matrix<I>* src = static_cast<const bsr_x_matrix<I>*>(h->primary);
  const bool conjugate = op == op_c && is_complex_v<T>;
  out->state_word = op;
  out->index_base = src->index_base;
  out->block_size = src->block_size;
  out->block_col_major = src->block_col_major;
  out->owns_arrays = 1;
  out->copy_if_needed = 1;
  out->three_array = 1;
  // op(A) has the user's columns as its rows.
  out->rows = h->cols;
  out->cols = h->rows;
  if (src->rows_start == nullptr) return ok;  // an empty matrix
  if (h->format == fmt_csc) return copy_structure<T, I>(src, src->cols, conjugate, out);
  return transpose_structure<T, I>(src, src->rows, src->cols, conjugate, out);
}

template <class I> status transpose_matrix(sparse_matrix<I>* h, i32 op) {
  if (h == nullptr) return not_initialized;
  if (op != op_t && op != op_c) return invalid_value;
  if (h->format == fmt_coo || h->format > fmt_bsr) return not_supported;
  if (h->primary == nullptr) return internal_error;
  if (h->transposed != nullptr && h->transposed->state_word == op) return ok;

  bsr_x_matrix<I>* out = make_bsr_x_matrix<I>();
  if (out == nullptr) return alloc_failed;
  status st = internal_error;
  switch (h->data_type) {
    case type_s: st = build_transposed<float, I>(h, op, out); break;
    case type_d: st = build_transposed<double, I>(h, op, out); break;
    case type_c: st = build_transposed<c32, I>(h, op, out); break;
    case type_z: st = build_transposed<c64, I>(h, op, out); break;
    default: break;
  }
  if (st != ok) {
    destroy_sparse_bsr_x_matrix(out);
    return st;
  }
  destroy_sparse_bsr_x_matrix(h->transposed);
  h->transposed = out;
  return ok;
}

}  // namespace
}  // namespace qor::sparse

#define QOR_SPARSE_DEFINE_MATRIX_OPS(w, I)                                                                      \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_copy_sparse_matrix_##w(qor::sparse::sparse_matrix<I>* h) { \
    return qor::sparse::copy_sparse_matrix(h);                                                                  \
  }                                                                                                             \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_transposeMatrix_##w(qor::sparse::sparse_matrix<I>* h,      \
                                                                        qor::sparse::i32 op) {                   \
    return qor::sparse::transpose_matrix(h, op);                                                                \
  }
QOR_SPARSE_DEFINE_MATRIX_OPS(i4, std::int32_t)
QOR_SPARSE_DEFINE_MATRIX_OPS(i8, std::int64_t)
