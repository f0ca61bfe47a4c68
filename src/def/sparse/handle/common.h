// Shared pieces of the handle routines: the bodies one routine calls in
// another (creation in copy, destruction in copy and update), the dispatch
// from a handle's data-type code to its element type, and the stamping of
// the exported names.
#pragma once
#include <cstdint>
#include <type_traits>

#include "sparse/handle/api.h"
#include "sparse/handle/payload.h"

namespace qor::sparse::handle {

using namespace ::qor::sparse::records;

// Bodies shared between files; instantiated for both widths and all types.
template <class T, class I>
status create_bsr_internal(sparse_matrix<I>** out, i32 index_base, i32 block_layout, I rows, I cols, I nnz_hint,
                           I block_size, I* rows_start, I* rows_end, I* col_indx, T* values, i32 allow_empty);
template <class T, class I>
status create_csc_internal(sparse_matrix<I>** out, i32 index_base, I rows, I cols, I nnz_hint, I* cols_start,
                           I* cols_end, I* row_indx, T* values, i32 allow_empty);
template <class T, class I>
status create_coo_internal(sparse_matrix<I>** out, i32 index_base, I rows, I cols, I nnz, I* row_indx,
                           I* col_indx, T* values, i32 allow_empty);
template <class I> void do_destroy(sparse_matrix<I>* h);
template <class I> void free_requests(sparse_matrix<I>* h);

// Calls fn(std::type_identity<T>{}) for the element type of a data-type
// code; a code above 3 gives 5.
template <class F> status with_element_type(u32 data_type, F&& fn) {
  switch (data_type) {
    case type_d: return fn(std::type_identity<double>{});
    case type_s: return fn(std::type_identity<float>{});
    case type_z: return fn(std::type_identity<::qor::c64>{});
    case type_c: return fn(std::type_identity<::qor::c32>{});
    default: return internal_error;
  }
}

template <class I> bsr_x_matrix<I>* compressed(const sparse_matrix<I>* h) {
  return static_cast<bsr_x_matrix<I>*>(h->primary);
}
template <class I> coo_matrix<I>* coordinate(const sparse_matrix<I>* h) {
  return static_cast<coo_matrix<I>*>(h->primary);
}

}  // namespace qor::sparse::handle

// The exported names are stamped per file: for a macro M(w, I, l, T),
//   #define M_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(M, l, T)
//   QOR_FOR_EACH_TYPE(M_T)
// and for a type-free M(w, I, unused), QOR_SPARSE_HANDLE_WIDTHS(M, 0).
