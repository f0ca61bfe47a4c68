// Machine-readable results of the benchmarks. When QOR_BENCH_OUT names a
// directory, each benchmark program writes <dir>/<benchmark>.jsonl: JSON
// Lines, one object per line, whose "record" field says what it is:
//
//   machine  processor model, the vector width qor's processor path uses and
//            the widest the machine has, cores, threads available, load
//            average, date
//   peer     a peer library and the kernels it chose on this machine
//   row      one figure: benchmark, operation, type, size, threads, library,
//            rate (GFLOP/s or GB/s), seconds per call and ratio
//
// The ratio is the peer's time over ours (above 1: qor is faster); it is 1
// on our own rows and on measured references. tools/bench_report.py reads
// these files; nothing is written when the variable is unset.
#pragma once
#include <string>

namespace qor::bench {

// Starts the results of benchmark `name` (the directory under bench/):
// truncates its file and writes the machine record. `quick` says that the
// smaller size set ran. Without a call, the first row opens a file named
// after the program.
void begin(const char* name, bool quick = false);

// True when "quick" is among the arguments or QOR_BENCH_QUICK is set to
// anything but 0 (tools/bench.sh --quick sets it for every benchmark).
bool quick_requested(int argc, char** argv);

// One row. `n` is the size as a number (the matrix order, the vector or
// transform length, the element count), `bytes` the working set in bytes
// where the figure is a bandwidth (0 elsewhere).
struct Row {
  std::string operation;  // "gemm NN", "dot", "omatcopy T", "fwd", "fma"
  std::string type;       // "s", "d", "c", "z", or "" when it has none
  std::string size;       // as printed: "1000x1000x1000", "n=4000", "256-bit"
  double n = 0;
  double bytes = 0;
  int threads = 1;
  std::string library;    // "qor", "OpenBLAS", "BLIS", "FFTW", "machine"
  std::string path;       // qor's processor path for its rows, "" otherwise
  double rate = 0;
  std::string unit;       // "GFLOP/s" or "GB/s"
  double seconds = 0;
  double ratio = 1;
};
void record(const Row& row);

// A peer's kernel choice: `kernels` names what it runs on this machine,
// `config` is its own description of the build, `note` anything about how
// it was loaded (environment settings set aside).
void record_peer(const std::string& library, const std::string& kernels, const std::string& config,
                 const std::string& note = "");

// Facts about the machine and qor's choice on it, as printed in titles.
struct Machine {
  std::string processor;  // model name from /proc/cpuinfo, else CPUID's brand string
  std::string path;       // qor's processor path in force
  int vector_bits;        // the width qor's path computes with
  std::string isa;        // its instruction sets, "AVX2/FMA"
  int machine_vector_bits;  // the widest the machine executes
  int cores, logical, max_threads;
};
const Machine& machine();
// "256-bit AVX2/FMA" for a processor path.
std::string path_isa(int path, int* bits = nullptr);

}  // namespace qor::bench
