// The exported pieces of the s, c, z members, reached straight from the
// member: blocking rules, work areas, the kernels with their beta forms and
// tails, the conjugating copies; and the public Fortran and CBLAS
// interfaces with their argument checks.
#include <dlfcn.h>

#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "blas/gemm/gemm_ref.h"
#include "blas/gemm/api.h"
#include "common/testing.h"
#include "qor/blas_gemm.h"
#include "qor/cblas.h"
#include "qor/cblas_gemm.h"

namespace {

using gemm_test::i64;
using gemm_test::Mat;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

void* member() {
  static void* h = [] {
    EXPECT_EQ(qor_member_load(), 0);
    return dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL);
  }();
  return h;
}

template <class F> F* fn(const std::string& name) {
  void* p = dlsym(member(), name.c_str());
  EXPECT_NE(p, nullptr) << name;
  return reinterpret_cast<F*>(p);
}

struct Blocks {
  i64 mb = 0, nb = 0, kb = 0, mu = 0, nu = 0, ku = 0;
  bool operator==(const Blocks&) const = default;
};

Blocks blk(const std::string& name, i64 m, i64 n, i64 k, Blocks b = {}) {
  fn<decltype(qor_blas_def_sgemm_blk_info_bdz)>(name)(&m, &n, &k, &b.mb, &b.nb, &b.kb, &b.mu, &b.nu, &b.ku);
  return b;
}

TEST(GemmSczBlocking, TunedRulesD1) {
  // k -> depth block (rule D1), the same for the three letters.
  const std::pair<i64, i64> d1[] = {{1, 128},   {100, 128}, {128, 128}, {150, 150}, {191, 191}, {192, 192},
                                    {193, 96},  {300, 150}, {383, 191}, {384, 192}, {5000, 192}};
  for (const char* x : {"s", "c", "z"})
    for (auto [k, kb] : d1) EXPECT_EQ(blk(std::string("qor_blas_def_") + x + "gemm_blk_info_bdz", 50, 50, k).kb, kb) << x << " k=" << k;
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_bdz", 17, 2, 10), (Blocks{32, 4, 128, 16, 4, 1}));
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_bdz", 9000, 999, 10), (Blocks{6400, 384, 128, 16, 4, 1}));
  EXPECT_EQ(blk("qor_blas_def_cgemm_blk_info_bdz", 9, 1, 10), (Blocks{16, 2, 128, 8, 2, 1}));
  EXPECT_EQ(blk("qor_blas_def_cgemm_blk_info_bdz", 5000, 999, 10), (Blocks{3200, 192, 128, 8, 2, 1}));
  EXPECT_EQ(blk("qor_blas_def_zgemm_blk_info_bdz", 5, 50, 10), (Blocks{8, 50, 128, 4, 2, 1}));
  EXPECT_EQ(blk("qor_blas_def_zgemm_blk_info_bdz", 5000, 999, 10), (Blocks{1600, 96, 128, 4, 2, 1}));
  // A block already set is kept.
  EXPECT_EQ(blk("qor_blas_def_zgemm_blk_info_bdz", 5000, 999, 10, {44, 6, 64}), (Blocks{44, 6, 64, 4, 2, 1}));
}

TEST(GemmSczBlocking, BarcelonaRulesD4) {
  const std::pair<i64, i64> d4[] = {{3, 128},   {128, 128}, {130, 132}, {253, 256}, {256, 256},
                                    {257, 128}, {262, 132}, {300, 152}, {511, 256}, {512, 256}};
  for (auto [k, kb] : d4) {
    EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_0_brc", 100, 100, k).kb, kb) << "k=" << k;
    EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_1_brc", 100, 100, k).kb, kb) << "k=" << k;
  }
  // Rule 0 stores every block, rule 1 only the empty ones.
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_0_brc", 3, 2, 100, {64, 64, 64}), (Blocks{8, 4, 128, 8, 4, 4}));
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_0_brc", 5000, 9000, 300), (Blocks{800, 5000, 152, 8, 4, 4}));
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_1_brc", 13, 9000, 300), (Blocks{16, 512, 152, 8, 4, 4}));
  EXPECT_EQ(blk("qor_blas_def_sgemm_blk_info_1_brc", 5000, 3, 300, {0, 8, 0}), (Blocks{256, 8, 152, 8, 4, 4}));
  // c and z: no halving above the limit.
  auto cz = [](const char* name, i64 m, i64 k) {
    i64 mb = 0, kb = 0, n = 10;
    fn<decltype(qor_blas_def_cgemm_get_blks_size_brc)>(name)(&m, &n, &k, &mb, &kb);
    return std::pair<i64, i64>{mb, kb};
  };
  EXPECT_EQ(cz("qor_blas_def_cgemm_get_blks_size_brc", 13, 300), (std::pair<i64, i64>{16, 256}));
  EXPECT_EQ(cz("qor_blas_def_cgemm_get_blks_size_brc", 999, 130), (std::pair<i64, i64>{128, 132}));
  EXPECT_EQ(cz("qor_blas_def_zgemm_get_blks_size_brc", 13, 257), (std::pair<i64, i64>{14, 256}));
  EXPECT_EQ(cz("qor_blas_def_zgemm_get_blks_size_brc", 999, 5), (std::pair<i64, i64>{64, 128}));
}

TEST(GemmSczWorkArea, TunedPanelsOnPageBoundariesAndEmptyBlocksGiveNull) {
  qor::test::AllocWatch watch;
  for (const char* x : {"s", "c", "z"}) {
    auto* get = fn<decltype(qor_blas_def_sgemm_getbufs_bdz)>(std::string("qor_blas_def_") + x + "gemm_getbufs_bdz");
    auto* put = fn<decltype(qor_blas_def_sgemm_freebufs_bdz)>(std::string("qor_blas_def_") + x + "gemm_freebufs_bdz");
    const i64 esize = *x == 's' ? 4 : *x == 'c' ? 8 : 16;
    i64 mb = 48, nb = 12, kb = 130;
    void *raw = &mb, *ap = &mb, *bp = &mb, *ex = &mb;
    get(&mb, &nb, &kb, &raw, &ap, &bp, &ex);
    ASSERT_NE(raw, nullptr);
    const auto r = reinterpret_cast<std::uintptr_t>(raw), a = reinterpret_cast<std::uintptr_t>(ap),
               b = reinterpret_cast<std::uintptr_t>(bp);
    EXPECT_EQ(a % 4096, 0u);
    EXPECT_EQ(b % 4096, 0u);
    EXPECT_LT(a - r, 4096u);
    EXPECT_GE(b, a + static_cast<std::uintptr_t>(mb * kb * esize));
    EXPECT_LT(b, a + static_cast<std::uintptr_t>(mb * kb * esize) + 4096);
    EXPECT_EQ(ex, nullptr);
    // The whole B panel is writable within the area.
    std::memset(bp, 0x5a, static_cast<std::size_t>(nb * kb * esize));
    std::memset(ap, 0x5a, static_cast<std::size_t>(mb * kb * esize));
    put(raw);
    i64 zero = 0;
    raw = ap = bp = ex = &mb;
    get(&mb, &zero, &kb, &raw, &ap, &bp, &ex);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(ap, nullptr);
    EXPECT_EQ(bp, nullptr);
  }
  EXPECT_EQ(watch.allocations(), 3);
}

TEST(GemmSczWorkArea, BarcelonaFourCases) {
  qor::test::AllocWatch watch;
  auto* get = fn<decltype(qor_blas_def_sgemm_getbufs_brc)>("qor_blas_def_sgemm_getbufs_brc");
  auto* put = fn<decltype(qor_blas_def_sgemm_freebufs_brc)>("qor_blas_def_sgemm_freebufs_brc");
  const i64 kb = 132;
  // A row block of zero asks for no A panel, a column block of zero for no
  // B panel; four bytes per A element, eight per B element.
  for (i64 mb : {0, 40})
    for (i64 nb : {0, 20}) {
      const i64 bytes = 64 * kb + (mb && nb ? 4 * kb * mb + 8 * kb * nb + 21760
                                   : mb    ? 4 * kb * mb + 13056
                                   : nb    ? 8 * kb * nb + 13568
                                           : 4864);
      void *raw, *ap, *bp, *ex;
      get(&mb, &nb, &kb, &raw, &ap, &bp, &ex);
      ASSERT_NE(raw, nullptr);
      const auto end = reinterpret_cast<std::uintptr_t>(raw) + static_cast<std::uintptr_t>(bytes);
      EXPECT_EQ(ap != nullptr, mb != 0);
      EXPECT_EQ(bp != nullptr, nb != 0);
      ASSERT_NE(ex, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ex) % 128, 0u);
      if (ap) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(ap) % 4096, 0u);
        EXPECT_GE(static_cast<char*>(ex), static_cast<char*>(ap) + 4 * mb * kb + 256);
        std::memset(ap, 1, static_cast<std::size_t>(4 * mb * kb));
      }
      std::memset(ex, 1, static_cast<std::size_t>(64 * kb));
      if (bp) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bp) % 4096, 0u);
        EXPECT_GE(static_cast<char*>(bp), static_cast<char*>(ex) + 64 * kb + 768);
        EXPECT_LE(reinterpret_cast<std::uintptr_t>(bp) + static_cast<std::uintptr_t>(8 * nb * kb), end);
        std::memset(bp, 1, static_cast<std::size_t>(8 * nb * kb));
      }
      put(raw);
    }
  // A refused allocation leaves every slot null.
  i64 mb = 40, nb = 20;
  void *raw = &watch, *ap = &watch, *bp = &watch, *ex = &watch;
  qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
  get(&mb, &nb, &kb, &raw, &ap, &bp, &ex);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(ap, nullptr);
  EXPECT_EQ(bp, nullptr);
  EXPECT_EQ(ex, nullptr);
}

// ---- Kernels straight from packed panels ------------------------------------

template <class T> const char* letter() {
  return std::is_same_v<T, float> ? "s" : std::is_same_v<T, c32> ? "c" : "z";
}
template <class T> std::string name(const char* rest) { return std::string("qor_blas_def_") + letter<T>() + rest; }

template <class T> class GemmSczKernels : public ::testing::Test {};
using Types = ::testing::Types<float, c32, c64>;
TYPED_TEST_SUITE(GemmSczKernels, Types);

// Packs op(A) (m x k, letter ta) and op(B) (k x n, letter tb) with the
// given copies, runs the kernel with the given beta, and checks C.
template <class T, class Kernel>
std::string packed_product(const char* copya, const char* copyb, char ta, char tb, i64 m, i64 n, i64 k, T beta,
                           Kernel run_kernel, i64 strip_rows, i64 strip_cols) {
  const bool na = ta == 'N', nb = tb == 'N';
  qor::test::Rng rng(static_cast<std::uint64_t>(m * 131 + n * 7 + k));
  Mat<T> A(na ? m : k, na ? k : m, na ? m : k), B(nb ? k : n, nb ? n : k, nb ? k : n), C(m, n, m + 1);
  A.fill(rng);
  B.fill(rng);
  C.fill(rng);
  Mat<T> C0 = C;
  const T alpha = T(gemm_test::real_t<T>(0.5));
  const i64 kp = (k + 3) / 4 * 4 + 4;
  std::vector<T> ap(static_cast<std::size_t>(((m + strip_rows - 1) / strip_rows) * strip_rows * kp) + 64);
  std::vector<T> bp(static_cast<std::size_t>(((n + strip_cols - 1) / strip_cols) * strip_cols * kp) + 64);
  reinterpret_cast<void (*)(const i64*, const i64*, const T*, const i64*, T*, const T*)>(
      fn<void()>(copya))(&m, &k, A.p(), &A.ld, ap.data(), &alpha);
  reinterpret_cast<void (*)(const i64*, const i64*, const T*, const i64*, T*)>(fn<void()>(copyb))(&k, &n, B.p(), &B.ld,
                                                                                                  bp.data());
  run_kernel(m, n, k, ap.data(), bp.data(), beta, C.p(), C.ld);
  return gemm_test::check_gemm<T>(ta, tb, m, n, k, alpha, A, B, beta, C0, C);
}

TYPED_TEST(GemmSczKernels, TunedKernelsOwnEveryRowAndColumnTail) {
  using T = TypeParam;
  if (!qor_cpu_path_supported(QOR_CPU_PATH_ZEN)) GTEST_SKIP() << "no AVX2";
  const bool cx = !std::is_same_v<T, float>;
  const i64 mr = std::is_same_v<T, float> ? 16 : std::is_same_v<T, c32> ? 8 : 4, nr = cx ? 2 : 4;
  for (const char* kernel : {"gemm_kernel_0_zen", "gemm_kernel_0_bdz"}) {
    auto* kf = fn<decltype(qor_blas_def_sgemm_kernel_0_zen)>(name<T>(kernel));
    auto run_kernel = [&](i64 m, i64 n, i64 k, T* a, T* b, T beta, T* c, i64 ldc) {
      reinterpret_cast<void (*)(const i64*, const i64*, const i64*, const T*, const T*, const T*, T*, const i64*)>(kf)(
          &m, &n, &k, a, b, &beta, c, &ldc);
    };
    const std::vector<std::pair<char, char>> letters =
        cx ? std::vector<std::pair<char, char>>{{'N', 'C'}, {'C', 'T'}, {'T', 'N'}}
           : std::vector<std::pair<char, char>>{{'N', 'T'}, {'T', 'N'}};
    for (auto [ta, tb] : letters) {
      const std::string ca = name<T>(ta == 'N' ? "gemm_copyan_bdz" : ta == 'T' ? "gemm_copyat_bdz" : "gemm_copyac_bdz");
      const std::string cb = name<T>(tb == 'N' ? "gemm_copybn_bdz" : tb == 'T' ? "gemm_copybt_bdz" : "gemm_copybc_bdz");
      for (i64 m = 1; m <= 2 * mr + 1; ++m)
        for (i64 n = 1; n <= 2 * nr + 1; ++n)
          for (T beta : {T(0), T(1), T(gemm_test::real_t<T>(-1.5))}) {
            const i64 k = 1 + (m + n) % 7;
            ASSERT_EQ(packed_product<T>(ca.c_str(), cb.c_str(), ta, tb, m, n, k, beta, run_kernel, mr, nr), "")
                << kernel << " " << ta << tb << " m=" << m << " n=" << n << " k=" << k;
          }
    }
  }
}

TYPED_TEST(GemmSczKernels, BaselineInnerFormsTreatBetaAsNamed) {
  using T = TypeParam;
  const i64 strip = std::is_same_v<T, float> ? 8 : std::is_same_v<T, c32> ? 4 : 2;
  std::vector<T> expanded(256 * 16);
  for (const char* form : {"gemm_inner", "gemm_inner_roll", "gemm_inner_b_roll", "gemm_inner_z_roll"}) {
    auto* kf = fn<decltype(qor_blas_def_sgemm_inner)>(name<T>(form));
    const std::string f = form;
    auto run_kernel = [&](i64 m, i64 n, i64 k, T* a, T* b, T beta, T* c, i64 ldc) {
      const T zero(0);
      const i64 kk = f == "gemm_inner" ? (k + 3) / 4 * 4 : k;
      reinterpret_cast<void (*)(const i64*, const i64*, const i64*, const T*, const T*, const T*, T*, const i64*, T*,
                                const T*)>(kf)(&m, &n, &kk, a, b, &beta, c, &ldc, expanded.data(), &zero);
    };
    // The form fixes what happens to C: add, beta times C, or no read.
    const T beta = f == "gemm_inner_b_roll" ? T(gemm_test::real_t<T>(0.75)) : f == "gemm_inner_z_roll" ? T(0) : T(1);
    for (i64 k : {1, 2, 3, 4, 5, 13, 64})
      for (const char* ab : {"NN", "TT", "CC"}) {
        if (std::is_same_v<T, float> && ab[0] == 'C') continue;
        const std::string ca = name<T>(ab[0] == 'N' ? "gemm_copyan" : ab[0] == 'T' ? "gemm_copyat" : "gemm_copyac");
        const std::string cb = name<T>(ab[1] == 'N' ? "gemm_copybn" : ab[1] == 'T' ? "gemm_copybt" : "gemm_copybc");
        ASSERT_EQ(packed_product<T>(ca.c_str(), cb.c_str(), ab[0], ab[1], 3 * strip, 8, k, beta, run_kernel, strip, 4), "")
            << form << " " << ab << " k=" << k;
      }
  }
}

// ---- Bodies no entry reaches -------------------------------------------------

// The entry takes xsgemm1_brc, which forwards to xsgemm1_0_brc; the other
// Barcelona bodies of the s member are exported for the core. Each is
// called straight: shapes under the threshold, rows past a row block of
// either rule, every tail, partial depth blocks; beta 0 over NaN; and a
// failed allocation, which computes the same C and warns once.
TEST(GemmSczBodies, EveryBarcelonaBodyOfTheSMemberComputesTheProduct) {
  if (!qor_cpu_path_supported(QOR_CPU_PATH_BARCELONA)) GTEST_SKIP() << "no SSE3";
  struct Shape {
    char ta, tb;
    i64 m, n, k;
    float beta;
  };
  const Shape shapes[] = {{'N', 'N', 37, 29, 300, 1.5f}, {'t', 'N', 13, 9, 7, -1.0f},  {'N', 't', 9, 13, 513, 0.0f},
                          {'T', 'T', 130, 389, 20, 1.0f}, {'N', 'N', 1000, 9, 20, 0.5f}, {'T', 'N', 261, 11, 257, 0.0f}};
  const float nan = std::numeric_limits<float>::quiet_NaN();
  qor::test::Rng rng(9);
  for (const char* body : {"xsgemm0_brc", "xsgemm1_brc", "xsgemm0_0_brc", "xsgemm0_1_brc", "xsgemm1_0_brc",
                           "xsgemm1_1_brc"}) {
    auto* f = fn<decltype(qor_blas_def_xsgemm)>(std::string("qor_blas_def_") + body);
    for (const Shape& s : shapes)
      for (bool fail : {false, true}) {
        const bool na = (s.ta & 0xDF) == 'N', nb = (s.tb & 0xDF) == 'N';
        Mat<float> A(na ? s.m : s.k, na ? s.k : s.m, (na ? s.m : s.k) + 1);
        Mat<float> B(nb ? s.k : s.n, nb ? s.n : s.k, (nb ? s.k : s.n) + 2);
        Mat<float> C(s.m, s.n, s.m + 1, 1);
        A.fill(rng);
        B.fill(rng);
        C.fill(rng);
        if (s.beta == 0.0f)
          for (i64 j = 0; j < s.n; ++j)
            for (i64 i = 0; i < s.m; ++i) C.at(i, j) = nan;
        const Mat<float> C0 = C;
        const float alpha = -0.75f;
        const bool small = s.m < 8 || s.n < 8 || s.k < 8;
        qor::test::AllocWatch watch;
        qor::test::MessageCapture capture;
        if (fail) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
        f(&s.ta, &s.tb, &s.m, &s.n, &s.k, &alpha, A.p(), &A.ld, B.p(), &B.ld, &s.beta, C.p(), &C.ld);
        ASSERT_EQ(gemm_test::check_gemm<float>(s.ta, s.tb, s.m, s.n, s.k, alpha, A, B, s.beta, C0, C), "")
            << body << " " << s.ta << s.tb << " " << s.m << "x" << s.n << "x" << s.k << (fail ? " failed area" : "");
        EXPECT_EQ(watch.allocations(), small || fail ? 0 : 1) << body;
        ASSERT_EQ(capture.count(QOR_MSG_WARNING), fail && !small ? 1 : 0) << body;
        if (fail && !small) {
          EXPECT_EQ(capture.entries()[0].routine, "SGEMM") << body;
        }
      }
  }
}

// ---- Public interfaces -----------------------------------------------------

TEST(GemmSczInterfaces, FortranArgumentChecksNameTheRoutine) {
  qor::test::MessageCapture capture;
  float s[16] = {};
  c32 c[16] = {};
  c64 z[16] = {};
  const int two = 2, neg = -1, one = 1;
  const float sone = 1;
  const c32 cone(1);
  const c64 zone(1);
  sgemm_("X", "N", &two, &two, &two, &sone, s, &two, s, &two, &sone, s, &two, 1, 1);
  cgemm_("N", "N", &two, &neg, &two, &cone, c, &two, c, &two, &cone, c, &two, 1, 1);
  const std::int64_t two64 = 2, one64 = 1;
  zgemm_64_("N", "T", &two64, &two64, &two64, &zone, z, &one64, z, &two64, &zone, z, &two64, 1, 1);
  sgemm_("N", "N", &two, &two, &two, &sone, s, &two, s, &one, &sone, s, &two, 1, 1);
  cgemm_("N", "N", &two, &two, &two, &cone, c, &two, c, &two, &cone, c, &one, 1, 1);
  ASSERT_EQ(capture.count(QOR_MSG_ARGUMENT_ERROR), 5);
  const auto& e = capture.entries();
  EXPECT_EQ(e[0].routine, "SGEMM");
  EXPECT_NE(e[0].text.find("parameter number  1"), std::string::npos) << e[0].text;
  EXPECT_EQ(e[1].routine, "CGEMM");
  EXPECT_NE(e[1].text.find("number  4"), std::string::npos) << e[1].text;
  EXPECT_EQ(e[2].routine, "ZGEMM");
  EXPECT_NE(e[2].text.find("number  8"), std::string::npos) << e[2].text;
  EXPECT_NE(e[3].text.find("number 10"), std::string::npos) << e[3].text;
  EXPECT_NE(e[4].text.find("number 13"), std::string::npos) << e[4].text;
  for (float v : s) EXPECT_EQ(v, 0.0f);  // nothing was computed
}

TEST(GemmSczInterfaces, CblasRowMajorIsTheTransposedProduct) {
  const int m = 13, n = 9, k = 11;
  qor::test::Rng rng(5);
  std::vector<c64> a(m * k), b(k * n), c(m * n), cc(m * n);
  for (auto& v : a) v = c64(rng.next(), rng.next());
  for (auto& v : b) v = c64(rng.next(), rng.next());
  for (auto& v : c) v = c64(rng.next(), rng.next());
  const c64 alpha(0.5, 1), beta(-1, 0.25);
  // Row-major: A is k x m (lda m) and op(A) its conjugate transpose, B is
  // k x n (ldb n), C m x n (ldc n). Column-major of everything for the reference call: C^T row-major = C col-major.
  std::vector<c64> ccol(m * n), bcol(k * n);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) ccol[i + j * m] = c[i * n + j];
  for (int l = 0; l < k; ++l)
    for (int j = 0; j < n; ++j) bcol[l + j * k] = b[l * n + j];
  cc = c;
  cblas_zgemm(CblasRowMajor, CblasConjTrans, CblasNoTrans, m, n, k, &alpha, a.data(), m, b.data(), n, &beta, cc.data(),
              n);
  // The same product, column-major, from the conjugate of the stored A.
  std::vector<c64> at(k * m);
  for (int i = 0; i < m; ++i)
    for (int l = 0; l < k; ++l) at[i + l * m] = std::conj(a[l * m + i]);
  cblas_zgemm_64(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, &alpha, at.data(), m, bcol.data(), k, &beta,
                 ccol.data(), m);
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) EXPECT_LT(std::abs(cc[i * n + j] - ccol[i + j * m]), 1e-13) << i << "," << j;
  // Argument checks count the layout first.
  qor::test::MessageCapture capture;
  cblas_sgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 4, 4, 4, 1.0f, nullptr, 3, nullptr, 4, 0.0f, nullptr, 4);
  cblas_cgemm(static_cast<CBLAS_LAYOUT>(7), CblasNoTrans, CblasNoTrans, 4, 4, 4, &alpha, nullptr, 4, nullptr, 4, &beta,
              nullptr, 4);
  ASSERT_EQ(capture.count(QOR_MSG_ARGUMENT_ERROR), 2);
  EXPECT_EQ(capture.entries()[0].routine, "cblas_sgemm");
  EXPECT_NE(capture.entries()[0].text.find("Parameter 9"), std::string::npos) << capture.entries()[0].text;
  EXPECT_EQ(capture.entries()[1].routine, "cblas_cgemm");
}

}  // namespace
