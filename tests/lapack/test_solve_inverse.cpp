// Solves and inverses from the LU factors: residual ratios, the bodies
// against the general loop (a small system embedded in a larger one with an
// identity block, which the loop must solve to the same bits), argument
// errors through the core's error reports, workspace queries and singular
// inverses.
#include <cmath>

#include "lu_test.h"

namespace lut {
namespace {

using qor::test::MessageCapture;

template <class T> std::vector<i64> factor(Mat<T>& a) {
  std::vector<i64> ipiv(static_cast<std::size_t>(std::max<i64>(a.rows, 1)));
  i64 info = -1;
  Kernels<T>::get().getrf(&a.rows, &a.cols, a.data(), &a.ld, ipiv.data(), &info);
  EXPECT_EQ(info, 0);
  return ipiv;
}

// op(A) as long double.
template <class T> cld op_at(const Mat<T>& a, char op, i64 i, i64 j) {
  if (op == 'N') return to_ld(a(i, j));
  const cld x = to_ld(a(j, i));
  return op == 'C' ? std::conj(x) : x;
}

// |B - op(A) X|_1 / (n eps |A|_1 |X|_1).
template <class T> double solve_ratio(const Mat<T>& a, char op, const Mat<T>& b, const Mat<T>& x) {
  const i64 n = a.rows;
  if (n == 0 || b.cols == 0) return 0;
  std::vector<cld> r(static_cast<std::size_t>(n * b.cols));
  for (i64 j = 0; j < b.cols; ++j)
    for (i64 i = 0; i < n; ++i) {
      cld s = to_ld(b(i, j));
      for (i64 k = 0; k < n; ++k) s -= op_at(a, op, i, k) * to_ld(x(k, j));
      r[static_cast<std::size_t>(i + j * n)] = s;
    }
  return static_cast<double>(norm1(r, n, b.cols) / (n * unit_roundoff<T>() * norm1(a) * norm1(x)));
}

// |A X - I|_1 / (n eps |A|_1 |X|_1).
template <class T> double inverse_ratio(const Mat<T>& a, const Mat<T>& x) {
  const i64 n = a.rows;
  if (n == 0) return 0;
  std::vector<cld> r(static_cast<std::size_t>(n * n));
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) {
      cld s = i == j ? cld(-1) : cld(0);
      for (i64 k = 0; k < n; ++k) s += to_ld(a(i, k)) * to_ld(x(k, j));
      r[static_cast<std::size_t>(i + j * n)] = s;
    }
  return static_cast<double>(norm1(r, n, n) / (n * unit_roundoff<T>() * norm1(a) * norm1(x)));
}

template <class T> i64 getrs(char op, const Mat<T>& lu, const std::vector<i64>& ipiv, Mat<T>& b) {
  const option_t t = op;
  i64 info = -99;
  Kernels<T>::get().getrs(&t, &lu.rows, &b.cols, lu.v.data(), &lu.ld, ipiv.data(), b.data(), &b.ld, &info);
  return info;
}

TEST(Getrs, ResidualsForEveryCase) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : sizes()) {
      Mat<T> a = random_matrix<T>(n, n, 300 + n, 1);
      Mat<T> lu = a;
      const std::vector<i64> ipiv = factor(lu);
      for (const char* op = "NTC"; *op; ++op)
        for (i64 nrhs : {1, 3, 6}) {
          Mat<T> b = random_matrix<T>(n, nrhs, 400 + n + nrhs, 2);
          Mat<T> x = b;
          EXPECT_EQ(getrs(*op, lu, ipiv, x), 0);
          EXPECT_LT(solve_ratio(a, *op, b, x), 30.0) << *op << " n=" << n << " nrhs=" << nrhs;
          EXPECT_TRUE(x.padding_intact());
        }
    }
  });
}

TEST(Getrs, LowerCaseLettersAndRealConjugateTranspose) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {3, 11}) {
      Mat<T> a = random_matrix<T>(n, n, 500 + n);
      const std::vector<i64> ipiv = factor(a);
      Mat<T> b = random_matrix<T>(n, 2, 600 + n);
      for (auto [upper, lower] : {std::pair{'N', 'n'}, {'T', 't'}, {'C', 'c'}}) {
        Mat<T> x = b, y = b;
        getrs(upper, a, ipiv, x);
        getrs(lower, a, ipiv, y);
        EXPECT_TRUE(same_bits(x, y, 2)) << upper;
      }
      if constexpr (!is_complex<T>) {
        Mat<T> x = b, y = b;
        getrs('T', a, ipiv, x);
        getrs('C', a, ipiv, y);
        EXPECT_TRUE(same_bits(x, y, 2)) << "real C differs from T";
      }
    }
  });
}

// [A 0; 0 I] with the identity block making the order at least `total`:
// the general loop solves it with the bits the body gives for A alone.
template <class T> Mat<T> embed(const Mat<T>& a, i64 total) {
  Mat<T> e(total, total);
  for (i64 j = 0; j < total; ++j)
    for (i64 i = 0; i < total; ++i) e(i, j) = j < a.cols && i < a.rows ? a(i, j) : T(i == j ? 1 : 0);
  return e;
}

template <class T> bool same_values(const Mat<T>& x, const Mat<T>& y, i64 rows, i64 cols) {
  for (i64 j = 0; j < cols; ++j)
    for (i64 i = 0; i < rows; ++i)
      if (!(x(i, j) == y(i, j))) return false;
  return true;
}

TEST(Getrs, BodiesEqualTheGeneralLoop) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n = 1; n <= 7; ++n) {
      Mat<T> lu = random_matrix<T>(n, n, 700 + n);
      const std::vector<i64> ipiv = factor(lu);
      const Mat<T> big = embed(lu, 9);
      std::vector<i64> big_ipiv(9);
      for (i64 i = 0; i < 9; ++i) big_ipiv[static_cast<std::size_t>(i)] = i < n ? ipiv[static_cast<std::size_t>(i)] : i + 1;
      for (const char* op = "NTC"; *op; ++op) {
        if (n == 1 && *op == 'T') continue;  // that body multiplies by 1 / a
        Mat<T> b = random_matrix<T>(n, 5, 800 + n);
        Mat<T> wide(9, 5);
        for (i64 j = 0; j < 5; ++j)
          for (i64 i = 0; i < n; ++i) wide(i, j) = b(i, j);
        getrs(*op, lu, ipiv, b);
        getrs(*op, big, big_ipiv, wide);
        EXPECT_TRUE(same_values(b, wide, n, 5)) << *op << " n=" << n;
      }
    }
  });
}

TEST(Getrs, OneByOneTransposedUsesTheReciprocal) {
  Mat<double> a(1, 1);
  a(0, 0) = 3.0;
  const std::vector<i64> ipiv = {1};
  Mat<double> b(1, 1);
  b(0, 0) = 5.0;
  getrs('T', a, ipiv, b);
  EXPECT_EQ(b(0, 0), 5.0 * (1.0 / 3.0));
  b(0, 0) = 5.0;
  getrs('N', a, ipiv, b);
  EXPECT_EQ(b(0, 0), 5.0 / 3.0);
}

// The positions reported for `routine` so far, in order.
std::vector<int> reported(const MessageCapture& cap, const std::string& routine) {
  std::vector<int> out;
  for (const auto& e : cap.entries()) {
    if (e.kind != QOR_MSG_ARGUMENT_ERROR) continue;
    EXPECT_EQ(e.routine, routine);
    const auto p = e.text.find("number");
    out.push_back(p == std::string::npos ? -1 : std::stoi(e.text.substr(p + 6)));
  }
  return out;
}

TEST(Getrs, ArgumentErrorsReportOnceAndLeaveBAlone) {
  for_each_type([](auto t) {
    using T = decltype(t);
    const std::string name = std::string(1, static_cast<char>(letter<T>()[0] - 'a' + 'A')) + "GETRS";
    const auto& k = Kernels<T>::get();
    T a[16] = {}, b[16];
    for (T& x : b) x = T(7);
    const i64 ipiv[4] = {1, 2, 3, 4};
    struct Case {
      option_t trans;
      i64 n, nrhs, lda, ldb, position;
    };
    const Case cases[] = {{'X', 2, 1, 2, 2, 1},       {'N' + 256, 2, 1, 2, 2, 1}, {'n', -1, 1, 2, 2, 2},
                          {'T', 2, -1, 2, 2, 3},      {'C', 3, 1, 2, 3, 5},       {'t', 3, 1, 3, 2, 8},
                          {'N', 0, 1, 0, 1, 5},       {'N', 0, 1, 1, 0, 8},       {'Y', -1, -1, 0, 0, 1}};
    for (const Case& c : cases) {
      MessageCapture cap;
      i64 info = 0;
      k.getrs(&c.trans, &c.n, &c.nrhs, a, &c.lda, ipiv, b, &c.ldb, &info);
      EXPECT_EQ(info, -c.position);
      EXPECT_EQ(reported(cap, name), std::vector<int>{static_cast<int>(c.position)});
      for (const T& x : b) EXPECT_EQ(x, T(7));
    }
    // Valid empty calls: n == 0 with lda == ldb == 1, nrhs == 0.
    MessageCapture cap;
    const option_t tn = 'N';
    const i64 zero = 0, one = 1, two = 2;
    i64 info = 5;
    k.getrs(&tn, &zero, &one, a, &one, ipiv, b, &one, &info);
    EXPECT_EQ(info, 0);
    info = 5;
    k.getrs(&tn, &two, &zero, a, &two, ipiv, b, &two, &info);
    EXPECT_EQ(info, 0);
    EXPECT_TRUE(cap.entries().empty());
    for (const T& x : b) EXPECT_EQ(x, T(7));
  });
}

template <class T> i64 getri(Mat<T>& a, const std::vector<i64>* ipiv, std::vector<T>& work, i64 lwork, i64 info = -99) {
  const auto& k = Kernels<T>::get();
  if (ipiv != nullptr) k.getri(&a.rows, a.data(), &a.ld, ipiv->data(), work.data(), &lwork, &info);
  else k.getrinp(&a.rows, a.data(), &a.ld, work.data(), &lwork, &info);
  return info;
}

TEST(Getri, ResidualsPivotedAndUnpivoted) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : sizes()) {
      for (bool pivoted : {true, false}) {
        Mat<T> a = pivoted ? random_matrix<T>(n, n, 900 + n, 2) : dominant_matrix<T>(n, n, 950 + n, 1);
        Mat<T> x = a;
        std::vector<i64> ipiv;
        if (pivoted) {
          ipiv = factor(x);
        } else {
          i64 info = 0;
          Kernels<T>::get().getrfnp(&x.rows, &x.cols, x.data(), &x.ld, &info);
          EXPECT_EQ(info, 0);
        }
        std::vector<T> work(static_cast<std::size_t>(std::max<i64>(n, 1)) + 1, T(-3));
        EXPECT_EQ(getri(x, pivoted ? &ipiv : nullptr, work, n), 0);
        EXPECT_EQ(work[0], T(real_t<T>(std::max<i64>(n, 1)))) << n;
        EXPECT_LT(inverse_ratio(a, x), 30.0) << (pivoted ? "getri" : "getrinp") << " n=" << n;
        EXPECT_TRUE(x.padding_intact());
      }
    }
  });
}

TEST(Getri, BodiesEqualTheGeneralLoop) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n = 1; n <= 6; ++n)
      for (bool pivoted : {true, false}) {
        Mat<T> lu = pivoted ? random_matrix<T>(n, n, 1000 + n) : dominant_matrix<T>(n, n, 1000 + n);
        std::vector<i64> ipiv = pivoted ? factor(lu) : std::vector<i64>();
        Mat<T> big = embed(lu, 8);
        std::vector<i64> big_ipiv(8);
        for (i64 i = 0; i < 8; ++i) big_ipiv[static_cast<std::size_t>(i)] = i < n && pivoted ? ipiv[static_cast<std::size_t>(i)] : i + 1;
        std::vector<T> work(8);
        EXPECT_EQ(getri(lu, pivoted ? &ipiv : nullptr, work, 8), 0);
        EXPECT_EQ(getri(big, pivoted ? &big_ipiv : nullptr, work, 8), 0);
        EXPECT_TRUE(same_values(lu, big, n, n)) << n << (pivoted ? " getri" : " getrinp");
      }
  });
}

TEST(Getri, WorkspaceQueriesAndSingularFactors) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {0, 1, 5, 6, 7, 12}) {
      for (bool pivoted : {true, false}) {
        // A query stores max(n, 1) and touches nothing else.
        Mat<T> a = random_matrix<T>(n, n, 1100 + n);
        const Mat<T> before = a;
        std::vector<i64> ipiv(static_cast<std::size_t>(std::max<i64>(n, 1)), 1);
        std::vector<T> work(static_cast<std::size_t>(std::max<i64>(n, 1)), T(-3));
        EXPECT_EQ(getri(a, pivoted ? &ipiv : nullptr, work, -1, 42), 42);
        EXPECT_EQ(work[0], T(real_t<T>(std::max<i64>(n, 1))));
        EXPECT_TRUE(same_bits(a, before, n));
        if (n == 0) continue;
        // A zero on U's diagonal: its index, A as it was, work[0] set.
        for (i64 z : {n - 1, n / 2}) {
          Mat<T> s = random_matrix<T>(n, n, 1200 + n);
          s(z, z) = T(0);
          if (z + 1 < n) s(n - 1, n - 1) = T(0);
          const Mat<T> kept = s;
          std::vector<T> w(static_cast<std::size_t>(n), T(-3));
          EXPECT_EQ(getri(s, pivoted ? &ipiv : nullptr, w, n), z + 1) << n;
          EXPECT_TRUE(same_bits(s, kept, n)) << "singular inverse changed A, n=" << n;
          EXPECT_EQ(w[0], T(real_t<T>(n)));
        }
      }
    }
  });
}

TEST(Getri, OneByOneUnpivotedStoresTheReciprocal) {
  Mat<double> a(1, 1);
  a(0, 0) = 3.0;
  std::vector<double> work(1);
  EXPECT_EQ(getri<double>(a, nullptr, work, 1), 0);
  EXPECT_EQ(a(0, 0), 1.0 / 3.0);
}

TEST(Getri, SecondComplexEntriesReachTheSameCode) {
  auto run = [](auto t, const char* name) {
    using T = decltype(t);
    auto* second = member().get<qor::lapack::getri_fn<T>>(name);
    ASSERT_NE(second, nullptr) << name;
    for (i64 n : {0, 4, 9}) {
      Mat<T> a = random_matrix<T>(n, n, 1300 + n);
      std::vector<i64> ipiv = n > 0 ? factor(a) : std::vector<i64>(1, 1);
      Mat<T> b = a;
      std::vector<T> w1(static_cast<std::size_t>(std::max<i64>(n, 1))), w2 = w1;
      const i64 lwork = std::max<i64>(n, 1);
      i64 i1 = -1, i2 = -1;
      Kernels<T>::get().getri(&n, a.data(), &a.ld, ipiv.data(), w1.data(), &lwork, &i1);
      second(&n, b.data(), &b.ld, ipiv.data(), w2.data(), &lwork, &i2);
      EXPECT_EQ(i1, i2);
      EXPECT_TRUE(same_bits(a, b, n));
      EXPECT_EQ(w1[0], w2[0]);
    }
  };
  run(std::complex<float>{}, "qor_lapack_ps_def_qor_dc_cgetri");
  run(std::complex<double>{}, "qor_lapack_ps_def_qor_dc_zgetri");
}

// No kernel of the family asks for memory: with every allocation failing,
// a round of all five leaves the counters at zero.
TEST(LuFamily, AllocatesNothing) {
  qor::test::AllocWatch watch;
  qor_fault_fail_after(QOR_POOL_BOTH, 0);
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {3, 7, 9}) {
      Mat<T> a = random_matrix<T>(n, n, 1400 + n);
      Mat<T> lu = a;
      std::vector<i64> ipiv = factor(lu);
      Mat<T> b = random_matrix<T>(n, 2, 1);
      EXPECT_EQ(getrs('N', lu, ipiv, b), 0);
      std::vector<T> work(static_cast<std::size_t>(n));
      EXPECT_EQ(getri(lu, &ipiv, work, n), 0);
      Mat<T> d = dominant_matrix<T>(n, n, 2);
      i64 info = 0;
      Kernels<T>::get().getrfnp(&n, &n, d.data(), &d.ld, &info);
      EXPECT_EQ(getri(d, nullptr, work, n), 0);
    }
  });
  EXPECT_EQ(watch.allocations(), 0);
  EXPECT_EQ(watch.failures(), 0);
}

}  // namespace
}  // namespace lut
