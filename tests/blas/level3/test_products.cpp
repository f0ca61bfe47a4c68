// The Level 3 products beside the solve against their definitions: trmm,
// symm and hemm, the triangle updates (syrk, herk, syr2k, her2k, gemmt),
// gemm3m and the real-complex products. Sizes on both sides of the leaf and
// block cuts, alpha and beta special values, the untouched triangle, failed
// allocations.
#include <cmath>
#include <string>

#include "ref.h"

namespace l3t {
namespace {

using qor::test::AllocWatch;
using qor::test::MessageCapture;
using qor::test::Rng;

template <class T>
double tol(i64 k) {
  return 40.0 * eps<T>() * std::sqrt(static_cast<double>(k > 1 ? k : 1));
}

template <class T>
T nan_of() {
  const R<T> q = std::numeric_limits<R<T>>::quiet_NaN();
  return from<T>(q, q);
}

// ---- trmm ----------------------------------------------------------------------------

template <class T>
class Trmm : public ::testing::Test {};
TYPED_TEST_SUITE(Trmm, AllTypes);

TYPED_TEST(Trmm, EveryCombination) {
  using T = TypeParam;
  Rng g(21);
  // Sizes across one and several leaves, and B wider (left) or taller
  // (right) than one slab of the leaf copies.
  const i64 sizes[][2] = {{1, 1}, {7, 5}, {65, 33}, {130, 97}, {97, 200}, {40, 300}, {300, 40}};
  int count = 0;
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (char trans : {'N', 'T', 'C'})
        for (char diag : {'N', 'U'})
          for (auto& s : sizes) {
            const bool lc = (count++ % 4) == 2;
            auto L = [&](char c) { return lc ? static_cast<char>(c | 0x20) : c; };
            const i64 m = s[0], n = s[1], k = side == 'L' ? m : n;
            const Mat<T> a = random_mat<T>(k, k, g);
            Mat<T> b = random_mat<T>(m, n, g), want = b;
            const Mat<T> before = b;
            const T alpha = count % 3 ? from<T>(1) : from<T>(0.5, -2);
            ref_trmm(side, uplo, trans, diag, alpha, a, want);
            const char sd = L(side), ul = L(uplo), tr = L(trans), dg = L(diag);
            const i64 lda = a.ld, ldb = b.ld;
            Calls<T>::trmm(&sd, &ul, &tr, &dg, &m, &n, &alpha, a.data(), &lda, b.data(), &ldb);
            SCOPED_TRACE(std::string() + side + uplo + trans + diag + " " + std::to_string(m) + "x" + std::to_string(n));
            EXPECT_LT(rel_diff(b, want), tol<T>(k));
            EXPECT_TRUE(padding_same(b, before));
          }
}

// alpha 0 clears B without reading A.
TYPED_TEST(Trmm, AlphaZero) {
  using T = TypeParam;
  Mat<T> a(20, 20), b(20, 30);
  for (auto& x : a.v) x = nan_of<T>();
  for (auto& x : b.v) x = nan_of<T>();
  const T alpha(0);
  const i64 m = 20, n = 30, lda = a.ld, ldb = b.ld;
  Calls<T>::trmm("L", "U", "N", "N", &m, &n, &alpha, a.data(), &lda, b.data(), &ldb);
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < m; ++i) ASSERT_EQ(b(i, j), T(0));
}

// ---- symm, hemm ---------------------------------------------------------------------------

// The full matrix of a symmetric or Hermitian A stored in one triangle; the
// other triangle of `a` holds garbage that must not be read.
template <class T>
Mat<T> full_sym(const Mat<T>& a, char uplo, bool herm) {
  Mat<T> f(a.rows, a.cols);
  const bool lower = (uplo & 0xDF) == 'L';
  for (i64 j = 0; j < a.cols; ++j)
    for (i64 i = 0; i < a.rows; ++i) {
      if (i == j) {
        f(i, j) = herm ? T(std::real(a(i, i))) : a(i, i);
      } else if (lower == (i > j)) {
        f(i, j) = a(i, j);
      } else {
        f(i, j) = herm ? cj(a(j, i)) : a(j, i);
      }
    }
  return f;
}

template <class T, class Call>
void check_symm(bool herm, Call call, Rng& g, bool quick = false) {
  const i64 sizes[][2] = {{1, 1}, {5, 7}, {257, 40}, {40, 260}};
  for (char side : {'L', 'R'})
    for (char uplo : {'U', 'L'})
      for (auto& s : sizes)
        for (int variant = 0; variant < (quick ? 1 : 3); ++variant) {
          const i64 m = s[0], n = s[1], k = side == 'L' ? m : n;
          Mat<T> a = random_mat<T>(k, k, g);
          const Mat<T> b = random_mat<T>(m, n, g);
          Mat<T> c = random_mat<T>(m, n, g);
          T alpha = from<T>(0.75, 0.25), beta = from<T>(-0.5, 1);
          if (variant == 1) {  // beta 0 clears NaN in C
            beta = T(0);
            for (auto& x : c.v) x = nan_of<T>();
          }
          if (variant == 2) alpha = T(0);
          const Mat<T> af = full_sym(a, uplo, herm);
          Mat<T> want = c;
          if (side == 'L') {
            ref_gemm<T>('N', 'N', alpha, af, b, beta, want);
          } else {
            ref_gemm<T>('N', 'N', alpha, b, af, beta, want);
          }
          const char sd = side, ul = uplo;
          const i64 lda = a.ld, ldb = b.ld, ldc = c.ld;
          call(&sd, &ul, &m, &n, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
          SCOPED_TRACE(std::string() + side + uplo + " " + std::to_string(m) + "x" + std::to_string(n) + " variant " +
                       std::to_string(variant));
          EXPECT_LT(rel_diff(c, want), tol<T>(k));
        }
}

template <class T>
class Symm : public ::testing::Test {};
TYPED_TEST_SUITE(Symm, AllTypes);
TYPED_TEST(Symm, AgainstDefinition) {
  Rng g(31);
  check_symm<TypeParam>(false, Calls<TypeParam>::symm, g);
}

template <class T>
class Complex : public ::testing::Test {};
TYPED_TEST_SUITE(Complex, ComplexTypes);
TYPED_TEST(Complex, HemmAgainstDefinition) {
  Rng g(37);
  check_symm<TypeParam>(true, ComplexCalls<TypeParam>::hemm, g);
}

// ---- Triangle updates ------------------------------------------------------------------------

// Checks the uplo triangle of `got` against `want` and that the other
// triangle still equals `orig`.
template <class T>
void check_triangle(const Mat<T>& got, const Mat<T>& want, const Mat<T>& orig, char uplo, double tolerance,
                    bool herm) {
  const bool lower = (uplo & 0xDF) == 'L';
  Mat<T> tri_got = want, tri_want = want;
  for (i64 j = 0; j < got.cols; ++j)
    for (i64 i = 0; i < got.rows; ++i) {
      const bool in = lower ? i >= j : i <= j;
      if (in) {
        tri_got(i, j) = got(i, j);
      } else {
        ASSERT_TRUE(got(i, j) == orig(i, j) || (got(i, j) != got(i, j) && orig(i, j) != orig(i, j)))
            << "outside the triangle at " << i << "," << j;
      }
      if (herm && i == j) {
        ASSERT_EQ(std::imag(got(i, i)), 0) << "Hermitian diagonal at " << i;
      }
    }
  EXPECT_LT(rel_diff(tri_got, tri_want), tolerance);
}

// Runs one triangle update over the letters and sizes. `prod` computes the
// full reference, `call` the routine; both get the trans letter and the
// alpha, beta variant.
template <class T, class Ref, class Call>
void check_update(const char* transes, bool herm, Ref ref, Call call, Rng& g, bool quick = false) {
  const i64 sizes[][2] = {{1, 1}, {5, 0}, {33, 1}, {100, 37}, {200, 64}, {97, 150}};
  for (char uplo : {'U', 'L'})
    for (const char* tp = transes; *tp; ++tp)
      for (auto& s : sizes)
        for (int variant = 0; variant < 3; ++variant) {
          const i64 n = s[0], k = s[1];
          if (quick && (variant > 0 || n < 33 || n > 100)) continue;
          Mat<T> c = random_mat<T>(n, n, g);
          if (herm)
            for (i64 i = 0; i < n; ++i) c(i, i) = from<T>(std::real(c(i, i)), 0.25);  // the call drops it
          T alpha = from<T>(1.25, herm ? 0.0 : 0.5), beta = from<T>(0.5, 0);
          if (variant == 1) {
            beta = T(0);
            for (auto& x : c.v) x = nan_of<T>();
          }
          if (variant == 2) alpha = T(0), beta = from<T>(2, 0);
          const Mat<T> orig = c;
          Mat<T> want = c;
          ref(*tp, n, k, alpha, beta, want, g);
          call(uplo, *tp, n, k, alpha, beta, c);
          if (herm && variant != 2 && n > 0)
            for (i64 i = 0; i < n; ++i) want(i, i) = T(std::real(want(i, i)));
          if (herm && variant == 2)
            for (i64 i = 0; i < n; ++i) want(i, i) = T(std::real(want(i, i)));
          SCOPED_TRACE(std::string() + uplo + *tp + " n " + std::to_string(n) + " k " + std::to_string(k) +
                       " variant " + std::to_string(variant));
          check_triangle(c, want, orig, uplo, tol<T>(k) * 2, herm);
        }
}

template <class T>
class Updates : public ::testing::Test {};
TYPED_TEST_SUITE(Updates, AllTypes);

// The operands of one update, drawn by the reference and reused by the call.
template <class T>
struct Operands {
  Mat<T> a, b;
};

TYPED_TEST(Updates, Syrk) {
  using T = TypeParam;
  Rng g(41);
  Operands<T> ops;
  auto ref = [&](char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c, Rng& r) {
    const bool t = tr != 'N';
    ops.a = random_mat<T>(t ? k : n, t ? n : k, r);
    ref_gemm<T>(t ? 'T' : 'N', t ? 'N' : 'T', alpha, ops.a, ops.a, beta, c);
  };
  auto call = [&](char uplo, char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c) {
    const i64 lda = ops.a.ld, ldc = c.ld;
    Calls<T>::syrk(&uplo, &tr, &n, &k, &alpha, ops.a.data(), &lda, &beta, c.data(), &ldc);
  };
  check_update<T>(cplx<T> ? "NT" : "NTC", false, ref, call, g);
}

TYPED_TEST(Updates, Syr2k) {
  using T = TypeParam;
  Rng g(43);
  Operands<T> ops;
  auto ref = [&](char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c, Rng& r) {
    const bool t = tr != 'N';
    ops.a = random_mat<T>(t ? k : n, t ? n : k, r);
    ops.b = random_mat<T>(t ? k : n, t ? n : k, r);
    ref_gemm<T>(t ? 'T' : 'N', t ? 'N' : 'T', alpha, ops.a, ops.b, beta, c);
    ref_gemm<T>(t ? 'T' : 'N', t ? 'N' : 'T', alpha, ops.b, ops.a, T(1), c);
  };
  auto call = [&](char uplo, char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c) {
    const i64 lda = ops.a.ld, ldb = ops.b.ld, ldc = c.ld;
    Calls<T>::syr2k(&uplo, &tr, &n, &k, &alpha, ops.a.data(), &lda, ops.b.data(), &ldb, &beta, c.data(), &ldc);
  };
  check_update<T>(cplx<T> ? "NT" : "NT", false, ref, call, g);
}

TYPED_TEST(Updates, Gemmt) {
  using T = TypeParam;
  Rng g(47);
  const char ops_letters[] = {'N', 'T', 'C'};
  for (char ta : ops_letters)
    for (char tb : ops_letters) {
      Operands<T> ops;
      auto ref = [&](char, i64 n, i64 k, T alpha, T beta, Mat<T>& c, Rng& r) {
        ops.a = ta == 'N' ? random_mat<T>(n, k, r) : random_mat<T>(k, n, r);
        ops.b = tb == 'N' ? random_mat<T>(k, n, r) : random_mat<T>(n, k, r);
        ref_gemm<T>(ta, tb, alpha, ops.a, ops.b, beta, c);
      };
      auto call = [&](char uplo, char, i64 n, i64 k, T alpha, T beta, Mat<T>& c) {
        const i64 lda = ops.a.ld, ldb = ops.b.ld, ldc = c.ld;
        Calls<T>::gemmt(&uplo, &ta, &tb, &n, &k, &alpha, ops.a.data(), &lda, ops.b.data(), &ldb, &beta, c.data(),
                        &ldc);
      };
      SCOPED_TRACE(std::string("gemmt ") + ta + tb);
      // Every size and special value for three of the pairs, the others
      // on two sizes.
      const bool full = (ta == 'N' && tb == 'N') || (ta == 'T' && tb == 'C') || (ta == 'C' && tb == 'T');
      check_update<T>("N", false, ref, call, g, !full);
    }
}

TYPED_TEST(Complex, Herk) {
  using T = TypeParam;
  Rng g(53);
  Operands<T> ops;
  auto ref = [&](char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c, Rng& r) {
    const bool t = tr != 'N';
    ops.a = random_mat<T>(t ? k : n, t ? n : k, r);
    ref_gemm<T>(t ? 'C' : 'N', t ? 'N' : 'C', alpha, ops.a, ops.a, beta, c);
  };
  auto call = [&](char uplo, char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c) {
    const i64 lda = ops.a.ld, ldc = c.ld;
    const R<T> ra = std::real(alpha), rb = std::real(beta);
    ComplexCalls<T>::herk(&uplo, &tr, &n, &k, &ra, ops.a.data(), &lda, &rb, c.data(), &ldc);
  };
  check_update<T>("NC", true, ref, call, g);
}

TYPED_TEST(Complex, Her2k) {
  using T = TypeParam;
  Rng g(59);
  Operands<T> ops;
  auto ref = [&](char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c, Rng& r) {
    const bool t = tr != 'N';
    ops.a = random_mat<T>(t ? k : n, t ? n : k, r);
    ops.b = random_mat<T>(t ? k : n, t ? n : k, r);
    const T a2 = alpha * from<T>(1, 0) + from<T>(0, 0.5) * (alpha == T(0) ? T(0) : T(1));
    ref_gemm<T>(t ? 'C' : 'N', t ? 'N' : 'C', a2, ops.a, ops.b, beta, c);
    ref_gemm<T>(t ? 'C' : 'N', t ? 'N' : 'C', cj(a2), ops.b, ops.a, T(1), c);
  };
  auto call = [&](char uplo, char tr, i64 n, i64 k, T alpha, T beta, Mat<T>& c) {
    const i64 lda = ops.a.ld, ldb = ops.b.ld, ldc = c.ld;
    const T a2 = alpha * from<T>(1, 0) + from<T>(0, 0.5) * (alpha == T(0) ? T(0) : T(1));
    const R<T> rb = std::real(beta);
    ComplexCalls<T>::her2k(&uplo, &tr, &n, &k, &a2, ops.a.data(), &lda, ops.b.data(), &ldb, &rb, c.data(), &ldc);
  };
  check_update<T>("NC", true, ref, call, g);
}

// ---- gemm3m and the real-complex products ----------------------------------------------------

TYPED_TEST(Complex, Gemm3m) {
  using T = TypeParam;
  Rng g(61);
  const char ops_letters[] = {'N', 'T', 'C'};
  const i64 shapes[][3] = {{1, 1, 1}, {7, 9, 5}, {300, 70, 260}, {40, 270, 100}};
  for (char ta : ops_letters)
    for (char tb : ops_letters)
      for (auto& s : shapes) {
        const i64 m = s[0], n = s[1], k = s[2];
        const Mat<T> a = ta == 'N' ? random_mat<T>(m, k, g) : random_mat<T>(k, m, g);
        const Mat<T> b = tb == 'N' ? random_mat<T>(k, n, g) : random_mat<T>(n, k, g);
        Mat<T> c = random_mat<T>(m, n, g), want = c;
        const T alpha = from<T>(0.5, -1), beta = from<T>(2, 0.5);
        ref_gemm<T>(ta, tb, alpha, a, b, beta, want);
        const i64 lda = a.ld, ldb = b.ld, ldc = c.ld;
        ComplexCalls<T>::gemm3m(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
        SCOPED_TRACE(std::string() + ta + tb + " " + std::to_string(m) + "x" + std::to_string(n) + "x" +
                     std::to_string(k));
        EXPECT_LT(rel_diff(c, want), 4 * tol<T>(k));
      }
}

template <class T, class Call>
void check_mixed(Call call, Rng& g) {
  using Re = R<T>;
  const i64 shapes[][3] = {{1, 1, 1}, {7, 9, 5}, {300, 70, 260}, {40, 270, 100}};
  for (char ta : {'N', 'T'})
    for (char tb : {'N', 'T', 'C'})
      for (auto& s : shapes) {
        const i64 m = s[0], n = s[1], k = s[2];
        const Mat<Re> a = ta == 'N' ? random_mat<Re>(m, k, g) : random_mat<Re>(k, m, g);
        const Mat<T> b = tb == 'N' ? random_mat<T>(k, n, g) : random_mat<T>(n, k, g);
        Mat<T> c = random_mat<T>(m, n, g), want = c;
        const T alpha = from<T>(-1, 0.5), beta = from<T>(0.25, -1);
        ref_gemm<T, Re, T>(ta, tb, alpha, a, b, beta, want);
        const i64 lda = a.ld, ldb = b.ld, ldc = c.ld;
        call(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
        SCOPED_TRACE(std::string() + ta + tb + " " + std::to_string(m) + "x" + std::to_string(n) + "x" +
                     std::to_string(k));
        EXPECT_LT(rel_diff(c, want), tol<T>(k));
      }
}

TEST(Mixed, RealTimesComplex) {
  Rng g(67);
  check_mixed<c32>(&qor_blas_scgemm, g);
  check_mixed<c64>(&qor_blas_dzgemm, g);
}

// ---- Every processor path, failed allocations ----------------------------------------------------

// The products run through the GEMM body of each path; and with every
// allocation refused through the plain fallbacks, with the same results.
TEST(Products, PathsAndFailedAllocations) {
  auto body = [](int) {
    Rng g(71);
    check_symm<double>(false, Calls<double>::symm, g, true);
    const i64 m = 150, n = 131;
    const Mat<c64> a = random_mat<c64>(m, m, g);
    Mat<c64> b = random_mat<c64>(m, n, g), want = b;
    ref_trmm<c64>('L', 'L', 'C', 'N', c64(1), a, want);
    const i64 lda = a.ld, ldb = b.ld;
    const c64 one(1);
    qor_blas_ztrmm("L", "L", "C", "N", &m, &n, &one, a.data(), &lda, b.data(), &ldb);
    EXPECT_LT(rel_diff(b, want), tol<c64>(m));
  };
  qor::test::on_every_path(body);
  MessageCapture capture;
  AllocWatch watch;
  qor_fault_fail_after(QOR_POOL_BOTH, 0);
  body(0);
  Rng g(73);
  Operands<double> ops;
  check_update<double>(
      "NT", false,
      [&](char tr, i64 n, i64 k, double alpha, double beta, Mat<double>& c, Rng& r) {
        const bool t = tr != 'N';
        ops.a = random_mat<double>(t ? k : n, t ? n : k, r);
        ref_gemm<double>(t ? 'T' : 'N', t ? 'N' : 'T', alpha, ops.a, ops.a, beta, c);
      },
      [&](char uplo, char tr, i64 n, i64 k, double alpha, double beta, Mat<double>& c) {
        const i64 lda = ops.a.ld, ldc = c.ld;
        qor_blas_dsyrk(&uplo, &tr, &n, &k, &alpha, ops.a.data(), &lda, &beta, c.data(), &ldc);
      },
      g, true);
  check_mixed<c64>(&qor_blas_dzgemm, g);
  qor_fault_reset();
  // Only the first request refused: symm loses its depth panel but keeps
  // the square of its block fallback.
  for (char side : {'L', 'R'}) {
    const i64 m = 300, n = 270, k = side == 'L' ? m : n;
    const Mat<double> a = random_mat<double>(k, k, g), b = random_mat<double>(m, n, g);
    Mat<double> c = random_mat<double>(m, n, g), want = c;
    const double alpha = 0.5, beta = -1;
    const Mat<double> af = full_sym(a, 'U', false);
    if (side == 'L') {
      ref_gemm<double>('N', 'N', alpha, af, b, beta, want);
    } else {
      ref_gemm<double>('N', 'N', alpha, b, af, beta, want);
    }
    const i64 lda = a.ld, ldb = b.ld, ldc = c.ld;
    qor_fault_fail_next(QOR_POOL_BOTH, 1);
    qor_blas_dsymm(&side, "U", &m, &n, &alpha, a.data(), &lda, b.data(), &ldb, &beta, c.data(), &ldc);
    EXPECT_LT(rel_diff(c, want), tol<double>(k)) << side;
  }
  qor_fault_reset();
  EXPECT_GT(watch.failures(), 0);
}

}  // namespace
}  // namespace l3t
