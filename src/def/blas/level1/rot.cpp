// Plane rotations: applying them (rot, rotm) and constructing them (rotg,
// rotmg).
#include <cmath>

#include "blas/level1/api.h"
#include "blas/level1/common.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// x' = c * x + s * y, y' = c * y - s * x. Both strides 1: whole registers
// (aligned on y when x and y share their alignment), then single elements;
// other strides by 4 with adjusted bases.
template <class R>
void rot(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy, R c, R s) {
  using S = simd<R>;
  constexpr i64 L = S::lanes;
  if (n <= 0) return;
  auto one = [&](ep<R> px, ep<R> py) {
    R xv = *px, yv = *py;
    *px = c * xv + s * yv;
    *py = c * yv - s * xv;
  };
  i64 i = 0;
  if (incx == 1 && incy == 1) {
    const auto cv = S::set1(c), sv = S::set1(s);
    auto step = [&](auto load, auto store, i64 j) {
      auto xv = load(x + j), yv = load(y + j);
      store(x + j, S::add(S::mul(cv, xv), S::mul(sv, yv)));
      store(y + j, S::sub(S::mul(cv, yv), S::mul(sv, xv)));
    };
    if (element_aligned<R>(x) && addr(x) % 16 == addr(y) % 16) {
      for (; i < n && !aligned16(x + i); ++i) one(x + i, y + i);
      for (; i + L <= n; i += L) step(S::load, S::store, i);
    } else {
      for (; i + L <= n; i += L) step(S::loadu, S::storeu, i);
    }
    for (; i < n; ++i) one(x + i, y + i);
    return;
  }
  x += start_of(n, incx);
  y += start_of(n, incy);
  for (; i + 4 <= n; i += 4)
    for (i64 k = 0; k < 4; ++k) one(x + (i + k) * incx, y + (i + k) * incy);
  for (; i < n; ++i) one(x + i * incx, y + i * incy);
}

// Complex vectors, real c and s: the real rotation on the 2n parts for unit
// strides, element by element otherwise.
template <class R>
void rrot(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy, R c, R s) {
  if (n <= 0) return;
  if (incx == 1 && incy == 1) return rot<R>(2 * n, x, 1, y, 1, c, s);
  x += 2 * start_of(n, incx);
  y += 2 * start_of(n, incy);
  for (i64 i = 0; i < n; ++i)
    for (int p = 0; p < 2; ++p) {
      ep<R> px = x + 2 * i * incx + p;
      ep<R> py = y + 2 * i * incy + p;
      R xv = *px, yv = *py;
      *px = c * xv + s * yv;
      *py = c * yv - s * xv;
    }
}

// Complex vectors, real c, complex s:
//   x' = c * x + s * y,  y' = c * y - conj(s) * x.
template <class R>
void crot(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy, R c, const R* s) {
  if (n <= 0) return;
  const R sr = s[0], si = s[1];
  x += 2 * start_of(n, incx);
  y += 2 * start_of(n, incy);
  for (i64 i = 0; i < n; ++i) {
    ep<R> px = x + 2 * i * incx;
    ep<R> py = y + 2 * i * incy;
    R xr = px[0], xi = px[1], yr = py[0], yi = py[1];
    px[0] = c * xr + (sr * yr - si * yi);
    px[1] = c * xi + (sr * yi + si * yr);
    py[0] = c * yr - (sr * xr + si * xi);
    py[1] = c * yi - (sr * xi - si * xr);
  }
}

// Modified rotation with H given by param[0] (the flag) and param[1..4] =
// h11, h21, h12, h22. Flag -2 is the identity; 0 has a unit diagonal; 1 has
// ones off the diagonal (h12 = 1, h21 = -1); -1 uses all four.
template <class R>
void rotm(i64 n, ep<R> x, i64 incx, ep<R> y, i64 incy, const R* param) {
  const R flag = param[0];
  if (n < 1 || flag + R(2) == R(0)) return;
  const R h11 = param[1], h21 = param[2], h12 = param[3], h22 = param[4];
  auto apply = [&](R w, R z, R& xo, R& yo) {
    if (flag < R(0)) {
      xo = w * h11 + z * h12;
      yo = w * h21 + z * h22;
    } else if (flag == R(0)) {
      xo = w + z * h12;
      yo = w * h21 + z;
    } else {
      xo = w * h11 + z;
      yo = -w + h22 * z;
    }
  };
  if (incx == incy && incx > 0) {
    // Two elements a pass; all four operands are read before any write.
    const i64 inc = incx;
    i64 i = 0;
    for (; i + 2 <= n; i += 2) {
      R w0 = x[i * inc], z0 = y[i * inc], w1 = x[(i + 1) * inc], z1 = y[(i + 1) * inc];
      R x0, y0, x1, y1;
      apply(w0, z0, x0, y0);
      apply(w1, z1, x1, y1);
      x[i * inc] = x0;
      y[i * inc] = y0;
      x[(i + 1) * inc] = x1;
      y[(i + 1) * inc] = y1;
    }
    if (i < n) {
      R xo, yo;
      apply(x[i * inc], y[i * inc], xo, yo);
      x[i * inc] = xo;
      y[i * inc] = yo;
    }
    return;
  }
  x += start_of(n, incx);
  y += start_of(n, incy);
  for (i64 i = 0; i < n; ++i) {
    R w = x[i * incx], z = y[i * incy], xo, yo;
    apply(w, z, xo, yo);
    x[i * incx] = xo;
    y[i * incy] = yo;
  }
}

// Givens rotation: on return a holds r, b holds z (from which c and s can
// be recovered), with c * a + s * b = r and c * b - s * a = 0.
template <class R>
void rotg(R* a, R* b, R* c, R* s) {
  const R av = *a, bv = *b;
  const R scale = std::fabs(av) + std::fabs(bv);
  if (scale == R(0)) {
    *c = R(1);
    *s = R(0);
    *a = R(0);
    *b = R(0);
    return;
  }
  const bool a_larger = std::fabs(av) > std::fabs(bv);
  const R roe = a_larger ? av : bv;
  const R as = av / scale, bs = bv / scale;
  R r = scale * std::sqrt(as * as + bs * bs);
  if (roe < R(0)) r = -r;
  const R cv = av / r, sv = bv / r;
  R z;
  if (a_larger)
    z = sv;
  else if (cv != R(0))
    z = R(1) / cv;
  else
    z = R(1);
  *c = cv;
  *s = sv;
  *a = r;
  *b = z;
}

// Complex Givens rotation: c real, s complex, ca becomes r.
template <class R>
void crotg(R* ca, const R* cb, R* c, R* s) {
  auto modulus = [](R re, R im) { return std::sqrt(re * re + im * im); };
  const R car = ca[0], cai = ca[1], cbr = cb[0], cbi = cb[1];
  if (car * car + cai * cai == R(0)) {
    *c = R(0);
    s[0] = R(1);
    s[1] = R(0);
    ca[0] = cbr;
    ca[1] = cbi;
    return;
  }
  const R abs_a = modulus(car, cai), abs_b = modulus(cbr, cbi);
  const R alr = car / abs_a, ali = cai / abs_a;
  const R scale = abs_a + abs_b;
  const R ma = modulus(car / scale, cai / scale), mb = modulus(cbr / scale, cbi / scale);
  const R norm = scale * std::sqrt(ma * ma + mb * mb);
  *c = abs_a / norm;
  // alpha * conj(cb) / norm
  s[0] = (alr * cbr + ali * cbi) / norm;
  s[1] = (ali * cbr - alr * cbi) / norm;
  ca[0] = alr * norm;
  ca[1] = ali * norm;
}

template <class R> struct rotmg_constants;
template <> struct rotmg_constants<double> {
  static constexpr double gam = 4096.0, gamsq = 16777216.0, rgamsq = 5.960464477539e-8;
};
template <> struct rotmg_constants<float> {
  static constexpr float gam = 4096.0f, gamsq = 16777216.0f, rgamsq = 5.960464477539e-8f;
};

// Modified Givens rotation for (sqrt(d1) * x1, sqrt(d2) * y1): finds H and
// new d1, d2, x1 with the second component of H * (x1, y1) zero. The flag
// in param[0] tells which entries of H are stored (see rotm).
template <class R>
void rotmg(R* d1p, R* d2p, R* x1p, const R* y1p, R* param) {
  using K = rotmg_constants<R>;
  R d1 = *d1p, d2 = *d2p, x1 = *x1p;
  const R y1 = *y1p;
  R flag, h11 = 0, h12 = 0, h21 = 0, h22 = 0;
  if (d1 < R(0)) {
    flag = -1;
    d1 = d2 = x1 = 0;
  } else {
    const R p2 = d2 * y1;
    if (p2 == R(0)) {
      param[0] = R(-2);
      return;
    }
    const R p1 = d1 * x1, q2 = p2 * y1, q1 = p1 * x1;
    if (std::fabs(q1) > std::fabs(q2)) {
      h21 = -y1 / x1;
      h12 = p2 / p1;
      const R u = R(1) - h12 * h21;
      flag = 0;
      d1 /= u;
      d2 /= u;
      x1 *= u;
    } else if (q2 < R(0)) {
      flag = -1;
      d1 = d2 = x1 = 0;
    } else {
      flag = 1;
      h11 = p1 / p2;
      h22 = x1 / y1;
      const R u = R(1) + h11 * h22;
      const R t = d2 / u;
      d2 = d1 / u;
      d1 = t;
      x1 = y1 * u;
    }
    // Rescaling makes H general: fill in its implied entries first.
    auto make_general = [&] {
      if (flag == R(0)) {
        h11 = 1;
        h22 = 1;
      } else if (flag > R(0)) {
        h21 = -1;
        h12 = 1;
      }
      flag = -1;
    };
    if (d1 != R(0)) {
      while (d1 <= K::rgamsq || d1 >= K::gamsq) {
        make_general();
        if (d1 <= K::rgamsq) {
          d1 *= K::gam * K::gam;
          x1 /= K::gam;
          h11 /= K::gam;
          h12 /= K::gam;
        } else {
          d1 /= K::gam * K::gam;
          x1 *= K::gam;
          h11 *= K::gam;
          h12 *= K::gam;
        }
      }
    }
    if (d2 != R(0)) {
      while (std::fabs(d2) <= K::rgamsq || std::fabs(d2) >= K::gamsq) {
        make_general();
        if (std::fabs(d2) <= K::rgamsq) {
          d2 *= K::gam * K::gam;
          h21 /= K::gam;
          h22 /= K::gam;
        } else {
          d2 /= K::gam * K::gam;
          h21 *= K::gam;
          h22 *= K::gam;
        }
      }
    }
  }
  if (flag < R(0)) {
    param[1] = h11;
    param[2] = h21;
    param[3] = h12;
    param[4] = h22;
  } else if (flag == R(0)) {
    param[2] = h21;
    param[3] = h12;
  } else {
    param[1] = h11;
    param[4] = h22;
  }
  param[0] = flag;
  *d1p = d1;
  *d2p = d2;
  *x1p = x1;
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::c32;
using qor::c64;
using qor::i64;

QOR_DEF_API void qor_blas_def_xsrot(const i64* n, float* x, const i64* incx, float* y, const i64* incy,
                                    const float* c, const float* s) {
  rot<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, *s);
}
QOR_DEF_API void qor_blas_def_xdrot(const i64* n, double* x, const i64* incx, double* y, const i64* incy,
                                    const double* c, const double* s) {
  rot<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, *s);
}
QOR_DEF_API void qor_blas_def_xcsrot(const i64* n, c32* x, const i64* incx, c32* y, const i64* incy, const float* c,
                                     const float* s) {
  rrot<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, *s);
}
QOR_DEF_API void qor_blas_def_xzdrot(const i64* n, c64* x, const i64* incx, c64* y, const i64* incy,
                                     const double* c, const double* s) {
  rrot<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, *s);
}
QOR_DEF_API void qor_blas_def_xcrot(const i64* n, c32* x, const i64* incx, c32* y, const i64* incy, const float* c,
                                    const c32* s) {
  float sv[2] = {s->real(), s->imag()};
  crot<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, sv);
}
QOR_DEF_API void qor_blas_def_xzrot(const i64* n, c64* x, const i64* incx, c64* y, const i64* incy,
                                    const double* c, const c64* s) {
  double sv[2] = {s->real(), s->imag()};
  crot<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy, *c, sv);
}
QOR_DEF_API void qor_blas_def_xsrotm(const i64* n, float* x, const i64* incx, float* y, const i64* incy,
                                     const float* param) {
  rotm<float>(*n, re_ptr(x), *incx, re_ptr(y), *incy, param);
}
QOR_DEF_API void qor_blas_def_xdrotm(const i64* n, double* x, const i64* incx, double* y, const i64* incy,
                                     const double* param) {
  rotm<double>(*n, re_ptr(x), *incx, re_ptr(y), *incy, param);
}
QOR_DEF_API void qor_blas_def_srotg(float* a, float* b, float* c, float* s) { rotg(a, b, c, s); }
QOR_DEF_API void qor_blas_def_drotg(double* a, double* b, double* c, double* s) { rotg(a, b, c, s); }
QOR_DEF_API void qor_blas_def_crotg(c32* a, const c32* b, float* c, c32* s) {
  crotg(reinterpret_cast<float*>(a), reinterpret_cast<const float*>(b), c, reinterpret_cast<float*>(s));
}
QOR_DEF_API void qor_blas_def_zrotg(c64* a, const c64* b, double* c, c64* s) {
  crotg(reinterpret_cast<double*>(a), reinterpret_cast<const double*>(b), c, reinterpret_cast<double*>(s));
}
QOR_DEF_API void qor_blas_def_srotmg(float* d1, float* d2, float* x1, const float* y1, float* param) {
  rotmg(d1, d2, x1, y1, param);
}
QOR_DEF_API void qor_blas_def_drotmg(double* d1, double* d2, double* x1, const double* y1, double* param) {
  rotmg(d1, d2, x1, y1, param);
}
