// Transposition and addition against OpenBLAS (domatcopy, dimatcopy, dgeadd),
// on one and two threads, with the machine's copy bandwidth for scale.
//
//   bench_trans [quick]    quick: four shapes (also QOR_BENCH_QUICK=1)
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

// What a line measures: `what` is the printed label ("omatcopy T"), the
// operation of the rows; the working set is `arrays` matrices of r x c.
qor::bench::Case line_case(const char* what, std::size_t r, std::size_t c, int arrays, int threads) {
  qor::bench::Case k;
  k.what = what;
  k.operation = what;
  k.type = "d";
  k.size = shape(r, c);
  k.n = static_cast<double>(r * c);
  k.bytes = static_cast<double>(arrays) * static_cast<double>(r * c) * sizeof(double);
  k.threads = threads;
  return k;
}

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

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  qor::bench::begin("trans", quick);
  auto& ob = openblas();
  auto* ob_omatcopy = ob.fn<omatcopy_fn>("cblas_domatcopy");
  auto* ob_imatcopy = ob.fn<imatcopy_fn>("cblas_dimatcopy");
  auto* ob_geadd = ob.fn<geadd_fn>("cblas_dgeadd");
  const std::vector<std::pair<std::size_t, std::size_t>> shapes =
      quick ? std::vector<std::pair<std::size_t, std::size_t>>{{1000, 1000}, {2000, 2000}, {4000, 4000}, {1000, 7}}
            : std::vector<std::pair<std::size_t, std::size_t>>{
                  {250, 250}, {500, 500}, {1000, 1000}, {2000, 2000}, {4000, 4000}, {1000, 7}, {7, 1000}};

  for (int threads : {1, 2}) {
    omp_set_num_threads(threads);
    ob.set_threads(threads);
    g_cpu_clock = threads == 1;
    std::printf("\n== %d thread%s, %s time (GB/s counts bytes read and written; ratio = OpenBLAS time / qor time)\n",
                threads, threads > 1 ? "s" : "", g_cpu_clock ? "processor" : "elapsed");
    for (const auto& s : shapes) {
      const std::size_t r = s.first, c = s.second, n = r * c;
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
      std::printf("%-22s %-16s     %9.2f GB/s\n", "memcpy", shape(r, c).c_str(), bytes2 / copy);
      qor::bench::record_alone(line_case("memcpy", r, c, 2, threads), "machine", copy, "GB/s", bytes2);

      for (char t : {'N', 'T'}) {
        const std::size_t ldb = t == 'N' ? r : c;
        const auto [ours, peer] = duel([&] { qor_domatcopy('C', t, r, c, 1.0, a.data(), r, b.data(), ldb); },
                                       [&] {
                                         ob_omatcopy(kColMajor, t == 'N' ? kNoTrans : kTrans, r, c, 1.0, a.data(), r,
                                                     d.data(), ldb);
                                       },
                                       ob_omatcopy != nullptr);
        report(line_case(t == 'N' ? "omatcopy N" : "omatcopy T", r, c, 2, threads), ours, "GB/s", bytes2, "OpenBLAS",
               peer);
        if (t == 'T') std::printf("%-22s %-16s %.0f%% of memcpy\n", "", "", 100.0 * copy / ours);
      }
      {
        const auto [ours, peer] = duel([&] { qor_domatcopy('C', 'T', r, c, 2.0, a.data(), r, b.data(), c); },
                                       [&] { ob_omatcopy(kColMajor, kTrans, r, c, 2.0, a.data(), r, d.data(), c); },
                                       ob_omatcopy != nullptr);
        report(line_case("omatcopy T alpha 2", r, c, 2, threads), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // In place: square with one leading dimension, or rectangular.
        const char* what = r == c ? "imatcopy T square" : "imatcopy T rect";
        const auto [ours, peer] = duel([&] { qor_dimatcopy('C', 'T', r, c, 1.0, b.data(), r, c); },
                                       [&] { ob_imatcopy(kColMajor, kTrans, r, c, 1.0, d.data(), r, c); },
                                       ob_imatcopy != nullptr);
        report(line_case(what, r, c, 1, threads), ours, "GB/s", bytes2, "OpenBLAS", peer);
      }
      {
        // c := alpha a + beta b against OpenBLAS's c := alpha a + beta c.
        const auto [ours, peer] = duel(
            [&] { qor_domatadd('C', 'N', 'N', r, c, 1.5, a.data(), r, 0.5, d.data(), r, b.data(), r); },
            [&] { ob_geadd(kColMajor, r, c, 1.5, a.data(), r, 0.5, d.data(), r); }, ob_geadd != nullptr);
        report(line_case("omatadd NN / geadd", r, c, 3, threads), ours, "GB/s", bytes3, "OpenBLAS", peer);
      }
      {
        const auto [ours, none] = duel(
            [&] { qor_domatadd('C', 'N', 'T', r, c, 1.5, a.data(), r, 0.5, d.data(), c, b.data(), r); }, [] {}, false);
        (void)none;
        report(line_case("omatadd NT", r, c, 3, threads), ours, "GB/s", bytes3);
      }
    }
  }
  return 0;
}
