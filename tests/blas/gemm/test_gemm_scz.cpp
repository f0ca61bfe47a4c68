// sgemm, cgemm and zgemm against a long-double reference, on every processor
// body: all letter pairs (the nine of the complex members), shapes across
// every tail and block boundary, partial depth blocks of every remainder,
// leading dimensions, a misaligned C, the special values of alpha, beta and
// k, allocation failure and the team of threads.
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "blas/gemm/gemm_ref.h"
#include "blas/gemm/dispatch.h"
#include "common/testing.h"

namespace {

using gemm_test::i64;
using gemm_test::Mat;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T> constexpr bool complex_v = !std::is_same_v<T, gemm_test::real_t<T>>;

void call(const char* ta, const char* tb, const i64* m, const i64* n, const i64* k, const float* al, const float* a,
          const i64* lda, const float* b, const i64* ldb, const float* be, float* c, const i64* ldc) {
  qor_blas_sgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
}
void call(const char* ta, const char* tb, const i64* m, const i64* n, const i64* k, const c32* al, const c32* a,
          const i64* lda, const c32* b, const i64* ldb, const c32* be, c32* c, const i64* ldc) {
  qor_blas_cgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
}
void call(const char* ta, const char* tb, const i64* m, const i64* n, const i64* k, const c64* al, const c64* a,
          const i64* lda, const c64* b, const i64* ldb, const c64* be, c64* c, const i64* ldc) {
  qor_blas_zgemm(ta, tb, m, n, k, al, a, lda, b, ldb, be, c, ldc);
}

// Per-type facts the tests aim at: the depth block of the baseline body,
// its row block, and the warning names.
template <class T> struct facts;
template <> struct facts<float> {
  static constexpr i64 kb = 112, mb = 640, tuned_mb = 6400, tuned_nb = 384, min_m = 8;
  static constexpr const char* name = "SGEMM";
};
template <> struct facts<c32> {
  static constexpr i64 kb = 64, mb = 320, tuned_mb = 3200, tuned_nb = 192, min_m = 4;
  static constexpr const char* name = "CGEMM";
};
template <> struct facts<c64> {
  static constexpr i64 kb = 64, mb = 320, tuned_mb = 1600, tuned_nb = 96, min_m = 4;
  static constexpr const char* name = "ZGEMM";
};

using gemm_test::Case;
using gemm_test::describe;

// A scalar of type T from a real value; complex ones get an imaginary part
// too, so that the complex arithmetic of alpha and beta is exercised.
template <class T> T scalar(double v) {
  if constexpr (complex_v<T>) return T(static_cast<gemm_test::real_t<T>>(v), static_cast<gemm_test::real_t<T>>(v == 0 || v == 1 ? 0 : -0.375));
  else return static_cast<T>(v);
}

// Runs one case through the dispatching name and checks it; returns the
// failure text or "".
template <class T> std::string run(const Case& c, std::uint64_t seed = 1) {
  return gemm_test::run_case<T>(
      c, scalar<T>(c.alpha), scalar<T>(c.beta),
      [](auto... args) { call(args...); }, seed);
}

template <class T> class Gemm : public ::testing::Test {
 protected:
  void SetUp() override { qor_set_num_threads(1); }
  void TearDown() override { qor_set_num_threads(0); }
};
using Types = ::testing::Types<float, c32, c64>;
TYPED_TEST_SUITE(Gemm, Types);

// The letter pairs: N, T, C on both sides (C is T for the real member), in
// both cases.
std::vector<std::pair<char, char>> letter_pairs() {
  std::vector<std::pair<char, char>> p;
  const char l[] = {'N', 'T', 'C'};
  int q = 0;
  for (char a : l)
    for (char b : l) {
      char x = a, y = b;
      if (q % 3 == 1) x = static_cast<char>(x | 0x20);
      if (q % 4 == 2) y = static_cast<char>(y | 0x20);
      p.push_back({x, y});
      ++q;
    }
  return p;
}

TYPED_TEST(Gemm, EveryLetterPairAndEveryTailOnEveryBody) {
  using T = TypeParam;
  const i64 ms[] = {1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 23, 33};
  const i64 ns[] = {1, 2, 4, 7, 8, 9, 10, 11, 12, 13};
  const i64 ks[] = {0, 1, 3, 7, 8, 9, 10, 11};
  qor::test::on_every_path(
      [&](int) {
        int count = 0;
        for (auto [ta, tb] : letter_pairs())
          for (i64 m : ms)
            for (i64 n : ns) {
              i64 k = ks[(m + 3 * n + count++) % 8];
              ASSERT_EQ(run<T>({ta, tb, m, n, k, 0.75, -0.5}), "");
              ASSERT_EQ(run<T>({ta, tb, m, n, 2 * k + 9, 1.0, 1.0}), "");
            }
      },
      true);
}

TYPED_TEST(Gemm, PartialDepthBlocksOfEveryRemainder) {
  using T = TypeParam;
  const i64 kb = facts<T>::kb;
  // k mod the depth block from 1 to 4 (each rounding of the kernel depth),
  // none, and over two blocks; with the limits of the tuned and Barcelona
  // depth rules.
  std::vector<i64> ks = {kb - 1, kb, kb + 1, kb + 2, kb + 3, kb + 4, 2 * kb, 2 * kb + 5, 3 * kb + 7};
  for (i64 k : {127, 128, 129, 191, 192, 193, 255, 256, 257, 383, 385, 513}) ks.push_back(k);
  qor::test::on_every_path(
      [&](int) {
        for (i64 k : ks) {
          ASSERT_EQ(run<T>({'N', 'N', 21, 13, k, 1.25, 1.0}), "");
          ASSERT_EQ(run<T>({'T', 'C', 17, 10, k, -1.0, 0.0}), "");
          ASSERT_EQ(run<T>({'C', 'T', 9, 9, k, 0.5, 2.0}), "");
        }
      },
      true);
}

TYPED_TEST(Gemm, PastTwoBlocksOfRowsAndOfColumns) {
  using T = TypeParam;
  qor::test::on_every_path(
      [&](int path) {
        const bool tuned = path == QOR_CPU_PATH_BULLDOZER || path == QOR_CPU_PATH_ZEN;
        const i64 mb = tuned ? facts<T>::tuned_mb : facts<T>::mb;
        ASSERT_EQ(run<T>({'N', 'T', 2 * mb + 13, 11, 9, 0.5, 2.0}), "");
        ASSERT_EQ(run<T>({'C', 'N', 2 * mb + 3, 9, facts<T>::kb + 3, 1.0, 1.0}), "");
        ASSERT_EQ(run<T>({'N', 'N', 9, 4005, 8, 1.0, 0.5}), "");  // columns past 2 x 2000
        ASSERT_EQ(run<T>({'T', 'T', 9, 2 * facts<T>::tuned_nb + 7, 70, 1.0, 0.5}), "");
        ASSERT_EQ(run<T>({'T', 'N', 211, 203, 301, 1.0, -1.0}), "");  // every tail at once
      },
      true);
}

TYPED_TEST(Gemm, LargerLeadingDimensionsAndMisalignedC) {
  using T = TypeParam;
  qor::test::on_every_path(
      [&](int) {
        for (i64 off : {0, 1})
          for (i64 pad : {0, 1, 3}) {
            ASSERT_EQ(run<T>({'N', 'N', 30, 28, 33, 1.0, 0.25, pad, off}), "");
            ASSERT_EQ(run<T>({'T', 'C', 27, 24, 130, -2.0, 1.0, pad, off}), "");
            ASSERT_EQ(run<T>({'C', 'T', 50, 13, 9, 1.0, 0.0, pad, off}), "");
          }
      },
      true);
}

// C eight bytes off a 16-byte boundary, which for z is half an element (an
// element offset cannot give it): the product runs on a copy of C placed
// there, so every kernel takes its unaligned branch.
TYPED_TEST(Gemm, CEightBytesOffA16ByteBoundary) {
  using T = TypeParam;
  auto shifted_call = [](const char* ta, const char* tb, const i64* m, const i64* n, const i64* k, const T* al,
                         const T* a, const i64* lda, const T* b, const i64* ldb, const T* be, T* c, const i64* ldc) {
    const std::size_t count = static_cast<std::size_t>(*ldc * *n);
    std::vector<double> store((count * sizeof(T) + 64) / sizeof(double));
    auto base = (reinterpret_cast<std::uintptr_t>(store.data()) + 15) & ~std::uintptr_t{15};
    T* off = reinterpret_cast<T*>(base + 8);
    std::memcpy(static_cast<void*>(off), c, count * sizeof(T));
    call(ta, tb, m, n, k, al, a, lda, b, ldb, be, off, ldc);
    std::memcpy(static_cast<void*>(c), off, count * sizeof(T));
  };
  qor::test::on_every_path(
      [&](int) {
        for (Case c : {Case{'N', 'N', 30, 28, 33, 1.0, 0.25}, Case{'C', 'T', 27, 24, 130, -2.0, 1.0, 1},
                       Case{'T', 'C', 50, 13, 9, 1.0, 0.0}, Case{'N', 'T', 33, 9, 70, 0.5, 2.0, 3}})
          ASSERT_EQ(gemm_test::run_case<T>(c, scalar<T>(c.alpha), scalar<T>(c.beta), shifted_call, 5), "");
      },
      true);
}

TYPED_TEST(Gemm, AlphaZeroAndBetaZeroClearNaN) {
  using T = TypeParam;
  using R = gemm_test::real_t<T>;
  const R nan = std::numeric_limits<R>::quiet_NaN();
  qor::test::on_every_path([&](int) {
    const T zero(0), one(1);
    for (i64 m : {1, 7, 40})
      for (i64 n : {1, 6, 33}) {
        Mat<T> A(m, 9, m), B(9, n, 9), C(m, n, m);
        for (auto& v : A.store) v = T(nan);
        for (auto& v : B.store) v = T(nan);
        for (auto& v : C.store) v = T(nan);
        const i64 k = 9;
        // alpha 0, beta 0: C cleared without reading A, B or C.
        call("N", "N", &m, &n, &k, &zero, A.p(), &A.ld, B.p(), &B.ld, &zero, C.p(), &C.ld);
        for (i64 j = 0; j < n; ++j)
          for (i64 i = 0; i < m; ++i) ASSERT_EQ(C.at(i, j), zero) << m << "x" << n;
        // alpha 0, beta 1: nothing changes, NaN in A and B or not.
        for (auto& v : C.store) v = T(2);
        call("T", "C", &m, &n, &k, &zero, A.p(), &A.ld, B.p(), &B.ld, &one, C.p(), &C.ld);
        for (auto& v : C.store) ASSERT_EQ(v, T(2));
      }
    // beta 0 with NaN in C and a real product: the product alone, through
    // the packed path (the first kernel call stores without reading C).
    for (i64 k : {i64{17}, facts<T>::kb + 5, 3 * facts<T>::kb}) {
      Mat<T> A(41, k, 41), B(23, k, 23), C(41, 23, 41);
      qor::test::Rng rng(3);
      A.fill(rng);
      B.fill(rng);
      for (auto& v : C.store) v = T(nan);
      Mat<T> C0 = C;
      const i64 m = 41, n = 23;
      const T alpha = scalar<T>(1.5);
      call("N", "C", &m, &n, &k, &alpha, A.p(), &A.ld, B.p(), &B.ld, &zero, C.p(), &C.ld);
      // The reference reads C0 inside the window only, where beta is 0.
      for (std::size_t q = 0; q < static_cast<std::size_t>(m * n); ++q) C0.store[q] = T(0);
      ASSERT_EQ(gemm_test::check_gemm<T>('N', 'C', m, n, k, alpha, A, B, zero, C0, C), "") << "k=" << k;
    }
  });
}

TYPED_TEST(Gemm, EmptyShapesAndZeroDepth) {
  using T = TypeParam;
  qor::test::on_every_path([&](int) {
    Mat<T> C(5, 5, 5);
    for (auto& v : C.store) v = T(3);
    T A[25] = {}, B[25] = {};
    const T nan(std::numeric_limits<gemm_test::real_t<T>>::quiet_NaN());
    for (auto mn : {std::pair<i64, i64>{0, 5}, {5, 0}, {-1, 5}}) {
      const i64 k = 5, ld = 5;
      const T one(1);
      call("N", "N", &mn.first, &mn.second, &k, &one, A, &ld, B, &ld, &nan, C.p(), &ld);
      for (const T& v : C.store) ASSERT_EQ(v, T(3));
    }
    for (double beta : {2.0, 0.0}) {
      ASSERT_EQ(run<T>({'N', 'N', 13, 9, 0, 1.0, beta}), "");
      ASSERT_EQ(run<T>({'C', 'T', 64, 64, 0, 1.0, beta}), "");
    }
  });
}

TYPED_TEST(Gemm, FailedAllocationGivesTheSameResultAndOneWarning) {
  using T = TypeParam;
  qor::test::on_every_path(
      [&](int path) {
        // The 512-bit body warns as the AVX bodies do.
        const bool avx = path == QOR_CPU_PATH_BULLDOZER || path == QOR_CPU_PATH_ZEN || path == QOR_CPU_PATH_AVX512;
        const std::string name = avx ? "xdgemm" : facts<T>::name;
        // The 512-bit body packs only products too large for its stack area.
        const std::vector<Case> cases =
            path == QOR_CPU_PATH_AVX512
                ? std::vector<Case>{{'N', 'N', 300, 200, 160, 1.5, 0.5}, {'T', 'C', 250, 140, 90, -1.0, 0.0},
                                    {'C', 'T', 240, 90, 200, 1.0, 1.0}}
                : std::vector<Case>{{'N', 'N', 61, 35, 140, 1.5, 0.5}, {'T', 'C', 25, 14, 9, -1.0, 0.0},
                                    {'C', 'T', 40, 9, 20, 1.0, 1.0}};
        for (Case c : cases) {
          qor::test::AllocWatch watch;
          qor::test::MessageCapture capture;
          qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
          ASSERT_EQ(run<T>(c), "");
          EXPECT_EQ(watch.failures(), 1) << describe(c);
          ASSERT_EQ(capture.count(QOR_MSG_WARNING), 1) << describe(c);
          EXPECT_EQ(capture.entries()[0].routine, name);
        }
        // Shapes under the threshold go unpacked and allocate nothing (the
        // 512-bit body has its own rule: a stack area for what fits it).
        if (path == QOR_CPU_PATH_AVX512) return;
        qor::test::AllocWatch watch;
        ASSERT_EQ(run<T>({'N', 'N', facts<T>::min_m - 1, 40, 30, 1.0, 1.0}), "");
        ASSERT_EQ(run<T>({'T', 'N', 40, 7, 30, 1.0, 1.0}), "");
        ASSERT_EQ(run<T>({'N', 'C', 40, 40, 7, 1.0, 1.0}), "");
        EXPECT_EQ(watch.allocations(), 0);
      },
      true);
}

TYPED_TEST(Gemm, TiersOtherThanZeroTakeTheBaselineBody) {
  using T = TypeParam;
  for (int p : qor::test::runnable_paths()) {
    if (p == QOR_CPU_PATH_BASELINE) continue;
    qor::test::PathGuard guard(p);
    qor_set_cpu_tier(3);
    std::int64_t before = qor_cpu_path_hits(p);
    std::string e = run<T>({'N', 'T', 30, 30, 30, 1.0, 1.0});
    qor_set_cpu_tier(-1);
    ASSERT_EQ(e, "");
    EXPECT_EQ(qor_cpu_path_hits(p), before) << qor_cpu_path_name(p);
  }
}

TYPED_TEST(Gemm, TeamOfThreadsSplitsCAndAgrees) {
  using T = TypeParam;
  qor_set_num_threads(2);
  qor::test::on_every_path([&](int) {
    ASSERT_EQ(run<T>({'N', 'N', 200, 180, 100, 1.0, 0.5}), "");
    ASSERT_EQ(run<T>({'C', 'T', 37, 501, 70, -1.0, 0.0}), "");
    ASSERT_EQ(run<T>({'T', 'C', 433, 19, 90, 2.0, 1.0}), "");
  });
}

}  // namespace
