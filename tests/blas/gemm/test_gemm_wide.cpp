// The 512-bit GEMM body in all four types, forced through the dispatching
// names: whole products against the long-double reference, and entry-wise
// reproducibility, bit for bit, of sub-block products (any offsets, leading
// dimensions and misaligned storage), single rows and columns, two threads
// and a refused work area against the whole product.
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "blas/gemm/dispatch.h"
#include "common/testing.h"
#include "gemm_ref.h"

namespace {

using gemm_test::i64;
using gemm_test::Mat;

template <class T>
using GemmFn = void (*)(const char*, const char*, const i64*, const i64*, const i64*, const T*, const T*, const i64*,
                        const T*, const i64*, const T*, T*, const i64*);

template <class T> GemmFn<T> gemm_of();
template <> GemmFn<float> gemm_of<float>() { return &qor_blas_sgemm; }
template <> GemmFn<double> gemm_of<double>() { return &qor_blas_dgemm; }
template <> GemmFn<qor::c32> gemm_of<qor::c32>() { return &qor_blas_cgemm; }
template <> GemmFn<qor::c64> gemm_of<qor::c64>() { return &qor_blas_zgemm; }

template <class T> constexpr bool kComplex = !std::is_same_v<T, gemm_test::real_t<T>>;

// A scalar of T from two reals (the imaginary part dropped for real T).
template <class T>
T scalar(double re, double im) {
  if constexpr (kComplex<T>) return T(static_cast<gemm_test::real_t<T>>(re), static_cast<gemm_test::real_t<T>>(im));
  else return static_cast<T>(re);
}

template <class T>
std::vector<char> letters() {
  if constexpr (kComplex<T>) return {'N', 'T', 'C'};
  else return {'N', 'T', 'c'};
}

// One product: op(A) m x k, op(B) k x n, C m x n, with its own storage.
template <class T>
struct Problem {
  char ta, tb;
  i64 m, n, k;
  Mat<T> A, B, C;
  Problem(char ta_, char tb_, i64 m_, i64 n_, i64 k_, i64 pad, i64 off, std::uint64_t seed)
      : ta(ta_), tb(tb_), m(m_), n(n_), k(k_) {
    const bool na = (ta & 0xDF) == 'N', nb = (tb & 0xDF) == 'N';
    const i64 ar = na ? m : k, ac = na ? k : m, br = nb ? k : n, bc = nb ? n : k;
    A = Mat<T>(ar, ac, std::max<i64>(1, ar) + pad, off);
    B = Mat<T>(br, bc, std::max<i64>(1, br) + pad, 2 * off + 1);
    C = Mat<T>(m, n, std::max<i64>(1, m) + pad, off + 3);
    qor::test::Rng rng(seed);
    A.fill(rng);
    B.fill(rng);
    C.fill(rng);
  }
  void run(T alpha, T beta) {
    gemm_of<T>()(&ta, &tb, &m, &n, &k, &alpha, A.p(), &A.ld, B.p(), &B.ld, &beta, C.p(), &C.ld);
  }
  // Rows i0..i0+mi and columns j0..j0+nj of this product as a product of
  // its own, copied into fresh storage with other leading dimensions and
  // offsets (the old C block included).
  Problem sub(i64 i0, i64 mi, i64 j0, i64 nj, i64 pad, i64 off) const {
    Problem s(ta, tb, mi, nj, k, pad, off, 99);
    const bool na = (ta & 0xDF) == 'N', nb = (tb & 0xDF) == 'N';
    for (i64 i = 0; i < mi; ++i)
      for (i64 l = 0; l < k; ++l)
        (na ? s.A.at(i, l) : s.A.at(l, i)) = na ? A.p()[(i0 + i) + l * A.ld] : A.p()[l + (i0 + i) * A.ld];
    for (i64 j = 0; j < nj; ++j)
      for (i64 l = 0; l < k; ++l)
        (nb ? s.B.at(l, j) : s.B.at(j, l)) = nb ? B.p()[l + (j0 + j) * B.ld] : B.p()[(j0 + j) + l * B.ld];
    for (i64 j = 0; j < nj; ++j)
      for (i64 i = 0; i < mi; ++i) s.C.at(i, j) = C.p()[(i0 + i) + (j0 + j) * C.ld];
    return s;
  }
};

// The first entry of the block at (i0, j0) of `whole` whose bits differ in
// `part`, as text, or "".
template <class T>
std::string first_difference(const Problem<T>& whole, const Problem<T>& part, i64 i0, i64 j0) {
  for (i64 j = 0; j < part.n; ++j)
    for (i64 i = 0; i < part.m; ++i)
      if (std::memcmp(&whole.C.p()[(i0 + i) + (j0 + j) * whole.C.ld], &part.C.p()[i + j * part.C.ld], sizeof(T)) != 0)
        return "C(" + std::to_string(i0 + i) + "," + std::to_string(j0 + j) + ")";
  return {};
}

template <class T>
class Wide : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) GTEST_SKIP() << "no 512-bit path on this machine";
    guard_ = std::make_unique<qor::test::PathGuard>(QOR_CPU_PATH_AVX512);
    qor_set_num_threads(1);
    hits_ = qor_cpu_path_hits(QOR_CPU_PATH_AVX512);
  }
  void TearDown() override {
    if (!guard_) return;
    EXPECT_GT(qor_cpu_path_hits(QOR_CPU_PATH_AVX512), hits_) << "the 512-bit body was not reached";
    qor_set_num_threads(0);
    guard_.reset();
  }
  std::unique_ptr<qor::test::PathGuard> guard_;
  std::int64_t hits_ = 0;
};

using Types = ::testing::Types<float, double, qor::c32, qor::c64>;
TYPED_TEST_SUITE(Wide, Types);

// Every pair of letters over shapes that cross the tile edges in both
// directions, a few depths, and alpha/beta with both parts for complex.
TYPED_TEST(Wide, WholeProductsMatchTheReference) {
  using T = TypeParam;
  const i64 ms[] = {1, 2, 7, 13, 29, 50, 97};
  const i64 ns[] = {1, 3, 8, 9, 17, 31};
  const i64 ks[] = {1, 4, 33, 260};
  int count = 0;
  for (char ta : letters<T>())
    for (char tb : letters<T>())
      for (i64 m : ms)
        for (i64 n : ns) {
          const i64 k = ks[count++ % 4];
          Problem<T> p(ta, tb, m, n, k, count % 3, count % 5, count);
          const Mat<T> c0 = p.C;
          const T alpha = scalar<T>(0.75, -0.25), beta = scalar<T>(-0.5, 0.125);
          p.run(alpha, beta);
          ASSERT_EQ(gemm_test::check_gemm<T>(ta, tb, m, n, k, alpha, p.A, p.B, beta, c0, p.C), "")
              << ta << tb << " " << m << "x" << n << "x" << k;
        }
}

// Depths past several depth blocks, and a product wider than the row and
// column blocks of any cache, checked through the reference's projection.
TYPED_TEST(Wide, LargeAndDeepProductsMatchTheReference) {
  using T = TypeParam;
  const struct { char ta, tb; i64 m, n, k; } shapes[] = {
      {'N', 'N', 37, 21, 2500}, {'T', 'C', 45, 19, 1999}, {'N', 'T', 700, 650, 70}, {'C', 'N', 301, 9, 1200}};
  for (const auto& s : shapes) {
    Problem<T> p(s.ta, s.tb, s.m, s.n, s.k, 1, 1, 5);
    const Mat<T> c0 = p.C;
    p.run(scalar<T>(1, 0), scalar<T>(1, 0));
    ASSERT_EQ(gemm_test::check_gemm<T>(s.ta, s.tb, s.m, s.n, s.k, scalar<T>(1, 0), p.A, p.B, scalar<T>(1, 0), c0, p.C), "")
        << s.ta << s.tb << " " << s.m << "x" << s.n << "x" << s.k;
  }
}

// beta 0 never reads C (NaN there goes); alpha 0 and depth 0 only scale C
// and read neither A nor B (NaN there stays out).
TYPED_TEST(Wide, SpecialScalarsFollowTheReference) {
  using T = TypeParam;
  const T nan = scalar<T>(std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN());
  for (i64 k : {i64{0}, i64{5}, i64{300}}) {
    Problem<T> p('N', 'T', 30, 11, k, 2, 1, 3);
    for (auto& v : p.C.store) v = nan;
    p.run(scalar<T>(2, 1), scalar<T>(0, 0));
    for (i64 j = 0; j < p.n; ++j)
      for (i64 i = 0; i < p.m; ++i) ASSERT_FALSE(std::isnan(std::abs(p.C.at(i, j)))) << k << " " << i << "," << j;
  }
  for (i64 k : {i64{0}, i64{40}}) {
    Problem<T> p('T', 'N', 26, 10, k, 0, 0, 4);
    for (auto& v : p.A.store) v = nan;
    for (auto& v : p.B.store) v = nan;
    const Mat<T> c0 = p.C;
    const T beta = scalar<T>(-2, 0.5);
    p.run(scalar<T>(0, 0), beta);
    for (i64 j = 0; j < p.n; ++j)
      for (i64 i = 0; i < p.m; ++i) {
        const T want = beta * c0.p()[i + j * c0.ld];
        ASSERT_LE(std::abs(p.C.at(i, j) - want), 4 * std::numeric_limits<gemm_test::real_t<T>>::epsilon() * std::abs(want))
            << k << " " << i << "," << j;
      }
  }
}

// Sub-block products, single rows, single columns and single entries give
// the bits of the whole product, for every pair of letters and depths on
// both sides of a depth block; the blocks start at odd offsets and live in
// storage with other leading dimensions and misaligned first elements.
TYPED_TEST(Wide, EntriesDoNotDependOnTheBlockAroundThem) {
  using T = TypeParam;
  const i64 m = 83, n = 37;
  const struct { i64 i0, mi, j0, nj; } blocks[] = {
      {0, 83, 0, 37}, {1, 50, 3, 20}, {17, 1, 0, 37}, {0, 83, 29, 1}, {82, 1, 36, 1}, {5, 9, 11, 3}, {40, 43, 8, 29}};
  const T alphas[] = {scalar<T>(1, 0), scalar<T>(-0.3, 0.7)};
  const T betas[] = {scalar<T>(0, 0), scalar<T>(1, 0), scalar<T>(0.6, -0.2)};
  int count = 0;
  for (char ta : letters<T>())
    for (char tb : letters<T>())
      for (i64 k : {i64{3}, i64{150}, i64{1100}}) {
        const T alpha = alphas[count % 2], beta = betas[count % 3];
        ++count;
        Problem<T> whole(ta, tb, m, n, k, 0, 0, count);
        const Problem<T> before = whole;
        whole.run(alpha, beta);
        for (const auto& b : blocks) {
          Problem<T> part = before.sub(b.i0, b.mi, b.j0, b.nj, 1 + count % 4, 1 + count % 3);
          part.run(alpha, beta);
          ASSERT_EQ(first_difference(whole, part, b.i0, b.j0), "")
              << ta << tb << " k=" << k << " block at " << b.i0 << "," << b.j0 << " of " << b.mi << "x" << b.nj;
        }
      }
}

// Two threads split C; a refused work area takes another path. Neither may
// move a bit, and the refusal gives one warning and leaks nothing.
TYPED_TEST(Wide, ThreadsAndARefusedWorkAreaKeepEveryBit) {
  using T = TypeParam;
  for (const char* lt : {"NN", "TC"}) {
    Problem<T> one(lt[0], lt[1], 301, 157, 520, 1, 1, 8);
    Problem<T> two = one, refused = one;
    const T alpha = scalar<T>(1.25, 0.5), beta = scalar<T>(0.5, 0.5);
    one.run(alpha, beta);
    qor_set_num_threads(2);
    two.run(alpha, beta);
    qor_set_num_threads(1);
    ASSERT_EQ(first_difference(one, two, 0, 0), "") << lt << " two threads";
    {
      qor::test::AllocWatch watch;
      qor::test::MessageCapture capture;
      qor_fault_fail_next(QOR_POOL_BOTH, 1);
      refused.run(alpha, beta);
      EXPECT_EQ(watch.failures(), 1) << lt;
      ASSERT_EQ(capture.entries().size(), 1u) << lt;
      EXPECT_EQ(capture.entries()[0].kind, QOR_MSG_WARNING) << lt;
      EXPECT_EQ(capture.entries()[0].routine, "xdgemm") << lt;
    }
    ASSERT_EQ(first_difference(one, refused, 0, 0), "") << lt << " refused work area";
  }
}

}  // namespace
