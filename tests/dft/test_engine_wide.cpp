// The engine's processor bodies where their vectors are wider than the
// data: mixed lengths whose steps run with column counts and radix rests
// below one 512-bit vector (the half-width and one-at-a-time tails, the
// transposing first step with radices that are not multiples of four),
// checked on every path against the long double direct sum; and the
// reproducible mode, in which a 512-bit machine must give the Zen path's
// bits.
#include <cmath>
#include <cstring>
#include <iterator>

#include "dft/dft_util.h"

namespace qor::test::dft {
namespace {

TunedOn engine_paths() { return TunedOn::paths({QOR_CPU_PATH_ZEN, QOR_CPU_PATH_AVX512}); }

// Lengths above the straight-line kernels' range. Between them they take
// every radix with a kernel of its own (2 to 8, 11, 13, 16, 24) and an odd
// one without (17), first with short rests (3 * 5 * 7: the first step's
// vectors across p hold more lanes than the rest), then with rests of one
// to seven columns for the later steps, and one through Bluestein (97).
constexpr int kLengths[] = {72, 80, 88, 97, 100, 105, 120, 150, 168, 176, 208, 231, 286, 343, 425, 576, 1001, 2310};

template <class R>
void check_against_direct(int n, const RefVec& x, const RefVec& want, bool inv) {
  SCOPED_TRACE(testing::Message() << "n " << n << (sizeof(R) == 8 ? " double" : " float") << (inv ? " inverse" : ""));
  DftPlan<R, false> plan(n);
  ASSERT_EQ(plan.status(), 0);
  std::vector<R> y;
  ASSERT_EQ(plan.run(inv, to<R>(x), y), 0);
  EXPECT_LE(rel_error(y, want), tolerance<R>(n));
}

TEST(EngineBodies, MixedLengthsAgainstTheDirectSum) {
  std::vector<RefVec> in, fwd, inv;
  for (int n : kLengths) {
    in.push_back(random_signal(n, 900 + n));
    fwd.push_back(reference_dft(in.back(), false));
    inv.push_back(reference_dft(in.back(), true));
  }
  on_every_path(
      [&](int) {
        for (std::size_t i = 0; i < std::size(kLengths); ++i) {
          check_against_direct<double>(kLengths[i], in[i], fwd[i], false);
          check_against_direct<double>(kLengths[i], in[i], inv[i], true);
          check_against_direct<float>(kLengths[i], in[i], fwd[i], false);
          check_against_direct<float>(kLengths[i], in[i], inv[i], true);
        }
      },
      engine_paths());
}

// The same plan run in place and out of place on the 512-bit body (the
// power-of-two stages then run in the work buffer, the mixed steps end in
// the caller's array): the same bits.
template <class R>
void check_in_place_matches(int n) {
  SCOPED_TRACE(testing::Message() << "n " << n << (sizeof(R) == 8 ? " double" : " float"));
  DftPlan<R, false> plan(n);
  ASSERT_EQ(plan.status(), 0);
  const std::vector<R> x = to<R>(random_signal(n, 40 + n));
  std::vector<R> out(x.size()), io = x;
  ASSERT_EQ(plan.run_raw(false, x.data(), out.data()), 0);
  ASSERT_EQ(plan.run_raw(false, io.data(), io.data()), 0);
  EXPECT_EQ(0, std::memcmp(out.data(), io.data(), out.size() * sizeof(R)));
}

TEST(EngineBodies, InPlaceMatchesOutOfPlaceOnEveryPath) {
  on_every_path(
      [](int) {
        for (int n : {64, 128, 1024, 4096, 65536, 1 << 17, 150, 2310, 6000}) {
          check_in_place_matches<double>(n);
          check_in_place_matches<float>(n);
        }
      },
      engine_paths());
}

// The short powers of two, which the 512-bit body computes whole in
// registers: against the direct sum in both directions with each scaling,
// in place and out of place, through the FFT entries (the DFT entries are
// covered above).
template <class R>
void check_short_order(int e, int flag) {
  const std::int64_t n = std::int64_t{1} << e;
  SCOPED_TRACE(testing::Message() << "order " << e << (sizeof(R) == 8 ? " double" : " float") << " flag " << flag);
  FftPlan<R, false> plan(e, flag);
  ASSERT_EQ(plan.status(), 0);
  const RefVec x = random_signal(n, 60 + e + flag);
  for (bool inv : {false, true}) {
    RefVec want = reference_dft(x, inv);
    const bool scaled = flag == QOR_ZUPS_DIV_BY_SQRTN || (inv ? flag == QOR_ZUPS_DIV_INV_BY_N : flag == QOR_ZUPS_DIV_FWD_BY_N);
    const LD by = flag == QOR_ZUPS_DIV_BY_SQRTN ? sqrtl(static_cast<LD>(n)) : static_cast<LD>(n);
    if (scaled)
      for (LD& v : want) v /= by;
    const std::vector<R> in = to<R>(x);
    std::vector<R> out(in.size()), io = in;
    ASSERT_EQ(plan.run_raw(inv, in.data(), out.data()), 0);
    ASSERT_EQ(plan.run_raw(inv, io.data(), io.data()), 0);
    EXPECT_LE(rel_error(out, want), tolerance<R>(n)) << (inv ? "inverse" : "forward");
    EXPECT_EQ(0, std::memcmp(out.data(), io.data(), out.size() * sizeof(R)));
  }
}

TEST(EngineBodies, ShortPowersOfTwoOnEveryPath) {
  on_every_path(
      [](int) {
        for (int e : {6, 7, 8})
          for (int flag : {QOR_ZUPS_NODIV_BY_ANY, QOR_ZUPS_DIV_FWD_BY_N, QOR_ZUPS_DIV_INV_BY_N, QOR_ZUPS_DIV_BY_SQRTN}) {
            check_short_order<double>(e, flag);
            check_short_order<float>(e, flag);
          }
      },
      engine_paths());
}

// In a reproducible mode the 512-bit path takes no 512-bit body, so its
// results are the Zen path's to the bit, for powers of two (both engines'
// roads: the radix stages and the large engine) and mixed lengths.
TEST(EngineBodies, ReproducibleModeGivesTheZenBits) {
  if (!qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) GTEST_SKIP() << "no 512-bit path on this machine";
  const int lengths[] = {64, 128, 512, 4096, 1 << 16, 1 << 18, 105, 2310, 97};
  auto run_all = [&](auto tag, int path) {
    using R = decltype(tag);
    std::vector<std::vector<R>> out;
    PathGuard guard(path);
    for (int n : lengths) {
      DftPlan<R, false> plan(n);
      EXPECT_EQ(plan.status(), 0);
      std::vector<R> y;
      EXPECT_EQ(plan.run(false, to<R>(random_signal(n, 7 * n)), y), 0);
      out.push_back(y);
    }
    return out;
  };
  auto same = [&](auto tag) {
    const auto zen = run_all(tag, QOR_CPU_PATH_ZEN);
    const auto wide = run_all(tag, QOR_CPU_PATH_AVX512);
    for (std::size_t k = 0; k < zen.size(); ++k)
      EXPECT_EQ(0, std::memcmp(zen[k].data(), wide[k].data(), zen[k].size() * sizeof(zen[k][0]))) << lengths[k];
  };
  qor_set_cbwr(2);
  same(1.0f);
  same(1.0);
  qor_set_cbwr(1);
}

}  // namespace
}  // namespace qor::test::dft
