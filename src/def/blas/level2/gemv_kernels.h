// The matrix-vector kernels: y += alpha * op(A) * x on a matrix whose
// column j starts at cols(j) elements from the base. The general layout is
// j * lda; the two packed layouts give the rectangles inside packed
// triangles (gpmv). The entries have prepared everything: x and y point to
// their first logical elements, and the vector that runs along the rows is
// contiguous where the kernel needs it.
//
// Columns go in groups of 8, 4, 2, 1 and rows in blocks of 16, 8, 4, 2, 1
// (8, 4, 2, 1 for complex elements, the same bytes). In the no-transpose
// kernel an element of y is read and written once per group; in the
// transpose kernel each column of a group has its own accumulator and x is
// read once per group. On the 512-bit class the general layout goes to the
// 512-bit bodies (wide.h) once the vector along the rows is contiguous.
#pragma once
#include "blas/level2/common.h"
#include "blas/level2/simd.h"
#include "blas/level2/wide.h"

QOR_ISA_BEGIN
namespace l2 {

using l2c::i64;

struct ColsGe {
  i64 ld;
  i64 operator()(i64 j) const { return j * ld; }
};
// Lower packed rectangles: the distance between columns falls by one each
// column, so column j starts at j*ld - j(j+1)/2.
struct ColsPl {
  i64 ld;
  i64 operator()(i64 j) const { return j * ld - j * (j + 1) / 2; }
};
// Upper packed rectangles: column j starts at j*ld + j(j+1)/2.
struct ColsPu {
  i64 ld;
  i64 operator()(i64 j) const { return j * ld + j * (j + 1) / 2; }
};

template <class T>
inline constexpr int kReals = is_complex_v<T> ? 2 : 1;

template <class T>
inline T load_elem(const real_t<T>* p) {
  if constexpr (is_complex_v<T>) {
    return T(p[0], p[1]);
  } else {
    return *p;
  }
}

// ---- no transposition -------------------------------------------------------

// One block of B rows of one column group. off is in reals.
template <class T, int NC, int B>
inline void n_rows(const real_t<T>* const* col, const typename Vec<real_t<T>>::V* tr,
                   const typename Vec<real_t<T>>::V* ti, const T* t, real_t<T>* yr, i64 off) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int W = VT::W;
  constexpr int L = B * kReals<T>;
  if constexpr (L % W == 0) {
    for (int r = 0; r < L / W; ++r) {
      const i64 o = off + r * W;
      typename VT::V av = VT::load(col[0] + o);
      typename VT::V s = av * tr[0];
      if constexpr (is_complex_v<T>) s += VT::swap_pairs(av) * ti[0];
      for (int c = 1; c < NC; ++c) {
        av = VT::load(col[c] + o);
        s += av * tr[c];
        if constexpr (is_complex_v<T>) s += VT::swap_pairs(av) * ti[c];
      }
      VT::store(yr + o, VT::load(yr + o) + s);
    }
  } else {
    for (int b = 0; b < B; ++b) {
      const i64 o = off + b * kReals<T>;
      T s = l2c::mul(load_elem<T>(col[0] + o), t[0]);
      for (int c = 1; c < NC; ++c) s += l2c::mul(load_elem<T>(col[c] + o), t[c]);
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

template <class T, int NC, class Cols>
inline void n_group(i64 m, const T* a, Cols cols, i64 j0, T alpha, const T* x, i64 incx, T* y) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int E = kReals<T>;
  const R* col[NC];
  T t[NC];
  typename VT::V tr[NC], ti[NC];
  for (int c = 0; c < NC; ++c) {
    col[c] = reinterpret_cast<const R*>(a + cols(j0 + c));
    t[c] = l2c::mul(alpha, x[(j0 + c) * incx]);
    if constexpr (is_complex_v<T>) {
      tr[c] = VT::set1(t[c].real());
      ti[c] = VT::set_pair(-t[c].imag(), t[c].imag());
    } else {
      tr[c] = VT::set1(t[c]);
      ti[c] = tr[c];
    }
  }
  R* yr = reinterpret_cast<R*>(y);
  constexpr int B0 = is_complex_v<T> ? 8 : 16;
  i64 i = 0;
  for (; i + B0 <= m; i += B0) {
    // A block is 128 bytes of each column: two lines to fetch ahead.
    for (int c = 0; c < NC; ++c) {
      prefetch_read(col[c] + i * E);
      prefetch_read(col[c] + i * E + 64 / sizeof(R));
    }
    n_rows<T, NC, B0>(col, tr, ti, t, yr, i * E);
  }
  if constexpr (B0 == 16) {
    if (m - i >= 8) {
      n_rows<T, NC, 8>(col, tr, ti, t, yr, i * E);
      i += 8;
    }
  }
  if (m - i >= 4) {
    n_rows<T, NC, 4>(col, tr, ti, t, yr, i * E);
    i += 4;
  }
  if (m - i >= 2) {
    n_rows<T, NC, 2>(col, tr, ti, t, yr, i * E);
    i += 2;
  }
  if (m - i >= 1) n_rows<T, NC, 1>(col, tr, ti, t, yr, i * E);
}

// y (contiguous) += alpha * A * x.
template <class T, class Cols>
void gemv_n_body(i64 m, i64 n, T alpha, const T* a, Cols cols, const T* x, i64 incx, T* y) {
  i64 j = 0;
  for (; j + 8 <= n; j += 8) n_group<T, 8>(m, a, cols, j, alpha, x, incx, y);
  if (n - j >= 4) {
    n_group<T, 4>(m, a, cols, j, alpha, x, incx, y);
    j += 4;
  }
  if (n - j >= 2) {
    n_group<T, 2>(m, a, cols, j, alpha, x, incx, y);
    j += 2;
  }
  if (n - j >= 1) n_group<T, 1>(m, a, cols, j, alpha, x, incx, y);
}

// y (contiguous) += alpha * A * x by the body that serves: the 512-bit one
// takes the general layout (wide.h).
template <class T, class Cols>
void gemv_n_contiguous(i64 m, i64 n, T alpha, const T* a, Cols cols, const T* x, i64 incx, T* y) {
  if constexpr (std::is_same_v<Cols, ColsGe>) {
    if (wide_body()) return ::qor::avx512::l2w::gemv_n<T>(m, n, alpha, a, cols.ld, x, incx, y);
  }
  gemv_n_body(m, n, alpha, a, cols, x, incx, y);
}

// The kernel: y at any stride, gathered into buf when not contiguous.
template <class T, class Cols>
void gemv_n(i64 m, i64 n, T alpha, const T* a, Cols cols, const T* x, i64 incx, T* y, i64 incy, T* buf) {
  if (m < 1 || n < 1) return;
  if (incy == 1) {
    gemv_n_contiguous(m, n, alpha, a, cols, x, incx, y);
  } else {
    l2c::gather(m, y, incy, buf);
    gemv_n_contiguous(m, n, alpha, a, cols, x, incx, buf);
    l2c::scatter(m, buf, y, incy);
  }
}

// ---- transposition ------------------------------------------------------------

// Accumulators of one column group. Complex elements keep two per column:
// the lane products a*x and the products with x's parts exchanged.
template <class T, int NC>
struct TAcc {
  using VT = Vec<real_t<T>>;
  typename VT::V p[NC];
  typename VT::V q[is_complex_v<T> ? NC : 1];
  T s[NC];
};

template <class T, int NC, int B, bool Conj>
inline void t_rows(const real_t<T>* const* col, const real_t<T>* xr, i64 off, TAcc<T, NC>& acc) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int W = VT::W;
  constexpr int L = B * kReals<T>;
  if constexpr (L % W == 0) {
    for (int r = 0; r < L / W; ++r) {
      const i64 o = off + r * W;
      typename VT::V xv = VT::load(xr + o);
      if constexpr (is_complex_v<T>) {
        typename VT::V xs = VT::swap_pairs(xv);
        for (int c = 0; c < NC; ++c) {
          typename VT::V av = VT::load(col[c] + o);
          acc.p[c] += av * xv;
          acc.q[c] += av * xs;
        }
      } else {
        for (int c = 0; c < NC; ++c) acc.p[c] += VT::load(col[c] + o) * xv;
      }
    }
  } else {
    for (int b = 0; b < B; ++b) {
      const i64 o = off + b * kReals<T>;
      T xv = load_elem<T>(xr + o);
      for (int c = 0; c < NC; ++c) acc.s[c] += l2c::mul(l2c::conj_if<Conj>(load_elem<T>(col[c] + o)), xv);
    }
  }
}

template <class T, int NC, bool Conj>
inline T t_reduce(const TAcc<T, NC>& acc, int c) {
  using R = real_t<T>;
  using VT = Vec<R>;
  if constexpr (is_complex_v<T>) {
    R e1, o1, e2, o2;
    VT::hsum_pairs(acc.p[c], e1, o1);  // sums of ar*xr and ai*xi
    VT::hsum_pairs(acc.q[c], e2, o2);  // sums of ar*xi and ai*xr
    T v = Conj ? T(e1 + o1, e2 - o2) : T(e1 - o1, e2 + o2);
    return v + acc.s[c];
  } else {
    return VT::hsum(acc.p[c]) + acc.s[c];
  }
}

template <class T, int NC, bool Conj, class Cols>
inline void t_group(i64 m, const T* a, Cols cols, i64 j0, T alpha, const T* x, T* y, i64 incy) {
  using R = real_t<T>;
  constexpr int E = kReals<T>;
  const R* col[NC];
  TAcc<T, NC> acc;
  for (int c = 0; c < NC; ++c) {
    col[c] = reinterpret_cast<const R*>(a + cols(j0 + c));
    acc.p[c] = typename Vec<R>::V{};
    acc.s[c] = T(0);
  }
  for (auto& q : acc.q) q = typename Vec<R>::V{};
  const R* xr = reinterpret_cast<const R*>(x);
  constexpr int B0 = is_complex_v<T> ? 8 : 16;
  i64 i = 0;
  for (; i + B0 <= m; i += B0) {
    for (int c = 0; c < NC; ++c) {
      prefetch_read(col[c] + i * E);
      prefetch_read(col[c] + i * E + 64 / sizeof(R));
    }
    t_rows<T, NC, B0, Conj>(col, xr, i * E, acc);
  }
  if constexpr (B0 == 16) {
    if (m - i >= 8) {
      t_rows<T, NC, 8, Conj>(col, xr, i * E, acc);
      i += 8;
    }
  }
  if (m - i >= 4) {
    t_rows<T, NC, 4, Conj>(col, xr, i * E, acc);
    i += 4;
  }
  if (m - i >= 2) {
    t_rows<T, NC, 2, Conj>(col, xr, i * E, acc);
    i += 2;
  }
  if (m - i >= 1) t_rows<T, NC, 1, Conj>(col, xr, i * E, acc);
  for (int c = 0; c < NC; ++c) y[(j0 + c) * incy] += l2c::mul(alpha, t_reduce<T, NC, Conj>(acc, c));
}

// y (any stride) += alpha * op(A) * x with x contiguous.
template <class T, bool Conj, class Cols>
void gemv_t_body(i64 m, i64 n, T alpha, const T* a, Cols cols, const T* x, T* y, i64 incy) {
  // Complex groups stop at 4 columns: 8 would need 16 accumulators.
  constexpr int G = is_complex_v<T> ? 4 : 8;
  i64 j = 0;
  for (; j + G <= n; j += G) t_group<T, G, Conj>(m, a, cols, j, alpha, x, y, incy);
  if constexpr (G == 8) {
    if (n - j >= 4) {
      t_group<T, 4, Conj>(m, a, cols, j, alpha, x, y, incy);
      j += 4;
    }
  }
  if (n - j >= 2) {
    t_group<T, 2, Conj>(m, a, cols, j, alpha, x, y, incy);
    j += 2;
  }
  if (n - j >= 1) t_group<T, 1, Conj>(m, a, cols, j, alpha, x, y, incy);
}

template <class T, bool Conj, class Cols>
void gemv_t(i64 m, i64 n, T alpha, const T* a, Cols cols, const T* x, i64 incx, T* y, i64 incy, T* buf) {
  if (m < 1 || n < 1) return;
  if (incx != 1) {
    l2c::gather(m, x, incx, buf);
    x = buf;
  }
  if constexpr (std::is_same_v<Cols, ColsGe>) {
    if (wide_body()) return ::qor::avx512::l2w::gemv_t<T, Conj>(m, n, alpha, a, cols.ld, x, y, incy);
  }
  gemv_t_body<T, Conj>(m, n, alpha, a, cols, x, y, incy);
}

}  // namespace l2
QOR_ISA_END
