// Where the elements of a matrix are: full column-major storage with a
// leading dimension, or a packed triangle. at(r, c) is the address of
// element (r, c); cols(c) is the column layout of the rectangle that starts
// in column c, for the kernels (element (i, j) of that rectangle lies at
// cols(c)(j) + i from at(r, c)). sub(d) is the layout of the trailing
// triangle that starts at element (d, d). In packed storage only the elements of the
// stored triangle may be read.
#pragma once
#include "blas/level2/gemv_kernels.h"

QOR_ISA_BEGIN
namespace l2 {

template <class P>
struct LayGe {
  P a;
  i64 lda;
  P at(i64 r, i64 c) const { return a + r + c * lda; }
  ColsGe cols(i64) const { return {lda}; }
  LayGe sub(i64 d) const { return {at(d, d), lda}; }
};

// Lower packed triangle of order n: column c holds rows c..n-1.
template <class P>
struct LayPl {
  P a;
  i64 n;
  P at(i64 r, i64 c) const { return a + (c * n - c * (c + 1) / 2) + r; }
  ColsPl cols(i64 c) const { return {n - c}; }
  LayPl sub(i64 d) const { return {at(d, d), n - d}; }
};

// Upper packed triangle: column c holds rows 0..c. ld is 0 for a whole
// triangle and d for the trailing triangle that starts at element (d, d).
template <class P>
struct LayPu {
  P a;
  i64 ld;
  P at(i64 r, i64 c) const { return a + c * ld + c * (c + 1) / 2 + r; }
  ColsPu cols(i64 c) const { return {ld + c}; }
  LayPu sub(i64 d) const { return {at(d, d), ld + d}; }
};

}  // namespace l2
QOR_ISA_END
