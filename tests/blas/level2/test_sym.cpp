// Symmetric and Hermitian products (full, packed, band) and the general
// band product against dense references, on every processor path: both
// triangles, folded letters, sizes across the column groups and 128,
// triangles that come from memory, strides of both signs, every band width,
// beta rules and the fallback when no memory is given; and the reproducible
// mode's bits on the 512-bit path.
#include <cstring>

#include "calls.h"

using namespace l2t;

template <class T>
class Sym : public ::testing::Test {};
using Types = ::testing::Types<float, double, c32, c64>;
TYPED_TEST_SUITE(Sym, Types);

namespace {

enum class Form { Full, Packed, Band };

// One call of symv, spmv or sbmv (k is the band width) against gemv on
// the full matrix. fail: 0 none, 1 the first allocation refused, 2 all.
template <class T>
void check_sym(Form form, char uplo, i64 n, i64 k, i64 incx, i64 incy, qor::test::Rng& rng, int fail = 0) {
  const bool lower = uplo != 'U' && uplo != 'u';
  const bool herm = cplx<T>;
  const i64 lda = form == Form::Band ? k + 2 : n + 1;
  auto store = random<T>(form == Form::Packed ? n * (n + 1) / 2 : lda * n, rng);
  auto get = [&](i64 i, i64 j) -> T {
    if (form == Form::Full) return store[i + j * lda];
    if (form == Form::Packed) return store[packed_at(lower, n, i, j)];
    if ((lower ? i - j : j - i) > k) return T(0);
    return store[(lower ? i - j : k + i - j) + j * lda];
  };
  auto full = sym_full<T>(n, lower, herm, get);
  auto x = random<T>(span(n, incx), rng);
  auto y = random<T>(span(n, incy), rng);
  T alpha = value<T>(rng), beta = value<T>(rng);
  auto want = y;
  gemv<T>('N', n, n, alpha, full.data(), n, x.data(), incx, beta, want.data(), incy);
  {
    qor::test::AllocWatch watch;
    if (fail == 1) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
    if (fail == 2) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
    if (form == Form::Full) {
      Calls<T>::symv(&uplo, &n, &alpha, store.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    } else if (form == Form::Packed) {
      Calls<T>::spmv(&uplo, &n, &alpha, store.data(), x.data(), &incx, &beta, y.data(), &incy);
    } else {
      Calls<T>::sbmv(&uplo, &n, &k, &alpha, store.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    }
    if (fail) {
      EXPECT_GE(watch.failures(), 1) << "the fallback was not taken";
    }
  }
  EXPECT_LE(maxdiff(y, want), tol<T>(n) * 4)
      << "form " << int(form) << " uplo " << uplo << " n " << n << " k " << k << " incx " << incx << " incy " << incy;
}

}  // namespace

TYPED_TEST(Sym, FullPackedAndBand) {
  using T = TypeParam;
  qor::test::Rng rng(21);
  qor::test::on_every_path(
      [&](int) {
        for (Form f : {Form::Full, Form::Packed})
          for (char uplo : {'U', 'u', 'L', 'l', 'X'})
            for (i64 n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 13, 16, 17, 31, 33, 64, 129})
              check_sym<T>(f, uplo, n, 0, 1, 1, rng);
        for (char uplo : {'U', 'L'})
          for (i64 n : {1, 5, 9})
            for (i64 k = 0; k <= n + 1; ++k) check_sym<T>(Form::Band, uplo, n, k, 1, 1, rng);
        for (Form f : {Form::Full, Form::Packed, Form::Band})
          for (char uplo : {'U', 'L'})
            for (i64 incx : {1, 2, -1, -3})
              for (i64 incy : {1, -2, 3}) check_sym<T>(f, uplo, 37, 5, incx, incy, rng);
      },
      tuned_bodies());
}

// Triangles of more than 8 MiB, which come from memory and whose columns
// are fetched ahead on the 512-bit path.
TYPED_TEST(Sym, LargeTriangles) {
  using T = TypeParam;
  qor::test::Rng rng(25);
  const i64 n = cplx<T> ? 1100 : sizeof(T) == 8 ? 1500 : 2100;
  qor::test::on_every_path(
      [&](int) {
        for (Form f : {Form::Full, Form::Packed})
          for (char uplo : {'U', 'L'}) check_sym<T>(f, uplo, n, 0, 1, 1, rng);
      },
      tuned_bodies());
}

TYPED_TEST(Sym, WorkVectorsAndFallback) {
  using T = TypeParam;
  qor::test::Rng rng(22);
  qor::test::on_every_path(
      [&](int) {
        for (Form f : {Form::Full, Form::Packed}) {
          // Up to 128 the stack serves, above it each strided vector allocates.
          for (i64 n : {128, 129}) {
            qor::test::AllocWatch watch;
            check_sym<T>(f, 'L', n, 0, 2, -3, rng);
            EXPECT_EQ(watch.allocations(), n > 128 ? 2 : 0);
          }
          for (char uplo : {'U', 'L'}) {
            check_sym<T>(f, uplo, 1000, 0, 2, -1, rng, 1);
            check_sym<T>(f, uplo, 1000, 0, -2, 3, rng, 2);
          }
          check_sym<T>(f, 'L', 300, 0, 1, 2, rng, 2);
        }
      },
      tuned_bodies());
}

// In a reproducible mode a 512-bit machine computes what the Zen path
// does, bit for bit, in both triangles and both storages (the 512-bit body
// would sum in another order).
TEST(SymPaths, ReproducibleModeGivesTheZenBits) {
  if (!qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) GTEST_SKIP() << "no 512-bit path on this machine";
  const i64 n = 203, lda = 205, one = 1;
  auto run = [&](auto tag, int path) {
    using T = decltype(tag);
    qor::test::Rng r(26);
    auto a = random<T>(lda * n, r);
    auto x = random<T>(n, r);
    std::vector<std::vector<T>> out;
    qor::test::PathGuard guard(path);
    for (char uplo : {'U', 'L'}) {
      auto y = random<T>(n, r), yp = y;
      T alpha = value<T>(r), beta = value<T>(r);
      Calls<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &beta, y.data(), &one);
      Calls<T>::spmv(&uplo, &n, &alpha, a.data(), x.data(), &one, &beta, yp.data(), &one);
      out.push_back(y);
      out.push_back(yp);
    }
    return out;
  };
  expect_zen_bits_in_reproducible_mode(run);
}

TYPED_TEST(Sym, BetaAlphaAndNaN) {
  using T = TypeParam;
  using R = real_t<T>;
  qor::test::Rng rng(23);
  const T nan = T(std::numeric_limits<R>::quiet_NaN());
  const i64 n = 19, lda = 20, one = 1, k = 3;
  auto a = random<T>(lda * n, rng);
  auto x = random<T>(n, rng);
  T alpha = value<T>(rng), zero = T(0);
  for (char uplo : {'U', 'L'}) {
    // beta 0 with NaN in y gives a finite y, in all three forms.
    for (int form = 0; form < 3; ++form) {
      std::vector<T> y(n, nan);
      if (form == 0) Calls<T>::symv(&uplo, &n, &alpha, a.data(), &lda, x.data(), &one, &zero, y.data(), &one);
      if (form == 1) Calls<T>::spmv(&uplo, &n, &alpha, a.data(), x.data(), &one, &zero, y.data(), &one);
      if (form == 2) Calls<T>::sbmv(&uplo, &n, &k, &alpha, a.data(), &lda, x.data(), &one, &zero, y.data(), &one);
      for (auto v : y) EXPECT_TRUE(std::isfinite(std::abs(static_cast<c64>(v)))) << "form " << form;
    }
    // A NaN alpha is not zero: it reaches y.
    std::vector<T> y(n, T(1));
    T na = nan, b = T(1);
    Calls<T>::symv(&uplo, &n, &na, a.data(), &lda, x.data(), &one, &b, y.data(), &one);
    for (auto v : y) EXPECT_TRUE(std::isnan(std::abs(static_cast<c64>(v))));
    // alpha 0 only scales y and reads no A.
    std::vector<T> an(lda * n, nan);
    auto y2 = random<T>(n, rng);
    auto want = y2;
    T beta = value<T>(rng);
    for (auto& v : want) v = beta * v;
    Calls<T>::symv(&uplo, &n, &zero, an.data(), &lda, x.data(), &one, &beta, y2.data(), &one);
    EXPECT_LE(maxdiff(y2, want), tol<T>(1));
  }
}

TYPED_TEST(Sym, GeneralBand) {
  using T = TypeParam;
  qor::test::Rng rng(24);
  auto run = [&](char op, i64 m, i64 n, i64 kl, i64 ku, i64 incx, i64 incy) {
    const i64 lda = kl + ku + 2;
    auto band = random<T>(lda * n, rng);
    Dense<T> full(static_cast<std::size_t>(m * n), T(0));
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i)
        if (i - j <= kl && j - i <= ku) full[i + j * m] = band[ku + i - j + j * lda];
    bool tr = op != 'N' && op != 'n';
    i64 lenx = tr ? m : n, leny = tr ? n : m;
    auto x = random<T>(span(lenx, incx), rng);
    auto y = random<T>(span(leny, incy), rng);
    T alpha = value<T>(rng), beta = value<T>(rng);
    auto want = y;
    gemv<T>(op, m, n, alpha, full.data(), m, x.data(), incx, beta, want.data(), incy);
    Calls<T>::gbmv(&op, &m, &n, &kl, &ku, &alpha, band.data(), &lda, x.data(), &incx, &beta, y.data(), &incy);
    EXPECT_LE(maxdiff(y, want), tol<T>(lenx) * 4)
        << op << " m " << m << " n " << n << " kl " << kl << " ku " << ku << " incx " << incx << " incy " << incy;
  };
  for (char op : {'N', 'n', 'T', 't', 'C', 'c', 'X'})
    for (i64 m : {1, 4, 7})
      for (i64 n : {1, 5, 8})
        for (i64 kl = 0; kl <= m; ++kl)
          for (i64 ku = 0; ku <= n; ++ku) run(op, m, n, kl, ku, 1, 1);
  for (char op : {'N', 'T', 'C'})
    for (i64 incx : {2, -1, -3})
      for (i64 incy : {1, -2}) run(op, 40, 33, 4, 7, incx, incy);
  // beta 0 stores zeros over NaN; m or n of 0 touches nothing.
  const T nan = T(std::numeric_limits<real_t<T>>::quiet_NaN());
  i64 m = 9, n = 6, kl = 2, ku = 1, lda = 4, one = 1, zero_n = 0;
  auto band = random<T>(lda * n, rng);
  auto x = random<T>(n, rng);
  std::vector<T> y(m, nan);
  T alpha = value<T>(rng), zero = T(0);
  char op = 'N';
  Calls<T>::gbmv(&op, &m, &n, &kl, &ku, &alpha, band.data(), &lda, x.data(), &one, &zero, y.data(), &one);
  for (auto v : y) EXPECT_TRUE(std::isfinite(std::abs(static_cast<c64>(v))));
  std::vector<T> y2(m, nan);
  Calls<T>::gbmv(&op, &zero_n, &n, &kl, &ku, &alpha, band.data(), &lda, x.data(), &one, &zero, y2.data(), &one);
  for (auto v : y2) EXPECT_TRUE(std::isnan(std::abs(static_cast<c64>(v))));
}
