// The exported pieces of the GEMM driver, reached straight from the member:
// blocking rules, work areas and the empty interface of the threaded
// members; and the public Fortran and CBLAS interfaces with their argument
// checks.
#include <dlfcn.h>

#include <cstdint>
#include <array>
#include <cstdlib>
#include <limits>
#include <tuple>
#include <string>
#include <vector>

#include "blas/gemm/api.h"
#include "common/testing.h"
#include "gemm_ref.h"
#include "qor/blas.h"
#include "qor/cblas.h"

namespace {

using gemm_test::i64;
using gemm_test::Mat;

// The member the core loaded, opened once more to look names up.
void* member() {
  static void* h = [] {
    EXPECT_EQ(qor_member_load(), 0);
    return dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL);
  }();
  return h;
}

template <class F>
F* fn(const char* name) {
  void* p = dlsym(member(), name);
  EXPECT_NE(p, nullptr) << name;
  return reinterpret_cast<F*>(p);
}

struct Blocks {
  i64 mb, nb, kb, mu, nu, ku;
};

Blocks blk(const char* name, i64 m, i64 n, i64 k, Blocks preset = {0, 0, 0, 0, 0, 0}) {
  auto* f = fn<decltype(qor_blas_def_dgemm_blk_info_bdz)>(name);
  Blocks b = preset;
  f(&m, &n, &k, &b.mb, &b.nb, &b.kb, &b.mu, &b.nu, &b.ku);
  return b;
}

TEST(DgemmBlocking, TunedRuleD2AndItsManyThreadTwinD3) {
  const char* bdz = "qor_blas_def_dgemm_blk_info_bdz";
  const char* hi = "qor_blas_def_dgemm_blk_info_hi_thr_bdz";
  // k -> depth block
  const std::pair<i64, i64> d2[] = {{1, 128},   {50, 128},  {127, 128}, {129, 130}, {200, 200}, {255, 256},
                                    {256, 256}, {257, 128}, {300, 150}, {302, 152}, {510, 256}, {511, 256},
                                    {512, 256}, {5000, 256}};
  for (auto [k, kb] : d2) EXPECT_EQ(blk(bdz, 100, 100, k).kb, kb) << "k=" << k;
  const std::pair<i64, i64> d3[] = {{1, 128},   {150, 150}, {191, 192}, {192, 192}, {200, 100},
                                    {202, 102}, {383, 192}, {384, 192}, {1000, 192}};
  for (auto [k, kb] : d3) EXPECT_EQ(blk(hi, 100, 100, k).kb, kb) << "k=" << k;
  for (const char* rule : {bdz, hi}) {
    Blocks b = blk(rule, 13, 2, 300);
    EXPECT_EQ(b.mb, 24);
    EXPECT_EQ(b.nb, 4);
    EXPECT_EQ((std::vector<i64>{b.mu, b.nu, b.ku}), (std::vector<i64>{12, 4, 2}));
    b = blk(rule, 5000, 7000, 300);
    EXPECT_EQ(b.mb, 504);
    EXPECT_EQ(b.nb, 5000);
    // A block already set is kept.
    b = blk(rule, 5000, 7000, 300, {36, 8, 64, 0, 0, 0});
    EXPECT_EQ((std::vector<i64>{b.mb, b.nb, b.kb}), (std::vector<i64>{36, 8, 64}));
  }
}

TEST(DgemmBlocking, BarcelonaRulesD4) {
  const char* r0 = "qor_blas_def_dgemm_blk_info_0_brc";
  const char* r1 = "qor_blas_def_dgemm_blk_info_1_brc";
  const std::pair<i64, i64> d4[] = {{3, 128},   {128, 128}, {130, 132}, {253, 256}, {256, 256}, {257, 128},
                                    {300, 152}, {304, 152}, {296, 148}, {511, 256}, {512, 256}, {900, 256}};
  for (auto [k, kb] : d4) {
    EXPECT_EQ(blk(r0, 100, 100, k).kb, kb) << "k=" << k;
    EXPECT_EQ(blk(r1, 100, 100, k).kb, kb) << "k=" << k;
  }
  // Family 0: rows follow the depth, and every block is stored even if set.
  Blocks b = blk(r0, 1000, 9000, 600, {7, 7, 7, 0, 0, 0});
  EXPECT_EQ((std::vector<i64>{b.mb, b.nb, b.kb, b.mu, b.nu, b.ku}), (std::vector<i64>{240, 5000, 256, 4, 4, 4}));
  EXPECT_EQ(blk(r0, 1000, 3, 130).mb, (61440 / 132) & ~7);
  EXPECT_EQ(blk(r0, 2, 3, 130).mb, 4);
  // Family 1: small blocks, kept when set.
  b = blk(r1, 1000, 9000, 600);
  EXPECT_EQ((std::vector<i64>{b.mb, b.nb, b.kb}), (std::vector<i64>{128, 384, 256}));
  EXPECT_EQ(blk(r1, 13, 2, 10).mb, 16);
  EXPECT_EQ(blk(r1, 13, 2, 10).nb, 4);
  b = blk(r1, 1000, 9000, 600, {8, 12, 16, 0, 0, 0});
  EXPECT_EQ((std::vector<i64>{b.mb, b.nb, b.kb}), (std::vector<i64>{8, 12, 16}));
}

using Getbufs = decltype(qor_blas_def_dgemm_getbufs_bdz);
using Freebufs = decltype(qor_blas_def_dgemm_freebufs_bdz);

std::uintptr_t addr(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

TEST(DgemmWorkArea, TunedPanelsOnPageBoundariesInsideTheBlock) {
  auto* get = fn<Getbufs>("qor_blas_def_dgemm_getbufs_bdz");
  auto* put = fn<Freebufs>("qor_blas_def_dgemm_freebufs_bdz");
  qor::test::AllocWatch watch;
  for (auto [mb, nb, kb] : {std::tuple<i64, i64, i64>{504, 5000, 256}, {12, 4, 128}, {36, 100, 130}}) {
    void* raw = reinterpret_cast<void*>(1);
    double *a = nullptr, *b = nullptr, *x = reinterpret_cast<double*>(1);
    get(&mb, &nb, &kb, &raw, &a, &b, &x);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(x, nullptr);
    EXPECT_EQ(addr(a) % 4096, 0u);
    EXPECT_EQ(addr(b) % 4096, 0u);
    EXPECT_GE(addr(a), addr(raw));
    EXPECT_LT(addr(a) - addr(raw), 4096u);
    EXPECT_GE(addr(b), addr(a + mb * kb));
    EXPECT_LE(addr(b + nb * kb), addr(raw) + static_cast<std::uintptr_t>((mb + nb) * kb * 8 + 16896));
    b[nb * kb - 1] = 1.0;  // the whole panel is writable
    put(raw);
  }
  // A zero block, or a failed allocation: nothing, and the slots cleared.
  i64 mb = 12, nb = 0, kb = 128;
  void* raw = reinterpret_cast<void*>(1);
  double *a = reinterpret_cast<double*>(1), *b = a, *x = a;
  get(&mb, &nb, &kb, &raw, &a, &b, &x);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(b, nullptr);
  nb = 4;
  qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
  get(&mb, &nb, &kb, &raw, &a, &b, &x);
  EXPECT_EQ(raw, nullptr);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(watch.allocations(), 3);
}

TEST(DgemmWorkArea, BarcelonaFourCases) {
  auto* get = fn<Getbufs>("qor_blas_def_dgemm_getbufs_brc");
  auto* put = fn<Freebufs>("qor_blas_def_dgemm_freebufs_brc");
  qor::test::AllocWatch watch;
  const i64 kb = 256;
  for (i64 mb : {0, 240})
    for (i64 nb : {0, 5000}) {
      const i64 bytes = 64 * kb + (mb && nb ? 8 * kb * (mb + nb) + 21760
                                   : mb    ? 8 * kb * mb + 13056
                                   : nb    ? 8 * kb * nb + 13568
                                           : 4864);
      void* raw;
      double *a, *b, *x;
      get(&mb, &nb, &kb, &raw, &a, &b, &x);
      ASSERT_NE(raw, nullptr);
      const std::uintptr_t end = addr(raw) + static_cast<std::uintptr_t>(bytes);
      EXPECT_EQ(a != nullptr, mb != 0);
      EXPECT_EQ(b != nullptr, nb != 0);
      EXPECT_EQ(addr(x) % 128, 0u);
      const std::uintptr_t after_a = mb ? addr(a + mb * kb) : addr(raw);
      if (mb) {
        EXPECT_EQ(addr(a) % 4096, 0u);
        EXPECT_LT(addr(a) - addr(raw), 4096u);
      }
      EXPECT_GE(addr(x), after_a + 256);
      EXPECT_LT(addr(x), after_a + 256 + 128);
      EXPECT_LE(addr(x + 8 * kb), end);
      if (nb) {
        EXPECT_EQ(addr(b) % 4096, 0u);
        EXPECT_GE(addr(b), addr(x + 8 * kb) + 768);
        EXPECT_LE(addr(b + nb * kb), end);
      }
      put(raw);
    }
}

TEST(DgemmStubs, TheThreadedMembersInterfaceIsEmpty) {
  for (const char* t : {"s", "d", "c", "z"}) {
    const std::string p = "qor_blas_def_";
    for (const char* name : {"gemm_get_bufs_size", "gemm_get_kernel", "gemm_get_bufs", "gemm_api_support"})
      EXPECT_EQ(fn<int()>((p + t + name).c_str())(), 0) << t << name;
    EXPECT_EQ(fn<int()>((p + "x" + t + "gemm_par").c_str())(), 0);
    for (const char* name : {"gemm_zero_desc", "gemm_get_optimal_kernel", "gemm_get_blks_size", "gemm_set_blks_size",
                             "gemm_num_kernels", "gemm_free_bufs", "gemm_map_thread_to_kernel",
                             "gemm_initialize_buffers", "gemm_initialize_kernel_info"})
      fn<void()>((p + t + name).c_str())();
    fn<void()>((p + "x" + t + "gemm_internal").c_str())();
    fn<void()>((p + "x" + t + "gemm_internal_team").c_str())();
  }
  for (const char* v : {"", "i", "b", "f", "h", "e4m3", "e5m2"})
    EXPECT_EQ(fn<int()>((std::string("qor_blas_def_get_") + v + "kernel_api_version").c_str())(), 1) << v;
}

// The bodies no entry reaches here (the other Barcelona forms and the
// many-thread twin of the tuned body) are exported for the core: each is
// called straight and checked against the reference.
TEST(DgemmBodies, EveryExportedBodyComputesTheProduct) {
  struct Body {
    const char* name;
    int path;  // the class whose instructions it needs
  };
  const Body bodies[] = {{"qor_blas_def_xdgemm0_brc", QOR_CPU_PATH_BARCELONA},
                         {"qor_blas_def_xdgemm0_0_brc", QOR_CPU_PATH_BARCELONA},
                         {"qor_blas_def_xdgemm0_1_brc", QOR_CPU_PATH_BARCELONA},
                         {"qor_blas_def_xdgemm1_0_brc", QOR_CPU_PATH_BARCELONA},
                         {"qor_blas_def_xdgemm1_1_brc", QOR_CPU_PATH_BARCELONA},
                         {"qor_blas_def_xdgemm_bdz", QOR_CPU_PATH_BULLDOZER},
                         {"qor_blas_def_xdgemm_hi_thr_bdz", QOR_CPU_PATH_BULLDOZER}};
  struct Shape {
    char ta, tb;
    i64 m, n, k;
  };
  const Shape shapes[] = {{'N', 'N', 37, 29, 300}, {'t', 'N', 13, 6, 7},  {'N', 't', 5, 9, 513},
                          {'T', 'T', 130, 389, 20}, {'N', 'N', 2, 3, 9},  {'T', 'N', 254, 7, 129}};
  qor::test::Rng rng(5);
  for (const Body& body : bodies) {
    if (!qor_cpu_path_supported(body.path)) continue;
    auto* f = fn<decltype(qor_blas_def_xdgemm)>(body.name);
    for (const Shape& s : shapes) {
      const bool na = (s.ta & 0xDF) == 'N', nb = (s.tb & 0xDF) == 'N';
      Mat<double> A(na ? s.m : s.k, na ? s.k : s.m, (na ? s.m : s.k) + 1);
      Mat<double> B(nb ? s.k : s.n, nb ? s.n : s.k, (nb ? s.k : s.n) + 2);
      Mat<double> C(s.m, s.n, s.m + 1, 1);
      A.fill(rng);
      B.fill(rng);
      C.fill(rng);
      const Mat<double> C0 = C;
      const double alpha = -0.75, beta = 1.5;
      qor::test::AllocWatch watch;
      f(&s.ta, &s.tb, &s.m, &s.n, &s.k, &alpha, A.p(), &A.ld, B.p(), &B.ld, &beta, C.p(), &C.ld);
      ASSERT_EQ(gemm_test::check_gemm<double>(s.ta, s.tb, s.m, s.n, s.k, alpha, A, B, beta, C0, C), "")
          << body.name << " " << s.ta << s.tb << " " << s.m << "x" << s.n << "x" << s.k;
    }
  }
}

// ---- Packing and the baseline kernel ------------------------------------------

// Checks a panel against its strips: each strip of width w holds, for each
// of kp depth steps, w elements side by side; `value(r, l)` gives the
// element at row (or column) r of the block and depth l, and is 0 past the
// block.
template <class V>
std::string check_panel(const std::vector<double>& panel, const std::vector<i64>& widths, i64 kp, V value) {
  std::size_t q = 0;
  i64 r0 = 0;
  for (i64 w : widths) {
    for (i64 l = 0; l < kp; ++l)
      for (i64 r = 0; r < w; ++r, ++q)
        if (!(panel[q] == value(r0 + r, l)))
          return "strip at " + std::to_string(r0) + " width " + std::to_string(w) + ": element " + std::to_string(r) +
                 " of depth " + std::to_string(l) + " is " + std::to_string(panel[q]);
    r0 += w;
  }
  for (; q < panel.size(); ++q)
    if (panel[q] != -7.0) return "written past the panel at " + std::to_string(q);
  return {};
}

// A panel as the drivers hand it to the copies: 64-byte aligned (the tuned
// copies store whole 256-bit vectors), filled with -7 to show what is left.
class AlignedPanel {
 public:
  explicit AlignedPanel(std::size_t n) : raw_(n + 8, -7.0), n_(n) {
    while (reinterpret_cast<std::uintptr_t>(raw_.data() + start_) % 64 != 0) ++start_;
  }
  double* data() { return raw_.data() + start_; }
  std::vector<double> values() const {
    return std::vector<double>(raw_.begin() + static_cast<std::ptrdiff_t>(start_),
                               raw_.begin() + static_cast<std::ptrdiff_t>(start_ + n_));
  }

 private:
  std::vector<double> raw_;
  std::size_t n_, start_ = 0;
};

TEST(DgemmPacking, EveryCopyWritesItsStripLayoutWithZeroPadding) {
  using CopyA = decltype(qor_blas_def_dgemm_copyan);
  using CopyB = decltype(qor_blas_def_dgemm_copybn);
  qor::test::Rng rng(21);
  Mat<double> src(40, 40, 43);
  src.fill(rng);
  const double alpha = -2.0;
  // Element (i, l) of op(A) times alpha, (l, j) of op(B), 0 outside the block.
  auto a_val = [&](bool trans, i64 rows, i64 depth) {
    return [&, trans, rows, depth](i64 i, i64 l) {
      return i < rows && l < depth ? alpha * (trans ? src.at(l, i) : src.at(i, l)) : 0.0;
    };
  };
  auto b_val = [&](bool trans, i64 cols, i64 depth) {
    return [&, trans, cols, depth](i64 j, i64 l) { return j < cols && l < depth ? (trans ? src.at(j, l) : src.at(l, j)) : 0.0; };
  };
  struct A {
    const char* name;
    bool trans;
    i64 rows, depth, kp;
    std::vector<i64> widths;
  };
  const A as[] = {
      {"qor_blas_def_dgemm_copyan", false, 6, 9, 12, {2, 2, 2}},  // depth padded to a multiple of 4
      {"qor_blas_def_dgemm_copyat", true, 4, 8, 8, {2, 2}},
      {"qor_blas_def_dgemm_copyan_bdz", false, 25, 5, 6, {12, 12, 12}},  // an odd depth: one step of zeros
      {"qor_blas_def_dgemm_copyat_bdz", true, 24, 7, 8, {12, 12}},
      {"qor_blas_def_dgemm_copyan_0_brc", false, 6, 5, 8, {4, 4}},  // the last strip padded with zero rows
      {"qor_blas_def_dgemm_copyat_0_brc", true, 7, 6, 8, {4, 4}},
      {"qor_blas_def_dgemm_copyan_1_brc", false, 7, 5, 8, {4, 3}},  // the last strip at its own width
      {"qor_blas_def_dgemm_copyat_1_brc", true, 6, 9, 12, {4, 2}},
  };
  for (const A& c : as) {
    std::size_t used = 0;
    for (i64 w : c.widths) used += static_cast<std::size_t>(w * c.kp);
    AlignedPanel panel(used + 16);
    fn<CopyA>(c.name)(&c.rows, &c.depth, src.p(), &src.ld, panel.data(), &alpha);
    EXPECT_EQ(check_panel(panel.values(), c.widths, c.kp, a_val(c.trans, c.rows, c.depth)), "") << c.name;
  }
  struct B {
    const char* name;
    bool trans;
    i64 depth, cols, kp;
    std::vector<i64> widths;
  };
  const B bs[] = {
      {"qor_blas_def_dgemm_copybn", false, 5, 20, 8, {12, 8}},  // strips of 12, then one of 8 or 4
      {"qor_blas_def_dgemm_copybt", true, 8, 28, 8, {12, 12, 4}},
      {"qor_blas_def_dgemm_copybn_bdz", false, 7, 8, 8, {4, 4}},  // depth padded to even
      {"qor_blas_def_dgemm_copybt_bdz", true, 4, 12, 4, {4, 4, 4}},
      {"qor_blas_def_dgemm_copybn_brc", false, 6, 11, 8, {4, 4, 3}},
      {"qor_blas_def_dgemm_copybt_brc", true, 9, 6, 12, {4, 2}},
  };
  for (const B& c : bs) {
    std::size_t used = 0;
    for (i64 w : c.widths) used += static_cast<std::size_t>(w * c.kp);
    AlignedPanel panel(used + 16);
    fn<CopyB>(c.name)(&c.depth, &c.cols, src.p(), &src.ld, panel.data());
    EXPECT_EQ(check_panel(panel.values(), c.widths, c.kp, b_val(c.trans, c.cols, c.depth)), "") << c.name;
  }
}

// The straight-line kernel leaves its chain at the depth it is given and
// reads nothing past it (NaN there would reach C); the one without exits
// runs all 128 steps. C misaligned by 8 bytes takes the unaligned branch.
TEST(DgemmPacking, BaselineKernelStopsAtItsDepth) {
  using Inner = decltype(qor_blas_def_dgemm_inner);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  qor::test::Rng rng(4);
  const i64 m = 6, n = 20;
  // The kernel reads its panels and its expanded area with aligned loads.
  auto aligned = [](std::vector<double>& v) {
    return reinterpret_cast<double*>((reinterpret_cast<std::uintptr_t>(v.data()) + 63) & ~std::uintptr_t{63});
  };
  std::vector<double> expanded_store(12 * 2 * 128 + 8);
  for (const char* name : {"qor_blas_def_dgemm_inner", "qor_blas_def_dgemm_inner_general"}) {
    const bool general = std::string(name).find("general") != std::string::npos;
    for (i64 depth : {4, 8, 52, 124, 128}) {
      if (general && depth != 128) continue;
      for (i64 off : {0, 1}) {
        // Panels packed for this depth, then NaN up to 128 steps.
        std::vector<double> ap_store(m * 128 + 8, nan), bp_store(n * 128 + 8, nan);
        double *ap = aligned(ap_store), *bp = aligned(bp_store);
        for (i64 i = 0; i < m * depth; ++i) ap[i] = rng.next();
        i64 done = 0;
        for (i64 w : {12, 8}) {
          for (i64 q = 0; q < w * depth; ++q) bp[done + q] = rng.next();
          done += w * depth;
        }
        Mat<double> C(m, n, m + 1, off);
        C.fill(rng);
        const Mat<double> C0 = C;
        const i64 zero = 0;
        const double one = 1.0;
        fn<Inner>(name)(&m, &n, &depth, ap, bp, &zero, C.p(), &C.ld, aligned(expanded_store), &one);
        // Reference from the panels: A strip of 2 rows, B strips of 12 and 8.
        for (i64 j = 0; j < n; ++j)
          for (i64 i = 0; i < m; ++i) {
            const i64 w = j < 12 ? 12 : 8, j0 = j < 12 ? 0 : 12, bbase = j < 12 ? 0 : 12 * depth;
            long double s = 0;
            for (i64 l = 0; l < depth; ++l)
              s += static_cast<long double>(ap[(i / 2) * 2 * depth + l * 2 + i % 2]) * bp[bbase + l * w + (j - j0)];
            const long double want = s + C0.p()[i + j * C0.ld];
            ASSERT_LE(std::abs(C.at(i, j) - want), 1e-13L * (depth + 4)) << name << " depth " << depth << " off " << off;
          }
      }
    }
  }
}

// ---- Public interfaces --------------------------------------------------------

// The argument number of the one argument error reported, or 0.
struct ErrorSeen {
  int arg = 0;
  std::string routine;
};

ErrorSeen last_error(const qor::test::MessageCapture& cap) {
  ErrorSeen e;
  if (cap.count(QOR_MSG_ARGUMENT_ERROR) != 1) return e;
  for (const auto& m : cap.entries())
    if (m.kind == QOR_MSG_ARGUMENT_ERROR) {
      e.routine = m.routine;
      auto pos = m.text.find("number");
      if (pos != std::string::npos) e.arg = std::atoi(m.text.c_str() + pos + 6);
      pos = m.text.find("Parameter ");
      if (pos != std::string::npos) e.arg = std::atoi(m.text.c_str() + pos + 10);
    }
  return e;
}

TEST(DgemmInterface, FortranChecksEveryArgumentAndLeavesCAlone) {
  struct Bad {
    const char *ta, *tb;
    int m, n, k, lda, ldb, ldc, arg;
  };
  const Bad cases[] = {{"X", "N", 2, 2, 2, 2, 2, 2, 1},  {"N", "/", 2, 2, 2, 2, 2, 2, 2},
                       {"N", "N", -1, 2, 2, 2, 2, 2, 3}, {"N", "N", 2, -1, 2, 2, 2, 2, 4},
                       {"N", "N", 2, 2, -1, 2, 2, 2, 5}, {"N", "N", 3, 2, 2, 2, 2, 3, 8},
                       {"T", "N", 2, 2, 3, 2, 3, 2, 8},  {"N", "N", 2, 2, 3, 2, 2, 2, 10},
                       {"N", "t", 2, 3, 2, 2, 2, 2, 10}, {"N", "N", 3, 2, 2, 3, 2, 2, 13}};
  for (const Bad& c : cases) {
    double a[16] = {}, b[16] = {}, cc[16];
    for (double& v : cc) v = 7.0;
    const double one = 1.0;
    qor::test::MessageCapture cap;
    dgemm_(c.ta, c.tb, &c.m, &c.n, &c.k, &one, a, &c.lda, b, &c.ldb, &one, cc, &c.ldc, 1, 1);
    ErrorSeen e = last_error(cap);
    EXPECT_EQ(e.routine, "DGEMM");
    EXPECT_EQ(e.arg, c.arg) << c.ta << c.tb << c.m << c.n << c.k;
    for (double v : cc) EXPECT_EQ(v, 7.0);
    // The 64-bit twin checks the same way.
    const i64 m = c.m, n = c.n, k = c.k, lda = c.lda, ldb = c.ldb, ldc = c.ldc;
    qor::test::MessageCapture cap64;
    dgemm_64_(c.ta, c.tb, &m, &n, &k, &one, a, &lda, b, &ldb, &one, cc, &ldc, 1, 1);
    EXPECT_EQ(last_error(cap64).arg, c.arg);
  }
}

TEST(DgemmInterface, FortranAndCblasInBothLayoutsComputeTheProduct) {
  qor::test::Rng rng(11);
  const int m = 23, n = 17, k = 31;
  for (CBLAS_TRANSPOSE ta : {CblasNoTrans, CblasTrans, CblasConjTrans})
    for (CBLAS_TRANSPOSE tb : {CblasNoTrans, CblasTrans}) {
      const char la = ta == CblasNoTrans ? 'N' : 'T', lb = tb == CblasNoTrans ? 'N' : 'T';
      // Column-major operands; in row-major terms the same storage is the
      // transpose, so a row-major call on A^T, B^T gives C^T.
      Mat<double> A(la == 'N' ? m : k, la == 'N' ? k : m, (la == 'N' ? m : k) + 2);
      Mat<double> B(lb == 'N' ? k : n, lb == 'N' ? n : k, (lb == 'N' ? k : n) + 1);
      Mat<double> C(m, n, m + 3);
      A.fill(rng);
      B.fill(rng);
      C.fill(rng);
      const Mat<double> C0 = C;
      const int lda = static_cast<int>(A.ld), ldb = static_cast<int>(B.ld), ldc = static_cast<int>(C.ld);
      cblas_dgemm(CblasColMajor, ta, tb, m, n, k, 0.5, A.p(), lda, B.p(), ldb, -1.0, C.p(), ldc);
      ASSERT_EQ(gemm_test::check_gemm<double>(la, lb, m, n, k, 0.5, A, B, -1.0, C0, C), "");
      // Row-major: C^T (n x m) = op(B)^T op(A)^T, with the same storage.
      C = C0;
      cblas_dgemm_64(CblasRowMajor, tb, ta, n, m, k, 0.5, B.p(), ldb, A.p(), lda, -1.0, C.p(), ldc);
      ASSERT_EQ(gemm_test::check_gemm<double>(la, lb, m, n, k, 0.5, A, B, -1.0, C0, C), "");
      C = C0;
      dgemm_(&la, &lb, &m, &n, &k, std::array<double, 1>{0.5}.data(), A.p(), &lda, B.p(), &ldb,
             std::array<double, 1>{-1.0}.data(), C.p(), &ldc, 1, 1);
      ASSERT_EQ(gemm_test::check_gemm<double>(la, lb, m, n, k, 0.5, A, B, -1.0, C0, C), "");
    }
}

TEST(DgemmInterface, CblasChecksInTheCallersTerms) {
  double a[64] = {}, b[64] = {}, c[64];
  for (double& v : c) v = 7.0;
  struct Bad {
    CBLAS_LAYOUT layout;
    CBLAS_TRANSPOSE ta, tb;
    int m, n, k, lda, ldb, ldc, arg;
  };
  const auto C = CblasColMajor, R = CblasRowMajor;
  const auto N = CblasNoTrans, T = CblasTrans;
  const Bad cases[] = {{static_cast<CBLAS_LAYOUT>(7), N, N, 2, 2, 2, 2, 2, 2, 1},
                       {C, static_cast<CBLAS_TRANSPOSE>(5), N, 2, 2, 2, 2, 2, 2, 2},
                       {C, N, static_cast<CBLAS_TRANSPOSE>(5), 2, 2, 2, 2, 2, 2, 3},
                       {C, N, N, -1, 2, 2, 2, 2, 2, 4},
                       {R, N, N, 2, -1, 2, 2, 2, 2, 5},
                       {C, N, N, 2, 2, -1, 2, 2, 2, 6},
                       {C, N, N, 3, 2, 2, 2, 2, 3, 9},   // col-major A is m x k: lda >= m
                       {R, N, N, 3, 2, 4, 3, 2, 2, 9},   // row-major A is m x k: lda >= k
                       {R, T, N, 3, 2, 4, 2, 2, 2, 9},   // row-major A^T stored k x m: lda >= m
                       {C, N, T, 2, 3, 2, 2, 2, 2, 11},  // col-major B^T stored n x k: ldb >= n
                       {R, N, N, 2, 3, 2, 2, 2, 3, 11},  // row-major B is k x n: ldb >= n
                       {C, N, N, 3, 2, 2, 3, 2, 2, 14},
                       {R, N, N, 2, 3, 2, 2, 3, 2, 14}};
  for (const Bad& x : cases) {
    qor::test::MessageCapture cap;
    cblas_dgemm(x.layout, x.ta, x.tb, x.m, x.n, x.k, 1.0, a, x.lda, b, x.ldb, 1.0, c, x.ldc);
    ErrorSeen e = last_error(cap);
    EXPECT_EQ(e.routine, "cblas_dgemm");
    EXPECT_EQ(e.arg, x.arg);
    for (double v : c) EXPECT_EQ(v, 7.0);
  }
}

}  // namespace
