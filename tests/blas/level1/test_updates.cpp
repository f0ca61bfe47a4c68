// Element-wise vector updates against a plain reference, bit for bit: every
// type, lengths across all block boundaries, paired strides, and bases at
// 0, 4, 8 and 12 bytes past a 64-byte boundary.
#include "blas/level1/signatures.h"
#include "l1_test.h"
#include "member.h"

using namespace l1t;

namespace {

template <class T>
struct Layouts {
  // Calls body(n, incx, incy, offx, offy) for every case.
  template <class F>
  static void each(F&& body) {
    for (i64 n : lengths())
      for (const auto& s : stride_pairs()) {
        const bool unit = s.x * s.y == 1;
        for (std::size_t ox : offsets())
          for (std::size_t oy : offsets()) {
            if (!unit && (ox != 0 || oy > 8)) continue;
            if (!unit && n > 300) continue;
            body(n, s.x, s.y, ox, oy);
          }
      }
  }
};

template <class T>
void check_axpy_family() {
  qor::test::Rng rng(7);
  const T alpha = make<T>(0.75, -0.5);
  const T beta = make<T>(-1.25, 0.25);
  Layouts<T>::each([&](i64 n, i64 incx, i64 incy, std::size_t ox, std::size_t oy) {
    SCOPED_TRACE(std::string(letter<T>) + " n=" + std::to_string(n) + " incx=" + std::to_string(incx) +
                 " incy=" + std::to_string(incy) + " offsets " + std::to_string(ox) + "," + std::to_string(oy));
    Vec<T> x(n, incx, ox), y(n, incy, oy);
    x.fill(rng);
    y.fill(rng);
    const auto y0 = y.all();

    // axpy
    std::vector<T> want = y0;
    for (i64 i = 0; i < n; ++i) want[y.pos(i)] = want[y.pos(i)] + mul(alpha, x[i]);
    api<T>::axpy(&n, &alpha, x.ptr(), &incx, y.ptr(), &incy);
    ASSERT_TRUE(same_storage(y, want)) << "axpy";

    // axpby, general beta and beta = 0
    for (int b = 0; b < 2; ++b) {
      const T bt = b == 0 ? beta : T(0);
      for (i64 k = 0; k < y.slots(); ++k) y.set_slot(k, y0[k]);
      want = y0;
      for (i64 i = 0; i < n; ++i) {
        T& w = want[y.pos(i)];
        w = b == 0 ? mul(bt, w) + mul(alpha, x[i]) : mul(alpha, x[i]);
      }
      api<T>::axpby(&n, &alpha, x.ptr(), &incx, &bt, y.ptr(), &incy);
      ASSERT_TRUE(same_storage(y, want)) << "axpby beta=" << show(bt);
    }

    // copy
    want = y0;
    for (i64 k = 0; k < y.slots(); ++k) y.set_slot(k, y0[k]);
    for (i64 i = 0; i < n; ++i) want[y.pos(i)] = x[i];
    api<T>::copy(&n, x.ptr(), &incx, y.ptr(), &incy);
    ASSERT_TRUE(same_storage(y, want)) << "copy";

    // swap
    for (i64 k = 0; k < y.slots(); ++k) y.set_slot(k, y0[k]);
    const auto x0 = x.all();
    std::vector<T> want_x = x0, want_y = y0;
    for (i64 i = 0; i < n; ++i) std::swap(want_x[x.pos(i)], want_y[y.pos(i)]);
    api<T>::swap(&n, x.ptr(), &incx, y.ptr(), &incy);
    ASSERT_TRUE(same_storage(x, want_x)) << "swap x";
    ASSERT_TRUE(same_storage(y, want_y)) << "swap y";

    // rotation with real c and s
    for (i64 k = 0; k < x.slots(); ++k) x.set_slot(k, x0[k]);
    for (i64 k = 0; k < y.slots(); ++k) y.set_slot(k, y0[k]);
    const R<T> c = R<T>(0.6), s = R<T>(-0.8);
    want_x = x0;
    want_y = y0;
    for (i64 i = 0; i < n; ++i) {
      T xv = x[i], yv = y[i];
      want_x[x.pos(i)] = make<T>(c * re(xv) + s * re(yv), c * im(xv) + s * im(yv));
      want_y[y.pos(i)] = make<T>(c * re(yv) - s * re(xv), c * im(yv) - s * im(xv));
    }
    if constexpr (cplx<T>)
      api<T>::rrot(&n, x.ptr(), &incx, y.ptr(), &incy, &c, &s);
    else
      api<T>::rot(&n, x.ptr(), &incx, y.ptr(), &incy, &c, &s);
    ASSERT_TRUE(same_storage(x, want_x)) << "rot x";
    ASSERT_TRUE(same_storage(y, want_y)) << "rot y";
  });
}

TEST(Level1Updates, AxpyAxpbyCopySwapRotMatchTheReference) {
  on_every_body([&] {
    check_axpy_family<float>();
    check_axpy_family<double>();
    check_axpy_family<c32>();
    check_axpy_family<c64>();
  });
}

template <class T>
void check_scal() {
  qor::test::Rng rng(11);
  const T alpha = make<T>(-1.5, 0.375);
  for (i64 n : lengths())
    for (i64 inc : {1, -1, 2, -3, 0})
      for (std::size_t off : offsets()) {
        if (inc * inc != 1 && off > 8) continue;
        SCOPED_TRACE(std::string(letter<T>) + "scal n=" + std::to_string(n) + " inc=" + std::to_string(inc) +
                     " offset=" + std::to_string(off));
        Vec<T> x(n, inc, off);
        x.fill(rng);
        std::vector<T> want = x.all();
        if (inc == 0) {
          for (i64 i = 0; i < n; ++i) want[0] = mul(alpha, want[0]);
        } else {
          for (i64 i = 0; i < n; ++i) want[x.pos(i)] = mul(alpha, want[x.pos(i)]);
        }
        api<T>::scal(&n, &alpha, x.ptr(), &inc);
        ASSERT_TRUE(same_storage(x, want));
      }
}

TEST(Level1Updates, ScalMatchesTheReferenceForEveryStrideIncludingNegativeOnes) {
  on_every_body([&] {
    check_scal<float>();
    check_scal<double>();
    check_scal<c32>();
    check_scal<c64>();
  });
}

template <class T>
void check_real_scal(void (*fn)(const i64*, const R<T>*, T*, const i64*)) {
  qor::test::Rng rng(12);
  const R<T> alpha = R<T>(-2.5);
  for (i64 n : lengths())
    for (i64 inc : {1, -1, 3, -2})
      for (std::size_t off : {0, 4, 8}) {
        Vec<T> x(n, inc, off);
        x.fill(rng);
        std::vector<T> want = x.all();
        for (i64 i = 0; i < n; ++i) {
          T v = want[x.pos(i)];
          want[x.pos(i)] = T(re(v) * alpha, im(v) * alpha);
        }
        fn(&n, &alpha, x.ptr(), &inc);
        ASSERT_TRUE(same_storage(x, want)) << "n=" << n << " inc=" << inc << " offset=" << off;
      }
}

TEST(Level1Updates, ComplexScaledByARealFactor) {
  check_real_scal<c32>(qor_blas_csscal);
  check_real_scal<c64>(qor_blas_zdscal);
}

TEST(Level1Updates, ComplexRotationWithComplexSine) {
  qor::test::Rng rng(13);
  auto run = [&](auto tag, auto fn) {
    using T = decltype(tag);
    const R<T> c = R<T>(0.28);
    const T s = make<T>(0.6, -0.75);
    for (i64 n : {0, 1, 2, 5, 17, 64}) {
      for (const auto& st : stride_pairs()) {
        Vec<T> x(n, st.x, 0), y(n, st.y, 8);
        x.fill(rng);
        y.fill(rng);
        auto wx = x.all(), wy = y.all();
        for (i64 i = 0; i < n; ++i) {
          T xv = x[i], yv = y[i];
          R<T> sr = s.real(), si = s.imag();
          wx[x.pos(i)] = T(c * xv.real() + (sr * yv.real() - si * yv.imag()),
                           c * xv.imag() + (sr * yv.imag() + si * yv.real()));
          wy[y.pos(i)] = T(c * yv.real() - (sr * xv.real() + si * xv.imag()),
                           c * yv.imag() - (sr * xv.imag() - si * xv.real()));
        }
        i64 ix = st.x, iy = st.y;
        fn(&n, x.ptr(), &ix, y.ptr(), &iy, &c, &s);
        ASSERT_TRUE(same_storage(x, wx)) << n;
        ASSERT_TRUE(same_storage(y, wy)) << n;
      }
    }
  };
  run(c32{}, qor_blas_crot);
  run(c64{}, qor_blas_zrot);
}

// The deliberate departures from the reference BLAS in the updates.
TEST(Level1Updates, ScaleByZeroKeepsNaNAndTurnsInfinityIntoNaN) {
  on_every_body([&] {
    const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    double x[5] = {1.0, nan, inf, -inf, -2.0};
    const double zero = 0.0;
    const i64 n = 5, inc = 1;
    qor_blas_dscal(&n, &zero, x, &inc);
    EXPECT_EQ(x[0], 0.0);
    EXPECT_TRUE(std::isnan(x[1]));
    EXPECT_TRUE(std::isnan(x[2]));
    EXPECT_TRUE(std::isnan(x[3]));
    EXPECT_EQ(x[4], 0.0);
  });
}

TEST(Level1Updates, AxpyWithNaNAlphaUpdatesYAndWithZeroAlphaLeavesIt) {
  on_every_body([&] {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (i64 inc : {1, 2}) {
      double x[8] = {1, nan, 3, 4, 5, 6, 7, 8}, y[8] = {1, 1, 1, 1, 1, 1, 1, 1};
      const i64 n = 8 / inc;
      const double zero = 0.0;
      qor_blas_daxpy(&n, &zero, x, &inc, y, &inc);
      for (double v : y) EXPECT_EQ(v, 1.0);
      qor_blas_daxpy(&n, &nan, x, &inc, y, &inc);
      for (i64 i = 0; i < n; ++i) EXPECT_TRUE(std::isnan(y[i * inc]));
    }
  });
}

// The complex axpy of the band solves (xcaxpy_a, xzaxpy_a, reached in the
// kernel library only) has no test for a zero alpha: it computes the same
// sums as axpy, and a zero alpha still multiplies, so NaN in x reaches y.
template <class T>
void check_axpy_without_zero_test(const qor::test::Member& m) {
  using Fn = qor::blas1::axpy_fn<T>;
  const std::string name = std::string("qor_blas_def_x") + letter<T> + "axpy_a";
  Fn* fn = m.get<Fn>(name);
  ASSERT_NE(fn, nullptr) << name;
  qor::test::Rng rng(17);
  const T alpha = make<T>(-0.5, 1.25);
  for (i64 n : {0, 1, 2, 3, 4, 7, 8, 9, 33})
    for (const auto& s : stride_pairs())
      for (std::size_t off : {std::size_t{0}, std::size_t{8}}) {
        Vec<T> x(n, s.x, off), y(n, s.y, 0);
        x.fill(rng);
        y.fill(rng);
        std::vector<T> want = y.all();
        for (i64 i = 0; i < n; ++i) want[y.pos(i)] = want[y.pos(i)] + mul(alpha, x[i]);
        i64 ix = s.x, iy = s.y;
        fn(&n, &alpha, x.ptr(), &ix, y.ptr(), &iy);
        ASSERT_TRUE(same_storage(y, want)) << name << " n " << n << " incx " << ix << " incy " << iy;
      }
  const R<T> nan = std::numeric_limits<R<T>>::quiet_NaN();
  std::vector<T> x = {make<T>(1, 2), make<T>(nan, 0), make<T>(3, 4)};
  std::vector<T> y(3, make<T>(1, 1)), y_checked = y;
  const T zero = T(0);
  const i64 n = 3, one = 1;
  api<T>::axpy(&n, &zero, x.data(), &one, y_checked.data(), &one);
  for (const T& v : y_checked) EXPECT_TRUE(same_bits(v, make<T>(1, 1)));
  fn(&n, &zero, x.data(), &one, y.data(), &one);
  EXPECT_TRUE(same_bits(y[0], make<T>(1, 1)));
  EXPECT_TRUE(std::isnan(re(y[1])));
}

TEST(Level1Updates, ComplexAxpyWithoutTheZeroTest) {
  on_every_body([&] {
    qor::test::Member m;
    check_axpy_without_zero_test<c32>(m);
    check_axpy_without_zero_test<c64>(m);
  });
}

TEST(Level1Updates, AxpbyBetaZeroOverwritesNaNAndAlphaZeroBetaOneReturns) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const i64 n = 3, one_i = 1;
  double x[3] = {1, 2, nan}, y[3] = {nan, nan, 5};
  const double two = 2, zero = 0, one = 1;
  qor_blas_daxpby(&n, &zero, x, &one_i, &one, y, &one_i);
  EXPECT_TRUE(std::isnan(y[0]));
  EXPECT_EQ(y[2], 5.0);  // x[2] is NaN, yet y is untouched
  qor_blas_daxpby(&n, &two, x, &one_i, &zero, y, &one_i);
  EXPECT_EQ(y[0], 2.0);
  EXPECT_EQ(y[1], 4.0);
  EXPECT_TRUE(std::isnan(y[2]));
  const c64 calpha(0, 0), cbeta(1, 0);
  c64 cx[1] = {c64(nan, nan)}, cy[1] = {c64(3, 4)};
  qor_blas_zaxpby(&one_i, &calpha, cx, &one_i, &cbeta, cy, &one_i);
  EXPECT_EQ(cy[0], c64(3, 4));
}

TEST(Level1Updates, ZeroStrideDestinationsAreUpdatedInOrder) {
  on_every_body([&] {
    // y with stride 0 receives every term in turn, as a plain loop would.
    const i64 n = 100000, one = 1, zero = 0;
    std::vector<double> x(n, 0.5);
    double y = 1.0, want = 1.0;
    const double alpha = 3.0;
    for (i64 i = 0; i < n; ++i) want += alpha * 0.5;
    qor_blas_daxpy(&n, &alpha, x.data(), &one, &y, &zero);
    EXPECT_EQ(y, want);
  }, false);
}

TEST(Level1Updates, LongVectorsSplitAcrossThreadsGiveTheSameBits) {
  on_every_body([&] {
    // Above the split threshold the core runs the kernels on several threads.
    qor::test::Rng rng(5);
    for (i64 inc : {1, -1, 3, -2}) {
      const i64 n = (1 << 17) + 37;
      Vec<double> x(n, inc, 8), y(n, -inc, 0);
      x.fill(rng);
      y.fill(rng);
      auto want = y.all();
      const double a = 1.0 / 3.0;
      for (i64 i = 0; i < n; ++i) want[y.pos(i)] += a * x[i];
      i64 iy = -inc;
      qor_blas_daxpy(&n, &a, x.ptr(), &inc, y.ptr(), &iy);
      ASSERT_TRUE(same_storage(y, want)) << "axpy inc=" << inc;
      auto wantx = x.all();
      for (i64 i = 0; i < n; ++i) wantx[x.pos(i)] *= a;
      qor_blas_dscal(&n, &a, x.ptr(), &inc);
      ASSERT_TRUE(same_storage(x, wantx)) << "scal inc=" << inc;
    }
  });
}

TEST(Level1Updates, RotmAppliesEachFlagForm) {
  qor::test::Rng rng(21);
  for (double flag : {-2.0, -1.0, 0.0, 1.0}) {
    const double p[5] = {flag, 0.5, -0.25, 1.5, 0.75};
    for (const auto& st : stride_pairs())
      for (i64 n : {0, 1, 2, 3, 7, 16}) {
        Vec<double> x(n, st.x, 0), y(n, st.y, 4);
        x.fill(rng);
        y.fill(rng);
        auto wx = x.all(), wy = y.all();
        for (i64 i = 0; i < n && flag != -2.0; ++i) {
          double w = x[i], z = y[i];
          double h11 = flag < 0 ? p[1] : flag == 0 ? 1.0 : p[1];
          double h21 = flag < 0 ? p[2] : flag == 0 ? p[2] : -1.0;
          double h12 = flag < 0 ? p[3] : flag == 0 ? p[3] : 1.0;
          double h22 = flag < 0 ? p[4] : flag == 0 ? 1.0 : p[4];
          wx[x.pos(i)] = w * h11 + z * h12;
          wy[y.pos(i)] = w * h21 + z * h22;
        }
        i64 ix = st.x, iy = st.y;
        qor_blas_drotm(&n, x.ptr(), &ix, y.ptr(), &iy, p);
        ASSERT_TRUE(same_storage(x, wx)) << "flag " << flag << " n " << n;
        ASSERT_TRUE(same_storage(y, wy)) << "flag " << flag << " n " << n;
      }
  }
}

}  // namespace
