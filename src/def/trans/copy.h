// Scaled copy and out-of-place transposition with general strides.
//
// Rows and columns are in row-major terms here: element (i, j) of `a` lies at
// a[i * lda + j * stridea]. Column-major callers exchange rows and columns.
#pragma once
#include <cstring>

#include "trans/elem.h"

QOR_ISA_BEGIN
namespace trans {

// Copies `count` bytes: count / 8 eight-byte words, then the last bytes one
// by one. Does nothing for a null pointer, a zero count, or a count larger
// than the destination (count - 1 >= dst_size in unsigned arithmetic).
inline void unrollcopy(void* dst, u64 dst_size, const void* src, u64 count) {
  if (dst == nullptr || src == nullptr || count - 1 >= dst_size) return;
  const u64 words = count / 8;
  std::memcpy(dst, src, words * 8);
  auto* d = static_cast<unsigned char*>(dst) + words * 8;
  const auto* s = static_cast<const unsigned char*>(src) + words * 8;
  switch (count & 7) {
    case 7: d[6] = s[6]; [[fallthrough]];
    case 6: d[5] = s[5]; [[fallthrough]];
    case 5: d[4] = s[4]; [[fallthrough]];
    case 4: d[3] = s[3]; [[fallthrough]];
    case 3: d[2] = s[2]; [[fallthrough]];
    case 2: d[1] = s[1]; [[fallthrough]];
    case 1: d[0] = s[0]; [[fallthrough]];
    default: break;
  }
}

// b := alpha * a (conjugated first when Conj), row by row.
template <bool Conj, bool Scale, class T>
void copy_rows(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  if (sa == 1 && sb == 1) {
    for (u64 i = 0; i < rows; ++i) {
      const T* ar = a + i * lda;
      T* br = b + i * ldb;
      if constexpr (!Conj && !Scale) {
        std::memcpy(br, ar, cols * sizeof(T));
      } else {
        for (u64 j = 0; j < cols; ++j) br[j] = apply<Conj, Scale>(alpha, ar[j]);
      }
    }
    return;
  }
  for (u64 i = 0; i < rows; ++i) {
    const T* ar = a + i * lda;
    T* br = b + i * ldb;
    u64 j = 0;
    for (; j + 4 <= cols; j += 4) {
      T x0 = ar[j * sa], x1 = ar[(j + 1) * sa], x2 = ar[(j + 2) * sa], x3 = ar[(j + 3) * sa];
      br[j * sb] = apply<Conj, Scale>(alpha, x0);
      br[(j + 1) * sb] = apply<Conj, Scale>(alpha, x1);
      br[(j + 2) * sb] = apply<Conj, Scale>(alpha, x2);
      br[(j + 3) * sb] = apply<Conj, Scale>(alpha, x3);
    }
    for (; j < cols; ++j) br[j * sb] = apply<Conj, Scale>(alpha, ar[j * sa]);
  }
}

// The _n (Conj false) and _r (Conj true) kernels. A plain copy of a whole
// contiguous matrix is one block move.
template <bool Conj, class T>
void omatcopy2_n(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  const bool one = is_one(alpha);
  if (!Conj && one && sa == 1 && sb == 1 && lda == cols && ldb == cols) {
    const u64 bytes = rows * cols * sizeof(T);
    unrollcopy(b, bytes, a, bytes);
    return;
  }
  if (one) {
    copy_rows<Conj, false>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
  } else {
    copy_rows<Conj, true>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
  }
}

// Base case of the transposing recursion: b[j * ldb + i * sb] := op(a[i * lda + j * sa]).
template <bool Conj, bool Scale, class T>
inline void transpose_leaf(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  for (u64 i = 0; i < rows; ++i) {
    const T* ar = a + i * lda;
    T* bc = b + i * sb;
    u64 j = 0;
    for (; j + 4 <= cols; j += 4) {
      T x0 = ar[j * sa], x1 = ar[(j + 1) * sa], x2 = ar[(j + 2) * sa], x3 = ar[(j + 3) * sa];
      bc[j * ldb] = apply<Conj, Scale>(alpha, x0);
      bc[(j + 1) * ldb] = apply<Conj, Scale>(alpha, x1);
      bc[(j + 2) * ldb] = apply<Conj, Scale>(alpha, x2);
      bc[(j + 3) * ldb] = apply<Conj, Scale>(alpha, x3);
    }
    for (; j < cols; ++j) bc[j * ldb] = apply<Conj, Scale>(alpha, ar[j * sa]);
  }
}

// Cache-oblivious transposition: halve the longer side (a tie halves the
// columns), recurse on the first half and go on with the rest, until both
// sides are below 5.
template <bool Conj, bool Scale, class T>
void xomatcopy2_rec(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  while (rows >= 5 || cols >= 5) {
    if (cols >= rows) {
      const u64 h = cols >> 1;
      xomatcopy2_rec<Conj, Scale>(rows, h, a, lda, sa, b, ldb, sb, alpha);
      a += h * sa;
      b += h * ldb;
      cols -= h;
    } else {
      const u64 h = rows >> 1;
      xomatcopy2_rec<Conj, Scale>(h, cols, a, lda, sa, b, ldb, sb, alpha);
      a += h * lda;
      b += h * sb;
      rows -= h;
    }
  }
  transpose_leaf<Conj, Scale>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
}

// The _t (Conj false) and _c (Conj true) kernels.
template <bool Conj, class T>
void omatcopy2_t(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  if (is_one(alpha)) {
    xomatcopy2_rec<Conj, false>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
  } else {
    xomatcopy2_rec<Conj, true>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
  }
}

// Tests `trans`, then `ordering`, and runs the suffix kernel sequentially.
template <class T>
void omatcopy2_seq(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, u64 sa, T* b,
                   u64 ldb, u64 sb) {
  Op op;
  bool row_major;
  if (!::qor::trans::read_op(trans, op)) return;
  if (!::qor::trans::read_ordering(ordering, row_major)) return;
  if (rows == 0 || cols == 0) return;
  if (!row_major) {
    const u64 t = rows;
    rows = cols;
    cols = t;
  }
  switch (op) {
    case Op::N: omatcopy2_n<false>(rows, cols, a, lda, sa, b, ldb, sb, alpha); break;
    case Op::R: omatcopy2_n<true>(rows, cols, a, lda, sa, b, ldb, sb, alpha); break;
    case Op::T: omatcopy2_t<false>(rows, cols, a, lda, sa, b, ldb, sb, alpha); break;
    case Op::C: omatcopy2_t<true>(rows, cols, a, lda, sa, b, ldb, sb, alpha); break;
  }
}

}  // namespace trans
QOR_ISA_END

#include "trans/imports.h"

QOR_ISA_BEGIN
namespace trans {

// omatcopy2: threaded above the copy threshold, sequential otherwise.
template <class T>
void omatcopy2(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, u64 sa, T* b, u64 ldb,
               u64 sb) {
  if (rows == 0 || cols == 0) return;
  if (::qor::trans::copy_goes_parallel(rows, cols, sizeof(T))) {
    ::qor::trans::Imports<T>::omatcopy2_par(ordering, trans, rows, cols, alpha, a, lda, sa, b, ldb, sb);
  } else {
    omatcopy2_seq(ordering, trans, rows, cols, alpha, a, lda, sa, b, ldb, sb);
  }
}

template <class T>
void omatcopy(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T* b, u64 ldb) {
  omatcopy2(ordering, trans, rows, cols, alpha, a, lda, 1, b, ldb, 1);
}

}  // namespace trans
QOR_ISA_END
