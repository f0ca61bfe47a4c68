// Self-checks of the Level 2 BLAS: each product, update and solve family
// against a plain loop, a row-major call against its column-major twin, the
// slices taken when no memory is given, and the speed of dgemv.
#include <cmath>
#include <complex>
#include <cstdint>
#include <vector>

#include "check.h"
#include "qor/blas.h"
#include "qor/cblas.h"
#include "qor/qor.h"

using qor::selftest::Result;
using z = std::complex<double>;

namespace {

std::vector<double> data(std::size_t n, unsigned seed) {
  std::vector<double> v(n);
  std::uint64_t s = seed * 0x9E3779B97F4A7C15ULL + 1;
  for (auto& e : v) {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    e = static_cast<double>(s >> 11) * 0x1p-52 - 1.0;
  }
  return v;
}

// y = alpha op(A) x + beta y by plain loops, column-major m x n.
void ref_gemv(bool trans, int m, int n, double alpha, const double* a, const double* x, double beta, double* y) {
  const int leny = trans ? n : m, lenx = trans ? m : n;
  for (int i = 0; i < leny; ++i) {
    double s = 0;
    for (int k = 0; k < lenx; ++k) s += (trans ? a[k + i * m] : a[i + k * m]) * x[k];
    y[i] = alpha * s + beta * y[i];
  }
}

double maxrel(const std::vector<double>& a, const std::vector<double>& b) {
  double e = 0;
  for (std::size_t i = 0; i < a.size(); ++i) e = std::fmax(e, std::fabs(a[i] - b[i]) / (1 + std::fabs(b[i])));
  return e;
}

}  // namespace

QOR_SELFTEST("blas_level2", dgemv_both_letters) {
  Result r;
  const int m = 333, n = 257;
  auto a = data(static_cast<std::size_t>(m) * n, 1), x = data(m, 2);
  for (bool tr : {false, true}) {
    auto y = data(tr ? n : m, 3), want = y;
    ref_gemv(tr, m, n, 0.75, a.data(), x.data(), -0.5, want.data());
    int one = 1;
    double al = 0.75, be = -0.5;
    dgemv_(tr ? "T" : "N", &m, &n, &al, a.data(), &m, x.data(), &one, &be, y.data(), &one, 1);
    r.error = std::fmax(r.error, maxrel(y, want));
  }
  r.ok = r.error < 1e-13;
  r.detail = "333 x 257, both letters, relative error vs plain loops";
  return r;
}

QOR_SELFTEST("blas_level2", symmetric_and_triangular) {
  Result r;
  const int n = 300;
  auto a = data(static_cast<std::size_t>(n) * n, 4), x = data(n, 5);
  // dsymv lower against gemv on the mirrored matrix.
  auto full = a;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < j; ++i) full[i + j * n] = a[j + i * n];
  auto y = data(n, 6), want = y;
  ref_gemv(false, n, n, 1.25, full.data(), x.data(), 0.0, want.data());
  cblas_dsymv(CblasColMajor, CblasLower, n, 1.25, a.data(), n, x.data(), 1, 0.0, y.data(), 1);
  r.error = maxrel(y, want);
  // dtrsv then dtrmv gives x back on a well-conditioned triangle.
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) a[i + j * n] /= n;
    a[j + j * n] = 2.0;
  }
  auto v = x;
  cblas_dtrsv(CblasColMajor, CblasUpper, CblasTrans, CblasNonUnit, n, a.data(), n, v.data(), 1);
  cblas_dtrmv(CblasColMajor, CblasUpper, CblasTrans, CblasNonUnit, n, a.data(), n, v.data(), 1);
  r.error = std::fmax(r.error, maxrel(v, x));
  r.ok = r.error < 1e-12;
  r.detail = "dsymv vs mirrored gemv; dtrsv then dtrmv returns x";
  return r;
}

QOR_SELFTEST("blas_level2", row_major_hermitian) {
  Result r;
  const int n = 97;
  auto raw = data(2 * static_cast<std::size_t>(n) * n, 7), rx = data(2 * n, 8);
  std::vector<z> a(static_cast<std::size_t>(n) * n), x(n);
  for (std::size_t i = 0; i < a.size(); ++i) a[i] = z(raw[2 * i], raw[2 * i + 1]);
  for (int i = 0; i < n; ++i) x[i] = z(rx[2 * i], rx[2 * i + 1]);
  // The row-major upper triangle is the column-major lower one of A^T.
  std::vector<z> at(a.size());
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) at[j + i * n] = a[i + j * n];
  std::vector<z> y1(n, z(1, 1)), y2 = y1;
  const z al(0.5, -1.0), be(2.0, 0.25);
  cblas_zhemv(CblasRowMajor, CblasUpper, n, &al, at.data(), n, x.data(), 1, &be, y1.data(), 1);
  cblas_zhemv(CblasColMajor, CblasUpper, n, &al, a.data(), n, x.data(), 1, &be, y2.data(), 1);
  for (int i = 0; i < n; ++i) r.error = std::fmax(r.error, std::abs(y1[i] - y2[i]));
  r.ok = r.error < 1e-12;
  r.detail = "zhemv row-major vs column-major, abs error";
  return r;
}

QOR_SELFTEST("blas_level2", allocation_fallback) {
  Result r;
  const int m = 1000, n = 40, two = 2;
  auto a = data(static_cast<std::size_t>(m) * n, 9), x = data(2 * m, 10);
  auto y1 = data(2 * n, 11), y2 = y1;
  double al = 1, be = 1;
  dgemv_("T", &m, &n, &al, a.data(), &m, x.data(), &two, &be, y1.data(), &two, 1);
  qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
  dgemv_("T", &m, &n, &al, a.data(), &m, x.data(), &two, &be, y2.data(), &two, 1);
  qor_fault_reset();
  r.error = maxrel(y1, y2);
  r.ok = r.error < 1e-13;
  r.detail = "dgemv T, strided, with every allocation refused: slices of 128";
  return r;
}

QOR_SELFTEST("blas_level2", dgemv_speed) {
  Result r;
  const int n = 2000;
  auto a = data(static_cast<std::size_t>(n) * n, 12), x = data(n, 13), y = data(n, 14);
  double best = 1e30;
  for (int rep = 0; rep < 5; ++rep) {
    double t0 = qor::selftest::now();
    cblas_dgemv(CblasColMajor, CblasNoTrans, n, n, 1.0, a.data(), n, x.data(), 1, 0.0, y.data(), 1);
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  r.ok = std::isfinite(y[0]);
  r.speed = 8.0 * n * n / best / 1e9;
  r.unit = "GB/s";
  r.detail = "dgemv N, n = 2000, matrix traffic";
  return r;
}
