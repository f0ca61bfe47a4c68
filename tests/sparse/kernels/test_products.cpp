// The descriptor switches (CSR, CSC, COO whole and by workspace, and the
// CSR product with a dense matrix) against a dense long-double reference
// over every valid descriptor, operation, index base, array form, element
// type and index width; elements a descriptor must ignore hold NaN.
#include <algorithm>

#include "sparse/kernels/kernels_test.h"

namespace qor::test::sparse_kernels {
namespace {

struct scalars {
  double alpha_re, alpha_im, beta_re, beta_im;
};
// beta 0 runs over a NaN-filled y, which must not show through.
constexpr scalars cases[] = {{1.5, -0.25, 0, 0}, {-0.5, 0.75, 2.0, 0.5}};

// Splits [0, n) into `parts` ranges, some empty.
std::vector<long> cuts(long n, int parts) {
  std::vector<long> c{0};
  for (int p = 1; p < parts; ++p) c.push_back(n * p / parts);
  c.push_back(n);
  return c;
}

template <class T, class I> struct product_case {
  const matrix<T>& m;
  descr d;
  i32 op;
  int base;
  bool gaps;
  T alpha, beta;
  std::vector<T> x, y0;
  reference<T> want;
  std::string what;
};

// Runs a switch kernel over ranges of the compressed dimension: straight
// into y for gather paths, into one zeroed buffer per range and
// csr_mv_merge for scatter paths.
template <class T, class I, class Run>
std::vector<T> ranged(const product_case<T, I>& pc, long n, bool scatters, Run run) {
  const kernels<T, I>& k = bind<T, I>();
  const long out = long(pc.want.y.size());
  std::vector<T> y = pc.y0;
  const auto c = cuts(n, 3);
  if (!scatters) {
    for (std::size_t p = 0; p + 1 < c.size(); ++p) EXPECT_EQ(run(c[p], c[p + 1], y.data()), 0);
    return y;
  }
  const long parts = long(c.size()) - 1;
  std::vector<T> work(out * parts, T(0));
  for (long p = 0; p < parts; ++p) EXPECT_EQ(run(c[p], c[p + 1], work.data() + p * out), 0);
  k.csr_mv_merge(0, I(out), I(out), I(parts), work.data(), y.data(), pc.alpha, pc.beta);
  return y;
}

template <class T, class I> void check_csr_csc(const product_case<T, I>& pc, Rng& rng) {
  const kernels<T, I>& k = bind<T, I>();
  const double tol = 64 * eps<T>();
  for (bool csc : {false, true}) {
    SCOPED_TRACE(pc.what + (csc ? " csc" : " csr"));
    const auto a = compress<T, I>(pc.m, csc, pc.base, pc.gaps, rng);
    const I* re = pc.gaps ? a.end.data() : a.start.data() + 1;
    auto* fn = csc ? k.csc_mv_def_ker : k.csr_mv_def_ker;
    const bool sc = csc ? csc_mv_scatters(pc.op, pc.d.type, pc.d.mode) : csr_mv_scatters(pc.op, pc.d.type, pc.d.mode);
    const auto y = ranged(pc, csc ? pc.m.cols : pc.m.rows, sc, [&](long f, long l, T* out) {
      return fn(I(f), I(l), I(pc.base), a.start.data(), re, a.idx.data(), a.val.data(), pc.x.data(), out, pc.op,
                pc.d.type, pc.d.mode, pc.d.diag, pc.alpha, pc.beta);
    });
    EXPECT_TRUE(close(y, pc.want.y, pc.want.bound, tol));
    if (csc) continue;
    // The dense-matrix product in both layouts: each column is a product
    // with its own x; storage outside the columns stays as it was.
    const long cols_b = 3, xin = long(pc.x.size()), yout = long(pc.want.y.size());
    for (i32 layout : {101, 102}) {
      SCOPED_TRACE(layout == 101 ? "mm row-major" : "mm column-major");
      const long ldb = (layout == 101 ? cols_b : xin) + 2, ldc = (layout == 101 ? cols_b : yout) + 1;
      const long bsize = layout == 101 ? xin * ldb : cols_b * ldb, csize = layout == 101 ? yout * ldc : cols_b * ldc;
      std::vector<T> b(bsize, nan_value<T>()), c(csize, make<T>(7, 7));
      auto at = [&](long ld, long i, long j) { return layout == 101 ? i * ld + j : j * ld + i; };
      for (long j = 0; j < cols_b; ++j)
        for (long i = 0; i < xin; ++i) b[at(ldb, i, j)] = j == 0 ? pc.x[i] : make<T>(rng.next(), rng.next());
      for (long j = 0; j < cols_b; ++j)
        for (long i = 0; i < yout; ++i) c[at(ldc, i, j)] = pc.y0[i];
      const std::vector<T> c0 = c;
      if (!csr_mv_scatters(pc.op, pc.d.type, pc.d.mode)) {
        for (auto [f, l] : {std::pair<long, long>{0, pc.m.rows / 2}, {pc.m.rows / 2, pc.m.rows}})
          EXPECT_EQ(k.csr_mm_def_ker(I(f), I(l), I(pc.base), a.start.data(), re, a.idx.data(), a.val.data(), pc.op,
                                     pc.d.type, pc.d.mode, pc.d.diag, pc.alpha, layout, b.data(), I(cols_b), I(ldb),
                                     pc.beta, c.data(), I(ldc)),
                    0);
      } else {
        std::vector<T> w(csize, T(0));
        EXPECT_EQ(k.csr_mm_def_ker(0, I(pc.m.rows), I(pc.base), a.start.data(), re, a.idx.data(), a.val.data(), pc.op,
                                   pc.d.type, pc.d.mode, pc.d.diag, pc.alpha, layout, b.data(), I(cols_b), I(ldb),
                                   pc.beta, w.data(), I(ldc)),
                  0);
        if (layout == 102)
          for (long j = 0; j < cols_b; ++j)
            k.csr_mv_merge(0, I(yout), I(0), 1, w.data() + j * ldc, c.data() + j * ldc, pc.alpha, pc.beta);
        else
          for (long i = 0; i < yout; ++i)
            k.csr_mv_merge(0, I(cols_b), I(0), 1, w.data() + i * ldc, c.data() + i * ldc, pc.alpha, pc.beta);
      }
      std::vector<T> col0(yout);
      for (long i = 0; i < yout; ++i) col0[i] = c[at(ldc, i, 0)];
      EXPECT_TRUE(close(col0, pc.want.y, pc.want.bound, tol));
      for (long p = 0; p < csize; ++p) {
        const bool inside = layout == 101 ? p % ldc < cols_b : p % ldc < yout;
        if (!inside) {
          ASSERT_EQ(c[p], c0[p]) << "position " << p << " outside C was written";
        }
      }
    }
  }
}

template <class T, class I> void check_coo(const product_case<T, I>& pc) {
  const kernels<T, I>& k = bind<T, I>();
  const double tol = 64 * eps<T>();
  std::vector<I> r, c;
  for (std::size_t e = 0; e < pc.m.v.size(); ++e) {
    r.push_back(I(pc.m.r[e] + pc.base));
    c.push_back(I(pc.m.c[e] + pc.base));
  }
  const I nnz = I(pc.m.v.size());
  {
    SCOPED_TRACE(pc.what + " coo full");
    std::vector<T> y = pc.y0;
    EXPECT_EQ(k.coo_mv_def_ker_full(I(pc.m.rows), I(pc.m.cols), nnz, I(pc.base), r.data(), c.data(), pc.m.v.data(),
                                    pc.x.data(), y.data(), pc.op, pc.d.type, pc.d.mode, pc.d.diag, pc.alpha, pc.beta),
              0);
    EXPECT_TRUE(close(y, pc.want.y, pc.want.bound, tol));
  }
  {
    SCOPED_TRACE(pc.what + " coo workspace");
    const long out = long(pc.want.y.size());
    const auto cut = cuts(nnz, 2);
    std::vector<T> work(out * 2, T(0)), y = pc.y0;
    for (int p = 0; p < 2; ++p)
      EXPECT_EQ(k.coo_mv_def_ker_workspace(I(cut[p]), I(cut[p + 1]), I(pc.base), r.data(), c.data(), pc.m.v.data(),
                                           pc.x.data(), work.data() + p * out, pc.op, pc.d.type, pc.d.mode, pc.d.diag),
                0);
    k.coo_mv_merge(0, I(out), I(out), 2, work.data(), y.data(), pc.x.data(), pc.alpha, pc.beta, unit_of(pc.d),
                   I(std::min(pc.m.rows, pc.m.cols)));
    EXPECT_TRUE(close(y, pc.want.y, pc.want.bound, tol));
  }
}

template <class T, class I> void every_descriptor() {
  bind<T, I>();
  Rng rng(19 + sizeof(T) + sizeof(I));
  for (descr d : valid_descriptors()) {
    std::vector<std::pair<long, long>> shapes{{11, 11}};
    if (d.type == 20) shapes.insert(shapes.end(), {{7, 13}, {13, 6}});
    for (auto [rows, cols] : shapes) {
      const matrix<T> m = random_matrix<T>(rows, cols, 0.4, d, rng);
      for (i32 op : {10, 11, 12}) {
        const auto a = dense(m, d, op);
        for (int base : {0, 1}) {
          for (const scalars& s : cases) {
            const long in = op == 10 ? cols : rows, out = op == 10 ? rows : cols;
            product_case<T, I> pc{m, d, op, base, base == 1, make<T>(s.alpha_re, s.alpha_im),
                                  make<T>(s.beta_re, s.beta_im), {}, {}, {}, ""};
            for (long i = 0; i < in; ++i) pc.x.push_back(make<T>(rng.next(), rng.next()));
            for (long i = 0; i < out; ++i) pc.y0.push_back(s.beta_re == 0 ? nan_value<T>() : make<T>(rng.next(), 0.5));
            pc.want = ref_product(a, pc.x, pc.y0, pc.alpha, pc.beta);
            pc.what = "type " + std::to_string(d.type) + " mode " + std::to_string(d.mode) + " diag " +
                      std::to_string(d.diag) + " op " + std::to_string(op) + " base " + std::to_string(base) + " " +
                      std::to_string(rows) + "x" + std::to_string(cols);
            check_csr_csc(pc, rng);
            check_coo(pc);
            if (::testing::Test::HasFailure()) return;
          }
        }
      }
    }
  }
}

#define QOR_KT_EACH(M) M(s, float, i4, std::int32_t) M(d, double, i4, std::int32_t) M(c, c32, i4, std::int32_t) \
  M(z, c64, i4, std::int32_t) M(s, float, i8, std::int64_t) M(d, double, i8, std::int64_t)                         \
  M(c, c32, i8, std::int64_t) M(z, c64, i8, std::int64_t)
#define QOR_KT_TEST(l, T, w, I) \
  TEST(SparseKernelProducts, EveryDescriptor_##l##_##w) { every_descriptor<T, I>(); }
QOR_KT_EACH(QOR_KT_TEST)

// Codes outside the switch leave y alone and return 0.
TEST(SparseKernelProducts, CodesOutsideTheSwitchDoNothing) {
  const auto& k = bind<double, std::int32_t>();
  const std::int32_t rs[] = {0, 1}, ci[] = {0};
  const double v[] = {2.0}, x[] = {3.0};
  for (descr d : std::vector<descr>{{19, 40, 50}, {27, 40, 50}, {-1, 40, 50}, {130, 42, 51}, {0, 0, 0}}) {
    double y = 5.0;
    EXPECT_EQ(k.csr_mv_def_ker(0, 1, 0, rs, rs + 1, ci, v, x, &y, 10, d.type, d.mode, d.diag, 1.0, 0.0), 0);
    EXPECT_EQ(k.csc_mv_def_ker(0, 1, 0, rs, rs + 1, ci, v, x, &y, 10, d.type, d.mode, d.diag, 1.0, 0.0), 0);
    EXPECT_EQ(k.coo_mv_def_ker_full(1, 1, 1, 0, ci, ci, v, x, &y, 10, d.type, d.mode, d.diag, 1.0, 0.0), 0);
    EXPECT_EQ(k.coo_mv_def_ker_workspace(0, 1, 0, ci, ci, v, x, &y, 10, d.type, d.mode, d.diag), 0);
    EXPECT_EQ(k.csr_mm_def_ker(0, 1, 0, rs, rs + 1, ci, v, 10, d.type, d.mode, d.diag, 1.0, 102, x, 1, 1, 0.0, &y, 1),
              0);
    EXPECT_EQ(y, 5.0) << "type " << d.type;
  }
  double y = 5.0;
  EXPECT_EQ(k.csr_mm_def_ker(0, 1, 0, rs, rs + 1, ci, v, 10, 20, 40, 50, 1.0, 100, x, 1, 1, 0.0, &y, 1), 3);
  EXPECT_EQ(y, 5.0);
}

// The beta and alpha rules on the gather rows: an empty row gives 0 * alpha
// (NaN for an infinite alpha), a NaN beta propagates, a zero beta hides a
// NaN in y; a range split anywhere gives the same bits.
TEST(SparseKernelProducts, ScalarRulesAndRangeInvariance) {
  const auto& k = bind<double, std::int64_t>();
  const std::int64_t rs[] = {1, 1, 3, 4}, ci[] = {1, 2, 2};
  const double v[] = {1.0, 2.0, -1.0}, x[] = {1.0, 0.5};
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  double y[3] = {nan, nan, nan};
  k.csr_mv_def_ker(0, 3, 1, rs, rs + 1, ci, v, x, y, 10, 20, 40, 50, inf, 0.0);
  EXPECT_TRUE(std::isnan(y[0]));
  EXPECT_EQ(y[1], inf);
  double z[3] = {nan, nan, nan};
  k.csr_mv_def_ker(0, 3, 1, rs, rs + 1, ci, v, x, z, 10, 20, 40, 50, 0.0, 0.0);
  EXPECT_EQ(z[0], 0.0);
  EXPECT_EQ(z[1], 0.0);
  double w[3] = {1, 1, 1};
  k.csr_mv_def_ker(0, 3, 1, rs, rs + 1, ci, v, x, w, 10, 20, 40, 50, 1.0, nan);
  for (double e : w) EXPECT_TRUE(std::isnan(e));

  // A long row, split at every position.
  Rng rng(3);
  const long n = 57;
  std::vector<std::int64_t> s{0}, c;
  std::vector<double> val, xv(n);
  for (long i = 0; i < n; ++i) {
    for (long j = 0; j < n; ++j)
      if ((i * 7 + j * 3) % 5 < 2 + i % 3) c.push_back(j), val.push_back(rng.next());
    s.push_back(std::int64_t(c.size()));
    xv[i] = rng.next();
  }
  std::vector<double> whole(n, 0.25);
  k.csr_mv_def_ker(0, n, 0, s.data(), s.data() + 1, c.data(), val.data(), xv.data(), whole.data(), 10, 20, 40, 50, 0.7,
                   -1.25);
  for (long cut = 0; cut <= n; cut += 4) {
    std::vector<double> parts(n, 0.25);
    k.csr_mv_def_ker(0, cut, 0, s.data(), s.data() + 1, c.data(), val.data(), xv.data(), parts.data(), 10, 20, 40, 50,
                     0.7, -1.25);
    k.csr_mv_def_ker(cut, n, 0, s.data(), s.data() + 1, c.data(), val.data(), xv.data(), parts.data(), 10, 20, 40, 50,
                     0.7, -1.25);
    ASSERT_EQ(parts, whole) << "cut at " << cut;
  }
}

}  // namespace
}  // namespace qor::test::sparse_kernels
