// The records of a sparse matrix handle, shared by the kernel library and
// the core: the handle, its payloads (compressed and coordinate), the
// diagonal and analysis hubs, optimisation requests, and the enumerations
// every sparse routine speaks. Field order and widths are the layout both
// libraries read, so they are written once, here, and checked by
// static_assert below.
//
// I is the integer width of a family: std::int32_t for the `_i4` members,
// std::int64_t for the `_i8` members. Counts, extents and index-array
// elements take I; flags and codes stay 32-bit in both.
#pragma once
#include <cstddef>
#include <cstdint>

#include "frame/types.h"

namespace qor::sparse {

using i32 = std::int32_t;
using u32 = std::uint32_t;
using i64 = std::int64_t;

// Status of every routine.
enum status : i32 {
  ok = 0,
  not_initialized = 1,  // a required pointer is null
  alloc_failed = 2,
  invalid_value = 3,
  execution_failed = 4,  // reserved: never produced
  internal_error = 5,    // a handle without payload, an unknown data type
  not_supported = 6,
};

// Element type codes carried in the handle.
enum data_type : u32 { type_d = 0, type_s = 1, type_z = 2, type_c = 3 };

enum format : u32 { fmt_coo = 0, fmt_csr = 1, fmt_csc = 2, fmt_bsr = 3 };

enum operation : i32 { op_n = 10, op_t = 11, op_c = 12 };

enum matrix_type : i32 {
  mt_general = 20,
  mt_symmetric = 21,
  mt_hermitian = 22,
  mt_triangular = 23,
  mt_diagonal = 24,
  mt_block_triangular = 25,
  mt_block_diagonal = 26,
};

enum fill_mode : i32 { fill_lower = 40, fill_upper = 41, fill_full = 42 };
enum diag_type : i32 { diag_non_unit = 50, diag_unit = 51 };
enum layout : i32 { row_major = 101, column_major = 102 };
enum memory_hint : u32 { no_memory = 80, aggressive_memory = 81 };
enum sor_kind : i32 { sor_forward = 110, sor_backward = 111, sor_symmetric = 112 };

// Matrix descriptor: passed by value, 12 bytes.
struct matrix_descriptor {
  i32 type;
  i32 mode;
  i32 diag;
};
static_assert(sizeof(matrix_descriptor) == 12);

// The one validity rule every entry applies to a descriptor.
constexpr bool descriptor_valid(matrix_descriptor d) {
  if (d.type > mt_block_diagonal) return false;
  const bool diag_ok = d.diag == diag_non_unit || d.diag == diag_unit;
  switch (d.type) {
    case mt_symmetric:
    case mt_hermitian:
    case mt_triangular:
    case mt_block_triangular:
      return (d.mode == fill_lower || d.mode == fill_upper || d.mode == fill_full) && diag_ok;
    case mt_diagonal:
    case mt_block_diagonal:
      return diag_ok;
    default:
      return d.type == mt_general;
  }
}

// A record that holds a fixed number of owned arrays and nothing else.
template <int N> struct owned_arrays {
  void* array[N];
};

// The split-off diagonal. `release_each` 1: `arrays` is a record of four
// owned arrays (saved diagonal, reciprocal diagonal, two more) released one
// by one; otherwise `arrays` is one block.
struct diagonal_data {
  i32 mode[2];
  i32 release_each;
  owned_arrays<3>* saved;
  owned_arrays<4>* arrays;
};

// Analysis records. Each has a leading word, then owned array slots.
//
// Triangular-solve data: owned arrays at word positions 1, 2, 5, 7 and 8.
struct sv_optimal_data {
  void* word[10];
};
inline constexpr int sv_owned_words[5] = {1, 2, 5, 7, 8};

// Slice (ESB) product data. `width` is the slice width w (4, 8, or any);
// array[0] values, array[1] column indices (I, zero-based), array[2] slice
// starts, array[3] slice ends (I each, one per slice); array[4] spare.
struct esb_mv_analysis_data {
  i64 width;
  void* array[5];
};

// Diagonal-panel product data. `panels` counts the panels of 8 rows
// (the last one may be partial); array[0] panel_ptr (i32, panels + 1),
// array[1] start columns (i32), array[2] values (8 per diagonal);
// array[3], array[4] spare.
struct dia_mv_analysis_data {
  i64 panels;
  void* array[5];
};

// Upper triangle taken from a fully stored symmetric matrix.
struct up_tri_from_full_sym_data {
  i64 word;
  void* array[7];
};

// Symmetric Gauss-Seidel data: 27 owned arrays.
struct symgs_optimal_data {
  void* array[27];
};

// Derived data that survives a value update, marked stale instead.
struct product_data {
  void* array[4];
  i32 stale_values;
};
struct jit_kernel_data {
  void* array[7];
  void* kernel;
  i32 stale_values;
};

// The hub of everything analysed, one per payload, created zeroed.
struct optimal_data {
  sv_optimal_data* sv_lower;
  sv_optimal_data* sv_upper;
  symgs_optimal_data* symgs;
  jit_kernel_data* jit_kernel;
  product_data* product;
  void* owned[3];
  dia_mv_analysis_data* dia_mv;
  esb_mv_analysis_data* esb_mv;
  up_tri_from_full_sym_data* up_tri;
  void* word;
  void* owned_last;
};

// Compressed payload: CSR (block size 1, row layout), CSC (compressed
// dimension the columns) and BSR.
template <class I> struct bsr_x_matrix {
  i32 state_word;
  I rows;
  I cols;
  I nnz;
  i32 index_base;
  I block_size;
  i32 block_col_major;
  i32 owns_arrays;
  i32 copy_if_needed;
  i32 shared_arrays;
  i32 three_array;
  I* rows_start;
  I* rows_end;
  I* col_indx;
  void* values;
  void* scratch;
  diagonal_data* diagonal;
  optimal_data* optimal;
};

// Coordinate payload.
template <class I> struct coo_matrix {
  i32 state_word;
  I rows;
  I cols;
  I nnz;
  i32 index_base;
  i32 owns_arrays;
  i32 flag;  // set to 1 on creation
  i32 shared_arrays;
  I* row_indx;
  I* col_indx;
  void* values;
  owned_arrays<3>* coo_extras;
};

template <class I> struct sparse_matrix;
template <class I> struct optimization_request;

// Scratch shared by the analysis routines of one optimize call.
struct optimize_scratch {
  owned_arrays<3>* arrays;
  i32 counter;
};

template <class I>
using analysis_fn = status(sparse_matrix<I>* handle, optimization_request<I>* request, optimize_scratch* scratch);

template <class I> struct optimization_request {
  u32 operation;  // 10, 11, 12; 0 for a SOR request
  u32 type;
  u32 mode;
  u32 diag;
  I expected_calls;  // at least 1
  i32 layout;        // dense layout for mm and sm, else 0
  I dense_size;      // dense column count for mm and sm, else 0
  i32 sor_kind;      // 110 for a SOR request, else 0
  analysis_fn<I>* optimize;
  i32 took_effect;
  i32 zero_a[2];
  i32 done;
  optimization_request* next_request;
  optimization_request* next_applied;
  optimization_request** applied_list;
  void* zero_b[2];
};

// The 520-byte record of a QR hint, its flag at byte 416.
struct qr_data {
  void* array[8];
  unsigned char pad_a[416 - 8 * sizeof(void*)];
  i32 flag;
  unsigned char pad_b[520 - 416 - sizeof(i32)];
};
static_assert(sizeof(qr_data) == 520);
static_assert(offsetof(qr_data, flag) == 416);

template <class I> struct sparse_matrix {
  u32 data_type;
  u32 format;
  u32 memory_hint;    // 81 on creation
  u32 reserved_word;  // carried by copies
  I rows;             // as the user sees them (in blocks for BSR)
  I cols;
  void* primary;  // coo_matrix<I> for format 0, else bsr_x_matrix<I>
  bsr_x_matrix<I>* transposed;
  bsr_x_matrix<I>* derived_a;
  bsr_x_matrix<I>* derived_b;
  void* word;
  optimization_request<I>* requests;
  optimization_request<I>* sv_applied;
  optimization_request<I>* sm_applied;
  optimization_request<I>* mv_applied;
  optimization_request<I>* dotmv_applied;
  optimization_request<I>* mm_applied;
  optimization_request<I>* symgs_applied;
  optimization_request<I>* lu_smoother_applied;
  optimization_request<I>* sorv_applied;
  qr_data* qr;
};

static_assert(offsetof(sparse_matrix<i32>, primary) == 24);
static_assert(offsetof(sparse_matrix<i64>, primary) == 32);
static_assert(sizeof(sparse_matrix<i32>) == 24 + 15 * sizeof(void*));
static_assert(sizeof(sparse_matrix<i64>) == 32 + 15 * sizeof(void*));

// The data-type code of an element type.
template <class T> inline constexpr u32 type_code = 0;
template <> inline constexpr u32 type_code<float> = type_s;
template <> inline constexpr u32 type_code<double> = type_d;
template <> inline constexpr u32 type_code<::qor::c32> = type_c;
template <> inline constexpr u32 type_code<::qor::c64> = type_z;

// Every allocation of a handle's records and arrays uses this alignment.
inline constexpr int alignment = 4096;

}  // namespace qor::sparse
