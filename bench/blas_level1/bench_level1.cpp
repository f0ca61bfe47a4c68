// Level 1 against OpenBLAS, side by side in one run, both on one thread:
// ddot, daxpy, dnrm2, idamax, dscal, their binary32 twins sdot, saxpy,
// snrm2 and isamax, and zdotc and zaxpy at lengths from 1,000 (in
// cache) to 10,000,000 (memory). Figures are GB/s of vector traffic and
// the ratio OpenBLAS time / qor time (above 1: qor is faster). For the
// in-cache size the line also gives bytes loaded per clock, to compare with
// the load-port bound of the bodies that run: two 16-byte loads a clock for
// the 128-bit ones, two 64-byte loads for the 512-bit ones.
//
//   bench_blas_level1 [quick|threads]  quick: one length per decade (also
//                                      QOR_BENCH_QUICK=1);
//                                      threads: let qor split long updates
#include <complex>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {

using Ddot = double(int, const double*, int, const double*, int);
using Daxpy = void(int, double, const double*, int, double*, int);
using Dnrm2 = double(int, const double*, int);
using Idamax = std::size_t(int, const double*, int);
using Dscal = void(int, double, double*, int);
using Zdotc = void(int, const void*, int, const void*, int, void*);
using Zaxpy = void(int, const void*, const void*, int, void*, int);
using Sdot = float(int, const float*, int, const float*, int);
using Saxpy = void(int, float, const float*, int, float*, int);
using Snrm2 = float(int, const float*, int);
using Isamax = std::size_t(int, const float*, int);

std::vector<double> filled(std::size_t n, unsigned seed) {
  std::vector<double> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = 0.5 + 1e-3 * static_cast<double>((i * 7919 + seed) % 1000);
  return v;
}

// The clock rate the core actually runs at (turbo included), from a chain of
// dependent integer multiplications, three clocks each on every x86-64 core
// of the last fifteen years (additions are no yardstick: some cores fold
// chains of them).
double clock_ghz() {
  constexpr long steps = 100000000;
  long v = 3;
  const double t0 = qor::bench::thread_seconds();
  for (long i = 0; i < steps / 8; ++i)
    asm volatile("imul %0, %0\n\timul %0, %0\n\timul %0, %0\n\timul %0, %0\n\t"
                 "imul %0, %0\n\timul %0, %0\n\timul %0, %0\n\timul %0, %0"
                 : "+r"(v));
  return 3.0 * static_cast<double>(steps) / (qor::bench::thread_seconds() - t0) / 1e9;
}

// `what` is the routine's name ("ddot"); the rows give the operation
// without its type letter, and the working set of the vectors in bytes.
struct Runner {
  double ghz;
  int threads;
  double bound;  // bytes a clock the loads of the bodies in force can take
  void line(const char* what, long n, double bytes, double loads, double ours, double peer, double footprint) {
    qor::bench::Case c;
    c.what = what;
    c.size = "n=" + std::to_string(n);
    const bool index = what[0] == 'i';  // idamax: the type letter is the second
    c.type = std::string(1, what[index ? 1 : 0]);
    c.operation = index ? std::string("i") + (what + 2) : std::string(what + 1);
    c.n = static_cast<double>(n);
    c.bytes = footprint;
    c.threads = threads;
    qor::bench::report(c, ours, "GB/s", bytes / 1e9, "OpenBLAS", peer);
    if (n <= 1000 && ghz > 0)
      std::printf("%-22s %-16s   loads %.1f bytes/clock of a %.0f bytes/clock bound (%.0f%%) at %.2f GHz\n", "", "",
                  loads / ours / (ghz * 1e9), bound, 100.0 * loads / ours / (ghz * 1e9) / bound, ghz);
  }
};

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  const bool threads = argc > 1 && std::strcmp(argv[1], "threads") == 0;
  qor::bench::begin("blas_level1", quick);
  if (!threads) qor_set_num_threads(1);
  auto& ob = qor::bench::openblas();
  ob.set_threads(1);
  auto* o_ddot = ob.fn<Ddot>("cblas_ddot");
  auto* o_daxpy = ob.fn<Daxpy>("cblas_daxpy");
  auto* o_dnrm2 = ob.fn<Dnrm2>("cblas_dnrm2");
  auto* o_idamax = ob.fn<Idamax>("cblas_idamax");
  auto* o_dscal = ob.fn<Dscal>("cblas_dscal");
  auto* o_zdotc = ob.fn<Zdotc>("cblas_zdotc_sub");
  auto* o_zaxpy = ob.fn<Zaxpy>("cblas_zaxpy");
  auto* o_sdot = ob.fn<Sdot>("cblas_sdot");
  auto* o_saxpy = ob.fn<Saxpy>("cblas_saxpy");
  auto* o_snrm2 = ob.fn<Snrm2>("cblas_snrm2");
  auto* o_isamax = ob.fn<Isamax>("cblas_isamax");
  if (!o_ddot || !o_daxpy || !o_dnrm2 || !o_idamax || !o_dscal || !o_zdotc || !o_zaxpy || !o_sdot || !o_saxpy ||
      !o_snrm2 || !o_isamax) {
    std::fprintf(stderr, "bench_blas_level1: OpenBLAS not available\n");
    return 1;
  }
  Runner run{clock_ghz(), qor_get_max_threads(), qor_get_cpu_path() == QOR_CPU_PATH_AVX512 ? 128.0 : 32.0};
  std::printf("Level 1, %s, GB/s of vector traffic; ratio = OpenBLAS time / qor time (cpu path %s)\n",
              threads ? "qor threaded, OpenBLAS one thread" : "one thread", qor_cpu_path_name(qor_get_cpu_path()));
  const std::vector<long> sizes = quick ? std::vector<long>{1000, 10000, 100000, 1000000, 10000000}
                                        : std::vector<long>{1000, 3000, 10000, 30000, 100000, 300000, 1000000,
                                                            3000000, 10000000};
  for (long n : sizes) {
    const int ni = static_cast<int>(n);
    const double secs = n >= 10000000 ? 0.6 : 0.25;
    const double dn = static_cast<double>(n);
    auto x = filled(n, 1), y = filled(n, 2);
    volatile double sink = 0;

    auto t = qor::bench::best_times_alternating([&] { sink = sink + cblas_ddot(ni, x.data(), 1, y.data(), 1); },
        [&] { sink = sink + o_ddot(ni, x.data(), 1, y.data(), 1); }, secs);
    double ours = t.first;
    double peer = t.second;
    run.line("ddot", n, 16 * dn, 16 * dn, ours, peer, 16 * dn);

    // alpha keeps y bounded over many repetitions: y += a x with a tiny a.
    t = qor::bench::best_times_alternating([&] { cblas_daxpy(ni, 1e-9, x.data(), 1, y.data(), 1); },
        [&] { o_daxpy(ni, 1e-9, x.data(), 1, y.data(), 1); }, secs);
    ours = t.first;
    peer = t.second;
    run.line("daxpy", n, 24 * dn, 16 * dn, ours, peer, 16 * dn);

    t = qor::bench::best_times_alternating([&] { sink = sink + cblas_dnrm2(ni, x.data(), 1); },
        [&] { sink = sink + o_dnrm2(ni, x.data(), 1); }, secs);
    ours = t.first;
    peer = t.second;
    run.line("dnrm2", n, 8 * dn, 8 * dn, ours, peer, 8 * dn);

    t = qor::bench::best_times_alternating([&] { sink = sink + static_cast<double>(cblas_idamax(ni, x.data(), 1)); },
        [&] { sink = sink + static_cast<double>(o_idamax(ni, x.data(), 1)); }, secs);
    ours = t.first;
    peer = t.second;
    run.line("idamax", n, 8 * dn, 8 * dn, ours, peer, 8 * dn);

    // Scale by 1 - 1e-12 alternately up and down keeps x bounded.
    t = qor::bench::best_times_alternating([&] { cblas_dscal(ni, 1.0 + 1e-12, x.data(), 1); },
        [&] { o_dscal(ni, 1.0 - 1e-12, x.data(), 1); }, secs);
    ours = t.first;
    peer = t.second;
    run.line("dscal", n, 16 * dn, 8 * dn, ours, peer, 8 * dn);

    x.clear();
    x.shrink_to_fit();
    y.clear();
    y.shrink_to_fit();
    {
      std::vector<float> sx(n), sy(n);
      for (long i = 0; i < n; ++i) {
        sx[i] = static_cast<float>(0.5 + 1e-3 * static_cast<double>((i * 7919 + 5) % 1000));
        sy[i] = static_cast<float>(0.5 + 1e-3 * static_cast<double>((i * 7919 + 6) % 1000));
      }
      volatile float fsink = 0;
      t = qor::bench::best_times_alternating([&] { fsink = fsink + cblas_sdot(ni, sx.data(), 1, sy.data(), 1); },
          [&] { fsink = fsink + o_sdot(ni, sx.data(), 1, sy.data(), 1); }, secs);
      run.line("sdot", n, 8 * dn, 8 * dn, t.first, t.second, 8 * dn);
      t = qor::bench::best_times_alternating([&] { cblas_saxpy(ni, 1e-9f, sx.data(), 1, sy.data(), 1); },
          [&] { o_saxpy(ni, 1e-9f, sx.data(), 1, sy.data(), 1); }, secs);
      run.line("saxpy", n, 12 * dn, 8 * dn, t.first, t.second, 8 * dn);
      t = qor::bench::best_times_alternating([&] { fsink = fsink + cblas_snrm2(ni, sx.data(), 1); },
          [&] { fsink = fsink + o_snrm2(ni, sx.data(), 1); }, secs);
      run.line("snrm2", n, 4 * dn, 4 * dn, t.first, t.second, 4 * dn);
      t = qor::bench::best_times_alternating(
          [&] { fsink = fsink + static_cast<float>(cblas_isamax(ni, sx.data(), 1)); },
          [&] { fsink = fsink + static_cast<float>(o_isamax(ni, sx.data(), 1)); }, secs);
      run.line("isamax", n, 4 * dn, 4 * dn, t.first, t.second, 4 * dn);
    }
    auto zx = filled(2 * n, 3), zy = filled(2 * n, 4);
    std::complex<double> r;
    t = qor::bench::best_times_alternating([&] { cblas_zdotc_sub(ni, zx.data(), 1, zy.data(), 1, &r); },
        [&] { o_zdotc(ni, zx.data(), 1, zy.data(), 1, &r); }, secs);
    ours = t.first;
    peer = t.second;
    run.line("zdotc", n, 32 * dn, 32 * dn, ours, peer, 32 * dn);
    sink = sink + r.real();
    const std::complex<double> za(1e-9, -1e-9);
    t = qor::bench::best_times_alternating([&] { cblas_zaxpy(ni, &za, zx.data(), 1, zy.data(), 1); },
        [&] { o_zaxpy(ni, &za, zx.data(), 1, zy.data(), 1); }, secs);
    run.line("zaxpy", n, 48 * dn, 32 * dn, t.first, t.second, 32 * dn);
  }
  return 0;
}
