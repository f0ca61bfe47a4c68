// Making and releasing the records of a sparse handle: zeroed blocks from
// the service allocator, compressed payloads with their diagonal and
// analysis hubs, and the release of every record with the arrays it owns.
//
// Both libraries include this header: the kernel library creates and
// destroys handles, and the core's transposition builds a payload that the
// kernel library later releases (and replaces one it built before), so the
// two must agree on what a record owns.
#pragma once
#include <cstdint>
#include <cstring>

#include "frame/services.h"
#include "sparse/records.h"

namespace qor::sparse::records {

// `count` zeroed objects of R, or null.
template <class R> R* make_zeroed(std::int64_t count = 1) {
  const std::int64_t bytes = count * static_cast<std::int64_t>(sizeof(R));
  void* p = qor_serv_malloc(bytes, alignment);
  if (p != nullptr && bytes > 0) std::memset(p, 0, static_cast<std::size_t>(bytes));
  return static_cast<R*>(p);
}

// `count` objects of R, contents undefined, or null.
template <class R> R* make_array(std::int64_t count) {
  return static_cast<R*>(qor_serv_malloc(count * static_cast<std::int64_t>(sizeof(R)), alignment));
}

inline void release(void* p) { qor_serv_free(p); }

// A set of new library-owned arrays, released unless handed over (`kept`).
template <int N> struct new_arrays {
  void* array[N] = {};
  bool kept = false;
  ~new_arrays() {
    if (!kept)
      for (void* a : array) release(a);
  }
  // Copies `count` elements of E from `source` into slot k; a null source
  // copies to null. False if the copy cannot be allocated.
  template <class E> bool copy(int k, const E* source, std::int64_t count) {
    if (source == nullptr) return true;
    E* a = make_array<E>(count);
    if (a == nullptr) return false;
    if (count > 0) std::memcpy(a, source, static_cast<std::size_t>(count) * sizeof(E));
    array[k] = a;
    return true;
  }
  template <class E> E* at(int k) const { return static_cast<E*>(array[k]); }
};

template <int N> void release_owned(owned_arrays<N>* r) {
  if (r == nullptr) return;
  for (void* a : r->array) release(a);
  release(r);
}

inline void destroy_diagonal_data(diagonal_data* d) {
  if (d == nullptr) return;
  release_owned(d->saved);
  if (d->release_each == 1)
    release_owned(d->arrays);
  else
    release(d->arrays);
  release(d);
}

inline void destroy_sv_optimal_data(sv_optimal_data* d) {
  if (d == nullptr) return;
  for (int w : sv_owned_words) release(d->word[w]);
  release(d);
}

inline void destroy_symgs_optimal_data(symgs_optimal_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

// The compiled small-matrix kernel kept in this record is released by the
// JIT interface once block kernels use it; until then no record holds one,
// and only its arrays are owned here.
inline void destroy_jit_kernel_data(jit_kernel_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

inline void destroy_product_data(product_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

inline void destroy_dia_mv_analysis_data(dia_mv_analysis_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

inline void destroy_esb_mv_analysis_data(esb_mv_analysis_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

inline void destroy_up_tri_from_full_sym_data(up_tri_from_full_sym_data* d) {
  if (d == nullptr) return;
  for (void* a : d->array) release(a);
  release(d);
}

// The analyses that depend on the values: dropped when the values change.
inline void destroy_value_analyses(optimal_data* o) {
  destroy_sv_optimal_data(o->sv_lower);
  destroy_sv_optimal_data(o->sv_upper);
  destroy_symgs_optimal_data(o->symgs);
  destroy_dia_mv_analysis_data(o->dia_mv);
  destroy_esb_mv_analysis_data(o->esb_mv);
  destroy_up_tri_from_full_sym_data(o->up_tri);
  o->sv_lower = o->sv_upper = nullptr;
  o->symgs = nullptr;
  o->dia_mv = nullptr;
  o->esb_mv = nullptr;
  o->up_tri = nullptr;
}

inline void destroy_optimal_data(optimal_data* o) {
  if (o == nullptr) return;
  destroy_sv_optimal_data(o->sv_lower);
  destroy_sv_optimal_data(o->sv_upper);
  destroy_symgs_optimal_data(o->symgs);
  destroy_jit_kernel_data(o->jit_kernel);
  destroy_product_data(o->product);
  for (void* a : o->owned) release(a);
  destroy_dia_mv_analysis_data(o->dia_mv);
  destroy_esb_mv_analysis_data(o->esb_mv);
  destroy_up_tri_from_full_sym_data(o->up_tri);
  release(o->owned_last);
  release(o);
}

// Releases a compressed payload: the matrix arrays when the library owns
// them and shares them with no one (`rows_end` only in the four-array
// form, since in the three-array form it points into `rows_start`), then
// the scratch array, the diagonal and the analysis hub, then the record.
template <class I> void destroy_sparse_bsr_x_matrix(bsr_x_matrix<I>* m) {
  if (m == nullptr) return;
  if (m->owns_arrays != 0 && m->shared_arrays == 0) {
    release(m->rows_start);
    if (m->three_array == 0) release(m->rows_end);
    release(m->col_indx);
    release(m->values);
  }
  release(m->scratch);
  destroy_diagonal_data(m->diagonal);
  destroy_optimal_data(m->optimal);
  release(m);
}

// A zeroed compressed payload with its diagonal record (released array by
// array) and an empty analysis hub; null, with nothing left allocated, if
// any of the three cannot be had.
template <class I> bsr_x_matrix<I>* make_bsr_x_matrix() {
  auto* m = make_zeroed<bsr_x_matrix<I>>();
  if (m == nullptr) return nullptr;
  auto* d = make_zeroed<diagonal_data>();
  auto* o = d != nullptr ? make_zeroed<optimal_data>() : nullptr;
  if (o == nullptr) {
    release(d);
    release(m);
    return nullptr;
  }
  d->release_each = 1;
  m->diagonal = d;
  m->optimal = o;
  return m;
}

// The extent of the compressed dimension of a payload: rows for CSR and
// BSR, columns for CSC, whose payload keeps the user's order.
template <class I> I compressed_extent(const sparse_matrix<I>* h, const bsr_x_matrix<I>* m) {
  return h->format == fmt_csc ? m->cols : m->rows;
}

}  // namespace qor::sparse::records
