// The transform engine against FFTW, side by side: complex forward
// transforms out of place, one thread, FFTW plans made with FFTW_MEASURE,
// the two timed in alternation.
// Figures are 5 n log2 n / time in GFLOP/s; the ratio is FFTW's time over
// ours (above 1: we are faster).
//
//   bench_dft [z|c] [quick | length...]
//     z, c:   double or single precision only
//     quick:  powers of two up to 2^20 by fours, and a few other lengths
//             (also QOR_BENCH_QUICK=1)
#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/dft_primitive.h"

namespace {

using qor::bench::report;

double flops(long n) { return 5.0 * n * std::log2(static_cast<double>(n)) * 1e-9; }

void fill(double* x, long count) {
  for (long i = 0; i < count; ++i) x[i] = std::sin(0.37 * i) + 0.25 * std::cos(1.91 * i);
}
void fill(float* x, long count) {
  for (long i = 0; i < count; ++i) x[i] = static_cast<float>(std::sin(0.37 * i) + 0.25 * std::cos(1.91 * i));
}

double seconds_for(long n) { return n >= (1L << 20) ? 0.2 : 0.1; }

// Calls per timed sample: short transforms run in batches of about 16384
// elements, so that reading the clock (tens of nanoseconds) does not make
// up a large part of what is timed. Times are per call.
long batch_for(long n) { return n >= 16384 ? 1 : 16384 / n; }

// Times one transform of ours against FFTW's plan in batches, three rounds
// of each, alternating, so that a busy spell of the machine hits both alike;
// prints the line.
template <class Ours, class Theirs>
void compare(const char* label, long n, Ours ours, Theirs theirs) {
  qor::bench::Case c;
  c.what = label;
  c.type = std::string(1, label[0]);
  c.operation = label + 2;
  c.size = std::to_string(n);
  c.n = static_cast<double>(n);
  const long reps = batch_for(n);
  const auto [t_qor, t_fftw] = qor::bench::best_times_alternating(
      [&] {
        for (long k = 0; k < reps; ++k) ours();
      },
      [&] {
        for (long k = 0; k < reps; ++k) theirs();
      },
      3 * seconds_for(n));
  report(c, t_qor / reps, "GFLOP/s", flops(n), "FFTW", t_fftw / reps);
}

void bench_double(long n) {
  qor_zups_dft_spec* spec = nullptr;
  if (qor_dft_zupsDFXInitAlloc_C_64fc(&spec, static_cast<int>(n), QOR_ZUPS_NODIV_BY_ANY, 0) != 0) {
    std::printf("z n=%ld: no plan\n", n);
    return;
  }
  int bsize = 0;
  qor_dft_zupsDFTGetBufSize_C_64fc(spec, &bsize);
  std::vector<unsigned char> buf(static_cast<std::size_t>(bsize) + 64);
  auto* in = static_cast<qor_zups_64fc*>(fftw_malloc(sizeof(qor_zups_64fc) * n));
  auto* out = static_cast<qor_zups_64fc*>(fftw_malloc(sizeof(qor_zups_64fc) * n));
  fftw_plan plan = fftw_plan_dft_1d(static_cast<int>(n), reinterpret_cast<fftw_complex*>(in),
                                    reinterpret_cast<fftw_complex*>(out), FFTW_FORWARD, FFTW_MEASURE);
  fill(reinterpret_cast<double*>(in), 2 * n);
  compare(
      "z fwd", n, [&] { qor_dft_zupsDFTFwd_CToC_64fc(in, out, spec, buf.data()); }, [&] { fftw_execute(plan); });
  fftw_destroy_plan(plan);
  fftw_free(in);
  fftw_free(out);
  qor_dft_zupsDFTFree_C_64fc(spec);
}

void bench_single(long n) {
  qor_zups_dft_spec* spec = nullptr;
  if (qor_dft_zupsDFXInitAlloc_C_32fc(&spec, static_cast<int>(n), QOR_ZUPS_NODIV_BY_ANY, 0) != 0) {
    std::printf("c n=%ld: no plan\n", n);
    return;
  }
  int bsize = 0;
  qor_dft_zupsDFTGetBufSize_C_32fc(spec, &bsize);
  std::vector<unsigned char> buf(static_cast<std::size_t>(bsize) + 64);
  auto* in = static_cast<qor_zups_32fc*>(fftwf_malloc(sizeof(qor_zups_32fc) * n));
  auto* out = static_cast<qor_zups_32fc*>(fftwf_malloc(sizeof(qor_zups_32fc) * n));
  fftwf_plan plan = fftwf_plan_dft_1d(static_cast<int>(n), reinterpret_cast<fftwf_complex*>(in),
                                      reinterpret_cast<fftwf_complex*>(out), FFTW_FORWARD, FFTW_MEASURE);
  fill(reinterpret_cast<float*>(in), 2 * n);
  compare(
      "c fwd", n, [&] { qor_dft_zupsDFTFwd_CToC_32fc(in, out, spec, buf.data()); }, [&] { fftwf_execute(plan); });
  fftwf_destroy_plan(plan);
  fftwf_free(in);
  fftwf_free(out);
  qor_dft_zupsDFTFree_C_32fc(spec);
}

}  // namespace

// Arguments: optionally "z" or "c" for one precision only, then optional
// lengths to run instead of the standard list.
int main(int argc, char** argv) {
  std::vector<long> lengths;
  bool z = true, c = true;
  int first = 1;
  if (argc > 1 && (std::strcmp(argv[1], "z") == 0 || std::strcmp(argv[1], "c") == 0)) {
    z = argv[1][0] == 'z';
    c = !z;
    first = 2;
  }
  const bool quick = qor::bench::quick_requested(argc, argv);
  for (int i = first; i < argc; ++i)
    if (std::strcmp(argv[i], "quick") != 0) lengths.push_back(std::strtol(argv[i], nullptr, 10));
  if (lengths.empty()) {
    for (int e = 6; e <= (quick ? 20 : 22); e += quick ? 2 : 1) lengths.push_back(1L << e);
    for (long n : quick ? std::vector<long>{1000L, 100000L, 97L, 10007L}
                        : std::vector<long>{1000L, 1536L, 100000L, 59049L, 97L, 10007L, 1000003L})
      lengths.push_back(n);
  }
  qor::bench::begin("dft", quick);
  // FFTW picks its codelets plan by plan; its build says which instruction
  // sets it may pick from.
  std::printf("peer FFTW: %s (%s), plans by FFTW_MEASURE\n", fftw_version, fftw_cc);
  qor::bench::record_peer("FFTW", fftw_version, fftw_cc, "plans by FFTW_MEASURE");
  std::printf("complex forward, out of place, one thread; GFLOP/s = 5 n log2 n / time\n");
  if (z)
    for (long n : lengths) bench_double(n);
  if (c)
    for (long n : lengths) bench_single(n);
  return 0;
}
