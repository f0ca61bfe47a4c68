// LU factorisation kernels, with and without pivoting: residual ratios at
// every body size and beyond, the straight-line bodies against the general
// loop bit for bit, and the pinned pivoting, singularity and scaling cases.
#include <cmath>
#include <limits>

#include "lu_test.h"

namespace lut {
namespace {

struct Factored {
  i64 info = -99;
  std::vector<i64> ipiv;
};

template <class T> Factored getrf(Mat<T>& a) {
  Factored f;
  f.ipiv.assign(static_cast<std::size_t>(std::max<i64>(std::min(a.rows, a.cols), 1)), -5);
  Kernels<T>::get().getrf(&a.rows, &a.cols, a.data(), &a.ld, f.ipiv.data(), &f.info);
  f.ipiv.resize(static_cast<std::size_t>(std::min(a.rows, a.cols)));
  return f;
}

template <class T> i64 getrfnp(Mat<T>& a, i64 info = 0) {
  Kernels<T>::get().getrfnp(&a.rows, &a.cols, a.data(), &a.ld, &info);
  return info;
}

const std::pair<i64, i64> rectangles[] = {{3, 5}, {5, 3}, {1, 4}, {4, 1}, {7, 8}, {8, 7}, {9, 4}, {4, 9}, {33, 16}, {16, 33}, {130, 64}, {64, 130}};

TEST(Getrf, ResidualsSquareAndRectangular) {
  for_each_type([](auto t) {
    using T = decltype(t);
    auto check = [](i64 m, i64 n, i64 pad) {
      Mat<T> a = random_matrix<T>(m, n, 100 * m + n, pad);
      Mat<T> lu = a;
      Factored f = getrf(lu);
      EXPECT_EQ(f.info, 0) << m << "x" << n;
      EXPECT_LT(lu_ratio(a, lu, f.ipiv), 30.0) << m << "x" << n;
      EXPECT_TRUE(lu.padding_intact()) << m << "x" << n;
      for (i64 j = 0; j < std::min(m, n); ++j) {
        EXPECT_GE(f.ipiv[static_cast<std::size_t>(j)], j + 1);
        EXPECT_LE(f.ipiv[static_cast<std::size_t>(j)], m);
      }
      // The multipliers are at most 1 in modulus (sqrt 2 for complex,
      // whose pivots are chosen by |Re| + |Im|).
      const double bound = (is_complex<T> ? std::sqrt(2.0) : 1.0) * (1 + 1e-6);
      for (i64 j = 0; j < std::min(m, n); ++j)
        for (i64 i = j + 1; i < m; ++i) EXPECT_LE(std::abs(lu(i, j)), bound);
    };
    for (i64 n : sizes()) check(n, n, n % 3);
    for (auto [m, n] : rectangles) check(m, n, 2);
  });
}

TEST(Getrfnp, ResidualsSquareAndRectangular) {
  for_each_type([](auto t) {
    using T = decltype(t);
    auto check = [](i64 m, i64 n, i64 pad) {
      Mat<T> a = dominant_matrix<T>(m, n, 7 * m + n, pad);
      Mat<T> lu = a;
      EXPECT_EQ(getrfnp(lu), 0) << m << "x" << n;
      EXPECT_LT(lu_ratio(a, lu, {}), 30.0) << m << "x" << n;
      EXPECT_TRUE(lu.padding_intact());
    };
    for (i64 n : sizes()) check(n, n, 1);
    for (auto [m, n] : rectangles) check(m, n, 0);
  });
}

// The straight-line body for A against the general loop on [A | b], whose
// first n columns it must reproduce exactly, with the same ipiv and info.
template <class T> void body_matches_loop(const Mat<T>& a, bool pivoted, const char* what) {
  const i64 n = a.rows;
  Mat<T> body = a;
  Mat<T> wide(n, n + 1);
  Rng g(n + 31);
  for (i64 j = 0; j <= n; ++j)
    for (i64 i = 0; i < n; ++i) wide(i, j) = j < n ? a(i, j) : random_value<T>(g);
  if (pivoted) {
    Factored fb = getrf(body), fw = getrf(wide);
    EXPECT_EQ(fb.ipiv, fw.ipiv) << what << " n=" << n;
    EXPECT_EQ(fb.info, fw.info) << what << " n=" << n;
  } else {
    EXPECT_EQ(getrfnp(body), getrfnp(wide)) << what << " n=" << n;
  }
  EXPECT_TRUE(same_bits(body, wide, n)) << what << " n=" << n;
}

template <class T> void bodies_against_loop(i64 largest, bool pivoted) {
  const real_t<T> tiny = std::numeric_limits<real_t<T>>::min() / real_t<T>(8);
  for (i64 n = 1; n <= largest; ++n) {
    auto make = [&](std::uint64_t seed) { return pivoted ? random_matrix<T>(n, n, seed) : dominant_matrix<T>(n, n, seed); };
    body_matches_loop(make(n), pivoted, "random");
    for (i64 z = 0; z < n; ++z) {
      Mat<T> a = make(n + 50);
      for (i64 i = 0; i < n; ++i) a(i, z) = T(0);
      body_matches_loop(a, pivoted, "zero column");
      // A zero pivot whose column still has entries below it (unpivoted).
      Mat<T> b = make(n + 60);
      b(z, z) = T(0);
      body_matches_loop(b, pivoted, "zero diagonal");
      // Pivots below the safe minimum in column z.
      Mat<T> c = make(n + 70);
      for (i64 i = 0; i < n; ++i) c(i, z) *= T(tiny);
      body_matches_loop(c, pivoted, "tiny column");
    }
  }
}

TEST(Getrf, BodiesEqualTheGeneralLoop) {
  for_each_type([](auto t) { bodies_against_loop<decltype(t)>(7, true); });
}

TEST(Getrfnp, BodiesEqualTheGeneralLoop) {
  for_each_type([](auto t) { bodies_against_loop<decltype(t)>(5, false); });
}

// A square matrix (body sizes) and its twin with an extra column (loop).
template <class T> std::vector<Mat<T>> both_paths(const Mat<T>& a) {
  Mat<T> w(a.rows, a.cols + 1);
  for (i64 j = 0; j < a.cols; ++j)
    for (i64 i = 0; i < a.rows; ++i) w(i, j) = a(i, j);
  return {a, w};
}

TEST(Getrf, TiesKeepTheFirstRowAndNaNNeverPivots) {
  for_each_type([](auto t) {
    using T = decltype(t);
    Mat<T> a(3, 3);
    const T col[] = {T(1), T(-1), T(1)};
    for (i64 i = 0; i < 3; ++i) {
      a(i, 0) = col[i];
      a(i, 1) = T(real_t<T>(i + 2));
      a(i, 2) = T(real_t<T>(3 - i * i));
    }
    for (Mat<T> x : both_paths(a)) {
      Factored f = getrf(x);
      EXPECT_EQ(f.ipiv[0], 1);
    }
    // (1, NaN, 2): the NaN is passed over and row 3 is the pivot.
    a(1, 0) = T(std::numeric_limits<real_t<T>>::quiet_NaN());
    a(2, 0) = T(2);
    for (Mat<T> x : both_paths(a)) {
      Factored f = getrf(x);
      EXPECT_EQ(f.ipiv[0], 3);
    }
    // A NaN on the diagonal is never replaced, and counts as a nonzero pivot.
    Mat<T> b = random_matrix<T>(4, 4, 5);
    b(0, 0) = T(std::numeric_limits<real_t<T>>::quiet_NaN());
    for (Mat<T> x : both_paths(b)) {
      Factored f = getrf(x);
      EXPECT_EQ(f.ipiv[0], 1);
      EXPECT_EQ(f.info, 0);
    }
  });
}

TEST(Getrf, ComplexPivotsAreMeasuredByTheSumOfParts) {
  // (0.6, 0.6) has the smaller modulus but the larger |Re| + |Im|.
  auto run = [](auto t) {
    using T = decltype(t);
    Mat<T> a = random_matrix<T>(5, 5, 9);
    a(0, 0) = T(1, 0);
    a(3, 0) = T(real_t<T>(0.6), real_t<T>(0.6));
    for (i64 i : {1, 2, 4}) a(i, 0) = T(real_t<T>(0.1), 0);
    for (Mat<T> x : both_paths(a)) EXPECT_EQ(getrf(x).ipiv[0], 4);
    // Equal sums: the first stays.
    a(3, 0) = T(real_t<T>(0.5), real_t<T>(-0.5));
    for (Mat<T> x : both_paths(a)) EXPECT_EQ(getrf(x).ipiv[0], 1);
  };
  run(std::complex<float>{});
  run(std::complex<double>{});
}

TEST(Getrf, ZeroPivotsAreReportedAndTheRestFactored) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {4, 6, 7, 12}) {
      Mat<T> a = random_matrix<T>(n, n, 40 + n);
      for (i64 i = 0; i < n; ++i) a(i, 0) = T(0);
      for (Mat<T> x : both_paths(a)) {
        const Mat<T> before = x;
        Factored f = getrf(x);
        EXPECT_EQ(f.info, 1) << n;
        EXPECT_EQ(f.ipiv[0], 1);
        EXPECT_TRUE(same_bits(x, before, 1)) << "the zero column was changed";
        EXPECT_LT(lu_ratio(before, x, f.ipiv), 30.0);
      }
      // Two zero pivots: the first is named.
      Mat<T> b = random_matrix<T>(n, n, 60 + n);
      for (i64 i = 0; i < n; ++i) {
        b(i, 1) = T(0);
        b(i, 3) = T(0);
      }
      for (Mat<T> x : both_paths(b)) EXPECT_EQ(getrf(x).info, 2) << n;
    }
  });
}

// A pivot below the safe minimum with k rows beneath: the multipliers are
// formed in groups of 4 by the reciprocal and the rest by division.
template <class T> void tiny_pivot_scaling(i64 below) {
  using R = real_t<T>;
  const i64 n = below + 1;
  const R unit = std::numeric_limits<R>::min() / R(16);  // well below the safe minimum
  Mat<T> a = random_matrix<T>(n, n, 77 + below);
  a(0, 0) = T(R(3) * unit);
  for (i64 i = 1; i < n; ++i) a(i, 0) = T(R(i % 3 + 1) * unit * R(0.5) + unit / R(4) * R(i));
  const T d = a(0, 0);
  for (Mat<T> x : both_paths(a)) {
    Factored f = getrf(x);
    EXPECT_EQ(f.ipiv[0], 1);
    const i64 by_reciprocal = below >= 4 ? below - below % 4 : 0;
    // The expected column in the original row order, then moved by the
    // interchanges of the later steps, which reach column 0 too.
    std::vector<T> want(static_cast<std::size_t>(n));
    std::vector<char> reciprocal(static_cast<std::size_t>(n));
    for (i64 i = 1; i < n; ++i) {
      reciprocal[static_cast<std::size_t>(i)] = i - 1 < by_reciprocal;
      want[static_cast<std::size_t>(i)] = i - 1 < by_reciprocal ? a(i, 0) * (T(1) / d) : a(i, 0) / d;
    }
    for (i64 j = 1; j < n; ++j) {
      const std::size_t p = static_cast<std::size_t>(f.ipiv[static_cast<std::size_t>(j)] - 1), q = static_cast<std::size_t>(j);
      std::swap(want[p], want[q]);
      std::swap(reciprocal[p], reciprocal[q]);
    }
    for (i64 i = 1; i < n; ++i) {
      const std::size_t k = static_cast<std::size_t>(i);
      if (reciprocal[k] && is_complex<T>) {
        // The reciprocal overflowed; the complex product shows it as a non-finite value.
        EXPECT_FALSE(std::isfinite(std::abs(x(i, 0)))) << "row " << i << ": not formed by the reciprocal";
      } else {
        EXPECT_EQ(std::memcmp(&x(i, 0), &want[k], sizeof(T)), 0)
            << "row " << i << (reciprocal[k] ? ": not formed by the reciprocal" : ": not divided");
      }
    }
  }
}

TEST(Getrf, PivotsBelowTheSafeMinimum) {
  for_each_type([](auto t) {
    using T = decltype(t);
    tiny_pivot_scaling<T>(3);  // all three divided
    tiny_pivot_scaling<T>(5);  // four by the reciprocal, the fifth divided
  });
}

TEST(Getrfnp, KeepsTheCallersInfo) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {2, 3, 5, 6, 9}) {
      Mat<T> a = dominant_matrix<T>(n, n, n);
      EXPECT_EQ(getrfnp(a, 7), 7) << n;
    }
    Mat<T> rect = dominant_matrix<T>(4, 2, 3);
    EXPECT_EQ(getrfnp(rect, 7), 7);
    // The 1 x 1 body assigns it either way.
    Mat<T> one(1, 1);
    one(0, 0) = T(2);
    EXPECT_EQ(getrfnp(one, 7), 0);
    one(0, 0) = T(0);
    EXPECT_EQ(getrfnp(one, 0), 1);
  });
}

TEST(Getrfnp, ZeroPivotSkipsItsColumnAndTheUpdateGoesOn) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (i64 n : {3, 5, 8}) {
      // a(0,1) = a(1,1) = 0: the second pivot is exactly zero after step 0.
      Mat<T> a = dominant_matrix<T>(n, n, 90 + n);
      a(0, 1) = T(0);
      a(1, 1) = T(0);
      Mat<T> x = a;
      EXPECT_EQ(getrfnp(x), 2) << n;
      for (i64 i = 2; i < n; ++i)
        EXPECT_EQ(std::memcmp(&x(i, 1), &a(i, 1), sizeof(T)), 0) << "row " << i << " of the zero pivot's column was scaled";
      // U(2,2) after both updates, the second with the unscaled column.
      const cld l1 = to_ld(x(1, 0)), l2 = to_ld(x(2, 0));
      const cld u12 = to_ld(a(1, 2)) - l1 * to_ld(a(0, 2));
      const cld want = to_ld(a(2, 2)) - l2 * to_ld(a(0, 2)) - to_ld(a(2, 1)) * u12;
      EXPECT_LE(std::abs(to_ld(x(2, 2)) - want), 16 * unit_roundoff<T>() * (std::abs(want) + 4 * n)) << n;
      // A later zero leaves the first standing; a value passed in stands.
      Mat<T> y = a;
      y(n - 1, n - 1) = T(0);
      y(n - 1, 0) = T(0);
      y(0, n - 1) = T(0);
      EXPECT_EQ(getrfnp(y), 2);
      Mat<T> z = a;
      EXPECT_EQ(getrfnp(z, 5), 5);
    }
  });
}

TEST(Getrf, EmptyShapesReturnAtOnce) {
  for_each_type([](auto t) {
    using T = decltype(t);
    for (auto [m, n] : {std::pair<i64, i64>{0, 0}, {0, 3}, {3, 0}}) {
      Mat<T> a(m, n, 1);
      Factored f = getrf(a);
      EXPECT_EQ(f.info, 0);
      EXPECT_TRUE(a.padding_intact());
    }
  });
}

}  // namespace
}  // namespace lut
