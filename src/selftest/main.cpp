// qor-selftest: loads the libraries, prints what it found, and runs every
// registered check of every subsystem, one line each.
#include <chrono>
#include <cstdio>
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

}  // namespace

Registrar::Registrar(const char* subsystem, const char* name, CheckFn fn) { registry().push_back({subsystem, name, fn}); }

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace qor::selftest

int main(int argc, char** argv) {
  using namespace qor::selftest;
  const char* only = argc > 1 ? argv[1] : nullptr;  // optional subsystem filter

  std::printf("%s\n", qor_version_string());
  if (qor_member_load() != 0) {
    std::printf("FAIL  kernel library: %s\n", qor_member_error());
    return 1;
  }
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  std::printf("kernel library : %s (member %d)\n", qor_member_path(), qor_member_cpu_version());
  std::printf("processor      : %s family %#x model %#x stepping %d\n", f.vendor, f.family, f.model, f.stepping);
  std::printf("features       :%s%s%s%s%s%s%s%s\n", f.sse3 ? " sse3" : "", f.ssse3 ? " ssse3" : "",
              f.sse42 ? " sse4.2" : "", f.avx ? " avx" : "", f.avx2 ? " avx2" : "", f.fma ? " fma" : "",
              f.fma4 ? " fma4" : "", f.avx512f ? " avx512f" : "");
  std::printf("classes        : barcelona %d bulldozer %d zen %d clx %d icx %d\n", f.barcelona, f.bulldozer, f.zen,
              f.clx, f.icx);
  std::printf("caches         : L1d %lld KiB, L2 %lld KiB, L3 %lld KiB\n", static_cast<long long>(f.l1d_bytes >> 10),
              static_cast<long long>(f.l2_bytes >> 10), static_cast<long long>(f.l3_bytes >> 10));
  std::printf("processor path : %s (tier %d)\n\n", qor_cpu_path_name(qor_get_cpu_path()), qor_get_cpu_tier());

  int passed = 0, failed = 0;
  for (const auto& e : registry()) {
    if (only != nullptr && std::strcmp(only, e.subsystem) != 0) continue;
    double t0 = now();
    Result r = e.fn();
    double t = now() - t0;
    (r.ok ? passed : failed)++;
    std::printf("%-4s  %-10s %-34s err %9.2e", r.ok ? "ok" : "FAIL", e.subsystem, e.name, r.error);
    if (r.speed > 0) std::printf("  %9.2f %-8s", r.speed, r.unit.c_str());
    else std::printf("  %18s", "");
    std::printf("  %7.3fs  %s\n", t, r.detail.c_str());
  }
  std::printf("\nselftest: %d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
