// The vector body of the triangular-solve leaves (256-bit AVX with FMA, for
// the Bulldozer and Zen classes), built in its own translation unit and
// called from the leaves when the processor path takes it.
//
// Every leaf case is turned into one form: X M = B for a strip of rows of
// X, with M upper triangular and solved column by column from the first.
// The right side is that form already (M = op(A)); the left side is its
// transpose (M = op(A)^T), solved on strips of columns of B copied into a
// small transposed buffer. A backward solve walks both M and the columns of
// the strip from the far end, by negative strides, so no data moves for it.
// Each step takes four columns of the strip at once (two for the complex
// types): their elements are loaded into registers, the columns already
// solved are subtracted from them (one multiply-add per element and solved
// column, with the coefficient broadcast), and the group is finished
// against its own diagonal block in registers, each column multiplied by
// the reciprocal of its diagonal element.
#pragma once
#include <cstdint>

#include "frame/types.h"

namespace qor::trsm_simd {

// The letters of a leaf solve.
struct Leaf {
  bool left;
  bool lower;
  bool trans;
  bool conj;  // op(A) = A^H (complex types)
  bool unit;
};

// The largest triangle the vector body takes; larger ones are left to the
// caller's loops (the blocked solve never hands a leaf more than 64).
inline constexpr std::int64_t kMaxTri = 128;

// Solves the leaf and returns true, or returns false without touching B
// when the triangle is larger than kMaxTri. The caller has checked the
// processor path and gives the reciprocals of the diagonal of op(A), in
// the order of the diagonal (not read for a unit diagonal).
#define QOR_TRSM_SIMD_DECLARE(t, T)                                                                      \
  bool solve(const Leaf& f, std::int64_t m, std::int64_t n, const T* a, std::int64_t lda, T* b,        \
             std::int64_t ldb, const T* recip);
QOR_FOR_EACH_TYPE(QOR_TRSM_SIMD_DECLARE)
#undef QOR_TRSM_SIMD_DECLARE

}  // namespace qor::trsm_simd
