// qor_sparse_convert_csr: a new CSR handle of op(A) from a CSR, CSC, COO
// or BSR (block size 1) handle, over arrays of its own.
//
// Elements are walked in storage order and placed by a counting sort on
// their output row, so each output row keeps the order in which its
// elements were met: a CSR source under operation 10 comes out with its
// rows as they were.
#include <cstring>

#include "frame/member.h"
#include "frame/trace.h"
#include "sparse/front.h"
#include "sparse/handle/api.h"

namespace qor::core::sparse {
namespace {

// Calls f(row, col, k) for every stored element, zero-based row and column
// and k the element's position in the values array.
template <class I, class F>
void for_each_element(const sparse_matrix<I>* h, F f) {
  if (h->format == fmt_coo) {
    const auto* p = static_cast<const coo_matrix<I>*>(h->primary);
    for (I k = 0; k < p->nnz; ++k) f(p->row_indx[k] - p->index_base, p->col_indx[k] - p->index_base, k);
    return;
  }
  const auto* p = static_cast<const bsr_x_matrix<I>*>(h->primary);
  const bool by_columns = h->format == fmt_csc;
  const I outer = by_columns ? h->cols : h->rows;
  const I base = p->index_base;
  if (p->col_indx == nullptr) return;
  for (I i = 0; i < outer; ++i)
    for (I k = p->rows_start[i] - base; k < p->rows_end[i] - base; ++k) {
      const I j = p->col_indx[k] - base;
      by_columns ? f(j, i, k) : f(i, j, k);
    }
}

template <class I>
i32 base_of(const sparse_matrix<I>* h) {
  return h->format == fmt_coo ? static_cast<const coo_matrix<I>*>(h->primary)->index_base
                              : static_cast<const bsr_x_matrix<I>*>(h->primary)->index_base;
}

template <class T, class I>
const T* values_of(const sparse_matrix<I>* h) {
  return static_cast<const T*>(h->format == fmt_coo ? static_cast<const coo_matrix<I>*>(h->primary)->values
                                                    : static_cast<const bsr_x_matrix<I>*>(h->primary)->values);
}

template <class T, class I>
int convert(const sparse_matrix<I>* h, i32 op, sparse_matrix<I>** out, create_csr_internal_fn<T, I>* create,
            destroy_fn<I>* destroy) {
  const bool flip = op != op_n;
  const I rows = flip ? h->cols : h->rows;
  const I cols = flip ? h->rows : h->cols;
  const i32 base = base_of(h);
  const T* values = values_of<T>(h);

  // Counts per output row; every index is checked, so a malformed source
  // gives 3 instead of a write out of bounds.
  scratch ptr_block;
  if (!ptr_block.get(static_cast<std::int64_t>(rows) + 1, sizeof(I))) return alloc_failed;
  I* ptr = ptr_block.as<I>();
  std::memset(ptr, 0, (static_cast<std::size_t>(rows) + 1) * sizeof(I));
  bool in_range = true;
  I nnz = 0;
  for_each_element(h, [&](I r, I c, I) {
    const I orow = flip ? c : r, ocol = flip ? r : c;
    if (orow < 0 || orow >= rows || ocol < 0 || ocol >= cols) {
      in_range = false;
      return;
    }
    ++ptr[orow + 1];
    ++nnz;
  });
  if (!in_range) return invalid_value;

  scratch col_block, val_block;
  if (!col_block.get(nnz, sizeof(I))) return alloc_failed;
  if (values != nullptr && !val_block.get(nnz, sizeof(T))) return alloc_failed;
  I* col = col_block.as<I>();
  T* val = values != nullptr ? val_block.as<T>() : nullptr;
  for (I i = 0; i < rows; ++i) ptr[i + 1] += ptr[i];
  // ptr[r] runs ahead as the fill position of row r, then is shifted back.
  for_each_element(h, [&](I r, I c, I k) {
    const I orow = flip ? c : r, ocol = flip ? r : c;
    const I at = ptr[orow]++;
    col[at] = ocol + base;
    if (val != nullptr) {
      T v = values[k];
      if constexpr (is_complex_v<T>)
        if (op == op_c) v = std::conj(v);
      val[at] = v;
    }
  });
  for (I i = rows; i > 0; --i) ptr[i] = ptr[i - 1] + base;
  ptr[0] = base;

  sparse_matrix<I>* made = nullptr;
  const bool empty = rows == 0 && cols == 0;
  const status st = empty ? create(&made, base, 0, 0, 0, nullptr, nullptr, nullptr, nullptr, 1)
                          : create(&made, base, rows, cols, nnz, ptr, ptr + 1, col, val, 0);
  if (st != ok) {
    if (made != nullptr) destroy(made);
    return st;
  }
  if (!empty) {
    // The new handle owns the arrays from now on.
    auto* p = static_cast<bsr_x_matrix<I>*>(made->primary);
    p->owns_arrays = 1;
    ptr_block.release();
    col_block.release();
    val_block.release();
  }
  *out = made;
  return ok;
}

template <class I>
int check(const sparse_matrix<I>* h, i32 op, const void* out) {
  if (h == nullptr || out == nullptr) return not_initialized;
  if (!operation_valid(op)) return invalid_value;
  if (h->data_type > type_c || h->primary == nullptr) return internal_error;
  if (h->format > fmt_bsr) return internal_error;
  // BSR handles of block size 1 are CSR handles already.
  if (h->format == fmt_bsr) return not_supported;
  return ok;
}

}  // namespace
}  // namespace qor::core::sparse

using namespace qor::core::sparse;

extern "C" {

#define QOR_SPARSE_CONVERT_ENTRY(w, I, SFX)                                                                      \
  QOR_API int qor_sparse_convert_csr##SFX(public_handle_t<I> src, int op, public_handle_t<I>* dest) {            \
    QOR_TRACED_STATUS((op), [=]() -> int {                                                                       \
      const auto* h = record_of(src);                                                                            \
      if (const int st = check(h, op, dest); st != ok) return st;                                                \
      sparse_matrix<I>* made = nullptr;                                                                          \
      auto* destroy = QOR_KERNEL(qor_sparse_destroy_##w##_def);                                                  \
      int st = ok;                                                                                               \
      switch (h->data_type) {                                                                                    \
        case type_s:                                                                                             \
          st = convert<float>(h, op, &made, QOR_KERNEL(qor_sparse_s_create_csr_internal_##w##_def), destroy);    \
          break;                                                                                                 \
        case type_d:                                                                                             \
          st = convert<double>(h, op, &made, QOR_KERNEL(qor_sparse_d_create_csr_internal_##w##_def), destroy);   \
          break;                                                                                                 \
        case type_c:                                                                                             \
          st = convert<qor::c32>(h, op, &made, QOR_KERNEL(qor_sparse_c_create_csr_internal_##w##_def), destroy); \
          break;                                                                                                 \
        default:                                                                                                 \
          st = convert<qor::c64>(h, op, &made, QOR_KERNEL(qor_sparse_z_create_csr_internal_##w##_def), destroy); \
          break;                                                                                                 \
      }                                                                                                          \
      if (st == ok) *dest = handle_of(made);                                                                     \
      return st;                                                                                                 \
    });                                                                                                          \
  }
QOR_SPARSE_FOR_EACH_PUBLIC_WIDTH(QOR_SPARSE_CONVERT_ENTRY)
#undef QOR_SPARSE_CONVERT_ENTRY

}  // extern "C"
