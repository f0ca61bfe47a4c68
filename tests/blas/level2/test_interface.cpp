// The public Level 2 interfaces: the argument tests of the Fortran names
// (32- and 64-bit integers) and of CBLAS, reported by number with nothing
// touched; and row-major CBLAS calls against the column-major call on the
// same matrix stored the other way, for every storage form and letter.
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <functional>
#include <string>

#include "calls.h"
#include "qor/blas.h"
#include "qor/cblas.h"

using namespace l2t;

namespace {

// Runs call and expects exactly one argument error naming `routine` and
// argument `number`, and the watched array unchanged.
void expect_error(const char* routine, int number, const std::function<void()>& call, const std::vector<double>& y) {
  SCOPED_TRACE(std::string(routine) + " argument " + std::to_string(number));
  auto before = y;
  qor::test::MessageCapture capture;
  call();
  ASSERT_EQ(capture.count(QOR_MSG_ARGUMENT_ERROR), 1);
  const auto& e = capture.entries().back();
  EXPECT_EQ(e.routine, routine);
  // Fortran messages give the number right-aligned in two places, CBLAS
  // ones as "Parameter <n>".
  const std::string n2 = (number < 10 ? " " : "") + std::to_string(number);
  const bool fortran = routine[0] != 'c';
  EXPECT_NE(e.text.find(fortran ? "number " + n2 : "Parameter " + std::to_string(number)), std::string::npos)
      << e.text;
  EXPECT_EQ(std::memcmp(before.data(), y.data(), y.size() * sizeof(double)), 0);
}

template <class Int>
void fortran_errors() {
  std::vector<double> a(64, 1.0), x(16, 1.0), y(16, 2.0);
  double al = 1, be = 0;
  const Int n4 = 4, n3 = 3, neg = -1, zero = 0, one = 1, two = 2;
  auto gemv = [&](const char* t, Int m, Int n, Int lda, Int ix, Int iy) {
    return [=, &a, &x, &y, &al, &be] {
      if constexpr (sizeof(Int) == 4) {
        dgemv_(t, &m, &n, &al, a.data(), &lda, x.data(), &ix, &be, y.data(), &iy, 1);
      } else {
        dgemv_64_(t, &m, &n, &al, a.data(), &lda, x.data(), &ix, &be, y.data(), &iy, 1);
      }
    };
  };
  expect_error("DGEMV", 1, gemv("Q", n4, n4, n4, one, one), y);
  expect_error("DGEMV", 2, gemv("N", neg, n4, n4, one, one), y);
  expect_error("DGEMV", 3, gemv("t", n4, neg, n4, one, one), y);
  expect_error("DGEMV", 6, gemv("c", n4, n4, n3, one, one), y);
  expect_error("DGEMV", 8, gemv("N", n4, n4, n4, zero, one), y);
  expect_error("DGEMV", 11, gemv("N", n4, n4, n4, one, zero), y);
  if constexpr (sizeof(Int) == 4) {
    auto gb = [&](const char* t, Int kl, Int ku, Int lda) {
      return [=, &a, &x, &y, &al, &be] {
        dgbmv_(t, &n4, &n4, &kl, &ku, &al, a.data(), &lda, x.data(), &one, &be, y.data(), &one, 1);
      };
    };
    expect_error("DGBMV", 1, gb("Z", one, one, n3), y);
    expect_error("DGBMV", 4, gb("N", neg, one, n3), y);
    expect_error("DGBMV", 5, gb("N", one, neg, n3), y);
    expect_error("DGBMV", 8, gb("N", one, one, two), y);
    auto sy = [&](const char* u, Int n, Int lda, Int ix) {
      return [=, &a, &x, &y, &al, &be] { dsymv_(u, &n, &al, a.data(), &lda, x.data(), &ix, &be, y.data(), &one, 1); };
    };
    expect_error("DSYMV", 1, sy("N", n4, n4, one), y);
    expect_error("DSYMV", 2, sy("U", neg, n4, one), y);
    expect_error("DSYMV", 5, sy("l", n4, n3, one), y);
    expect_error("DSYMV", 7, sy("L", n4, n4, zero), y);
    expect_error("DSBMV", 3, [&] { dsbmv_("U", &n4, &neg, &al, a.data(), &n4, x.data(), &one, &be, y.data(), &one, 1); },
                 y);
    expect_error("DSBMV", 6, [&] { dsbmv_("U", &n4, &two, &al, a.data(), &two, x.data(), &one, &be, y.data(), &one, 1); },
                 y);
    expect_error("DSPMV", 9, [&] { dspmv_("U", &n4, &al, a.data(), x.data(), &one, &be, y.data(), &zero, 1); }, y);
    expect_error("DTRMV", 1, [&] { dtrmv_("X", "N", "N", &n4, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTRMV", 2, [&] { dtrmv_("U", "X", "N", &n4, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTRSV", 3, [&] { dtrsv_("U", "N", "X", &n4, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTRSV", 4, [&] { dtrsv_("U", "N", "N", &neg, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTRSV", 6, [&] { dtrsv_("U", "N", "N", &n4, a.data(), &n3, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTRMV", 8, [&] { dtrmv_("L", "T", "U", &n4, a.data(), &n4, y.data(), &zero, 1, 1, 1); }, y);
    expect_error("DTBMV", 5, [&] { dtbmv_("L", "T", "U", &n4, &neg, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTBSV", 7, [&] { dtbsv_("L", "T", "U", &n4, &two, a.data(), &two, y.data(), &one, 1, 1, 1); }, y);
    expect_error("DTBSV", 9, [&] { dtbsv_("L", "T", "U", &n4, &two, a.data(), &n3, y.data(), &zero, 1, 1, 1); }, y);
    expect_error("DTPMV", 7, [&] { dtpmv_("U", "C", "N", &n4, a.data(), y.data(), &zero, 1, 1, 1); }, y);
    expect_error("DTPSV", 4, [&] { dtpsv_("U", "C", "N", &neg, a.data(), y.data(), &one, 1, 1, 1); }, y);
    expect_error("DGER", 1, [&] { dger_(&neg, &n4, &al, x.data(), &one, x.data(), &one, y.data(), &n4); }, y);
    expect_error("DGER", 7, [&] { dger_(&n4, &n4, &al, x.data(), &one, x.data(), &zero, y.data(), &n4); }, y);
    expect_error("DGER", 9, [&] { dger_(&n4, &n4, &al, x.data(), &one, x.data(), &one, y.data(), &n3); }, y);
    expect_error("DSYR", 7, [&] { dsyr_("U", &n4, &al, x.data(), &one, y.data(), &n3, 1); }, y);
    expect_error("DSPR", 5, [&] { dspr_("U", &n4, &al, x.data(), &zero, y.data(), 1); }, y);
    expect_error("DSYR2", 1, [&] { dsyr2_("?", &n4, &al, x.data(), &one, x.data(), &one, y.data(), &n4, 1); }, y);
    expect_error("DSYR2", 9, [&] { dsyr2_("L", &n4, &al, x.data(), &one, x.data(), &one, y.data(), &n3, 1); }, y);
    expect_error("DSPR2", 7, [&] { dspr2_("L", &n4, &al, x.data(), &one, x.data(), &zero, y.data(), 1); }, y);
    expect_error("DGEM2VU", 5, [&] {
      dgem2vu_(&n4, &n4, &al, a.data(), &n3, x.data(), &one, x.data(), &one, &be, y.data(), &one, y.data(), &one);
    }, y);
    // Complex names report under their own names.
    std::vector<double> z(64, 1.0);
    expect_error("ZHEMV", 10, [&] {
      zhemv_("U", &n4, z.data(), z.data(), &n4, z.data(), &one, z.data(), y.data(), &zero, 1);
    }, y);
    expect_error("ZGERC", 2, [&] { zgerc_(&n4, &neg, z.data(), z.data(), &one, z.data(), &one, y.data(), &n4); }, y);
    expect_error("ZHER", 2, [&] { zher_("U", &neg, &al, z.data(), &one, y.data(), &n4, 1); }, y);
    expect_error("ZDZGEMV"[0] == 'Z' ? "DZGEMV" : "", 6, [&] {
      dzgemv_("N", &n4, &n4, z.data(), a.data(), &n3, z.data(), &one, z.data(), y.data(), &one, 1);
    }, y);
  } else {
    expect_error("ZTRSV", 3, [&] { ztrsv_64_("U", "N", "Q", &n4, a.data(), &n4, y.data(), &one, 1, 1, 1); }, y);
    expect_error("CHPR2", 5, [&] { chpr2_64_("U", &n4, x.data(), x.data(), &zero, x.data(), &one, y.data(), 1); }, y);
  }
}

}  // namespace

TEST(Interface, FortranArgumentChecks) {
  fortran_errors<int>();
  fortran_errors<std::int64_t>();
  // A valid call reports nothing.
  qor::test::MessageCapture capture;
  std::vector<double> a(16, 1.0), x(4, 1.0), y(4, 0.0);
  int n = 4, one = 1;
  double al = 1, be = 0;
  dgemv_("n", &n, &n, &al, a.data(), &n, x.data(), &one, &be, y.data(), &one, 1);
  EXPECT_EQ(capture.count(QOR_MSG_ARGUMENT_ERROR), 0);
  EXPECT_EQ(y[0], 4.0);
}

TEST(Interface, CblasArgumentChecks) {
  std::vector<double> a(64, 1.0), x(16, 1.0), y(16, 2.0), z(64, 1.0);
  const auto R = CblasRowMajor, C = CblasColMajor;
  const auto N = CblasNoTrans;
  expect_error("cblas_dgemv", 1, [&] { cblas_dgemv(CBLAS_LAYOUT(7), N, 4, 4, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 2, [&] { cblas_dgemv(C, CBLAS_TRANSPOSE(3), 4, 4, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 3, [&] { cblas_dgemv(C, N, -1, 4, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 4, [&] { cblas_dgemv_64(R, N, 4, -2, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  // lda is measured against m in column-major order and against n in row-major.
  expect_error("cblas_dgemv", 7, [&] { cblas_dgemv(C, N, 5, 3, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 7, [&] { cblas_dgemv(R, N, 3, 5, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 9, [&] { cblas_dgemv(R, N, 3, 3, 1, a.data(), 4, x.data(), 0, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 12, [&] { cblas_dgemv(R, N, 3, 3, 1, a.data(), 4, x.data(), 1, 0, y.data(), 0); }, y);
  expect_error("cblas_dgbmv", 9, [&] { cblas_dgbmv(C, N, 4, 4, 1, 2, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgbmv", 14, [&] { cblas_dgbmv(C, N, 4, 4, 1, 2, 1, a.data(), 4, x.data(), 1, 0, y.data(), 0); }, y);
  expect_error("cblas_dsymv", 2, [&] { cblas_dsymv(C, CBLAS_UPLO(5), 4, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dsymv", 6, [&] { cblas_dsymv(R, CblasUpper, 4, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dsbmv", 7, [&] { cblas_dsbmv(R, CblasUpper, 4, 3, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_zhpmv", 10, [&] { cblas_zhpmv(C, CblasLower, 4, z.data(), z.data(), z.data(), 1, z.data(), y.data(), 0); }, y);
  expect_error("cblas_dtrmv", 4, [&] { cblas_dtrmv(C, CblasUpper, N, CBLAS_DIAG(9), 4, a.data(), 4, y.data(), 1); }, y);
  expect_error("cblas_dtrsv", 7, [&] { cblas_dtrsv(R, CblasUpper, N, CblasUnit, 4, a.data(), 3, y.data(), 1); }, y);
  expect_error("cblas_dtbsv", 8, [&] { cblas_dtbsv(R, CblasUpper, N, CblasUnit, 4, 2, a.data(), 2, y.data(), 1); }, y);
  expect_error("cblas_dtbmv", 10, [&] { cblas_dtbmv(R, CblasUpper, N, CblasUnit, 4, 2, a.data(), 3, y.data(), 0); }, y);
  expect_error("cblas_ztpsv", 8, [&] { cblas_ztpsv(C, CblasLower, CblasConjTrans, CblasUnit, 4, z.data(), y.data(), 0); }, y);
  expect_error("cblas_dger", 10, [&] { cblas_dger(R, 5, 4, 1, x.data(), 1, x.data(), 1, y.data(), 3); }, y);
  expect_error("cblas_zgeru", 2, [&] { cblas_zgeru_64(C, -5, 4, z.data(), z.data(), 1, z.data(), 1, y.data(), 5); }, y);
  expect_error("cblas_zher", 8, [&] { cblas_zher(C, CblasLower, 4, 1.0, z.data(), 1, y.data(), 2); }, y);
  expect_error("cblas_dspr2", 8, [&] { cblas_dspr2(C, CblasLower, 4, 1.0, x.data(), 1, x.data(), 0, y.data()); }, y);
  // Row-major calls are the transposed column-major ones and test in their
  // order: n before m, ku before kl, incy before incx.
  expect_error("cblas_dgemv", 3, [&] { cblas_dgemv(C, N, -1, -1, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgemv", 4, [&] { cblas_dgemv(R, N, -1, -1, 1, a.data(), 4, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgbmv", 4, [&] { cblas_dgbmv(R, N, -1, -1, 1, 1, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgbmv", 6, [&] { cblas_dgbmv(R, N, 4, 4, -1, -1, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dgbmv", 5, [&] { cblas_dgbmv(C, N, 4, 4, -1, -1, 1, a.data(), 3, x.data(), 1, 0, y.data(), 1); }, y);
  expect_error("cblas_dger", 3, [&] { cblas_dger(R, -1, -1, 1, x.data(), 1, x.data(), 1, y.data(), 4); }, y);
  expect_error("cblas_dger", 8, [&] { cblas_dger(R, 4, 4, 1, x.data(), 0, x.data(), 0, y.data(), 4); }, y);
  expect_error("cblas_dger", 6, [&] { cblas_dger(C, 4, 4, 1, x.data(), 0, x.data(), 0, y.data(), 4); }, y);
  expect_error("cblas_dgem2vu", 15, [&] {
    cblas_dgem2vu(C, 4, 4, 1, a.data(), 4, x.data(), 1, x.data(), 1, 0, y.data(), 1, y.data(), 0);
  }, y);
}

// ---- row-major against column-major ------------------------------------------------

namespace {

// The same matrix in the other order: element (i, j) of an m x n matrix.
template <class T>
std::vector<T> to_col(const std::vector<T>& rm, i64 m, i64 n, i64 ldr, i64 ldc) {
  std::vector<T> cm(static_cast<std::size_t>(ldc * n), T(0));
  for (i64 i = 0; i < m; ++i)
    for (i64 j = 0; j < n; ++j) cm[i + j * ldc] = rm[i * ldr + j];
  return cm;
}

// Row-major packed triangle of A: rows one after another.
inline i64 rm_packed(bool lower, i64 n, i64 i, i64 j) { return packed_at(!lower, n, j, i); }

template <class T>
void check_close(const std::vector<T>& got, const std::vector<T>& want, const char* what) {
  EXPECT_LE(maxdiff(got, want), 1e-12) << what;
}

}  // namespace

// A copy of a vector in pages that cannot be written: a call that writes
// to the caller's input faults.
template <class T>
class Sealed {
 public:
  explicit Sealed(const std::vector<T>& v) : bytes_(std::max<std::size_t>(v.size() * sizeof(T), 1)) {
    void* p = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) throw std::bad_alloc();
    std::memcpy(p, v.data(), v.size() * sizeof(T));
    mprotect(p, bytes_, PROT_READ);
    p_ = static_cast<const T*>(p);
  }
  ~Sealed() { munmap(const_cast<T*>(p_), bytes_); }
  Sealed(const Sealed&) = delete;
  Sealed& operator=(const Sealed&) = delete;
  const T* data() const { return p_; }

 private:
  std::size_t bytes_;
  const T* p_;
};

// The row-major Hermitian and conjugated calls read their vectors from
// sealed pages. refuse: no memory is given, so they cannot make their
// conjugated copies and compute straight from the row-major storage.
void row_major_complex(bool refuse) {
  using T = c64;
  qor::test::AllocWatch watch;
  if (refuse) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
  qor::test::Rng rng(51);
  const auto R = CblasRowMajor, C = CblasColMajor;
  const int m = 7, n = 5, ld = 9;
  T alpha = value<T>(rng), beta = value<T>(rng);
  for (auto tr : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
    auto a = random<T>(m * ld, rng);
    auto cm = to_col(a, m, n, ld, m);
    const int lx = tr == CblasNoTrans ? n : m, ly = tr == CblasNoTrans ? m : n;
    auto x = random<T>(lx * 2, rng);
    const auto x0 = x;
    auto y = random<T>(ly * 3, rng), y2 = y;
    cblas_zgemv(R, tr, m, n, &alpha, a.data(), ld, Sealed<T>(x).data(), -2, &beta, y.data(), 3);
    cblas_zgemv(C, tr, m, n, &alpha, cm.data(), m, x.data(), -2, &beta, y2.data(), 3);
    check_close(y, y2, "zgemv");
    EXPECT_TRUE(x == x0) << "zgemv changed x";
    // Band: A(i, j) at a[(kl + j - i) + i*lda] in row-major order.
    const int kl = 2, ku = 1, lb = 5;
    auto b = random<T>(m * lb, rng);
    std::vector<T> bc(lb * n, T(0));
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < n; ++j)
        if (i - j <= kl && j - i <= ku) bc[(ku + i - j) + j * lb] = b[(kl + j - i) + i * lb];
    y = random<T>(ly, rng), y2 = y;
    cblas_zgbmv(R, tr, m, n, kl, ku, &alpha, b.data(), lb, Sealed<T>(x).data(), 1, &beta, y.data(), 1);
    cblas_zgbmv(C, tr, m, n, kl, ku, &alpha, bc.data(), lb, x.data(), 1, &beta, y2.data(), 1);
    check_close(y, y2, "zgbmv");
  }
  for (auto up : {CblasUpper, CblasLower}) {
    const bool lower = up == CblasLower;
    auto a = random<T>(n * ld, rng);
    auto cm = to_col(a, n, n, ld, n);
    auto x = random<T>(n * 2, rng);
    auto y = random<T>(n, rng), y2 = y;
    cblas_zhemv(R, up, n, &alpha, a.data(), ld, Sealed<T>(x).data(), 2, &beta, y.data(), 1);
    cblas_zhemv(C, up, n, &alpha, cm.data(), n, x.data(), 2, &beta, y2.data(), 1);
    check_close(y, y2, "zhemv");
    const auto x0 = x;
    // Packed and band forms of the same triangle.
    std::vector<T> pr(n * (n + 1) / 2), pc(pr.size());
    const int k = 2, lb = 4;
    std::vector<T> br(n * lb, T(0)), bc(n * lb, T(0));
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) {
        if (lower ? i < j : i > j) continue;
        T v = value<T>(rng);
        pr[rm_packed(lower, n, i, j)] = v;
        pc[packed_at(lower, n, i, j)] = v;
        if (std::abs(i - j) <= k) {
          br[(lower ? k + j - i : j - i) + i * lb] = v;
          bc[(lower ? i - j : k + i - j) + j * lb] = v;
        }
      }
    y = random<T>(n, rng), y2 = y;
    cblas_zhpmv(R, up, n, &alpha, pr.data(), Sealed<T>(x).data(), -1, &beta, y.data(), 1);
    cblas_zhpmv(C, up, n, &alpha, pc.data(), x.data(), -1, &beta, y2.data(), 1);
    check_close(y, y2, "zhpmv");
    y = random<T>(n, rng), y2 = y;
    cblas_zhbmv(R, up, n, k, &alpha, br.data(), lb, Sealed<T>(x).data(), 1, &beta, y.data(), -1);
    cblas_zhbmv(C, up, n, k, &alpha, bc.data(), lb, x.data(), 1, &beta, y2.data(), -1);
    check_close(y, y2, "zhbmv");
    EXPECT_TRUE(x == x0) << "zhemv, zhpmv or zhbmv changed x";
    for (auto tr : {CblasNoTrans, CblasTrans, CblasConjTrans})
      for (auto dg : {CblasNonUnit, CblasUnit}) {
        // Diagonals away from 0 for the solves.
        for (int j = 0; j < n; ++j) {
          a[j * ld + j] += T(3);
          cm[j + j * n] += T(3);
          pr[rm_packed(lower, n, j, j)] += T(3);
          pc[packed_at(lower, n, j, j)] += T(3);
          br[(lower ? k : 0) + j * lb] += T(3);
          bc[(lower ? 0 : k) + j * lb] += T(3);
        }
        auto v = random<T>(n * 2, rng);
        auto w = v;
        cblas_ztrmv(R, up, tr, dg, n, a.data(), ld, v.data(), 2);
        cblas_ztrmv(C, up, tr, dg, n, cm.data(), n, w.data(), 2);
        check_close(v, w, "ztrmv");
        cblas_ztrsv(R, up, tr, dg, n, a.data(), ld, v.data(), -2);
        cblas_ztrsv(C, up, tr, dg, n, cm.data(), n, w.data(), -2);
        check_close(v, w, "ztrsv");
        cblas_ztpmv(R, up, tr, dg, n, pr.data(), v.data(), 1);
        cblas_ztpmv(C, up, tr, dg, n, pc.data(), w.data(), 1);
        check_close(v, w, "ztpmv");
        cblas_ztpsv(R, up, tr, dg, n, pr.data(), v.data(), 1);
        cblas_ztpsv(C, up, tr, dg, n, pc.data(), w.data(), 1);
        check_close(v, w, "ztpsv");
        cblas_ztbmv(R, up, tr, dg, n, k, br.data(), lb, v.data(), 1);
        cblas_ztbmv(C, up, tr, dg, n, k, bc.data(), lb, w.data(), 1);
        check_close(v, w, "ztbmv");
        cblas_ztbsv(R, up, tr, dg, n, k, br.data(), lb, v.data(), 1);
        cblas_ztbsv(C, up, tr, dg, n, k, bc.data(), lb, w.data(), 1);
        check_close(v, w, "ztbsv");
      }
    // Hermitian updates: compare the row-major result, seen column-major.
    auto xv = random<T>(n, rng), yv = random<T>(n, rng);
    const auto xv0 = xv, yv0 = yv;
    auto ar = a, ac = cm;
    cblas_zher(R, up, n, 0.75, Sealed<T>(xv).data(), 1, ar.data(), ld);
    cblas_zher(C, up, n, 0.75, xv.data(), 1, ac.data(), n);
    cblas_zher2(R, up, n, &alpha, Sealed<T>(xv).data(), 1, Sealed<T>(yv).data(), -1, ar.data(), ld);
    cblas_zher2(C, up, n, &alpha, xv.data(), 1, yv.data(), -1, ac.data(), n);
    check_close(to_col(ar, n, n, ld, n), ac, "zher, zher2");
    auto prr = pr, pcc = pc;
    cblas_zhpr(R, up, n, -0.5, Sealed<T>(xv).data(), 1, prr.data());
    cblas_zhpr(C, up, n, -0.5, xv.data(), 1, pcc.data());
    cblas_zhpr2(R, up, n, &alpha, Sealed<T>(xv).data(), 1, Sealed<T>(yv).data(), 1, prr.data());
    cblas_zhpr2(C, up, n, &alpha, xv.data(), 1, yv.data(), 1, pcc.data());
    std::vector<T> back(pcc.size());
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j)
        if (!(lower ? i < j : i > j)) back[packed_at(lower, n, i, j)] = prr[rm_packed(lower, n, i, j)];
    check_close(back, pcc, "zhpr, zhpr2");
    EXPECT_TRUE(xv == xv0 && yv == yv0) << "a Hermitian update changed x or y";
  }
  // Rank one, both conjugations, and gem2vc.
  auto a = random<T>(m * ld, rng);
  auto cm = to_col(a, m, n, ld, m);
  auto x = random<T>(m, rng), y = random<T>(n * 2, rng);
  const auto y0 = y;
  cblas_zgerc(R, m, n, &alpha, x.data(), 1, Sealed<T>(y).data(), 2, a.data(), ld);
  EXPECT_TRUE(y == y0) << "zgerc changed y";
  cblas_zgerc(C, m, n, &alpha, x.data(), 1, y.data(), 2, cm.data(), m);
  cblas_zgeru(R, m, n, &alpha, x.data(), -1, y.data(), 1, a.data(), ld);
  cblas_zgeru(C, m, n, &alpha, x.data(), -1, y.data(), 1, cm.data(), m);
  check_close(to_col(a, m, n, ld, m), cm, "zgerc, zgeru");
  auto x1 = random<T>(n, rng), x2 = random<T>(m, rng);
  auto y1 = random<T>(m, rng), y2 = random<T>(n, rng), y1c = y1, y2c = y2;
  cblas_zgem2vc(R, m, n, &alpha, a.data(), ld, x1.data(), 1, Sealed<T>(x2).data(), 1, &beta, y1.data(), 1, y2.data(), 1);
  cblas_zgem2vc(C, m, n, &alpha, cm.data(), m, x1.data(), 1, x2.data(), 1, &beta, y1c.data(), 1, y2c.data(), 1);
  check_close(y1, y1c, "zgem2vc y1");
  check_close(y2, y2c, "zgem2vc y2");
  if (refuse) {
    EXPECT_GT(watch.failures(), 0) << "nothing asked for memory";
  }
}

TEST(Interface, RowMajorComplex) {
  row_major_complex(false);
  row_major_complex(true);
}

TEST(Interface, RowMajorReal) {
  qor::test::Rng rng(52);
  const auto R = CblasRowMajor, C = CblasColMajor;
  const int m = 6, n = 9, ld = 10;
  double alpha = 0.7, beta = -0.3;
  auto a = random<double>(m * ld, rng);
  auto cm = to_col(a, m, n, ld, m);
  for (auto tr : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
    const int lx = tr == CblasNoTrans ? n : m, ly = tr == CblasNoTrans ? m : n;
    auto x = random<double>(lx, rng);
    auto y = random<double>(ly, rng), y2 = y;
    cblas_dgemv_64(R, tr, m, n, alpha, a.data(), ld, x.data(), 1, beta, y.data(), 1);
    cblas_dgemv_64(C, tr, m, n, alpha, cm.data(), m, x.data(), 1, beta, y2.data(), 1);
    check_close(y, y2, "dgemv");
    // dzgemv: a real matrix with complex vectors.
    auto zx = random<c64>(lx, rng);
    auto zy = random<c64>(ly, rng), zy2 = zy;
    c64 za = value<c64>(rng), zb = value<c64>(rng);
    cblas_dzgemv(R, tr, m, n, &za, a.data(), ld, zx.data(), 1, &zb, zy.data(), 1);
    cblas_dzgemv(C, tr, m, n, &za, cm.data(), m, zx.data(), 1, &zb, zy2.data(), 1);
    check_close(zy, zy2, "dzgemv");
  }
  auto x1 = random<double>(n, rng), x2 = random<double>(m, rng);
  auto y1 = random<double>(m, rng), y2 = random<double>(n, rng), y1c = y1, y2c = y2;
  cblas_dgem2vu(R, m, n, alpha, a.data(), ld, x1.data(), 1, x2.data(), -1, beta, y1.data(), 2 - 1, y2.data(), 1);
  cblas_dgem2vu(C, m, n, alpha, cm.data(), m, x1.data(), 1, x2.data(), -1, beta, y1c.data(), 1, y2c.data(), 1);
  check_close(y1, y1c, "dgem2vu y1");
  check_close(y2, y2c, "dgem2vu y2");
  auto x = random<double>(m, rng), y = random<double>(n, rng);
  cblas_dger(R, m, n, alpha, x.data(), 1, y.data(), 1, a.data(), ld);
  cblas_dger(C, m, n, alpha, x.data(), 1, y.data(), 1, cm.data(), m);
  check_close(to_col(a, m, n, ld, m), cm, "dger");
  for (auto up : {CblasUpper, CblasLower}) {
    auto s = random<double>(n * ld, rng);
    auto sc = to_col(s, n, n, ld, n);
    auto v = random<double>(n, rng), w = random<double>(n, rng), w2 = w;
    cblas_dsymv(R, up, n, alpha, s.data(), ld, v.data(), 1, beta, w.data(), 1);
    cblas_dsymv(C, up, n, alpha, sc.data(), n, v.data(), 1, beta, w2.data(), 1);
    check_close(w, w2, "dsymv");
    cblas_dsyr(R, up, n, alpha, v.data(), 1, s.data(), ld);
    cblas_dsyr(C, up, n, alpha, v.data(), 1, sc.data(), n);
    cblas_dsyr2(R, up, n, alpha, v.data(), 1, w.data(), 1, s.data(), ld);
    cblas_dsyr2(C, up, n, alpha, v.data(), 1, w.data(), 1, sc.data(), n);
    check_close(to_col(s, n, n, ld, n), sc, "dsyr, dsyr2");
  }
}
