// Accuracy of the transform engine: against a long double O(n^2) DFT for
// lengths up to a few thousand, and beyond by round trips, Parseval's
// identity and single output bins evaluated directly.
#include <algorithm>
#include <thread>

#include "dft/dft_util.h"

namespace qor::test::dft {
namespace {

// Forward against the reference, the inverse of the result back to n*x,
// in the given kind; in place when asked.
template <class R, bool SPLIT>
void check_length(int n, const RefVec& x, const RefVec& ref, bool in_place) {
  SCOPED_TRACE(testing::Message() << "n=" << n << (sizeof(R) == 8 ? " double" : " float") << (SPLIT ? " split" : "")
                                  << (in_place ? " in place" : ""));
  DftPlan<R, SPLIT> plan(n);
  ASSERT_EQ(plan.status(), 0);
  std::vector<R> in = to<R>(x), y(in.size());
  if (in_place) {
    y = in;
    ASSERT_EQ(plan.run_raw(false, y.data(), y.data()), 0);
  } else {
    ASSERT_EQ(plan.run(false, in, y), 0);
  }
  EXPECT_LE(rel_error(y, ref), tolerance<R>(n));
  std::vector<R> back;
  ASSERT_EQ(plan.run(true, y, back), 0);
  RefVec scaled(x);
  for (auto& v : scaled) v *= n;
  EXPECT_LE(rel_error(back, scaled), 2 * tolerance<R>(n));
}

TEST(DftTransforms, EveryLengthUpTo1100AgainstReference) {
  for (int n = 1; n <= 1100; ++n) {
    RefVec x = random_signal(n, 1000 + n);
    RefVec ref = reference_dft(x, false);
    check_length<double, false>(n, x, ref, n % 3 == 0);
    check_length<float, false>(n, x, ref, n % 3 == 1);
    if (n % 7 == 0 || n < 40) {
      check_length<double, true>(n, x, ref, n % 2 == 0);
      check_length<float, true>(n, x, ref, n % 2 == 1);
    }
    if (HasFailure()) break;
  }
}

TEST(DftTransforms, InverseAgainstReference) {
  for (int n : {1, 2, 3, 5, 12, 16, 17, 31, 64, 97, 100, 194, 243, 256, 1000, 1024}) {
    RefVec x = random_signal(n, 7 * n);
    RefVec ref = reference_dft(x, true);
    DftPlan<double, false> plan(n);
    std::vector<double> y;
    ASSERT_EQ(plan.run(true, to<double>(x), y), 0);
    EXPECT_LE(rel_error(y, ref), tolerance<double>(n)) << n;
  }
}

// Lengths that exercise particular roads: direct evaluation (17),
// convolution with a table length (97) and with a power of two (4099), the
// mixed-radix engine with a large last factor (194), and 6 times powers of
// four.
TEST(DftTransforms, EdgeLengths) {
  for (int n : {17, 89, 91, 97, 149, 151, 194, 298, 1031, 2048, 4096, 4099, 24, 96, 384, 1536, 6144}) {
    RefVec x = random_signal(n, 31 * n);
    RefVec ref = reference_dft(x, false);
    check_length<double, false>(n, x, ref, false);
    check_length<double, false>(n, x, ref, true);
    check_length<float, true>(n, x, ref, false);
  }
}

// Round trip, Parseval and a few bins evaluated directly.
template <class R, bool SPLIT>
void check_large(int n, bool in_place, int bins = 6) {
  SCOPED_TRACE(testing::Message() << "n=" << n << (sizeof(R) == 8 ? " double" : " float") << (SPLIT ? " split" : ""));
  RefVec x = random_signal(n, 77 + n);
  DftPlan<R, SPLIT> plan(n);
  ASSERT_EQ(plan.status(), 0);
  std::vector<R> in = to<R>(x), y = in;
  if (in_place) ASSERT_EQ(plan.run_raw(false, y.data(), y.data()), 0);
  else ASSERT_EQ(plan.run(false, in, y), 0);
  LD ex = 0, ey = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    ex += static_cast<LD>(in[i]) * in[i];
    ey += static_cast<LD>(y[i]) * y[i];
  }
  EXPECT_NEAR(static_cast<double>(ey / (ex * n)), 1.0, 4 * tolerance<R>(n));
  Rng pick(n);
  for (int b = 0; b < bins; ++b) {
    std::int64_t k = b == 0 ? 0 : b == 1 ? n - 1 : static_cast<std::int64_t>((pick.next() + 1) * 0.5 * n) % n;
    LD re, im;
    reference_bin(to_ref(in), k, false, &re, &im);
    const double scale = std::sqrt(static_cast<double>(n));
    EXPECT_NEAR(y[2 * k], static_cast<double>(re), 8 * tolerance<R>(n) * scale) << "bin " << k;
    EXPECT_NEAR(y[2 * k + 1], static_cast<double>(im), 8 * tolerance<R>(n) * scale) << "bin " << k;
  }
  std::vector<R> back;
  ASSERT_EQ(plan.run(true, y, back), 0);
  RefVec scaled(in.begin(), in.end());
  for (auto& v : scaled) v *= n;
  EXPECT_LE(rel_error(back, scaled), 4 * tolerance<R>(n));
}

TEST(DftTransforms, LargeSmoothAndPrimeLengths) {
  check_large<double, false>(100000, false);
  check_large<double, false>(59049, true);
  check_large<double, false>(248832, false);  // 2^10 * 3^5
  check_large<double, false>(10007, false);
  check_large<double, false>(1000003, true, 3);
  check_large<float, false>(100000, true);
  check_large<float, true>(10007, false);
  check_large<double, true>(3 * 7 * 11 * 13 * 16, false);
  // beyond a million elements the first factors run as a head in column
  // blocks: odd factors, and a radix with no kernel of its own (17)
  check_large<double, false>(1594323, true, 3);  // 3^13
  check_large<float, false>(1419857, false, 3);  // 17^5
}

TEST(DftTransforms, PowersOfTwo) {
  for (int e = 0; e <= 20; ++e) {
    const int n = 1 << e;
    if (n <= 4096) {
      RefVec x = random_signal(n, 5 + e);
      RefVec ref = reference_dft(x, false);
      check_length<double, false>(n, x, ref, e % 2 == 0);
      check_length<float, false>(n, x, ref, e % 2 == 1);
    } else {
      check_large<double, false>(n, e % 2 == 0, 3);
      check_large<float, false>(n, e % 2 == 1, 3);
    }
  }
}

// FFT family against the DFT of the same length, every order up to 20,
// out of place and in place, interleaved and split.
template <class R, bool SPLIT>
void check_fft_order(int e) {
  const std::int64_t n = std::int64_t{1} << e;
  SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float") << (SPLIT ? " split" : ""));
  FftPlan<R, SPLIT> fft(e);
  ASSERT_EQ(fft.status(), 0);
  DftPlan<R, false> dft(static_cast<int>(n));
  RefVec x = random_signal(n, 900 + e);
  std::vector<R> in = to<R>(x), want, got(in.size()), inplace = in;
  for (bool inv : {false, true}) {
    ASSERT_EQ(dft.run(inv, in, want), 0);
    ASSERT_EQ(fft.run_raw(inv, in.data(), got.data()), 0);
    EXPECT_LE(rel_error(got, want), tolerance<R>(n));
    inplace = in;
    ASSERT_EQ(fft.run_raw(inv, inplace.data(), inplace.data(), e % 2 == 0), 0);
    EXPECT_LE(rel_error(inplace, want), tolerance<R>(n));
  }
}

TEST(FftTransforms, EveryOrderUpTo20) {
  for (int e = 0; e <= 20; ++e) {
    check_fft_order<double, false>(e);
    check_fft_order<float, false>(e);
    if (e <= 12 || e == 17) {
      check_fft_order<double, true>(e);
      check_fft_order<float, true>(e);
    }
  }
}

// The largest test: one single-precision round trip of 2^24 in place.
TEST(FftTransforms, Order24RoundTrip) {
  const int e = 24;
  const std::int64_t n = std::int64_t{1} << e;
  FftPlan<float, false> fwd(e, QOR_ZUPS_DIV_INV_BY_N);
  ASSERT_EQ(fwd.status(), 0);
  std::vector<float> x(2 * n);
  Rng rng(24);
  for (auto& v : x) v = static_cast<float>(rng.next());
  std::vector<float> y = x;
  ASSERT_EQ(fwd.run_raw(false, y.data(), y.data()), 0);
  ASSERT_EQ(fwd.run_raw(true, y.data(), y.data()), 0);
  double num = 0, den = 0;
  for (std::int64_t i = 0; i < 2 * n; ++i) {
    num += (static_cast<double>(y[i]) - x[i]) * (static_cast<double>(y[i]) - x[i]);
    den += static_cast<double>(x[i]) * x[i];
  }
  EXPECT_LE(std::sqrt(num / den), 3e-6);
}

// Every scale flag in both directions, on each road of the engine.
TEST(DftTransforms, ScaleFlags) {
  for (int n : {7, 16, 32, 64, 100, 17, 97, 1024, 4100}) {
    RefVec x = random_signal(n, 3 * n);
    std::vector<double> in = to<double>(x), plain_f, plain_i;
    DftPlan<double, false> plain(n);
    ASSERT_EQ(plain.run(false, in, plain_f), 0);
    ASSERT_EQ(plain.run(true, in, plain_i), 0);
    for (int flag : {QOR_ZUPS_DIV_FWD_BY_N, QOR_ZUPS_DIV_INV_BY_N, QOR_ZUPS_DIV_BY_SQRTN, QOR_ZUPS_NODIV_BY_ANY}) {
      const double f = flag == 1 ? 1.0 / n : flag == 4 ? 1.0 / std::sqrt(n) : 1.0;
      const double b = flag == 2 ? 1.0 / n : flag == 4 ? 1.0 / std::sqrt(n) : 1.0;
      std::vector<double> want_f(plain_f), want_i(plain_i), got;
      for (auto& v : want_f) v *= f;
      for (auto& v : want_i) v *= b;
      DftPlan<double, false> p(n, flag);
      ASSERT_EQ(p.run(false, in, got), 0);
      EXPECT_LE(rel_error(got, want_f), 1e-15) << n << " flag " << flag;
      ASSERT_EQ(p.run(true, in, got), 0);
      EXPECT_LE(rel_error(got, want_i), 1e-15) << n << " flag " << flag;
      DftPlan<float, true> ps(n, flag);
      std::vector<float> gs;
      ASSERT_EQ(ps.run(false, to<float>(x), gs), 0);
      EXPECT_LE(rel_error(gs, want_f), tolerance<float>(n)) << n << " flag " << flag;
    }
  }
  for (int e : {3, 10}) {
    const int n = 1 << e;
    RefVec x = random_signal(n, e);
    std::vector<float> in = to<float>(x), base(in.size()), got(in.size());
    FftPlan<float, false> plain(e), scaled(e, QOR_ZUPS_DIV_BY_SQRTN);
    for (bool inv : {false, true}) {
      ASSERT_EQ(plain.run_raw(inv, in.data(), base.data()), 0);
      ASSERT_EQ(scaled.run_raw(inv, in.data(), got.data()), 0);
      for (auto& v : base) v /= std::sqrt(static_cast<float>(n));
      EXPECT_LE(rel_error(got, base), 1e-6);
    }
  }
}

// The baseline, Zen-class and 512-bit bodies give the same results, and
// the last two are really reached (the Barcelona and Bulldozer classes run
// the baseline body).
TEST(DftTransforms, EveryProcessorPath) {
  std::vector<std::vector<double>> first;
  on_every_path(
      [&](int path) {
        std::size_t i = 0;
        for (int n : {8, 60, 64, 97, 500, 1000, 4096, 100000, 131072}) {
          RefVec x = random_signal(n, n);
          DftPlan<double, false> p(n);
          std::vector<double> y;
          ASSERT_EQ(p.run(false, to<double>(x), y), 0);
          DftPlan<float, false> pf(n);
          std::vector<float> yf;
          ASSERT_EQ(pf.run(false, to<float>(x), yf), 0);
          if (path == QOR_CPU_PATH_BASELINE) {
            first.push_back(y);
          } else {
            EXPECT_LE(rel_error(y, first[i]), 1e-14) << n;
          }
          EXPECT_LE(rel_error(yf, first[i]), tolerance<float>(n) * 4) << n;
          ++i;
        }
      },
      TunedOn::paths({QOR_CPU_PATH_ZEN, QOR_CPU_PATH_AVX512}));
}

// One plan used by several threads at once, each with its own buffer.
TEST(DftTransforms, SharedBetweenThreads) {
  for (int n : {1000, 4096, 97, 6144}) {
    DftPlan<double, false> plan(n);
    ASSERT_EQ(plan.status(), 0);
    int size = 0;
    ASSERT_EQ(qor_dft_zupsDFTGetBufSize_C_64fc(plan.spec(), &size), 0);
    RefVec x = random_signal(n, n + 1);
    std::vector<double> in = to<double>(x), want;
    ASSERT_EQ(plan.run(false, in, want), 0);
    std::vector<std::vector<double>> out(4, std::vector<double>(in.size()));
    std::vector<int> status(4, -1);
    std::vector<std::thread> team;
    for (int t = 0; t < 4; ++t)
      team.emplace_back([&, t]() {
        std::vector<std::uint8_t> buf(static_cast<std::size_t>(size));
        int st = 0;
        for (int rep = 0; rep < 20 && st == 0; ++rep)
          st = qor_dft_zupsDFTFwd_CToC_64fc(reinterpret_cast<const qor_zups_64fc*>(in.data()),
                                            reinterpret_cast<qor_zups_64fc*>(out[t].data()), plan.spec(),
                                            buf.empty() ? nullptr : buf.data());
        status[t] = st;
      });
    for (auto& th : team) th.join();
    for (int t = 0; t < 4; ++t) {
      EXPECT_EQ(status[t], 0);
      EXPECT_EQ(out[t], want) << "thread " << t << " n " << n;
    }
  }
}

}  // namespace
}  // namespace qor::test::dft
