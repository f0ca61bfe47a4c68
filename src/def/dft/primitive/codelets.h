// Small DFTs held in registers ("codelets"), written once over any complex
// vector type of simd.h: each lane carries an independent transform.
//
//   Dft<N, INV>::run(T* a): a[0..N-1] -> its DFT, in place, natural order,
//   forward exp(-2 pi i jk/N), inverse exp(+2 pi i jk/N), no scaling.
//
// Odd primes use the pair form: with s_j = a_j + a_{N-j}, d_j = a_j - a_{N-j},
// X_k = a_0 + sum c_jk s_j -+ i sum s_jk d_j, and X_{N-k} the same with the
// other sign, which halves the multiplications. Composite sizes are split
// Cooley-Tukey style with constant twiddles folded at compile time; 2 and 4
// are written out. All constants come from compile-time long double
// evaluation of sine and cosine, so no table is read.
#pragma once
#include <type_traits>
#include <utility>

#include "dft/primitive/simd.h"

QOR_ISA_BEGIN
namespace dftv {

// ---- compile-time trigonometry ------------------------------------------
namespace ct {
constexpr long double kPi = 3.141592653589793238462643383279502884L;
constexpr long double taylor_sin(long double x) {
  long double term = x, sum = x;
  for (int k = 1; k < 40; ++k) {
    term *= -x * x / ((2.0L * k) * (2.0L * k + 1.0L));
    sum += term;
  }
  return sum;
}
constexpr long double taylor_cos(long double x) {
  long double term = 1.0L, sum = 1.0L;
  for (int k = 1; k < 40; ++k) {
    term *= -x * x / ((2.0L * k - 1.0L) * (2.0L * k));
    sum += term;
  }
  return sum;
}
// cos and sin of 2 pi t / n, exact at multiples of a quarter turn; the
// argument is reduced to at most an eighth of a turn.
constexpr void cis(long long t, long long n, long double& c, long double& s) {
  t %= n;
  if (t < 0) t += n;
  // quadrant q and remainder r with t/n = q/4 + r/(4n), |r| <= n/2
  long long t4 = 4 * t;
  long long q = (t4 + n / 2) / n;
  long long r = t4 - q * n;  // t/n - q/4 = r / (4n)
  long double x = 2.0L * kPi * static_cast<long double>(r) / (4.0L * static_cast<long double>(n));
  long double cx = r == 0 ? 1.0L : taylor_cos(x), sx = r == 0 ? 0.0L : taylor_sin(x);
  switch (q & 3) {
    case 0: c = cx; s = sx; break;
    case 1: c = -sx; s = cx; break;
    case 2: c = -cx; s = -sx; break;
    default: c = sx; s = -cx; break;
  }
}
constexpr long double cos2pi(long long t, long long n) {
  long double c = 0, s = 0;
  cis(t, n, c, s);
  return c;
}
constexpr long double sin2pi(long long t, long long n) {
  long double c = 0, s = 0;
  cis(t, n, c, s);
  return s;
}
}  // namespace ct

// Compile-time loop: f(std::integral_constant<int, i>) for i in [B, E).
template <int B, int E, class F>
QV_INLINE void sfor(F&& f) {
  if constexpr (B < E) {
    f(std::integral_constant<int, B>{});
    sfor<B + 1, E>(f);
  }
}

constexpr int smallest_factor(int n) {
  if (n % 4 == 0 && n > 4) return 4;
  for (int d = 2; d * d <= n; ++d)
    if (n % d == 0) return d;
  return n;
}

// Multiply by the constant exp(-+2 pi i t / n); quarter turns are exact
// rotations and sign changes.
template <int T0, int Nn, bool INV, class V>
QV_INLINE V twiddle_const(V a) {
  constexpr int t = ((T0 % Nn) + Nn) % Nn;
  using real = typename V::real;
  if constexpr (t == 0) {
    return a;
  } else if constexpr (4 * t == Nn) {
    return INV ? rotp(a) : rotm(a);
  } else if constexpr (2 * t == Nn) {
    return V::zero() - a;
  } else if constexpr (4 * t == 3 * Nn) {
    return INV ? rotm(a) : rotp(a);
  } else {
    constexpr real c = static_cast<real>(ct::cos2pi(t, Nn));
    constexpr real s = static_cast<real>(INV ? ct::sin2pi(t, Nn) : -ct::sin2pi(t, Nn));
    return cmul(a, Tw<V>::cst(c, s));
  }
}

// x + r and x - r for r = -i y (forward) or +i y (inverse), in place.
// Vector types with a cheaper form than a rotation and two additions
// overload it.
template <bool INV, class V>
QV_INLINE void rot_sum_diff(V& x, V& y) {
  const V r = INV ? rotp(y) : rotm(y);
  const V t = x;
  x = t + r;
  y = t - r;
}

template <int N, bool INV, class V>
struct Dft;

template <bool INV, class V>
struct Dft<1, INV, V> {
  static QV_INLINE void run(V*) {}
};

template <bool INV, class V>
struct Dft<2, INV, V> {
  static QV_INLINE void run(V* a) {
    V t = a[0];
    a[0] = t + a[1];
    a[1] = t - a[1];
  }
};

template <bool INV, class V>
struct Dft<4, INV, V> {
  static QV_INLINE void run(V* a) {
    V t0 = a[0] + a[2], t1 = a[0] - a[2];
    V t2 = a[1] + a[3], t3 = a[1] - a[3];
    a[0] = t0 + t2;
    a[2] = t0 - t2;
    rot_sum_diff<INV>(t1, t3);
    a[1] = t1;
    a[3] = t3;
  }
};

// Odd prime, pair form.
template <int P, bool INV, class V>
struct DftPrime {
  static QV_INLINE void run(V* a) {
    using real = typename V::real;
    constexpr int H = (P - 1) / 2;
    V s[H + 1], d[H + 1];
    sfor<1, H + 1>([&](auto j) __attribute__((always_inline)) {
      s[j] = a[j] + a[P - j];
      d[j] = a[j] - a[P - j];
    });
    V x0 = a[0];
    V sum = x0;
    sfor<1, H + 1>([&](auto j) __attribute__((always_inline)) { sum = sum + s[j]; });
    sfor<1, H + 1>([&](auto k) __attribute__((always_inline)) {
      V A = x0;
      V B = mulr(d[1], static_cast<real>(ct::sin2pi(k, P)));
      sfor<1, H + 1>([&](auto j) __attribute__((always_inline)) {
        constexpr int jk = (j * k) % P;
        A = fmar(A, s[j], static_cast<real>(ct::cos2pi(jk, P)));
        if constexpr (j > 1) B = fmar(B, d[j], static_cast<real>(ct::sin2pi(jk, P)));
      });
      // X_k = A - i B, X_{P-k} = A + i B (forward; the inverse has the
      // other signs)
      rot_sum_diff<INV>(A, B);
      a[k] = A;
      a[P - k] = B;
    });
    a[0] = sum;
  }
};

// N = N1 * N2, decimation in time: N2 transforms of N1 on x[N2 j1 + j2],
// twiddles w^(j2 k1), then N1 transforms of N2, output X[k1 + N1 k2].
template <int N1, int N2, bool INV, class V>
struct DftSplit {
  static QV_INLINE void run(V* a) {
    constexpr int N = N1 * N2;
    V y[N];
    // With N2 = 2 a quarter-turn twiddle is left to the last butterfly,
    // which takes it as a rotated sum and difference.
    auto quarter = [](auto j2, auto k1) { return N2 == 2 && 4 * j2 * k1 == N; };
    sfor<0, N2>([&](auto j2) __attribute__((always_inline)) {
      V t[N1];
      sfor<0, N1>([&](auto j1) __attribute__((always_inline)) { t[j1] = a[N2 * j1 + j2]; });
      Dft<N1, INV, V>::run(t);
      sfor<0, N1>([&](auto k1) __attribute__((always_inline)) {
        if constexpr (quarter(j2, k1)) y[j2 * N1 + k1] = t[k1];
        else y[j2 * N1 + k1] = twiddle_const<j2 * k1, N, INV>(t[k1]);
      });
    });
    sfor<0, N1>([&](auto k1) __attribute__((always_inline)) {
      V t[N2];
      sfor<0, N2>([&](auto j2) __attribute__((always_inline)) { t[j2] = y[j2 * N1 + k1]; });
      if constexpr (quarter(std::integral_constant<int, 1>{}, k1)) rot_sum_diff<INV>(t[0], t[1]);
      else Dft<N2, INV, V>::run(t);
      sfor<0, N2>([&](auto k2) __attribute__((always_inline)) { a[k1 + N1 * k2] = t[k2]; });
    });
  }
};

template <int N, bool INV, class V>
struct Dft {
  static QV_INLINE void run(V* a) {
    constexpr int f = smallest_factor(N);
    if constexpr (f == N) DftPrime<N, INV, V>::run(a);
    else DftSplit<f, N / f, INV, V>::run(a);
  }
};

}  // namespace dftv
QOR_ISA_END
