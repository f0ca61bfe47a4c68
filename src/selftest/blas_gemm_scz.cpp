// Self-checks of sgemm, cgemm and zgemm: each processor body the machine can
// run, forced through the path override, against a long-double reference
// with the letters N, T and C, with its speed on one thread; and the
// threaded product on the whole team.
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "check.h"
#include "qor/blas_gemm.h"
#include "qor/qor.h"

namespace {

using qor::selftest::Result;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T> struct info;
template <> struct info<float> {
  using W = long double;
  static constexpr const char* name = "sgemm";
  static constexpr double flops = 2;
  static void gemm(const char* ta, const char* tb, int m, int n, int k, float al, const float* a, int lda,
                   const float* b, int ldb, float be, float* c, int ldc) {
    sgemm_(ta, tb, &m, &n, &k, &al, a, &lda, b, &ldb, &be, c, &ldc, 1, 1);
  }
};
template <> struct info<c32> {
  using W = std::complex<long double>;
  static constexpr const char* name = "cgemm";
  static constexpr double flops = 8;
  static void gemm(const char* ta, const char* tb, int m, int n, int k, c32 al, const c32* a, int lda, const c32* b,
                   int ldb, c32 be, c32* c, int ldc) {
    cgemm_(ta, tb, &m, &n, &k, &al, a, &lda, b, &ldb, &be, c, &ldc, 1, 1);
  }
};
template <> struct info<c64> {
  using W = std::complex<long double>;
  static constexpr const char* name = "zgemm";
  static constexpr double flops = 8;
  static void gemm(const char* ta, const char* tb, int m, int n, int k, c64 al, const c64* a, int lda, const c64* b,
                   int ldb, c64 be, c64* c, int ldc) {
    zgemm_(ta, tb, &m, &n, &k, &al, a, &lda, b, &ldb, &be, c, &ldc, 1, 1);
  }
};

template <class T> typename info<T>::W wide(T v) {
  if constexpr (std::is_same_v<T, float>) return v;
  else return {v.real(), v.imag()};
}

template <class T> std::vector<T> random(std::size_t count, std::uint64_t seed) {
  std::vector<T> v(count);
  auto next = [&seed] {
    seed ^= seed << 13;
    seed ^= seed >> 7;
    seed ^= seed << 17;
    return static_cast<double>(seed >> 11) * 0x1p-52 - 1.0;
  };
  for (T& x : v) {
    if constexpr (std::is_same_v<T, float>) x = static_cast<float>(next());
    else x = T(static_cast<typename T::value_type>(next()), static_cast<typename T::value_type>(next()));
  }
  return v;
}

// C = alpha op(A) op(B) + beta C with op(A) = A^T and op(B) = B^H (B^T for
// s), checked element by element in long double, as an error relative to
// the sum of the magnitudes and to the precision times the depth.
template <class T> double check(int m, int n, int k) {
  using W = typename info<T>::W;
  auto a = random<T>(std::size_t(k) * m, 11), b = random<T>(std::size_t(n) * k, 12), c = random<T>(std::size_t(m) * n, 13);
  const std::vector<T> c0 = c;
  const T alpha = T(1.5), beta = T(-0.5);
  info<T>::gemm("T", "C", m, n, k, alpha, a.data(), k, b.data(), n, beta, c.data(), m);
  const long double eps = std::numeric_limits<std::conditional_t<std::is_same_v<T, c64>, double, float>>::epsilon();
  double worst = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      W s = 0;
      long double mag = 0;
      for (int l = 0; l < k; ++l) {
        W bj = wide(b[j + std::size_t(l) * n]);
        if constexpr (!std::is_same_v<T, float>) bj = std::conj(bj);
        const W p = wide(a[l + std::size_t(i) * k]) * bj;
        s += p;
        mag += std::abs(p);
      }
      const W c0w = wide(c0[i + std::size_t(j) * m]);
      const W ref = wide(alpha) * s + wide(beta) * c0w;
      mag = mag * std::abs(wide(alpha)) + std::abs(wide(beta) * c0w);
      worst = std::fmax(worst, static_cast<double>(std::abs(wide(c[i + std::size_t(j) * m]) - ref) / (mag * eps * k)));
    }
  return worst;
}

// GFLOP/s of a square product, best of a few runs.
template <class T> double speed(int n) {
  auto a = random<T>(std::size_t(n) * n, 1), b = random<T>(std::size_t(n) * n, 2), c = random<T>(std::size_t(n) * n, 3);
  double best = 1e300;
  for (int r = 0; r < 3; ++r) {
    double t0 = qor::selftest::now();
    info<T>::gemm("N", "N", n, n, n, T(1), a.data(), n, b.data(), n, T(1), c.data(), n);
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  return info<T>::flops * n * double(n) * n / best * 1e-9;
}

template <class T> Result on_path(int path) {
  Result r;
  if (!qor_cpu_path_supported(path)) {
    r.detail = std::string(qor_cpu_path_name(path)) + " body: this machine cannot run it, skipped";
    return r;
  }
  const int restore = qor_get_cpu_path(), threads = qor_get_max_threads();
  qor_set_cpu_path(path);
  qor_set_num_threads(1);
  const std::int64_t hits = qor_cpu_path_hits(path);
  // Past one depth block of every member, every row and column tail; and a
  // shape small enough for the unpacked kernel.
  r.error = std::fmax(check<T>(97, 61, 259), check<T>(13, 7, 5));
  r.ok = r.error < 2.0 && (path == QOR_CPU_PATH_BASELINE || qor_cpu_path_hits(path) > hits);
  r.speed = speed<T>(500);
  r.unit = "GFLOP/s";
  r.detail = std::string(info<T>::name) + ", " + qor_cpu_path_name(path) +
             " body, TC vs long double (error in units of depth x precision); n=500 on 1 thread";
  qor_set_num_threads(threads);
  qor_set_cpu_path(restore);
  return r;
}

template <class T> Result threads() {
  Result r;
  r.error = check<T>(211, 203, 130);
  r.ok = r.error < 2.0;
  r.speed = speed<T>(800);
  r.unit = "GFLOP/s";
  r.detail = std::string(info<T>::name) + ", automatic body, n=800 on " + std::to_string(qor_get_max_threads()) +
             " threads";
  return r;
}

}  // namespace

#define QOR_GEMM_SCZ_SELFTEST(x, T)                                                                       \
  QOR_SELFTEST("blas_gemm_scz", x##gemm_baseline) { return on_path<T>(QOR_CPU_PATH_BASELINE); }          \
  QOR_SELFTEST("blas_gemm_scz", x##gemm_barcelona) { return on_path<T>(QOR_CPU_PATH_BARCELONA); }        \
  QOR_SELFTEST("blas_gemm_scz", x##gemm_bulldozer) { return on_path<T>(QOR_CPU_PATH_BULLDOZER); }        \
  QOR_SELFTEST("blas_gemm_scz", x##gemm_zen) { return on_path<T>(QOR_CPU_PATH_ZEN); }                    \
  QOR_SELFTEST("blas_gemm_scz", x##gemm_threads) { return threads<T>(); }
QOR_GEMM_SCZ_SELFTEST(s, float)
QOR_GEMM_SCZ_SELFTEST(c, c32)
QOR_GEMM_SCZ_SELFTEST(z, c64)
