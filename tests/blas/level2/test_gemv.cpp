// gemv through the dispatching names against the plain reference: every
// type and letter, sizes across the column groups, the row blocks and 128,
// strides of both signs, beta rules and the allocation fallback.
#include <cmath>
#include <cstring>

#include "calls.h"

using namespace l2t;

template <class T>
class Gemv : public ::testing::Test {};
using Types = ::testing::Types<float, double, c32, c64>;
TYPED_TEST_SUITE(Gemv, Types);

namespace {

template <class T>
void check_gemv(char op, i64 m, i64 n, i64 incx, i64 incy, T alpha, T beta, qor::test::Rng& rng,
                bool fail_alloc = false) {
  const i64 lda = m + 3;
  bool tr = op != 'N' && op != 'n';
  i64 lenx = tr ? m : n, leny = tr ? n : m;
  auto a = random<T>(lda * (n > 0 ? n : 1), rng);
  auto x = random<T>(span(lenx, incx), rng);
  auto y = random<T>(span(leny, incy), rng);
  auto want = y;
  gemv<T>(op, m, n, alpha, a.data(), lda, x.data(), incx, beta, want.data(), incy);
  {
    qor::test::AllocWatch watch;
    if (fail_alloc) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
    Calls<T>::gemv(&op, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    if (fail_alloc) {
      EXPECT_EQ(watch.failures(), 1) << "the fallback was not taken";
    }
  }
  EXPECT_LE(maxdiff(y, want), tol<T>(lenx) * 4) << "op " << op << " m " << m << " n " << n << " incx " << incx
                                                << " incy " << incy;
}

}  // namespace

TYPED_TEST(Gemv, SizesLettersAndStrides) {
  using T = TypeParam;
  qor::test::Rng rng(7);
  const i64 sizes[] = {1, 2, 3, 5, 8, 15, 16, 17, 31, 33, 127, 128, 129, 200};
  const char ops[] = {'N', 'n', 'T', 't', 'C', 'c', 'X'};
  qor::test::on_every_path(
      [&](int) {
        for (char op : ops)
          for (i64 m : sizes)
            for (i64 n : {1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 30}) {
              check_gemv<T>(op, m, n, 1, 1, value<T>(rng), value<T>(rng), rng);
            }
        for (char op : {'N', 'T', 'C'})
          for (i64 incx : {1, 2, -1, -3})
            for (i64 incy : {1, 3, -1, -2})
              for (i64 m : {1, 9, 128, 129, 300})
                check_gemv<T>(op, m, 13, incx, incy, value<T>(rng), value<T>(rng), rng);
        // Matrices larger than the caches hold, whose columns are fetched
        // ahead.
        for (char op : {'N', 'T', 'C'}) {
          check_gemv<T>(op, 701, 403, 1, 1, value<T>(rng), value<T>(rng), rng);
          check_gemv<T>(op, 701, 403, -2, 3, value<T>(rng), value<T>(rng), rng);
        }
      },
      tuned_bodies());
}

TYPED_TEST(Gemv, BetaAndAlphaRules) {
  using T = TypeParam;
  qor::test::Rng rng(11);
  const T nan = T(std::numeric_limits<real_t<T>>::quiet_NaN());
  for (char op : {'N', 'T'}) {
    i64 m = 37, n = 21, lda = 40, one = 1;
    auto a = random<T>(lda * n, rng);
    auto x = random<T>(64, rng);
    // beta 0 with NaN in y gives a finite y.
    std::vector<T> y(64, nan);
    T alpha = value<T>(rng), zero = T(0);
    Calls<T>::gemv(&op, &m, &n, &alpha, a.data(), &lda, x.data(), &one, &zero, y.data(), &one);
    i64 leny = op == 'N' ? m : n;
    for (i64 i = 0; i < leny; ++i) EXPECT_TRUE(std::isfinite(std::abs(static_cast<c64>(y[i])))) << i;
    // alpha 0 scales y and does not read A (NaN in A stays out of y).
    std::vector<T> an(lda * n, nan);
    auto y2 = random<T>(64, rng);
    auto want = y2;
    T beta = value<T>(rng);
    for (i64 i = 0; i < leny; ++i) want[i] = beta * want[i];
    Calls<T>::gemv(&op, &m, &n, &zero, an.data(), &lda, x.data(), &one, &beta, y2.data(), &one);
    EXPECT_LE(maxdiff(y2, want), tol<T>(1));
    // m or n of 0 touches nothing, not even for beta 0.
    auto y3 = y2;
    i64 z = 0;
    Calls<T>::gemv(&op, &z, &n, &alpha, a.data(), &lda, x.data(), &one, &zero, y3.data(), &one);
    Calls<T>::gemv(&op, &m, &z, &alpha, a.data(), &lda, x.data(), &one, &zero, y3.data(), &one);
    EXPECT_EQ(maxdiff(y3, y2), 0.0);
  }
}

TYPED_TEST(Gemv, WorkVectorAndFallback) {
  using T = TypeParam;
  qor::test::Rng rng(3);
  qor::test::on_every_path(
      [&](int) {
        // m of 128 with a non-unit stride uses the stack, 129 allocates.
        for (char op : {'N', 'T'}) {
          for (i64 m : {128, 129}) {
            qor::test::AllocWatch watch;
            check_gemv<T>(op, m, 5, op == 'N' ? 1 : 2, op == 'N' ? 2 : 1, value<T>(rng), value<T>(rng), rng);
            EXPECT_EQ(watch.allocations(), m > 128 ? 1 : 0);
          }
        }
        // A refused block at m of 1000 still gives the right y, for every sign.
        for (char op : {'N', 'T', 'C'})
          for (i64 inc : {2, -2}) check_gemv<T>(op, 1000, 19, inc, inc, value<T>(rng), value<T>(rng), rng, true);
      },
      tuned_bodies());
}

TYPED_TEST(Gemv, TwoProductsInOnePass) {
  using T = TypeParam;
  qor::test::Rng rng(5);
  auto run = [&](i64 m, i64 n, i64 incx1, i64 incx2, i64 incy1, i64 incy2, int fail) {
    const i64 lda = m + 1;
    auto a = random<T>(lda * n, rng);
    auto x1 = random<T>(span(n, incx1), rng);
    auto x2 = random<T>(span(m, incx2), rng);
    auto y1 = random<T>(span(m, incy1), rng);
    auto y2 = random<T>(span(n, incy2), rng);
    T alpha = value<T>(rng), beta = value<T>(rng);
    auto w1 = y1, w2 = y2;
    gemv<T>('N', m, n, alpha, a.data(), lda, x1.data(), incx1, beta, w1.data(), incy1);
    gemv<T>(cplx<T> ? 'C' : 'T', m, n, alpha, a.data(), lda, x2.data(), incx2, beta, w2.data(), incy2);
    {
      qor::test::AllocWatch watch;
      if (fail) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
      Calls<T>::gem2v(&m, &n, &alpha, a.data(), &lda, x1.data(), &incx1, x2.data(), &incx2, &beta, y1.data(),
                      &incy1, y2.data(), &incy2);
    }
    EXPECT_LE(maxdiff(y1, w1), tol<T>(n) * 4) << m << " " << n;
    EXPECT_LE(maxdiff(y2, w2), tol<T>(m) * 4) << m << " " << n;
  };
  for (i64 m : {1, 2, 3, 7, 8, 9, 17, 129})
    for (i64 n : {1, 2, 3, 4, 5, 9}) run(m, n, 1, 1, 1, 1, 0);
  run(150, 140, 2, -1, -3, 2, 0);
  run(1000, 150, -2, 3, 2, -1, 1);
}

// Real matrix with complex vectors: scgemv (c32) and dzgemv (c64).
template <class C>
void check_mixed(char op, i64 m, i64 n, i64 incx, i64 incy, qor::test::Rng& rng, int fail = 0) {
  using R = real_t<C>;
  const i64 lda = m + 2;
  auto ar = random<R>(lda * n, rng);
  std::vector<C> ac(ar.begin(), ar.end());
  bool tr = op != 'N' && op != 'n';
  i64 lenx = tr ? m : n, leny = tr ? n : m;
  auto x = random<C>(span(lenx, incx), rng);
  auto y = random<C>(span(leny, incy), rng);
  C alpha = value<C>(rng), beta = value<C>(rng);
  auto want = y;
  gemv<C>(tr ? 'T' : 'N', m, n, alpha, ac.data(), lda, x.data(), incx, beta, want.data(), incy);
  {
    qor::test::AllocWatch watch;
    if (fail) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
    if constexpr (std::is_same_v<C, c32>) {
      qor_blas_scgemv(&op, &m, &n, &alpha, ar.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    } else {
      qor_blas_dzgemv(&op, &m, &n, &alpha, ar.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    }
  }
  EXPECT_LE(maxdiff(y, want), tol<C>(lenx) * 4) << op << " " << m << " " << n << " " << incx << " " << incy;
}

TEST(GemvMixed, RealMatrixComplexVectors) {
  qor::test::Rng rng(6);
  for (char op : {'N', 'n', 'T', 'C', 'c', 'X'})
    for (i64 m : {1, 2, 5, 9, 130})
      for (i64 n : {1, 3, 4, 5, 9}) {
        check_mixed<c32>(op, m, n, 1, 1, rng);
        check_mixed<c64>(op, m, n, 1, 1, rng);
      }
  for (char op : {'N', 'T'})
    for (i64 inc : {2, -3}) {
      check_mixed<c32>(op, 140, 9, inc, -inc, rng);
      check_mixed<c32>(op, 1000, 9, inc, -inc, rng, 1);
      check_mixed<c64>(op, 1000, 9, inc, -inc, rng, 1);
    }
}

// The same call on every processor path this machine can run gives the
// same result within rounding, and the Zen-class and 512-bit bodies are
// really reached (the other classes take the baseline body).
TEST(GemvPaths, EveryBodyAgrees) {
  qor::test::Rng rng(8);
  const i64 m = 77, n = 45, lda = 80, one = 1;
  auto a = random<double>(lda * n, rng);
  auto x = random<double>(m, rng);
  auto y0 = random<double>(m, rng);
  std::vector<std::vector<double>> results;
  qor::test::on_every_path(
      [&](int) {
        for (char op : {'N', 'T'}) {
          auto y = y0;
          double alpha = 0.5, beta = 2;
          qor_blas_dgemv(&op, &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
          results.push_back(y);
        }
      },
      tuned_bodies());
  for (std::size_t i = 2; i < results.size(); ++i) EXPECT_LE(maxdiff(results[i], results[i % 2]), 1e-13);
}

// In a reproducible mode a 512-bit machine computes what the Zen path
// does, bit for bit, for every letter and type (the 512-bit body would sum
// in another order).
TEST(GemvPaths, ReproducibleModeGivesTheZenBits) {
  if (!qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) GTEST_SKIP() << "no 512-bit path on this machine";
  const i64 m = 301, n = 67, lda = 305, one = 1;
  auto run = [&](auto tag, int path) {
    using T = decltype(tag);
    qor::test::Rng r(21);
    auto a = random<T>(lda * n, r);
    auto x = random<T>(m, r);
    std::vector<std::vector<T>> out;
    qor::test::PathGuard guard(path);
    for (char op : {'N', 'T', 'C'}) {
      auto y = random<T>(m, r);
      T alpha = value<T>(r), beta = value<T>(r);
      Calls<T>::gemv(&op, &m, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
      out.push_back(y);
    }
    return out;
  };
  expect_zen_bits_in_reproducible_mode(run);
}
