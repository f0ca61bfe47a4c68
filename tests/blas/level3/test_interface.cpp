// The public Fortran and CBLAS names of Level 3 beside GEMM: argument errors
// reported with the reference positions and nothing changed, row-major calls
// equal to column-major ones on the transposes, 64-bit twins, and the
// batched products.
#include <complex>
#include <string>

#include "qor/blas_level3_ext.h"
#include "qor/cblas_level3_ext.h"
#include "ref.h"

namespace l3t {
namespace {

using qor::test::MessageCapture;
using qor::test::Rng;

// The position of the last argument error captured, or 0; checks the
// routine name.
int last_error(const MessageCapture& cap, const std::string& routine) {
  for (auto it = cap.entries().rbegin(); it != cap.entries().rend(); ++it) {
    if (it->kind != QOR_MSG_ARGUMENT_ERROR) continue;
    EXPECT_NE(it->text.find(routine), std::string::npos) << it->text;
    const auto p = it->text.find("number");
    if (p != std::string::npos) return std::stoi(it->text.substr(p + 6));
    const auto q = it->text.find("Parameter ");
    if (q != std::string::npos) return std::stoi(it->text.substr(q + 10));
    return -1;
  }
  return 0;
}

template <class T>
Mat<T> transpose(const Mat<T>& x) {
  Mat<T> t(x.cols, x.rows);
  for (i64 j = 0; j < x.cols; ++j)
    for (i64 i = 0; i < x.rows; ++i) t(j, i) = x(i, j);
  return t;
}

// ---- Argument errors --------------------------------------------------------------------------

TEST(Interface, FortranArgumentErrors) {
  MessageCapture cap;
  double a[16] = {}, b[16] = {}, c[16] = {};
  for (double& x : b) x = 7;
  int two = 2, one = 1, neg = -1, zero = 0;
  const double alpha = 1, beta = 0;
  // trsm: side 1, uplo 2, transa 3, diag 4, m 5, n 6, lda 9, ldb 11.
  dtrsm_("X", "L", "N", "N", &two, &two, &alpha, a, &two, b, &two, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRSM"), 1);
  dtrsm_("L", "L", "N", "X", &two, &two, &alpha, a, &two, b, &two, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRSM"), 4);
  dtrsm_("R", "L", "N", "N", &one, &two, &alpha, a, &one, b, &one, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRSM"), 9);
  dtrsm_("L", "U", "T", "U", &two, &two, &alpha, a, &two, b, &one, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRSM"), 11);
  dtrmm_("L", "U", "T", "U", &two, &neg, &alpha, a, &two, b, &two, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRMM"), 6);
  for (double x : b) EXPECT_EQ(x, 7);
  // symm: m 3, lda 7, ldc 12.
  dsymm_("L", "U", &neg, &two, &alpha, a, &two, b, &two, &beta, c, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYMM"), 3);
  dsymm_("R", "U", &two, &two, &alpha, a, &one, b, &two, &beta, c, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYMM"), 7);
  dsymm_("L", "U", &two, &two, &alpha, a, &two, b, &two, &beta, c, &one, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYMM"), 12);
  // syrk: trans 2 (complex syrk takes no C, herk no T), k 4, lda 7, ldc 10.
  std::complex<double> za[16] = {}, zc[16] = {};
  const std::complex<double> zalpha(1), zbeta(0);
  zsyrk_("U", "C", &two, &two, &zalpha, za, &two, &zbeta, zc, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "ZSYRK"), 2);
  const double ralpha = 1, rbeta = 0;
  zherk_("U", "T", &two, &two, &ralpha, za, &two, &rbeta, zc, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "ZHERK"), 2);
  dsyrk_("U", "T", &two, &neg, &alpha, a, &two, &beta, c, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYRK"), 4);
  dsyrk_("U", "N", &two, &one, &alpha, a, &one, &beta, c, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYRK"), 7);
  // syr2k: ldb 9, ldc 12; her2k.
  dsyr2k_("L", "N", &two, &one, &alpha, a, &two, b, &one, &beta, c, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DSYR2K"), 9);
  zher2k_("L", "C", &two, &one, &zalpha, za, &one, za, &one, &rbeta, zc, &one, 1, 1);
  EXPECT_EQ(last_error(cap, "ZHER2K"), 12);
  // gemmt: uplo 1, transb 3, ldb 10, ldc 13.
  dgemmt_("X", "N", "N", &two, &two, &alpha, a, &two, b, &two, &beta, c, &two, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DGEMMT"), 1);
  dgemmt_("U", "N", "Y", &two, &two, &alpha, a, &two, b, &two, &beta, c, &two, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DGEMMT"), 3);
  dgemmt_("U", "N", "T", &two, &two, &alpha, a, &two, b, &one, &beta, c, &two, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DGEMMT"), 10);
  // gemm3m and dzgemm: the gemm positions.
  zgemm3m_("N", "N", &two, &two, &two, &zalpha, za, &one, za, &two, &zbeta, zc, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "ZGEMM3M"), 8);
  dzgemm_("N", "Q", &two, &two, &two, &zalpha, a, &two, za, &two, &zbeta, zc, &two, 1, 1);
  EXPECT_EQ(last_error(cap, "DZGEMM"), 2);
  for (double x : c) EXPECT_EQ(x, 0);
  // The 64-bit twins count the same way.
  std::int64_t n64 = 2, bad64 = 1;
  dtrsm_64_("L", "L", "N", "N", &n64, &n64, &alpha, a, &bad64, b, &n64, 1, 1, 1, 1);
  EXPECT_EQ(last_error(cap, "DTRSM"), 9);
  (void)zero;
}

TEST(Interface, CblasArgumentErrors) {
  MessageCapture cap;
  double a[16] = {}, b[16] = {}, c[16] = {};
  cblas_dtrsm(static_cast<CBLAS_LAYOUT>(5), CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, 2, 2, 1, a, 2, b, 2);
  EXPECT_EQ(last_error(cap, "cblas_dtrsm"), 1);
  cblas_dtrsm(CblasColMajor, static_cast<CBLAS_SIDE>(0), CblasLower, CblasNoTrans, CblasNonUnit, 2, 2, 1, a, 2, b, 2);
  EXPECT_EQ(last_error(cap, "cblas_dtrsm"), 2);
  // Row-major B of 2 x 3 needs ldb >= 3.
  cblas_dtrsm(CblasRowMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, 2, 3, 1, a, 2, b, 2);
  EXPECT_EQ(last_error(cap, "cblas_dtrsm"), 12);
  cblas_dsymm(CblasColMajor, CblasRight, CblasUpper, 2, 3, 1, a, 3, b, 2, 0, c, 1);
  EXPECT_EQ(last_error(cap, "cblas_dsymm"), 13);
  // Row-major syrk with 'N': A is n x k row-major, lda >= k.
  cblas_dsyrk(CblasRowMajor, CblasUpper, CblasNoTrans, 2, 3, 1, a, 2, 0, c, 2);
  EXPECT_EQ(last_error(cap, "cblas_dsyrk"), 8);
  cblas_zherk(CblasColMajor, CblasUpper, CblasTrans, 2, 3, 1, a, 2, 0, c, 2);
  EXPECT_EQ(last_error(cap, "cblas_zherk"), 3);
  cblas_dsyr2k(CblasColMajor, CblasUpper, CblasNoTrans, 2, 3, 1, a, 2, b, 1, 0, c, 2);
  EXPECT_EQ(last_error(cap, "cblas_dsyr2k"), 10);
  cblas_dgemmt(CblasColMajor, CblasUpper, CblasNoTrans, CblasNoTrans, 2, 3, 1, a, 2, b, 2, 0, c, 2);
  EXPECT_EQ(last_error(cap, "cblas_dgemmt"), 11);
  const std::complex<double> one(1);
  cblas_dzgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 2, 2, -1, &one, a, 2, b, 2, &one, c, 2);
  EXPECT_EQ(last_error(cap, "cblas_dzgemm"), 6);
  for (double x : b) EXPECT_EQ(x, 0);
  for (double x : c) EXPECT_EQ(x, 0);
}

// ---- Row-major calls ----------------------------------------------------------------------------

// A row-major call on X must give the transpose of the column-major result
// on X^T, for each routine and its letters.
TEST(Interface, RowMajorMatchesColumnMajor) {
  Rng g(81);
  const int m = 37, n = 23, k = 29;
  // trsm, both sides.
  for (CBLAS_SIDE side : {CblasLeft, CblasRight})
    for (CBLAS_UPLO uplo : {CblasUpper, CblasLower}) {
      const int ka = side == CblasLeft ? m : n;
      const Mat<c64> a = tri_mat<c64>(ka, g);
      const Mat<c64> b0 = random_mat<c64>(m, n, g, 0);
      Mat<c64> want = b0;
      ref_trsm<c64>(side == CblasLeft ? 'L' : 'R', uplo == CblasUpper ? 'U' : 'L', 'C', 'N', c64(2, 1), a, want);
      // Row-major: the same A and B stored transposed.
      const Mat<c64> at = transpose(a);
      Mat<c64> bt = transpose(b0);
      const c64 alpha(2, 1);
      cblas_ztrsm(CblasRowMajor, side, uplo, CblasConjTrans, CblasNonUnit, m, n, &alpha, at.data(),
                  static_cast<int>(at.ld), bt.data(), static_cast<int>(bt.ld));
      EXPECT_LT(rel_diff(transpose(bt), want), 1e-12);
    }
  // symm / hemm.
  for (CBLAS_SIDE side : {CblasLeft, CblasRight}) {
    const int ka = side == CblasLeft ? m : n;
    Mat<c64> a = random_mat<c64>(ka, ka, g);
    for (i64 i = 0; i < ka; ++i) a(i, i) = c64(std::real(a(i, i)), 0);
    const Mat<c64> b = random_mat<c64>(m, n, g), c0 = random_mat<c64>(m, n, g);
    Mat<c64> af(ka, ka);  // Hermitian from the lower triangle
    for (i64 j = 0; j < ka; ++j)
      for (i64 i = 0; i < ka; ++i) af(i, j) = i >= j ? a(i, j) : std::conj(a(j, i));
    const c64 alpha(1, -1), beta(0.5, 0);
    Mat<c64> want = c0;
    if (side == CblasLeft) ref_gemm<c64>('N', 'N', alpha, af, b, beta, want);
    else ref_gemm<c64>('N', 'N', alpha, b, af, beta, want);
    const Mat<c64> at = transpose(a), bt = transpose(b);
    Mat<c64> ct = transpose(c0);
    cblas_zhemm(CblasRowMajor, side, CblasLower, m, n, &alpha, at.data(), static_cast<int>(at.ld), bt.data(),
                static_cast<int>(bt.ld), &beta, ct.data(), static_cast<int>(ct.ld));
    EXPECT_LT(rel_diff(transpose(ct), want), 1e-12);
  }
  // her2k and syrk: compare the lower triangle.
  for (CBLAS_TRANSPOSE tr : {CblasNoTrans, CblasConjTrans}) {
    const bool t = tr != CblasNoTrans;
    const Mat<c64> a = t ? random_mat<c64>(k, n, g) : random_mat<c64>(n, k, g);
    const Mat<c64> b = t ? random_mat<c64>(k, n, g) : random_mat<c64>(n, k, g);
    const c64 alpha(0.5, 2);
    Mat<c64> want(n, n);
    ref_gemm<c64>(t ? 'C' : 'N', t ? 'N' : 'C', alpha, a, b, c64(0), want);
    ref_gemm<c64>(t ? 'C' : 'N', t ? 'N' : 'C', std::conj(alpha), b, a, c64(1), want);
    const Mat<c64> at = transpose(a), bt = transpose(b);
    Mat<c64> ct(n, n);
    cblas_zher2k(CblasRowMajor, CblasLower, tr, n, k, &alpha, at.data(), static_cast<int>(at.ld), bt.data(),
                 static_cast<int>(bt.ld), 0.0, ct.data(), static_cast<int>(ct.ld));
    const Mat<c64> got = transpose(ct);
    double d = 0;
    for (i64 j = 0; j < n; ++j)
      for (i64 i = j; i < n; ++i) d = std::fmax(d, std::abs(got(i, j) - want(i, j)));
    EXPECT_LT(d, 1e-12) << "her2k " << t;
  }
  for (CBLAS_TRANSPOSE tr : {CblasNoTrans, CblasTrans}) {
    const bool t = tr != CblasNoTrans;
    const Mat<float> a = t ? random_mat<float>(k, n, g) : random_mat<float>(n, k, g);
    Mat<float> want(n, n);
    ref_gemm<float>(t ? 'T' : 'N', t ? 'N' : 'T', 1.5f, a, a, 0.0f, want);
    const Mat<float> at = transpose(a);
    Mat<float> ct(n, n);
    cblas_ssyrk(CblasRowMajor, CblasUpper, tr, n, k, 1.5f, at.data(), static_cast<int>(at.ld), 0.0f, ct.data(),
                static_cast<int>(ct.ld));
    const Mat<float> got = transpose(ct);
    double d = 0;
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i <= j; ++i) d = std::fmax(d, std::abs(got(i, j) - want(i, j)));
    EXPECT_LT(d, 1e-4) << "syrk " << t;
  }
  // gemmt, gemm3m and dzgemm (row-major dzgemm runs the real-right twin).
  {
    const Mat<double> a = random_mat<double>(k, n, g), b = random_mat<double>(n, k, g);
    Mat<double> want(n, n);
    ref_gemm<double>('T', 'T', -1.0, a, b, 0.0, want);
    const Mat<double> at = transpose(a), bt = transpose(b);
    Mat<double> ct(n, n);
    cblas_dgemmt(CblasRowMajor, CblasLower, CblasTrans, CblasTrans, n, k, -1.0, at.data(), static_cast<int>(at.ld),
                 bt.data(), static_cast<int>(bt.ld), 0.0, ct.data(), static_cast<int>(ct.ld));
    const Mat<double> got = transpose(ct);
    double d = 0;
    for (i64 j = 0; j < n; ++j)
      for (i64 i = j; i < n; ++i) d = std::fmax(d, std::abs(got(i, j) - want(i, j)));
    EXPECT_LT(d, 1e-12);
  }
  {
    const Mat<c64> a = random_mat<c64>(k, m, g), b = random_mat<c64>(k, n, g), c0 = random_mat<c64>(m, n, g);
    const c64 alpha(1, 1), beta(0, 1);
    Mat<c64> want = c0;
    ref_gemm<c64>('C', 'N', alpha, a, b, beta, want);
    const Mat<c64> at = transpose(a), bt = transpose(b);
    Mat<c64> ct = transpose(c0);
    cblas_zgemm3m(CblasRowMajor, CblasConjTrans, CblasNoTrans, m, n, k, &alpha, at.data(), static_cast<int>(at.ld),
                  bt.data(), static_cast<int>(bt.ld), &beta, ct.data(), static_cast<int>(ct.ld));
    EXPECT_LT(rel_diff(transpose(ct), want), 1e-12);
  }
  for (CBLAS_TRANSPOSE tb : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
    const Mat<double> a = random_mat<double>(m, k, g);
    const Mat<c64> b = tb == CblasNoTrans ? random_mat<c64>(k, n, g) : random_mat<c64>(n, k, g);
    const Mat<c64> c0 = random_mat<c64>(m, n, g);
    const c64 alpha(0.5, -0.5), beta(2, 0);
    const char tl = tb == CblasNoTrans ? 'N' : tb == CblasTrans ? 'T' : 'C';
    Mat<c64> want = c0;
    ref_gemm<c64, double, c64>('N', tl, alpha, a, b, beta, want);
    const Mat<double> at = transpose(a);
    const Mat<c64> bt = transpose(b);
    Mat<c64> ct = transpose(c0);
    cblas_dzgemm(CblasRowMajor, CblasNoTrans, tb, m, n, k, &alpha, at.data(), static_cast<int>(at.ld), bt.data(),
                 static_cast<int>(bt.ld), &beta, ct.data(), static_cast<int>(ct.ld));
    EXPECT_LT(rel_diff(transpose(ct), want), 1e-12) << tl;
    // The Fortran name, 64-bit integers, column-major.
    Mat<c64> c2 = c0;
    const std::int64_t mm = m, nn = n, kk = k, la = a.ld, lb = b.ld, lc = c2.ld;
    dzgemm_64_("N", &tl, &mm, &nn, &kk, &alpha, a.data(), &la, b.data(), &lb, &beta, c2.data(), &lc, 1, 1);
    EXPECT_LT(rel_diff(c2, want), 1e-12) << tl;
  }
}

// ---- Batched products -------------------------------------------------------------------------

// Groups of different letters and shapes, as many products as to run side
// by side and as few as to run one after another; against one reference
// product each.
template <class T>
void check_batch(int per_group, Rng& g) {
  struct Group {
    char ta, tb;
    int m, n, k;
  };
  const Group groups[] = {{'N', 'N', 20, 17, 9}, {'T', 'C', 33, 5, 40}, {'C', 'N', 1, 64, 70}, {'N', 'T', 0, 4, 4}};
  const int G = 4;
  std::vector<Mat<T>> as, bs, cs, want;
  char ta[G], tb[G];
  int m[G], n[G], k[G], lda[G], ldb[G], ldc[G], size[G];
  T alpha[G], beta[G];
  std::vector<const T*> ap, bp;
  std::vector<T*> cp;
  for (int q = 0; q < G; ++q) {
    const Group& gr = groups[q];
    ta[q] = gr.ta, tb[q] = gr.tb, m[q] = gr.m, n[q] = gr.n, k[q] = gr.k, size[q] = per_group + q % 2;
    alpha[q] = from<T>(0.5 + q, -0.25), beta[q] = q == 1 ? T(0) : from<T>(1.5, 0.5);
    lda[q] = (gr.ta == 'N' ? gr.m : gr.k) + 2, ldb[q] = (gr.tb == 'N' ? gr.k : gr.n) + 1, ldc[q] = gr.m + 3;
    for (int s = 0; s < size[q]; ++s) {
      as.push_back(gr.ta == 'N' ? random_mat<T>(gr.m, gr.k, g, 2) : random_mat<T>(gr.k, gr.m, g, 2));
      bs.push_back(gr.tb == 'N' ? random_mat<T>(gr.k, gr.n, g, 1) : random_mat<T>(gr.n, gr.k, g, 1));
      cs.push_back(random_mat<T>(gr.m, gr.n, g, 3));
      want.push_back(cs.back());
      ref_gemm<T>(gr.ta, gr.tb, alpha[q], as.back(), bs.back(), beta[q], want.back());
    }
  }
  for (std::size_t i = 0; i < as.size(); ++i) {
    ap.push_back(as[i].data()), bp.push_back(bs[i].data()), cp.push_back(cs[i].data());
  }
  // Fortran names, 32-bit integers; the scalar types are passed as they are.
  const int count = G;
  if constexpr (std::is_same_v<T, double>) {
    dgemm_batch_(ta, tb, m, n, k, alpha, ap.data(), lda, bp.data(), ldb, beta, cp.data(), ldc, &count, size, 1, 1);
  } else if constexpr (std::is_same_v<T, c32>) {
    cgemm_batch_(ta, tb, m, n, k, alpha, reinterpret_cast<const void**>(ap.data()), lda,
                 reinterpret_cast<const void**>(bp.data()), ldb, beta, reinterpret_cast<void**>(cp.data()), ldc,
                 &count, size, 1, 1);
  }
  for (std::size_t i = 0; i < cs.size(); ++i) EXPECT_LT(rel_diff(cs[i], want[i]), 1e-4) << "product " << i;
}

TEST(Batch, GroupsSideBySideAndInTurn) {
  Rng g(91);
  check_batch<double>(1, g);  // fewer products than threads: one after another
  check_batch<double>(5, g);  // many: side by side
  check_batch<c32>(3, g);
}

// A bad group anywhere stops the whole batch before any product.
TEST(Batch, BadGroupChangesNothing) {
  MessageCapture cap;
  double a[4] = {1, 1, 1, 1}, b[4] = {1, 1, 1, 1}, c1[4] = {5, 5, 5, 5}, c2[4] = {5, 5, 5, 5};
  const double* ap[2] = {a, a};
  const double* bp[2] = {b, b};
  double* cp[2] = {c1, c2};
  const CBLAS_TRANSPOSE t[2] = {CblasNoTrans, CblasNoTrans};
  const int m[2] = {2, 2}, n[2] = {2, 2}, k[2] = {2, 2}, lda[2] = {2, 2}, ldb[2] = {2, 2}, ldc[2] = {2, 1};
  const int size[2] = {1, 1};
  const double alpha[2] = {1, 1}, beta[2] = {0, 0};
  cblas_dgemm_batch(CblasColMajor, t, t, m, n, k, alpha, ap, lda, bp, ldb, beta, cp, ldc, 2, size);
  EXPECT_EQ(last_error(cap, "cblas_dgemm_batch"), 14);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(c1[i], 5);
  const int neg[2] = {1, -1};
  cblas_dgemm_batch(CblasColMajor, t, t, m, n, k, alpha, ap, lda, bp, ldb, beta, cp, lda, 2, neg);
  EXPECT_EQ(last_error(cap, "cblas_dgemm_batch"), 16);
  cblas_dgemm_batch(CblasColMajor, t, t, m, n, k, alpha, ap, lda, bp, ldb, beta, cp, lda, -1, size);
  EXPECT_EQ(last_error(cap, "cblas_dgemm_batch"), 15);
  // Strided: overlapping C matrices are refused.
  cblas_dgemm_batch_strided(CblasColMajor, CblasNoTrans, CblasNoTrans, 2, 2, 2, 1, a, 2, 0, b, 2, 0, 0, c1, 2, 2, 2);
  EXPECT_EQ(last_error(cap, "cblas_dgemm_batch_strided"), 17);
  const int two = 2, zero = 0, stride3 = 3;
  const double one = 1, z = 0;
  dgemm_batch_strided_("N", "N", &two, &two, &two, &one, a, &two, &zero, b, &two, &zero, &z, c1, &two, &stride3, &two,
                       1, 1);
  EXPECT_EQ(last_error(cap, "DGEMM_BATCH_STRIDED"), 16);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(c1[i], 5);
}

// Strided batches, both layouts, shared A (stride 0).
TEST(Batch, Strided) {
  Rng g(97);
  const int m = 13, n = 11, k = 7, count = 6;
  const Mat<c64> a = random_mat<c64>(m, k, g, 0);
  Mat<c64> bs = random_mat<c64>(k, n * count, g, 0);
  Mat<c64> cs = random_mat<c64>(m, n * count, g, 0);
  Mat<c64> want = cs;
  const c64 alpha(1, 2), beta(0.5, 0);
  for (int i = 0; i < count; ++i) {
    Mat<c64> b(k, n, 0), c(m, n, 0);
    for (int j = 0; j < n; ++j)
      for (int r = 0; r < k; ++r) b(r, j) = bs(r, i * n + j);
    for (int j = 0; j < n; ++j)
      for (int r = 0; r < m; ++r) c(r, j) = cs(r, i * n + j);
    ref_gemm<c64>('N', 'N', alpha, a, b, beta, c);
    for (int j = 0; j < n; ++j)
      for (int r = 0; r < m; ++r) want(r, i * n + j) = c(r, j);
  }
  Mat<c64> got = cs;
  cblas_zgemm_batch_strided(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &alpha, a.data(), m, 0, bs.data(), k,
                            k * n, &beta, got.data(), m, m * n, count);
  EXPECT_LT(rel_diff(got, want), 1e-12);
  // The same in row-major: each C^T = B^T A^T with the arrays read as
  // row-major transposes.
  Mat<c64> got2 = cs;
  cblas_zgemm_batch_strided_64(CblasRowMajor, CblasNoTrans, CblasNoTrans, n, m, k, &alpha, bs.data(), k, k * n,
                               a.data(), m, 0, &beta, got2.data(), m, m * n, count);
  EXPECT_LT(rel_diff(got2, want), 1e-12);
}

// Quick returns of the reference routines change nothing.
TEST(Interface, QuickReturns) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double a[4] = {nan, nan, nan, nan}, b[4] = {1, 2, 3, 4}, c[4] = {nan, 1, 2, nan};
  cblas_dtrsm(CblasColMajor, CblasRight, CblasLower, CblasNoTrans, CblasNonUnit, 0, 2, 1, a, 2, b, 1);
  cblas_dsyrk(CblasColMajor, CblasUpper, CblasNoTrans, 2, 2, 0, a, 2, 1, c, 2);
  cblas_dsymm(CblasColMajor, CblasLeft, CblasUpper, 2, 2, 0, a, 2, a, 2, 1, c, 2);
  EXPECT_EQ(b[0], 1);
  EXPECT_EQ(b[3], 4);
  EXPECT_TRUE(c[0] != c[0]);
  EXPECT_EQ(c[1], 1);
}

}  // namespace
}  // namespace l3t
