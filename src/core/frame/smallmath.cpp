// Small mathematics and the lock word.
#include <atomic>
#include <cmath>
#include <cstdint>
#include <sched.h>

#include "frame/services.h"

namespace {

// sin and cos of pi*x. The argument is reduced exactly: fmod by 2 is exact,
// and so are doubling and subtracting a multiple of 1/2, which leaves
// f in [-1/4, 1/4] and a quadrant q. Multiples of 1/2 give exact 0 and 1,
// and large arguments lose nothing in the reduction.
void sincospi(double x, double* s, double* c) {
  if (!std::isfinite(x)) {
    *s = *c = std::nan("");
    return;
  }
  double r = std::fmod(x, 2.0);             // exact, |r| < 2
  double q = std::nearbyint(2.0 * r);       // nearest multiple of 1/2
  double f = r - 0.5 * q;                   // exact, |f| <= 1/4
  long double t = static_cast<long double>(f) * 3.14159265358979323846264338327950288L;
  double sf = f == 0.0 ? 0.0 : static_cast<double>(sinl(t));
  double cf = f == 0.0 ? 1.0 : static_cast<double>(cosl(t));
  switch (static_cast<int>(q) & 3) {
    case 0: *s = sf; *c = cf; break;
    case 1: *s = cf; *c = -sf; break;
    case 2: *s = -sf; *c = -cf; break;
    default: *s = -cf; *c = sf; break;
  }
  if (*c == 0.0) *c = 0.0;  // no negative zero for cos at odd halves
}

}  // namespace

extern "C" {

QOR_SERV_API float qor_serv_c_abs(const float* c) { return std::hypot(c[0], c[1]); }
QOR_SERV_API double qor_serv_z_abs(const double* z) { return std::hypot(z[0], z[1]); }
QOR_SERV_API double qor_serv_d_sign(const double* a, const double* b) { return std::copysign(std::fabs(*a), *b); }
QOR_SERV_API float qor_serv_s_sign(const float* a, const float* b) { return std::copysign(std::fabs(*a), *b); }

// The integer as a floating value rounded upwards, so that converting the
// result back never gives less than the integer.
QOR_SERV_API double qor_serv_int2d_ceil(const std::int64_t* n) {
  double d = static_cast<double>(*n);
  if (d < 0x1p63 && static_cast<std::int64_t>(d) < *n) d = std::nextafter(d, INFINITY);
  return d;
}
QOR_SERV_API float qor_serv_int2f_ceil(const std::int64_t* n) {
  float f = static_cast<float>(*n);
  if (f < 0x1p63f && static_cast<std::int64_t>(f) < *n) f = std::nextafter(f, INFINITY);
  return f;
}

QOR_SERV_API double qor_serv_libm_sin(double x) { return std::sin(x); }
QOR_SERV_API double qor_serv_libm_cos(double x) { return std::cos(x); }
QOR_SERV_API void qor_serv_libm_sincospi(double x, double* s, double* c) {
  double ls, lc;
  sincospi(x, &ls, &lc);
  if (s != nullptr) *s = ls;
  if (c != nullptr) *c = lc;
}
QOR_SERV_API void qor_serv_libm_sincospif(float x, float* s, float* c) {
  double ls, lc;
  sincospi(static_cast<double>(x), &ls, &lc);
  if (s != nullptr) *s = static_cast<float>(ls);
  if (c != nullptr) *c = static_cast<float>(lc);
}

// A test-and-set lock on the caller's word: spin briefly, then yield.
QOR_SERV_API void qor_serv_lock(int* word) {
  std::atomic_ref<int> w(*word);
  for (int spins = 0;; ++spins) {
    int expected = 0;
    if (w.load(std::memory_order_relaxed) == 0 &&
        w.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
      return;
    if (spins > 64) sched_yield();
    else __builtin_ia32_pause();
  }
}
QOR_SERV_API void qor_serv_unlock(int* word) { std::atomic_ref<int>(*word).store(0, std::memory_order_release); }

}  // extern "C"
