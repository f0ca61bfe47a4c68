// dgemm against a long-double reference, on every processor body: letters,
// shapes across every tail and block boundary, leading dimensions, a
// misaligned C, the special values of alpha, beta and k, allocation failure
// and the team of threads.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "blas/gemm/dispatch.h"
#include "common/testing.h"
#include "gemm_ref.h"
#include "qor/cblas.h"

namespace {

using gemm_test::i64;
using gemm_test::Case;
using gemm_test::describe;
using gemm_test::Mat;

// Runs one case through the dispatching name and checks it; returns the
// failure text or "".
std::string run(const Case& c, std::uint64_t seed = 1) {
  return gemm_test::run_case<double>(c, c.alpha, c.beta, &qor_blas_dgemm, seed);
}

class Dgemm : public ::testing::Test {
 protected:
  void SetUp() override { qor_set_num_threads(1); }
  void TearDown() override { qor_set_num_threads(0); }
};

TEST_F(Dgemm, EveryLetterPairAndEveryTailOnEveryBody) {
  const char pairs[][2] = {{'N', 'N'}, {'n', 't'}, {'T', 'n'}, {'t', 'T'}, {'C', 'N'}, {'N', 'c'}};
  const i64 ms[] = {1, 2, 3, 5, 11, 12, 13, 24, 25, 37};
  const i64 ns[] = {1, 2, 3, 4, 5, 7, 8, 12, 13, 16, 17, 20, 25};
  const i64 ks[] = {0, 1, 2, 3, 4, 5, 7, 9};
  qor::test::on_every_path(
      [&](int) {
        int count = 0;
        for (auto& p : pairs)
          for (i64 m : ms)
            for (i64 n : ns) {
              // Walk the depths so that every (m, n) pair meets several.
              i64 k = ks[(m + 3 * n + count++) % 8];
              Case c{p[0], p[1], m, n, k, 0.75, -0.5};
              ASSERT_EQ(run(c), "");
              c.k = 2 * k + 6;
              ASSERT_EQ(run(c), "");
            }
      },
      true);
}

TEST_F(Dgemm, DepthsAroundEveryBlockLimit) {
  const i64 ks[] = {1, 4, 5, 127, 128, 129, 130, 191, 192, 193, 255, 256, 257, 300, 302, 383, 384, 511, 512, 513};
  qor::test::on_every_path(
      [&](int) {
        for (i64 k : ks) {
          ASSERT_EQ(run({'N', 'N', 37, 29, k, 1.25, 1.0}), "");
          ASSERT_EQ(run({'T', 'T', 26, 16, k, -1.0, 0.0}), "");
        }
      },
      true);
}

TEST_F(Dgemm, PastTwoBlocksOfRowsAndOfColumns) {
  qor::test::on_every_path(
      [&](int) {
        ASSERT_EQ(run({'N', 'T', 1100, 13, 129, 0.5, 2.0}), "");    // rows past 2 x 512, 2 x 504, 2 x 240
        ASSERT_EQ(run({'T', 'N', 1037, 17, 40, 1.0, 1.0}), "");
        ASSERT_EQ(run({'N', 'N', 14, 10050, 6, 1.0, 0.5}), "");     // columns past 2 x 5000
        ASSERT_EQ(run({'T', 'T', 9, 799, 70, 1.0, 0.5}), "");       // columns past 2 x 384
        // m + n of 10000 or more with a short depth: the larger row blocks.
        for (i64 k : {16, 32, 64, 100}) ASSERT_EQ(run({'N', 'N', 9990, 14, k, 1.0, 0.0}), "");
        ASSERT_EQ(run({'T', 'N', 211, 203, 301, 1.0, -1.0}), "");   // square-ish, every tail at once
      },
      true);
}

TEST_F(Dgemm, LargerLeadingDimensionsAndMisalignedC) {
  qor::test::on_every_path(
      [&](int) {
        for (i64 off : {0, 1})
          for (i64 pad : {0, 1, 3}) {
            ASSERT_EQ(run({'N', 'N', 30, 28, 33, 1.0, 0.25, pad, off}), "");
            ASSERT_EQ(run({'T', 'N', 27, 24, 130, -2.0, 1.0, pad, off}), "");
            ASSERT_EQ(run({'N', 'T', 50, 13, 9, 1.0, 0.0, pad, off}), "");
          }
      },
      true);
}

TEST_F(Dgemm, AlphaZeroAndBetaZeroClearNaNWithoutReadingAOrB) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  qor::test::on_every_path([&](int) {
    for (i64 m : {1, 7, 40})
      for (i64 n : {1, 6, 33}) {
        Mat<double> A(m, 9, m), B(9, n, 9), C(m, n, m);
        for (auto& v : A.store) v = nan;
        for (auto& v : B.store) v = nan;
        for (auto& v : C.store) v = nan;
        const i64 k = 9;
        const double zero = 0.0;
        qor_blas_dgemm("N", "N", &m, &n, &k, &zero, A.p(), &A.ld, B.p(), &B.ld, &zero, C.p(), &C.ld);
        for (i64 j = 0; j < n; ++j)
          for (i64 i = 0; i < m; ++i) ASSERT_EQ(C.at(i, j), 0.0) << m << "x" << n;
      }
    // beta 0 with NaN in C and a real product: the product alone.
    Case c{'N', 'T', 19, 21, 17, 1.0, 0.0};
    Mat<double> A(19, 17, 19), B(21, 17, 21), C(19, 21, 19);
    qor::test::Rng rng(3);
    A.fill(rng);
    B.fill(rng);
    for (auto& v : C.store) v = nan;
    Mat<double> C0 = C;
    qor_blas_dgemm(&c.ta, &c.tb, &c.m, &c.n, &c.k, &c.alpha, A.p(), &A.ld, B.p(), &B.ld, &c.beta, C.p(), &C.ld);
    ASSERT_EQ(gemm_test::check_gemm<double>('N', 'T', 19, 21, 17, 1.0, A, B, 0.0, C0, C), "");
  });
}

TEST_F(Dgemm, EmptyShapesAndZeroDepth) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  qor::test::on_every_path([&](int) {
    // m or n of 0 (or below) leaves C alone whatever beta is.
    Mat<double> C(5, 5, 5);
    for (auto& v : C.store) v = 3.0;
    double A[25] = {}, B[25] = {};
    for (auto mn : {std::pair<i64, i64>{0, 5}, {5, 0}, {-1, 5}}) {
      const i64 k = 5, ld = 5;
      const double one = 1.0;
      qor_blas_dgemm("N", "N", &mn.first, &mn.second, &k, &one, A, &ld, B, &ld, &nan, C.p(), &ld);
      for (double v : C.store) ASSERT_EQ(v, 3.0);
    }
    // k of 0 scales C by beta: 2 doubles it, 0 clears it.
    for (double beta : {2.0, 0.0}) {
      ASSERT_EQ(run({'N', 'N', 13, 9, 0, 1.0, beta}), "");
      ASSERT_EQ(run({'T', 'T', 64, 64, 0, 1.0, beta}), "");
    }
  });
}

TEST_F(Dgemm, FailedAllocationGivesTheSameResultAndOneWarning) {
  qor::test::on_every_path(
      [&](int path) {
        // The 512-bit body warns as the AVX bodies do.
        const bool avx = path == QOR_CPU_PATH_BULLDOZER || path == QOR_CPU_PATH_ZEN || path == QOR_CPU_PATH_AVX512;
        const std::string name = avx ? "xdgemm" : "DGEMM";
        // The 512-bit body packs only products too large for its stack area.
        const std::vector<Case> cases =
            path == QOR_CPU_PATH_AVX512
                ? std::vector<Case>{{'N', 'N', 300, 200, 160, 1.5, 0.5}, {'T', 'N', 250, 140, 90, -1.0, 0.0},
                                    {'N', 'T', 240, 90, 200, 1.0, 1.0}}
                : std::vector<Case>{{'N', 'N', 61, 35, 140, 1.5, 0.5}, {'T', 'N', 25, 14, 9, -1.0, 0.0},
                                    {'N', 'T', 40, 6, 20, 1.0, 1.0}};
        for (Case c : cases) {
          qor::test::AllocWatch watch;
          qor::test::MessageCapture capture;
          qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
          ASSERT_EQ(run(c), "");
          EXPECT_EQ(watch.failures(), 1) << describe(c);
          ASSERT_EQ(capture.count(QOR_MSG_WARNING), 1) << describe(c);
          EXPECT_EQ(capture.entries()[0].routine, name);
        }
        // n of 3: the baseline body allocates and then works by matrix-vector
        // products only; the tuned bodies go unpacked.
        if (path == QOR_CPU_PATH_BASELINE) {
          qor::test::AllocWatch watch;
          ASSERT_EQ(run({'N', 'T', 40, 3, 20, 1.0, 1.0}), "");
          EXPECT_EQ(watch.allocations(), 1);
        }
        // Thin shapes go unpacked and allocate nothing.
        qor::test::AllocWatch watch;
        ASSERT_EQ(run({'N', 'N', 1, 40, 30, 1.0, 1.0}), "");
        ASSERT_EQ(run({'T', 'N', 40, 1, 30, 1.0, 1.0}), "");
        EXPECT_EQ(watch.allocations(), 0);
      },
      true);
}

TEST_F(Dgemm, TiersOtherThanZeroTakeTheBaselineBody) {
  for (int p : qor::test::runnable_paths()) {
    if (p == QOR_CPU_PATH_BASELINE) continue;
    qor::test::PathGuard guard(p);
    qor_set_cpu_tier(3);
    std::int64_t before = qor_cpu_path_hits(p);
    std::string e = run({'N', 'T', 30, 30, 30, 1.0, 1.0});
    qor_set_cpu_tier(-1);
    ASSERT_EQ(e, "");
    EXPECT_EQ(qor_cpu_path_hits(p), before) << qor_cpu_path_name(p);
  }
}

TEST(DgemmThreads, BlocksOfCOnATeamMatchTheReference) {
  qor_set_num_threads(2);
  qor::test::on_every_path([&](int) {
    ASSERT_EQ(run({'N', 'N', 301, 299, 150, 1.0, 0.5}), "");  // the team splits an odd square
    ASSERT_EQ(run({'T', 'N', 1500, 30, 64, -1.0, 1.0}), "");  // tall: rows are split
    ASSERT_EQ(run({'N', 'T', 30, 1503, 64, 1.0, 0.0}), "");   // wide: columns are split
  });
  qor_set_num_threads(0);
  EXPECT_GE(qor_get_max_threads(), 1);
}

}  // namespace
