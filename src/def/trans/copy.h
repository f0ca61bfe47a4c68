// Scaled copy and out-of-place transposition with general strides.
//
// Rows and columns are in row-major terms here: element (i, j) of `a` lies at
// a[i * lda + j * stridea]. Column-major callers exchange rows and columns.
#pragma once
#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "trans/simd.h"

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
      } else if constexpr (Scale) {
        scale_row<Conj>(cols, alpha, ar, br);
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

// Unit-stride transposition of a thin block (fewer rows or columns than a
// tile holds) by S by S register transposes: S is 2 for 8-byte elements and
// 4 for 4-byte ones, and plain moves of a complex element or any complex
// product go one element at a time. The loop runs along the long side, so
// that the short side's rows are read (or written) as a few sequential
// streams; the rows and columns past the last whole S go element by element.
template <class T, bool Conj, bool Scale>
inline constexpr u64 sub_side = (is_complex_v<T> && (Conj || Scale)) ? 1 : sizeof(T) == 8 ? 2 : sizeof(T) == 4 ? 4 : 1;

template <bool Conj, bool Scale, class T>
inline void transpose_sub(const T* a, u64 lda, T* b, u64 ldb, T alpha) {
  constexpr u64 S = sub_side<T, Conj, Scale>;
  if constexpr (S == 2) {
    const auto* src = reinterpret_cast<const double*>(a);
    auto* dst = reinterpret_cast<double*>(b);
    __m128d r0 = _mm_loadu_pd(src), r1 = _mm_loadu_pd(src + lda);
    if constexpr (Scale) {
      const __m128d s = _mm_set1_pd(static_cast<double>(alpha));
      r0 = _mm_mul_pd(r0, s);
      r1 = _mm_mul_pd(r1, s);
    }
    _mm_storeu_pd(dst, _mm_unpacklo_pd(r0, r1));
    _mm_storeu_pd(dst + ldb, _mm_unpackhi_pd(r0, r1));
  } else if constexpr (S == 4) {
    const auto* src = reinterpret_cast<const float*>(a);
    auto* dst = reinterpret_cast<float*>(b);
    __m128 r0 = _mm_loadu_ps(src), r1 = _mm_loadu_ps(src + lda);
    __m128 r2 = _mm_loadu_ps(src + 2 * lda), r3 = _mm_loadu_ps(src + 3 * lda);
    if constexpr (Scale) {
      const __m128 s = _mm_set1_ps(static_cast<float>(alpha));
      r0 = _mm_mul_ps(r0, s);
      r1 = _mm_mul_ps(r1, s);
      r2 = _mm_mul_ps(r2, s);
      r3 = _mm_mul_ps(r3, s);
    }
    const __m128 t0 = _mm_unpacklo_ps(r0, r1), t1 = _mm_unpackhi_ps(r0, r1);
    const __m128 t2 = _mm_unpacklo_ps(r2, r3), t3 = _mm_unpackhi_ps(r2, r3);
    _mm_storeu_ps(dst, _mm_movelh_ps(t0, t2));
    _mm_storeu_ps(dst + ldb, _mm_movehl_ps(t2, t0));
    _mm_storeu_ps(dst + 2 * ldb, _mm_movelh_ps(t1, t3));
    _mm_storeu_ps(dst + 3 * ldb, _mm_movehl_ps(t3, t1));
  } else {
    *b = apply<Conj, Scale>(alpha, *a);
  }
}

template <bool Conj, bool Scale, class T>
void transpose_thin(u64 rows, u64 cols, const T* a, u64 lda, T* b, u64 ldb, T alpha) {
  constexpr u64 S = sub_side<T, Conj, Scale>;
  const u64 rs = rows / S * S, cs = cols / S * S;
  if (rows <= cols) {
    for (u64 j = 0; j < cs; j += S)
      for (u64 i = 0; i < rs; i += S) transpose_sub<Conj, Scale>(a + i * lda + j, lda, b + j * ldb + i, ldb, alpha);
  } else {
    for (u64 i = 0; i < rs; i += S)
      for (u64 j = 0; j < cs; j += S) transpose_sub<Conj, Scale>(a + i * lda + j, lda, b + j * ldb + i, ldb, alpha);
  }
  if constexpr (S > 1) {
    for (u64 i = 0; i < rs; ++i)
      for (u64 j = cs; j < cols; ++j) b[j * ldb + i] = apply<Conj, Scale>(alpha, a[i * lda + j]);
    for (u64 i = rs; i < rows; ++i)
      for (u64 j = 0; j < cols; ++j) b[j * ldb + i] = apply<Conj, Scale>(alpha, a[i * lda + j]);
  }
}

// Unit-stride transposition by square tiles of one cache line per row: W
// elements of 64 / sizeof(T) bytes. A tile is transposed through a local
// buffer and written a whole line per row of b. Large results are written
// with streaming stores, which need no read of the destination lines; the
// tiles then run along the rows of a, so that a is read in W sequential
// streams. Otherwise they run along the rows of b, which stay in cache.
template <class T>
inline constexpr u64 tile_of = 64 / sizeof(T);

// A B by B block, transposed into a local buffer of rows of B elements:
// tile[j * B + i] = op(a[i * lda + j]). Plain moves of 4- and 8-byte
// elements go through registers by 4 by 4 and 2 by 2 transposes.
template <u64 B, bool Conj, bool Scale, class T>
inline void transpose_into(const T* a, u64 lda, T* tile, T alpha) {
  if constexpr (!Conj && !Scale && sizeof(T) == 8 && B % 2 == 0) {
    const auto* src = reinterpret_cast<const double*>(a);
    auto* dst = reinterpret_cast<double*>(tile);
    for (u64 i = 0; i < B; i += 2)
      for (u64 j = 0; j < B; j += 2) {
        const __m128d r0 = _mm_loadu_pd(src + i * lda + j), r1 = _mm_loadu_pd(src + (i + 1) * lda + j);
        _mm_storeu_pd(dst + j * B + i, _mm_unpacklo_pd(r0, r1));
        _mm_storeu_pd(dst + (j + 1) * B + i, _mm_unpackhi_pd(r0, r1));
      }
  } else if constexpr (!Conj && !Scale && sizeof(T) == 4 && B % 4 == 0) {
    const auto* src = reinterpret_cast<const float*>(a);
    auto* dst = reinterpret_cast<float*>(tile);
    for (u64 i = 0; i < B; i += 4)
      for (u64 j = 0; j < B; j += 4) {
        const __m128 r0 = _mm_loadu_ps(src + i * lda + j), r1 = _mm_loadu_ps(src + (i + 1) * lda + j);
        const __m128 r2 = _mm_loadu_ps(src + (i + 2) * lda + j), r3 = _mm_loadu_ps(src + (i + 3) * lda + j);
        const __m128 t0 = _mm_unpacklo_ps(r0, r1), t1 = _mm_unpackhi_ps(r0, r1);
        const __m128 t2 = _mm_unpacklo_ps(r2, r3), t3 = _mm_unpackhi_ps(r2, r3);
        _mm_storeu_ps(dst + j * B + i, _mm_movelh_ps(t0, t2));
        _mm_storeu_ps(dst + (j + 1) * B + i, _mm_movehl_ps(t2, t0));
        _mm_storeu_ps(dst + (j + 2) * B + i, _mm_movelh_ps(t1, t3));
        _mm_storeu_ps(dst + (j + 3) * B + i, _mm_movehl_ps(t3, t1));
      }
  } else {
    for (u64 i = 0; i < B; ++i)
      for (u64 j = 0; j < B; ++j) tile[j * B + i] = apply<Conj, Scale>(alpha, a[i * lda + j]);
  }
}

template <bool Conj, bool Scale, class T>
inline void load_tile(const T* a, u64 lda, T* tile, T alpha) {
  transpose_into<tile_of<T>, Conj, Scale>(a, lda, tile, alpha);
}

// Writes one 64-byte row of a tile; streaming stores need dst 16-byte aligned.
template <bool Stream>
inline void store_line(void* dst, const void* src) {
  const auto* s = static_cast<const __m128i*>(src);
  auto* d = static_cast<__m128i*>(dst);
  for (int k = 0; k < 4; ++k) {
    const __m128i v = _mm_load_si128(s + k);
    if constexpr (Stream) {
      _mm_stream_si128(d + k, v);
    } else {
      _mm_storeu_si128(d + k, v);
    }
  }
}

template <bool Conj, bool Scale, bool Stream, class T>
void transpose_tiles(u64 rows, u64 cols, const T* a, u64 lda, T* b, u64 ldb, T alpha) {
  constexpr u64 W = tile_of<T>;
  alignas(64) T tile[W * W];
  auto one = [&](u64 i0, u64 j0) {
    load_tile<Conj, Scale>(a + i0 * lda + j0, lda, tile, alpha);
    T* bt = b + j0 * ldb + i0;
    for (u64 j = 0; j < W; ++j) store_line<Stream>(bt + j * ldb, tile + j * W);
  };
  if constexpr (Stream) {
    // Bands of 32 rows of a by 2 KiB of columns, so that the pages of a and
    // b in use at a time stay few.
    constexpr u64 band_rows = 32, band_cols = 2048 / sizeof(T);
    for (u64 i1 = 0; i1 < rows; i1 += band_rows) {
      const u64 i2 = rows - i1 < band_rows ? rows : i1 + band_rows;
      for (u64 j1 = 0; j1 < cols; j1 += band_cols) {
        const u64 j2 = cols - j1 < band_cols ? cols : j1 + band_cols;
        for (u64 i0 = i1; i0 + W <= i2; i0 += W)
          for (u64 j0 = j1; j0 + W <= j2; j0 += W) one(i0, j0);
      }
    }
    _mm_sfence();
  } else {
    for (u64 j0 = 0; j0 + W <= cols; j0 += W)
      for (u64 i0 = 0; i0 + W <= rows; i0 += W) one(i0, j0);
  }
}

// Destinations from this size on are written with streaming stores, when
// every row of b can be written in whole, aligned 64-byte lines.
inline constexpr u64 stream_min_bytes = u64{1} << 20;

// The _t (Conj false) and _c (Conj true) kernels. Unit strides go by tiles,
// with the recursion on the edges that do not fill a tile; other strides by
// the recursion alone.
template <bool Conj, bool Scale, class T>
void omatcopy2_t_body(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  constexpr u64 W = tile_of<T>;
  if (sa != 1 || sb != 1) {
    xomatcopy2_rec<Conj, Scale>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
    return;
  }
  if (rows < W || cols < W) {
    transpose_thin<Conj, Scale>(rows, cols, a, lda, b, ldb, alpha);
    return;
  }
  // Streaming starts at the first row of a whose column of b begins a line.
  const auto addr = reinterpret_cast<std::uintptr_t>(b);
  u64 head = 0;
  bool stream = false;
  if (rows * cols * sizeof(T) >= stream_min_bytes && ldb * sizeof(T) % 64 == 0 && addr % sizeof(T) == 0) {
    head = (64 - addr % 64) % 64 / sizeof(T);
    stream = rows - head >= W;
  }
  if (!stream) head = 0;
  const u64 r = (rows - head) / W * W, c = cols / W * W;
  const T* at = a + head * lda;
  T* bt = b + head;
  if (stream) {
    transpose_tiles<Conj, Scale, true>(r, c, at, lda, bt, ldb, alpha);
  } else {
    transpose_tiles<Conj, Scale, false>(r, c, at, lda, bt, ldb, alpha);
  }
  if (head > 0) transpose_thin<Conj, Scale>(head, cols, a, lda, b, ldb, alpha);
  if (c < cols) transpose_thin<Conj, Scale>(r, cols - c, at + c, lda, bt + c * ldb, ldb, alpha);
  if (head + r < rows) transpose_thin<Conj, Scale>(rows - head - r, cols, at + r * lda, lda, bt + r, ldb, alpha);
}

template <bool Conj, class T>
void omatcopy2_t(u64 rows, u64 cols, const T* a, u64 lda, u64 sa, T* b, u64 ldb, u64 sb, T alpha) {
  if (is_one(alpha)) {
    omatcopy2_t_body<Conj, false>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
  } else {
    omatcopy2_t_body<Conj, true>(rows, cols, a, lda, sa, b, ldb, sb, alpha);
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
