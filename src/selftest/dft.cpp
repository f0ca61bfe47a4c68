// Self-checks of the one-dimensional transform engine: accuracy against a
// direct long double evaluation, round trips, and speed in 5 n log2 n
// GFLOP/s.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "qor/dft.h"
#include "qor/dft_primitive.h"
#include "qor/qor.h"

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

// A batch of `count` transforms of length n through a descriptor, stored
// `stride` elements apart (1: contiguous; count: interleaved element by
// element), out of place, backward scaled by 1/n. Error: the first, a middle
// and the last transform against the long double bins, and the round trip;
// speed: the forward batch, best of `reps`.
Result run_descriptor(std::int64_t n, std::int64_t count, std::int64_t stride, int reps) {
  Result r;
  const std::int64_t distance = stride == 1 ? n : 1;
  const std::int64_t steps[2] = {0, stride};
  qor_dft_handle h = nullptr;
  int st = qor_dft_create_1d(&h, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, n);
  if (st == 0) st = qor_dft_set_value_int(h, QOR_DFT_NUMBER_OF_TRANSFORMS, count);
  if (st == 0) st = qor_dft_set_value_int(h, QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE);
  if (st == 0) st = qor_dft_set_value_array(h, QOR_DFT_INPUT_STRIDES, steps);
  if (st == 0) st = qor_dft_set_value_array(h, QOR_DFT_OUTPUT_STRIDES, steps);
  if (st == 0) st = qor_dft_set_value_int(h, QOR_DFT_INPUT_DISTANCE, distance);
  if (st == 0) st = qor_dft_set_value_int(h, QOR_DFT_OUTPUT_DISTANCE, distance);
  if (st == 0) st = qor_dft_set_value_double(h, QOR_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(n));
  if (st == 0) st = qor_dft_commit(h);
  if (st != 0) {
    r.ok = false;
    r.detail = std::string("descriptor: ") + qor_dft_error_message(st);
    qor_dft_free(&h);
    return r;
  }
  std::vector<double> x = signal(n * count), y(x.size()), z(x.size());
  r.ok &= qor_dft_forward_out(h, x.data(), y.data()) == 0;
  r.ok &= qor_dft_backward_out(h, y.data(), z.data()) == 0;
  double back = 0;
  for (std::size_t i = 0; i < x.size(); ++i) back = std::fmax(back, std::fabs(z[i] - x[i]));
  r.error = back;
  for (std::int64_t t : {std::int64_t{0}, count / 2, count - 1}) {
    // Gather transform t into contiguous arrays for the bin check.
    std::vector<double> xt(2 * n), yt(2 * n);
    for (std::int64_t j = 0; j < n; ++j) {
      const std::int64_t at = 2 * (t * distance + j * stride);
      xt[2 * j] = x[at], xt[2 * j + 1] = x[at + 1];
      yt[2 * j] = y[at], yt[2 * j + 1] = y[at + 1];
    }
    r.error = std::fmax(r.error, bin_error(xt, yt, n));
  }
  r.ok &= r.error < 1e-12;
  double best = 1e300;
  for (int i = 0; i < reps; ++i) {
    const double t0 = qor::selftest::now();
    qor_dft_forward_out(h, x.data(), y.data());
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  r.speed = 5.0 * static_cast<double>(n * count) * std::log2(static_cast<double>(n)) / best * 1e-9;
  r.unit = "GFLOP/s";
  std::int64_t threads = 0;
  qor_dft_get_value_int(h, QOR_DFT_THREAD_LIMIT, &threads);
  r.detail = std::to_string(count) + " x " + std::to_string(n) + (stride == 1 ? " contiguous" : " interleaved") +
             ", descriptor on " + std::to_string(threads) + " thread(s)";
  qor_dft_free(&h);
  return r;
}

}  // namespace

QOR_SELFTEST("dft", zdft_batch_contiguous) { return run_descriptor(1024, 1000, 1, 5); }
QOR_SELFTEST("dft", zdft_batch_interleaved) { return run_descriptor(1000, 64, 64, 5); }
QOR_SELFTEST("dft", zdft_descriptor_large) {
  return run_descriptor(qor::selftest::long_run() ? 1 << 22 : 1 << 18, 1, 1, 3);
}

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
