// Kernels the front ends reach only through analysis data or as pieces of a
// product: ESB slices (every width, tails on both sides of the width),
// diagonal panels (start columns left of, inside, and past the right edge
// of the matrix), the merges of 1 to 10 private buffers, the pre-shifted
// and pattern-only row kernels, and the COO vector steps.
#include "sparse/kernels/kernels_test.h"

namespace qor::test::sparse_kernels {
namespace {

const descr general{20, 40, 50};

// ESB arrays built here from the element list: w rows a slice, each row's
// elements in order, padded with zeros (column 0) to the slice's longest row.
template <class T, class I> struct esb_data {
  std::vector<I> start, end, cols;
  std::vector<T> vals;
};
template <class T, class I> esb_data<T, I> make_esb(const matrix<T>& m, long w) {
  std::vector<std::vector<std::pair<long, T>>> rows(m.rows);
  for (std::size_t k = 0; k < m.v.size(); ++k) rows[m.r[k]].push_back({m.c[k], m.v[k]});
  esb_data<T, I> e;
  for (long s = 0; s * w < m.rows; ++s) {
    std::size_t longest = 0;
    for (long j = 0; j < w && s * w + j < m.rows; ++j) longest = std::max(longest, rows[s * w + j].size());
    e.start.push_back(I(e.vals.size()));
    for (std::size_t k = 0; k < longest; ++k)
      for (long j = 0; j < w; ++j) {
        const long r = s * w + j;
        const bool real = r < m.rows && k < rows[r].size();
        e.cols.push_back(I(real ? rows[r][k].first : 0));
        e.vals.push_back(real ? rows[r][k].second : T(0));
      }
    e.end.push_back(I(e.vals.size()));
  }
  return e;
}

template <class T, class I> void esb_products() {
  const kernels<T, I>& k = bind<T, I>();
  Rng rng(5);
  for (long w : {4L, 8L, 3L, 16L}) {
    for (long rows : {w * 5, w * 5 + 1, w * 5 + w - 1}) {
      SCOPED_TRACE("width " + std::to_string(w) + " rows " + std::to_string(rows));
      const matrix<T> m = random_matrix<T>(rows, rows, 0.3, general, rng);
      const auto e = make_esb<T, I>(m, w);
      const long slices = long(e.start.size()), tail = rows % w;
      std::vector<T> x;
      for (long i = 0; i < rows; ++i) x.push_back(make<T>(rng.next(), rng.next()));
      for (T beta : {T(0), make<T>(0.5, -1)}) {
        const T alpha = make<T>(-1.5, 0.5);
        std::vector<T> y0;
        for (long i = 0; i < rows; ++i) y0.push_back(beta == T(0) ? nan_value<T>() : make<T>(rng.next(), 0));
        const auto want = ref_product(dense(m, general, 10), x, y0, alpha, beta);
        // Two ranges; only the second ends with the partial slice.
        std::vector<T> y = y0;
        T dots[2] = {nan_value<T>(), nan_value<T>()};
        const long cut = slices / 2;
        const bool dot = beta == T(0);
        auto run = [&](long f, long l, long t, T* d) {
          if (w == 4 && dot) return k.ESB_SpDOTMV_4(I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta, d);
          if (w == 8 && dot) return k.ESB_SpDOTMV_8(I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta, d);
          if (dot) return k.ESB_SpDOTMV(I(w), I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta, d);
          if (w == 4) return k.xESB_SpMV_4(I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta);
          if (w == 8) return k.xESB_SpMV_8(I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta);
          return k.xESB_SpMV(I(w), I(f), I(l), I(t), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), alpha, beta);
        };
        run(0, cut, 0, &dots[0]);
        run(cut, slices, tail, &dots[1]);
        EXPECT_TRUE(close(y, want.y, want.bound, 64 * eps<T>()));
        if (dot) {
          wide_t<T> d = 0;
          long double b = 0;
          for (long i = 0; i < rows; ++i) d += widen(y[i]) * widen(x[i]), b += std::abs(widen(y[i]) * widen(x[i]));
          EXPECT_TRUE(close(std::vector<T>{dots[0] + dots[1]}, std::vector<wide_t<T>>{d}, {b}, 64 * eps<T>()));
          T empty = nan_value<T>();
          run(2, 2, 0, &empty);
          EXPECT_EQ(empty, T(0)) << "an empty range writes a zero dot";
        }
      }
    }
  }
}

// The last slice of a range with `tail` lanes: up to the width they are
// stored, beyond it the kernel leaves the whole slice alone.
template <class T, class I> void esb_tails() {
  const kernels<T, I>& k = bind<T, I>();
  Rng rng(6);
  for (long w : {4L, 8L}) {
    const long rows = 3 * w;
    const matrix<T> m = random_matrix<T>(rows, rows, 0.5, general, rng);
    const auto e = make_esb<T, I>(m, w);
    std::vector<T> x;
    for (long i = 0; i < rows; ++i) x.push_back(make<T>(rng.next(), 0.25));
    const auto want = ref_product(dense(m, general, 10), x, x, T(1), T(0));
    for (long tail = 1; tail <= 2 * w; ++tail) {
      SCOPED_TRACE("width " + std::to_string(w) + " tail " + std::to_string(tail));
      const T mark = make<T>(123, 4);
      std::vector<T> y(rows, mark);
      auto* fn = w == 4 ? k.xESB_SpMV_4 : k.xESB_SpMV_8;
      fn(0, 3, I(tail), e.start.data(), e.end.data(), e.cols.data(), e.vals.data(), x.data(), y.data(), T(1), T(0));
      for (long i = 0; i < rows; ++i) {
        const bool stored = i < 2 * w || (tail <= w && i - 2 * w < tail);
        if (stored)
          EXPECT_LE(std::abs(widen(y[i]) - want.y[i]), 64 * eps<T>() * want.bound[i]) << "row " << i;
        else
          EXPECT_EQ(y[i], mark) << "row " << i << " was written";
      }
    }
  }
}

// Panels built by hand: every start-column case in each panel, lanes
// outside the matrix holding NaN.
template <class T, class I> void panels() {
  const kernels<T, I>& k = bind<T, I>();
  Rng rng(7);
  const long ncols = 21, rows = 8 * 3 + 5;
  const long whole = rows / 8, tail = rows % 8, count = whole + 1;
  const std::vector<long> starts{-12, -8, -7, -3, 0, 6, ncols - 8, ncols - 5, ncols - 1, ncols + 3};
  std::vector<i32> ptr{0}, off;
  std::vector<T> val;
  std::vector<std::vector<wide_t<T>>> a(rows, std::vector<wide_t<T>>(ncols, 0));
  for (long p = 0; p < count; ++p) {
    for (std::size_t d = 0; d < starts.size(); ++d) {
      if ((p + d) % 4 == 3) continue;  // panels differ in their diagonals
      const long o = starts[d] + (p % 2);
      off.push_back(i32(o));
      for (long j = 0; j < 8; ++j) {
        const bool inside = o + j >= 0 && o + j < ncols && 8 * p + j < rows;
        const T v = inside ? make<T>(rng.next(), rng.next()) : nan_value<T>();
        val.push_back(v);
        if (inside) a[8 * p + j][o + j] += widen(v);
      }
    }
    ptr.push_back(i32(off.size()));
  }
  // Rows past the matrix in the last panel are never stored either.
  std::vector<T> x;
  for (long j = 0; j < ncols; ++j) x.push_back(make<T>(rng.next(), rng.next()));
  for (T beta : {T(0), make<T>(-0.5, 0.25)}) {
    const T alpha = make<T>(0.75, 1);
    std::vector<T> y0;
    for (long i = 0; i < rows; ++i) y0.push_back(beta == T(0) ? nan_value<T>() : make<T>(rng.next(), 1));
    const auto want = ref_product(a, x, y0, alpha, beta);
    std::vector<T> y(rows + 8, make<T>(9, 9));
    std::copy(y0.begin(), y0.end(), y.begin());
    k.dia_mv_ker(I(1), 0, I(ncols), ptr.data(), off.data(), val.data(), x.data(), y.data(), alpha, beta);
    k.dia_mv_ker(I(whole - 1), I(tail), I(ncols), ptr.data() + 1, off.data(), val.data(), x.data(), y.data() + 8, alpha,
                 beta);
    EXPECT_TRUE(close(std::vector<T>(y.begin(), y.begin() + rows), want.y, want.bound, 64 * eps<T>()));
    for (long i = rows; i < rows + 8; ++i) EXPECT_EQ(y[i], make<T>(9, 9)) << "row " << i << " past the matrix";
  }
}

// Merges of 1 to 10 buffers: merge1 adds the parts left to right into y;
// merge scales by alpha and applies the beta rule; a count of 0 does
// nothing (merge1) or only the beta rule (merge).
template <class T, class I> void merges() {
  const kernels<T, I>& k = bind<T, I>();
  Rng rng(8);
  const long n = 23, ld = 29;
  for (long parts = 0; parts <= 10; ++parts) {
    SCOPED_TRACE("parts " + std::to_string(parts));
    std::vector<T> work(ld * std::max(parts, 1L)), y0(n);
    for (auto& w : work) w = make<T>(rng.next(), rng.next());
    for (auto& v : y0) v = make<T>(rng.next(), rng.next());
    std::vector<T> y = y0;
    k.csr_mv_merge1(3, I(n - 2), I(ld), I(parts), work.data(), y.data());
    for (long i = 0; i < n; ++i) {
      T s = parts > 0 ? work[i] : T(0);
      for (long p = 1; p < parts; ++p) s = s + work[p * ld + i];
      EXPECT_EQ(y[i], i >= 3 && i < n - 2 && parts > 0 ? y0[i] + s : y0[i]) << "merge1 at " << i;
    }
    for (T beta : {T(0), make<T>(1.5, -0.5)}) {
      const T alpha = make<T>(-2, 0.5);
      std::vector<T> z = y0;
      if (beta == T(0)) std::fill(z.begin(), z.end(), nan_value<T>());
      k.csr_mv_merge(0, I(n), I(ld), I(parts), work.data(), z.data(), alpha, beta);
      std::vector<wide_t<T>> want(n);
      std::vector<long double> bound(n);
      for (long i = 0; i < n; ++i) {
        wide_t<T> s = 0;
        for (long p = 0; p < parts; ++p) s += widen(work[p * ld + i]), bound[i] += std::abs(widen(work[p * ld + i]));
        want[i] = widen(alpha) * s + (beta == T(0) ? wide_t<T>(0) : widen(beta) * widen(y0[i]));
        bound[i] = std::abs(widen(alpha)) * bound[i] + (beta == T(0) ? 0 : std::abs(widen(beta) * widen(y0[i])));
      }
      EXPECT_TRUE(close(z, want, bound, 64 * eps<T>()));
      // The COO merge with a unit diagonal below `count`.
      std::vector<T> u = y0, x(n);
      for (auto& v : x) v = make<T>(rng.next(), 0);
      if (beta == T(0)) std::fill(u.begin(), u.end(), nan_value<T>());
      k.coo_mv_merge(0, I(n), I(ld), I(parts), work.data(), u.data(), x.data(), alpha, beta, 1, I(n / 2));
      for (long i = 0; i < n / 2; ++i) want[i] += widen(alpha) * widen(x[i]), bound[i] += std::abs(widen(alpha) * widen(x[i]));
      EXPECT_TRUE(close(u, want, bound, 64 * eps<T>()));
    }
  }
}

// The pre-shifted row kernels, the pattern-only kernel and the one-thread
// transposed kernel against the reference, in both bases.
template <class T, class I> void row_kernels() {
  const kernels<T, I>& k = bind<T, I>();
  Rng rng(9);
  const long rows = 17, cols = 17;  // square: the dot reads x by row
  const matrix<T> m = random_matrix<T>(rows, cols, 0.4, general, rng);
  for (int base : {0, 1}) {
    SCOPED_TRACE("base " + std::to_string(base));
    const auto a = compress<T, I>(m, false, base, false, rng);
    std::vector<T> x(cols), xt(rows);
    for (auto& v : x) v = make<T>(rng.next(), rng.next());
    for (auto& v : xt) v = make<T>(rng.next(), rng.next());
    const T alpha = make<T>(1.25, -0.5), beta = make<T>(-0.75, 0.25);
    std::vector<T> y0(rows), nan_y(rows, nan_value<T>());
    for (auto& v : y0) v = make<T>(rng.next(), 0.5);
    const auto d10 = dense(m, general, 10);
    const long first = 4, last = 15;
    const T* vs = a.val.data() - base;
    const I* cs = a.idx.data() - base;
    const T* xs = x.data() - base;
    for (bool with_beta : {false, true}) {
      const auto want = ref_product(d10, x, with_beta ? y0 : nan_y, alpha, with_beta ? beta : T(0));
      for (bool dot : {false, true}) {
        std::vector<T> y = with_beta ? y0 : nan_y;
        T d = nan_value<T>();
        T* yf = y.data() + first;
        const I* rf = a.start.data() + first;
        if (!dot && !with_beta) k.csr_ng_n_mv_ker(I(first), I(last), I(cols), yf, xs, vs, rf, cs, alpha);
        if (!dot && with_beta) k.csr_ng_n_mv_ker_beta(I(first), I(last), I(cols), yf, xs, vs, rf, cs, alpha, beta);
        if (dot && !with_beta) k.csr_ng_n_dotmv_ker(I(first), I(last), I(cols), yf, xs, vs, rf, cs, alpha, I(base), &d);
        if (dot && with_beta)
          k.csr_ng_n_dotmv_ker_beta(I(first), I(last), I(cols), yf, xs, vs, rf, cs, alpha, beta, I(base), &d);
        for (long i = 0; i < rows; ++i) {
          if (i < first || i >= last) {
            EXPECT_TRUE(with_beta ? y[i] == y0[i] : is_nan(y[i])) << "row " << i << " outside the range";
            continue;
          }
          EXPECT_LE(std::abs(widen(y[i]) - want.y[i]), 64 * eps<T>() * want.bound[i]) << "row " << i;
        }
        if (dot) {
          wide_t<T> s = 0;
          long double b = 0;
          for (long i = first; i < last; ++i) s += widen(y[i]) * widen(x[i]), b += std::abs(widen(y[i]) * widen(x[i]));
          EXPECT_LE(std::abs(widen(d) - s), 64 * eps<T>() * b);
          T e = nan_value<T>();
          k.csr_ng_n_dotmv_ker(I(5), I(5), I(cols), yf, xs, vs, rf, cs, alpha, I(base), &e);
          EXPECT_EQ(e, T(0));
        }
      }
      // Pattern only: every stored element counts as 1.
      matrix<T> ones = m;
      for (auto& v : ones.v) v = T(1);
      const auto wp = ref_product(dense(ones, general, 10), x, with_beta ? y0 : nan_y, alpha, with_beta ? beta : T(0));
      std::vector<T> yp = with_beta ? y0 : nan_y;
      k.csr_ng_n_mv_ker_b(0, I(rows), I(base), yp.data(), x.data(), a.start.data(), a.start.data() + 1, a.idx.data(),
                          with_beta ? beta : T(0), alpha);
      EXPECT_TRUE(close(yp, wp.y, wp.bound, 64 * eps<T>()));
      // Transposed, whole matrix, operations 11 and 12.
      for (i32 op : {11, 12}) {
        std::vector<T> y1(cols);
        for (auto& v : y1) v = with_beta ? make<T>(rng.next(), 0) : nan_value<T>();
        const auto wt = ref_product(dense(m, general, op), xt, y1, alpha, with_beta ? beta : T(0));
        k.csr_ng_t_mv_ker(I(rows), I(cols), I(base), y1.data(), xt.data(), a.val.data(), a.start.data(),
                          a.start.data() + 1, a.idx.data(), with_beta ? beta : T(0), alpha, op);
        EXPECT_TRUE(close(y1, wt.y, wt.bound, 64 * eps<T>())) << "operation " << op;
      }
    }
  }
}

// The COO vector steps: clearing, beta scaling (0 clears NaN), and the unit
// diagonal's alpha x + beta y with its zero paths.
template <class T, class I> void coo_steps() {
  const kernels<T, I>& k = bind<T, I>();
  const T nan = nan_value<T>(), inf = make<T>(std::numeric_limits<double>::infinity(), 0);
  std::vector<T> a(6, nan);
  k.coo_mv_zeroize_array(1, 5, a.data());
  EXPECT_TRUE(is_nan(a[0]) && is_nan(a[5]));
  for (int i = 1; i < 5; ++i) EXPECT_EQ(a[i], T(0));
  std::vector<T> y{nan, make<T>(2, 1), make<T>(-3, 0)};
  k.coo_mv_beta_y(1, 3, y.data(), make<T>(2, 0));
  EXPECT_EQ(y[1], make<T>(4, 2));
  k.coo_mv_beta_y(0, 3, y.data(), T(0));
  for (T v : y) EXPECT_EQ(v, T(0));
  const std::vector<T> x{inf, make<T>(1, 0), make<T>(2, -1)};
  std::vector<T> z{make<T>(1, 0), make<T>(1, 1), nan};
  k.coo_mv_dnxu_ker(0, 2, x.data(), z.data(), T(0), make<T>(3, 0));  // alpha 0: x is not read
  EXPECT_EQ(z[0], make<T>(3, 0));
  EXPECT_EQ(z[1], make<T>(3, 3));
  EXPECT_TRUE(is_nan(z[2]));
  k.coo_mv_dnxu_ker(1, 3, x.data(), z.data(), make<T>(2, 0), T(0));  // beta 0: y is not read
  EXPECT_EQ(z[1], make<T>(2, 0));
  EXPECT_EQ(z[2], make<T>(4, -2));
  k.coo_mv_dnxu_ker(1, 3, x.data(), z.data(), make<T>(1, 0), make<T>(1, 0));
  EXPECT_EQ(z[2], make<T>(6, -3));
  k.coo_mv_dnxu_ker(0, 3, x.data(), z.data(), T(0), T(0));
  for (T v : z) EXPECT_EQ(v, T(0));
}

#define QOR_KL_EACH(M) M(s, float, i4, std::int32_t) M(d, double, i4, std::int32_t) M(c, c32, i4, std::int32_t) \
  M(z, c64, i4, std::int32_t) M(s, float, i8, std::int64_t) M(d, double, i8, std::int64_t)                         \
  M(c, c32, i8, std::int64_t) M(z, c64, i8, std::int64_t)
#define QOR_KL_TEST(l, T, w, I)                                     \
  TEST(SparseKernelLayouts, Esb_##l##_##w) { esb_products<T, I>(); } \
  TEST(SparseKernelLayouts, EsbTails_##l##_##w) { esb_tails<T, I>(); } \
  TEST(SparseKernelLayouts, Panels_##l##_##w) { panels<T, I>(); }     \
  TEST(SparseKernelLayouts, Merges_##l##_##w) { merges<T, I>(); }     \
  TEST(SparseKernelLayouts, Rows_##l##_##w) { row_kernels<T, I>(); }  \
  TEST(SparseKernelLayouts, CooSteps_##l##_##w) { coo_steps<T, I>(); }
QOR_KL_EACH(QOR_KL_TEST)

}  // namespace
}  // namespace qor::test::sparse_kernels
