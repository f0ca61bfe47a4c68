// Dot products, sums of magnitudes and norms: against long double
// references within rounding bounds, for every type, length, stride pair
// and base alignment; bit-for-bit repeatability of the fixed summation
// orders; and the numeric edge cases.
#include "l1_test.h"

using namespace l1t;

namespace {

using LD = long double;

template <class T> LD ldre(T v) { return static_cast<LD>(re(v)); }
template <class T> LD ldim(T v) { return static_cast<LD>(im(v)); }

template <class T>
void dot_case(i64 n, i64 incx, i64 incy, std::size_t ox, std::size_t oy, qor::test::Rng& rng) {
  Vec<T> x(n, incx, ox), y(n, incy, oy);
  x.fill(rng);
  y.fill(rng);
  LD sr = 0, si = 0, cr = 0, ci = 0, mag = 0;
  for (i64 i = 0; i < n; ++i) {
    LD xr = ldre(x[i]), xi = ldim(x[i]), yr = ldre(y[i]), yi = ldim(y[i]);
    sr += xr * yr - xi * yi;  // unconjugated
    si += xr * yi + xi * yr;
    cr += xr * yr + xi * yi;  // conjugated
    ci += xr * yi - xi * yr;
    mag += (std::fabs(xr) + std::fabs(xi)) * (std::fabs(yr) + std::fabs(yi));
  }
  const double tol = sum_tol<R<T>>(n, static_cast<double>(mag));
  if constexpr (!cplx<T>) {
    T got = std::is_same_v<T, float> ? T(qor_blas_sdot(&n, reinterpret_cast<const float*>(x.ptr()), &incx,
                                                        reinterpret_cast<const float*>(y.ptr()), &incy))
                                     : T(qor_blas_ddot(&n, reinterpret_cast<const double*>(x.ptr()), &incx,
                                                       reinterpret_cast<const double*>(y.ptr()), &incy));
    EXPECT_NEAR(static_cast<double>(got), static_cast<double>(sr), tol);
    // Both strides -1 pair the same elements as both +1 and sum in the same order.
    if (incx == -1 && incy == -1) {
      const i64 one = 1;
      T up = std::is_same_v<T, float> ? T(qor_blas_sdot(&n, reinterpret_cast<const float*>(x.ptr()), &one,
                                                         reinterpret_cast<const float*>(y.ptr()), &one))
                                      : T(qor_blas_ddot(&n, reinterpret_cast<const double*>(x.ptr()), &one,
                                                        reinterpret_cast<const double*>(y.ptr()), &one));
      EXPECT_TRUE(same_bits(got, up)) << show(got) << " vs " << show(up);
    }
  } else {
    T u, c;
    if constexpr (std::is_same_v<T, c32>) {
      qor_blas_cdotu(&u, &n, x.ptr(), &incx, y.ptr(), &incy);
      qor_blas_cdotc(&c, &n, x.ptr(), &incx, y.ptr(), &incy);
    } else {
      qor_blas_zdotu(&u, &n, x.ptr(), &incx, y.ptr(), &incy);
      qor_blas_zdotc(&c, &n, x.ptr(), &incx, y.ptr(), &incy);
    }
    EXPECT_NEAR(static_cast<double>(u.real()), static_cast<double>(sr), tol);
    EXPECT_NEAR(static_cast<double>(u.imag()), static_cast<double>(si), tol);
    EXPECT_NEAR(static_cast<double>(c.real()), static_cast<double>(cr), tol);
    EXPECT_NEAR(static_cast<double>(c.imag()), static_cast<double>(ci), tol);
    if (incx == -1 && incy == -1) {
      const i64 one = 1;
      T up;
      if constexpr (std::is_same_v<T, c32>)
        qor_blas_cdotc(&up, &n, x.ptr(), &one, y.ptr(), &one);
      else
        qor_blas_zdotc(&up, &n, x.ptr(), &one, y.ptr(), &one);
      EXPECT_TRUE(same_bits(c, up)) << show(c) << " vs " << show(up);
    }
  }
}

template <class T>
void check_dots() {
  qor::test::Rng rng(3);
  for (i64 n : lengths())
    for (const auto& s : stride_pairs())
      for (std::size_t ox : offsets())
        for (std::size_t oy : offsets()) {
          if (s.x * s.y != 1 && (ox != 0 || oy > 8 || n > 300)) continue;
          SCOPED_TRACE(std::string(letter<T>) + "dot n=" + std::to_string(n) + " incx=" + std::to_string(s.x) +
                       " incy=" + std::to_string(s.y) + " offsets " + std::to_string(ox) + "," + std::to_string(oy));
          dot_case<T>(n, s.x, s.y, ox, oy, rng);
          if (::testing::Test::HasFailure()) return;
        }
}

TEST(Level1Reductions, DotProductsMatchTheReference) {
  on_every_body([&] {
    check_dots<float>();
    check_dots<double>();
    check_dots<c32>();
    check_dots<c64>();
  });
}

TEST(Level1Reductions, ExtendedAccumulationDots) {
  qor::test::Rng rng(4);
  for (i64 n : lengths())
    for (const auto& s : stride_pairs()) {
      if (n > 300) continue;
      Vec<float> x(n, s.x, 4), y(n, s.y, 0);
      x.fill(rng);
      y.fill(rng);
      LD sum = 0, mag = 0;
      for (i64 i = 0; i < n; ++i) {
        sum += static_cast<LD>(x[i]) * static_cast<LD>(y[i]);
        mag += std::fabs(static_cast<LD>(x[i]) * static_cast<LD>(y[i]));
      }
      const double d = qor_blas_dsdot(&n, x.ptr(), &s.x, y.ptr(), &s.y);
      EXPECT_NEAR(d, static_cast<double>(sum), sum_tol<double>(n, static_cast<double>(mag))) << n;
      const float sb = 0.25f;
      const float f = qor_blas_sdsdot(&n, &sb, x.ptr(), &s.x, y.ptr(), &s.y);
      // One rounding to binary32 at the end.
      const float want = static_cast<float>(static_cast<double>(sum + 0.25L));
      EXPECT_LE(std::fabs(f - want), std::fabs(want) * 1.2e-7f + 1e-30f) << n;
    }
}

TEST(Level1Reductions, DotsRepeatBitForBit) {
  on_every_body([&] {
    qor::test::Rng rng(9);
    for (std::size_t ox : offsets())
      for (std::size_t oy : offsets()) {
        const i64 n = 1001, one = 1;
        Vec<double> x(n, 1, ox), y(n, 1, oy);
        x.fill(rng);
        y.fill(rng);
        const double first = qor_blas_ddot(&n, x.ptr(), &one, y.ptr(), &one);
        for (int rep = 0; rep < 3; ++rep)
          EXPECT_TRUE(same_bits(first, qor_blas_ddot(&n, x.ptr(), &one, y.ptr(), &one)));
        Vec<float> fx(n, 1, ox), fy(n, 1, oy);
        fx.fill(rng);
        fy.fill(rng);
        const float ff = qor_blas_sdot(&n, fx.ptr(), &one, fy.ptr(), &one);
        EXPECT_TRUE(same_bits(ff, qor_blas_sdot(&n, fx.ptr(), &one, fy.ptr(), &one)));
        const float fn = qor_blas_snrm2(&n, fx.ptr(), &one);
        EXPECT_TRUE(same_bits(fn, qor_blas_snrm2(&n, fx.ptr(), &one)));
      }
  });
}

// In a reproducible mode (any mode but the automatic 1) the processor class
// does not change a result: no 512-bit body is taken, and every path gives
// the bits of the baseline, whose summation order is fixed.
TEST(Level1Reductions, ReproducibleModeGivesTheSameBitsOnEveryPath) {
  qor::test::Rng rng(10);
  const i64 n = 777, one = 1;
  Vec<double> x(n, 1, 8), y(n, 1, 0);
  x.fill(rng);
  y.fill(rng);
  Vec<c64> z(n, 1, 0);
  z.fill(rng);
  struct Got {
    double dot, asum, nrm2;
    c64 zdot;
    i64 amax;
  };
  auto run = [&] {
    Got g;
    g.dot = qor_blas_ddot(&n, x.ptr(), &one, y.ptr(), &one);
    g.asum = qor_blas_dasum(&n, x.ptr(), &one);
    g.nrm2 = qor_blas_dnrm2(&n, x.ptr(), &one);
    qor_blas_zdotc(&g.zdot, &n, z.ptr(), &one, z.ptr(), &one);
    g.amax = qor_blas_idamax(&n, x.ptr(), &one);
    return g;
  };
  qor_set_cbwr(2);
  Got base{};
  bool first = true;
  qor::test::on_every_path([&](int p) {
    const std::int64_t wide_hits = qor_cpu_path_hits(QOR_CPU_PATH_AVX512);
    Got g = run();
    if (first) base = g;
    first = false;
    EXPECT_TRUE(same_bits(base.dot, g.dot) && same_bits(base.asum, g.asum) && same_bits(base.nrm2, g.nrm2) &&
                same_bits(base.zdot, g.zdot) && base.amax == g.amax);
    if (p == QOR_CPU_PATH_AVX512) EXPECT_EQ(qor_cpu_path_hits(p), wide_hits) << "a 512-bit body was taken";
  });
  qor_set_cbwr(1);
  // The automatic mode may take the 512-bit bodies again, within the same
  // bounds (checked against the reference above); the index is exact.
  qor::test::on_every_path([&](int) {
    Got g = run();
    EXPECT_NEAR(g.dot, base.dot, sum_tol<double>(n, 1.0 * n));
    EXPECT_NEAR(g.nrm2, base.nrm2, sum_tol<double>(n, base.nrm2));
    EXPECT_EQ(g.amax, base.amax);
  });
}

template <class T>
void check_asum_nrm2() {
  qor::test::Rng rng(6);
  for (i64 n : lengths())
    for (i64 inc : {1, -1, 2, -3, 0})
      for (std::size_t off : offsets()) {
        if (inc * inc != 1 && (off > 8 || n > 300)) continue;
        SCOPED_TRACE(std::string(letter<T>) + " n=" + std::to_string(n) + " inc=" + std::to_string(inc) +
                     " offset=" + std::to_string(off));
        Vec<T> x(n, inc, off);
        x.fill(rng);
        // Sums and norms take the set of elements: the absolute stride from the base.
        LD asum = 0, ssq = 0;
        for (i64 i = 0; i < n; ++i) {
          T v = x.slot(i * (inc < 0 ? -inc : inc));
          asum += std::fabs(ldre(v)) + std::fabs(ldim(v));
          ssq += ldre(v) * ldre(v) + ldim(v) * ldim(v);
        }
        const R<T> a = api<T>::asum(&n, x.ptr(), &inc);
        const R<T> r = api<T>::nrm2(&n, x.ptr(), &inc);
        EXPECT_NEAR(static_cast<double>(a), static_cast<double>(asum), sum_tol<R<T>>(n, static_cast<double>(asum)));
        const double norm = static_cast<double>(std::sqrt(ssq));
        EXPECT_NEAR(static_cast<double>(r), norm, sum_tol<R<T>>(n, norm));
        if (::testing::Test::HasFailure()) return;
      }
}

TEST(Level1Reductions, AsumAndNrm2MatchTheReference) {
  on_every_body([&] {
    check_asum_nrm2<float>();
    check_asum_nrm2<double>();
    check_asum_nrm2<c32>();
    check_asum_nrm2<c64>();
  });
}

// The baseline binary64 norms keep one scale and one sum of squares, fed one
// value at a time in storage order: a result fixed to the bit. Values of
// mixed magnitudes (new scales early and late), zeros, and both real and
// complex, contiguous and strided.
TEST(Level1Reductions, BaselineNormsFollowTheScaledRecurrenceBitForBit) {
  auto recurrence = [](const std::vector<double>& v) {
    double scale = 0, ssq = 1;
    for (double e : v) {
      if (e == 0) continue;
      const double a = std::fabs(e);
      if (a > scale) {
        ssq = 1 + ssq * ((scale / a) * (scale / a));
        scale = a;
      } else {
        ssq += (a / scale) * (a / scale);
      }
    }
    return std::sqrt(ssq) * scale;
  };
  qor::test::PathGuard guard(QOR_CPU_PATH_BASELINE);
  qor::test::Rng rng(12);
  for (i64 n : {2, 7, 8, 9, 16, 31, 64, 100, 1001})
    for (i64 inc : {1, -1, 3}) {
      Vec<double> x(n, inc, 8);
      Vec<c64> z(n, inc, 0);
      std::vector<double> xs, zs;
      for (i64 i = 0; i < n; ++i) {
        // Magnitudes over twelve decades; every seventh value zero.
        auto value = [&] { return i % 7 == 3 ? 0.0 : rng.next() * std::pow(10.0, 12.0 * rng.next()); };
        x.set_slot(i * (inc < 0 ? -inc : inc), value());
        const double re = value(), im = value();
        z.set_slot(i * (inc < 0 ? -inc : inc), c64(re, im));
      }
      for (i64 k = 0; k < n; ++k) {
        xs.push_back(x.slot(k * (inc < 0 ? -inc : inc)));
        const c64 e = z.slot(k * (inc < 0 ? -inc : inc));
        zs.push_back(e.real());
        zs.push_back(e.imag());
      }
      EXPECT_TRUE(same_bits(qor_blas_dnrm2(&n, x.ptr(), &inc), recurrence(xs))) << n << " " << inc;
      EXPECT_TRUE(same_bits(qor_blas_dznrm2(&n, z.ptr(), &inc), recurrence(zs))) << n << " " << inc;
    }
}

TEST(Level1Reductions, NormOfInfinitiesAndExtremeValues) {
  on_every_body([&] {
    const double inf = std::numeric_limits<double>::infinity();
    const i64 one = 1;
    double x[4] = {1.0, inf, 2.0, 3.0};
    i64 n = 4;
    EXPECT_EQ(qor_blas_dnrm2(&n, x, &one), inf);
    x[3] = -inf;
    EXPECT_TRUE(std::isnan(qor_blas_dnrm2(&n, x, &one)));
    c64 z[2] = {c64(inf, 1.0), c64(2.0, inf)};
    n = 2;
    EXPECT_TRUE(std::isnan(qor_blas_dznrm2(&n, z, &one)));
    n = 1;
    EXPECT_EQ(qor_blas_dznrm2(&n, z, &one), inf);
    // Scaling keeps huge and tiny values exact enough.
    double big[3] = {3e300, 4e300, 0.0}, tiny[2] = {3e-310, 4e-310};
    n = 3;
    EXPECT_NEAR(qor_blas_dnrm2(&n, big, &one), 5e300, 5e300 * 1e-15);
    n = 2;
    EXPECT_NEAR(qor_blas_dnrm2(&n, tiny, &one), 5e-310, 1e-323);
    n = 1;
    const double neg = -7.5;
    EXPECT_EQ(qor_blas_dnrm2(&n, &neg, &one), 7.5);

    // Binary32 squares are summed in binary64: no overflow before the end.
    float f[2] = {2e38f, 2e38f};
    n = 2;
    EXPECT_NEAR(qor_blas_snrm2(&n, f, &one), 2.8284271e38f, 1e32f);
    f[1] = 3e38f;
    f[0] = 3e38f;
    EXPECT_EQ(qor_blas_snrm2(&n, f, &one), std::numeric_limits<float>::infinity());
    c32 cf[1] = {c32(2e38f, 2e38f)};
    n = 1;
    EXPECT_NEAR(qor_blas_scnrm2(&n, cf, &one), 2.8284271e38f, 1e32f);
  });
}

TEST(Level1Reductions, EmptyVectorsGiveZeroAndComplexDotsStoreIt) {
  on_every_body([&] {
    const i64 zero = 0, neg = -3, one = 1;
    double x[2] = {1, 2};
    EXPECT_EQ(qor_blas_ddot(&zero, x, &one, x, &one), 0.0);
    EXPECT_EQ(qor_blas_dasum(&neg, x, &one), 0.0);
    EXPECT_EQ(qor_blas_dnrm2(&zero, x, &one), 0.0);
    c64 z[1] = {c64(1, 1)}, r(5, 5);
    qor_blas_zdotc(&r, &neg, z, &one, z, &one);
    EXPECT_EQ(r, c64(0, 0));
    c32 zf[1] = {c32(1, 1)}, rf(5, 5);
    qor_blas_cdotu(&rf, &zero, zf, &one, zf, &one);
    EXPECT_EQ(rf, c32(0, 0));
  }, false);
}

}  // namespace
