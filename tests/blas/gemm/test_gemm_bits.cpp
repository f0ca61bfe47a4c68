// The exact bits of every GEMM body, s, d, c and z, against a recorded
// table (gemm_bits_<kind>.txt beside this file).
//
// The other GEMM tests bound the error; this one pins the result. It runs
// each body over a grid that reaches every branch of the drivers (letters,
// the special values of alpha and beta, tails of every tile, depths around
// every depth block, rows and columns past every block, wide leading
// dimensions, a misaligned C, a refused work area) and folds the bytes of
// each output array, padding included, into one 64-bit hash per group. A
// change in the order of any sum, in the tile that takes an element or in
// the handling of an edge shows as a different hash.
//
// The bits depend on how the kernel library was compiled (the optimisation
// level decides which products the FMA classes fuse), so each kind of tree
// tools/configure.sh makes has its own table, gemm_bits_<kind>.txt; a kind
// with no table skips the test. A table is written from a known-good build
// with
//   QOR_GEMM_BITS_RECORD=1 test_blas_gemm_bits
// Paths this machine cannot run are skipped; the 512-bit path is left out,
// since its bodies are free to sum in their own order.
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "blas/gemm/signatures.h"
#include "common/testing.h"
#include "qor/qor.h"

#ifndef QOR_GEMM_BITS_TABLE
#error "QOR_GEMM_BITS_TABLE must name the table file"
#endif

namespace {

using i64 = std::int64_t;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T>
using Body = qor::gemm_sig::gemm_fn<T>;

template <class T>
constexpr bool is_cx = !std::is_same_v<T, float> && !std::is_same_v<T, double>;

template <class T>
T value(double re, double im) {
  if constexpr (is_cx<T>) {
    return T(static_cast<typename T::value_type>(re), static_cast<typename T::value_type>(im));
  } else {
    return static_cast<T>(re);
  }
}

// The member the core loaded, opened once more to look its bodies up.
void* member() {
  static void* h = [] {
    EXPECT_EQ(qor_member_load(), 0);
    return dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL);
  }();
  return h;
}

template <class T>
Body<T>* body(const std::string& name) {
  void* p = dlsym(member(), name.c_str());
  EXPECT_NE(p, nullptr) << name;
  return reinterpret_cast<Body<T>*>(p);
}

// FNV-1a over bytes.
struct Hash {
  std::uint64_t h = 0xcbf29ce484222325ULL;
  void add(const void* p, std::size_t n) {
    const auto* b = static_cast<const unsigned char*>(p);
    for (std::size_t i = 0; i < n; ++i) h = (h ^ b[i]) * 0x100000001b3ULL;
  }
};

// One product. Scalars are (re, im) pairs; the imaginary parts count only
// for the complex members.
struct Case {
  char ta, tb;
  i64 m, n, k;
  double ar, ai, br, bi;
  bool nan_c = false;   // C starts as NaN (with beta 0 it must not show)
  i64 pad = 0;          // extra rows in every leading dimension
  i64 c_off = 0;        // C starts this many elements into its array
  bool refuse = false;  // the work area is refused
};

constexpr double kAr = 0.75, kAi = -0.5, kBr = 1.25, kBi = 0.375;

// Runs one case and folds the whole C array into the hash.
template <class T>
void run(Body<T>* f, const Case& c, Hash& h) {
  const bool na = c.ta == 'N', nb = c.tb == 'N';
  const i64 ar = na ? c.m : c.k, ac = na ? c.k : c.m, br = nb ? c.k : c.n, bc = nb ? c.n : c.k;
  const i64 lda = (ar > 1 ? ar : 1) + c.pad, ldb = (br > 1 ? br : 1) + c.pad, ldc = (c.m > 1 ? c.m : 1) + c.pad;
  qor::test::Rng rng(static_cast<std::uint64_t>(c.m * 1000003 + c.n * 1009 + c.k * 7 + c.pad));
  auto fill = [&](std::vector<T>& v) {
    for (T& x : v) x = value<T>(rng.next(), is_cx<T> ? rng.next() : 0.0);
  };
  std::vector<T> a(static_cast<std::size_t>(lda * (ac > 0 ? ac : 1))), b(static_cast<std::size_t>(ldb * (bc > 0 ? bc : 1)));
  std::vector<T> cv(static_cast<std::size_t>(c.c_off + ldc * c.n));
  fill(a);
  fill(b);
  fill(cv);
  if (c.nan_c) {
    const double q = std::numeric_limits<double>::quiet_NaN();
    for (i64 j = 0; j < c.n; ++j)
      for (i64 i = 0; i < c.m; ++i) cv[static_cast<std::size_t>(c.c_off + i + j * ldc)] = value<T>(q, q);
  }
  const T alpha = value<T>(c.ar, c.ai), beta = value<T>(c.br, c.bi);
  if (c.refuse) qor_fault_fail_next(QOR_POOL_ALLOCATE, 1);
  f(&c.ta, &c.tb, &c.m, &c.n, &c.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta, cv.data() + c.c_off, &ldc);
  if (c.refuse) qor_fault_reset();
  h.add(cv.data(), cv.size() * sizeof(T));
}

// ---- The grid -------------------------------------------------------------------

std::vector<std::pair<char, char>> letter_pairs(bool complex) {
  const char* ls = complex ? "NTC" : "NT";
  std::vector<std::pair<char, char>> v;
  for (const char* x = ls; *x; ++x)
    for (const char* y = ls; *y; ++y) v.push_back({*x, *y});
  return v;
}

// Each group is a list of cases; letters rotate through the list so that
// every pair meets tails of every kind.
using Group = std::pair<std::string, std::vector<Case>>;

std::vector<Group> grid(bool complex) {
  const auto pairs = letter_pairs(complex);
  std::size_t turn = 0;
  auto next = [&]() { return pairs[turn++ % pairs.size()]; };
  auto plain = [&](i64 m, i64 n, i64 k) {
    auto [ta, tb] = next();
    return Case{ta, tb, m, n, k, kAr, kAi, kBr, kBi};
  };
  std::vector<Group> g;

  // Small shapes: every tail of every tile, the unpacked kernel and the
  // thresholds under which bodies go unpacked.
  {
    std::vector<Case> v;
    const i64 mn[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 13, 16, 17, 25};
    const i64 ks[] = {1, 2, 3, 5, 8, 9, 17};
    for (i64 m : mn)
      for (i64 n : mn)
        for (i64 k : ks) v.push_back(plain(m, n, k));
    g.push_back({"small", v});
  }
  // Every letter pair on shapes that fill whole tiles and leave tails.
  {
    std::vector<Case> v;
    for (auto [ta, tb] : pairs)
      for (auto s : {std::array<i64, 3>{13, 17, 9}, {33, 14, 70}, {50, 6, 130}, {17, 25, 200}, {48, 24, 64}})
        v.push_back(Case{ta, tb, s[0], s[1], s[2], kAr, kAi, kBr, kBi});
    g.push_back({"letters", v});
  }
  // alpha 0, 1, other; beta 0 (over NaN and over numbers), 1, other, NaN;
  // no depth.
  {
    std::vector<Case> v;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct S {
      double ar, ai, br, bi;
      bool nan_c;
    };
    const S ss[] = {{0, 0, 0, 0, true},     {0, 0, 1, 0, false},   {0, 0, kBr, kBi, false}, {1, 0, 0, 0, true},
                    {1, 0, 0, 0, false},    {1, 0, 1, 0, false},   {1, 0, kBr, kBi, false}, {kAr, kAi, 0, 0, true},
                    {kAr, kAi, 1, 0, false}, {kAr, kAi, kBr, kBi, false}, {kAr, kAi, nan, 0, false},
                    {0, 0, nan, 0, false}};
    for (auto [ta, tb] : pairs)
      for (auto s : {std::array<i64, 3>{9, 7, 5}, {40, 36, 70}, {130, 21, 140}, {9, 7, 0}, {40, 13, 1}})
        for (const S& x : ss) {
          Case c{ta, tb, s[0], s[1], s[2], x.ar, x.ai, x.br, x.bi};
          c.nan_c = x.nan_c;
          v.push_back(c);
        }
    g.push_back({"scalars", v});
  }
  // Depths around every depth block and its halving rule.
  {
    std::vector<Case> v;
    for (i64 k : {63, 64, 65, 111, 112, 113, 127, 128, 129, 130, 131, 132, 191, 192, 193, 194, 200, 224, 255, 256, 257,
                  258, 259, 300, 302, 383, 384, 385, 448, 511, 512, 513, 514, 600, 769})
      v.push_back(plain(21, 13, k));
    g.push_back({"depth", v});
  }
  // Rows around and past every row block.
  {
    std::vector<Case> v;
    for (i64 m : {23, 24, 25, 63, 64, 65, 127, 128, 129, 239, 240, 241, 255, 256, 257, 319, 320, 321, 479, 480, 481,
                  503, 504, 505, 511, 512, 513, 639, 640, 641, 1023, 1025, 1537, 1601, 3201, 6401})
      v.push_back(plain(m, 9, 35));
    g.push_back({"rows", v});
  }
  // Columns around and past every column block.
  {
    std::vector<Case> v;
    for (i64 n : {95, 96, 97, 191, 192, 193, 255, 256, 257, 383, 384, 385, 511, 512, 513, 1999, 2000, 2001, 4993, 5001})
      v.push_back(plain(19, n, 20));
    g.push_back({"columns", v});
  }
  // Blocks in two directions at once, and the row block of the baseline
  // d body for tall products of short depth.
  {
    std::vector<Case> v;
    for (auto s : {std::array<i64, 3>{520, 400, 270}, {130, 410, 520}, {9990, 12, 5}, {9990, 12, 30}, {9990, 12, 40},
                   {9990, 12, 100}, {30, 9990, 20}})
      v.push_back(plain(s[0], s[1], s[2]));
    g.push_back({"blocks", v});
  }
  // Leading dimensions larger than needed and a C off its alignment.
  {
    std::vector<Case> v;
    for (auto [ta, tb] : pairs)
      for (auto s : {std::array<i64, 3>{13, 17, 9}, {37, 22, 131}, {5, 40, 12}}) {
        Case c{ta, tb, s[0], s[1], s[2], kAr, kAi, kBr, kBi};
        c.pad = 3;
        c.c_off = 1;
        v.push_back(c);
      }
    g.push_back({"leading", v});
  }
  // The work area refused: the body falls back to the unpacked kernel.
  {
    std::vector<Case> v;
    for (auto s : {std::array<i64, 3>{61, 35, 140}, {25, 14, 9}, {40, 6, 20}, {200, 64, 300}, {13, 17, 9}}) {
      Case c = plain(s[0], s[1], s[2]);
      c.refuse = true;
      v.push_back(c);
    }
    g.push_back({"refused", v});
  }
  return g;
}

// ---- The table ----------------------------------------------------------------------

std::map<std::string, std::string> read_table() {
  std::map<std::string, std::string> t;
  std::ifstream in(QOR_GEMM_BITS_TABLE);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    const auto cut = line.rfind(' ');
    if (cut != std::string::npos) t[line.substr(0, cut)] = line.substr(cut + 1);
  }
  return t;
}

std::string hex(std::uint64_t h) {
  char buf[17];
  std::snprintf(buf, sizeof buf, "%016llx", static_cast<unsigned long long>(h));
  return buf;
}

// A body of one type and the paths it runs on (empty: every path).
template <class T>
struct Named {
  std::string label, symbol;
  std::vector<int> paths;
};

template <class T>
std::vector<Named<T>> bodies();

template <>
std::vector<Named<double>> bodies() {
  const int brc = QOR_CPU_PATH_BARCELONA;
  return {{"entry", "qor_blas_def_xdgemm", {}},
          {"0_0_brc", "qor_blas_def_xdgemm0_0_brc", {brc}},
          {"0_1_brc", "qor_blas_def_xdgemm0_1_brc", {brc}},
          {"1_1_brc", "qor_blas_def_xdgemm1_1_brc", {brc}},
          {"hi_thr_bdz", "qor_blas_def_xdgemm_hi_thr_bdz", {QOR_CPU_PATH_BULLDOZER, QOR_CPU_PATH_ZEN}}};
}
template <>
std::vector<Named<float>> bodies() {
  const int brc = QOR_CPU_PATH_BARCELONA;
  return {{"entry", "qor_blas_def_xsgemm", {}},
          {"0_0_brc", "qor_blas_def_xsgemm0_0_brc", {brc}},
          {"0_1_brc", "qor_blas_def_xsgemm0_1_brc", {brc}},
          {"1_1_brc", "qor_blas_def_xsgemm1_1_brc", {brc}}};
}
template <>
std::vector<Named<c32>> bodies() {
  return {{"entry", "qor_blas_def_xcgemm", {}}};
}
template <>
std::vector<Named<c64>> bodies() {
  return {{"entry", "qor_blas_def_xzgemm", {}}};
}

class GemmBits : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    record_ = std::getenv("QOR_GEMM_BITS_RECORD") != nullptr;
    table_ = read_table();
    have_table_ = !table_.empty();
    // One thread, so that the matrix-vector products some bodies call are
    // never split.
    qor_set_num_threads(1);
  }
  static void TearDownTestSuite() {
    qor_set_num_threads(0);
    if (!record_) return;
    std::ofstream out(QOR_GEMM_BITS_TABLE);
    out << "# GEMM output hashes: path type body group hash (test_gemm_bits.cpp)\n";
    for (const auto& [key, h] : recorded_) out << key << ' ' << h << '\n';
  }

  void SetUp() override {
    if (!record_ && !have_table_) GTEST_SKIP() << "no recorded bits for this kind of build: " << QOR_GEMM_BITS_TABLE;
  }

  template <class T>
  void check(const char* type) {
    const auto groups = grid(is_cx<T>);
    qor::test::MessageCapture quiet;  // the refused work areas warn
    qor::test::on_every_path(
        [&](int path) {
          if (path == QOR_CPU_PATH_AVX512) return;
          for (const Named<T>& nb : bodies<T>()) {
            if (!nb.paths.empty() && std::find(nb.paths.begin(), nb.paths.end(), path) == nb.paths.end()) continue;
            Body<T>* f = body<T>(nb.symbol);
            ASSERT_NE(f, nullptr);
            for (const Group& grp : groups) {
              Hash h;
              for (const Case& c : grp.second) run<T>(f, c, h);
              const std::string key =
                  std::string(qor_cpu_path_name(path)) + ' ' + type + ' ' + nb.label + ' ' + grp.first;
              if (record_) {
                recorded_[key] = hex(h.h);
                continue;
              }
              auto it = table_.find(key);
              if (it == table_.end()) {
                ADD_FAILURE() << "no recorded bits for " << key;
              } else {
                EXPECT_EQ(hex(h.h), it->second) << key;
              }
            }
          }
        },
        qor::test::TunedOn::paths({QOR_CPU_PATH_BARCELONA, QOR_CPU_PATH_BULLDOZER, QOR_CPU_PATH_ZEN}));
  }

  static inline bool record_ = false, have_table_ = false;
  static inline std::map<std::string, std::string> table_;
  static inline std::map<std::string, std::string> recorded_;
};

TEST_F(GemmBits, Single) { check<float>("s"); }
TEST_F(GemmBits, Double) { check<double>("d"); }
TEST_F(GemmBits, SingleComplex) { check<c32>("c"); }
TEST_F(GemmBits, DoubleComplex) { check<c64>("z"); }

}  // namespace
