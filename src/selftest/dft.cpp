// Self-checks of the one-dimensional transform engine: accuracy against a
// direct long double evaluation, round trips, and speed in 5 n log2 n
// GFLOP/s.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "qor/dft_primitive.h"

using qor::selftest::Result;

namespace {

std::vector<double> signal(std::int64_t n) {
  std::vector<double> x(2 * n);
  for (std::int64_t i = 0; i < 2 * n; ++i) x[i] = std::sin(0.7 * i) + 0.3 * std::cos(0.11 * i * i);
  return x;
}

// Largest error of the forward transform over a few bins, relative to the
// largest input-scaled value, against a long double sum.
double bin_error(const std::vector<double>& x, const std::vector<double>& y, std::int64_t n) {
  const long double two_pi = 6.283185307179586476925286766559005768L;
  double err = 0;
  for (std::int64_t k : {std::int64_t{0}, std::int64_t{1}, n / 3, n / 2, n - 1}) {
    long double re = 0, im = 0;
    for (std::int64_t j = 0; j < n; ++j) {
      const long double a = two_pi * static_cast<long double>((j * k) % n) / n;
      re += x[2 * j] * cosl(a) + x[2 * j + 1] * sinl(a);
      im += x[2 * j + 1] * cosl(a) - x[2 * j] * sinl(a);
    }
    err = std::fmax(err, std::fabs(static_cast<double>(y[2 * k] - re)));
    err = std::fmax(err, std::fabs(static_cast<double>(y[2 * k + 1] - im)));
  }
  return err / std::sqrt(static_cast<double>(n));
}

Result run_length(int n, int reps) {
  Result r;
  qor_zups_dft_spec* spec = nullptr;
  if (qor_dft_zupsDFXInitAlloc_C_64fc(&spec, n, QOR_ZUPS_DIV_INV_BY_N, 0) != 0) {
    r.ok = false;
    r.detail = "no plan";
    return r;
  }
  int size = 0;
  qor_dft_zupsDFTGetBufSize_C_64fc(spec, &size);
  std::vector<std::uint8_t> buf(static_cast<std::size_t>(size));
  std::vector<double> x = signal(n), y(x.size()), z(x.size());
  auto* xs = reinterpret_cast<const qor_zups_64fc*>(x.data());
  auto* ys = reinterpret_cast<qor_zups_64fc*>(y.data());
  auto* zs = reinterpret_cast<qor_zups_64fc*>(z.data());
  std::uint8_t* b = buf.empty() ? nullptr : buf.data();
  r.ok &= qor_dft_zupsDFTFwd_CToC_64fc(xs, ys, spec, b) == 0;
  r.ok &= qor_dft_zupsDFXInv_CToC_64fc(ys, zs, spec, b) == 0;
  double back = 0;
  for (std::size_t i = 0; i < x.size(); ++i) back = std::fmax(back, std::fabs(z[i] - x[i]));
  r.error = std::fmax(bin_error(x, y, n), back);
  r.ok &= r.error < 1e-12;
  double t0 = qor::selftest::now();
  for (int i = 0; i < reps; ++i) qor_dft_zupsDFTFwd_CToC_64fc(xs, ys, spec, b);
  double t = (qor::selftest::now() - t0) / reps;
  r.speed = 5.0 * n * std::log2(static_cast<double>(n)) / t * 1e-9;
  r.unit = "GFLOP/s";
  qor_dft_zupsDFTFree_C_64fc(spec);
  return r;
}

}  // namespace

QOR_SELFTEST("dft", zdft_pow2_4096) {
  Result r = run_length(4096, 2000);
  r.detail = "n=4096 power of two: bins vs long double, round trip";
  return r;
}

QOR_SELFTEST("dft", zdft_mixed_radix_1000) {
  Result r = run_length(1000, 2000);
  r.detail = "n=1000 mixed radix 8*5*5*5";
  return r;
}

QOR_SELFTEST("dft", zdft_bluestein_10007) {
  Result r = run_length(10007, 100);
  r.detail = "n=10007 prime, Bluestein convolution";
  return r;
}

QOR_SELFTEST("dft", zfft_large) {
  // Out of cache: 16 MiB of data, or 64 MiB under --long.
  const int order = qor::selftest::long_run() ? 22 : 20;
  Result r = run_length(1 << order, 10);
  r.detail = "n=2^" + std::to_string(order) + " power of two";
  return r;
}

QOR_SELFTEST("dft", zdft_bluestein_large) {
  // A large prime, which only the convolution road can do.
  const int n = qor::selftest::long_run() ? 1000003 : 65537;
  Result r = run_length(n, qor::selftest::long_run() ? 3 : 10);
  r.detail = "n=" + std::to_string(n) + " prime, Bluestein convolution";
  return r;
}
