// Triangular products and solves (trmv, trsv, tpmv, tpsv, tbmv, tbsv)
// against the dense triangle: every letter in both cases, sizes across the
// blocks of 128, strides of both signs, every band width, and the walk on a
// strided vector when no memory is given. Solves are checked by the
// residual op(A) x - b on well-conditioned triangles.
#include "calls.h"

using namespace l2t;

template <class T>
class Tri : public ::testing::Test {};
using Types = ::testing::Types<float, double, c32, c64>;
TYPED_TEST_SUITE(Tri, Types);

namespace {

enum class Form { Full, Packed, Band };

struct Case {
  Form form;
  char uplo, trans, diag;
  i64 n, k, incx;
};

template <class T>
void check_tri(const Case& c, bool solve, qor::test::Rng& rng, int fail = 0) {
  const bool lower = c.uplo != 'U' && c.uplo != 'u';
  const bool unit = c.diag == 'U' || c.diag == 'u';
  const i64 n = c.n, k = c.k, incx = c.incx;
  const i64 lda = c.form == Form::Band ? k + 3 : n + 2;
  // Off-diagonal elements small and the diagonal away from 0, so that the
  // solves are well conditioned.
  auto store = random<T>(c.form == Form::Packed ? n * (n + 1) / 2 : lda * n, rng);
  const real_t<T> shrink = real_t<T>(1) / static_cast<real_t<T>>(n);
  for (auto& v : store) v *= shrink;
  auto get = [&](i64 i, i64 j) -> T {
    T v;
    if (c.form == Form::Full) {
      v = store[i + j * lda];
    } else if (c.form == Form::Packed) {
      v = store[packed_at(lower, n, i, j)];
    } else {
      if ((lower ? i - j : j - i) > k) return T(0);
      v = store[(lower ? i - j : k + i - j) + j * lda];
    }
    return i == j ? v / shrink + T(2) : v;
  };
  for (i64 j = 0; j < n; ++j) {  // write the shifted diagonal back
    if (c.form == Form::Full) store[j + j * lda] = get(j, j);
    if (c.form == Form::Packed) store[packed_at(lower, n, j, j)] = get(j, j);
    if (c.form == Form::Band) store[(lower ? 0 : k) + j * lda] = get(j, j);
  }
  auto tri = tri_full<T>(n, lower, unit, [&](i64 i, i64 j) {
    T v = c.form == Form::Full     ? store[i + j * lda]
          : c.form == Form::Packed ? store[packed_at(lower, n, i, j)]
          : ((lower ? i - j : j - i) > k ? T(0) : store[(lower ? i - j : k + i - j) + j * lda]);
    return v;
  });
  auto x = random<T>(span(n, incx), rng);
  auto b = x;
  char op = c.trans;
  {
    qor::test::AllocWatch watch;
    if (fail == 1) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
    if (fail == 2) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
    const char *u = &c.uplo, *d = &c.diag;
    if (c.form == Form::Full) {
      (solve ? Calls<T>::trsv : Calls<T>::trmv)(u, &op, d, &n, store.data(), &lda, x.data(), &incx);
    } else if (c.form == Form::Packed) {
      (solve ? Calls<T>::tpsv : Calls<T>::tpmv)(u, &op, d, &n, store.data(), x.data(), &incx);
    } else {
      (solve ? Calls<T>::tbsv : Calls<T>::tbmv)(u, &op, d, &n, &k, store.data(), &lda, x.data(), &incx);
    }
    if (fail) {
      EXPECT_GE(watch.failures(), 1);
    }
  }
  // Product: x must equal op(A) b. Solve: op(A) x must equal b.
  auto lhs = solve ? x : b;
  auto want = solve ? b : x;
  std::vector<T> got(want.size(), T(0));
  for (i64 i = 0; i < static_cast<i64>(got.size()); ++i) got[i] = want[i];
  // got = op(A) lhs on the logical elements; elements between strides stay.
  gemv<T>(op, n, n, T(1), tri.data(), n, lhs.data(), incx, T(0), got.data(), incx);
  EXPECT_LE(maxdiff(got, want), tol<T>(n) * 8)
      << (solve ? "solve" : "product") << " form " << int(c.form) << " " << c.uplo << c.trans << c.diag << " n " << n
      << " k " << k << " incx " << incx;
}

}  // namespace

TYPED_TEST(Tri, EveryLetter) {
  using T = TypeParam;
  qor::test::Rng rng(41);
  for (Form f : {Form::Full, Form::Packed, Form::Band})
    for (char uplo : {'U', 'u', 'L', 'l'})
      for (char trans : {'N', 'n', 'T', 't', 'C', 'c', 'X'})
        for (char diag : {'N', 'n', 'U', 'u'})
          for (bool solve : {false, true}) check_tri<T>({f, uplo, trans, diag, 11, 3, 1}, solve, rng);
}

TYPED_TEST(Tri, SizesStridesAndBands) {
  using T = TypeParam;
  qor::test::Rng rng(42);
  for (Form f : {Form::Full, Form::Packed})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'})
        for (bool solve : {false, true}) {
          for (i64 n : {1, 2, 3, 8, 9, 127, 128, 129, 300}) check_tri<T>({f, uplo, trans, 'N', n, 0, 1}, solve, rng);
          for (i64 incx : {2, -1, -3}) check_tri<T>({f, uplo, trans, 'U', 140, 0, incx}, solve, rng);
        }
  for (char uplo : {'U', 'L'})
    for (char trans : {'N', 'T', 'C'})
      for (bool solve : {false, true}) {
        for (i64 n : {1, 6})
          for (i64 k = 0; k <= n + 1; ++k) check_tri<T>({Form::Band, uplo, trans, 'N', n, k, 1}, solve, rng);
        for (i64 incx : {2, -3}) check_tri<T>({Form::Band, uplo, trans, 'N', 50, 7, incx}, solve, rng);
      }
}

TYPED_TEST(Tri, WorkVectorAndFallback) {
  using T = TypeParam;
  qor::test::Rng rng(43);
  for (Form f : {Form::Full, Form::Packed}) {
    // A strided x of 128 uses the stack; of 129 it is copied once.
    for (i64 n : {128, 129}) {
      qor::test::AllocWatch watch;
      check_tri<T>({f, 'L', 'T', 'N', n, 0, 2}, true, rng);
      EXPECT_EQ(watch.allocations(), n > 128 ? 1 : 0);
    }
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T'})
        for (bool solve : {false, true}) check_tri<T>({f, uplo, trans, 'N', 1000, 0, -2}, solve, rng, 2);
  }
  // n of 0 touches nothing.
  std::vector<T> x(3, T(7)), a(9, T(1));
  i64 zero = 0, one = 1, three = 3;
  Calls<T>::trsv("L", "N", "N", &zero, a.data(), &three, x.data(), &one);
  Calls<T>::tbmv("U", "T", "N", &zero, &one, a.data(), &three, x.data(), &one);
  for (auto v : x) EXPECT_EQ(v, T(7));
}

// As in the reference BLAS, a product or a solve without transposition
// leaves column j of A unread when x[j] is 0: over a NaN in that column,
// its diagonal included, x[j] stays 0 and no other element turns NaN. At
// n = 300 the column also crosses into other diagonal blocks of 128, whose
// rectangles go through the matrix-vector kernels.
TYPED_TEST(Tri, ZeroElementsLeaveTheirColumnUnread) {
  using T = TypeParam;
  const T nan = T(std::numeric_limits<real_t<T>>::quiet_NaN());
  const i64 one = 1, k = 1, ldb = 2;
  for (const i64 n : {i64(6), i64(300)})
    for (char uplo : {'U', 'L'}) {
      const bool lower = uplo == 'L';
      const i64 z = lower ? 3 : n - 4;            // the column met by x[z] = 0
      const i64 near = lower ? z + 1 : z - 1;     // a row beside the diagonal
      const i64 far = lower ? n - 1 : 0;          // the row farthest from it
      std::vector<T> a(n * n, T(0)), ap(n * (n + 1) / 2, T(0)), band(ldb * n, T(0));
      for (i64 j = 0; j < n; ++j) {
        const T d = j == z ? nan : T(2);
        a[j + j * n] = d;
        ap[packed_at(lower, n, j, j)] = d;
        band[(lower ? 0 : k) + j * ldb] = d;
      }
      for (i64 r : {near, far}) {
        a[r + z * n] = nan;
        ap[packed_at(lower, n, r, z)] = nan;
      }
      band[(lower ? 1 : 0) + z * ldb] = nan;
      for (bool solve : {false, true}) {
        const T other = solve ? T(0.5) : T(2);
        std::vector<std::vector<T>> xs(3, std::vector<T>(n, T(1)));
        for (auto& x : xs) x[z] = T(0);
        if (solve) {
          Calls<T>::trsv(&uplo, "N", "N", &n, a.data(), &n, xs[0].data(), &one);
          Calls<T>::tpsv(&uplo, "N", "N", &n, ap.data(), xs[1].data(), &one);
          Calls<T>::tbsv(&uplo, "N", "N", &n, &k, band.data(), &ldb, xs[2].data(), &one);
        } else {
          Calls<T>::trmv(&uplo, "N", "N", &n, a.data(), &n, xs[0].data(), &one);
          Calls<T>::tpmv(&uplo, "N", "N", &n, ap.data(), xs[1].data(), &one);
          Calls<T>::tbmv(&uplo, "N", "N", &n, &k, band.data(), &ldb, xs[2].data(), &one);
        }
        for (int f = 0; f < 3; ++f)
          for (i64 i = 0; i < n; ++i)
            EXPECT_EQ(xs[f][i], i == z ? T(0) : other)
                << "n " << n << " form " << f << " uplo " << uplo << " solve " << solve << " i " << i;
      }
    }
}
