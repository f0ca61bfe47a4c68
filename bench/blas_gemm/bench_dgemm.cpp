// dgemm against OpenBLAS and BLIS, side by side in one run: square sizes,
// short depths and tall-skinny shapes, on one thread and on two; each of
// qor's bodies forced in turn at n = 1000; and the single-core peaks of the
// machine measured by small FMA and multiply-add loops, for reference.
//
//   bench_blas_gemm [quick] [cputime]
//     quick:   fewer and smaller sizes
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
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using Cblas = void(int, int, int, int, int, int, double, const double*, int, const double*, int, double, double*, int);

using gemm_bench::best_time;

// Seconds for the single-thread peak loops.
double tick() { return gemm_bench::cputime ? gemm_bench::thread_seconds() : qor::bench::now(); }

// Peak loops: ten independent chains, enough to cover the latency of the
// units. 256-bit FMA (what the Zen body issues), 512-bit FMA (what a peer
// with AVX-512 kernels can issue), 128-bit multiply and add (the baseline
// body). Flops per second of one core.
__attribute__((target("avx2,fma"))) double peak_fma256() {
  long it = 20000000;
  double t0 = tick();
  asm volatile(
      "vxorpd %%ymm0,%%ymm0,%%ymm0\n\tvxorpd %%ymm1,%%ymm1,%%ymm1\n\tvxorpd %%ymm2,%%ymm2,%%ymm2\n\t"
      "vxorpd %%ymm3,%%ymm3,%%ymm3\n\tvxorpd %%ymm4,%%ymm4,%%ymm4\n\tvxorpd %%ymm5,%%ymm5,%%ymm5\n\t"
      "vxorpd %%ymm6,%%ymm6,%%ymm6\n\tvxorpd %%ymm7,%%ymm7,%%ymm7\n\tvxorpd %%ymm8,%%ymm8,%%ymm8\n\t"
      "vxorpd %%ymm9,%%ymm9,%%ymm9\n"
      "1:\n\t.rept 2\n\t"
      "vfmadd231pd %%ymm14,%%ymm15,%%ymm0\n\tvfmadd231pd %%ymm14,%%ymm15,%%ymm1\n\t"
      "vfmadd231pd %%ymm14,%%ymm15,%%ymm2\n\tvfmadd231pd %%ymm14,%%ymm15,%%ymm3\n\t"
      "vfmadd231pd %%ymm14,%%ymm15,%%ymm4\n\tvfmadd231pd %%ymm14,%%ymm15,%%ymm5\n\t"
      "vfmadd231pd %%ymm14,%%ymm15,%%ymm6\n\tvfmadd231pd %%ymm14,%%ymm15,%%ymm7\n\t"
      "vfmadd231pd %%ymm14,%%ymm15,%%ymm8\n\tvfmadd231pd %%ymm14,%%ymm15,%%ymm9\n\t"
      ".endr\n\tdec %0\n\tjnz 1b\n\tvzeroupper"
      : "+r"(it)::"xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "cc");
  return 20000000.0 * 20 * 8 / (tick() - t0);
}

__attribute__((target("avx512f"))) double peak_fma512() {
  long it = 20000000;
  double t0 = tick();
  asm volatile(
      "vxorpd %%zmm0,%%zmm0,%%zmm0\n\tvxorpd %%zmm1,%%zmm1,%%zmm1\n\tvxorpd %%zmm2,%%zmm2,%%zmm2\n\t"
      "vxorpd %%zmm3,%%zmm3,%%zmm3\n\tvxorpd %%zmm4,%%zmm4,%%zmm4\n\tvxorpd %%zmm5,%%zmm5,%%zmm5\n\t"
      "vxorpd %%zmm6,%%zmm6,%%zmm6\n\tvxorpd %%zmm7,%%zmm7,%%zmm7\n\tvxorpd %%zmm8,%%zmm8,%%zmm8\n\t"
      "vxorpd %%zmm9,%%zmm9,%%zmm9\n"
      "1:\n\t.rept 2\n\t"
      "vfmadd231pd %%zmm14,%%zmm15,%%zmm0\n\tvfmadd231pd %%zmm14,%%zmm15,%%zmm1\n\t"
      "vfmadd231pd %%zmm14,%%zmm15,%%zmm2\n\tvfmadd231pd %%zmm14,%%zmm15,%%zmm3\n\t"
      "vfmadd231pd %%zmm14,%%zmm15,%%zmm4\n\tvfmadd231pd %%zmm14,%%zmm15,%%zmm5\n\t"
      "vfmadd231pd %%zmm14,%%zmm15,%%zmm6\n\tvfmadd231pd %%zmm14,%%zmm15,%%zmm7\n\t"
      "vfmadd231pd %%zmm14,%%zmm15,%%zmm8\n\tvfmadd231pd %%zmm14,%%zmm15,%%zmm9\n\t"
      ".endr\n\tdec %0\n\tjnz 1b\n\tvzeroupper"
      : "+r"(it)::"xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "cc");
  return 20000000.0 * 20 * 16 / (tick() - t0);
}

double peak_muladd128() {
  long it = 20000000;
  double t0 = tick();
  asm volatile(
      "xorpd %%xmm0,%%xmm0\n\txorpd %%xmm1,%%xmm1\n\txorpd %%xmm2,%%xmm2\n\txorpd %%xmm3,%%xmm3\n\t"
      "xorpd %%xmm4,%%xmm4\n\txorpd %%xmm5,%%xmm5\n\txorpd %%xmm6,%%xmm6\n\txorpd %%xmm7,%%xmm7\n\t"
      "xorpd %%xmm8,%%xmm8\n\txorpd %%xmm9,%%xmm9\n"
      "1:\n\t.rept 2\n\t"
      "movapd %%xmm15,%%xmm10\n\tmulpd %%xmm14,%%xmm10\n\taddpd %%xmm10,%%xmm0\n\t"
      "movapd %%xmm15,%%xmm11\n\tmulpd %%xmm14,%%xmm11\n\taddpd %%xmm11,%%xmm1\n\t"
      "movapd %%xmm15,%%xmm12\n\tmulpd %%xmm14,%%xmm12\n\taddpd %%xmm12,%%xmm2\n\t"
      "movapd %%xmm15,%%xmm13\n\tmulpd %%xmm14,%%xmm13\n\taddpd %%xmm13,%%xmm3\n\t"
      "movapd %%xmm15,%%xmm10\n\tmulpd %%xmm14,%%xmm10\n\taddpd %%xmm10,%%xmm4\n\t"
      "movapd %%xmm15,%%xmm11\n\tmulpd %%xmm14,%%xmm11\n\taddpd %%xmm11,%%xmm5\n\t"
      "movapd %%xmm15,%%xmm12\n\tmulpd %%xmm14,%%xmm12\n\taddpd %%xmm12,%%xmm6\n\t"
      "movapd %%xmm15,%%xmm13\n\tmulpd %%xmm14,%%xmm13\n\taddpd %%xmm13,%%xmm7\n\t"
      "movapd %%xmm15,%%xmm10\n\tmulpd %%xmm14,%%xmm10\n\taddpd %%xmm10,%%xmm8\n\t"
      "movapd %%xmm15,%%xmm11\n\tmulpd %%xmm14,%%xmm11\n\taddpd %%xmm11,%%xmm9\n\t"
      ".endr\n\tdec %0\n\tjnz 1b"
      : "+r"(it)::"xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11",
        "xmm12", "xmm13", "cc");
  return 20000000.0 * 20 * 4 / (tick() - t0);
}

template <class F>
double best_of(F f, int reps = 5) {
  double best = 0;
  for (int r = 0; r < reps; ++r) best = std::fmax(best, f());
  return best;
}

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

void compare(const char* what, int m, int n, int k, Cblas* ob, Cblas* bl, CBLAS_TRANSPOSE ta = CblasNoTrans) {
  Problem p(m, n, k);
  double t = p.seconds(&ours, ta);
  double to = ob ? p.seconds(ob, ta) : 0, tb = bl ? p.seconds(bl, ta) : 0;
  char size[64];
  std::snprintf(size, sizeof size, "%dx%dx%d", m, n, k);
  qor::bench::report(what, size, t, "GFLOPS", 2.0 * m * n * k * 1e-9, "OpenBLAS", to, "BLIS", tb);
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  for (int i = 1; i < argc; ++i) {
    quick |= std::strcmp(argv[i], "quick") == 0;
    gemm_bench::cputime |= std::strcmp(argv[i], "cputime") == 0;
  }
  auto& ob = qor::bench::openblas();
  auto& bl = qor::bench::blis();
  Cblas* obg = ob.fn<Cblas>("cblas_dgemm");
  Cblas* blg = bl.fn<Cblas>("cblas_dgemm");
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);

  std::printf("single-core peaks (measured):");
  double p128 = best_of(peak_muladd128) * 1e-9;
  std::printf(" 128-bit mul+add %.1f GFLOPS", p128);
  double p256 = 0;
  if (f.avx2 && f.fma) std::printf(", 256-bit FMA %.1f GFLOPS", p256 = best_of(peak_fma256) * 1e-9);
  if (f.avx512f) std::printf(", 512-bit FMA %.1f GFLOPS", best_of(peak_fma512) * 1e-9);
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
      double g = 2.0 * n * n * n / p.seconds(&ours) * 1e-9;
      double peak = (path == QOR_CPU_PATH_BULLDOZER || path == QOR_CPU_PATH_ZEN) ? p256 : p128;
      std::printf("%-10s n=%-5d %7.2f GFLOPS  %5.1f%% of peak\n", qor_cpu_path_name(path), n, g, 100 * g / peak);
    }
  }
  qor_set_cpu_path(QOR_CPU_PATH_AUTO);
  return 0;
}
