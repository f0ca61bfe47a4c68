// qor-selftest: loads the libraries, prints what it found, and runs every
// registered check of every subsystem, one line each.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "check.h"
#include "qor/qor.h"

namespace qor::selftest {
namespace {

struct Entry {
  const char* subsystem;
  const char* name;
  CheckFn fn;
};

std::vector<Entry>& registry() {
  static std::vector<Entry> r;
  return r;
}

bool g_long = false;

void usage(const char* self) {
  std::printf("usage: %s [--long] [subsystem]\n"
              "  runs every self-check (or those of one subsystem) and prints one line each:\n"
              "  result, largest error against the reference, speed, time, what was checked.\n"
              "  --long  larger sizes (minutes instead of seconds)\n"
              "subsystems:",
              self);
  const char* last = "";
  for (const auto& e : registry())
    if (std::strcmp(e.subsystem, last) != 0) std::printf(" %s", last = e.subsystem);
  std::printf("\n");
}

// Progress goes to standard error while a person watches it, as one line
// rewritten in place; in CI or into a file the output stays as it is.
bool show_progress() {
  const char* ci = std::getenv("CI");
  return isatty(STDERR_FILENO) && isatty(STDOUT_FILENO) && (ci == nullptr || *ci == '\0');
}

}  // namespace

bool long_run() { return g_long; }

Registrar::Registrar(const char* subsystem, const char* name, CheckFn fn) { registry().push_back({subsystem, name, fn}); }

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace qor::selftest

int main(int argc, char** argv) {
  using namespace qor::selftest;
  const char* only = nullptr;  // optional subsystem filter
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
      usage(argv[0]);
      return 0;
    }
    if (std::strcmp(argv[i], "--long") == 0) {
      g_long = true;
    } else if (argv[i][0] != '-' && only == nullptr) {
      only = argv[i];
    } else {
      usage(argv[0]);
      return 2;
    }
  }
  int selected = 0;
  for (const auto& e : registry()) selected += only == nullptr || std::strcmp(only, e.subsystem) == 0;
  if (selected == 0) {
    std::printf("no checks for subsystem '%s'\n", only);
    usage(argv[0]);
    return 2;
  }

  std::printf("%s\n", qor_version_string());
  if (qor_member_load() != 0) {
    std::printf("FAIL  kernel library: %s\n", qor_member_error());
    return 1;
  }
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  std::printf("kernel library : %s (member %d)\n", qor_member_path(), qor_member_cpu_version());
  std::printf("processor      : %s family %#x model %#x stepping %d\n", f.vendor, f.family, f.model, f.stepping);
  std::printf("features       :%s%s%s%s%s%s%s%s%s%s%s\n", f.sse3 ? " sse3" : "", f.ssse3 ? " ssse3" : "",
              f.sse42 ? " sse4.2" : "", f.avx ? " avx" : "", f.avx2 ? " avx2" : "", f.fma ? " fma" : "",
              f.fma4 ? " fma4" : "", f.avx512f ? " avx512f" : "", f.avx512bw ? " avx512bw" : "",
              f.avx512dq ? " avx512dq" : "", f.avx512vl ? " avx512vl" : "");
  std::printf("classes        : barcelona %d bulldozer %d zen %d avx512 %d clx %d icx %d\n", f.barcelona, f.bulldozer,
              f.zen, f.avx512, f.clx, f.icx);
  // Each size with the CPUID leaf it came from: the deterministic leaf
  // (0x8000001d or 4) or an older one (0x80000005/0x80000006 or 2).
  auto cache = [](const char* level, int64_t bytes, unsigned leaf) {
    if (bytes > 0)
      std::printf(" %s %lld KiB (leaf %#x)", level, static_cast<long long>(bytes >> 10), leaf);
    else
      std::printf(" %s not reported", level);
  };
  std::printf("caches         :");
  cache("L1d", f.l1d_bytes, f.l1d_leaf);
  cache("L2", f.l2_bytes, f.l2_leaf);
  cache("L3", f.l3_bytes, f.l3_leaf);
  if (f.l1d_bytes <= 0 || f.l2_bytes <= 0)
    std::printf(" (kernels size their blocks for L1d %lld KiB, L2 %lld KiB)",
                static_cast<long long>(qor_cache_bytes(1) >> 10), static_cast<long long>(qor_cache_bytes(2) >> 10));
  std::printf("\n");
  std::printf("processor path : %s (tier %d)\n\n", qor_cpu_path_name(qor_get_cpu_path()), qor_get_cpu_tier());

  int passed = 0, failed = 0, done = 0;
  const bool progress = show_progress();
  std::fflush(stdout);
  for (const auto& e : registry()) {
    if (only != nullptr && std::strcmp(only, e.subsystem) != 0) continue;
    if (progress) std::fprintf(stderr, "\r[%d/%d] %s %s ...", ++done, selected, e.subsystem, e.name);
    double t0 = now();
    Result r = e.fn();
    double t = now() - t0;
    if (progress) std::fprintf(stderr, "\r\033[K");
    (r.ok ? passed : failed)++;
    std::printf("%-4s  %-10s %-34s err %9.2e", r.ok ? "ok" : "FAIL", e.subsystem, e.name, r.error);
    if (r.speed > 0) std::printf("  %9.2f %-8s", r.speed, r.unit.c_str());
    else std::printf("  %18s", "");
    std::printf("  %7.3fs  %s\n", t, r.detail.c_str());
  }
  std::printf("\nselftest: %d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
