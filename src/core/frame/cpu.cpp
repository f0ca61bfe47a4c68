// Processor facts from CPUID, the processor path and the tier.
//
// Facts are read once. The answers the kernel member gets (cpuiszen and its
// kin) follow the path in force, which is the automatic choice unless the
// environment or a test set another. All answers are plain loads.
#include <cpuid.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "frame/cpu_caches.h"
#include "frame/diag.h"
#include "frame/services.h"
#include "qor/qor.h"

namespace {

constexpr int kLastPath = QOR_CPU_PATH_AVX512;

struct Facts {
  qor_cpu_facts f{};
  int auto_path = QOR_CPU_PATH_BASELINE;
};

unsigned long long xgetbv0() {
  unsigned lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (static_cast<unsigned long long>(hi) << 32) | lo;
}

// Size in bytes of the data or unified cache of a level, from the
// deterministic cache leaves (4 on Intel, 0x8000001D on AMD).
int64_t cache_bytes(unsigned leaf, unsigned max_leaf, int level) {
  if (max_leaf < leaf) return 0;
  for (unsigned i = 0; i < 16; ++i) {
    unsigned a, b, c, d;
    __cpuid_count(leaf, i, a, b, c, d);
    unsigned type = a & 31;
    if (type == 0) break;
    if (static_cast<int>((a >> 5) & 7) != level || type == 2) continue;  // skip instruction caches
    int64_t ways = ((b >> 22) & 0x3ff) + 1, parts = ((b >> 12) & 0x3ff) + 1, line = (b & 0xfff) + 1;
    return ways * parts * line * (static_cast<int64_t>(c) + 1);
  }
  return 0;
}

// Sizes from the descriptors of leaf 2 (Intel and others).
void legacy_intel_caches(unsigned max_leaf, int64_t out[3]) {
  if (max_leaf < 2) return;
  unsigned r[4];
  __cpuid(2, r[0], r[1], r[2], r[3]);
  qor::core::caches_from_descriptors(r, out);
}

// Sizes from AMD's older leaves 0x80000005 and 0x80000006.
void legacy_amd_caches(unsigned max_ext, int64_t out[3]) {
  unsigned a, b, c, d;
  if (max_ext >= 0x80000005) {
    __cpuid(0x80000005, a, b, c, d);
    qor::core::l1_from_amd_leaf5(c, out);
  }
  if (max_ext >= 0x80000006) {
    __cpuid(0x80000006, a, b, c, d);
    qor::core::l2_l3_from_amd_leaf6(c, d, out);
  }
}

// Each level from the deterministic leaf, else from the older leaves, with
// the leaf it came from.
void read_caches(bool amd, unsigned max_leaf, unsigned max_ext, qor_cpu_facts& f) {
  const unsigned leaf = amd ? 0x8000001d : 4, max = amd ? max_ext : max_leaf;
  int64_t* size[3] = {&f.l1d_bytes, &f.l2_bytes, &f.l3_bytes};
  unsigned* from[3] = {&f.l1d_leaf, &f.l2_leaf, &f.l3_leaf};
  int64_t legacy[3] = {0, 0, 0};
  if (amd) legacy_amd_caches(max_ext, legacy);
  else legacy_intel_caches(max_leaf, legacy);
  const unsigned legacy_leaf[3] = {amd ? 0x80000005u : 2u, amd ? 0x80000006u : 2u, amd ? 0x80000006u : 2u};
  for (int level = 1; level <= 3; ++level) {
    int64_t bytes = cache_bytes(leaf, max, level);
    unsigned src = bytes > 0 ? leaf : 0;
    if (bytes <= 0 && legacy[level - 1] > 0) {
      bytes = legacy[level - 1];
      src = legacy_leaf[level - 1];
    }
    *size[level - 1] = bytes > 0 ? bytes : 0;
    *from[level - 1] = src;
  }
}

Facts detect() {
  Facts r;
  qor_cpu_facts& f = r.f;
  unsigned a, b, c, d;
  __cpuid(0, a, b, c, d);
  unsigned max_leaf = a;
  std::memcpy(f.vendor + 0, &b, 4);
  std::memcpy(f.vendor + 4, &d, 4);
  std::memcpy(f.vendor + 8, &c, 4);
  f.vendor[12] = '\0';
  __cpuid(1, a, b, c, d);
  unsigned base_family = (a >> 8) & 15, base_model = (a >> 4) & 15;
  f.family = static_cast<int>(base_family == 15 ? base_family + ((a >> 20) & 0xff) : base_family);
  f.model = static_cast<int>((base_family == 6 || base_family == 15) ? (((a >> 16) & 15) << 4) | base_model : base_model);
  f.stepping = static_cast<int>(a & 15);
  f.sse3 = (c >> 0) & 1;
  f.ssse3 = (c >> 9) & 1;
  f.sse41 = (c >> 19) & 1;
  f.sse42 = (c >> 20) & 1;
  f.popcnt = (c >> 23) & 1;
  bool osxsave = (c >> 27) & 1;
  // XCR0 may be read only when the OS has enabled XSAVE. Bits 1 and 2 are
  // the SSE and 256-bit state, 5 to 7 the mask registers and the two halves
  // of the 512-bit state.
  const unsigned long long xcr0 = osxsave ? xgetbv0() : 0;
  bool ymm_ok = (xcr0 & 6) == 6;
  bool zmm_ok = (xcr0 & 0xe6) == 0xe6;
  f.avx = ymm_ok && ((c >> 28) & 1);
  f.fma = f.avx && ((c >> 12) & 1);
  if (max_leaf >= 7) {
    __cpuid_count(7, 0, a, b, c, d);
    f.avx2 = f.avx && ((b >> 5) & 1);
    f.avx512f = zmm_ok && ((b >> 16) & 1);
    f.avx512dq = zmm_ok && ((b >> 17) & 1);
    f.avx512bw = zmm_ok && ((b >> 30) & 1);
    f.avx512vl = zmm_ok && ((b >> 31) & 1);
  }
  f.avx512 = f.avx512f && f.avx512bw && f.avx512dq && f.avx512vl && f.fma;
  __cpuid(0x80000000, a, b, c, d);
  unsigned max_ext = a;
  if (max_ext >= 0x80000001) {
    __cpuid(0x80000001, a, b, c, d);
    f.fma4 = f.avx && ((c >> 16) & 1);
  }

  bool amd = std::strcmp(f.vendor, "AuthenticAMD") == 0;
  bool intel = std::strcmp(f.vendor, "GenuineIntel") == 0;
  f.barcelona = amd && (f.family == 0x10 || f.family == 0x12 || f.family == 0x14);
  f.bulldozer = amd && f.family == 0x15;
  f.zen = amd && f.family >= 0x17;
  f.clx = intel && f.family == 6 && f.model == 0x55 && f.stepping >= 5;
  f.icx = intel && f.family == 6 && (f.model == 0x6a || f.model == 0x6c);

  read_caches(amd, max_leaf, max_ext, f);

  if (f.barcelona) r.auto_path = QOR_CPU_PATH_BARCELONA;
  else if (f.bulldozer && f.fma) r.auto_path = QOR_CPU_PATH_BULLDOZER;
  else if (f.avx512) r.auto_path = QOR_CPU_PATH_AVX512;
  else if (f.avx2 && f.fma) r.auto_path = QOR_CPU_PATH_ZEN;
  return r;
}

const Facts& facts() {
  static const Facts f = detect();
  return f;
}

bool executable(int path) {
  const qor_cpu_facts& f = facts().f;
  switch (path) {
    case QOR_CPU_PATH_BASELINE: return true;
    case QOR_CPU_PATH_BARCELONA: return f.sse3 && f.ssse3;
    case QOR_CPU_PATH_BULLDOZER: return f.avx && f.fma && f.sse42;
    case QOR_CPU_PATH_ZEN: return f.avx2 && f.fma;
    case QOR_CPU_PATH_AVX512: return f.avx512 && f.avx2;
    default: return false;
  }
}

// The path QOR_CPU_PATH asks for. A name that is not a path, or a path
// this machine cannot execute, falls back to the automatic choice, and
// `why` says so for the warning.
int path_from_env(const char** why) {
  *why = nullptr;
  const char* env = std::getenv("QOR_CPU_PATH");
  if (env == nullptr || *env == '\0' || strcasecmp(env, "auto") == 0) return facts().auto_path;
  for (int p = QOR_CPU_PATH_BASELINE; p <= kLastPath; ++p) {
    if (strcasecmp(env, qor_cpu_path_name(p)) != 0) continue;
    if (executable(p)) return p;
    *why = "names a path this processor cannot execute";
    return facts().auto_path;
  }
  *why = "is not one of baseline, barcelona, bulldozer, zen, avx512, auto";
  return facts().auto_path;
}

// Path and tier in force. -2 marks "not yet initialised".
std::atomic<int> g_path{-2};
std::atomic<int> g_tier{0};
std::atomic<int64_t> g_hits[kLastPath + 1];
// Hits are counted only once someone has asked for them: a locked
// increment on every kernel call costs a small transform a few percent and
// makes the threads of a parallel run fight over one cache line.
std::atomic<bool> g_counting{false};
// Moves on every change that may change an answer; kernels that keep an
// answer compare it (qor_serv_cpu_generation). It starts at 1 so that a
// kept word of 0 never matches.
std::atomic<std::uint32_t> g_generation{1};

// Reads the environment on first use; of threads racing here, only the one
// that sets the path warns about a bad QOR_CPU_PATH, so the warning comes
// once per process.
int first_path() {
  const char* why = nullptr;
  int want = path_from_env(&why);
  int unset = -2;
  if (g_path.compare_exchange_strong(unset, want, std::memory_order_relaxed) && why != nullptr) {
    char text[256];
    std::snprintf(text, sizeof text, "QOR_CPU_PATH=%.64s %s; using the automatic path (%s)",
                  std::getenv("QOR_CPU_PATH"), why, qor_cpu_path_name(want));
    qor::core::report(QOR_MSG_WARNING, "QOR_CPU_PATH", text);
  }
  return g_path.load(std::memory_order_relaxed);
}

inline int path() {
  int p = g_path.load(std::memory_order_relaxed);
  return p != -2 ? p : first_path();
}

// Yes when the path in force is `which`, or is the 512-bit path and `which`
// the Zen class, whose AVX2/FMA bodies it runs where a family has no
// 512-bit body. The hit goes to the path in force.
inline int answer(int which) {
  const int p = path();
  if (p != which && !(which == QOR_CPU_PATH_ZEN && p == QOR_CPU_PATH_AVX512)) return 0;
  if (g_counting.load(std::memory_order_relaxed)) g_hits[p].fetch_add(1, std::memory_order_relaxed);
  return 1;
}

}  // namespace

void qor::core::cpu_answers_changed() { g_generation.fetch_add(1, std::memory_order_release); }

extern "C" {

QOR_API void qor_get_cpu_facts(qor_cpu_facts* out) {
  if (out != nullptr) *out = facts().f;
}

QOR_API const char* qor_cpu_path_name(int p) {
  switch (p) {
    case QOR_CPU_PATH_AUTO: return "auto";
    case QOR_CPU_PATH_BASELINE: return "baseline";
    case QOR_CPU_PATH_BARCELONA: return "barcelona";
    case QOR_CPU_PATH_BULLDOZER: return "bulldozer";
    case QOR_CPU_PATH_ZEN: return "zen";
    case QOR_CPU_PATH_AVX512: return "avx512";
    default: return "unknown";
  }
}

QOR_API int qor_cpu_path_supported(int p) { return p == QOR_CPU_PATH_AUTO || executable(p); }

QOR_API int qor_set_cpu_path(int p) {
  if (p == QOR_CPU_PATH_AUTO) p = facts().auto_path;
  if (p < QOR_CPU_PATH_BASELINE || p > kLastPath) return -2;
  if (!executable(p)) return -1;
  g_path.store(p, std::memory_order_relaxed);
  qor::core::cpu_answers_changed();
  return 0;
}

QOR_API int qor_get_cpu_path(void) { return path(); }

QOR_API int64_t qor_cpu_path_hits(int p) {
  g_counting.store(true, std::memory_order_relaxed);
  if (p < QOR_CPU_PATH_BASELINE || p > kLastPath) return 0;
  return g_hits[p].load(std::memory_order_relaxed);
}

QOR_API void qor_set_cpu_tier(int tier) {
  g_tier.store(tier < 0 ? 0 : tier, std::memory_order_relaxed);
  qor::core::cpu_answers_changed();
}
QOR_API int qor_get_cpu_tier(void) { return g_tier.load(std::memory_order_relaxed); }

// The core loads only the generic member, so every processor is of tier 0
// unless a test sets another tier.
QOR_SERV_API int qor_serv_cpu_detect(void) { return g_tier.load(std::memory_order_relaxed); }
QOR_SERV_API int qor_serv_cpuisitbarcelona(void) { return answer(QOR_CPU_PATH_BARCELONA); }
QOR_SERV_API int qor_serv_cpuisbulldozer(void) { return answer(QOR_CPU_PATH_BULLDOZER); }
QOR_SERV_API int qor_serv_cpuiszen(void) { return answer(QOR_CPU_PATH_ZEN); }
QOR_SERV_API int qor_serv_cpuisavx512(void) { return answer(QOR_CPU_PATH_AVX512); }
QOR_SERV_API const std::atomic<std::uint32_t>* qor_serv_cpu_generation(void) { return &g_generation; }
QOR_SERV_API int qor_serv_cpuisclx(void) { return facts().f.clx; }
QOR_SERV_API int qor_serv_cpuisicx(void) { return facts().f.icx; }

// Where the processor reports no caches, kernels size their blocks for a
// 32 KiB first level and a 512 KiB second level, which every x86-64
// processor of the last fifteen years has at least.
QOR_API int64_t qor_cache_bytes(int level) {
  const qor_cpu_facts& f = facts().f;
  int64_t l1 = f.l1d_bytes > 0 ? f.l1d_bytes : int64_t{32} << 10;
  int64_t l2 = f.l2_bytes > 0 ? f.l2_bytes : int64_t{512} << 10;
  switch (level) {
    case 1: return l1;
    case 2: return l2;
    case 3: return f.l3_bytes;
    default: return f.l3_bytes != 0 ? f.l3_bytes : l2;
  }
}

QOR_SERV_API int64_t qor_serv_get_cache_size(int level) { return qor_cache_bytes(level); }

}  // extern "C"
