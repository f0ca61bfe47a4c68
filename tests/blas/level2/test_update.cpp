// Rank-one and rank-two updates (ger, gerc, geru, syr, spr, syr2, spr2 and
// the Hermitian forms) against plain references: both triangles, strides
// of both signs, the elements outside the triangle left alone, the zero
// rules and the fallback when no memory is given; the general update on
// every processor path, matrices that come from memory included, and its
// bits in the reproducible mode.
#include <cstring>

#include "calls.h"

using namespace l2t;

template <class T>
class Update : public ::testing::Test {};
using Types = ::testing::Types<float, double, c32, c64>;
TYPED_TEST_SUITE(Update, Types);

namespace {

// A += alpha x op(y)^T through ger (conj true: gerc; complex only) or the
// second general name (geru).
template <class T>
void check_ger(bool first, i64 m, i64 n, i64 incx, i64 incy, qor::test::Rng& rng, int fail = 0) {
  const bool conjy = cplx<T> && first;
  const i64 lda = m + 2;
  auto a = random<T>(lda * n, rng);
  auto x = random<T>(span(m, incx), rng);
  auto y = random<T>(span(n, incy), rng);
  T alpha = value<T>(rng);
  auto want = a;
  for (i64 j = 0; j < n; ++j) {
    T yj = y[at(j, n, incy)];
    if (conjy) yj = conj(yj);
    for (i64 i = 0; i < m; ++i) want[i + j * lda] += alpha * x[at(i, m, incx)] * yj;
  }
  {
    qor::test::AllocWatch watch;
    if (fail == 1) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
    if (fail == 2) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
    auto f = first ? Calls<T>::ger : Calls<T>::geru;
    f(&m, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data(), &lda);
    if (fail) {
      EXPECT_GE(watch.failures(), 1);
    }
  }
  EXPECT_LE(maxdiff(a, want), tol<T>(2)) << "m " << m << " n " << n << " incx " << incx << " incy " << incy;
}

// syr (two false) or syr2 (two true), full or packed, against the update
// of the stored triangle element by element. Elements of the full array
// outside the triangle must stay as they were.
template <class T>
void check_syr(bool two, bool packed, char uplo, i64 n, i64 incx, i64 incy, qor::test::Rng& rng, int fail = 0) {
  const bool lower = uplo != 'U' && uplo != 'u';
  constexpr bool herm = cplx<T>;
  using R = real_t<T>;
  const i64 lda = n + 3;
  auto a = random<T>(packed ? n * (n + 1) / 2 : lda * n, rng);
  auto x = random<T>(span(n, incx), rng);
  auto y = random<T>(span(n, incy), rng);
  T alpha = value<T>(rng);
  R ralpha = std::real(alpha);
  auto want = a;
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) {
      if (lower ? i < j : i > j) continue;
      T& w = want[packed ? packed_at(lower, n, i, j) : i + j * lda];
      T xi = x[at(i, n, incx)], xj = x[at(j, n, incx)];
      T yi = y[at(i, n, incy)], yj = y[at(j, n, incy)];
      if (!two) {
        w += (herm ? T(ralpha) : alpha) * xi * conj(xj);
      } else {
        w += alpha * xi * conj(yj) + conj(alpha) * yi * conj(xj);
      }
      if (i == j && herm) w = T(std::real(w));
    }
  {
    qor::test::AllocWatch watch;
    if (fail == 1) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
    if (fail == 2) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
    const auto* al1 = [&] {
      if constexpr (herm) return &ralpha; else return &alpha;
    }();
    if (!two && !packed) Calls<T>::syr(&uplo, &n, al1, x.data(), &incx, a.data(), &lda);
    if (!two && packed) Calls<T>::spr(&uplo, &n, al1, x.data(), &incx, a.data());
    if (two && !packed) Calls<T>::syr2(&uplo, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data(), &lda);
    if (two && packed) Calls<T>::spr2(&uplo, &n, &alpha, x.data(), &incx, y.data(), &incy, a.data());
    if (fail) {
      EXPECT_GE(watch.failures(), 1);
    }
  }
  EXPECT_LE(maxdiff(a, want), tol<T>(4)) << "two " << two << " packed " << packed << " uplo " << uplo << " n " << n
                                         << " incx " << incx << " incy " << incy;
}

}  // namespace

TYPED_TEST(Update, General) {
  using T = TypeParam;
  qor::test::Rng rng(31);
  qor::test::on_every_path(
      [&](int) {
        for (bool first : {true, false})
          for (i64 m : {1, 2, 3, 7, 8, 9, 16, 17, 31, 33, 128, 129})
            for (i64 n : {1, 2, 3, 4, 5, 9}) check_ger<T>(first, m, n, 1, 1, rng);
        for (bool first : {true, false})
          for (i64 incx : {1, 2, -1, -3})
            for (i64 incy : {1, -2, 3}) check_ger<T>(first, 131, 7, incx, incy, rng);
        for (int fail : {1, 2})
          for (i64 incx : {2, -2}) check_ger<T>(true, 1000, 5, incx, -1, rng, fail);
        // m of 128 strided uses the stack; 129 allocates once.
        for (i64 m : {128, 129}) {
          qor::test::AllocWatch watch;
          check_ger<T>(true, m, 3, 2, 1, rng);
          EXPECT_EQ(watch.allocations(), m > 128 ? 1 : 0);
        }
        // A matrix of more than 8 MiB, written ahead on the 512-bit path.
        check_ger<T>(true, 1100, cplx<T> ? 500 : sizeof(T) == 8 ? 1000 : 2000, 1, -1, rng);
      },
      tuned_bodies());
}

// Columns whose y element is zero are not touched: NaN and infinity in x
// stay out of them, and the columns around them are still updated, however
// the zeros fall among the groups of columns.
TYPED_TEST(Update, GeneralSkipsZeroColumns) {
  using T = TypeParam;
  using R = real_t<T>;
  qor::test::Rng rng(34);
  qor::test::on_every_path(
      [&](int) {
        const i64 m = 37, n = 11, lda = 40, one = 1;
        auto x = random<T>(m, rng);
        x[3] = T(std::numeric_limits<R>::quiet_NaN());
        x[20] = T(std::numeric_limits<R>::infinity());
        auto y = random<T>(n, rng);
        for (i64 j : {0, 2, 3, 7}) y[j] = T(0);
        auto a = random<T>(lda * n, rng);
        const auto before = a;
        T alpha = value<T>(rng);
        Calls<T>::geru(&m, &n, &alpha, x.data(), &one, y.data(), &one, a.data(), &lda);
        for (i64 j = 0; j < n; ++j) {
          const bool zero = y[j] == T(0);
          for (i64 i = 0; i < m; ++i) {
            const T v = a[i + j * lda];
            if (zero) {
              EXPECT_EQ(diff(v, before[i + j * lda]), 0.0) << i << " " << j;
            } else if (i == 3 || i == 20) {
              EXPECT_FALSE(std::isfinite(std::abs(static_cast<c64>(v)))) << i << " " << j;
            } else {
              EXPECT_LE(diff(v, before[i + j * lda] + alpha * x[i] * y[j]), tol<T>(2)) << i << " " << j;
            }
          }
          // Rows past m are never written.
          for (i64 i = m; i < lda; ++i) EXPECT_EQ(diff(a[i + j * lda], before[i + j * lda]), 0.0);
        }
      },
      tuned_bodies());
}

// In a reproducible mode a 512-bit machine gives the Zen path's bits.
TEST(UpdatePaths, ReproducibleModeGivesTheZenBits) {
  if (!qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) GTEST_SKIP() << "no 512-bit path on this machine";
  const i64 m = 203, n = 37, lda = 205, one = 1;
  auto run = [&](auto tag, int path) {
    using T = decltype(tag);
    qor::test::Rng r(35);
    auto a = random<T>(lda * n, r), b = a;
    auto x = random<T>(m, r);
    auto y = random<T>(n, r);
    T alpha = value<T>(r);
    qor::test::PathGuard guard(path);
    Calls<T>::ger(&m, &n, &alpha, x.data(), &one, y.data(), &one, a.data(), &lda);
    Calls<T>::geru(&m, &n, &alpha, x.data(), &one, y.data(), &one, b.data(), &lda);
    return std::vector<std::vector<T>>{a, b};
  };
  expect_zen_bits_in_reproducible_mode(run);
}

TYPED_TEST(Update, SymmetricAndHermitian) {
  using T = TypeParam;
  qor::test::Rng rng(32);
  for (bool two : {false, true})
    for (bool packed : {false, true}) {
      for (char uplo : {'U', 'u', 'L', 'l', 'X'})
        for (i64 n : {1, 2, 3, 8, 9, 17, 130}) check_syr<T>(two, packed, uplo, n, 1, 1, rng);
      for (char uplo : {'U', 'L'})
        for (i64 incx : {2, -1, -3})
          for (i64 incy : {1, -2}) check_syr<T>(two, packed, uplo, 41, incx, incy, rng);
      for (char uplo : {'U', 'L'}) {
        check_syr<T>(two, packed, uplo, 1000, 2, -1, rng, 1);
        check_syr<T>(two, packed, uplo, 1000, -3, 2, rng, 2);
      }
    }
}

TYPED_TEST(Update, ZeroRules) {
  using T = TypeParam;
  using R = real_t<T>;
  qor::test::Rng rng(33);
  const T nan = T(std::numeric_limits<R>::quiet_NaN());
  const i64 n = 12, lda = 12, one = 1;
  auto x = random<T>(n, rng);
  x[4] = T(0);
  // A column whose x element is 0 stays exactly as it was, NaN included
  // (the Hermitian diagonal loses only its imaginary part).
  for (char uplo : {'U', 'L'}) {
    std::vector<T> a(lda * n, nan);
    auto before = a;
    T alpha = value<T>(rng);
    R ralpha = std::real(alpha);
    if constexpr (cplx<T>) {
      Calls<T>::syr(&uplo, &n, &ralpha, x.data(), &one, a.data(), &lda);
    } else {
      Calls<T>::syr(&uplo, &n, &alpha, x.data(), &one, a.data(), &lda);
    }
    for (i64 i = 0; i < n; ++i) {
      if (i == 4) continue;
      EXPECT_TRUE(std::isnan(std::abs(static_cast<c64>(a[i + 4 * lda])))) << i;
    }
    (void)before;
    // alpha 0: nothing changes at all.
    auto b = random<T>(lda * n, rng);
    auto b0 = b;
    T zero = T(0);
    R rzero = 0;
    if constexpr (cplx<T>) {
      Calls<T>::syr(&uplo, &n, &rzero, x.data(), &one, b.data(), &lda);
    } else {
      Calls<T>::syr(&uplo, &n, &zero, x.data(), &one, b.data(), &lda);
    }
    Calls<T>::syr2(&uplo, &n, &zero, x.data(), &one, x.data(), &one, b.data(), &lda);
    Calls<T>::ger(&n, &n, &zero, x.data(), &one, x.data(), &one, b.data(), &lda);
    EXPECT_EQ(maxdiff(b, b0), 0.0);
  }
}
