#include "common/reference.h"

#include <omp.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/bench.h"
#include "qor/qor.h"

namespace qor::bench {

namespace {

// Ten independent accumulator chains cover the latency of two FMA units
// (four or five clocks each); sources and accumulators start at zero, so no
// operand is ever subnormal.
constexpr long kIterations = 20000000;
constexpr int kPerIteration = 20;  // instructions per loop trip

#define QOR_ZERO16                                                                                  \
  "vxorps %%xmm0,%%xmm0,%%xmm0\n\tvxorps %%xmm1,%%xmm1,%%xmm1\n\tvxorps %%xmm2,%%xmm2,%%xmm2\n\t"    \
  "vxorps %%xmm3,%%xmm3,%%xmm3\n\tvxorps %%xmm4,%%xmm4,%%xmm4\n\tvxorps %%xmm5,%%xmm5,%%xmm5\n\t"    \
  "vxorps %%xmm6,%%xmm6,%%xmm6\n\tvxorps %%xmm7,%%xmm7,%%xmm7\n\tvxorps %%xmm8,%%xmm8,%%xmm8\n\t"    \
  "vxorps %%xmm9,%%xmm9,%%xmm9\n\tvxorps %%xmm14,%%xmm14,%%xmm14\n\tvxorps %%xmm15,%%xmm15,%%xmm15\n"
#define QOR_FMA1(op, r, k) op " %%" r "14,%%" r "15,%%" r #k "\n\t"
#define QOR_FMA10(op, r)                                                                                 \
  QOR_FMA1(op, r, 0) QOR_FMA1(op, r, 1) QOR_FMA1(op, r, 2) QOR_FMA1(op, r, 3) QOR_FMA1(op, r, 4)         \
  QOR_FMA1(op, r, 5) QOR_FMA1(op, r, 6) QOR_FMA1(op, r, 7) QOR_FMA1(op, r, 8) QOR_FMA1(op, r, 9)
#define QOR_FMA_LOOP(op, r)                                                                              \
  long it = kIterations;                                                                                 \
  asm volatile(QOR_ZERO16 "1:\n\t" QOR_FMA10(op, r) QOR_FMA10(op, r) "dec %0\n\tjnz 1b\n\tvzeroupper"   \
               : "+r"(it)::"xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", \
                 "xmm14", "xmm15", "cc")

__attribute__((target("avx,fma"))) void fma128d() { QOR_FMA_LOOP("vfmadd231pd", "xmm"); }
__attribute__((target("avx,fma"))) void fma128s() { QOR_FMA_LOOP("vfmadd231ps", "xmm"); }
__attribute__((target("avx,fma"))) void fma256d() { QOR_FMA_LOOP("vfmadd231pd", "ymm"); }
__attribute__((target("avx,fma"))) void fma256s() { QOR_FMA_LOOP("vfmadd231ps", "ymm"); }
__attribute__((target("avx512f"))) void fma512d() { QOR_FMA_LOOP("vfmadd231pd", "zmm"); }
__attribute__((target("avx512f"))) void fma512s() { QOR_FMA_LOOP("vfmadd231ps", "zmm"); }

// SSE2 without FMA: a multiply into a temporary and an add into the chain,
// two flops per lane over two instructions.
#define QOR_MULADD1(mul, add, mov, k, t) \
  mov " %%xmm15,%%xmm" #t "\n\t" mul " %%xmm14,%%xmm" #t "\n\t" add " %%xmm" #t ",%%xmm" #k "\n\t"
#define QOR_MULADD10(mul, add, mov)                                                                            \
  QOR_MULADD1(mul, add, mov, 0, 10) QOR_MULADD1(mul, add, mov, 1, 11) QOR_MULADD1(mul, add, mov, 2, 12)        \
  QOR_MULADD1(mul, add, mov, 3, 13) QOR_MULADD1(mul, add, mov, 4, 10) QOR_MULADD1(mul, add, mov, 5, 11)        \
  QOR_MULADD1(mul, add, mov, 6, 12) QOR_MULADD1(mul, add, mov, 7, 13) QOR_MULADD1(mul, add, mov, 8, 10)        \
  QOR_MULADD1(mul, add, mov, 9, 11)
#define QOR_MULADD_LOOP(mul, add, mov, zero)                                                                   \
  long it = kIterations;                                                                                       \
  asm volatile(zero " %%xmm0,%%xmm0\n\t" zero " %%xmm1,%%xmm1\n\t" zero " %%xmm2,%%xmm2\n\t" zero             \
                    " %%xmm3,%%xmm3\n\t" zero " %%xmm4,%%xmm4\n\t" zero " %%xmm5,%%xmm5\n\t" zero              \
                    " %%xmm6,%%xmm6\n\t" zero " %%xmm7,%%xmm7\n\t" zero " %%xmm8,%%xmm8\n\t" zero              \
                    " %%xmm9,%%xmm9\n\t" zero " %%xmm14,%%xmm14\n\t" zero " %%xmm15,%%xmm15\n"                 \
                    "1:\n\t" QOR_MULADD10(mul, add, mov) QOR_MULADD10(mul, add, mov) "dec %0\n\tjnz 1b"       \
               : "+r"(it)::"xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",       \
                 "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "cc")

void muladd128d() { QOR_MULADD_LOOP("mulpd", "addpd", "movapd", "xorpd"); }
void muladd128s() { QOR_MULADD_LOOP("mulps", "addps", "movaps", "xorps"); }

}  // namespace

double peak_gflops(int bits, char type, bool fma, int reps) {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  void (*loop)() = nullptr;
  if (!fma) {
    if (bits == 128) loop = type == 'd' ? muladd128d : muladd128s;
  } else if (bits == 128 && f.avx && f.fma) {
    loop = type == 'd' ? fma128d : fma128s;
  } else if (bits == 256 && f.avx && f.fma) {
    loop = type == 'd' ? fma256d : fma256s;
  } else if (bits == 512 && f.avx512f) {
    loop = type == 'd' ? fma512d : fma512s;
  }
  if (loop == nullptr) return 0;
  const double lanes = bits / (type == 'd' ? 64.0 : 32.0);
  const double flops = static_cast<double>(kIterations) * kPerIteration * lanes * 2;
  double best = 1e300;
  for (int r = 0; r < reps; ++r) {
    const double t0 = thread_seconds();
    loop();
    best = std::min(best, thread_seconds() - t0);
  }
  return flops / best * 1e-9;
}

std::vector<Peak> measure_peaks(int reps) {
  std::vector<Peak> out;
  for (char type : {'d', 's'}) {
    out.push_back({128, type, "mul+add", peak_gflops(128, type, false, reps)});
    for (int bits : {128, 256, 512})
      if (double g = peak_gflops(bits, type, true, reps); g > 0) out.push_back({bits, type, "FMA", g});
  }
  return out;
}

void record_peaks(const std::vector<Peak>& peaks) {
  for (const auto& p : peaks) {
    Row r;
    r.operation = p.how == "FMA" ? "peak fma" : "peak mul+add";
    r.type = std::string(1, p.type);
    r.size = std::to_string(p.bits) + "-bit " + p.how;
    r.n = p.bits;
    r.threads = 1;
    r.library = "machine";
    r.rate = p.gflops;
    r.unit = "GFLOP/s";
    r.seconds = 1.0 / p.gflops;  // per GFLOP
    record(r);
  }
}

double best_peak(const std::vector<Peak>& peaks, char type) {
  double best = 0;
  for (auto& p : peaks)
    if (p.type == type) best = std::max(best, p.gflops);
  return best;
}

double copy_gbs(std::size_t bytes, int threads, double min_seconds) {
  // Buffers of whole pages, written once so that no first-touch fault is
  // timed.
  const std::size_t words = (bytes + 7) / 8;
  auto* a = static_cast<double*>(std::aligned_alloc(4096, (words * 8 + 4095) / 4096 * 4096));
  auto* b = static_cast<double*>(std::aligned_alloc(4096, (words * 8 + 4095) / 4096 * 4096));
  for (std::size_t i = 0; i < words; ++i) a[i] = b[i] = static_cast<double>(i & 1023);
  auto body = [&] {
    if (threads <= 1) {
      std::memcpy(b, a, words * 8);
      return;
    }
#pragma omp parallel num_threads(threads)
    {
      const std::size_t parts = static_cast<std::size_t>(omp_get_num_threads());
      const std::size_t me = static_cast<std::size_t>(omp_get_thread_num());
      const std::size_t lo = words * me / parts, hi = words * (me + 1) / parts;
      std::memcpy(b + lo, a + lo, (hi - lo) * 8);
    }
  };
  // Small copies are timed in batches, so that reading the clock stays a
  // small part of what is measured.
  const long batch = std::max<long>(1, static_cast<long>((1u << 20) / std::max<std::size_t>(bytes, 1)));
  const double t = best_time(
      [&] {
        for (long k = 0; k < batch; ++k) {
          body();
          asm volatile("" ::: "memory");  // every copy happens
        }
      },
      min_seconds, 5, threads <= 1 ? thread_seconds : now) / static_cast<double>(batch);
  std::free(a);
  std::free(b);
  return 2.0 * static_cast<double>(words * 8) / t * 1e-9;
}

}  // namespace qor::bench
