// Pieces shared by the public BLAS interfaces of the core: Fortran and CBLAS
// names in 32- and 64-bit integer forms.
#pragma once
#include <cstddef>
#include <cstdint>

#include "qor/cblas.h"

extern "C" {
// The application may define its own xerbla_ (as the reference test
// programs do); the core calls it through the dynamic linker, so theirs wins.
void xerbla_(const char* routine, const int* arg, std::size_t len);
void xerbla_64_(const char* routine, const std::int64_t* arg, std::size_t len);
}

namespace qor::core::blas {

// Reports argument `arg` (1-based) of a Fortran-interface routine through
// the xerbla_ of the integer width in use. `routine` is the upper-case name
// without padding, e.g. "DGEMV"; xerbla_ receives it as the reference
// passes it, padded with blanks to six characters ("DGEMV ", length 6),
// longer names unchanged.
template <class Int>
void fortran_arg_error(const char* routine, Int arg);

// Upper-cases a Fortran option letter.
inline char upper(const char* c) { return (*c >= 'a' && *c <= 'z') ? static_cast<char>(*c - 32) : *c; }

// CBLAS enumerations as the letters of the Fortran interface.
inline char trans_letter(CBLAS_TRANSPOSE t) {
  return t == CblasNoTrans ? 'N' : t == CblasTrans ? 'T' : t == CblasConjTrans ? 'C' : '?';
}
inline char uplo_letter(CBLAS_UPLO u) { return u == CblasUpper ? 'U' : u == CblasLower ? 'L' : '?'; }
inline char diag_letter(CBLAS_DIAG d) { return d == CblasNonUnit ? 'N' : d == CblasUnit ? 'U' : '?'; }
inline char side_letter(CBLAS_SIDE s) { return s == CblasLeft ? 'L' : s == CblasRight ? 'R' : '?'; }

}  // namespace qor::core::blas
