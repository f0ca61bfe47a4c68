// The public life of a sparse handle: creation, export, copy, destruction,
// values, hints and optimize. The kernel library owns the handle and does
// the work; the front end checks what only it can (the element type of a
// typed call against the handle's), and makes sure a failed call leaves
// the caller's handle variable as it was.
#include "frame/member.h"
#include "frame/trace.h"
#include "sparse/front.h"
#include "sparse/handle/api.h"

namespace qor::core::sparse {
namespace {

// A creation runs into a local handle, stored for the caller only on
// success: a creation that fails after making the handle destroys it.
template <class I, class H, class F>
int create(H* out, destroy_fn<I>* destroy, F make) {
  if (out == nullptr) return not_initialized;
  sparse_matrix<I>* made = nullptr;
  const status st = make(&made);
  if (st != ok) {
    if (made != nullptr) destroy(made);
    return st;
  }
  *out = handle_of(made);
  return ok;
}

// A typed call on an existing handle: null 1, another element type 6.
template <class P, class I>
int typed_check(const sparse_matrix<I>* h) {
  if (h == nullptr) return not_initialized;
  if (h->data_type != type_code<element_t<P>>) return not_supported;
  return ok;
}

}  // namespace
}  // namespace qor::core::sparse

using namespace qor::core::sparse;

extern "C" {

#define QOR_SPARSE_HANDLE_TYPED_ENTRIES(l, P, w, I, SFX)                                                              \
  QOR_API int qor_sparse_##l##_create_csr##SFX(public_handle_t<I>* A, int base, I rows, I cols, I* rows_start,        \
                                               I* rows_end, I* col_indx, P* values) {                                 \
    QOR_TRACED_STATUS((base, rows, cols), [=] {                                                                       \
      return create<I>(A, QOR_KERNEL(qor_sparse_destroy_##w##_def), [=](sparse_matrix<I>** m) {                       \
        return QOR_KERNEL(qor_sparse_##l##_create_csr_##w##_def)(m, base, rows, cols, rows_start, rows_end, col_indx, \
                                                                 array_of(values));                                   \
      });                                                                                                             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_create_csc##SFX(public_handle_t<I>* A, int base, I rows, I cols, I* cols_start,        \
                                               I* cols_end, I* row_indx, P* values) {                                 \
    QOR_TRACED_STATUS((base, rows, cols), [=] {                                                                       \
      return create<I>(A, QOR_KERNEL(qor_sparse_destroy_##w##_def), [=](sparse_matrix<I>** m) {                       \
        return QOR_KERNEL(qor_sparse_##l##_create_csc_##w##_def)(m, base, rows, cols, cols_start, cols_end, row_indx, \
                                                                 array_of(values));                                   \
      });                                                                                                             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_create_coo##SFX(public_handle_t<I>* A, int base, I rows, I cols, I nnz, I* row_indx,   \
                                               I* col_indx, P* values) {                                              \
    QOR_TRACED_STATUS((base, rows, cols, nnz), [=] {                                                                  \
      return create<I>(A, QOR_KERNEL(qor_sparse_destroy_##w##_def), [=](sparse_matrix<I>** m) {                       \
        return QOR_KERNEL(qor_sparse_##l##_create_coo_##w##_def)(m, base, rows, cols, nnz, row_indx, col_indx,        \
                                                                 array_of(values));                                   \
      });                                                                                                             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_create_bsr##SFX(public_handle_t<I>* A, int base, int block_layout, I rows, I cols,     \
                                               I block_size, I* rows_start, I* rows_end, I* col_indx, P* values) {    \
    QOR_TRACED_STATUS((base, block_layout, rows, cols, block_size), [=] {                                             \
      return create<I>(A, QOR_KERNEL(qor_sparse_destroy_##w##_def), [=](sparse_matrix<I>** m) {                       \
        return QOR_KERNEL(qor_sparse_##l##_create_bsr_##w##_def)(m, base, block_layout, rows, cols, block_size,       \
                                                                 rows_start, rows_end, col_indx, array_of(values));   \
      });                                                                                                             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_export_csr##SFX(public_handle_t<I> A, int* base, I* rows, I* cols, I** rows_start,     \
                                               I** rows_end, I** col_indx, P** values) {                              \
    QOR_TRACED_STATUS((), [=]() -> int {                                                                              \
      const auto* h = record_of(A);                                                                                   \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      return QOR_KERNEL(qor_sparse_##l##_export_csr_##w##_def)(h, base, rows, cols, rows_start, rows_end, col_indx,   \
                                                               reinterpret_cast<element_t<P>**>(values));             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_export_csc##SFX(public_handle_t<I> A, int* base, I* rows, I* cols, I** cols_start,     \
                                               I** cols_end, I** row_indx, P** values) {                              \
    QOR_TRACED_STATUS((), [=]() -> int {                                                                              \
      const auto* h = record_of(A);                                                                                   \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      return QOR_KERNEL(qor_sparse_##l##_export_csc_##w##_def)(h, base, rows, cols, cols_start, cols_end, row_indx,   \
                                                               reinterpret_cast<element_t<P>**>(values));             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_export_coo##SFX(public_handle_t<I> A, int* base, I* rows, I* cols, I* nnz,             \
                                               I** row_indx, I** col_indx, P** values) {                              \
    QOR_TRACED_STATUS((), [=]() -> int {                                                                              \
      const auto* h = record_of(A);                                                                                   \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      return QOR_KERNEL(qor_sparse_##l##_export_coo_##w##_def)(h, base, rows, cols, nnz, row_indx, col_indx,          \
                                                               reinterpret_cast<element_t<P>**>(values));             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_export_bsr##SFX(public_handle_t<I> A, int* base, int* block_layout, I* rows, I* cols,  \
                                               I* block_size, I** rows_start, I** rows_end, I** col_indx,             \
                                               P** values) {                                                          \
    QOR_TRACED_STATUS((), [=]() -> int {                                                                              \
      const auto* h = record_of(A);                                                                                   \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      return QOR_KERNEL(qor_sparse_##l##_export_bsr_##w##_def)(h, base, block_layout, rows, cols, block_size,         \
                                                               rows_start, rows_end, col_indx,                        \
                                                               reinterpret_cast<element_t<P>**>(values));             \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_set_value##SFX(public_handle_t<I> A, I row, I col, P value) {                          \
    QOR_TRACED_STATUS((row, col), [=]() -> int {                                                                      \
      auto* h = record_of(A);                                                                                         \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      return QOR_KERNEL(qor_sparse_##l##_set_value_##w##_def)(h, row, col, value_of(value));                          \
    });                                                                                                               \
  }                                                                                                                   \
  QOR_API int qor_sparse_##l##_update_values##SFX(public_handle_t<I> A, I nvalues, const I* indx, const I* indy,      \
                                                  const P* values) {                                                  \
    QOR_TRACED_STATUS((nvalues), [=]() -> int {                                                                       \
      auto* h = record_of(A);                                                                                         \
      if (const int st = typed_check<P>(h); st != ok) return st;                                                      \
      if (values == nullptr) return not_initialized;                                                                  \
      return QOR_KERNEL(qor_sparse_##l##_update_values_##w##_def)(h, nvalues, indx, indy, array_of(values));          \
    });                                                                                                               \
  }
QOR_SPARSE_FOR_EACH_PUBLIC(QOR_SPARSE_HANDLE_TYPED_ENTRIES)
#undef QOR_SPARSE_HANDLE_TYPED_ENTRIES

#define QOR_SPARSE_HANDLE_UNTYPED_ENTRIES(w, I, SFX)                                                                   \
  QOR_API int qor_sparse_copy##SFX(public_handle_t<I> src, qor_sparse_descr descr, public_handle_t<I>* dest) {         \
    QOR_TRACED_STATUS_NAMED((descr.type, descr.mode, descr.diag), "type,mode,diag", [=]() -> int {                     \
      if (src == nullptr) return not_initialized;                                                                      \
      return create<I>(dest, QOR_KERNEL(qor_sparse_destroy_##w##_def), [=](sparse_matrix<I>** m) {                     \
        return QOR_KERNEL(qor_sparse_copy_##w##_def)(record_of(src), descriptor_of(descr), m);                         \
      });                                                                                                              \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_destroy##SFX(public_handle_t<I> A) {                                                          \
    QOR_TRACED_STATUS((), [=] { return static_cast<int>(QOR_KERNEL(qor_sparse_destroy_##w##_def)(record_of(A))); });   \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_mv_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, I calls) {             \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, calls), "op,type,mode,diag,calls", [=] {          \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_mv_hint_##w##_def)(record_of(A), op, descriptor_of(descr), calls));                \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_dotmv_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, I calls) {          \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, calls), "op,type,mode,diag,calls", [=] {          \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_dotmv_hint_##w##_def)(record_of(A), op, descriptor_of(descr), calls));             \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_sv_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, I calls) {             \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, calls), "op,type,mode,diag,calls", [=] {          \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_sv_hint_##w##_def)(record_of(A), op, descriptor_of(descr), calls));                \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_symgs_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, I calls) {          \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, calls), "op,type,mode,diag,calls", [=] {          \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_symgs_hint_##w##_def)(record_of(A), op, descriptor_of(descr), calls));             \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_lu_smoother_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, I calls) {    \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, calls), "op,type,mode,diag,calls", [=] {          \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_lu_smoother_hint_##w##_def)(record_of(A), op, descriptor_of(descr), calls));       \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_mm_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, int layout, I columns, \
                                          I calls) {                                                                   \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, layout, columns, calls),                          \
                     "op,type,mode,diag,layout,columns,calls", [=] {                                                   \
                       return static_cast<int>(QOR_KERNEL(qor_sparse_set_mm_hint_##w##_def)(                           \
                           record_of(A), op, descriptor_of(descr), layout, columns, calls));                           \
                     });                                                                                               \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_sm_hint##SFX(public_handle_t<I> A, int op, qor_sparse_descr descr, int layout, I columns, \
                                          I calls) {                                                                   \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, layout, columns, calls),                          \
                     "op,type,mode,diag,layout,columns,calls", [=] {                                                   \
                       return static_cast<int>(QOR_KERNEL(qor_sparse_set_sm_hint_##w##_def)(                           \
                           record_of(A), op, descriptor_of(descr), layout, columns, calls));                           \
                     });                                                                                               \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_sorv_hint##SFX(int kind, public_handle_t<I> A, qor_sparse_descr descr, I calls) {         \
    QOR_TRACED_STATUS_NAMED((kind, descr.type, descr.mode, descr.diag, calls), "kind,type,mode,diag,calls", [=] {      \
      return static_cast<int>(                                                                                         \
          QOR_KERNEL(qor_sparse_set_sorv_hint_##w##_def)(kind, record_of(A), descriptor_of(descr), calls));            \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_memory_hint##SFX(public_handle_t<I> A, int policy) {                                      \
    QOR_TRACED_STATUS((policy), [=] {                                                                                  \
      return static_cast<int>(QOR_KERNEL(qor_sparse_set_memory_hint_##w##_def)(record_of(A), policy));                 \
    });                                                                                                                \
  }                                                                                                                    \
  QOR_API int qor_sparse_set_qr_hint##SFX(public_handle_t<I> A, int hint) {                                            \
    QOR_TRACED_STATUS((hint),                                                                                          \
               [=] { return static_cast<int>(QOR_KERNEL(qor_sparse_set_qr_hint_##w##_def)(record_of(A), hint)); });    \
  }                                                                                                                    \
  QOR_API int qor_sparse_optimize##SFX(public_handle_t<I> A) {                                                         \
    QOR_TRACED_STATUS((), [=] { return static_cast<int>(QOR_KERNEL(qor_sparse_optimize_##w##_def)(record_of(A))); });  \
  }
QOR_SPARSE_FOR_EACH_PUBLIC_WIDTH(QOR_SPARSE_HANDLE_UNTYPED_ENTRIES)
#undef QOR_SPARSE_HANDLE_UNTYPED_ENTRIES

}  // extern "C"
