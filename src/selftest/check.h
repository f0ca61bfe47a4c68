// The self-check registry. A check returns whether it passed, the largest
// error it saw against its reference, and optionally a speed figure.
#pragma once
#include <string>

namespace qor::selftest {

struct Result {
  bool ok = true;
  double error = 0.0;   // largest error against the reference (relative, or ulps as the check says)
  double speed = 0.0;   // optional throughput figure
  std::string unit;     // unit of speed, e.g. "GFLOP/s", "GB/s"
  std::string detail;   // what was checked, or what went wrong
};

using CheckFn = Result (*)();

struct Registrar {
  Registrar(const char* subsystem, const char* name, CheckFn fn);
};

// Seconds since an arbitrary start, for speed figures.
double now();

// True under --long: checks may then take larger sizes (longer errors
// checks, out-of-cache transforms), at the cost of minutes instead of
// seconds.
bool long_run();

}  // namespace qor::selftest

#define QOR_SELFTEST(subsystem, name)                                                  \
  static ::qor::selftest::Result selftest_##name();                                    \
  static const ::qor::selftest::Registrar selftest_reg_##name(subsystem, #name, &selftest_##name); \
  static ::qor::selftest::Result selftest_##name()
