// Transposition and addition against OpenBLAS (domatcopy, dimatcopy, dgeadd),
// on one and two threads, with the machine's copy bandwidth for scale.
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/trans.h"

namespace {

using qor::bench::best_time;
using qor::bench::openblas;
using qor::bench::report;

// CBLAS enumerations, as OpenBLAS takes them.
constexpr int kColMajor = 102, kNoTrans = 111, kTrans = 112;
using omatcopy_fn = void(int, int, int, int, double, const double*, int, double*, int);
using imatcopy_fn = void(int, int, int, int, double, double*, int, int);
using geadd_fn = void(int, int, int, double, const double*, int, double, double*, int);

std::string shape(std::size_t r, std::size_t c) { return std::to_string(r) + "x" + std::to_string(c); }

// memcpy over the threads, each copying its own part.
double copy_time(std::vector<double>& dst, const std::vector<double>& src, int threads) {
  return best_time([&] {
#pragma omp parallel num_threads(threads)
    {
      const std::size_t n = src.size(), parts = omp_get_num_threads(), me = omp_get_thread_num();
      const std::size_t lo = n * me / parts, hi = n * (me + 1) / parts;
      std::memcpy(dst.data() + lo, src.data() + lo, (hi - lo) * sizeof(double));
    }
  });
}

}  // namespace

int main() {
  auto& ob = openblas();
  auto* ob_omatcopy = ob.fn<omatcopy_fn>("cblas_domatcopy");
  auto* ob_imatcopy = ob.fn<imatcopy_fn>("cblas_dimatcopy");
  auto* ob_geadd = ob.fn<geadd_fn>("cblas_dgeadd");
  const std::size_t shapes[][2] = {{1000, 1000}, {4000, 4000}, {1000, 7}};

  for (int threads : {1, 2}) {
    omp_set_num_threads(threads);
    ob.set_threads(threads);
    std::printf("\n== %d thread%s (GB/s counts bytes read and written; ratio = OpenBLAS time / qor time)\n", threads,
                threads > 1 ? "s" : "");
    for (const auto& s : shapes) {
      const std::size_t r = s[0], c = s[1], n = r * c;
      std::vector<double> a(n), b(n, 0.0), d(n, 0.0);
      for (std::size_t k = 0; k < n; ++k) a[k] = static_cast<double>(k % 1013) * 0.5;
      const double bytes2 = 2.0 * n * sizeof(double) / 1e9, bytes3 = 3.0 * n * sizeof(double) / 1e9;

      report("memcpy", shape(r, c), copy_time(b, a, threads), "GB/s", bytes2);

      for (char t : {'N', 'T'}) {
        const std::size_t ldb = t == 'N' ? r : c;
        const double ours =
            best_time([&] { qor_domatcopy('C', t, r, c, 1.0, a.data(), r, b.data(), ldb); });
        const double peer = ob_omatcopy ? best_time([&] {
          ob_omatcopy(kColMajor, t == 'N' ? kNoTrans : kTrans, r, c, 1.0, a.data(), r, d.data(), ldb);
        }) : 0;
        report(std::string("omatcopy ") + t, shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        const double ours = best_time([&] { qor_domatcopy('C', 'T', r, c, 2.0, a.data(), r, b.data(), c); });
        const double peer = ob_omatcopy ? best_time([&] {
          ob_omatcopy(kColMajor, kTrans, r, c, 2.0, a.data(), r, d.data(), c);
        }) : 0;
        report("omatcopy T alpha 2", shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // In place: square with one leading dimension, or rectangular.
        const char* what = r == c ? "imatcopy T square" : "imatcopy T rect";
        const double ours = best_time([&] { qor_dimatcopy('C', 'T', r, c, 1.0, b.data(), r, c); });
        const double peer = ob_imatcopy ? best_time([&] {
          ob_imatcopy(kColMajor, kTrans, r, c, 1.0, d.data(), r, c);
        }) : 0;
        report(what, shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // c := alpha a + beta b against OpenBLAS's c := alpha a + beta c.
        const double ours = best_time([&] {
          qor_domatadd('C', 'N', 'N', r, c, 1.5, a.data(), r, 0.5, d.data(), r, b.data(), r);
        });
        const double peer = ob_geadd ? best_time([&] { ob_geadd(kColMajor, r, c, 1.5, a.data(), r, 0.5, d.data(), r); })
                                     : 0;
        report("omatadd NN / geadd", shape(r, c), ours, "GB/s", bytes3, "OpenBLAS", peer);
      }
      {
        const double ours = best_time([&] {
          qor_domatadd('C', 'N', 'T', r, c, 1.5, a.data(), r, 0.5, d.data(), c, b.data(), r);
        });
        report("omatadd NT", shape(r, c), ours, "GB/s", bytes3);
      }
    }
  }
  return 0;
}
