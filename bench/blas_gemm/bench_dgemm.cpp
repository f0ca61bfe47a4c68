// dgemm against OpenBLAS and BLIS, side by side in one run: square sizes,
// short depths and tall-skinny shapes, on one thread and on two; each of
// qor's bodies forced in turn at n = 1000; and the single-core peaks of the
// machine measured by small FMA and multiply-add loops (common/reference.h),
// for reference.
//
//   bench_blas_gemm [quick] [cputime]
//     quick:   fewer and smaller sizes (also QOR_BENCH_QUICK=1)
//     cputime: time the one-thread runs by the CPU time of the calling
//              thread (every library then computes on that thread), which
//              keeps the ratios honest on a machine shared with other work
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "blas_gemm/timing.h"
#include "common/bench.h"
#include "common/reference.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using Cblas = void(int, int, int, int, int, int, double, const double*, int, const double*, int, double, double*, int);

using gemm_bench::best_time;

struct Problem {
  int m, n, k;
  std::vector<double> a, b, c;
  Problem(int m_, int n_, int k_) : m(m_), n(n_), k(k_) {
    a.resize(size_t(m) * k);
    b.resize(size_t(k) * n);
    c.resize(size_t(m) * n);
    for (size_t i = 0; i < a.size(); ++i) a[i] = std::sin(0.37 * double(i));
    for (size_t i = 0; i < b.size(); ++i) b[i] = std::cos(0.11 * double(i));
  }
  double seconds(Cblas* gemm, CBLAS_TRANSPOSE ta = CblasNoTrans) {
    double flops = 2.0 * m * n * k;
    double min_s = flops > 2e10 ? 0.5 : 0.3;
    int reps = flops > 2e10 ? 2 : 3;
    return best_time(
        [&] {
          gemm(CblasColMajor, ta, CblasNoTrans, m, n, k, 1.0, a.data(), ta == CblasNoTrans ? m : k, b.data(), k, 0.0,
               c.data(), m);
        },
        min_s, reps);
  }
};

// qor's cblas_dgemm behind the peers' signature (plain ints for the enums).
void ours(int layout, int ta, int tb, int m, int n, int k, double alpha, const double* a, int lda, const double* b,
          int ldb, double beta, double* c, int ldc) {
  cblas_dgemm(static_cast<CBLAS_LAYOUT>(layout), static_cast<CBLAS_TRANSPOSE>(ta), static_cast<CBLAS_TRANSPOSE>(tb),
              m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// `what` is "dgemm <shape>"; the rows name the operation "gemm <shape>".
void compare(const char* what, int m, int n, int k, Cblas* ob, Cblas* bl, CBLAS_TRANSPOSE ta = CblasNoTrans) {
  Problem p(m, n, k);
  double t = p.seconds(&ours, ta);
  double to = ob ? p.seconds(ob, ta) : 0, tb = bl ? p.seconds(bl, ta) : 0;
  char size[64];
  std::snprintf(size, sizeof size, "%dx%dx%d", m, n, k);
  qor::bench::Case c;
  c.what = what;
  c.operation = what + 1;
  c.type = "d";
  c.size = size;
  c.n = std::cbrt(double(m) * n * k);
  c.threads = qor_get_max_threads();
  qor::bench::report(c, t, "GFLOPS", 2.0 * m * n * k * 1e-9, "OpenBLAS", to, "BLIS", tb);
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  for (int i = 1; i < argc; ++i) gemm_bench::cputime |= std::strcmp(argv[i], "cputime") == 0;
  qor::bench::begin("blas_gemm", quick);
  auto& ob = qor::bench::openblas();
  auto& bl = qor::bench::blis();
  Cblas* obg = ob.fn<Cblas>("cblas_dgemm");
  Cblas* blg = bl.fn<Cblas>("cblas_dgemm");

  // The machine's peaks on one thread, double precision: the reference of
  // the bodies' figures below.
  std::printf("single-core peaks (measured):");
  double p128 = 0, p256 = 0;
  const char* sep = "";
  const auto peaks = qor::bench::measure_peaks();
  qor::bench::record_peaks(peaks);
  for (const auto& pk : peaks) {
    if (pk.type != 'd') continue;
    std::printf("%s %d-bit %s %.1f GFLOPS", sep, pk.bits, pk.how.c_str(), pk.gflops);
    sep = ",";
    if (pk.bits == 128 && pk.how != "FMA") p128 = pk.gflops;
    if (pk.bits == 256) p256 = pk.gflops;
  }
  std::printf("\nprocessor path in force: %s\n\n", qor_cpu_path_name(qor_get_cpu_path()));

  const std::vector<int> squares = quick ? std::vector<int>{64, 256, 500, 1000} :
                                           std::vector<int>{64, 128, 256, 500, 750, 1000, 1500, 2000, 3000, 4000};
  for (int threads : {1, 2}) {
    qor_set_num_threads(threads);
    ob.set_threads(threads);
    bl.set_threads(threads);
    std::printf("-- dgemm, %d thread%s (ratio = peer time / qor time)\n", threads, threads > 1 ? "s" : "");
    for (int n : squares) compare("dgemm NN", n, n, n, obg, blg);
    for (int n : quick ? std::vector<int>{1000} : std::vector<int>{500, 2000}) compare("dgemm TN", n, n, n, obg, blg, CblasTrans);
    for (int k : {32, 64}) compare("dgemm small k", quick ? 1000 : 2000, quick ? 1000 : 2000, k, obg, blg);
    compare("dgemm tall-skinny", quick ? 10000 : 40000, 32, 256, obg, blg);
    compare("dgemm tall-skinny", quick ? 10000 : 40000, 256, 32, obg, blg);
    compare("dgemm short-wide", 32, quick ? 10000 : 40000, 256, obg, blg);
    std::printf("\n");
  }

  // Each body on one thread, against the peak of its instruction set.
  qor_set_num_threads(1);
  std::printf("-- bodies on one thread (fraction of the measured peak of their unit)\n");
  for (int path : {QOR_CPU_PATH_BASELINE, QOR_CPU_PATH_BARCELONA, QOR_CPU_PATH_BULLDOZER, QOR_CPU_PATH_ZEN}) {
    if (!qor_cpu_path_supported(path)) continue;
    qor_set_cpu_path(path);
    for (int n : quick ? std::vector<int>{1000} : std::vector<int>{500, 1000, 2000}) {
      Problem p(n, n, n);
      const double secs = p.seconds(&ours);
      double g = 2.0 * n * n * n / secs * 1e-9;
      double peak = (path == QOR_CPU_PATH_BULLDOZER || path == QOR_CPU_PATH_ZEN) ? p256 : p128;
      std::printf("%-10s n=%-5d %7.2f GFLOPS  %5.1f%% of peak\n", qor_cpu_path_name(path), n, g, 100 * g / peak);
      qor::bench::Case c;
      c.operation = "gemm NN body";
      c.type = "d";
      c.size = std::to_string(n) + "x" + std::to_string(n) + "x" + std::to_string(n);
      c.n = n;
      qor::bench::record_alone(c, "qor", secs, "GFLOP/s", 2.0 * n * n * n * 1e-9);
    }
  }
  qor_set_cpu_path(QOR_CPU_PATH_AUTO);
  return 0;
}
