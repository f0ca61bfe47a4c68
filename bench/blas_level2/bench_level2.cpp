// Level 2 against OpenBLAS, side by side in one run, both on one thread:
// dgemv (both letters), dsymv (both triangles), dger, zgemv and zhemv at n
// from 100 to 4000.
// Figures are GB/s of matrix traffic (A read once; ger reads and writes it;
// symv reads one triangle) and the ratio OpenBLAS time / qor time.
//
//   bench_blas_level2 [quick | n...]     quick: four sizes (also
//                                        QOR_BENCH_QUICK=1); or the sizes given
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

using Dgemv = void(int, int, int, int, double, const double*, int, const double*, int, double, double*, int);
using Dsymv = void(int, int, int, double, const double*, int, const double*, int, double, double*, int);
using Dger = void(int, int, int, double, const double*, int, const double*, int, double*, int);
using Zgemv = void(int, int, int, int, const void*, const void*, int, const void*, int, const void*, void*, int);
using Zhemv = void(int, int, int, const void*, const void*, int, const void*, int, const void*, void*, int);

std::vector<double> filled(std::size_t n, double seed) {
  std::vector<double> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = 0.5 + 1e-3 * static_cast<double>((i * 7919 + static_cast<std::size_t>(seed)) % 1000);
  return v;
}

// Enough repetitions for a stable best time, fewer for the big sizes.
double min_seconds(int n) { return n >= 4000 ? 0.6 : 0.25; }

// Our best time and the peer's (0 when the peer lacks the routine), timed
// in alternating rounds.
template <class F, class G>
qor::bench::Pair side_by_side(bool have_peer, F&& ours, G&& peer, double sec) {
  if (!have_peer) return {qor::bench::best_time(ours, sec), 0};
  return qor::bench::best_times_alternating(ours, peer, sec);
}

// One line and its rows: `what` is "dgemv N"; the rows give the operation
// without the type letter and the matrix's bytes as the working set.
void line(const char* what, int n, double matrix_bytes, double ours, double traffic_gb, const std::string& peer,
          double peer_s) {
  qor::bench::Case c;
  c.what = what;
  c.operation = what + 1;
  c.type = std::string(1, what[0]);
  c.size = "n=" + std::to_string(n);
  c.n = n;
  c.bytes = matrix_bytes;
  c.threads = 1;
  qor::bench::report(c, ours, "GB/s", traffic_gb, peer, peer_s);
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  qor::bench::begin("blas_level2", quick);
  qor_set_num_threads(1);
  auto& ob = qor::bench::openblas();
  ob.set_threads(1);
  auto* o_dgemv = ob.fn<Dgemv>("cblas_dgemv");
  auto* o_dsymv = ob.fn<Dsymv>("cblas_dsymv");
  auto* o_dger = ob.fn<Dger>("cblas_dger");
  auto* o_zgemv = ob.fn<Zgemv>("cblas_zgemv");
  auto* o_zhemv = ob.fn<Zhemv>("cblas_zhemv");
  std::printf("Level 2, one thread, GB/s of matrix traffic; ratio = OpenBLAS time / qor time (cpu path %s)\n",
              qor_cpu_path_name(qor_get_cpu_path()));
  std::vector<int> sizes = quick ? std::vector<int>{100, 300, 1000, 3000}
                                 : std::vector<int>{100, 200, 400, 700, 1000, 2000, 4000};
  if (argc > 1 && std::strcmp(argv[1], "quick") != 0) {
    sizes.clear();
    for (int i = 1; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
  }
  for (int n : sizes) {
    const double nn = static_cast<double>(n) * n;
    auto a = filled(static_cast<std::size_t>(n) * n, 1);
    auto x = filled(n, 2), y = filled(n, 3);
    const double sec = min_seconds(n);
    for (auto tr : {CblasNoTrans, CblasTrans}) {
      const auto [ours, peer] = side_by_side(
          o_dgemv != nullptr, [&] { cblas_dgemv(CblasColMajor, tr, n, n, 1.0, a.data(), n, x.data(), 1, 0.5, y.data(), 1); },
          [&] {
        o_dgemv(CblasColMajor, tr, n, n, 1.0, a.data(), n, x.data(), 1, 0.5, y.data(), 1);
      }, sec);
      line(tr == CblasNoTrans ? "dgemv N" : "dgemv T", n, 8 * nn, ours, 8 * nn / 1e9, ob.label(), peer);
    }
    for (auto ul : {CblasLower, CblasUpper}) {
      const auto [ours, peer] = side_by_side(
          o_dsymv != nullptr, [&] { cblas_dsymv(CblasColMajor, ul, n, 1.0, a.data(), n, x.data(), 1, 0.5, y.data(), 1); },
          [&] {
        o_dsymv(CblasColMajor, ul, n, 1.0, a.data(), n, x.data(), 1, 0.5, y.data(), 1);
      }, sec);
      line(ul == CblasLower ? "dsymv L" : "dsymv U", n, 8 * nn, ours, 4 * nn / 1e9, ob.label(), peer);
    }
    {
      // alpha small so that repeated updates stay bounded.
      const auto [ours, peer] = side_by_side(
          o_dger != nullptr, [&] { cblas_dger(CblasColMajor, n, n, 1e-9, x.data(), 1, y.data(), 1, a.data(), n); },
          [&] {
        o_dger(CblasColMajor, n, n, 1e-9, x.data(), 1, y.data(), 1, a.data(), n);
      }, sec);
      line("dger", n, 8 * nn, ours, 16 * nn / 1e9, ob.label(), peer);
    }
    {
      auto za = filled(2 * static_cast<std::size_t>(n) * n, 4);
      auto zx = filled(2 * static_cast<std::size_t>(n), 5), zy = filled(2 * static_cast<std::size_t>(n), 6);
      const std::complex<double> al(1.0, 0.5), be(0.5, 0.0);
      for (auto tr : {CblasNoTrans, CblasConjTrans}) {
        const auto [ours, peer] = side_by_side(
            o_zgemv != nullptr, [&] {
          cblas_zgemv(CblasColMajor, tr, n, n, &al, za.data(), n, zx.data(), 1, &be, zy.data(), 1);
        },
            [&] {
          o_zgemv(CblasColMajor, tr, n, n, &al, za.data(), n, zx.data(), 1, &be, zy.data(), 1);
        }, sec);
        line(tr == CblasNoTrans ? "zgemv N" : "zgemv C", n, 16 * nn, ours, 16 * nn / 1e9, ob.label(), peer);
      }
      const auto [ours, peer] = side_by_side(
          o_zhemv != nullptr, [&] {
        cblas_zhemv(CblasColMajor, CblasLower, n, &al, za.data(), n, zx.data(), 1, &be, zy.data(), 1);
      },
          [&] {
        o_zhemv(CblasColMajor, CblasLower, n, &al, za.data(), n, zx.data(), 1, &be, zy.data(), 1);
      }, sec);
      line("zhemv L", n, 16 * nn, ours, 8 * nn / 1e9, ob.label(), peer);
    }
  }
  return 0;
}
