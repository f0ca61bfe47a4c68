// Self-checks of the frame: the member, the processor paths and the services.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "check.h"
#include "frame/services.h"
#include "qor/qor.h"

using qor::selftest::Result;

QOR_SELFTEST("frame", member_identity) {
  Result r;
  r.ok = qor_member_cpu_version() == 0;
  r.detail = "dll_cpu_version() == 0";
  return r;
}

QOR_SELFTEST("frame", processor_paths) {
  Result r;
  std::string runnable;
  int restore = qor_get_cpu_path();
  for (int p = QOR_CPU_PATH_BASELINE; p <= QOR_CPU_PATH_AVX512; ++p) {
    if (!qor_cpu_path_supported(p)) continue;
    r.ok &= qor_set_cpu_path(p) == 0 && qor_get_cpu_path() == p;
    runnable += std::string(" ") + qor_cpu_path_name(p);
  }
  qor_set_cpu_path(restore);
  r.detail = "runnable:" + runnable;
  return r;
}

QOR_SELFTEST("frame", allocation_pairs) {
  Result r;
  qor_alloc_counts before, after;
  qor_alloc_stats(QOR_POOL_BOTH, &before);
  const int n = 20000;
  double t0 = qor::selftest::now();
  for (int i = 0; i < n; ++i) {
    int align = 1 << (i % 13);
    void* a = qor_serv_allocate(1 + i % 4000, align);
    void* m = qor_serv_malloc(1 + i % 4000, align);
    r.ok &= a != nullptr && m != nullptr && reinterpret_cast<std::uintptr_t>(a) % align == 0 &&
            reinterpret_cast<std::uintptr_t>(m) % align == 0;
    qor_serv_deallocate(a);
    qor_serv_free(m);
  }
  double t = qor::selftest::now() - t0;
  qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
  r.ok &= qor_serv_allocate(8, 64) == nullptr;
  qor_fault_reset();
  qor_alloc_stats(QOR_POOL_BOTH, &after);
  r.ok &= after.live == before.live;
  r.speed = 2.0 * n / t / 1e6;
  r.unit = "Malloc/s";
  r.detail = "alignments 1..4096, fault injection, no leak";
  return r;
}

QOR_SELFTEST("frame", sincospi) {
  Result r;
  for (int k = -8; k <= 8; ++k) {
    double s, c;
    qor_serv_libm_sincospi(k * 0.5, &s, &c);
    r.ok &= std::fabs(s) + std::fabs(c) == 1.0;
  }
  for (int i = 1; i < 1000; ++i) {
    double x = i / 997.0, s, c;
    qor_serv_libm_sincospi(x, &s, &c);
    long double ls = sinl(x * 3.14159265358979323846264338327950288L);
    r.error = std::fmax(r.error, std::fabs(static_cast<double>(s - ls)));
  }
  r.ok &= r.error < 4e-16;
  r.detail = "exact at multiples of 1/2; abs error vs long double";
  return r;
}

QOR_SELFTEST("frame", text_services) {
  Result r;
  char buf[8];
  r.ok &= qor_serv_sprintf_s(buf, sizeof buf, "%s", "overflowing") == -1 && std::strlen(buf) == 7;
  r.ok &= qor_serv_strncpy_s(buf, sizeof buf, "abc", 3) == 0 && qor_serv_strncat_s(buf, sizeof buf, "defg", 4) == 0 &&
          std::strcmp(buf, "abcdefg") == 0;
  r.ok &= std::strstr(qor_serv_get_msg(565, 1, "x"), "x") != nullptr;
  r.detail = "bounded text, message catalogue";
  return r;
}
