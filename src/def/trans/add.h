// Scaled matrix addition with optional transposition of each operand:
// c := alpha * op(a) + beta * op(b), out of place, and its in-place form
// c := alpha * op(a) + beta * c.
#pragma once
#include "frame/services.h"
#include "trans/copy.h"

QOR_ISA_BEGIN
namespace trans {

// Element (i, j) of op(x), for a matrix x with leading dimension ld.
template <Op O, class T>
inline T op_at(const T* x, u64 ld, u64 i, u64 j) {
  constexpr bool tr = O == Op::T || O == Op::C;
  constexpr bool cj = O == Op::C || O == Op::R;
  const T v = tr ? x[j * ld + i] : x[i * ld + j];
  return cj ? conj(v) : v;
}

// Asks for the cache lines of `bytes` bytes from p.
inline void prefetch_row(const void* p, u64 bytes) {
  const char* c = static_cast<const char*>(p);
  for (u64 k = 0; k < bytes; k += 64) _mm_prefetch(c + k, _MM_HINT_T0);
  _mm_prefetch(c + bytes - 1, _MM_HINT_T0);
}

// Tile edge for the forms that read an operand across its rows.
inline constexpr u64 add_tile = 16;

// The kernel of one pair of operations. Without transposition it runs along
// the rows; with one, it walks tiles of c: a transposed operand is first
// transposed into a local tile, so that every row of c is then one vector
// loop over two rows.
template <Op OA, Op OB, class T>
void omatadd_pair(u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, const T* b, u64 ldb, T* c, u64 ldc) {
  constexpr bool ta = OA == Op::T || OA == Op::C, tb = OB == Op::T || OB == Op::C;
  constexpr bool ca = OA == Op::C || OA == Op::R, cb = OB == Op::C || OB == Op::R;
  if constexpr (!ta && !tb) {
    // A large result that is neither operand is streamed past the caches.
    if (rows * cols * sizeof(T) >= stream_min_bytes && c != a && c != b) {
      for (u64 i = 0; i < rows; ++i) add_row<ca, cb, true>(cols, alpha, a + i * lda, beta, b + i * ldb, c + i * ldc);
      _mm_sfence();
    } else {
      for (u64 i = 0; i < rows; ++i) add_row<ca, cb, false>(cols, alpha, a + i * lda, beta, b + i * ldb, c + i * ldc);
    }
  } else {
    constexpr u64 B = add_tile;  // a multiple of every vector length
    alignas(64) T ta_tile[B * B], tb_tile[B * B];
    const u64 rf = rows / B * B, cf = cols / B * B;
    for (u64 i0 = 0; i0 < rf; i0 += B) {
      for (u64 j0 = 0; j0 < cf; j0 += B) {
        // Rows of op(x) over the tile: in place, or from the transposed tile
        // (conjugated there, so the row loop must not conjugate again).
        const T* ar = a + i0 * lda + j0;
        const T* br = b + i0 * ldb + j0;
        u64 sa = lda, sb = ldb;
        // The next tile of a transposed operand lies B rows further down:
        // its lines are requested now, a tile ahead of their use.
        if (j0 + B < cf) {
          for (u64 k = 0; k < B; ++k) {
            if constexpr (ta) prefetch_row(a + (j0 + B + k) * lda + i0, B * sizeof(T));
            if constexpr (tb) prefetch_row(b + (j0 + B + k) * ldb + i0, B * sizeof(T));
          }
        }
        if constexpr (ta) {
          transpose_into<B, ca, false>(a + j0 * lda + i0, lda, ta_tile, T(1));
          ar = ta_tile;
          sa = B;
        }
        if constexpr (tb) {
          transpose_into<B, cb, false>(b + j0 * ldb + i0, ldb, tb_tile, T(1));
          br = tb_tile;
          sb = B;
        }
        for (u64 i = 0; i < B; ++i)
          add_row<ca && !ta, cb && !tb, false, T, false>(B, alpha, ar + i * sa, beta, br + i * sb, c + (i0 + i) * ldc + j0);
      }
    }
    // Edges that do not fill a tile.
    auto edge = [&](u64 i_lo, u64 i_hi, u64 j_lo, u64 j_hi) {
      for (u64 i = i_lo; i < i_hi; ++i)
        for (u64 j = j_lo; j < j_hi; ++j)
          c[i * ldc + j] = mul(alpha, op_at<OA>(a, lda, i, j)) + mul(beta, op_at<OB>(b, ldb, i, j));
    };
    edge(0, rf, cf, cols);
    edge(rf, rows, 0, cols);
  }
}

// c := alpha * c + beta * b^T in place, halving like the transposing copy.
// Below 5 on both sides it stops at once; otherwise a block whose short side
// is below 5 may keep a long side up to 8, so that thin blocks are not cut
// further than needed.
template <class T>
void xomatadd_rec_nt(u64 rows, u64 cols, T beta, const T* b, u64 ldb, T alpha, T* c, u64 ldc) {
  if (rows >= 5 || cols >= 5) {
    while (!((rows < 5 && cols < 9) || (rows < 9 && cols < 5))) {
      if (cols >= rows) {
        const u64 h = cols >> 1;
        xomatadd_rec_nt(rows, h, beta, b, ldb, alpha, c, ldc);
        c += h;
        b += h * ldb;
        cols -= h;
      } else {
        const u64 h = rows >> 1;
        xomatadd_rec_nt(h, cols, beta, b, ldb, alpha, c, ldc);
        c += h * ldc;
        b += h;
        rows -= h;
      }
    }
  }
  for (u64 i = 0; i < rows; ++i)
    for (u64 j = 0; j < cols; ++j) c[i * ldc + j] = mul(alpha, c[i * ldc + j]) + mul(beta, b[j * ldb + i]);
}

template <class T>
void omatadd_nt(u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, const T* b, u64 ldb, T* c, u64 ldc) {
  if (a == c && lda == ldc) {
    xomatadd_rec_nt(rows, cols, beta, b, ldb, alpha, c, ldc);
    return;
  }
  omatadd_pair<Op::N, Op::T>(rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
}

// Order of the operations for pairing: a pair is run by the kernel of its
// lower-ranked operation first (rn, nt, tc, ...); the other order exchanges
// the operands.
inline int pair_rank(Op op) {
  switch (op) {
    case Op::R: return 0;
    case Op::N: return 1;
    case Op::T: return 2;
    default: return 3;
  }
}

template <class T>
void omatadd_seq(int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta,
                 const T* b, u64 ldb, T* c, u64 ldc) {
  Op oa, ob;
  bool row_major;
  if (!::qor::trans::read_ordering(ordering, row_major) || !::qor::trans::read_op(transa, oa) ||
      !::qor::trans::read_op(transb, ob))
    return;
  if (rows == 0 || cols == 0) return;
  if (!row_major) swap_elems(rows, cols);
  if constexpr (!is_complex_v<T>) {
    // Conjugation means nothing for real elements.
    if (oa == Op::R) oa = Op::N;
    if (oa == Op::C) oa = Op::T;
    if (ob == Op::R) ob = Op::N;
    if (ob == Op::C) ob = Op::T;
  }
  if (pair_rank(oa) > pair_rank(ob)) {
    swap_elems(oa, ob);
    swap_elems(alpha, beta);
    swap_elems(a, b);
    swap_elems(lda, ldb);
  }
#define QOR_TRANS_PAIR(A, B) \
  omatadd_pair<Op::A, Op::B>(rows, cols, alpha, a, lda, beta, b, ldb, c, ldc); \
  return
  switch (oa) {
    case Op::R:
      switch (ob) {
        case Op::R: QOR_TRANS_PAIR(R, R);
        case Op::N: QOR_TRANS_PAIR(R, N);
        case Op::T: QOR_TRANS_PAIR(R, T);
        case Op::C: QOR_TRANS_PAIR(R, C);
      }
      return;
    case Op::N:
      switch (ob) {
        case Op::N: QOR_TRANS_PAIR(N, N);
        case Op::T: omatadd_nt(rows, cols, alpha, a, lda, beta, b, ldb, c, ldc); return;
        case Op::C: QOR_TRANS_PAIR(N, C);
        default: return;
      }
    case Op::T:
      switch (ob) {
        case Op::T: QOR_TRANS_PAIR(T, T);
        case Op::C: QOR_TRANS_PAIR(T, C);
        default: return;
      }
    case Op::C:
      if (ob == Op::C) {
        QOR_TRANS_PAIR(C, C);
      }
      return;
  }
#undef QOR_TRANS_PAIR
}

template <class T>
void imatadd_impl(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, int transc, T* c,
                  u64 ldc);

template <class T>
void omatadd(int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta,
             const T* b, u64 ldb, T* c, u64 ldc) {
  if (rows == 0 || cols == 0) return;
  Op oa, ob;
  bool row_major;
  if (!::qor::trans::read_ordering(ordering, row_major) || !::qor::trans::read_op(transa, oa) ||
      !::qor::trans::read_op(transb, ob))
    return;
  // An operand that is c itself is added in place; c's own operation is
  // carried along so that a transposed c is read as such.
  if (a == c) {
    imatadd_impl(ordering, transb, rows, cols, beta, b, ldb, alpha, transa, c, ldc);
    return;
  }
  if (b == c) {
    imatadd_impl(ordering, transa, rows, cols, alpha, a, lda, beta, transb, c, ldc);
    return;
  }
  // A zero scalar leaves its operand unread. omatcopy takes the sizes of its source.
  if (is_zero(alpha)) {
    const bool t = ::qor::trans::transposing(ob);
    omatcopy(ordering, transb, t ? cols : rows, t ? rows : cols, beta, b, ldb, c, ldc);
    return;
  }
  if (is_zero(beta)) {
    const bool t = ::qor::trans::transposing(oa);
    omatcopy(ordering, transa, t ? cols : rows, t ? rows : cols, alpha, a, lda, c, ldc);
    return;
  }
  if (::qor::trans::add_goes_parallel(rows, cols, sizeof(T))) {
    ::qor::trans::Imports<T>::omatadd_par(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
  } else {
    omatadd_seq(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
  }
}

// The in-place addition without a temporary: loops over c in the order of
// its rows. When c itself is read transposed (or a is c, transposed) each
// element is computed together with its mirror image, which needs a square.
template <Op OA, class T>
void imatadd_direct(u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, Op oc, T* c, u64 ldc) {
  const bool read_a = !is_zero(alpha);
  const bool c_moves = ::qor::trans::transposing(oc) || (a == c && (OA == Op::T || OA == Op::C));
  if (!c_moves) {
    const bool cj = oc == Op::R;
    for (u64 i = 0; i < rows; ++i) {
      for (u64 j = 0; j < cols; ++j) {
        T& x = c[i * ldc + j];
        T v = mul(beta, cj ? conj(x) : x);
        if (read_a) v += mul(alpha, op_at<OA>(a, lda, i, j));
        x = v;
      }
    }
    return;
  }
  if (rows != cols) return;
  // op(c)(i, j) from c(i, j) and c(j, i).
  auto op_c = [oc](T xij, T xji) {
    switch (oc) {
      case Op::N: return xij;
      case Op::T: return xji;
      case Op::C: return conj(xji);
      default: return conj(xij);
    }
  };
  constexpr bool a_tr = OA == Op::T || OA == Op::C, a_cj = OA == Op::C || OA == Op::R;
  for (u64 i = 0; i < rows; ++i) {
    for (u64 j = 0; j <= i; ++j) {
      T& x = c[i * ldc + j];
      T& y = c[j * ldc + i];
      const T xij = x, xji = y;
      T vij = mul(beta, op_c(xij, xji)), vji = mul(beta, op_c(xji, xij));
      if (read_a) {
        T aij, aji;
        if (a == c) {
          aij = a_tr ? xji : xij;
          aji = a_tr ? xij : xji;
          if (a_cj) {
            aij = conj(aij);
            aji = conj(aji);
          }
        } else {
          aij = op_at<OA>(a, lda, i, j);
          aji = op_at<OA>(a, lda, j, i);
        }
        vij += mul(alpha, aij);
        vji += mul(alpha, aji);
      }
      x = vij;
      y = vji;
    }
  }
}

// c := alpha * op(a) + beta * opc(c), through a temporary copy of c when one
// can be had, else by the direct loops.
template <class T>
void imatadd_impl(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, int transc, T* c,
                  u64 ldc) {
  if (rows == 0 || cols == 0) return;
  Op oa, oc;
  bool row_major;
  if (!::qor::trans::read_ordering(ordering, row_major) || !::qor::trans::read_op(trans, oa) ||
      !::qor::trans::read_op(transc, oc))
    return;
  const auto count = static_cast<unsigned __int128>(rows) * cols * sizeof(T);
  T* tmp = nullptr;
  if ((count >> 63) == 0) tmp = static_cast<T*>(qor_serv_malloc(static_cast<std::int64_t>(count), 64));
  if (tmp != nullptr) {
    const u64 ldt = row_major ? cols : rows;
    const bool t = ::qor::trans::transposing(oc);
    omatcopy(ordering, transc, t ? cols : rows, t ? rows : cols, beta, c, ldc, tmp, ldt);
    omatadd(ordering, 'N', trans, rows, cols, T(1), tmp, ldt, alpha, a, lda, c, ldc);
    qor_serv_free(tmp);
    return;
  }
  if (!row_major) swap_elems(rows, cols);
  if constexpr (!is_complex_v<T>) {
    if (oa == Op::R) oa = Op::N;
    if (oa == Op::C) oa = Op::T;
    if (oc == Op::R) oc = Op::N;
    if (oc == Op::C) oc = Op::T;
  }
  switch (oa) {
    case Op::N: imatadd_direct<Op::N>(rows, cols, alpha, a, lda, beta, oc, c, ldc); break;
    case Op::T: imatadd_direct<Op::T>(rows, cols, alpha, a, lda, beta, oc, c, ldc); break;
    case Op::C: imatadd_direct<Op::C>(rows, cols, alpha, a, lda, beta, oc, c, ldc); break;
    case Op::R: imatadd_direct<Op::R>(rows, cols, alpha, a, lda, beta, oc, c, ldc); break;
  }
}

template <class T>
void imatadd(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta, T* c, u64 ldc) {
  imatadd_impl(ordering, trans, rows, cols, alpha, a, lda, beta, 'N', c, ldc);
}

}  // namespace trans
QOR_ISA_END
