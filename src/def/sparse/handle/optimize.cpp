// The optimize loop: the one place where analysis runs. Each recorded
// request runs once; those whose analysis stored something join the list
// of their kind. What an analysis reports does not reach the caller: a
// request that could not be optimised leaves the plain product in place.
#include "sparse/handle/common.h"
#include "sparse/imports.h"

namespace qor::sparse::handle {

namespace {

template <class I> status copy_arrays(sparse_matrix<I>* h) {
  if constexpr (sizeof(I) == sizeof(i32))
    return qor_sparse_copy_sparse_matrix_i4(h);
  else
    return qor_sparse_copy_sparse_matrix_i8(h);
}

template <class I> status transpose(sparse_matrix<I>* h, i32 op) {
  if constexpr (sizeof(I) == sizeof(i32))
    return qor_sparse_transposeMatrix_i4(h, op);
  else
    return qor_sparse_transposeMatrix_i8(h, op);
}

// Scratch shared by the analyses of one call, with the arrays they left.
struct scratch_guard {
  optimize_scratch* s = nullptr;
  ~scratch_guard() {
    if (s == nullptr) return;
    release_owned(s->arrays);
    release(s);
  }
};

// Every payload gets its analysis hub (coordinate payloads their extras)
// before any analysis runs.
template <class I> status give_hubs(sparse_matrix<I>* h) {
  if (h->format == fmt_coo) {
    coo_matrix<I>* m = coordinate(h);
    if (m->coo_extras == nullptr && (m->coo_extras = make_zeroed<owned_arrays<3>>()) == nullptr) return alloc_failed;
    return ok;
  }
  for (bsr_x_matrix<I>* m : {compressed(h), h->transposed})
    if (m != nullptr && m->optimal == nullptr && (m->optimal = make_zeroed<optimal_data>()) == nullptr)
      return alloc_failed;
  return ok;
}

// A private copy of the arrays is taken when the handle may still use the
// caller's arrays and a request would read them in a way the caller's form
// does not serve: a non-transposed product, or any request on the
// four-array form.
template <class I> bool wants_copy(const sparse_matrix<I>* h) {
  const bsr_x_matrix<I>* m = compressed(h);
  if (m->copy_if_needed == 0 || m->owns_arrays != 0 || h->requests == nullptr) return false;
  if (m->three_array == 0) return true;
  for (const optimization_request<I>* r = h->requests; r != nullptr; r = r->next_request)
    if (r->operation == op_n) return true;
  return false;
}

// Transposed and conjugate-transposed requests get the payload of their
// operation, except symmetric and Hermitian ones, which read the matrix as
// it is. Requests without an operation (SOR) have no payload to build.
template <class I> void transpose_for_requests(sparse_matrix<I>* h) {
  for (const optimization_request<I>* r = h->requests; r != nullptr; r = r->next_request) {
    if (r->done != 0 || (r->operation != op_t && r->operation != op_c)) continue;
    if (r->type == mt_symmetric || r->type == mt_hermitian) continue;
    transpose(h, static_cast<i32>(r->operation));
  }
}

}  // namespace

template <class I> status optimize(sparse_matrix<I>* h) {
  if (h == nullptr) return not_initialized;
  scratch_guard scratch;
  scratch.s = make_zeroed<optimize_scratch>();
  if (scratch.s == nullptr) return alloc_failed;
  if ((scratch.s->arrays = make_zeroed<owned_arrays<3>>()) == nullptr) return alloc_failed;
  if (h->primary == nullptr) return internal_error;
  if (const status st = give_hubs(h); st != ok) return st;

  if (h->format != fmt_coo && h->format <= fmt_bsr && h->memory_hint == aggressive_memory) {
    bool copied_fully = true;
    if (wants_copy(h)) {
      copy_arrays(h);
      copied_fully = h->memory_hint == aggressive_memory;  // a failed copy withdraws the memory
    }
    if (copied_fully) transpose_for_requests(h);
  }

  for (optimization_request<I>* r = h->requests; r != nullptr; r = r->next_request) {
    if (r->done != 0) continue;
    const status st = r->optimize != nullptr ? r->optimize(h, r, scratch.s) : ok;
    if (st == ok && r->took_effect != 0) {
      r->next_applied = *r->applied_list;
      *r->applied_list = r;
    }
    r->done = 1;
  }
  return ok;
}

}  // namespace qor::sparse::handle

#define QOR_SPARSE_STAMP(w, I, unused)                                                                   \
  QOR_DEF_API qor::sparse::status qor_sparse_optimize_##w##_def(qor::sparse::sparse_matrix<I>* h) {      \
    return qor::sparse::handle::optimize<I>(h);                                                          \
  }
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, 0)
