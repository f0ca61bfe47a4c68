// Function types of the small LU family, shared by the kernel entries
// (api.h), the core and the tests, so each signature is written once.
//
// Every argument is passed by pointer. Sizes, leading dimensions, info,
// lwork and the pivot entries are signed 64-bit integers; ipiv holds 1-based
// row numbers as in LAPACK (row j was interchanged with row ipiv[j]).
#pragma once
#include <cstdint>

#include "frame/types.h"

namespace qor::lapack {

// An option letter as the solve kernels receive it: the character code held
// in a 32-bit integer, read whole. 'N', 'n', 'T', 't', 'C', 'c' are valid;
// any other value, one with bits above the low byte included, is an error.
using option_t = std::int32_t;

// LU with partial pivoting; a holds L (unit, below) and U on return.
template <class T>
using getrf_fn = void(const i64* m, const i64* n, T* a, const i64* lda, i64* ipiv, i64* info);
// LU without pivoting. info is not cleared: the caller passes 0.
template <class T>
using getrfnp_fn = void(const i64* m, const i64* n, T* a, const i64* lda, i64* info);
// Solve op(A) X = B from the factors of getrf; B is overwritten by X.
template <class T>
using getrs_fn = void(const option_t* trans, const i64* n, const i64* nrhs, const T* a, const i64* lda,
                      const i64* ipiv, T* b, const i64* ldb, i64* info);
// Inverse from the factors of getrf; work holds n elements. lwork == -1 asks
// for the workspace size in work[0].
template <class T>
using getri_fn = void(const i64* n, T* a, const i64* lda, const i64* ipiv, T* work, const i64* lwork, i64* info);
// Inverse from the factors of getrfnp.
template <class T>
using getrinp_fn = void(const i64* n, T* a, const i64* lda, T* work, const i64* lwork, i64* info);

// Machine parameters by LAPACK letter (the core's qor_lapack_?lamch).
template <class R> using lamch_fn = R(const char* cmach);

}  // namespace qor::lapack
