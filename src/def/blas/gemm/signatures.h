// Function types of GEMM and its exported pieces, shared by the kernel
// entries (api.h), the core's dispatching names (dispatch.h), the core's
// public wrappers, the Level 3 checks, the tests and the benchmarks, so each
// signature is written once.
//
// Every argument is passed by pointer, as in the Fortran BLAS: options as a
// pointer to one letter, 64-bit integers (I may be the 32-bit type in the
// core's wrappers), column-major matrices.
#pragma once
#include <cstddef>
#include <cstdint>

#include "frame/types.h"

// The Bulldozer/Zen double-precision kernel takes one record of seven
// words: panels, C, then m (a multiple of 12), n (of 4), depth and ldc.
typedef struct qor_dgemm_kernel_args {
  const double* apanel;
  const double* bpanel;
  double* c;
  std::int64_t m, n, depth, ldc;
} qor_dgemm_kernel_args;

namespace qor::gemm_sig {

// C = alpha op(A) op(B) + beta C. TA and TB are the stored types of A and B
// where they differ from T (the mixed-precision products of Level 3).
template <class T, class I, class TA, class TB>
using product_fn = void(const char* transa, const char* transb, const I* m, const I* n, const I* k, const T* alpha,
                        const TA* a, const I* lda, const TB* b, const I* ldb, const T* beta, T* c, const I* ldc);
template <class T, class I = i64>
using gemm_fn = product_fn<T, I, T, T>;

// The Fortran form of the public names and of the peers' (32-bit integers
// for I), with the hidden lengths of the two letters.
template <class T, class I = int>
using fortran_fn = void(const char* transa, const char* transb, const I* m, const I* n, const I* k, const T* alpha,
                        const T* a, const I* lda, const T* b, const I* ldb, const T* beta, T* c, const I* ldc,
                        std::size_t transa_len, std::size_t transb_len);

// ---- Pieces on C --------------------------------------------------------------
// C = beta C over m x n; C = 0 without reading C.
template <class T>
using scale_fn = void(const i64* m, const i64* n, const T* beta, T* c, const i64* ldc);
template <class T>
using zero_fn = void(const i64* m, const i64* n, T* c, const i64* ldc);

// ---- Blocking rules and work areas ----------------------------------------------
// m, n, k, then the row, column and depth block (filled where zero, or
// always by the rules that say so), then the three unrolls (always stored).
using blk_info_fn = void(const i64* m, const i64* n, const i64* k, i64* mb, i64* nb, i64* kb, i64* mu, i64* nu,
                         i64* ku);
// The c and z Barcelona rule: the row and the depth block only.
using blks_size_fn = void(const i64* m, const i64* n, const i64* k, i64* mb, i64* kb);
// Blocks in; the raw pointer and the panel placements out (all cleared
// first, null on failure). P is double for d, void for s, c and z.
template <class P>
using getbufs_fn = void(const i64* mb, const i64* nb, const i64* kb, void** raw, P** apanel, P** bpanel, P** extra);
using freebufs_fn = void(void* raw);

// ---- Packing --------------------------------------------------------------------
// A block of op(A) (rows x depth, times alpha), or of op(B) (depth x cols),
// into a panel.
template <class T>
using copy_a_fn = void(const i64* rows, const i64* depth, const T* a, const i64* lda, T* panel, const T* alpha);
template <class T>
using copy_b_fn = void(const i64* depth, const i64* cols, const T* b, const i64* ldb, T* panel);
// One strip of at most the named width over `depth` steps; the A forms
// scale by alpha.
template <class T>
using strip_a_fn = void(const i64* width, const i64* depth, const T* src, const i64* ld, T* dst, const T* alpha);
template <class T>
using strip_b_fn = void(const i64* width, const i64* depth, const T* src, const i64* ld, T* dst);

// ---- Kernels --------------------------------------------------------------------
// The d 128-bit kernels over two panels: m, n, depth, the panels, a pointer
// to 0, C, ldc, the expanded-B area, the alpha pair (alpha already lives in
// the A panel). C += A B.
using d_inner_fn = void(const i64* m, const i64* n, const i64* depth, const double* apanel, const double* bpanel,
                        const i64* zero, double* c, const i64* ldc, double* expanded, const double* alpha);
// The d Barcelona kernels that expand B from its source matrix.
using d_inner_b_fn = void(const char* transb, const i64* m, const i64* n, const i64* depth, const double* apanel,
                          const double* b, const i64* ldb, double* c, const i64* ldc, double* expanded,
                          const double* alpha);
// The s, c, z 128-bit kernels: as the d ones, with beta in place of the
// pointer to 0 (read by the forms that apply it).
template <class T>
using inner_fn = void(const i64* m, const i64* n, const i64* k, const T* a, const T* b, const T* beta, T* c,
                      const i64* ldc, T* expanded, const T* alpha);
// The s Barcelona kernel that expands B from its source.
using s_inner_b_fn = void(const char* transb, const i64* m, const i64* n, const i64* k, const float* a, const float* b,
                          const i64* ldb, const float* beta, float* c, const i64* ldc, float* expanded);
// The d 12 x 4 kernel of the Bulldozer/Zen body.
using d_kernel_fn = void(const qor_dgemm_kernel_args* args);
// The s, c, z 256-bit kernels: C = beta C + A B for any m, n and depth k.
template <class T>
using kernel_fn = void(const i64* m, const i64* n, const i64* k, const T* a, const T* b, const T* beta, T* c,
                       const i64* ldc);

// ---- The interface of the threaded and tuned members ------------------------------
using hook_fn = void(void);
using answer_fn = int(void);

}  // namespace qor::gemm_sig
