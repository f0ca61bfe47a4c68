/*
 * qor: sparse matrices through handles (inspect, then execute).
 *
 * A handle wraps one matrix in CSR, CSC, COO or BSR form. It is created
 * over the caller's arrays, which it adopts without copying (keep them
 * alive until the handle is destroyed), told how it will be used (hints),
 * optimised once, used for any number of products, and destroyed:
 *
 *   qor_sparse_handle a = NULL;
 *   qor_sparse_d_create_csr(&a, QOR_SPARSE_INDEX_ZERO, m, n, ptr, ptr + 1, col, val);
 *   qor_sparse_descr g = {QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT};
 *   qor_sparse_set_mv_hint(a, QOR_SPARSE_OP_N, g, 100);   optional
 *   qor_sparse_optimize(a);                              optional
 *   qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, a, g, x, 0.0, y);   y = A x
 *   qor_sparse_destroy(a);
 *
 * Every routine exists for 32-bit indices (qor_sparse_handle, int32_t
 * sizes and index arrays) and, with the suffix _64, for 64-bit indices
 * (qor_sparse_handle_64, int64_t). Typed routines carry the element letter:
 * s float, d double, c qor_complex8, z qor_complex16. Complex scalars
 * (alpha, beta, a value) are passed by value as those two-element structs;
 * the dot of dotmv is returned through a pointer to one.
 *
 * Index arrays keep the matrix's index base (0 or 1). The compressed forms
 * take `rows_start` and `rows_end` (one entry per row): `rows_end` may be
 * `rows_start + 1` (one array of rows + 1 entries) or an array of its own.
 * `values` may be null for a matrix of ones (pattern only; the products
 * support it for the plain non-transposed general product on CSR).
 *
 * Every routine returns a status (below). A call that fails writes nothing
 * the caller owns: outputs, vectors and handles keep their contents. A
 * create that fails leaves the output handle as it was.
 *
 * Products (mv, dotmv, mm) compute y = alpha * op(A) x + beta * y, where
 * op is given by the operation and A is read as the descriptor says:
 *   type GENERAL       every stored element (mode and diag are not read)
 *   SYMMETRIC,         the triangle named by mode (LOWER, UPPER) stands for
 *   HERMITIAN          the matrix, the other one stored is ignored; FULL
 *                      uses every stored element; diag UNIT replaces the
 *                      stored diagonal by ones
 *   TRIANGULAR         the strict triangle named by mode plus the diagonal
 *                      (stored, or ones for UNIT)
 *   DIAGONAL           the diagonal only (an absent one counts as 0)
 *   BLOCK_TRIANGULAR, BLOCK_DIAGONAL: as TRIANGULAR, DIAGONAL
 * A beta equal to 0 overwrites y without reading it (NaN in y is not
 * propagated); any other beta, NaN included, scales y. Alpha is never
 * tested: alpha 0 with an infinite element gives NaN. Types other than
 * GENERAL need a square matrix. Results are the same, bit for bit, on any
 * number of threads (qor_set_num_threads); products may run at the same
 * time from several threads on one handle.
 */
#ifndef QOR_SPARSE_H
#define QOR_SPARSE_H

#include <stdint.h>

#include "qor/qor.h"
#include "qor/qor_types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_sparse_matrix* qor_sparse_handle;
typedef struct qor_sparse_matrix_64* qor_sparse_handle_64;

/* ---- Statuses ------------------------------------------------------------ */
enum {
  QOR_SPARSE_OK = 0,
  QOR_SPARSE_NULL_ARGUMENT = 1,   /* a required pointer is null */
  QOR_SPARSE_NO_MEMORY = 2,
  QOR_SPARSE_BAD_VALUE = 3,       /* an enumeration out of range, a bad size or leading dimension,
                                     an element not found, a non-square matrix where one is needed */
  QOR_SPARSE_EXECUTION_FAILED = 4, /* reserved: never returned */
  QOR_SPARSE_INTERNAL_ERROR = 5,  /* a handle without matrix, or of an unknown element type */
  QOR_SPARSE_NOT_SUPPORTED = 6    /* a routine of another element type than the handle's, or a
                                     format, type or combination not supported */
};

/* ---- Enumerations ---------------------------------------------------------- */
/* Element type of a handle. */
enum { QOR_SPARSE_TYPE_D = 0, QOR_SPARSE_TYPE_S = 1, QOR_SPARSE_TYPE_Z = 2, QOR_SPARSE_TYPE_C = 3 };
/* Storage format of a handle. */
enum { QOR_SPARSE_FORMAT_COO = 0, QOR_SPARSE_FORMAT_CSR = 1, QOR_SPARSE_FORMAT_CSC = 2, QOR_SPARSE_FORMAT_BSR = 3 };
/* Operation: A, its transpose, its conjugate transpose. */
enum { QOR_SPARSE_OP_N = 10, QOR_SPARSE_OP_T = 11, QOR_SPARSE_OP_C = 12 };
/* Descriptor type. */
enum {
  QOR_SPARSE_GENERAL = 20,
  QOR_SPARSE_SYMMETRIC = 21,
  QOR_SPARSE_HERMITIAN = 22,
  QOR_SPARSE_TRIANGULAR = 23,
  QOR_SPARSE_DIAGONAL = 24,
  QOR_SPARSE_BLOCK_TRIANGULAR = 25,
  QOR_SPARSE_BLOCK_DIAGONAL = 26
};
/* Descriptor mode: the triangle that is read. */
enum { QOR_SPARSE_LOWER = 40, QOR_SPARSE_UPPER = 41, QOR_SPARSE_FULL = 42 };
/* Descriptor diagonal. */
enum { QOR_SPARSE_NON_UNIT = 50, QOR_SPARSE_UNIT = 51 };
/* Layout of a dense matrix, and of the blocks of a BSR matrix. */
enum { QOR_SPARSE_ROW_MAJOR = 101, QOR_SPARSE_COLUMN_MAJOR = 102 };
/* Memory hint: whether optimize may keep data of the matrix's size
 * (copies, a transposed matrix, sliced forms). Allowed by default. */
enum { QOR_SPARSE_MEMORY_NONE = 80, QOR_SPARSE_MEMORY_ALLOWED = 81 };
/* Index base of the index arrays. */
enum { QOR_SPARSE_INDEX_ZERO = 0, QOR_SPARSE_INDEX_ONE = 1 };
/* Sweep of a SOR hint. */
enum { QOR_SPARSE_SOR_FORWARD = 110, QOR_SPARSE_SOR_BACKWARD = 111, QOR_SPARSE_SOR_SYMMETRIC = 112 };

/* How a product reads the matrix. Valid when: type is GENERAL (mode and
 * diag not examined); or SYMMETRIC, HERMITIAN, TRIANGULAR or
 * BLOCK_TRIANGULAR with mode LOWER, UPPER or FULL and diag NON_UNIT or
 * UNIT; or DIAGONAL or BLOCK_DIAGONAL with diag NON_UNIT or UNIT. */
typedef struct qor_sparse_descr {
  int32_t type;
  int32_t mode;
  int32_t diag;
} qor_sparse_descr;

/* ---- Routines of every element type ------------------------------------------
 * For letter L, element type T, real scalar of it S (alpha, beta and values
 * are T), handle H, index type I and name suffix SFX:
 *
 * create_csr: a rows x cols matrix compressed by rows.
 * create_csc: compressed by columns; cols_start, cols_end have one entry
 *   per column and row_indx holds row indices.
 * create_coo: nnz (row, col, value) triplets, nnz at least 1.
 * create_bsr: rows x cols blocks of block_size x block_size elements,
 *   stored with block_layout (ROW_MAJOR or COLUMN_MAJOR); values holds
 *   block_size^2 elements per stored block. Block size 1 makes a CSR handle.
 * export_*: the handle's own arrays and sizes (no copies). export_csr needs
 *   a CSR handle, export_csc a CSC one, export_coo a COO one; export_bsr
 *   takes BSR and CSR handles. Every output is required.
 * set_value: overwrites one stored element (row, col in the matrix's index
 *   base); an element not stored gives BAD_VALUE.
 * update_values: replaces all values of a CSR or BSR handle; nvalues is 0
 *   or the stored count; indx and indy must be null (partial updates are
 *   not supported). Hints and optimisations are dropped.
 * mv: y = alpha * op(A) x + beta * y. x has cols entries for OP_N, rows
 *   for the others; y the other count.
 * dotmv: mv, then *d = sum x[i] * y[i] (no conjugation); square matrices.
 * mm: C = alpha * op(A) B + beta * C for dense B and C of `columns`
 *   columns in `layout`: element (i, j) of B is B[i + j * ldb] for
 *   COLUMN_MAJOR and B[i * ldb + j] for ROW_MAJOR, and the same for C with
 *   ldc; `columns` is at least 1, and ldb and ldc are at least the row
 *   count (column-major) or `columns` (row-major) of their matrix.
 * The products take CSR, CSC and COO handles; a BSR handle (block size
 * above 1) gives NOT_SUPPORTED. */
#define QOR_SPARSE_DECLARE_TYPED(L, T, H, I, SFX)                                                                 \
  QOR_API int qor_sparse_##L##_create_csr##SFX(H* A, int base, I rows, I cols, I* rows_start, I* rows_end,       \
                                                I* col_indx, T* values);                                          \
  QOR_API int qor_sparse_##L##_create_csc##SFX(H* A, int base, I rows, I cols, I* cols_start, I* cols_end,       \
                                                I* row_indx, T* values);                                          \
  QOR_API int qor_sparse_##L##_create_coo##SFX(H* A, int base, I rows, I cols, I nnz, I* row_indx, I* col_indx, \
                                                T* values);                                                       \
  QOR_API int qor_sparse_##L##_create_bsr##SFX(H* A, int base, int block_layout, I rows, I cols, I block_size,  \
                                                I* rows_start, I* rows_end, I* col_indx, T* values);              \
  QOR_API int qor_sparse_##L##_export_csr##SFX(H A, int* base, I* rows, I* cols, I** rows_start,          \
                                                I** rows_end, I** col_indx, T** values);                          \
  QOR_API int qor_sparse_##L##_export_csc##SFX(H A, int* base, I* rows, I* cols, I** cols_start,          \
                                                I** cols_end, I** row_indx, T** values);                          \
  QOR_API int qor_sparse_##L##_export_coo##SFX(H A, int* base, I* rows, I* cols, I* nnz, I** row_indx,    \
                                                I** col_indx, T** values);                                        \
  QOR_API int qor_sparse_##L##_export_bsr##SFX(H A, int* base, int* block_layout, I* rows, I* cols,       \
                                                I* block_size, I** rows_start, I** rows_end, I** col_indx,        \
                                                T** values);                                                      \
  QOR_API int qor_sparse_##L##_set_value##SFX(H A, I row, I col, T value);                                      \
  QOR_API int qor_sparse_##L##_update_values##SFX(H A, I nvalues, const I* indx, const I* indy,                 \
                                                   const T* values);                                              \
  QOR_API int qor_sparse_##L##_mv##SFX(int op, T alpha, H A, qor_sparse_descr descr, const T* x, T beta,  \
                                        T* y);                                                                    \
  QOR_API int qor_sparse_##L##_dotmv##SFX(int op, T alpha, H A, qor_sparse_descr descr, const T* x,       \
                                           T beta, T* y, T* d);                                                   \
  QOR_API int qor_sparse_##L##_mm##SFX(int op, T alpha, H A, qor_sparse_descr descr, int layout,          \
                                        const T* B, I columns, I ldb, T beta, T* C, I ldc);

/* ---- Routines of no element type ---------------------------------------------
 * copy: *dest gets a new handle with the library's own copy of the
 *   matrix (no hints, no optimisation); descr must be valid.
 * destroy: frees the handle and everything it made; never the caller's
 *   arrays.
 * convert_csr: *dest gets a new CSR handle of op(src), with the library's
 *   own arrays, from a CSR, CSC, COO or BSR (block size 1) handle.
 * set_*_hint: records how the handle will be used (expected_calls at
 *   least 1); qor_sparse_optimize acts on the hints. Hints that no
 *   optimisation serves for the handle's format are accepted and ignored.
 *   set_sorv_hint takes the sweep first and the handle second.
 * set_memory_hint: MEMORY_NONE or MEMORY_ALLOWED.
 * optimize: runs the analyses of the hints recorded since the last call.
 *   An analysis that cannot be made leaves the products on their plain
 *   roads: optimize still returns OK. */
#define QOR_SPARSE_DECLARE_UNTYPED(H, I, SFX)                                                                      \
  QOR_API int qor_sparse_copy##SFX(H src, qor_sparse_descr descr, H* dest);                                 \
  QOR_API int qor_sparse_destroy##SFX(H A);                                                                        \
  QOR_API int qor_sparse_convert_csr##SFX(H src, int op, H* dest);                                          \
  QOR_API int qor_sparse_set_mv_hint##SFX(H A, int op, qor_sparse_descr descr, I expected_calls);                 \
  QOR_API int qor_sparse_set_dotmv_hint##SFX(H A, int op, qor_sparse_descr descr, I expected_calls);              \
  QOR_API int qor_sparse_set_mm_hint##SFX(H A, int op, qor_sparse_descr descr, int layout, I columns,             \
                                           I expected_calls);                                                      \
  QOR_API int qor_sparse_set_sv_hint##SFX(H A, int op, qor_sparse_descr descr, I expected_calls);                 \
  QOR_API int qor_sparse_set_sm_hint##SFX(H A, int op, qor_sparse_descr descr, int layout, I columns,             \
                                           I expected_calls);                                                      \
  QOR_API int qor_sparse_set_symgs_hint##SFX(H A, int op, qor_sparse_descr descr, I expected_calls);              \
  QOR_API int qor_sparse_set_lu_smoother_hint##SFX(H A, int op, qor_sparse_descr descr, I expected_calls);        \
  QOR_API int qor_sparse_set_sorv_hint##SFX(int kind, H A, qor_sparse_descr descr, I expected_calls);             \
  QOR_API int qor_sparse_set_memory_hint##SFX(H A, int policy);                                                    \
  QOR_API int qor_sparse_set_qr_hint##SFX(H A, int hint);                                                          \
  QOR_API int qor_sparse_optimize##SFX(H A);

#define QOR_SPARSE_DECLARE_WIDTH(H, I, SFX)                  \
  QOR_SPARSE_DECLARE_TYPED(s, float, H, I, SFX)              \
  QOR_SPARSE_DECLARE_TYPED(d, double, H, I, SFX)             \
  QOR_SPARSE_DECLARE_TYPED(c, qor_complex8, H, I, SFX)       \
  QOR_SPARSE_DECLARE_TYPED(z, qor_complex16, H, I, SFX)      \
  QOR_SPARSE_DECLARE_UNTYPED(H, I, SFX)

QOR_SPARSE_DECLARE_WIDTH(qor_sparse_handle, int32_t, )
QOR_SPARSE_DECLARE_WIDTH(qor_sparse_handle_64, int64_t, _64)

#undef QOR_SPARSE_DECLARE_WIDTH
#undef QOR_SPARSE_DECLARE_TYPED
#undef QOR_SPARSE_DECLARE_UNTYPED

#ifdef __cplusplus
}
#endif
#endif
