// Self-checks of transposition and addition: results against plain loops,
// and speed in GB/s (bytes read and written).
#include <cmath>
#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "qor/trans.h"

using qor::selftest::Result;

namespace {

std::vector<double> filled(std::size_t n, double scale) {
  std::vector<double> v(n);
  for (std::size_t k = 0; k < n; ++k) v[k] = scale * static_cast<double>((k * 7919) % 1009) - 500.0;
  return v;
}

template <class F>
double best_seconds(F&& f, int reps) {
  double best = 1e300;
  for (int r = 0; r < reps; ++r) {
    const double t0 = qor::selftest::now();
    f();
    const double t = qor::selftest::now() - t0;
    if (t < best) best = t;
  }
  return best;
}

}  // namespace

QOR_SELFTEST("trans", omatcopy_transpose) {
  Result r;
  const std::size_t m = 1000, n = 1000;
  const std::vector<double> a = filled(m * n, 1.0);
  std::vector<double> b(m * n);
  const double t = best_seconds([&] { qor_domatcopy('C', 'T', m, n, 1.0, a.data(), m, b.data(), n); }, 5);
  for (std::size_t i = 0; i < m; ++i)
    for (std::size_t j = 0; j < n; ++j) r.error = std::fmax(r.error, std::fabs(b[i * n + j] - a[j * m + i]));
  qor_domatcopy('R', 'T', 37, 53, -2.0, a.data(), 53, b.data(), 37);
  for (std::size_t i = 0; i < 37; ++i)
    for (std::size_t j = 0; j < 53; ++j) r.error = std::fmax(r.error, std::fabs(b[j * 37 + i] + 2.0 * a[i * 53 + j]));
  r.ok = r.error == 0.0;
  r.speed = 2.0 * m * n * sizeof(double) / t / 1e9;
  r.unit = "GB/s";
  r.detail = "domatcopy T 1000x1000 and scaled 37x53, exact";
  return r;
}

QOR_SELFTEST("trans", imatcopy_in_place) {
  Result r;
  const std::size_t n = 1000;
  const std::vector<double> orig = filled(n * n, 1.0);
  std::vector<double> ab = orig;
  const double t = best_seconds([&] { qor_dimatcopy('C', 'T', n, n, 1.0, ab.data(), n, n); }, 5);
  // An odd number of transpositions leaves the transpose.
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t j = 0; j < n; ++j) r.error = std::fmax(r.error, std::fabs(ab[i * n + j] - orig[j * n + i]));
  // Rectangular with padding, by cycle following: 7 x 300 (lda 9) to 300 x 7.
  std::vector<double> rect = filled(300 * 9, 0.5);
  const std::vector<double> rect0 = rect;
  qor_dimatcopy('C', 'T', 7, 300, 3.0, rect.data(), 9, 300);
  for (std::size_t i = 0; i < 7; ++i)
    for (std::size_t j = 0; j < 300; ++j)
      r.error = std::fmax(r.error, std::fabs(rect[i * 300 + j] - 3.0 * rect0[j * 9 + i]));
  r.ok = r.error == 0.0;
  r.speed = 2.0 * n * n * sizeof(double) / t / 1e9;
  r.unit = "GB/s";
  r.detail = "dimatcopy T square 1000 and 7x300 lda 9, exact";
  return r;
}

QOR_SELFTEST("trans", omatadd_complex) {
  Result r;
  using z = std::complex<double>;
  const std::size_t m = 300, n = 200;
  const std::vector<double> ra = filled(2 * m * n, 0.01), rb = filled(2 * m * n, 0.02);
  std::vector<z> a(m * n), b(m * n), c(m * n);
  for (std::size_t k = 0; k < m * n; ++k) {
    a[k] = z(ra[2 * k], ra[2 * k + 1]);
    b[k] = z(rb[2 * k + 1], rb[2 * k]);
  }
  const z alpha(0.5, -1.0), beta(2.0, 0.25);
  auto pub = [](z x) { return qor_complex16{x.real(), x.imag()}; };
  // c (m x n, column-major) := alpha * a^H + beta * b, with a n x m.
  const double t = best_seconds([&] {
    qor_zomatadd('C', 'C', 'N', m, n, pub(alpha), reinterpret_cast<const qor_complex16*>(a.data()), n, pub(beta),
                 reinterpret_cast<const qor_complex16*>(b.data()), m, reinterpret_cast<qor_complex16*>(c.data()), m);
  }, 5);
  for (std::size_t j = 0; j < n; ++j)
    for (std::size_t i = 0; i < m; ++i) {
      const z want = alpha * std::conj(a[i * n + j]) + beta * b[j * m + i];
      r.error = std::fmax(r.error, std::abs(c[j * m + i] - want) / (1.0 + std::abs(want)));
    }
  r.ok = r.error < 1e-15;
  r.speed = 3.0 * m * n * sizeof(z) / t / 1e9;
  r.unit = "GB/s";
  r.detail = "zomatadd C,N 300x200, relative error";
  return r;
}
