// Small square products, many calls: C = A B at n = 4 .. 96 for the four
// types, against OpenBLAS and Eigen, side by side in one run on one thread.
// Each timed body makes enough calls on the same in-cache operands to run
// about a million multiply-adds, so the figure is the cost of a call with
// its entry, checks and dispatch, as a program calling GEMM on small blocks
// sees it. Eigen's side (eigen_small.cpp) is compiled for this processor's
// own instructions, so that it is measured at its best.
//
//   bench_blas_gemm_small [quick]
#include <complex>
#include <cmath>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include "blas_gemm/eigen_small.h"
#include "common/bench.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

template <class T>
struct Cblas;
template <>
struct Cblas<float> {
  using Fn = void(int, int, int, int, int, int, float, const float*, int, const float*, int, float, float*, int);
  static constexpr const char* name = "cblas_sgemm";
  static constexpr const char* letter = "s";
  static void ours(int m, int n, int k, const float* a, const float* b, float* c) {
    cblas_sgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0f, a, m, b, k, 0.0f, c, m);
  }
  static void peer(Fn* f, int m, int n, int k, const float* a, const float* b, float* c) {
    f(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0f, a, m, b, k, 0.0f, c, m);
  }
};
template <>
struct Cblas<double> {
  using Fn = void(int, int, int, int, int, int, double, const double*, int, const double*, int, double, double*, int);
  static constexpr const char* name = "cblas_dgemm";
  static constexpr const char* letter = "d";
  static void ours(int m, int n, int k, const double* a, const double* b, double* c) {
    cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a, m, b, k, 0.0, c, m);
  }
  static void peer(Fn* f, int m, int n, int k, const double* a, const double* b, double* c) {
    f(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1.0, a, m, b, k, 0.0, c, m);
  }
};
// The complex members take alpha and beta by address.
template <class R>
struct Cblas<std::complex<R>> {
  using T = std::complex<R>;
  using Fn = void(int, int, int, int, int, int, const void*, const void*, int, const void*, int, const void*, void*,
                  int);
  static constexpr bool single = std::is_same_v<R, float>;
  static constexpr const char* name = single ? "cblas_cgemm" : "cblas_zgemm";
  static constexpr const char* letter = single ? "c" : "z";
  static void ours(int m, int n, int k, const T* a, const T* b, T* c) {
    const T one(1), zero(0);
    if constexpr (single) {
      cblas_cgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, a, m, b, k, &zero, c, m);
    } else {
      cblas_zgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, a, m, b, k, &zero, c, m);
    }
  }
  static void peer(Fn* f, int m, int n, int k, const T* a, const T* b, T* c) {
    const T one(1), zero(0);
    f(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &one, a, m, b, k, &zero, c, m);
  }
};

template <class T>
T value(double x) {
  if constexpr (std::is_floating_point_v<T>) {
    return T(x);
  } else {
    return T(typename T::value_type(x), typename T::value_type(0.5 * x));
  }
}

template <class T>
double largest_gap(const std::vector<T>& x, const std::vector<T>& y) {
  double d = 0, s = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    d = std::max(d, double(std::abs(x[i] - y[i])));
    s = std::max(s, double(std::abs(x[i])));
  }
  return s > 0 ? d / s : d;
}

template <class T>
void run(int n, bool quick) {
  using C = Cblas<T>;
  auto& ob = qor::bench::openblas();
  auto* peer = ob.fn<typename C::Fn>(C::name);
  std::vector<T> a(std::size_t(n) * n), b(a.size()), c(a.size()), cp(a.size()), ce(a.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = value<T>(std::sin(0.37 * double(i)));
    b[i] = value<T>(std::cos(0.11 * double(i)));
  }
  const double flops = (std::is_floating_point_v<T> ? 2.0 : 8.0) * n * n * n;
  const int calls = std::max(1, int((quick ? 2e5 : 1e6) / flops));
  const double min_s = quick ? 0.05 : 0.2;
  auto ours = [&] {
    for (int r = 0; r < calls; ++r) C::ours(n, n, n, a.data(), b.data(), c.data());
  };
  auto theirs = [&] {
    for (int r = 0; r < calls; ++r) C::peer(peer, n, n, n, a.data(), b.data(), cp.data());
  };
  auto eigen = [&] {
    for (int r = 0; r < calls; ++r) gemm_bench::eigen_product(n, a.data(), b.data(), ce.data());
  };
  double to = 0, tp = 0, te = 0;
  if (peer != nullptr) {
    const auto pair = qor::bench::best_times_alternating(ours, theirs, min_s);
    to = pair.first;
    tp = pair.second;
  } else {
    to = qor::bench::best_time(ours, min_s, 3);
  }
  te = qor::bench::best_time(eigen, min_s, 3);
  if (peer != nullptr && largest_gap(c, cp) > 1e-4) std::printf("  (OpenBLAS disagrees at n=%d)\n", n);
  if (largest_gap(c, ce) > 1e-4) std::printf("  (Eigen disagrees at n=%d)\n", n);
  qor::bench::Case cs{std::string(C::letter) + "gemm small", "gemm NN small", C::letter, "n=" + std::to_string(n), double(n)};
  qor::bench::report(cs, to / calls, "GFLOPS", flops * 1e-9, peer != nullptr ? "OpenBLAS" : "", tp / calls, "Eigen",
                     te / calls);
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  qor::bench::begin("blas_gemm_small", quick);
  qor_set_num_threads(1);
  qor::bench::openblas().set_threads(1);
  std::printf("small square GEMM, one thread, C = A B (rates in GFLOPS; ratios: peer time / ours)\n");
  const int sizes[] = {4, 8, 16, 24, 32, 48, 64, 96};
  for (int n : sizes) run<double>(n, quick);
  for (int n : sizes) run<float>(n, quick);
  for (int n : sizes) run<std::complex<double>>(n, quick);
  for (int n : sizes) run<std::complex<float>>(n, quick);
  return 0;
}
