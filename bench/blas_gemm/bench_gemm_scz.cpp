// sgemm, cgemm and zgemm against OpenBLAS and BLIS, side by side in one run:
// square sizes from 64 up, on one thread and on two, through the Fortran
// interfaces of the three libraries; then each of qor's bodies forced in
// turn at n = 1000.
//
//   bench_blas_gemm_scz [quick|full] [cputime]
//     quick:   up to 1000 (also QOR_BENCH_QUICK=1); full: 4000 for all
//              three letters (default: 4000 for s)
//     cputime: time the one-thread runs by the CPU time of the calling
//              thread (blas_gemm/timing.h)
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "blas/gemm/signatures.h"
#include "blas_gemm/timing.h"
#include "common/bench.h"
#include "qor/blas_gemm.h"
#include "qor/qor.h"

namespace {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T>
using Fortran = qor::gemm_sig::fortran_fn<T>;

template <class T> struct info;
template <> struct info<float> {
  static constexpr const char* name = "sgemm";
  static constexpr double flops_per_mac = 2;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k, const float* al,
                   const float* a, const int* lda, const float* b, const int* ldb, const float* be, float* c,
                   const int* ldc) {
    sgemm_(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc, 1, 1);
  }
};
template <> struct info<c32> {
  static constexpr const char* name = "cgemm";
  static constexpr double flops_per_mac = 8;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k, const c32* al,
                   const c32* a, const int* lda, const c32* b, const int* ldb, const c32* be, c32* c, const int* ldc) {
    cgemm_(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc, 1, 1);
  }
};
template <> struct info<c64> {
  static constexpr const char* name = "zgemm";
  static constexpr double flops_per_mac = 8;
  static void ours(const char* ta, const char* tb, const int* m, const int* n, const int* k, const c64* al,
                   const c64* a, const int* lda, const c64* b, const int* ldb, const c64* be, c64* c, const int* ldc) {
    zgemm_(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc, 1, 1);
  }
};

template <class T> struct Problem {
  int n;
  std::vector<T> a, b, c;
  explicit Problem(int n_) : n(n_) {
    const std::size_t s = std::size_t(n) * n;
    a.resize(s);
    b.resize(s);
    c.resize(s);
    for (std::size_t i = 0; i < s; ++i) {
      a[i] = T(std::sin(0.37 * double(i)));
      b[i] = T(std::cos(0.11 * double(i)));
    }
  }
  template <class F> double seconds(F&& gemm) {
    const double flops = info<T>::flops_per_mac * double(n) * n * n;
    const T one(1), zero(0);
    return gemm_bench::best_time(
        [&] { gemm("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n); },
        flops > 4e10 ? 0.5 : 0.3, flops > 4e10 ? 2 : 3);
  }
};

template <class T> void compare(const std::string& what, int n, int threads) {
  auto* ob = qor::bench::openblas().fn<Fortran<T>>(std::string(info<T>::name).append("_").c_str());
  auto* bl = qor::bench::blis().fn<Fortran<T>>(std::string(info<T>::name).append("_").c_str());
  Problem<T> p(n);
  const double t = p.seconds(&info<T>::ours);
  auto peer = [&](Fortran<T>* f) {
    return f ? p.seconds([f](auto... args) { f(args..., 1, 1); }) : 0.0;
  };
  const double to = peer(ob), tb = peer(bl);
  qor::bench::Case c;
  c.what = what;
  c.operation = "gemm NN";
  c.type = std::string(1, info<T>::name[0]);
  c.size = std::to_string(n);
  c.n = n;
  c.threads = threads;
  qor::bench::report(c, t, "GFLOPS", info<T>::flops_per_mac * double(n) * n * n * 1e-9, "OpenBLAS", to, "BLIS", tb);
}

template <class T> void sweep(const std::vector<int>& sizes, int threads) {
  qor_set_num_threads(threads);
  qor::bench::openblas().set_threads(threads);
  qor::bench::blis().set_threads(threads);
  for (int n : sizes) compare<T>(std::string(info<T>::name) + " " + std::to_string(threads) + "t", n, threads);
}

template <class T> void bodies(int n) {
  qor_set_num_threads(1);
  for (int path : {QOR_CPU_PATH_BASELINE, QOR_CPU_PATH_BARCELONA, QOR_CPU_PATH_BULLDOZER, QOR_CPU_PATH_ZEN}) {
    if (!qor_cpu_path_supported(path) || qor_set_cpu_path(path) != 0) continue;
    Problem<T> p(n);
    const double t = p.seconds(&info<T>::ours);
    qor::bench::Case c;
    c.what = std::string(info<T>::name) + " " + qor_cpu_path_name(path);
    c.operation = "gemm NN body";
    c.type = std::string(1, info<T>::name[0]);
    c.size = std::to_string(n);
    c.n = n;
    qor::bench::report(c, t, "GFLOPS", info<T>::flops_per_mac * double(n) * n * n * 1e-9);
  }
  qor_set_cpu_path(QOR_CPU_PATH_AUTO);
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  bool full = false;
  for (int i = 1; i < argc; ++i) {
    full |= std::strcmp(argv[i], "full") == 0;
    gemm_bench::cputime |= std::strcmp(argv[i], "cputime") == 0;
  }
  qor::bench::begin("blas_gemm_scz", quick);
  qor::bench::openblas();  // prints the peers' kernel choices first
  qor::bench::blis();
  std::printf("processor path in force: %s\n", qor_cpu_path_name(qor_get_cpu_path()));
  std::vector<int> base = {64, 128, 256, 500, 1000};
  if (!quick) base.push_back(2000);
  std::vector<int> s_sizes = base, cz_sizes = base;
  if (!quick) s_sizes.push_back(4000);
  if (full) cz_sizes.push_back(4000);
  for (int threads : {1, 2}) {
    sweep<float>(s_sizes, threads);
    sweep<c32>(cz_sizes, threads);
    sweep<c64>(cz_sizes, threads);
  }
  std::printf("\nbodies, one thread:\n");
  bodies<float>(quick ? 500 : 1000);
  bodies<c32>(quick ? 500 : 1000);
  bodies<c64>(quick ? 500 : 1000);
  qor_set_num_threads(0);
  return 0;
}
