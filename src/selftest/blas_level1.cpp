// Self-checks of the vector routines: results against long double or plain
// references, the numeric rules of the index and norm routines, the public
// names, and speed.
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "blas/level1/dispatch.h"
#include "check.h"
#include "qor/blas.h"
#include "qor/cblas.h"

using qor::selftest::Result;
using i64 = std::int64_t;

namespace {

std::vector<double> randoms(std::size_t n, std::uint64_t seed) {
  std::vector<double> v(n);
  std::uint64_t s = seed * 0x9E3779B97F4A7C15ULL + 1;
  for (auto& x : v) {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    x = static_cast<double>(s >> 11) * 0x1p-52 - 1.0;
  }
  return v;
}

// Best time of `reps` runs of f.
template <class F>
double best_of(int reps, F&& f) {
  double best = 1e300;
  for (int r = 0; r < reps; ++r) {
    double t0 = qor::selftest::now();
    f();
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  return best;
}

}  // namespace

QOR_SELFTEST("blas_level1", ddot) {
  Result r;
  const i64 n = 200000, one = 1;
  auto x = randoms(n, 1), y = randoms(n, 2);
  long double ref = 0, mag = 0;
  for (i64 i = 0; i < n; ++i) {
    ref += static_cast<long double>(x[i]) * y[i];
    mag += std::fabs(x[i] * y[i]);
  }
  double got = 0;
  double t = best_of(20, [&] { got = qor_blas_ddot(&n, x.data(), &one, y.data(), &one); });
  r.error = static_cast<double>(std::fabs(got - ref) / mag);
  // Repeatable bit for bit, and both strides -1 sum like both +1.
  const i64 m1 = -1;
  r.ok = r.error < 1e-14 && got == qor_blas_ddot(&n, x.data(), &one, y.data(), &one) &&
         got == qor_blas_ddot(&n, x.data(), &m1, y.data(), &m1) && got == cblas_ddot(static_cast<int>(n), x.data(), 1, y.data(), 1);
  r.speed = 16.0 * n / t / 1e9;
  r.unit = "GB/s";
  r.detail = "n=200000, error relative to sum |x y|; repeatable; strides -1 == +1";
  return r;
}

QOR_SELFTEST("blas_level1", daxpy_dscal) {
  Result r;
  const i64 n = 200000, one = 1;
  auto x = randoms(n, 3), y = randoms(n, 4), want = y;
  const double a = 0.3;
  for (i64 i = 0; i < n; ++i) want[i] += a * x[i];
  qor_blas_daxpy(&n, &a, x.data(), &one, y.data(), &one);
  r.ok = y == want;
  double t = best_of(20, [&] { qor_blas_daxpy(&n, &a, x.data(), &one, y.data(), &one); });
  // A zero scale keeps NaN and makes infinity NaN.
  double v[3] = {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 2.0};
  const double zero = 0;
  const i64 three = 3;
  qor_blas_dscal(&three, &zero, v, &one);
  r.ok &= std::isnan(v[0]) && std::isnan(v[1]) && v[2] == 0.0;
  r.speed = 24.0 * n / t / 1e9;
  r.unit = "GB/s";
  r.detail = "axpy bit-exact vs plain loop; scal by 0 keeps NaN";
  return r;
}

QOR_SELFTEST("blas_level1", nrm2) {
  Result r;
  const i64 n = 100000, one = 1;
  auto x = randoms(n, 5);
  long double ssq = 0;
  for (double v : x) ssq += static_cast<long double>(v) * v;
  const double ref = static_cast<double>(std::sqrt(ssq));
  const double d = qor_blas_dnrm2(&n, x.data(), &one);
  std::vector<float> f(x.begin(), x.end());
  long double fssq = 0;
  for (float v : f) fssq += static_cast<long double>(v) * v;
  const float s = qor_blas_snrm2(&n, f.data(), &one);
  r.error = std::fmax(std::fabs(d - ref) / ref,
                      std::fabs(s - static_cast<double>(std::sqrt(fssq))) / static_cast<double>(std::sqrt(fssq)) * 1e-8);
  const double inf = std::numeric_limits<double>::infinity();
  double two_inf[3] = {inf, 1.0, -inf};
  const i64 three = 3;
  float big[2] = {2e38f, 2e38f};
  const i64 two = 2;
  r.ok = std::fabs(d - ref) / ref < 1e-13 && std::fabs(s - std::sqrt(fssq)) / std::sqrt(fssq) < 1e-6 &&
         std::isnan(qor_blas_dnrm2(&three, two_inf, &one)) && std::isfinite(qor_blas_snrm2(&two, big, &one));
  double t = best_of(5, [&] { qor_blas_dnrm2(&n, x.data(), &one); });
  r.speed = 8.0 * n / t / 1e9;
  r.unit = "GB/s";
  r.detail = "dnrm2/snrm2 vs long double; two infinities give NaN; binary32 sums in binary64";
  return r;
}

QOR_SELFTEST("blas_level1", idamax) {
  Result r;
  const i64 n = 100000, one = 1, two = 2;
  auto x = randoms(n, 6);
  x[70000] = 5.0;
  x[300] = -5.0;
  r.ok = qor_blas_idamax(&n, x.data(), &one) == 301 && cblas_idamax(static_cast<int>(n), x.data(), 1) == 300;
  double t = best_of(20, [&] { qor_blas_idamax(&n, x.data(), &one); });
  x[50000] = std::numeric_limits<double>::quiet_NaN();
  r.ok &= qor_blas_idamax(&n, x.data(), &one) == 50001;
  const i64 half = n / 2;
  r.ok &= qor_blas_idamax(&half, x.data(), &two) == 151;  // the quiet NaN at element 25001 is passed over
  r.speed = 8.0 * n / t / 1e9;
  r.unit = "GB/s";
  r.detail = "ties to the lower index; first NaN with unit stride, skipped with stride 2";
  return r;
}

QOR_SELFTEST("blas_level1", zdotc) {
  Result r;
  const i64 n = 50000, one = 1;
  auto a = randoms(2 * n, 7), b = randoms(2 * n, 8);
  const auto* x = reinterpret_cast<const std::complex<double>*>(a.data());
  const auto* y = reinterpret_cast<const std::complex<double>*>(b.data());
  std::complex<long double> ref = 0;
  for (i64 i = 0; i < n; ++i) ref += std::conj(std::complex<long double>(x[i])) * std::complex<long double>(y[i]);
  std::complex<double> got;
  double t = best_of(20, [&] { qor_blas_zdotc(&got, &n, x, &one, y, &one); });
  const int n32 = static_cast<int>(n), one32 = 1;
  r.error = static_cast<double>(std::abs(std::complex<long double>(got) - ref)) / n;
  r.ok = r.error < 1e-15 && zdotc_(&n32, x, &one32, y, &one32) == got;
  r.speed = 32.0 * n / t / 1e9;
  r.unit = "GB/s";
  r.detail = "vs long double, error per element; zdotc_ returns the same value";
  return r;
}

QOR_SELFTEST("blas_level1", rotations) {
  Result r;
  double a = 3, b = -4, c, s;
  qor_blas_drotg(&a, &b, &c, &s);
  r.error = std::fabs(c * 3 + s * -4 - a) + std::fabs(c * -4 - s * 3);
  double d1 = 2, d2 = 0.5, x1 = 1.5, y1 = 2, p[5];
  qor_blas_drotmg(&d1, &d2, &x1, &y1, p);
  double h11 = p[0] < 0 ? p[1] : p[0] == 0 ? 1 : p[1], h12 = p[0] < 0 ? p[3] : p[0] == 0 ? p[3] : 1;
  double h21 = p[0] < 0 ? p[2] : p[0] == 0 ? p[2] : -1, h22 = p[0] < 0 ? p[4] : p[0] == 0 ? 1 : p[4];
  r.error = std::fmax(r.error, std::fabs(h21 * 1.5 + h22 * 2) + std::fabs(h11 * 1.5 + h12 * 2 - x1));
  double e1 = 1, e2 = 1, ex = 1, ey = 0, q[5];
  qor_blas_drotmg(&e1, &e2, &ex, &ey, q);
  r.ok = r.error < 1e-14 && q[0] == -2.0;
  r.detail = "drotg and drotmg identities; y1 = 0 gives flag -2";
  return r;
}

QOR_SELFTEST("blas_level1", sparse) {
  Result r;
  const i64 m = 10007, nz = 3000;
  auto y = randoms(m, 9), x = randoms(nz, 10);
  std::vector<i64> idx(nz);
  for (i64 i = 0; i < nz; ++i) idx[i] = 1 + (i * 331) % m;
  std::vector<double> g(nz);
  qor_blas_dgthr(&nz, y.data(), g.data(), idx.data());
  bool ok = true;
  long double ref = 0;
  for (i64 i = 0; i < nz; ++i) {
    ok &= g[i] == y[idx[i] - 1];
    ref += static_cast<long double>(x[i]) * y[idx[i] - 1];
  }
  const double d = qor_blas_ddoti(&nz, x.data(), idx.data(), y.data());
  std::vector<int> idx0(nz);
  for (i64 i = 0; i < nz; ++i) idx0[i] = static_cast<int>(idx[i] - 1);
  r.error = static_cast<double>(std::fabs(d - ref));
  r.ok = ok && r.error < 1e-12 && cblas_ddoti(static_cast<int>(nz), x.data(), idx0.data(), y.data()) == d;
  r.detail = "gather exact; doti vs long double; CBLAS 0-based indices";
  return r;
}
