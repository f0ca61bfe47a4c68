// Sparse-vector routines with 1-based 64-bit indices.
#include "l1_test.h"

using namespace l1t;

namespace {

// nz distinct 1-based positions in a vector of m, in scrambled order.
std::vector<i64> positions(i64 nz, i64 m) {
  std::vector<i64> p;
  for (i64 i = 0; i < nz; ++i) p.push_back(1 + (i * 7919) % m);
  return p;
}

template <class T>
void check_sparse() {
  qor::test::Rng rng(31);
  const i64 m = 1031;  // prime: the positions above are distinct
  for (i64 nz : {0, 1, 3, 7, 8, 9, 15, 16, 17, 100, 1000}) {
    SCOPED_TRACE(std::string(letter<T>) + " nz=" + std::to_string(nz));
    auto idx = positions(nz, m);
    std::vector<T> x(nz + 1), y(m);
    for (auto& v : x) v = random<T>(rng);
    for (auto& v : y) v = random<T>(rng);

    std::vector<T> g(nz + 1, T(9));
    api<T>::gthr(&nz, y.data(), g.data(), idx.data());
    for (i64 i = 0; i < nz; ++i) ASSERT_TRUE(same_bits(g[i], y[idx[i] - 1]));
    EXPECT_EQ(g[nz], T(9));

    auto yz = y;
    api<T>::gthrz(&nz, yz.data(), g.data(), idx.data());
    for (i64 i = 0; i < nz; ++i) {
      ASSERT_TRUE(same_bits(g[i], y[idx[i] - 1]));
      ASSERT_EQ(yz[idx[i] - 1], T(0));
    }

    auto ys = y;
    api<T>::sctr(&nz, x.data(), idx.data(), ys.data());
    auto want = y;
    for (i64 i = 0; i < nz; ++i) want[idx[i] - 1] = x[i];
    ASSERT_EQ(ys, want);

    const T alpha = make<T>(0.5, -2.0);
    auto ya = y;
    want = y;
    for (i64 i = 0; i < nz; ++i) want[idx[i] - 1] = want[idx[i] - 1] + mul(alpha, x[i]);
    api<T>::axpyi(&nz, &alpha, x.data(), idx.data(), ya.data());
    for (i64 k = 0; k < m; ++k) ASSERT_TRUE(same_bits(ya[k], want[k])) << k;
    const T zero = T(0);
    api<T>::axpyi(&nz, &zero, x.data(), idx.data(), ya.data());
    for (i64 k = 0; k < m; ++k) ASSERT_TRUE(same_bits(ya[k], want[k])) << k;
  }
}

TEST(Level1Sparse, GatherScatterAndAxpyi) {
  check_sparse<float>();
  check_sparse<double>();
  check_sparse<c32>();
  check_sparse<c64>();
}

TEST(Level1Sparse, GatherAndZeroWithARepeatedIndexYieldsTheValueThenZero) {
  double y[4] = {1, 2, 3, 4}, x[3] = {-1, -1, -1};
  const i64 idx[3] = {2, 4, 2}, nz = 3;
  qor_blas_dgthrz(&nz, y, x, idx);
  EXPECT_EQ(x[0], 2.0);
  EXPECT_EQ(x[1], 4.0);
  EXPECT_EQ(x[2], 0.0);
  EXPECT_EQ(y[1], 0.0);
  EXPECT_EQ(y[3], 0.0);
  EXPECT_EQ(y[0], 1.0);
}

TEST(Level1Sparse, DotsAndRotation) {
  qor::test::Rng rng(32);
  const i64 m = 1031;
  for (i64 nz : {0, 1, 5, 8, 13, 64, 1000}) {
    auto idx = positions(nz, m);
    std::vector<double> x(nz + 1), y(m);
    std::vector<c64> cx(nz + 1), cy(m);
    for (auto& v : x) v = rng.next();
    for (auto& v : y) v = rng.next();
    for (auto& v : cx) v = random<c64>(rng);
    for (auto& v : cy) v = random<c64>(rng);
    long double s = 0, mag = 0;
    std::complex<long double> cu = 0, cc = 0;
    for (i64 i = 0; i < nz; ++i) {
      s += static_cast<long double>(x[i]) * y[idx[i] - 1];
      mag += std::fabs(x[i] * y[idx[i] - 1]);
      std::complex<long double> a(cx[i]), b(cy[idx[i] - 1]);
      cu += a * b;
      cc += std::conj(a) * b;
    }
    EXPECT_NEAR(qor_blas_ddoti(&nz, x.data(), idx.data(), y.data()), static_cast<double>(s),
                sum_tol<double>(nz, static_cast<double>(mag)));
    c64 ru(9, 9), rc(9, 9);
    qor_blas_zdotui(&ru, &nz, cx.data(), idx.data(), cy.data());
    qor_blas_zdotci(&rc, &nz, cx.data(), idx.data(), cy.data());
    const double ctol = sum_tol<double>(nz, 2.0 * nz + 1);
    EXPECT_NEAR(std::abs(std::complex<long double>(ru) - cu), 0.0, ctol);
    EXPECT_NEAR(std::abs(std::complex<long double>(rc) - cc), 0.0, ctol);

    std::vector<float> fx(nz + 1), fy(m);
    for (auto& v : fx) v = static_cast<float>(rng.next());
    for (auto& v : fy) v = static_cast<float>(rng.next());
    long double fs = 0;
    for (i64 i = 0; i < nz; ++i) fs += static_cast<long double>(fx[i]) * fy[idx[i] - 1];
    EXPECT_NEAR(qor_blas_sdoti(&nz, fx.data(), idx.data(), fy.data()), static_cast<double>(fs),
                sum_tol<float>(nz, nz + 1.0));

    const double c = 0.8, sn = 0.6;
    auto rx = x;
    auto ry = y;
    qor_blas_droti(&nz, rx.data(), idx.data(), ry.data(), &c, &sn);
    for (i64 i = 0; i < nz; ++i) {
      ASSERT_EQ(rx[i], c * x[i] + sn * y[idx[i] - 1]);
      ASSERT_EQ(ry[idx[i] - 1], c * y[idx[i] - 1] - sn * x[i]);
    }
    const double one = 1, zero = 0;
    auto ux = x;
    qor_blas_droti(&nz, ux.data(), idx.data(), ry.data(), &one, &zero);
    EXPECT_EQ(ux, x);
  }
  // n below 1 stores a zero complex result.
  const i64 none = 0;
  c32 r(5, 5);
  qor_blas_cdotci(&r, &none, nullptr, nullptr, nullptr);
  EXPECT_EQ(r, c32(0, 0));
}

}  // namespace
