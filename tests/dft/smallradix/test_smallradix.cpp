// The straight-line transforms of lengths 2 to 64, reached through the two
// exported tables: each entry against the long double reference in both
// directions, in place and out of place, with guard elements around the
// arrays; and forward followed by inverse giving n times the input.
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "blas/level1/member.h"
#include "dft/dft_util.h"
#include "dft/smallradix/smallradix.h"

namespace qor::test::dft {
namespace {

namespace sr = qor::dft::smallradix;

const zsmallradix_kernel* table(bool inv) {
  static Member member;
  return member.get<const zsmallradix_kernel>(inv ? "qor_dft_def_zsmallradix_inverse"
                                                  : "qor_dft_def_zsmallradix_forward");
}

// n complex values with kGuard complex values on each side. The guards hold
// NaN: a kernel that reads one spoils its result, one that writes one
// changes its bits.
class Guarded {
 public:
  static constexpr int kGuard = 8;
  explicit Guarded(int n) : n_(n), v_(2 * (n + 2 * kGuard), std::numeric_limits<double>::quiet_NaN()) {}
  qor_zups_64fc* data() { return reinterpret_cast<qor_zups_64fc*>(v_.data() + 2 * kGuard); }
  void set(const std::vector<double>& x) { std::memcpy(data(), x.data(), sizeof(double) * 2 * n_); }
  std::vector<double> get() const {
    const double* p = v_.data() + 2 * kGuard;
    return std::vector<double>(p, p + 2 * n_);
  }
  bool guards_intact() const {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int i = 0; i < 2 * kGuard; ++i) {
      const double* g[2] = {&v_[i], &v_[v_.size() - 1 - i]};
      for (const double* p : g)
        if (std::memcmp(p, &nan, sizeof nan) != 0) return false;
    }
    return true;
  }

 private:
  int n_;
  std::vector<double> v_;
};

// Runs entry n of one table on x, in place or out of place; checks the
// status, the guards and (out of place) that the input is left alone.
std::vector<double> run(int n, bool inv, bool in_place, const std::vector<double>& x) {
  const zsmallradix_kernel kernel = table(inv)[n - sr::kMinLength];
  Guarded src(n), dst(n);
  src.set(x);
  qor_zups_64fc* out = in_place ? src.data() : dst.data();
  EXPECT_EQ(kernel(src.data(), out, nullptr, nullptr), 0u);
  EXPECT_TRUE(src.guards_intact());
  EXPECT_TRUE(dst.guards_intact());
  if (!in_place) {
    EXPECT_EQ(src.get(), x) << "the input was written";
  }
  return in_place ? src.get() : dst.get();
}

class SmallRadix : public ::testing::TestWithParam<int> {};

TEST_P(SmallRadix, MatchesReference) {
  const int n = GetParam();
  ASSERT_NE(table(false), nullptr);
  ASSERT_NE(table(true), nullptr);
  ASSERT_NE(table(false)[n - sr::kMinLength], nullptr);
  ASSERT_NE(table(true)[n - sr::kMinLength], nullptr);
  for (bool inv : {false, true}) {
    for (bool in_place : {false, true}) {
      SCOPED_TRACE(std::string(inv ? "inverse" : "forward") + (in_place ? ", in place" : ", out of place"));
      const RefVec x = random_signal(n, 1000 * n + 2 * inv + in_place);
      const std::vector<double> got = run(n, inv, in_place, to<double>(x));
      // The reference takes the input as rounded to double.
      EXPECT_LE(rel_error(got, reference_dft(to_ref(to<double>(x)), inv)), tolerance<double>(n));
    }
  }
}

TEST_P(SmallRadix, ForwardThenInverseScalesByLength) {
  const int n = GetParam();
  ASSERT_NE(table(false), nullptr);
  const std::vector<double> x = to<double>(random_signal(n, 77 + n));
  const std::vector<double> back = run(n, true, true, run(n, false, false, x));
  RefVec want(x.size());
  for (std::size_t i = 0; i < x.size(); ++i) want[i] = static_cast<LD>(n) * x[i];
  EXPECT_LE(rel_error(back, want), 2 * tolerance<double>(n));
}

// A single tone at bin t comes out as n at bin t (forward, e^{+2 pi i jt/n})
// and exactly nothing elsewhere but rounding: catches an output permutation
// that a random signal would only show as a large error.
TEST_P(SmallRadix, ToneLandsInItsBin) {
  const int n = GetParam();
  ASSERT_NE(table(false), nullptr);
  for (int t : {1, n / 2, n - 1}) {
    std::vector<double> x(2 * n);
    for (int j = 0; j < n; ++j) {
      x[2 * j] = static_cast<double>(cosl(kTwoPi * ((j * t) % n) / n));
      x[2 * j + 1] = static_cast<double>(sinl(kTwoPi * ((j * t) % n) / n));
    }
    const std::vector<double> y = run(n, false, false, x);
    for (int k = 0; k < n; ++k) {
      const double want = k == t ? n : 0.0;
      EXPECT_NEAR(y[2 * k], want, 8 * n * tolerance<double>(n)) << "t " << t << " bin " << k;
      EXPECT_NEAR(y[2 * k + 1], 0.0, 8 * n * tolerance<double>(n)) << "t " << t << " bin " << k;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryLength, SmallRadix, ::testing::Range(sr::kMinLength, sr::kMaxLength + 1),
                         [](const ::testing::TestParamInfo<int>& info) { return std::to_string(info.param); });

}  // namespace
}  // namespace qor::test::dft
