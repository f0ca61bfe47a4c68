// The triangular solve against a reference substitution: every letter
// combination and case, sizes on both sides of the block and leaf cuts,
// alpha 0, subnormal diagonals, empty problems, failed allocations.
#include <cmath>
#include <cstring>
#include <vector>
#include <string>

#include "ref.h"

namespace l3t {
namespace {

using qor::test::AllocWatch;
using qor::test::MessageCapture;
using qor::test::Rng;

template <class T>
double tolerance(i64 k) {
  return 30.0 * eps<T>() * std::sqrt(static_cast<double>(k > 1 ? k : 1)) * 4;
}

// Solves one case and compares with the reference; letters may be of
// either case.
template <class T>
void check_case(char side, char uplo, char trans, char diag, i64 m, i64 n, T alpha, Rng& g) {
  const bool left = (side & 0xDF) == 'L';
  const i64 k = left ? m : n;
  const Mat<T> a = tri_mat<T>(k, g);
  Mat<T> b = random_mat<T>(m, n, g);
  Mat<T> want = b;
  const Mat<T> before = b;
  ref_trsm(side, uplo, trans, diag, alpha, a, want);
  trsm(side, uplo, trans, diag, alpha, a, b);
  SCOPED_TRACE(std::string("side ") + side + " uplo " + uplo + " trans " + trans + " diag " + diag + " m " +
               std::to_string(m) + " n " + std::to_string(n));
  EXPECT_LT(rel_diff(b, want), tolerance<T>(k));
  EXPECT_TRUE(padding_same(b, before));
}

template <class T>
class Trsm : public ::testing::Test {};
TYPED_TEST_SUITE(Trsm, AllTypes);

// Every side, uplo, transa and diag, in upper and lower case, on sizes that
// are odd, even, below and above a leaf block.
TYPED_TEST(Trsm, EveryCombination) {
  using T = TypeParam;
  Rng g(7);
  const char transes[] = {'N', 'T', 'C'};
  const i64 sizes[][2] = {{1, 1}, {7, 5}, {64, 64}, {65, 33}, {130, 66}, {97, 258}};
  int count = 0;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (char trans : transes)
        for (char diag : {'N', 'U'})
          for (auto& s : sizes) {
            const bool lower_case = (count++ % 3) == 1;
            auto lc = [&](char c) { return lower_case ? static_cast<char>(c | 0x20) : c; };
            const T alpha = (count % 2) ? from<T>(1) : from<T>(-0.75, 0.5);
            check_case<T>(lc(side), lc(uplo), lc(trans), lc(diag), s[0], s[1], alpha, g);
          }
}

// The edges of the leaves' vector strips on every processor path: right-
// hand sides of 1 to 17 rows or columns (whole strips and ragged ones),
// triangles around the groups of columns solved together and around the
// leaf size, both diagonals, conjugation.
TYPED_TEST(Trsm, LeafEdgesOnEveryPath) {
  using T = TypeParam;
  qor::test::on_every_path([](int) {
    Rng g(23);
    const char trans_letters[] = {'N', 'T', cplx<T> ? 'C' : 'T'};
    int count = 0;
    for (char side : {'L', 'R'})
      for (char uplo : {'L', 'U'})
        for (char trans : trans_letters)
          for (i64 tri : {1, 3, 4, 6, 9, 64, 67})
            for (i64 rhs : {1, 5, 8, 9, 17}) {
              const char diag = (count++ % 4 == 0) ? 'U' : 'N';
              check_case<T>(side, uplo, trans, diag, side == 'L' ? tri : rhs, side == 'L' ? rhs : tri,
                            from<T>(1), g);
            }
  });
}

// On a processor tier other than 0 a dedicated member would serve the
// processor, and this one takes its baseline bodies everywhere, the vector
// leaves of the solve included: every path gives the baseline path's bits,
// and no path is asked for.
TYPED_TEST(Trsm, NonzeroTierTakesTheBaselineBodyOnEveryPath) {
  using T = TypeParam;
  Rng g(31);
  // Triangles small enough for the vector leaves, on both sides.
  const Mat<T> a = tri_mat<T>(9, g);
  const Mat<T> left = random_mat<T>(9, 6, g), right = random_mat<T>(6, 9, g);
  std::vector<Mat<T>> first;
  for (int p : qor::test::runnable_paths()) {
    SCOPED_TRACE(qor_cpu_path_name(p));
    qor::test::PathGuard guard(p);
    qor_set_cpu_tier(3);
    const std::int64_t before = qor_cpu_path_hits(p);
    std::vector<Mat<T>> got;
    for (char uplo : {'L', 'U'})
      for (char trans : {'N', 'T'}) {
        Mat<T> b = left, c = right;
        trsm<T>('L', uplo, trans, 'N', from<T>(1), a, b);
        trsm<T>('R', uplo, trans, 'N', from<T>(1), a, c);
        got.push_back(b);
        got.push_back(c);
      }
    qor_set_cpu_tier(-1);
    EXPECT_EQ(qor_cpu_path_hits(p), before) << "a tuned body was asked for";
    if (first.empty()) first = got;
    for (std::size_t k = 0; k < got.size(); ++k)
      EXPECT_EQ(std::memcmp(got[k].data(), first[k].data(), got[k].v.size() * sizeof(T)), 0) << "case " << k;
  }
}

// A zero on the diagonal is not checked for: the solve goes on through the
// ordinary arithmetic, and what was solved before it stays finite.
TYPED_TEST(Trsm, ZeroOnDiagonal) {
  using T = TypeParam;
  qor::test::on_every_path([](int) {
    Rng g(29);
    for (char side : {'L', 'R'}) {
      Mat<T> a = tri_mat<T>(40, g);
      a(5, 5) = T(0);
      Mat<T> b = random_mat<T>(40, 40, g);
      trsm<T>(side, 'L', 'N', 'N', T(1), a, b);
      // Lower, no transposition: left solves rows from the top, right
      // solves columns from the right.
      for (i64 k = 0; k < 40; ++k) {
        const i64 before = side == 'L' ? 4 : 6, at = 5;
        const T solved = side == 'L' ? b(before, k) : b(k, before);
        const T hit = side == 'L' ? b(at, k) : b(k, at);
        ASSERT_TRUE(std::isfinite(static_cast<double>(mag(solved)))) << side << " " << k;
        ASSERT_FALSE(std::isfinite(static_cast<double>(mag(hit)))) << side << " " << k;
      }
    }
  });
}

// The large-block cuts of the entry and the first layer: triangles of 128 to
// 1024 and beyond, odd and even, with few right-hand sides so that the
// reference stays cheap; and a wide right-hand side.
TEST(TrsmSizes, AcrossBlockCuts) {
  Rng g(11);
  for (i64 k : {128, 256, 512, 1024, 1031})
    for (char uplo : {'L', 'U'})
      for (char trans : {'N', 'T'}) {
        check_case<double>('L', uplo, trans, 'N', k, 10, 1.0, g);
        check_case<double>('R', uplo, trans, 'N', 9, k, 1.0, g);
      }
  for (char side : {'L', 'R'})
    for (char uplo : {'L', 'U'}) {
      check_case<double>(side, uplo, 'N', 'U', side == 'L' ? 300 : 1100, side == 'L' ? 1100 : 300, 2.0, g);
      check_case<float>(side, uplo, 'T', 'N', side == 'L' ? 260 : 600, side == 'L' ? 600 : 260, 1.0f, g);
      check_case<c64>(side, uplo, 'C', 'N', side == 'L' ? 200 : 300, side == 'L' ? 300 : 200, c64(0.5, 1), g);
    }
}

// The left cases solve their leaves on slices of the right-hand side and
// update the rest of B over its whole width: a triangle past the first
// block cut with a right-hand side that ends in a partial slice, in every
// order of the solve.
TEST(TrsmSizes, LeftSlicesAndWholeWidthUpdates) {
  Rng g(12);
  for (char uplo : {'L', 'U'})
    for (char trans : {'N', 'T'}) check_case<double>('L', uplo, trans, 'N', 1100, 270, -0.5, g);
  check_case<c64>('L', 'U', 'C', 'N', 300, 150, c64(0.5, -1), g);
}

// The solve uses the GEMM body of each processor path.
TEST(TrsmSizes, OnEveryPath) {
  qor::test::on_every_path([](int) {
    Rng g(5);
    for (char side : {'L', 'R'})
      for (char uplo : {'L', 'U'})
        for (char trans : {'N', 'T'}) {
          check_case<double>(side, uplo, trans, 'N', 200, 131, 1.0, g);
          check_case<float>(side, uplo, trans, 'U', 131, 200, 1.0f, g);
          check_case<c32>(side, uplo, trans == 'T' ? 'C' : 'N', 'N', 150, 70, c32(1), g);
          check_case<c64>(side, uplo, trans, 'N', 70, 150, c64(1), g);
        }
  });
}

// alpha 0 clears B without using A, even when A and B hold NaN; on the
// path of a subnormal diagonal as well.
TYPED_TEST(Trsm, AlphaZeroClearsNaN) {
  using T = TypeParam;
  Rng g(3);
  const R<T> nan = std::numeric_limits<R<T>>::quiet_NaN();
  for (bool subnormal : {false, true})
    for (char side : {'L', 'R'}) {
      Mat<T> a = tri_mat<T>(40, g);
      for (auto& x : a.v) x = from<T>(nan, nan);
      for (i64 i = 0; i < 40; ++i) a(i, i) = from<T>(1);
      if (subnormal) a(3, 3) = from<T>(std::numeric_limits<R<T>>::denorm_min());
      Mat<T> b(40, 40);
      for (auto& x : b.v) x = from<T>(nan, nan);
      trsm<T>(side, 'L', 'N', 'N', T(0), a, b);
      for (i64 j = 0; j < 40; ++j)
        for (i64 i = 0; i < 40; ++i) ASSERT_EQ(b(i, j), T(0)) << side << " subnormal " << subnormal;
    }
}

// A diagonal with one subnormal element goes to the dividing solver, which
// needs no memory and gives finite results where a reciprocal would
// overflow. A unit diagonal holding subnormals is not read, and the solve
// takes the blocked path (whose GEMM allocates).
TYPED_TEST(Trsm, SubnormalDiagonal) {
  using T = TypeParam;
  Rng g(9);
  const R<T> tiny = std::numeric_limits<R<T>>::denorm_min() * 8;
  const i64 n = 150;
  for (char side : {'L', 'R'})
    for (char trans : {'N', 'T'}) {
      Mat<T> a = tri_mat<T>(n, g);
      a(70, 70) = from<T>(tiny);
      Mat<T> b = random_mat<T>(side == 'L' ? n : 20, side == 'L' ? 20 : n, g);
      // Keep the element solved against the subnormal one small, so that
      // the true result is finite.
      const R<T> small = std::numeric_limits<R<T>>::min() * 64;
      for (auto& x : b.v) x *= small;
      Mat<T> want = b;
      ref_trsm<T>(side, 'L', trans, 'N', T(1), a, want);
      AllocWatch watch;
      trsm<T>(side, 'L', trans, 'N', T(1), a, b);
      EXPECT_EQ(watch.allocations(), 0) << "the dividing solver allocates nothing";
      for (i64 j = 0; j < b.cols; ++j)
        for (i64 i = 0; i < b.rows; ++i) {
          ASSERT_TRUE(std::isfinite(static_cast<double>(mag(b(i, j))))) << side << trans << " " << i << "," << j;
          ASSERT_LE(static_cast<double>(mag(b(i, j) - want(i, j))),
                    1e-3 * static_cast<double>(mag(want(i, j))) + 1e-30);
        }
    }
  for (char side : {'L', 'R'}) {
    Mat<T> a = tri_mat<T>(n, g);
    for (i64 i = 0; i < n; ++i) a(i, i) = from<T>(tiny);
    Mat<T> b = random_mat<T>(side == 'L' ? n : 30, side == 'L' ? 30 : n, g);
    Mat<T> want = b;
    ref_trsm<T>(side, 'U', 'N', 'U', T(1), a, want);
    AllocWatch watch;
    trsm<T>(side, 'U', 'N', 'U', T(1), a, b);
    // The blocked solver shows by its GEMM work area, which the 512-bit
    // GEMM keeps on the stack at this size.
    if (qor_get_cpu_path() != QOR_CPU_PATH_AVX512)
      EXPECT_GT(watch.allocations(), 0) << "a unit diagonal is not checked";
    EXPECT_LT(rel_diff(b, want), tolerance<T>(n));
  }
}

// n of 0 returns at once whatever alpha, and m of 0 too: nothing is read.
TYPED_TEST(Trsm, EmptyProblems) {
  using T = TypeParam;
  const T alpha(0);
  const i64 lda = 5, ldb = 5;
  for (char side : {'L', 'R'}) {
    i64 m = 5, n = 0;
    Calls<T>::trsm(&side, "L", "N", "N", &m, &n, &alpha, nullptr, &lda, nullptr, &ldb);
    m = 0, n = 5;
    if (side == 'L') Calls<T>::trsm(&side, "L", "N", "N", &m, &n, &alpha, nullptr, &lda, nullptr, &ldb);
  }
}

// When every allocation fails the GEMM below falls back to its unpacked
// kernel: the same result, warnings, no leak.
TEST(TrsmFaults, FailedAllocations) {
  Rng g(13);
  MessageCapture capture;
  AllocWatch watch;
  qor_fault_fail_after(QOR_POOL_BOTH, 0);
  for (char side : {'L', 'R'}) check_case<double>(side, 'U', 'T', 'N', 300, 140, 1.0, g);
  check_case<c64>('L', 'L', 'C', 'N', 150, 90, c64(1), g);
  qor_fault_reset();
  EXPECT_GT(watch.failures(), 0);
  EXPECT_GT(capture.count(QOR_MSG_WARNING), 0);
}

// Two threads split the right-hand sides; the result is that of one.
TEST(TrsmThreads, TeamMatchesReference) {
  Rng g(17);
  qor_set_num_threads(2);
  for (char side : {'L', 'R'})
    for (char uplo : {'L', 'U'}) check_case<double>(side, uplo, 'N', 'N', side == 'L' ? 400 : 333, side == 'L' ? 333 : 400, 1.0, g);
  qor_set_num_threads(0);
}

}  // namespace
}  // namespace l3t
