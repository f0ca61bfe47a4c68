// 512-bit bodies of the hot vector kernels: dot, complex dot, axpy, complex
// axpy, scal, iamax and the norms, each written once over the element type.
// See wide.h for what they serve and how their results compare with the
// baseline's.
#include "blas/level1/wide.h"

#include <immintrin.h>

// GCC 12 reports the undefined pass-through operand its own 512-bit
// intrinsics use (max, permute, the reductions) as uninitialised.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include <cmath>
#include <cstdint>

#include "frame/prefetch.h"
#include "frame/zmm.h"

QOR_ISA_BEGIN
namespace l1w {
namespace {

using i64 = std::int64_t;

// Vectors longer than this many bytes come from memory: their loops ask for
// each line ahead of use (frame/prefetch.h); shorter ones sit in the caches,
// where the hints would only take load slots.
constexpr i64 kStreamBytes = i64{256} << 10;

template <class R>
bool streams(i64 n, int vectors) {
  return n * static_cast<i64>(sizeof(R)) * vectors > kStreamBytes;
}

// Calls step(i, u) for each whole register of n reals in blocks of U
// registers (u = 0 .. U-1 within a block), and tail(i, mask) for a partial
// register. A vector long enough for whole blocks first takes a partial
// register up to the next 64-byte boundary of `align`, so that the loads
// and stores of that stream do not split cache lines; `granule` reals (2
// for complex elements) are never split between registers. With Ahead,
// each block first asks for its lines of the streams listed by `lines`.
template <class R, int U, bool Ahead, class Lines, class Step, class Tail>
inline void walk(i64 n, const R* align, int granule, Lines&& lines, Step&& step, Tail&& tail) {
  using Z = zmm<R>;
  constexpr i64 L = Z::L;
  i64 i = 0;
  const auto a = reinterpret_cast<std::uintptr_t>(align);
  if (n >= 2 * U * L && a % sizeof(R) == 0) {
    const i64 head = static_cast<i64>((64 - a % 64) % 64 / sizeof(R));
    if (head % granule == 0 && head > 0) {
      tail(0, Z::first(head));
      i = head;
    }
  }
  for (; i + U * L <= n; i += U * L) {
    if constexpr (Ahead) lines(i);
    for (int u = 0; u < U; ++u) step(i + u * L, u);
  }
  for (; i + L <= n; i += L) step(i, 0);
  if (i < n) tail(i, Z::first(n - i));
}

// ---- dot ------------------------------------------------------------------

// Eight accumulators, lanes of a block spread over them in turn; the tail
// goes into the last. Total: pairwise over the accumulators, then across
// the lanes.
template <class R, bool Ahead>
R dot_walk(i64 n, const R* x, const R* y) {
  using Z = zmm<R>;
  using reg = typename Z::reg;
  constexpr int U = 8;
  reg a[U];
  for (auto& r : a) r = Z::zero();
  walk<R, U, Ahead>(
      n, y, 1,
      [&](i64 i) {
        for (i64 b = 0; b < U * Z::L * i64(sizeof(R)); b += 64) {
          prefetch_read(reinterpret_cast<const char*>(x + i) + b);
          prefetch_read(reinterpret_cast<const char*>(y + i) + b);
        }
      },
      [&](i64 i, int u) { a[u] = Z::fma(Z::load(x + i), Z::load(y + i), a[u]); },
      [&](i64 i, typename Z::mask m) { a[U - 1] = Z::fma(Z::load(m, x + i), Z::load(m, y + i), a[U - 1]); });
  reg s = Z::add(Z::add(Z::add(a[0], a[1]), Z::add(a[2], a[3])), Z::add(Z::add(a[4], a[5]), Z::add(a[6], a[7])));
  return Z::sum(s);
}

// Complex dot over 2n reals: s takes x * y lane by lane, w takes x times y
// with its parts exchanged; even lanes hold real-part products, odd lanes
// imaginary ones. dotu = (Sr - Si, Wr + Wi), dotc = (Sr + Si, Wr - Wi).
template <class R, bool Conj, bool Ahead>
void cdot_walk(R* res, i64 n, const R* x, const R* y) {
  using Z = zmm<R>;
  using reg = typename Z::reg;
  constexpr int U = 4;
  reg s[U], w[U];
  for (int u = 0; u < U; ++u) s[u] = w[u] = Z::zero();
  auto step = [&](int u, reg xv, reg yv) {
    s[u] = Z::fma(xv, yv, s[u]);
    w[u] = Z::fma(xv, Z::swap_pairs(yv), w[u]);
  };
  walk<R, U, Ahead>(
      2 * n, y, 2,
      [&](i64 i) {
        for (i64 b = 0; b < U * Z::L * i64(sizeof(R)); b += 64) {
          prefetch_read(reinterpret_cast<const char*>(x + i) + b);
          prefetch_read(reinterpret_cast<const char*>(y + i) + b);
        }
      },
      [&](i64 i, int u) { step(u, Z::load(x + i), Z::load(y + i)); },
      [&](i64 i, typename Z::mask m) { step(U - 1, Z::load(m, x + i), Z::load(m, y + i)); });
  reg st = Z::add(Z::add(s[0], s[1]), Z::add(s[2], s[3]));
  reg wt = Z::add(Z::add(w[0], w[1]), Z::add(w[2], w[3]));
  alignas(64) R sl[Z::L], wl[Z::L];
  Z::store(sl, st);
  Z::store(wl, wt);
  R sr = 0, si = 0, wr = 0, wi = 0;
  for (i64 k = 0; k < Z::L; k += 2) {
    sr += sl[k];
    si += sl[k + 1];
    wr += wl[k];
    wi += wl[k + 1];
  }
  res[0] = Conj ? sr + si : sr - si;
  res[1] = Conj ? wr - wi : wr + wi;
}

// ---- axpy and scal -----------------------------------------------------------

// y + alpha * x, one product and one sum per element as in the baseline.
template <class R, bool Ahead>
void axpy_walk(i64 n, R alpha, const R* x, R* y) {
  using Z = zmm<R>;
  const auto a = Z::set1(alpha);
  walk<R, 4, Ahead>(
      n, y, 1,
      [&](i64 i) {
        for (i64 b = 0; b < 4 * Z::L * i64(sizeof(R)); b += 64) {
          prefetch_read(reinterpret_cast<const char*>(x + i) + b);
          prefetch_write(reinterpret_cast<const char*>(y + i) + b);
        }
      },
      [&](i64 i, int) { Z::store(y + i, Z::add(Z::load(y + i), Z::mul(a, Z::load(x + i)))); },
      [&](i64 i, typename Z::mask m) { Z::store(m, y + i, Z::add(Z::load(m, y + i), Z::mul(a, Z::load(m, x + i)))); });
}

// Complex y + alpha * x over 2n reals, as the baseline forms it:
// y + ((ar, ar) * x + (-ai, ai) * swap(x)).
template <class R, bool Ahead>
void caxpy_walk(i64 n, const R* alpha, const R* x, R* y) {
  using Z = zmm<R>;
  using reg = typename Z::reg;
  const reg re = Z::set1(alpha[0]), im = Z::pair(-alpha[1], alpha[1]);
  auto prod = [&](reg xv) { return Z::add(Z::mul(re, xv), Z::mul(im, Z::swap_pairs(xv))); };
  walk<R, 4, Ahead>(
      2 * n, y, 2,
      [&](i64 i) {
        for (i64 b = 0; b < 4 * Z::L * i64(sizeof(R)); b += 64) {
          prefetch_read(reinterpret_cast<const char*>(x + i) + b);
          prefetch_write(reinterpret_cast<const char*>(y + i) + b);
        }
      },
      [&](i64 i, int) { Z::store(y + i, Z::add(Z::load(y + i), prod(Z::load(x + i)))); },
      [&](i64 i, typename Z::mask m) { Z::store(m, y + i, Z::add(Z::load(m, y + i), prod(Z::load(m, x + i)))); });
}

template <class R, bool Ahead>
void scal_walk(i64 n, R alpha, R* x) {
  using Z = zmm<R>;
  const auto a = Z::set1(alpha);
  walk<R, 4, Ahead>(
      n, x, 1,
      [&](i64 i) {
        for (i64 b = 0; b < 4 * Z::L * i64(sizeof(R)); b += 64)
          prefetch_write(reinterpret_cast<const char*>(x + i) + b);
      },
      [&](i64 i, int) { Z::store(x + i, Z::mul(Z::load(x + i), a)); },
      [&](i64 i, typename Z::mask m) { Z::store(m, x + i, Z::mul(Z::load(m, x + i), a)); });
}

// ---- iamax ---------------------------------------------------------------

// The largest magnitude of n >= 1 reals. The packed maximum raises the
// invalid flag on any NaN, which the caller reads.
template <class R>
R max_magnitude(i64 n, const R* x) {
  using Z = zmm<R>;
  using reg = typename Z::reg;
  reg m[4] = {Z::zero(), Z::zero(), Z::zero(), Z::zero()};
  walk<R, 4, false>(
      n, x, 1, [](i64) {}, [&](i64 i, int u) { m[u] = Z::max(m[u], Z::abs(Z::load(x + i))); },
      [&](i64 i, typename Z::mask k) { m[3] = Z::max(m[3], Z::abs(Z::load(k, x + i))); });
  return Z::hmax(Z::max(Z::max(m[0], m[1]), Z::max(m[2], m[3])));
}

// The first of n reals whose magnitude equals v (0-based), or n.
template <class R>
i64 first_equal(i64 n, const R* x, R v) {
  using Z = zmm<R>;
  constexpr i64 L = Z::L;
  const auto t = Z::set1(v);
  i64 i = 0;
  for (; i + L <= n; i += L)
    if (auto hit = Z::eq(Z::abs(Z::load(x + i)), t)) return i + __builtin_ctz(hit);
  if (i < n)
    if (auto hit = Z::eq(Z::abs(Z::load(Z::first(n - i), x + i)), t) & Z::first(n - i))
      return i + __builtin_ctz(hit);
  return n;
}

// The first NaN of n reals (0-based), or n.
template <class R>
i64 first_nan(i64 n, const R* x) {
  using Z = zmm<R>;
  constexpr i64 L = Z::L;
  i64 i = 0;
  for (; i + L <= n; i += L)
    if (auto hit = Z::unordered(Z::load(x + i))) return i + __builtin_ctz(hit);
  if (i < n)
    if (auto hit = Z::unordered(Z::load(Z::first(n - i), x + i))) return i + __builtin_ctz(hit);
  return n;
}

// Chunks of this many elements (16 KiB of binary64) stay in the first-level
// cache between the search for the largest value and the search for its
// place, which rereads only the chunk that holds it.
constexpr i64 kChunkBytes = 16 << 10;

// ---- norms ------------------------------------------------------------------

// Sum of squares of n binary64 values, eight accumulators, fused.
template <bool Ahead>
double sum_squares(i64 n, const double* x, double scale) {
  using Z = zmm<double>;
  using reg = Z::reg;
  constexpr int U = 8;
  const reg f = Z::set1(scale);
  reg a[U];
  for (auto& r : a) r = Z::zero();
  walk<double, U, Ahead>(
      n, x, 1,
      [&](i64 i) {
        for (i64 b = 0; b < U * 64; b += 64) prefetch_read(reinterpret_cast<const char*>(x + i) + b);
      },
      [&](i64 i, int u) {
        reg v = Z::mul(Z::load(x + i), f);
        a[u] = Z::fma(v, v, a[u]);
      },
      [&](i64 i, Z::mask m) {
        reg v = Z::mul(Z::load(m, x + i), f);
        a[U - 1] = Z::fma(v, v, a[U - 1]);
      });
  reg s = Z::add(Z::add(Z::add(a[0], a[1]), Z::add(a[2], a[3])), Z::add(Z::add(a[4], a[5]), Z::add(a[6], a[7])));
  return Z::sum(s);
}

// The scaled recurrence of the baseline, for vectors holding an infinity or
// a NaN: it gives the norm those inputs are defined to have (infinity for
// one infinity, NaN for two or for a NaN).
double nrm2_recurrence(i64 n, const double* base) {
  // Elements are read one at a time through a type that accepts any address.
  typedef double any_address __attribute__((aligned(1), may_alias));
  const any_address* x = reinterpret_cast<const any_address*>(base);
  double scale = 0.0, ssq = 1.0;
  for (i64 i = 0; i < n; ++i) {
    const double v = x[i];
    if (v == 0.0) continue;
    const double a = std::fabs(v);
    if (a > scale) {
      const double r = scale / a;
      ssq = 1.0 + ssq * (r * r);
      scale = a;
    } else {
      const double r = a / scale;
      ssq += r * r;
    }
  }
  return std::sqrt(ssq) * scale;
}

// Sums of squares below this may have lost terms to underflow; sums at or
// above it lose nothing that shows in the result.
constexpr double kTinySum = 0x1p-900;

}  // namespace

template <class R>
R dot(i64 n, const R* x, const R* y) {
  return streams<R>(n, 2) ? dot_walk<R, true>(n, x, y) : dot_walk<R, false>(n, x, y);
}

template <class R, bool Conj>
void cdot(R* res, i64 n, const R* x, const R* y) {
  if (streams<R>(2 * n, 2))
    cdot_walk<R, Conj, true>(res, n, x, y);
  else
    cdot_walk<R, Conj, false>(res, n, x, y);
}

template <class R>
void axpy(i64 n, R alpha, const R* x, R* y) {
  if (streams<R>(n, 2))
    axpy_walk<R, true>(n, alpha, x, y);
  else
    axpy_walk<R, false>(n, alpha, x, y);
}

template <class R>
void caxpy(i64 n, const R* alpha, const R* x, R* y) {
  if (streams<R>(2 * n, 2))
    caxpy_walk<R, true>(n, alpha, x, y);
  else
    caxpy_walk<R, false>(n, alpha, x, y);
}

template <class R>
void scal(i64 n, R alpha, R* x) {
  if (streams<R>(n, 1))
    scal_walk<R, true>(n, alpha, x);
  else
    scal_walk<R, false>(n, alpha, x);
}

// The largest value chunk by chunk (a later chunk wins only when strictly
// larger, so ties stay with the lower index), then its first place in the
// winning chunk. Flags raised before the call survive; those raised inside
// are kept; an invalid flag means a NaN was met, and the first NaN is the
// answer.
template <class R>
i64 iamax(i64 n, const R* x) {
  constexpr unsigned flags = 0x3F, invalid = 0x01;
  constexpr i64 chunk = kChunkBytes / i64(sizeof(R));
  const unsigned saved = _mm_getcsr();
  _mm_setcsr(saved & ~flags);
  i64 start = 0;
  R best = max_magnitude<R>(n < chunk ? n : chunk, x);
  for (i64 s = chunk; s < n; s += chunk) {
    const R v = max_magnitude<R>(n - s < chunk ? n - s : chunk, x + s);
    if (v > best) {
      best = v;
      start = s;
    }
  }
  const i64 place = start + first_equal<R>(n - start < chunk ? n - start : chunk, x + start, best);
  const unsigned raised = _mm_getcsr() & flags;
  _mm_setcsr(saved | raised);
  if (raised & invalid) {
    const i64 k = first_nan<R>(n, x);
    if (k < n) return k + 1;
  }
  return place + 1;
}

// Unscaled sum of squares first; where it overflowed, underflowed or met a
// NaN, the vector is summed again scaled by a power of two that brings its
// largest magnitude near 1 (exact), or, holding an infinity or a NaN, by
// the scaled recurrence.
double dnrm2(i64 n, const double* x) {
  const bool ahead = streams<double>(n, 1);
  const double ss = ahead ? sum_squares<true>(n, x, 1.0) : sum_squares<false>(n, x, 1.0);
  if (ss >= kTinySum && ss <= 0x1.fffffffffffffp1023) return std::sqrt(ss);
  const double big = max_magnitude<double>(n, x);
  if (!(big <= 0x1.fffffffffffffp1023) || first_nan<double>(n, x) < n) return nrm2_recurrence(n, x);
  if (big == 0.0) return 0.0;
  const int e = std::ilogb(big);
  const int k = e < -1020 ? -1020 : e;
  const double down = std::ldexp(1.0, -k);
  const double s = ahead ? sum_squares<true>(n, x, down) : sum_squares<false>(n, x, down);
  return std::ldexp(std::sqrt(s), k);
}

// Binary32 values squared and summed in binary64 (no scaling is needed, as
// in the baseline); eight accumulators.
float snrm2(i64 n, const float* x) {
  using Z = zmm<double>;
  using reg = Z::reg;
  constexpr int U = 8;
  reg a[U];
  for (auto& r : a) r = Z::zero();
  i64 i = 0;
  for (; i + U * 8 <= n; i += U * 8)
    for (int u = 0; u < U; ++u) {
      reg v = _mm512_cvtps_pd(_mm256_loadu_ps(x + i + 8 * u));
      a[u] = Z::fma(v, v, a[u]);
    }
  for (; i + 8 <= n; i += 8) {
    reg v = _mm512_cvtps_pd(_mm256_loadu_ps(x + i));
    a[0] = Z::fma(v, v, a[0]);
  }
  if (i < n) {
    reg v = _mm512_cvtps_pd(_mm256_maskz_loadu_ps(static_cast<__mmask8>((1u << (n - i)) - 1), x + i));
    a[U - 1] = Z::fma(v, v, a[U - 1]);
  }
  reg s = Z::add(Z::add(Z::add(a[0], a[1]), Z::add(a[2], a[3])), Z::add(Z::add(a[4], a[5]), Z::add(a[6], a[7])));
  return static_cast<float>(std::sqrt(Z::sum(s)));
}

template float dot<float>(i64, const float*, const float*);
template double dot<double>(i64, const double*, const double*);
template void cdot<float, true>(float*, i64, const float*, const float*);
template void cdot<float, false>(float*, i64, const float*, const float*);
template void cdot<double, true>(double*, i64, const double*, const double*);
template void cdot<double, false>(double*, i64, const double*, const double*);
template void axpy<float>(i64, float, const float*, float*);
template void axpy<double>(i64, double, const double*, double*);
template void caxpy<float>(i64, const float*, const float*, float*);
template void caxpy<double>(i64, const double*, const double*, double*);
template void scal<float>(i64, float, float*);
template void scal<double>(i64, double, double*);
template i64 iamax<float>(i64, const float*);
template i64 iamax<double>(i64, const double*);

}  // namespace l1w
QOR_ISA_END
