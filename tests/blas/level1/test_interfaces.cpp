// The public names: Fortran (32- and 64-bit integers), CBLAS (both widths),
// and the 32-bit dispatching forms. These are thin wrappers; the tests check
// what they add: integer widths, value-returned complex results, 0-based
// CBLAS indices, and the index arrays of the sparse routines.
#include "l1_test.h"
#include "qor/blas.h"
#include "qor/cblas.h"

using namespace l1t;

namespace {

TEST(Level1Interfaces, FortranNamesInBothWidths) {
  const int n = 5, one = 1, two = 2;
  const int64_t n64 = 5, one64 = 1;
  double x[10] = {1, -7, 3, 2, -5, 6, 0.5, 8, 9, 10}, y[5] = {1, 1, 1, 1, 1};
  const double a = 2;
  daxpy_(&n, &a, x, &one, y, &one);
  EXPECT_EQ(y[1], -13.0);
  daxpy_64_(&n64, &a, x, &one64, y, &one64);
  EXPECT_EQ(y[1], -27.0);
  EXPECT_EQ(ddot_(&n, x, &two, x, &two), 1 + 9 + 25 + 0.25 + 81);
  EXPECT_EQ(idamax_(&n, x, &one), 2);
  EXPECT_EQ(idamax_64_(&n64, x, &one64), 2);
  EXPECT_EQ(idamin_(&n, x, &one), 1);
  EXPECT_EQ(dasum_64_(&n64, x, &one64), 18.0);

  c64 z[3] = {c64(1, 2), c64(3, -1), c64(0, 1)};
  const int three = 3;
  const c64 dotc = zdotc_(&three, z, &one, z, &one);
  EXPECT_EQ(dotc, c64(5 + 10 + 1, 0));
  const c64 dotu = zdotu_(&three, z, &one, z, &one);
  EXPECT_EQ(dotu, c64(-3 + 8 - 1, 4 - 6 + 0));
  c32 zf[2] = {c32(1, 1), c32(2, 0)};
  const int64_t two64 = 2;
  EXPECT_EQ(cdotu_64_(&two64, zf, &one64, zf, &one64), c32(4, 2));
  const int two32 = 2;
  EXPECT_EQ(icamax_(&two32, zf, &one), 1);  // |1| + |1| = 2 ties |2| + 0, the first wins
  EXPECT_FLOAT_EQ(scnrm2_(&two32, zf, &one), std::sqrt(2.0f + 4.0f));

  float sb = 1, fx[3] = {1, 2, 3};
  EXPECT_EQ(sdsdot_(&three, &sb, fx, &one, fx, &one), 15.0f);
  const int64_t three64 = 3;
  EXPECT_EQ(dsdot_64_(&three64, fx, &one64, fx, &one64), 14.0);
  double ra = 3, rb = 4, rc, rs;
  drotg_(&ra, &rb, &rc, &rs);
  EXPECT_DOUBLE_EQ(ra, 5.0);
  EXPECT_EQ(dcabs1_(&z[1]), 4.0);
}

TEST(Level1Interfaces, CblasNamesUseValuesAndZeroBasedIndices) {
  double x[6] = {1, -7, 3, 2, -5, 6}, y[6] = {};
  cblas_dcopy(6, x, 1, y, 1);
  EXPECT_EQ(y[5], 6.0);
  cblas_dscal_64(3, 2.0, y, 2);
  EXPECT_EQ(y[0], 2.0);
  EXPECT_EQ(y[4], -10.0);
  EXPECT_EQ(cblas_idamax(6, x, 1), 1u);
  EXPECT_EQ(cblas_idamax_64(6, x, 1), 1u);
  EXPECT_EQ(cblas_idamin(6, x, 1), 0u);
  EXPECT_EQ(cblas_idamax(0, x, 1), 0u);
  cblas_daxpby(2, 1.0, x, 1, 0.0, y, 1);
  EXPECT_EQ(y[1], -7.0);

  c64 z[2] = {c64(1, 2), c64(3, -1)}, r;
  cblas_zdotc_sub(2, z, 1, z, 1, &r);
  EXPECT_EQ(r, c64(15, 0));
  cblas_zdotu_sub_64(2, z, 1, z, 1, &r);
  EXPECT_EQ(r, c64(-3 + 8, 4 - 6));
  const c64 alpha(0, 1);
  cblas_zscal(2, &alpha, z, 1);
  EXPECT_EQ(z[0], c64(-2, 1));
  cblas_zdscal(1, 2.0, z, 1);
  EXPECT_EQ(z[0], c64(-4, 2));
  EXPECT_EQ(cblas_izamax(2, z, 1), 0u);

  float a = 0, b = 2, c, s;
  cblas_srotg(&a, &b, &c, &s);
  EXPECT_EQ(c, 0.0f);
  EXPECT_EQ(s, 1.0f);
  float d1 = 1, d2 = 1, x1 = 1, p[5];
  cblas_srotmg(&d1, &d2, &x1, 0.0f, p);
  EXPECT_EQ(p[0], -2.0f);
}

template <class IndexT>
void sparse_through(bool cblas, bool wide) {
  // 1500 entries: more than fit on the converting stack buffer.
  const i64 nz = 1500, m = 4001;
  std::vector<IndexT> idx(nz);
  for (i64 i = 0; i < nz; ++i) idx[i] = static_cast<IndexT>((i * 2671) % m + (cblas ? 0 : 1));
  std::vector<double> y(m), x(nz), g(nz);
  qor::test::Rng rng(41);
  for (auto& v : y) v = rng.next();
  for (auto& v : x) v = rng.next();
  const i64 base = cblas ? 0 : 1;
  auto at = [&](i64 i) { return static_cast<i64>(idx[i]) - base; };

  if (cblas) {
    if (wide)
      cblas_dgthr_64(nz, y.data(), g.data(), reinterpret_cast<const int64_t*>(idx.data()));
    else
      cblas_dgthr(static_cast<int>(nz), y.data(), g.data(), reinterpret_cast<const int*>(idx.data()));
  } else {
    if (wide) {
      dgthr_64_(&nz, y.data(), g.data(), reinterpret_cast<const int64_t*>(idx.data()));
    } else {
      const int n32 = static_cast<int>(nz);
      dgthr_(&n32, y.data(), g.data(), reinterpret_cast<const int*>(idx.data()));
    }
  }
  for (i64 i = 0; i < nz; ++i) ASSERT_EQ(g[i], y[at(i)]) << i;

  // The dot through the public name equals the dispatching name's on 1-based
  // 64-bit indices, bit for bit: the conversion keeps one pass.
  std::vector<i64> one_based(nz);
  for (i64 i = 0; i < nz; ++i) one_based[i] = at(i) + 1;
  const double want = qor_blas_ddoti(&nz, x.data(), one_based.data(), y.data());
  double got;
  if (cblas)
    got = wide ? cblas_ddoti_64(nz, x.data(), reinterpret_cast<const int64_t*>(idx.data()), y.data())
               : cblas_ddoti(static_cast<int>(nz), x.data(), reinterpret_cast<const int*>(idx.data()), y.data());
  else if (wide)
    got = ddoti_64_(&nz, x.data(), reinterpret_cast<const int64_t*>(idx.data()), y.data());
  else {
    const int n32 = static_cast<int>(nz);
    got = ddoti_(&n32, x.data(), reinterpret_cast<const int*>(idx.data()), y.data());
  }
  EXPECT_TRUE(same_bits(got, want)) << got << " vs " << want;

  auto ys = y;
  if (cblas && !wide) cblas_dsctr(static_cast<int>(nz), x.data(), reinterpret_cast<const int*>(idx.data()), ys.data());
  if (cblas && wide) cblas_dsctr_64(nz, x.data(), reinterpret_cast<const int64_t*>(idx.data()), ys.data());
  if (!cblas && wide) dsctr_64_(&nz, x.data(), reinterpret_cast<const int64_t*>(idx.data()), ys.data());
  if (!cblas && !wide) {
    const int n32 = static_cast<int>(nz);
    dsctr_(&n32, x.data(), reinterpret_cast<const int*>(idx.data()), ys.data());
  }
  for (i64 i = 0; i < nz; ++i) ASSERT_EQ(ys[at(i)], x[i]);
}

TEST(Level1Interfaces, SparseIndicesInEveryWidthAndBase) {
  sparse_through<int>(false, false);
  sparse_through<int64_t>(false, true);
  sparse_through<int>(true, false);
  sparse_through<int64_t>(true, true);
  // Complex sparse dot through CBLAS, 0-based.
  c64 x[2] = {c64(1, 1), c64(2, 0)}, y[3] = {c64(0, 1), c64(5, 5), c64(1, 0)}, r;
  const int idx[2] = {2, 0};
  cblas_zdotci_sub(2, x, idx, y, &r);
  EXPECT_EQ(r, c64(1, -1) * c64(1, 0) + c64(2, 0) * c64(0, 1));
  const int idx1[2] = {3, 1};
  const int two = 2;
  EXPECT_EQ(zdotui_(&two, x, idx1, y), c64(1, 1) * c64(1, 0) + c64(2, 0) * c64(0, 1));
}

// 32-bit indices beyond the converting stack buffer are widened into one
// allocated block; when none is given the routines run in pieces and give
// the same vectors (and the dots the same sums within rounding).
TEST(Level1Interfaces, SparseIndicesWhenNoMemoryIsGiven) {
  const int nz = 1500;
  const i64 nz64 = nz, m = 4001;
  std::vector<int> idx(nz);
  std::vector<i64> idx64(nz);
  for (int i = 0; i < nz; ++i) {
    idx[i] = static_cast<int>((i * 2671) % m + 1);
    idx64[i] = idx[i];
  }
  std::vector<c64> y(m), x(nz);
  qor::test::Rng rng(43);
  for (auto& v : y) v = random<c64>(rng);
  for (auto& v : x) v = random<c64>(rng);
  const c64 alpha(0.5, -1.5);
  std::vector<double> ry(m), rx(nz);
  for (auto& v : ry) v = rng.next();
  for (auto& v : rx) v = rng.next();
  const double c = 0.6, s = 0.8;
  for (bool refuse : {false, true}) {
    SCOPED_TRACE(refuse ? "no memory" : "one block");
    std::vector<c64> g(nz), want_g(nz), gz(nz), want_gz(nz), yz = y, want_yz = y, ya = y, want_ya = y;
    std::vector<double> rxx = rx, want_rx = rx, ryy = ry, want_ry = ry;
    qor_blas_zgthr(&nz64, y.data(), want_g.data(), idx64.data());
    qor_blas_zgthrz(&nz64, want_yz.data(), want_gz.data(), idx64.data());
    qor_blas_zaxpyi(&nz64, &alpha, x.data(), idx64.data(), want_ya.data());
    qor_blas_droti(&nz64, want_rx.data(), idx64.data(), want_ry.data(), &c, &s);
    c64 want_dot;
    qor_blas_zdotci(&want_dot, &nz64, x.data(), idx64.data(), y.data());
    const double want_rdot = qor_blas_ddoti(&nz64, rx.data(), idx64.data(), ry.data());
    c64 dot;
    double rdot;
    {
      qor::test::AllocWatch watch;
      if (refuse) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
      zgthr_(&nz, y.data(), g.data(), idx.data());
      zgthrz_(&nz, yz.data(), gz.data(), idx.data());
      zaxpyi_(&nz, &alpha, x.data(), idx.data(), ya.data());
      droti_(&nz, rxx.data(), idx.data(), ryy.data(), &c, &s);
      dot = zdotci_(&nz, x.data(), idx.data(), y.data());
      rdot = ddoti_(&nz, rx.data(), idx.data(), ry.data());
      if (refuse) {
        EXPECT_EQ(watch.failures(), 6);
      } else {
        EXPECT_EQ(watch.allocations(), 6);
      }
    }
    for (int i = 0; i < nz; ++i) {
      ASSERT_TRUE(same_bits(g[i], want_g[i])) << i;
      ASSERT_TRUE(same_bits(gz[i], want_gz[i])) << i;
      ASSERT_TRUE(same_bits(rxx[i], want_rx[i])) << i;
    }
    for (i64 k = 0; k < m; ++k) {
      ASSERT_TRUE(same_bits(yz[k], want_yz[k])) << k;
      ASSERT_TRUE(same_bits(ya[k], want_ya[k])) << k;
      ASSERT_TRUE(same_bits(ryy[k], want_ry[k])) << k;
    }
    EXPECT_NEAR(std::abs(dot - want_dot), 0.0, 1e-12 * nz);
    EXPECT_NEAR(rdot, want_rdot, 1e-12 * nz);
  }
}

TEST(Level1Interfaces, ThirtyTwoBitDispatchingForms) {
  const int n = 3, one = 1;
  double x[3] = {1, 2, 3}, y[3] = {1, 1, 1};
  const double a = -1;
  qor_blas_lp64_daxpy(&n, &a, x, &one, y, &one);
  EXPECT_EQ(y[2], -2.0);
  EXPECT_EQ(qor_blas_lp64_ddot(&n, x, &one, x, &one), 14.0);
  float fx[3] = {1, 2, 3};
  EXPECT_EQ(qor_blas_lp64_sdot(&n, fx, &one, fx, &one), 14.0f);
  c64 z[1] = {c64(1, 2)}, r;
  qor_blas_lp64_zdotu(&r, &one, z, &one, z, &one);
  EXPECT_EQ(r, c64(-3, 4));
  c32 cz[1] = {c32(1, 2)}, cr;
  qor_blas_lp64_cdotu(&cr, &one, cz, &one, cz, &one);
  EXPECT_EQ(cr, c32(-3, 4));
  const c32 ca(1, 0);
  qor_blas_lp64_caxpy(&one, &ca, cz, &one, cz, &one);
  EXPECT_EQ(cz[0], c32(2, 4));
  double xn[2] = {3, 4};
  const i64 n2 = 2, i1 = 1;
  EXPECT_EQ(qor_blas_xdnrm2(&n2, xn, &i1), 5.0);
}

}  // namespace
