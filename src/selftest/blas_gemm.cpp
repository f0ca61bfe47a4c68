// Self-checks of dgemm: each processor body the machine can run, forced
// through the path override, against a long-double reference, with its speed
// on one thread; and the threaded product on the whole team.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using qor::selftest::Result;

struct Data {
  int m, n, k;
  std::vector<double> a, b, c;
  Data(int m_, int n_, int k_) : m(m_), n(n_), k(k_), a(size_t(m_) * k_), b(size_t(k_) * n_), c(size_t(m_) * n_) {
    std::uint64_t s = 88172645463325252ULL;
    auto next = [&s] {
      s ^= s << 13;
      s ^= s >> 7;
      s ^= s << 17;
      return static_cast<double>(s >> 11) * 0x1p-52 - 1.0;
    };
    for (double& v : a) v = next();
    for (double& v : b) v = next();
    for (double& v : c) v = next();
  }
};

// C = A B^T + 0.5 C checked element by element in long double, as a relative
// error against the sum of the magnitudes.
double check(int m, int n, int k) {
  Data d(m, n, k);
  std::vector<double> c0 = d.c;
  cblas_dgemm(CblasColMajor, CblasNoTrans, CblasTrans, m, n, k, 1.0, d.a.data(), m, d.b.data(), n, 0.5, d.c.data(),
              m);
  double worst = 0;
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < m; ++i) {
      long double s = 0.5L * c0[i + size_t(j) * m], mag = std::fabs(0.5 * c0[i + size_t(j) * m]);
      for (int l = 0; l < k; ++l) {
        long double p = static_cast<long double>(d.a[i + size_t(l) * m]) * d.b[j + size_t(l) * n];
        s += p;
        mag += std::fabs(static_cast<double>(p));
      }
      worst = std::fmax(worst, static_cast<double>(std::fabs(d.c[i + size_t(j) * m] - s) / mag));
    }
  return worst;
}

// GFLOP/s of a square product, best of a few runs.
double speed(int n) {
  Data d(n, n, n);
  double best = 1e300;
  for (int r = 0; r < 3; ++r) {
    double t0 = qor::selftest::now();
    cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, 1.0, d.a.data(), n, d.b.data(), n, 1.0,
                d.c.data(), n);
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  return 2.0 * n * n * n / best * 1e-9;
}

Result on_path(int path) {
  Result r;
  if (!qor_cpu_path_supported(path)) {
    r.detail = std::string(qor_cpu_path_name(path)) + " body: this machine cannot run it, skipped";
    return r;
  }
  int restore = qor_get_cpu_path();
  int threads = qor_get_max_threads();
  qor_set_cpu_path(path);
  qor_set_num_threads(1);
  std::int64_t hits = qor_cpu_path_hits(path);
  r.error = std::fmax(check(97, 61, 259), check(13, 7, 5));
  r.ok = r.error < 1e-14 && (path == QOR_CPU_PATH_BASELINE || qor_cpu_path_hits(path) > hits);
  r.speed = speed(1000);
  r.unit = "GFLOP/s";
  r.detail = std::string(qor_cpu_path_name(path)) + " body, NT vs long double; n=1000 on 1 thread";
  qor_set_num_threads(threads);
  qor_set_cpu_path(restore);
  return r;
}

}  // namespace

QOR_SELFTEST("blas_gemm", dgemm_baseline) { return on_path(QOR_CPU_PATH_BASELINE); }
QOR_SELFTEST("blas_gemm", dgemm_barcelona) { return on_path(QOR_CPU_PATH_BARCELONA); }
QOR_SELFTEST("blas_gemm", dgemm_bulldozer) { return on_path(QOR_CPU_PATH_BULLDOZER); }
QOR_SELFTEST("blas_gemm", dgemm_zen) { return on_path(QOR_CPU_PATH_ZEN); }

QOR_SELFTEST("blas_gemm", dgemm_threads) {
  Result r;
  // Under --long the error check spans several cache blocks in every
  // dimension, and the speed is taken at a size where the threads split
  // the work evenly.
  const bool big = qor::selftest::long_run();
  r.error = big ? check(1031, 977, 1200) : check(211, 203, 130);
  r.ok = r.error < 1e-14;
  r.speed = speed(big ? 4000 : 2000);
  r.unit = "GFLOP/s";
  r.detail = "automatic body, n=" + std::to_string(big ? 4000 : 2000) + " on " +
             std::to_string(qor_get_max_threads()) + " threads";
  return r;
}
