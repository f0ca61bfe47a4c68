// Destroying a handle: its payloads, the coordinate extras, the QR record,
// the request list, then the handle. Arrays the caller gave are never
// released: a payload frees its matrix arrays only when the library owns
// them and shares them with no one.
#include "sparse/handle/common.h"

namespace qor::sparse::handle {

template <class I> void free_requests(sparse_matrix<I>* h) {
  for (optimization_request<I>* r = h->requests; r != nullptr;) {
    optimization_request<I>* next = r->next_request;
    release(r);
    r = next;
  }
  h->requests = nullptr;
  h->sv_applied = h->sm_applied = h->mv_applied = h->dotmv_applied = nullptr;
  h->mm_applied = h->symgs_applied = h->lu_smoother_applied = h->sorv_applied = nullptr;
}

template <class I> void destroy_sparse_coo_matrix(coo_matrix<I>* m) {
  if (m == nullptr) return;
  if (m->owns_arrays != 0 && m->shared_arrays == 0) {
    release(m->row_indx);
    release(m->col_indx);
    release(m->values);
  }
  release_owned(m->coo_extras);
  release(m);
}

template <class I> void destroy_qr_data(qr_data* q) {
  if (q == nullptr) return;
  for (void* a : q->array) release(a);
  release(q);
}

template <class I> void do_destroy(sparse_matrix<I>* h) {
  if (h->format == fmt_coo) {
    destroy_sparse_coo_matrix(coordinate(h));
  } else if (h->format <= fmt_bsr) {
    destroy_sparse_bsr_x_matrix(h->derived_a);
    destroy_sparse_bsr_x_matrix(h->derived_b);
    destroy_sparse_bsr_x_matrix(h->transposed);
    destroy_sparse_bsr_x_matrix(compressed(h));
  }
  destroy_qr_data<I>(h->qr);
  free_requests(h);
  release(h);
}

template <class I> status destroy(sparse_matrix<I>* h) {
  if (h == nullptr) return not_initialized;
  if (h->data_type > type_c) return internal_error;
  do_destroy(h);
  return ok;
}

template void free_requests<i32>(sparse_matrix<i32>*);
template void free_requests<i64>(sparse_matrix<i64>*);
template void do_destroy<i32>(sparse_matrix<i32>*);
template void do_destroy<i64>(sparse_matrix<i64>*);

}  // namespace qor::sparse::handle

#define QOR_SPARSE_STAMP(w, I, unused)                                                       \
  QOR_DEF_API qor::sparse::status qor_sparse_destroy_##w##_def(qor::sparse::sparse_matrix<I>* h) { \
    return qor::sparse::handle::destroy<I>(h);                                               \
  }
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, 0)
