// Argument checks of the Level 3 routines beside GEMM, as the reference
// routines make them: each returns the 1-based position of the first bad
// argument, or 0. Fortran positions count from the first option letter;
// the CBLAS forms count the layout first and judge the leading dimensions
// in the caller's layout.
#pragma once
#include <cstdint>
#include <cstring>

#include "blas/common/interface.h"
#include "blas/gemm/signatures.h"

namespace qor::core::l3 {

using i64 = std::int64_t;

// The dispatching names' signatures, by operation, as the interfaces call
// them after their checks.
template <class T>
using TriFn = void (*)(const char*, const char*, const char*, const char*, const i64*, const i64*, const T*,
                       const T*, const i64*, T*, const i64*);
template <class T>
using SymmFn = void (*)(const char*, const char*, const i64*, const i64*, const T*, const T*, const i64*, const T*,
                        const i64*, const T*, T*, const i64*);
template <class T, class S>
using SyrkFn = void (*)(const char*, const char*, const i64*, const i64*, const S*, const T*, const i64*, const S*,
                        T*, const i64*);
template <class T, class S>
using Syr2kFn = void (*)(const char*, const char*, const i64*, const i64*, const T*, const T*, const i64*,
                         const T*, const i64*, const S*, T*, const i64*);
template <class T>
using GemmtFn = void (*)(const char*, const char*, const char*, const i64*, const i64*, const T*, const T*,
                         const i64*, const T*, const i64*, const T*, T*, const i64*);
template <class T, class TA, class TB = T>
using GemmFn = ::qor::gemm_sig::product_fn<T, i64, TA, TB>*;

inline i64 at_least_1(i64 v) { return v > 1 ? v : 1; }
inline bool one_of(char c, const char* set) { return c != '\0' && std::strchr(set, c) != nullptr; }

// ---- Fortran (letters already upper-cased) -------------------------------------------

// trsm, trmm: side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb.
inline int tri_check(char side, char uplo, char transa, char diag, i64 m, i64 n, i64 lda, i64 ldb) {
  if (!one_of(side, "LR")) return 1;
  if (!one_of(uplo, "UL")) return 2;
  if (!one_of(transa, "NTC")) return 3;
  if (!one_of(diag, "UN")) return 4;
  if (m < 0) return 5;
  if (n < 0) return 6;
  if (lda < at_least_1(side == 'L' ? m : n)) return 9;
  if (ldb < at_least_1(m)) return 11;
  return 0;
}

// symm, hemm: side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc.
inline int symm_check(char side, char uplo, i64 m, i64 n, i64 lda, i64 ldb, i64 ldc) {
  if (!one_of(side, "LR")) return 1;
  if (!one_of(uplo, "UL")) return 2;
  if (m < 0) return 3;
  if (n < 0) return 4;
  if (lda < at_least_1(side == 'L' ? m : n)) return 7;
  if (ldb < at_least_1(m)) return 9;
  if (ldc < at_least_1(m)) return 12;
  return 0;
}

// syrk, herk (two_ops false) and syr2k, her2k (true): uplo, trans, n, k,
// alpha, a, lda, [b, ldb,] beta, c, ldc. `letters` are the trans letters
// the routine takes.
inline int rankk_check(bool two_ops, const char* letters, char uplo, char trans, i64 n, i64 k, i64 lda, i64 ldb,
                       i64 ldc) {
  if (!one_of(uplo, "UL")) return 1;
  if (!one_of(trans, letters)) return 2;
  if (n < 0) return 3;
  if (k < 0) return 4;
  const i64 rows = trans == 'N' ? n : k;
  if (lda < at_least_1(rows)) return 7;
  if (two_ops && ldb < at_least_1(rows)) return 9;
  if (ldc < at_least_1(n)) return two_ops ? 12 : 10;
  return 0;
}

// gemmt: uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc.
inline int gemmt_check(char uplo, char ta, char tb, i64 n, i64 k, i64 lda, i64 ldb, i64 ldc) {
  if (!one_of(uplo, "UL")) return 1;
  if (!one_of(ta, "NTC")) return 2;
  if (!one_of(tb, "NTC")) return 3;
  if (n < 0) return 4;
  if (k < 0) return 5;
  if (lda < at_least_1(ta == 'N' ? n : k)) return 8;
  if (ldb < at_least_1(tb == 'N' ? k : n)) return 10;
  if (ldc < at_least_1(n)) return 13;
  return 0;
}

// ---- CBLAS (letters from the enumerations, '?' when invalid) ------------------------

inline int cblas_tri_check(bool row, char side, char uplo, char transa, char diag, i64 m, i64 n, i64 lda, i64 ldb) {
  if (side == '?') return 2;
  if (uplo == '?') return 3;
  if (transa == '?') return 4;
  if (diag == '?') return 5;
  if (m < 0) return 6;
  if (n < 0) return 7;
  if (lda < at_least_1(side == 'L' ? m : n)) return 10;
  if (ldb < at_least_1(row ? n : m)) return 12;
  return 0;
}

inline int cblas_symm_check(bool row, char side, char uplo, i64 m, i64 n, i64 lda, i64 ldb, i64 ldc) {
  if (side == '?') return 2;
  if (uplo == '?') return 3;
  if (m < 0) return 4;
  if (n < 0) return 5;
  if (lda < at_least_1(side == 'L' ? m : n)) return 8;
  if (ldb < at_least_1(row ? n : m)) return 10;
  if (ldc < at_least_1(row ? n : m)) return 13;
  return 0;
}

inline int cblas_rankk_check(bool row, bool two_ops, const char* letters, char uplo, char trans, i64 n, i64 k,
                             i64 lda, i64 ldb, i64 ldc) {
  if (uplo == '?') return 2;
  if (!one_of(trans, letters)) return 3;
  if (n < 0) return 4;
  if (k < 0) return 5;
  // Stored rows of A (and B): in column-major n x k for 'N', k x n
  // otherwise; row-major stores the transpose.
  const i64 rows = (trans == 'N') != row ? n : k;
  if (lda < at_least_1(rows)) return 8;
  if (two_ops && ldb < at_least_1(rows)) return 10;
  if (ldc < at_least_1(n)) return two_ops ? 13 : 11;
  return 0;
}

inline int cblas_gemmt_check(bool row, char uplo, char ta, char tb, i64 n, i64 k, i64 lda, i64 ldb, i64 ldc) {
  if (uplo == '?') return 2;
  if (ta == '?') return 3;
  if (tb == '?') return 4;
  if (n < 0) return 5;
  if (k < 0) return 6;
  if (lda < at_least_1((ta == 'N') != row ? n : k)) return 9;
  if (ldb < at_least_1((tb == 'N') != row ? k : n)) return 11;
  if (ldc < at_least_1(n)) return 14;
  return 0;
}

// gemm in the CBLAS positions (layout 1, transa 2, transb 3, m 4, n 5, k 6,
// lda 9, ldb 11, ldc 14), leading dimensions in the caller's layout.
inline int cblas_gemm_check(bool row, char ta, char tb, i64 m, i64 n, i64 k, i64 lda, i64 ldb, i64 ldc) {
  if (ta == '?') return 2;
  if (tb == '?') return 3;
  if (m < 0) return 4;
  if (n < 0) return 5;
  if (k < 0) return 6;
  const bool na = ta == 'N', nb = tb == 'N';
  if (lda < at_least_1(row ? (na ? k : m) : (na ? m : k))) return 9;
  if (ldb < at_least_1(row ? (nb ? n : k) : (nb ? k : n))) return 11;
  if (ldc < at_least_1(row ? n : m)) return 14;
  return 0;
}

// ---- Row-major forms --------------------------------------------------------------------
inline char flip_side(char s) { return s == 'L' ? 'R' : 'L'; }
inline char flip_uplo(char u) { return u == 'U' ? 'L' : 'U'; }
// The trans letter of a rank-k update seen in the other layout: 'N' pairs
// with the transposition the routine takes (T, or C when Hermitian).
inline char flip_trans(char t, bool herm) { return t == 'N' ? (herm ? 'C' : 'T') : 'N'; }

}  // namespace qor::core::l3
