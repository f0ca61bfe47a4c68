// The machine's own references for the benchmark figures, measured on one
// run: the floating-point peak of one thread at each vector width it has
// (double and single), and memcpy bandwidth against size on one thread and
// on all. Prints a table and, with QOR_BENCH_OUT set, writes the figures as
// rows of the benchmark "reference" (library "machine").
//
//   bench-reference [quick]    quick: fewer copy sizes
#include <cstdio>
#include <string>

#include "common/bench.h"
#include "common/reference.h"
#include "qor/qor.h"

namespace {

std::string bytes_label(double b) {
  const char* units[] = {"B", "KiB", "MiB", "GiB"};
  int u = 0;
  while (b >= 1024 && u < 3) {
    b /= 1024;
    ++u;
  }
  char buf[32];
  std::snprintf(buf, sizeof buf, "%g %s", b, units[u]);
  return buf;
}

}  // namespace

int main(int argc, char** argv) {
  const bool quick = qor::bench::quick_requested(argc, argv);
  qor::bench::begin("reference", quick);
  const auto& m = qor::bench::machine();
  std::printf("%s; qor path %s (%d-bit %s); widest vector %d bits; %d cores, %d logical processors\n",
              m.processor.c_str(), m.path.c_str(), m.vector_bits, m.isa.c_str(), m.machine_vector_bits, m.cores,
              m.logical);

  std::printf("\n-- peak of one thread (measured, GFLOP/s)\n");
  const auto peaks = qor::bench::measure_peaks();
  for (const auto& p : peaks)
    std::printf("%-22s %-16s %9.2f GFLOP/s\n", p.type == 'd' ? "peak double" : "peak single",
                (std::to_string(p.bits) + "-bit " + p.how).c_str(), p.gflops);
  qor::bench::record_peaks(peaks);

  std::printf("\n-- memcpy bandwidth (GB/s, bytes read + bytes written)\n");
  const int all = m.max_threads > 1 ? m.max_threads : 1;
  for (int threads : {1, all}) {
    for (double b = 4096; b <= (quick ? 64.0 : 256.0) * 1048576; b *= quick ? 4 : 2) {
      if (threads > 1 && b < 65536) continue;  // a team costs more than such a copy
      // A team is easily held up on a machine shared with other work: it
      // gets more rounds to find its best.
      const double gbs =
          qor::bench::copy_gbs(static_cast<std::size_t>(b), threads, (b >= 16e6 ? 0.3 : 0.12) * (threads > 1 ? 2 : 1));
      qor::bench::Case c;
      c.what = "copy";
      c.operation = "copy";
      c.size = bytes_label(b);
      c.n = b;
      c.bytes = 2 * b;
      c.threads = threads;
      std::printf("%-22s %-16s %9.2f GB/s\n", ("memcpy " + std::to_string(threads) + "t").c_str(), c.size.c_str(), gbs);
      std::fflush(stdout);
      qor::bench::record_alone(c, "machine", 2 * b * 1e-9 / gbs, "GB/s", 2 * b * 1e-9);
    }
    if (all == 1) break;
  }
  return 0;
}
