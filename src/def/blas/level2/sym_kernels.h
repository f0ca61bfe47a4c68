// Kernels that use each element of A twice in one read: the symmetric and
// Hermitian products (full and packed) and gem2v (A x1 and A^T x2 in one
// pass). A group of columns is read once; each pair of rows both adds the
// columns times their factors to y and accumulates the rows of A times x
// into one accumulator per column.
#pragma once
#include "blas/level2/layout.h"

QOR_ISA_BEGIN
namespace l2 {

// Rows [off, off + B) of a column group, off in reals: y += A * t and
// acc += op(A)^T x, op conjugating when Conj.
template <class T, int NC, int B, bool Conj>
inline void both_rows(const real_t<T>* const* col, const typename Vec<real_t<T>>::V* tr,
                      const typename Vec<real_t<T>>::V* ti, const T* t, real_t<T>* yr, const real_t<T>* xr, i64 off,
                      TAcc<T, NC>& acc) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int W = VT::W;
  constexpr int L = B * kReals<T>;
  if constexpr (L % W == 0) {
    for (int r = 0; r < L / W; ++r) {
      const i64 o = off + r * W;
      typename VT::V xv = VT::load(xr + o);
      typename VT::V xs = VT::swap_pairs(xv);
      typename VT::V s{};
      for (int c = 0; c < NC; ++c) {
        typename VT::V av = VT::load(col[c] + o);
        if (c == 0) {
          s = av * tr[0];
        } else {
          s += av * tr[c];
        }
        acc.p[c] += av * xv;
        if constexpr (is_complex_v<T>) {
          typename VT::V as = VT::swap_pairs(av);
          s += as * ti[c];
          acc.q[c] += av * xs;
        }
      }
      VT::store(yr + o, VT::load(yr + o) + s);
    }
  } else {
    for (int b = 0; b < B; ++b) {
      const i64 o = off + b * kReals<T>;
      T xv = load_elem<T>(xr + o);
      T s = T(0);
      for (int c = 0; c < NC; ++c) {
        T av = load_elem<T>(col[c] + o);
        s = c == 0 ? l2c::mul(av, t[0]) : s + l2c::mul(av, t[c]);
        acc.s[c] += l2c::mul(l2c::conj_if<Conj>(av), xv);
      }
      T yv = load_elem<T>(yr + o) + s;
      if constexpr (is_complex_v<T>) {
        yr[o] = yv.real();
        yr[o + 1] = yv.imag();
      } else {
        yr[o] = yv;
      }
    }
  }
}

// Rows [i0, i1) of a group of NC columns whose element (i, c) lies at
// col[c] + i (in elements): y[i] += sum_c A(i, c) t[c], and
// acc[c] += sum_i op(A(i, c)) x[i]. Blocks of 8, 4, 2, 1 rows (4, 2, 1 for
// complex elements).
template <class T, int NC, bool Conj>
inline void both_range(i64 i0, i64 i1, const T* const* colp, const T* t, T* y, const T* x, TAcc<T, NC>& acc) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int E = kReals<T>;
  const R* col[NC];
  typename VT::V tr[NC], ti[NC];
  for (int c = 0; c < NC; ++c) {
    col[c] = reinterpret_cast<const R*>(colp[c]);
    if constexpr (is_complex_v<T>) {
      tr[c] = VT::set1(t[c].real());
      ti[c] = VT::set_pair(-t[c].imag(), t[c].imag());
    } else {
      tr[c] = VT::set1(t[c]);
      ti[c] = tr[c];
    }
  }
  R* yr = reinterpret_cast<R*>(y);
  const R* xr = reinterpret_cast<const R*>(x);
  constexpr int B0 = is_complex_v<T> ? 4 : 8;
  i64 i = i0;
  for (; i + B0 <= i1; i += B0) {
    for (int c = 0; c < NC; ++c) prefetch_read(col[c] + i * E);  // a block is one line of each column
    both_rows<T, NC, B0, Conj>(col, tr, ti, t, yr, xr, i * E, acc);
  }
  if constexpr (B0 == 8) {
    if (i1 - i >= 4) {
      both_rows<T, NC, 4, Conj>(col, tr, ti, t, yr, xr, i * E, acc);
      i += 4;
    }
  }
  if (i1 - i >= 2) {
    both_rows<T, NC, 2, Conj>(col, tr, ti, t, yr, xr, i * E, acc);
    i += 2;
  }
  if (i1 - i >= 1) both_rows<T, NC, 1, Conj>(col, tr, ti, t, yr, xr, i * E, acc);
}

template <class T, int NC>
inline void acc_zero(TAcc<T, NC>& acc) {
  for (int c = 0; c < NC; ++c) {
    acc.p[c] = typename Vec<real_t<T>>::V{};
    acc.s[c] = T(0);
  }
  for (auto& q : acc.q) q = typename Vec<real_t<T>>::V{};
}

// ---- symmetric and Hermitian products -------------------------------------

// One group of NC columns starting at column j of the triangle. Lower: the
// columns hold rows j..n-1; upper: rows 0..j+NC-1. The NC x NC diagonal tile
// is done by scalar code; Herm takes the real part of the diagonal and
// conjugates the second use of each element.
template <class T, int NC, bool Herm, bool Lower, class Lay>
inline void sym_group(i64 n, i64 j, T alpha, Lay lay, const T* x, T* y) {
  const T* col[NC];
  T t[NC];
  TAcc<T, NC> acc;
  acc_zero(acc);
  for (int c = 0; c < NC; ++c) {
    col[c] = lay.at(0, j + c);
    t[c] = l2c::mul(alpha, x[j + c]);
  }
  // Diagonal tile.
  for (int c = 0; c < NC; ++c) {
    const T d = col[c][j + c];
    y[j + c] += l2c::mul(Herm ? l2c::real_only(d) : d, t[c]);
    for (int r = Lower ? c + 1 : 0; r < (Lower ? NC : c); ++r) {
      const T arc = col[c][j + r];  // element (j + r, j + c) of the stored triangle
      y[j + r] += l2c::mul(arc, t[c]);
      acc.s[c] += l2c::mul(l2c::conj_if<Herm>(arc), x[j + r]);
    }
  }
  if (Lower) {
    both_range<T, NC, Herm>(j + NC, n, col, t, y, x, acc);
  } else {
    both_range<T, NC, Herm>(0, j, col, t, y, x, acc);
  }
  for (int c = 0; c < NC; ++c) y[j + c] += l2c::mul(alpha, t_reduce<T, NC, Herm>(acc, c));
}

// y += alpha * A * x for the columns k..n-1 of the stored triangle of an
// n x n symmetric (Hermitian) matrix, x and y contiguous. With k = 0 this is
// the whole product; a larger k runs a trailing slice of the columns.
template <class T, bool Herm, bool Lower, class Lay>
void symv_kernel_body(i64 n, i64 k, T alpha, Lay lay, const T* x, T* y) {
  i64 j = k < 0 ? 0 : k;
  if constexpr (!is_complex_v<T>) {
    for (; j + 6 <= n; j += 6) sym_group<T, 6, Herm, Lower>(n, j, alpha, lay, x, y);
  }
  for (; j + 4 <= n; j += 4) sym_group<T, 4, Herm, Lower>(n, j, alpha, lay, x, y);
  if (n - j >= 2) {
    sym_group<T, 2, Herm, Lower>(n, j, alpha, lay, x, y);
    j += 2;
  }
  if (n - j >= 1) sym_group<T, 1, Herm, Lower>(n, j, alpha, lay, x, y);
}

// The storage of a layout, as the 512-bit bodies name it.
template <class P>
inline ::qor::avx512::l2w::Stored stored_of(const LayGe<P>& l, i64& ld) {
  ld = l.lda;
  return ::qor::avx512::l2w::Stored::full;
}
template <class P>
inline ::qor::avx512::l2w::Stored stored_of(const LayPl<P>& l, i64& ld) {
  ld = l.n;
  return ::qor::avx512::l2w::Stored::packed_lower;
}
template <class P>
inline ::qor::avx512::l2w::Stored stored_of(const LayPu<P>& l, i64& ld) {
  ld = l.ld;
  return ::qor::avx512::l2w::Stored::packed_upper;
}

// By the body that serves: the 512-bit one takes the symmetric real and
// Hermitian complex products (the only ones the entries make) in every
// storage.
template <class T, bool Herm, bool Lower, class Lay>
void symv_kernel(i64 n, i64 k, T alpha, Lay lay, const T* x, T* y) {
  if constexpr (Herm == is_complex_v<T>) {
    if (wide_body()) {
      i64 ld = 0;
      const auto st = stored_of(lay, ld);
      return ::qor::avx512::l2w::symv<T, Lower>(n, k, alpha, st, lay.a, ld, x, y);
    }
  }
  symv_kernel_body<T, Herm, Lower>(n, k, alpha, lay, x, y);
}

// ---- gem2v: y1 += alpha A x1, y2 += alpha op(A)^T x2 in one pass ----------

template <class T, int NC, bool Conj>
inline void gem2v_group(i64 m, i64 j, T alpha, const T* a, i64 lda, const T* x1, const T* x2, T* y1, T* y2) {
  const T* col[NC];
  T t[NC];
  TAcc<T, NC> acc;
  acc_zero(acc);
  for (int c = 0; c < NC; ++c) {
    col[c] = a + (j + c) * lda;
    t[c] = l2c::mul(alpha, x1[j + c]);
  }
  both_range<T, NC, Conj>(0, m, col, t, y1, x2, acc);
  for (int c = 0; c < NC; ++c) y2[j + c] += l2c::mul(alpha, t_reduce<T, NC, Conj>(acc, c));
}

template <class T, bool Conj>
void gem2v_kernel(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x1, const T* x2, T* y1, T* y2) {
  if (m < 1 || n < 1) return;
  i64 j = 0;
  for (; j + 4 <= n; j += 4) gem2v_group<T, 4, Conj>(m, j, alpha, a, lda, x1, x2, y1, y2);
  if (n - j >= 2) {
    gem2v_group<T, 2, Conj>(m, j, alpha, a, lda, x1, x2, y1, y2);
    j += 2;
  }
  if (n - j >= 1) gem2v_group<T, 1, Conj>(m, j, alpha, a, lda, x1, x2, y1, y2);
}

}  // namespace l2
QOR_ISA_END
