// The power-of-two family at every order: exact spectra of pure tones
// (which a wrong reordering moves), each order against its two halves
// (which any wrong twiddle upsets), in place against out of place, and
// the memory sizes of the plans.
#include <cmath>

#include "dft/dft_util.h"

namespace qor::test::dft {
namespace {

// exp(sign 2 pi i k / 2^e) for every k < 2^e, in long double, from two
// short tables: hi[k >> h] * lo[k & (2^h - 1)], so that no sine is taken
// per sample.
class Roots {
 public:
  Roots(int e, LD sign) : h_(e / 2), lo_(2 << h_), hi_(2 << (e - h_)) {
    const std::int64_t n = std::int64_t{1} << e;
    for (std::int64_t k = 0; k < (std::int64_t{1} << h_); ++k) {
      lo_[2 * k] = cosl(kTwoPi * k / n);
      lo_[2 * k + 1] = sign * sinl(kTwoPi * k / n);
    }
    for (std::int64_t k = 0; k < (std::int64_t{1} << (e - h_)); ++k) {
      hi_[2 * k] = cosl(kTwoPi * (k << h_) / n);
      hi_[2 * k + 1] = sign * sinl(kTwoPi * (k << h_) / n);
    }
  }
  // Cosine and sine of root k.
  void at(std::int64_t k, LD* c, LD* s) const {
    const LD* p = &hi_[2 * (k >> h_)];
    const LD* q = &lo_[2 * (k & ((std::int64_t{1} << h_) - 1))];
    *c = p[0] * q[0] - p[1] * q[1];
    *s = p[0] * q[1] + p[1] * q[0];
  }

 private:
  int h_;
  std::vector<LD> lo_, hi_;
};

// Three tones x[j] = a_t exp(-+2 pi i f_t j / n) (the sign opposite to the
// transform's) go to n a_t at bin f_t and nothing elsewhere.
template <class R>
void check_tones(int e, bool inv, bool in_place) {
  const std::int64_t n = std::int64_t{1} << e;
  SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float") << (inv ? " inverse" : "")
                                  << (in_place ? " in place" : ""));
  const std::int64_t f[3] = {(n * 5 / 13) | 1, n - 1 - n / 7, (n / 2 + n / 8 + 1)};
  const double a[3][2] = {{1.0, 0.5}, {-0.75, 0.25}, {0.3, -1.1}};
  std::vector<R> x(2 * n), y(in_place ? 0 : 2 * n);
  const Roots w(e, inv ? -1 : 1);
  for (std::int64_t j = 0; j < n; ++j) {
    LD re = 0, im = 0;
    for (int t = 0; t < 3; ++t) {
      LD c, s;
      w.at((f[t] % n) * j % n, &c, &s);
      re += a[t][0] * c - a[t][1] * s;
      im += a[t][0] * s + a[t][1] * c;
    }
    x[2 * j] = static_cast<R>(re);
    x[2 * j + 1] = static_cast<R>(im);
  }
  FftPlan<R, false> plan(e);
  ASSERT_EQ(plan.status(), 0);
  R* out = in_place ? x.data() : y.data();
  ASSERT_EQ(plan.run_raw(inv, x.data(), out), 0);
  std::int64_t bins[3];
  for (int t = 0; t < 3; ++t) bins[t] = f[t] % n;
  double num = 0, den = 0;
  for (std::int64_t k = 0; k < n; ++k) {
    double wr = 0, wi = 0;
    for (int t = 0; t < 3; ++t)
      if (bins[t] == k) {
        wr += static_cast<double>(n) * a[t][0];
        wi += static_cast<double>(n) * a[t][1];
      }
    const double dr = out[2 * k] - wr, di = out[2 * k + 1] - wi;
    num += dr * dr + di * di;
    den += wr * wr + wi * wi;
  }
  EXPECT_LE(std::sqrt(num / den), 2 * tolerance<R>(n));
}

TEST(FftOrders, TonesAtEveryOrder) {
  for (int e = 0; e <= 24; ++e) {
    if (e <= 22) {
      check_tones<double>(e, false, e % 2 == 1);
      check_tones<double>(e, true, e % 2 == 0);
    }
    check_tones<float>(e, e % 3 == 0, e % 2 == 0);
  }
}

// Order e against order e - 1: with E and O the transforms of the even
// and odd samples, X[k] = E[k] + w^k O[k] (w = exp(-+2 pi i / n)), formed
// in long double. A broadband input, so that every twiddle and every
// position of every order counts.
template <class R>
void check_halves(int e, bool inv) {
  const std::int64_t n = std::int64_t{1} << e, half = n / 2;
  SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float") << (inv ? " inverse" : ""));
  std::vector<R> x = to<R>(random_signal(n, 300 + e)), y(2 * n), ev(n), od(n), E(n), O(n);
  for (std::int64_t j = 0; j < half; ++j)
    for (int c = 0; c < 2; ++c) {
      ev[2 * j + c] = x[4 * j + c];
      od[2 * j + c] = x[4 * j + 2 + c];
    }
  FftPlan<R, false> whole(e), part(e - 1);
  ASSERT_EQ(whole.run_raw(inv, x.data(), y.data()), 0);
  ASSERT_EQ(part.run_raw(inv, ev.data(), E.data()), 0);
  ASSERT_EQ(part.run_raw(inv, od.data(), O.data()), 0);
  const Roots w(e, inv ? 1 : -1);
  LD num = 0, den = 0;
  for (std::int64_t k = 0; k < n; ++k) {
    LD c, s;
    w.at(k, &c, &s);
    const std::int64_t m = k % half;
    const LD orr = O[2 * m], oi = O[2 * m + 1];
    const LD wr = E[2 * m] + c * orr - s * oi, wi = E[2 * m + 1] + c * oi + s * orr;
    num += (y[2 * k] - wr) * (y[2 * k] - wr) + (y[2 * k + 1] - wi) * (y[2 * k + 1] - wi);
    den += wr * wr + wi * wi;
  }
  EXPECT_LE(static_cast<double>(sqrtl(num / den)), 2 * tolerance<R>(n));
}

TEST(FftOrders, EveryOrderFromItsHalves) {
  for (int e = 1; e <= 24; ++e) {
    if (e <= 22) check_halves<double>(e, e % 2 == 1);
    check_halves<float>(e, e % 2 == 0);
  }
}

// The paths on which the engine has a body of its own: the Zen class and
// the 512-bit class.
TunedOn engine_paths() { return TunedOn::paths({QOR_CPU_PATH_ZEN, QOR_CPU_PATH_AVX512}); }

// Each processor's body of the engine on both of its roads.
TEST(FftOrders, TonesOnEveryPath) {
  on_every_path(
      [](int) {
        for (int e : {6, 7, 10, 13, 16, 17, 20}) {
          check_tones<double>(e, e % 2 == 0, e % 2 == 1);
          check_tones<float>(e, e % 2 == 1, e % 2 == 0);
        }
      },
      engine_paths());
}

// Every order of the radix engine on each processor's body: the plans
// differ in where their radix-4 stages fall (one alone, or two that run
// together), and each shape must hold on every body.
TEST(FftOrders, RadixOrdersFromHalvesOnEveryPath) {
  on_every_path(
      [](int) {
        for (int e = 6; e <= 16; ++e) {
          check_halves<double>(e, e % 2 == 0);
          check_halves<float>(e, e % 2 == 1);
        }
      },
      engine_paths());
}

// In place and out of place take different roads through the reordering
// (the work buffer up to order 16, exchanged tiles beyond) but the same
// arithmetic: the results agree to the bit.
template <class R>
void check_in_place(int e) {
  SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float"));
  const std::int64_t n = std::int64_t{1} << e;
  FftPlan<R, false> plan(e);
  ASSERT_EQ(plan.status(), 0);
  std::vector<R> x = to<R>(random_signal(n, 77 + e)), y(x.size()), z = x;
  for (bool inv : {false, true}) {
    ASSERT_EQ(plan.run_raw(inv, x.data(), y.data()), 0);
    z = x;
    ASSERT_EQ(plan.run_raw(inv, z.data(), z.data(), e % 2 == 1), 0);
    EXPECT_TRUE(y == z);
  }
}

TEST(FftOrders, InPlaceMatchesOutOfPlace) {
  for (int e : {6, 7, 12, 16, 17, 18, 19, 20, 21, 22}) {
    check_in_place<double>(e);
    check_in_place<float>(e);
  }
}

// Plans up to order 5 are the fixed part alone; from 6 to 16 the work
// buffer holds one copy of the data; beyond, two 32 x 32 tiles at least
// and the column buffer of the block steps (at most 2^14 elements).
template <class R, bool SPLIT>
void check_sizes() {
  const std::int64_t eb = 2 * sizeof(R);
  for (int e = 0; e <= 27; ++e) {
    SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float") << (SPLIT ? " split" : ""));
    int s = -1, i = -1, w = -1;
    const std::int64_t n = std::int64_t{1} << e, copy = SPLIT ? n * eb : 0;
    if (copy > (std::int64_t{1} << 31) - 64) {  // the split copy alone does not fit an int
      EXPECT_EQ((Kind<R, SPLIT>::fft_get_size(e, 8, &s, &i, &w)), -9);
      continue;
    }
    ASSERT_EQ((Kind<R, SPLIT>::fft_get_size(e, 8, &s, &i, &w)), 0);
    if (e > 5) {
      EXPECT_EQ(s % 64, 0);
    }
    EXPECT_EQ(i % 64, 0);
    EXPECT_EQ(w % 64, 0);
    if (e <= 5) {
      EXPECT_EQ(s, 208);
      EXPECT_EQ(i, 0);
      EXPECT_EQ(w, SPLIT ? (copy + 63) / 64 * 64 + 64 : 0);
    } else if (e <= 16) {
      EXPECT_EQ(w, n * eb + copy + 64);
      EXPECT_EQ(i, n * 16 + 64);
    } else {
      EXPECT_EQ(i, 0);
      EXPECT_GE(s, 1048576 + 64);
      EXPECT_GE(w, 2048 * eb + copy + 64);
      EXPECT_LE(w, 16384 * eb + copy + 64);
    }
  }
  int s, i, w;
  EXPECT_EQ((Kind<R, SPLIT>::fft_get_size(28, 8, &s, &i, &w)), -17);
  EXPECT_EQ((Kind<R, SPLIT>::fft_get_size(10, 3, &s, &i, &w)), -18);
}

TEST(FftOrders, PlanSizes) {
  check_sizes<double, false>();
  check_sizes<float, false>();
  check_sizes<double, true>();
  check_sizes<float, true>();
}

}  // namespace
}  // namespace qor::test::dft
