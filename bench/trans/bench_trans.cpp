// Transposition and addition against OpenBLAS (domatcopy, dimatcopy, dgeadd),
// on one and two threads, with the machine's copy bandwidth for scale.
#include <omp.h>

#include <cstdio>
#include <cstring>
#include <algorithm>
#include <utility>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/trans.h"

namespace {

using qor::bench::openblas;
using qor::bench::report;

// CBLAS enumerations, as OpenBLAS takes them.
constexpr int kColMajor = 102, kNoTrans = 111, kTrans = 112;
using omatcopy_fn = void(int, int, int, int, double, const double*, int, double*, int);
using imatcopy_fn = void(int, int, int, int, double, double*, int, int);
using geadd_fn = void(int, int, int, double, const double*, int, double, double*, int);

std::string shape(std::size_t r, std::size_t c) { return std::to_string(r) + "x" + std::to_string(c); }

// On one thread the time is the calling thread's processor time, which a
// machine shared with other work does not inflate by preemption; on more
// threads it is elapsed time.
bool g_cpu_clock = true;

double seconds() { return g_cpu_clock ? qor::bench::thread_seconds() : qor::bench::now(); }

// Best times of two bodies measured in alternation, so that both see the
// same conditions.
template <class F, class G>
std::pair<double, double> duel(F&& ours, G&& peer, bool have_peer = true) {
  if (!have_peer) return {qor::bench::best_time(ours, 0.18, 12, seconds), 0.0};
  const auto t = qor::bench::best_times_alternating(ours, peer, 0.18, 6, 2, seconds);
  return {t.first, t.second};
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
    g_cpu_clock = threads == 1;
    std::printf("\n== %d thread%s, %s time (GB/s counts bytes read and written; ratio = OpenBLAS time / qor time)\n",
                threads, threads > 1 ? "s" : "", g_cpu_clock ? "processor" : "elapsed");
    for (const auto& s : shapes) {
      const std::size_t r = s[0], c = s[1], n = r * c;
      std::vector<double> a(n), b(n, 0.0), d(n, 0.0);
      for (std::size_t k = 0; k < n; ++k) a[k] = static_cast<double>(k % 1013) * 0.5;
      const double bytes2 = 2.0 * n * sizeof(double) / 1e9, bytes3 = 3.0 * n * sizeof(double) / 1e9;

      const auto [copy, unused] = duel([&] {
#pragma omp parallel num_threads(threads)
        {
          const std::size_t parts = omp_get_num_threads(), me = omp_get_thread_num();
          const std::size_t lo = n * me / parts, hi = n * (me + 1) / parts;
          std::memcpy(b.data() + lo, a.data() + lo, (hi - lo) * sizeof(double));
        }
      }, [] {}, false);
      (void)unused;
      report("memcpy", shape(r, c), copy, "GB/s", bytes2);

      for (char t : {'N', 'T'}) {
        const std::size_t ldb = t == 'N' ? r : c;
        const auto [ours, peer] = duel([&] { qor_domatcopy('C', t, r, c, 1.0, a.data(), r, b.data(), ldb); },
                                       [&] {
                                         ob_omatcopy(kColMajor, t == 'N' ? kNoTrans : kTrans, r, c, 1.0, a.data(), r,
                                                     d.data(), ldb);
                                       },
                                       ob_omatcopy != nullptr);
        report(std::string("omatcopy ") + t, shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
        if (t == 'T') std::printf("%-22s %-16s %.0f%% of memcpy\n", "", "", 100.0 * copy / ours);
      }
      {
        const auto [ours, peer] = duel([&] { qor_domatcopy('C', 'T', r, c, 2.0, a.data(), r, b.data(), c); },
                                       [&] { ob_omatcopy(kColMajor, kTrans, r, c, 2.0, a.data(), r, d.data(), c); },
                                       ob_omatcopy != nullptr);
        report("omatcopy T alpha 2", shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // In place: square with one leading dimension, or rectangular.
        const char* what = r == c ? "imatcopy T square" : "imatcopy T rect";
        const auto [ours, peer] = duel([&] { qor_dimatcopy('C', 'T', r, c, 1.0, b.data(), r, c); },
                                       [&] { ob_imatcopy(kColMajor, kTrans, r, c, 1.0, d.data(), r, c); },
                                       ob_imatcopy != nullptr);
        report(what, shape(r, c), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // c := alpha a + beta b against OpenBLAS's c := alpha a + beta c.
        const auto [ours, peer] = duel(
            [&] { qor_domatadd('C', 'N', 'N', r, c, 1.5, a.data(), r, 0.5, d.data(), r, b.data(), r); },
            [&] { ob_geadd(kColMajor, r, c, 1.5, a.data(), r, 0.5, d.data(), r); }, ob_geadd != nullptr);
        report("omatadd NN / geadd", shape(r, c), ours, "GB/s", bytes3, "OpenBLAS", peer);
      }
      {
        const auto [ours, none] = duel(
            [&] { qor_domatadd('C', 'N', 'T', r, c, 1.5, a.data(), r, 0.5, d.data(), c, b.data(), r); }, [] {}, false);
        (void)none;
        report("omatadd NT", shape(r, c), ours, "GB/s", bytes3);
      }
    }
  }
  return 0;
}
