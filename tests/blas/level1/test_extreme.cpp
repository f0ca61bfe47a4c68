// Index of the extreme magnitude: against a plain search for every type,
// length, stride and base alignment; ties, NaN, the stride asymmetry, the
// floating-point flags; and the exported pieces (value, search and index
// kernels) straight from the kernel library.
#include <xmmintrin.h>

#include "blas/level1/signatures.h"
#include "l1_test.h"
#include "member.h"

using namespace l1t;

namespace {

template <class T> R<T> magnitude(T v) { return std::fabs(re(v)) + std::fabs(im(v)); }

// 1-based index of the first strictly best magnitude.
template <class T, bool Max>
i64 plain_search(const Vec<T>& x, i64 n) {
  i64 best = 0;
  for (i64 i = 1; i < n; ++i) {
    R<T> v = magnitude(x[i]), b = magnitude(x[best]);
    if (Max ? v > b : v < b) best = i;
  }
  return best + 1;
}

template <class T>
void check_index_routines() {
  qor::test::Rng rng(17);
  for (i64 n : lengths())
    for (i64 inc : {1, 2, 3})
      for (std::size_t off : offsets()) {
        if (inc != 1 && (off > 8 || n > 300)) continue;
        SCOPED_TRACE(std::string("i") + letter<T> + "amax n=" + std::to_string(n) + " inc=" + std::to_string(inc) +
                     " offset=" + std::to_string(off));
        Vec<T> x(n, inc, off);
        x.fill(rng);
        // Plant a repeated extreme so ties are exercised everywhere.
        if (n > 3) {
          x.set(n / 3, make<T>(4.0, -4.0));
          x.set(n - 1, make<T>(-4.0, 4.0));
          x.set(n / 2, make<T>(1e-3, 1e-3));
          x.set(n - 2, make<T>(-1e-3, -1e-3));
        }
        EXPECT_EQ(api<T>::iamax(&n, x.ptr(), &inc), n > 0 ? (plain_search<T, true>(x, n)) : 0);
        EXPECT_EQ(api<T>::iamin(&n, x.ptr(), &inc), n > 0 ? (plain_search<T, false>(x, n)) : 0);
        if (::testing::Test::HasFailure()) return;
      }
}

TEST(Level1Extreme, IndexRoutinesMatchAPlainSearch) {
  on_every_body([&] {
    check_index_routines<float>();
    check_index_routines<double>();
    check_index_routines<c32>();
    check_index_routines<c64>();
  });
}

TEST(Level1Extreme, TiesGoToTheLowerIndexWithinAndAcrossChunks) {
  on_every_body([&] {
    const i64 one = 1;
    for (i64 n : {300, 1000}) {
      std::vector<double> x(n, 0.5);
      for (auto [a, b] : {std::pair<i64, i64>{10, 20}, {100, 256}, {255, 256}, {3, 299}}) {
        std::fill(x.begin(), x.end(), 0.5);
        x[a] = 9.0;
        x[b] = -9.0;
        EXPECT_EQ(qor_blas_idamax(&n, x.data(), &one), a + 1) << a << "," << b;
        x[a] = 0.125;
        x[b] = -0.125;
        EXPECT_EQ(qor_blas_idamin(&n, x.data(), &one), a + 1) << a << "," << b;
      }
    }
  });
}

// Long vectors: equal extremes on both sides of every power-of-two boundary
// up to 8192 elements (wherever a body cuts its chunks), in both binary64
// and binary32, and a NaN far behind the largest value.
template <class T>
void check_long_ties() {
  const i64 n = 20000, one = 1;
  std::vector<T> x(n);
  for (i64 b = 64; b <= 8192; b *= 2)
    for (auto [a, c] : {std::pair<i64, i64>{b - 1, b}, {b / 2 + 1, b + 3}, {3, 2 * b + 1}}) {
      for (i64 i = 0; i < n; ++i) x[i] = T(0.25) + T(0.5) * static_cast<T>(i % 7) / T(7);
      x[a] = T(-9);
      x[c] = T(9);
      EXPECT_EQ(api<T>::iamax(&n, x.data(), &one), a + 1) << a << "," << c;
    }
  x[n - 10] = std::numeric_limits<T>::quiet_NaN();
  EXPECT_EQ(api<T>::iamax(&n, x.data(), &one), n - 9);
}

TEST(Level1Extreme, TiesInLongVectorsGoToTheLowerIndex) {
  on_every_body([&] {
    check_long_ties<double>();
    check_long_ties<float>();
  });
}

TEST(Level1Extreme, FirstNaNWinsWithUnitStrideAndQuietNaNIsSkippedOtherwise) {
  on_every_body([&] {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const i64 n = 2000, one = 1, two = 2;
    std::vector<double> x(2 * n);
    qor::test::Rng rng(1);
    for (auto& v : x) v = rng.next();
    x[1500] = 1e300;  // larger than anything, after the NaN
    x[999] = nan;     // element 1000
    EXPECT_EQ(qor_blas_idamax(&n, x.data(), &one), 1000);
    EXPECT_EQ(qor_blas_idamin(&n, x.data(), &one), 1000);
    x[5] = nan;
    EXPECT_EQ(qor_blas_idamax(&n, x.data(), &one), 6);
    // Stride 2: element k is x[2k]. A quiet NaN in the middle is passed over.
    std::vector<double> y(2 * n, 0.25);
    y[2 * 700] = nan;
    y[2 * 900] = 7.0;
    EXPECT_EQ(qor_blas_idamax(&n, y.data(), &two), 901);
    // ... but a NaN first stays the best.
    y[0] = nan;
    EXPECT_EQ(qor_blas_idamax(&n, y.data(), &two), 1);
    // Complex: a NaN part makes the element NaN.
    std::vector<c64> z(300, c64(0.5, 0.5));
    z[200] = c64(1.0, nan);
    z[250] = c64(10.0, 10.0);
    const i64 nz = 300;
    EXPECT_EQ(qor_blas_izamax(&nz, z.data(), &one), 201);
    std::vector<c32> zf(40, c32(0.5f, 0.5f));
    zf[30] = c32(std::numeric_limits<float>::quiet_NaN(), 0.0f);
    const i64 nzf = 40;
    EXPECT_EQ(qor_blas_icamin(&nzf, zf.data(), &one), 31);
  });
}

TEST(Level1Extreme, StrideAndLengthRules) {
  on_every_body([&] {
    double x[4] = {1, 5, 2, 3};
    const i64 n4 = 4, n1 = 1, n0 = 0, one = 1, zero = 0, neg = -1;
    EXPECT_EQ(qor_blas_idamax(&n4, x, &zero), 0);
    EXPECT_EQ(qor_blas_idamax(&n4, x, &neg), 0);
    EXPECT_EQ(qor_blas_idamax(&n0, x, &one), 0);
    EXPECT_EQ(qor_blas_idamax(&n1, x, &one), 1);
    EXPECT_EQ(qor_blas_idamax(&n1, x, &zero), 0);  // the stride test comes first
    EXPECT_EQ(qor_blas_idamin(&n1, x, &neg), 0);
  }, false);
}

TEST(Level1Extreme, FloatingPointFlagsBeforeTheCallSurviveAndNewOnesAreKept) {
  on_every_body([&] {
    const unsigned saved = _mm_getcsr();
    const i64 n = 100, one = 1;
    std::vector<double> x(n, 1.0);
    // Overflow raised before the call stays raised.
    _mm_setcsr((saved & ~0x3Fu) | 0x08u);
    qor_blas_idamax(&n, x.data(), &one);
    EXPECT_EQ(_mm_getcsr() & 0x3Fu, 0x08u);
    // The invalid flag raised by a NaN inside the call is kept.
    _mm_setcsr(saved & ~0x3Fu);
    x[40] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(qor_blas_idamax(&n, x.data(), &one), 41);
    EXPECT_NE(_mm_getcsr() & 0x01u, 0u);
    // Control bits (rounding mode) are left as they were.
    _mm_setcsr((saved & ~0x3Fu & ~0x6000u) | 0x2000u);
    x[40] = 1.0;
    qor_blas_idamax(&n, x.data(), &one);
    EXPECT_EQ(_mm_getcsr() & 0x6000u, 0x2000u);
    _mm_setcsr(saved);
  });
}

// ---- exported pieces, called in the kernel library directly ----------------

template <class T>
void check_pieces(const qor::test::Member& m) {
  const std::string l = letter<T>;
  auto amax = m.get<qor::blas1::amax_kernel_fn<T>>("qor_blas_def_x" + l + "amax_kernel");
  auto amin = m.get<qor::blas1::amax_kernel_fn<T>>("qor_blas_def_x" + l + "amin_kernel");
  auto smax = m.get<qor::blas1::search_kernel_fn<T>>("qor_blas_def_xi" + l + "amax_kernel");
  auto smin = m.get<qor::blas1::search_kernel_fn<T>>("qor_blas_def_xi" + l + "amin_kernel");
  auto index = m.get<qor::blas1::index_kernel_fn<T>>("qor_blas_def_x" + l + "index_kernel");
  ASSERT_TRUE(amax && amin && smax && smin && index);
  qor::test::Rng rng(23);
  for (i64 n : lengths())
    for (i64 inc : {1, 2, -3})
      for (std::size_t off : offsets()) {
        if (inc != 1 && (off > 8 || n > 300)) continue;
        SCOPED_TRACE(l + " n=" + std::to_string(n) + " inc=" + std::to_string(inc) + " off=" + std::to_string(off));
        Vec<T> x(n, inc, off);
        x.fill(rng);
        if (n < 1) {
          EXPECT_EQ(amax(&n, x.ptr(), &inc), R<T>(0));
          EXPECT_EQ(smax(&n, x.ptr(), &inc), -1);
          continue;
        }
        // Values take the set of elements; search and index walk in logical order.
        R<T> hi = magnitude(x[0]), lo = hi;
        for (i64 i = 1; i < n; ++i) {
          hi = std::max(hi, magnitude(x[i]));
          lo = std::min(lo, magnitude(x[i]));
        }
        EXPECT_EQ(amax(&n, x.ptr(), &inc), hi);
        EXPECT_EQ(amin(&n, x.ptr(), &inc), lo);
        EXPECT_EQ(smax(&n, x.ptr(), &inc), (plain_search<T, true>(x, n) - 1));
        EXPECT_EQ(smin(&n, x.ptr(), &inc), (plain_search<T, false>(x, n) - 1));
        // The index kernel finds every element's magnitude at its first place.
        for (i64 k : {i64{0}, n / 2, n - 1}) {
          const R<T> v = magnitude(x[k]);
          i64 first = 0;
          while (magnitude(x[first]) != v) ++first;
          EXPECT_EQ(index(&n, x.ptr(), &inc, &v), first);
        }
        const R<T> absent = R<T>(7.0);
        EXPECT_EQ(index(&n, x.ptr(), &inc, &absent), -1);
        if (::testing::Test::HasFailure()) return;
      }
}

TEST(Level1Extreme, ExportedValueSearchAndIndexKernels) {
  qor::test::Member m;
  check_pieces<float>(m);
  check_pieces<double>(m);
  check_pieces<c32>(m);
  check_pieces<c64>(m);
  auto s1 = m.get<qor::blas1::cabs1_fn<c32>>("qor_blas_def_scabs1");
  auto d1 = m.get<qor::blas1::cabs1_fn<c64>>("qor_blas_def_dcabs1");
  ASSERT_TRUE(s1 && d1);
  const c32 a(-1.5f, 2.0f);
  const c64 b(3.0, -0.25);
  EXPECT_EQ(s1(&a), 3.5f);
  EXPECT_EQ(d1(&b), 3.25);
  EXPECT_EQ(qor_blas_dcabs1(&b), 3.25);
}

}  // namespace
