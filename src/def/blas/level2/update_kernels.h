// Column updates of the rank-one and rank-two kernels: col += x * t and
// col += x * t1 + y * t2 on contiguous vectors, in blocks of 8 rows, then
// 4, 2 and 1 (the same bytes for complex elements).
#pragma once
#include "blas/level2/gemv_kernels.h"

QOR_ISA_BEGIN
namespace l2 {

template <class T>
struct Factor {
  using VT = Vec<real_t<T>>;
  typename VT::V r, i;
  explicit Factor(T t) {
    if constexpr (is_complex_v<T>) {
      r = VT::set1(t.real());
      i = VT::set_pair(-t.imag(), t.imag());
    } else {
      r = VT::set1(t);
      i = r;
    }
  }
  // v * t for W reals of contiguous elements.
  typename VT::V times(typename VT::V v) const {
    if constexpr (is_complex_v<T>) {
      return v * r + VT::swap_pairs(v) * i;
    } else {
      return v * r;
    }
  }
};

template <class T>
inline void store_elem(real_t<T>* p, T v) {
  if constexpr (is_complex_v<T>) {
    p[0] = v.real();
    p[1] = v.imag();
  } else {
    *p = v;
  }
}

// col[i] += x[i] * t for i in [0, len).
template <class T>
inline void axpy_col(i64 len, T t, const T* x, T* col) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int W = VT::W;
  constexpr int E = kReals<T>;
  constexpr int BV = 8 * E / W > 0 ? 8 * E / W : 1;  // vectors per block of 8 rows
  const Factor<T> f(t);
  const R* xr = reinterpret_cast<const R*>(x);
  R* cr = reinterpret_cast<R*>(col);
  const i64 L = len * E;
  i64 o = 0;
  for (; o + BV * W <= L; o += BV * W) {
    prefetch_write(cr + o);  // a block is one line of the column
    for (int v = 0; v < BV; ++v) VT::store(cr + o + v * W, VT::load(cr + o + v * W) + f.times(VT::load(xr + o + v * W)));
  }
  for (; o + W <= L; o += W) VT::store(cr + o, VT::load(cr + o) + f.times(VT::load(xr + o)));
  for (; o < L; o += E) store_elem<T>(cr + o, load_elem<T>(cr + o) + l2c::mul(load_elem<T>(xr + o), t));
}

// col[i] += x[i] * t1 + y[i] * t2 for i in [0, len).
template <class T>
inline void axpy2_col(i64 len, T t1, T t2, const T* x, const T* y, T* col) {
  using R = real_t<T>;
  using VT = Vec<R>;
  constexpr int W = VT::W;
  constexpr int E = kReals<T>;
  constexpr int BV = 8 * E / W > 0 ? 8 * E / W : 1;
  const Factor<T> f1(t1), f2(t2);
  const R* xr = reinterpret_cast<const R*>(x);
  const R* yr = reinterpret_cast<const R*>(y);
  R* cr = reinterpret_cast<R*>(col);
  const i64 L = len * E;
  i64 o = 0;
  for (; o + BV * W <= L; o += BV * W) {
    prefetch_write(cr + o);
    for (int v = 0; v < BV; ++v) {
      const i64 p = o + v * W;
      VT::store(cr + p, VT::load(cr + p) + f1.times(VT::load(xr + p)) + f2.times(VT::load(yr + p)));
    }
  }
  for (; o + W <= L; o += W) {
    VT::store(cr + o, VT::load(cr + o) + f1.times(VT::load(xr + o)) + f2.times(VT::load(yr + o)));
  }
  for (; o < L; o += E) {
    store_elem<T>(cr + o, load_elem<T>(cr + o) + l2c::mul(load_elem<T>(xr + o), t1) +
                              l2c::mul(load_elem<T>(yr + o), t2));
  }
}

}  // namespace l2
QOR_ISA_END
