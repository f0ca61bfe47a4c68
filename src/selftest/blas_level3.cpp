// Self-checks of Level 3 beside GEMM: the triangular solve in its four
// left/right x lower/upper cases (residual in long double, speed), and the
// products (trmm, symm, syrk, herk, syr2k, gemmt, gemm3m, dzgemm, the
// batched product) against plain long-double sums.
#include <cmath>
#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "qor/cblas.h"
#include "qor/cblas_level3_ext.h"
#include "qor/qor.h"

namespace {

using qor::selftest::Result;
using ld = long double;
using zc = std::complex<double>;

std::vector<double> values(std::size_t n, std::uint64_t seed) {
  std::vector<double> v(n);
  std::uint64_t s = seed * 0x9E3779B97F4A7C15ULL + 1;
  for (double& x : v) {
    s ^= s << 13;
    s ^= s >> 7;
    s ^= s << 17;
    x = static_cast<double>(s >> 11) * 0x1p-52 - 1.0;
  }
  return v;
}

// A well-conditioned triangle (both halves filled; only one is read).
std::vector<double> triangle(int n) {
  std::vector<double> a = values(static_cast<std::size_t>(n) * n, 3);
  for (double& x : a) x /= n;
  for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i) * n + i] = (i % 2 ? -1.5 : 1.25);
  return a;
}

// max |op(A) X - B| / (|A| |X| + |B|) over the elements, for X solving the
// left (op(A) X = B) or right (X op(A) = B) problem, op(A) = A here.
double trsm_residual(bool left, bool lower, int m, int n, const std::vector<double>& a,
                     const std::vector<double>& b, const std::vector<double>& x) {
  const int k = left ? m : n;
  auto A = [&](int i, int j) -> ld {
    if (lower ? i < j : i > j) return 0;
    return a[static_cast<std::size_t>(j) * k + i];
  };
  double worst = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      ld s = 0, mag = std::fabs(b[static_cast<std::size_t>(j) * m + i]);
      for (int p = 0; p < k; ++p) {
        const ld t = left ? A(i, p) * x[static_cast<std::size_t>(j) * m + p] : x[static_cast<std::size_t>(p) * m + i] * A(p, j);
        s += t;
        mag += std::fabs(t);
      }
      worst = std::fmax(worst, static_cast<double>(std::fabs(s - b[static_cast<std::size_t>(j) * m + i]) / mag));
    }
  return worst;
}

Result trsm_case(CBLAS_SIDE side, CBLAS_UPLO uplo) {
  Result r;
  const bool left = side == CblasLeft, lower = uplo == CblasLower;
  const int m = left ? 300 : 170, n = left ? 170 : 300;
  const std::vector<double> a = triangle(left ? m : n), b = values(static_cast<std::size_t>(m) * n, 5);
  std::vector<double> x = b;
  cblas_dtrsm(CblasColMajor, side, uplo, CblasNoTrans, CblasNonUnit, m, n, 1.0, a.data(), left ? m : n, x.data(), m);
  r.error = trsm_residual(left, lower, m, n, a, b, x);
  r.ok = r.error < 1e-14;
  // Speed of a square solve of 1000.
  const int s = 1000;
  const std::vector<double> as = triangle(s), bs = values(static_cast<std::size_t>(s) * s, 7);
  double best = 1e300;
  for (int rep = 0; rep < 2; ++rep) {
    std::vector<double> xs = bs;
    const double t0 = qor::selftest::now();
    cblas_dtrsm(CblasColMajor, side, uplo, CblasNoTrans, CblasNonUnit, s, s, 1.0, as.data(), s, xs.data(), s);
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  r.speed = static_cast<double>(s) * s * s / best * 1e-9;
  r.unit = "GFLOP/s";
  r.detail = std::string("dtrsm ") + (left ? "left " : "right ") + (lower ? "lower" : "upper") +
             ", residual of a 300 x 170 solve; speed at 1000";
  return r;
}

}  // namespace

QOR_SELFTEST("blas_level3", dtrsm_left_lower) { return trsm_case(CblasLeft, CblasLower); }
QOR_SELFTEST("blas_level3", dtrsm_left_upper) { return trsm_case(CblasLeft, CblasUpper); }
QOR_SELFTEST("blas_level3", dtrsm_right_lower) { return trsm_case(CblasRight, CblasLower); }
QOR_SELFTEST("blas_level3", dtrsm_right_upper) { return trsm_case(CblasRight, CblasUpper); }

// A subnormal on the diagonal: the dividing solver gives finite values.
QOR_SELFTEST("blas_level3", dtrsm_subnormal_diagonal) {
  Result r;
  const int n = 120;
  std::vector<double> a = triangle(n), b(static_cast<std::size_t>(n) * 4, 1e-300);
  a[static_cast<std::size_t>(60) * n + 60] = 4e-320;
  cblas_dtrsm(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, n, 4, 1.0, a.data(), n, b.data(), n);
  for (double x : b) r.ok &= std::isfinite(x);
  r.detail = "finite solution where a reciprocal of the diagonal would overflow";
  return r;
}

// syrk and herk: the lower triangle against long-double sums; speed of dsyrk.
QOR_SELFTEST("blas_level3", syrk_herk) {
  Result r;
  const int n = 230, k = 170;
  const std::vector<double> a = values(static_cast<std::size_t>(n) * k, 11);
  std::vector<double> c(static_cast<std::size_t>(n) * n, 0.0);
  cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, n, k, 1.0, a.data(), n, 0.0, c.data(), n);
  const std::vector<double> zr = values(static_cast<std::size_t>(2) * n * k, 13);
  std::vector<double> zcv(static_cast<std::size_t>(2) * n * n, 0.0);
  cblas_zherk(CblasColMajor, CblasLower, CblasConjTrans, n, k, 1.0, zr.data(), k, 0.0, zcv.data(), n);
  const zc* za = reinterpret_cast<const zc*>(zr.data());
  const zc* zcc = reinterpret_cast<const zc*>(zcv.data());
  for (int j = 0; j < n; ++j)
    for (int i = j; i < n; ++i) {
      ld s = 0, mag = 0;
      std::complex<ld> zs = 0;
      ld zmag = 0;
      for (int p = 0; p < k; ++p) {
        const ld t = static_cast<ld>(a[static_cast<std::size_t>(p) * n + i]) * a[static_cast<std::size_t>(p) * n + j];
        s += t, mag += std::fabs(t);
        const std::complex<ld> u = std::conj(std::complex<ld>(za[static_cast<std::size_t>(i) * k + p])) *
                                   std::complex<ld>(za[static_cast<std::size_t>(j) * k + p]);
        zs += u, zmag += std::abs(u);
      }
      r.error = std::fmax(r.error, static_cast<double>(std::fabs(c[static_cast<std::size_t>(j) * n + i] - s) / mag));
      r.error = std::fmax(r.error,
                          static_cast<double>(std::abs(std::complex<ld>(zcc[static_cast<std::size_t>(j) * n + i]) - zs) / zmag));
    }
  r.ok = r.error < 1e-14;
  const int s = 1000;
  const std::vector<double> as = values(static_cast<std::size_t>(s) * s, 17);
  std::vector<double> cs(static_cast<std::size_t>(s) * s, 0.0);
  double best = 1e300;
  for (int rep = 0; rep < 2; ++rep) {
    const double t0 = qor::selftest::now();
    cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, s, s, 1.0, as.data(), s, 0.0, cs.data(), s);
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  r.speed = static_cast<double>(s) * s * s / best * 1e-9;
  r.unit = "GFLOP/s";
  r.detail = "dsyrk and zherk lower, 230 x 170, vs long double; dsyrk speed at 1000";
  return r;
}

// The other products on one problem each, against long-double sums of the
// full matrices they stand for.
QOR_SELFTEST("blas_level3", products) {
  Result r;
  const int m = 90, n = 70, k = 110;
  std::vector<double> a = values(static_cast<std::size_t>(m) * m, 21), b = values(static_cast<std::size_t>(m) * n, 22);
  // dtrmm, left upper transposed, unit: B = A^T B with A unit upper.
  std::vector<double> t = b;
  cblas_dtrmm(CblasColMajor, CblasLeft, CblasUpper, CblasTrans, CblasUnit, m, n, 1.0, a.data(), m, t.data(), m);
  // dsymm, left lower: C = A B with A symmetric from its lower triangle.
  std::vector<double> s(static_cast<std::size_t>(m) * n, 0.0);
  cblas_dsymm(CblasColMajor, CblasLeft, CblasLower, m, n, 1.0, a.data(), m, b.data(), m, 0.0, s.data(), m);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      ld st = b[static_cast<std::size_t>(j) * m + i], mt = std::fabs(st), ss = 0, ms = 0;
      for (int p = 0; p < m; ++p) {
        const ld bp = b[static_cast<std::size_t>(j) * m + p];
        if (p < i) {  // (A^T)(i, p) = A(p, i), p < i: the upper triangle
          const ld u = a[static_cast<std::size_t>(i) * m + p] * bp;
          st += u, mt += std::fabs(u);
        }
        const ld sym = p >= i ? a[static_cast<std::size_t>(i) * m + p] : a[static_cast<std::size_t>(p) * m + i];
        ss += sym * bp, ms += std::fabs(sym * bp);
      }
      r.error = std::fmax(r.error, static_cast<double>(std::fabs(t[static_cast<std::size_t>(j) * m + i] - st) / mt));
      r.error = std::fmax(r.error, static_cast<double>(std::fabs(s[static_cast<std::size_t>(j) * m + i] - ss) / ms));
    }
  // dgemmt upper, A^T B: the upper triangle of a k-deep product.
  const std::vector<double> ga = values(static_cast<std::size_t>(k) * n, 23), gb = values(static_cast<std::size_t>(k) * n, 24);
  std::vector<double> gc(static_cast<std::size_t>(n) * n, 0.0);
  cblas_dgemmt(CblasColMajor, CblasUpper, CblasTrans, CblasNoTrans, n, k, 1.0, ga.data(), k, gb.data(), k, 0.0,
               gc.data(), n);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i <= j; ++i) {
      ld sum = 0, mag = 0;
      for (int p = 0; p < k; ++p) {
        const ld u = static_cast<ld>(ga[static_cast<std::size_t>(i) * k + p]) * gb[static_cast<std::size_t>(j) * k + p];
        sum += u, mag += std::fabs(u);
      }
      r.error = std::fmax(r.error, static_cast<double>(std::fabs(gc[static_cast<std::size_t>(j) * n + i] - sum) / mag));
    }
  // zgemm3m and dzgemm, C = A B.
  const std::vector<double> za = values(static_cast<std::size_t>(2) * m * k, 25), zb = values(static_cast<std::size_t>(2) * k * n, 26);
  std::vector<double> z3(static_cast<std::size_t>(2) * m * n, 0.0), zd(static_cast<std::size_t>(2) * m * n, 0.0);
  const zc one(1), zero(0);
  cblas_zgemm3m(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, za.data(), m, zb.data(), k, &zero, z3.data(), m);
  const std::vector<double> ra = values(static_cast<std::size_t>(m) * k, 27);
  cblas_dzgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, ra.data(), m, zb.data(), k, &zero, zd.data(), m);
  const zc* A = reinterpret_cast<const zc*>(za.data());
  const zc* B = reinterpret_cast<const zc*>(zb.data());
  const zc* C3 = reinterpret_cast<const zc*>(z3.data());
  const zc* CD = reinterpret_cast<const zc*>(zd.data());
  double err3 = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      std::complex<ld> s3 = 0, sd = 0;
      ld m3 = 0, md = 0;
      for (int p = 0; p < k; ++p) {
        const std::complex<ld> bp(B[static_cast<std::size_t>(j) * k + p]);
        const std::complex<ld> u = std::complex<ld>(A[static_cast<std::size_t>(p) * m + i]) * bp;
        const std::complex<ld> v = static_cast<ld>(ra[static_cast<std::size_t>(p) * m + i]) * bp;
        s3 += u, m3 += std::abs(u), sd += v, md += std::abs(v);
      }
      err3 = std::fmax(err3, static_cast<double>(std::abs(std::complex<ld>(C3[static_cast<std::size_t>(j) * m + i]) - s3) / m3));
      r.error = std::fmax(r.error, static_cast<double>(std::abs(std::complex<ld>(CD[static_cast<std::size_t>(j) * m + i]) - sd) / md));
    }
  // 3M trades some accuracy for its saved product.
  r.ok = r.error < 1e-14 && err3 < 1e-13;
  r.error = std::fmax(r.error, err3);
  r.detail = "dtrmm, dsymm, dgemmt, zgemm3m, dzgemm vs long double";
  return r;
}

// A strided batch of 64 small products equals the products one by one.
QOR_SELFTEST("blas_level3", gemm_batch_strided) {
  Result r;
  const int m = 12, n = 9, k = 7, count = 64;
  const std::vector<double> a = values(static_cast<std::size_t>(m) * k * count, 31),
                            b = values(static_cast<std::size_t>(k) * n * count, 32);
  std::vector<double> c(static_cast<std::size_t>(m) * n * count, 0.0), c1 = c;
  cblas_dgemm_batch_strided(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a.data(), m, m * k, b.data(), k,
                            k * n, 0.0, c.data(), m, m * n, count);
  for (int i = 0; i < count; ++i)
    cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a.data() + static_cast<std::size_t>(i) * m * k, m,
                b.data() + static_cast<std::size_t>(i) * k * n, k, 0.0, c1.data() + static_cast<std::size_t>(i) * m * n, m);
  for (std::size_t i = 0; i < c.size(); ++i) r.error = std::fmax(r.error, std::fabs(c[i] - c1[i]));
  r.ok = r.error < 1e-14;
  r.detail = "64 products of 12 x 9 x 7 against dgemm one by one";
  return r;
}
