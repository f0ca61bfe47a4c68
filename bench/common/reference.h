// Measured references for the benchmark figures: the floating-point peak of
// one core, and the copy bandwidth of the memory hierarchy against size.
// Both are measured on the machine at hand, never taken from a data sheet.
#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace qor::bench {

// One measured peak of one thread.
struct Peak {
  int bits;          // vector width: 128, 256, 512
  char type;         // 'd' or 's'
  std::string how;   // "FMA" or "mul+add" (separate multiply and add, no FMA)
  double gflops;
};

// Flops per second of one thread issuing independent `bits`-wide FMAs (or,
// with fma false, 128-bit multiplies and adds as SSE2 code does) in double
// ('d') or single ('s'), best of `reps` runs; 0 when the machine lacks the
// instructions. Timed by the thread's processor time.
double peak_gflops(int bits, char type, bool fma, int reps = 5);

// Every peak this machine can show: 128-bit multiply and add, then FMA at
// 128, 256 and 512 bits where present, for double and single.
std::vector<Peak> measure_peaks(int reps = 5);

// Records the peaks as rows: operation "peak fma" or "peak mul+add",
// library "machine", size the width.
void record_peaks(const std::vector<Peak>& peaks);

// The best measured peak for `type` ('d' or 's'): the widest FMA.
double best_peak(const std::vector<Peak>& peaks, char type);

// GB/s of memcpy between two buffers of `bytes` each, counting the bytes
// read and the bytes written, on `threads` threads (each copies its share);
// best time over at least `min_seconds`.
double copy_gbs(std::size_t bytes, int threads, double min_seconds = 0.15);

}  // namespace qor::bench
