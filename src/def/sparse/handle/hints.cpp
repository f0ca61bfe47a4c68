// Hints: each records one optimisation request that qor_sparse_optimize
// acts on later. A request is pushed on the handle's list of all requests;
// only optimize links it into the list of its kind, once its analysis took
// effect, so a hint equal to one that took effect adds nothing.
#include "sparse/handle/common.h"
#include "sparse/imports.h"

namespace qor::sparse::handle {

namespace {

// The kinds of request, one per list head of the handle.
enum class kind { sv, sm, mv, dotmv, mm, symgs, lu_smoother, sorv };

template <class I> optimization_request<I>** list_head(sparse_matrix<I>* h, kind k) {
  switch (k) {
    case kind::sv: return &h->sv_applied;
    case kind::sm: return &h->sm_applied;
    case kind::mv: return &h->mv_applied;
    case kind::dotmv: return &h->dotmv_applied;
    case kind::mm: return &h->mm_applied;
    case kind::symgs: return &h->symgs_applied;
    case kind::lu_smoother: return &h->lu_smoother_applied;
    default: return &h->sorv_applied;
  }
}

template <class I> constexpr analysis_fn<I>* width_member(analysis_fn<i32>* narrow, analysis_fn<i64>* wide) {
  if constexpr (sizeof(I) == sizeof(i32))
    return narrow;
  else
    return wide;
}
#define QOR_SPARSE_ANALYSIS(name) width_member<I>(&qor_sparse_optimize_##name##_i4, &qor_sparse_optimize_##name##_i8)

// The analysis a kind has for a format: CSR and BSR have their own, other
// formats none. Null where the format has no analysis for the kind.
template <class I> analysis_fn<I>* analysis_for(u32 format, kind k) {
  if (format == fmt_csr) {
    switch (k) {
      case kind::mv: return QOR_SPARSE_ANALYSIS(csr_mv);
      case kind::dotmv: return QOR_SPARSE_ANALYSIS(csr_dotmv);
      case kind::mm: return QOR_SPARSE_ANALYSIS(csr_mm);
      case kind::sv: return QOR_SPARSE_ANALYSIS(csr_trsv);
      case kind::symgs: return QOR_SPARSE_ANALYSIS(csr_symgs);
      case kind::lu_smoother: return QOR_SPARSE_ANALYSIS(csr_lu_smoother);
      case kind::sorv: return QOR_SPARSE_ANALYSIS(csr_sorv);
      default: return nullptr;
    }
  }
  if (format == fmt_bsr) {
    switch (k) {
      case kind::mv: return QOR_SPARSE_ANALYSIS(bsr_mv);
      case kind::mm: return QOR_SPARSE_ANALYSIS(bsr_mm);
      case kind::sv: return QOR_SPARSE_ANALYSIS(bsr_trsv);
      case kind::sm: return QOR_SPARSE_ANALYSIS(bsr_trsm);
      case kind::lu_smoother: return QOR_SPARSE_ANALYSIS(bsr_lu_smoother);
      default: return nullptr;
    }
  }
  return nullptr;
}
#undef QOR_SPARSE_ANALYSIS

// What a hint asks for.
template <class I> struct wish {
  u32 operation;
  matrix_descriptor d;
  I calls;
  i32 layout = 0;
  I dense_size = 0;
  i32 sor_kind = 0;
};

// Equal requests: same operation and type, then the descriptor fields the
// type reads: none for general and block diagonal, diag for diagonal, mode
// for block triangular, both for symmetric, Hermitian and triangular.
template <class I> bool equal(const optimization_request<I>* r, const wish<I>& w) {
  if (r->operation != w.operation || r->type != static_cast<u32>(w.d.type)) return false;
  const bool same_mode = r->mode == static_cast<u32>(w.d.mode), same_diag = r->diag == static_cast<u32>(w.d.diag);
  switch (w.d.type) {
    case mt_diagonal: return same_diag;
    case mt_block_triangular: return same_mode;
    case mt_symmetric:
    case mt_hermitian:
    case mt_triangular: return same_mode && same_diag;
    default: return true;
  }
}

// Steps 2 to 4 of every hint, after its checks.
template <class I> status record(sparse_matrix<I>* h, kind k, const wish<I>& w) {
  analysis_fn<I>* analysis = analysis_for<I>(h->format, k);
  optimization_request<I>** head = list_head(h, k);
  for (const optimization_request<I>* r = *head; r != nullptr; r = r->next_applied)
    if (equal(r, w)) return ok;
  if (analysis == nullptr) return ok;  // nothing to optimise for this format
  auto* r = make_zeroed<optimization_request<I>>();
  if (r == nullptr) return alloc_failed;
  r->operation = w.operation;
  r->type = static_cast<u32>(w.d.type);
  r->mode = static_cast<u32>(w.d.mode);
  r->diag = static_cast<u32>(w.d.diag);
  r->expected_calls = w.calls;
  r->layout = w.layout;
  r->dense_size = w.dense_size;
  r->sor_kind = w.sor_kind;
  r->optimize = analysis;
  r->applied_list = head;
  r->next_request = h->requests;
  h->requests = r;
  return ok;
}

bool operation_valid(i32 op) { return op == op_n || op == op_t || op == op_c; }
bool layout_valid(i32 layout) { return layout == row_major || layout == column_major; }

// The checks of the vector hints: null handle 1, then operation,
// descriptor and call count 3.
template <class I> status check_vector(const sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) {
  if (h == nullptr) return not_initialized;
  if (!operation_valid(op) || !descriptor_valid(d) || calls < 1) return invalid_value;
  return ok;
}

// Solves also need a non-general type, a square matrix and a payload.
template <class I> status check_solve(const sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) {
  if (const status st = check_vector(h, op, d, calls); st != ok) return st;
  if (d.type == mt_general || h->rows != h->cols) return invalid_value;
  if (h->primary == nullptr) return internal_error;
  return ok;
}

}  // namespace

template <class I> status set_vector_hint(kind k, sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) {
  if (const status st = check_vector(h, op, d, calls); st != ok) return st;
  return record(h, k, wish<I>{static_cast<u32>(op), d, calls});
}

template <class I>
status set_dense_hint(kind k, sparse_matrix<I>* h, i32 op, matrix_descriptor d, i32 layout, I dense_size, I calls) {
  const status st = k == kind::sm ? check_solve(h, op, d, calls) : check_vector(h, op, d, calls);
  if (st != ok) return st;
  if (!layout_valid(layout) || dense_size < 1) return invalid_value;
  return record(h, k, wish<I>{static_cast<u32>(op), d, calls, layout, dense_size});
}

template <class I> status set_sv_hint(sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) {
  if (const status st = check_solve(h, op, d, calls); st != ok) return st;
  return record(h, kind::sv, wish<I>{static_cast<u32>(op), d, calls});
}

// The LU smoother is offered for real general matrices, non-transposed;
// other requests are accepted and ignored.
template <class I> status set_lu_smoother_hint(sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) {
  if (h == nullptr) return not_initialized;
  if (h->data_type == type_z || h->data_type == type_c) return ok;
  if (const status st = check_vector(h, op, d, calls); st != ok) return st;
  if (d.type != mt_general) return invalid_value;
  if (op != op_n) return ok;
  return record(h, kind::lu_smoother, wish<I>{static_cast<u32>(op), d, calls});
}

// Only the forward sweep of a fully stored symmetric matrix with a unit
// diagonal is optimised; the other kinds and descriptors are accepted.
template <class I> status set_sorv_hint(i32 sor_kind, sparse_matrix<I>* h, matrix_descriptor d, I calls) {
  if (h == nullptr) return not_initialized;
  if (sor_kind < sor_forward || sor_kind > sor_symmetric || !descriptor_valid(d) || calls < 1) return invalid_value;
  if (sor_kind != sor_forward || d.type != mt_symmetric || d.mode != fill_full || d.diag != diag_unit) return ok;
  return record(h, kind::sorv, wish<I>{0, d, calls, 0, 0, sor_forward});
}

template <class I> status set_memory_hint(sparse_matrix<I>* h, i32 policy) {
  if (h == nullptr) return not_initialized;
  if (policy != no_memory && policy != aggressive_memory) return invalid_value;
  h->memory_hint = static_cast<u32>(policy);
  return ok;
}

// The QR record is made on first use; hint 0 raises its flag.
template <class I> status set_qr_hint(sparse_matrix<I>* h, i32 hint) {
  if (h == nullptr) return not_initialized;
  if (h->qr == nullptr && (h->qr = make_zeroed<qr_data>()) == nullptr) return alloc_failed;
  if (hint == 0) h->qr->flag = 1;
  return ok;
}

}  // namespace qor::sparse::handle

using qor::sparse::i32;
using qor::sparse::matrix_descriptor;
using qor::sparse::sparse_matrix;
using qor::sparse::status;

#define QOR_SPARSE_VECTOR_HINT(w, I, name, k)                                                                    \
  QOR_DEF_API status qor_sparse_set_##name##_hint_##w##_def(sparse_matrix<I>* h, i32 op, matrix_descriptor d,    \
                                                            I calls) {                                          \
    return qor::sparse::handle::set_vector_hint<I>(qor::sparse::handle::kind::k, h, op, d, calls);              \
  }
#define QOR_SPARSE_DENSE_HINT(w, I, name, k)                                                                     \
  QOR_DEF_API status qor_sparse_set_##name##_hint_##w##_def(sparse_matrix<I>* h, i32 op, matrix_descriptor d,    \
                                                            i32 layout, I dense_size, I calls) {                \
    return qor::sparse::handle::set_dense_hint<I>(qor::sparse::handle::kind::k, h, op, d, layout, dense_size,   \
                                                  calls);                                                        \
  }
#define QOR_SPARSE_STAMP(w, I, unused)                                                                           \
  QOR_SPARSE_VECTOR_HINT(w, I, mv, mv)                                                                           \
  QOR_SPARSE_VECTOR_HINT(w, I, dotmv, dotmv)                                                                     \
  QOR_SPARSE_VECTOR_HINT(w, I, symgs, symgs)                                                                     \
  QOR_SPARSE_DENSE_HINT(w, I, mm, mm)                                                                            \
  QOR_SPARSE_DENSE_HINT(w, I, sm, sm)                                                                            \
  QOR_DEF_API status qor_sparse_set_sv_hint_##w##_def(sparse_matrix<I>* h, i32 op, matrix_descriptor d, I calls) { \
    return qor::sparse::handle::set_sv_hint<I>(h, op, d, calls);                                                 \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_set_lu_smoother_hint_##w##_def(sparse_matrix<I>* h, i32 op, matrix_descriptor d, \
                                                               I calls) {                                        \
    return qor::sparse::handle::set_lu_smoother_hint<I>(h, op, d, calls);                                        \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_set_sorv_hint_##w##_def(i32 kind, sparse_matrix<I>* h, matrix_descriptor d,      \
                                                        I calls) {                                               \
    return qor::sparse::handle::set_sorv_hint<I>(kind, h, d, calls);                                             \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_set_memory_hint_##w##_def(sparse_matrix<I>* h, i32 policy) {                     \
    return qor::sparse::handle::set_memory_hint<I>(h, policy);                                                   \
  }                                                                                                              \
  QOR_DEF_API status qor_sparse_set_qr_hint_##w##_def(sparse_matrix<I>* h, i32 hint) {                           \
    return qor::sparse::handle::set_qr_hint<I>(h, hint);                                                         \
  }
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, 0)
