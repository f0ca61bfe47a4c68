// Construction of plane rotations: the defining identities of rotg, crotg
// and rotmg, their special cases, and rotmg's flag -2.
#include "l1_test.h"

using namespace l1t;

namespace {

template <class Rt>
void check_rotg(void (*fn)(Rt*, Rt*, Rt*, Rt*), double tol) {
  const double cases[][2] = {{3, 4}, {-3, 4}, {4, -3}, {0, 2}, {2, 0}, {-5, 0}, {0, -1}, {1e-30, 1e30}, {1, 1}};
  for (auto& cs : cases) {
    Rt a = static_cast<Rt>(cs[0]), b = static_cast<Rt>(cs[1]), c, s;
    fn(&a, &b, &c, &s);
    const double r = a, a0 = cs[0], b0 = cs[1];
    EXPECT_NEAR(c * a0 + s * b0, r, tol * std::fabs(r)) << a0 << "," << b0;
    EXPECT_NEAR(c * b0 - s * a0, 0.0, tol * std::fabs(r)) << a0 << "," << b0;
    EXPECT_NEAR(c * c + s * s, 1.0, tol);
    // z: s when |a| > |b|, 1/c when c is not zero, else 1.
    double z = b;
    if (std::fabs(a0) > std::fabs(b0))
      EXPECT_NEAR(z, s, tol);
    else if (c != 0)
      EXPECT_NEAR(z, 1.0 / c, tol * std::fabs(1.0 / c));
    else
      EXPECT_EQ(z, 1.0);
  }
  Rt a = 0, b = 0, c = 7, s = 7;
  fn(&a, &b, &c, &s);
  EXPECT_EQ(c, Rt(1));
  EXPECT_EQ(s, Rt(0));
  EXPECT_EQ(a, Rt(0));
  EXPECT_EQ(b, Rt(0));
}

TEST(Level1Rotations, RealGivens) {
  check_rotg<float>(qor_blas_srotg, 1e-6);
  check_rotg<double>(qor_blas_drotg, 1e-14);
}

template <class T>
void check_crotg(void (*fn)(T*, const T*, R<T>*, T*), double tol) {
  const T cases[][2] = {{T(3, 4), T(1, -2)}, {T(-1, 0), T(0, 1)}, {T(1e-20, 2e-20), T(5, 5)}, {T(2, 2), T(0, 0)}};
  for (auto& cs : cases) {
    T a = cs[0], s;
    R<T> c;
    fn(&a, &cs[1], &c, &s);
    using CD = std::complex<double>;
    CD a0(cs[0]), b0(cs[1]), sd(s), r(a);
    EXPECT_NEAR(std::abs(CD(c) * a0 + sd * b0 - r), 0.0, tol * std::abs(r));
    EXPECT_NEAR(std::abs(-std::conj(sd) * a0 + CD(c) * b0), 0.0, tol * std::abs(r));
    EXPECT_NEAR(c * c + std::norm(sd), 1.0, tol);
  }
  // ca = 0: c = 0, s = 1, ca takes cb.
  T a(0, 0), b(2, -3), s;
  R<T> c = 5;
  fn(&a, &b, &c, &s);
  EXPECT_EQ(c, R<T>(0));
  EXPECT_EQ(s, T(1, 0));
  EXPECT_EQ(a, b);
}

TEST(Level1Rotations, ComplexGivens) {
  check_crotg<c32>(qor_blas_crotg, 1e-6);
  check_crotg<c64>(qor_blas_zrotg, 1e-14);
}

// H of a modified rotation from its parameter array.
void unpack(const double* p, double h[4]) {
  const double flag = p[0];
  if (flag < 0) {
    h[0] = p[1], h[1] = p[2], h[2] = p[3], h[3] = p[4];
  } else if (flag == 0) {
    h[0] = 1, h[1] = p[2], h[2] = p[3], h[3] = 1;
  } else {
    h[0] = p[1], h[1] = -1, h[2] = 1, h[3] = p[4];
  }
}

TEST(Level1Rotations, ModifiedGivensZeroesTheSecondComponent) {
  // d1, d2, x1, y1: ordinary, the other branch, and both rescaling directions.
  const double cases[][4] = {{1, 1, 3, 1},      {1, 1, 1, 3},      {2, 0.5, -1, 4},  {1e-9, 1, 1e-4, 1},
                             {1e9, 1, 1e4, 1},  {1, 1e-9, 1, 1e4}, {1, 1e9, 1, 1e-4}, {3e-8, 0.5, 2, 1},
                             {0.5, 2e8, 1, 0.1}};
  for (auto& cs : cases) {
    double d1 = cs[0], d2 = cs[1], x1 = cs[2];
    const double y1 = cs[3];
    double p[5] = {9, 9, 9, 9, 9}, h[4];
    qor_blas_drotmg(&d1, &d2, &x1, &y1, p);
    ASSERT_TRUE(p[0] == -1 || p[0] == 0 || p[0] == 1) << p[0];
    unpack(p, h);
    const double nx = h[0] * cs[2] + h[2] * y1, ny = h[1] * cs[2] + h[3] * y1;
    SCOPED_TRACE(std::to_string(cs[0]) + "," + std::to_string(cs[1]) + "," + std::to_string(cs[2]));
    EXPECT_NEAR(ny, 0.0, 1e-12 * std::fabs(nx));
    EXPECT_NEAR(nx, x1, 1e-12 * std::fabs(x1));
    // The weighted length is kept: d1' x1'^2 = d1 x1^2 + d2 y1^2.
    const double before = cs[0] * cs[2] * cs[2] + cs[1] * y1 * y1;
    EXPECT_NEAR(d1 * x1 * x1, before, 1e-12 * before);
    // Rescaling brings d1 and |d2| into [rgamsq, gamsq].
    if (d1 != 0) {
      EXPECT_TRUE(d1 > 5.96e-8 && d1 < 16777216.0) << d1;
    }
    if (d2 != 0) {
      EXPECT_TRUE(std::fabs(d2) > 5.96e-8 && std::fabs(d2) < 16777216.0) << d2;
    }
  }
}

TEST(Level1Rotations, ModifiedGivensSpecialCases) {
  // y1 = 0: flag -2, nothing else changes.
  double d1 = 2, d2 = 3, x1 = 4, y1 = 0, p[5] = {7, 7, 7, 7, 7};
  qor_blas_drotmg(&d1, &d2, &x1, &y1, p);
  EXPECT_EQ(p[0], -2.0);
  EXPECT_EQ(d1, 2.0);
  EXPECT_EQ(d2, 3.0);
  EXPECT_EQ(x1, 4.0);
  EXPECT_EQ(p[1], 7.0);
  // d1 < 0: everything zeroed, flag -1.
  d1 = -1, d2 = 3, x1 = 4, y1 = 1;
  qor_blas_drotmg(&d1, &d2, &x1, &y1, p);
  EXPECT_EQ(p[0], -1.0);
  EXPECT_EQ(d1, 0.0);
  EXPECT_EQ(d2, 0.0);
  EXPECT_EQ(x1, 0.0);
  for (int k = 1; k < 5; ++k) EXPECT_EQ(p[k], 0.0);
  // Binary32 twin on an ordinary case.
  float f1 = 1, f2 = 1, fx = 3, fy = 1, fp[5];
  qor_blas_srotmg(&f1, &f2, &fx, &fy, fp);
  EXPECT_EQ(fp[0], 0.0f);
  EXPECT_NEAR(fp[2] * 3 + fy, 0.0f, 1e-6f);  // h21 x1 + y1 = 0
}

// The lower rescaling bound is the literal 5.960464477539e-8, bit pattern
// 0x3E6FFFFFFFFFFFA2, not 2^-24. With d1 = 0 and y1 = 1 the flag-1 branch
// makes the new d1 exactly the old d2, so a d1 at the bound is rescaled
// (flag -1, d1 times 4096^2) and the next value up, or 2^-24, is not.
TEST(Level1Rotations, ModifiedGivensRescalingBoundIsTheLiteral) {
  const std::uint64_t bits = 0x3E6FFFFFFFFFFFA2ULL;
  double bound;
  std::memcpy(&bound, &bits, sizeof bound);
  ASSERT_EQ(bound, 5.960464477539e-8);
  auto run = [](double d2in, double& flag) {
    double d1 = 0, d2 = d2in, x1 = 5, y1 = 1, p[5] = {};
    qor_blas_drotmg(&d1, &d2, &x1, &y1, p);
    flag = p[0];
    return d1;
  };
  double flag;
  EXPECT_EQ(run(bound, flag), bound * 16777216.0);
  EXPECT_EQ(flag, -1.0);
  const double above = std::nextafter(bound, 1.0);
  EXPECT_EQ(run(above, flag), above);
  EXPECT_EQ(flag, 1.0);
  EXPECT_EQ(run(0x1p-24, flag), 0x1p-24);
  EXPECT_EQ(flag, 1.0);
}

}  // namespace
