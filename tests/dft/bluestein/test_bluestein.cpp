// The Bluestein backends against independent oracles: the long double DFT
// with a bound scaled by log M, the identity between the two directions
// through conjugation, the library's own lists handing them what the
// default road declines, batches through strides, offsets, distances and
// every scale, teams of one and two threads, and allocation failure at
// every request of commit and compute.
#include <limits>

#include "dft/backends/backends_test.h"
#include "dft/backends/bluestein.h"

namespace qor::test::bluestein {
namespace {

using namespace qor::test::backends;

template <class R> class DftBluestein : public ::testing::Test {};
TYPED_TEST_SUITE(DftBluestein, Precisions);

// The Bluestein objects of the loaded kernel library.
const dfxi_backend* object(bool dbl, bool strided) {
  return member_symbol<const dfxi_backend>(strided ? (dbl ? "qor_dft_def_bkd_c2c_1d_bluestein_strided_d"
                                                          : "qor_dft_def_bkd_c2c_1d_bluestein_strided_s")
                                                   : (dbl ? "qor_dft_def_bkd_c2c_1d_bluestein_d"
                                                          : "qor_dft_def_bkd_c2c_1d_bluestein_s"));
}
template <class R> const dfxi_backend* plain() { return object(sizeof(R) == 8, false); }
template <class R> const dfxi_backend* strided() { return object(sizeof(R) == 8, true); }

// The two Bluestein objects alone, so that lengths the default road would
// take go to them.
template <class R> const dfxi_backend* const* bluestein_only() {
  static const dfxi_backend* list[3];
  list[0] = plain<R>();
  list[1] = strided<R>();
  list[2] = nullptr;
  return list;
}

// The layout offered `list`, or the list the kernel library gives a node
// of its class when `list` is null.
Layout on(Layout g, const dfxi_backend* const* list) {
  g.list = list;
  g.library_list = list == nullptr;
  return g;
}
template <class R> std::uint32_t commit_on(Node& n, const Layout& g, const dfxi_backend* const* list) {
  return make_node<R>(n, on(g, list));
}
template <class R> const dfxi_backend* run_on(const Layout& g, const dfxi_backend* const* list) {
  return run_layout<R>(on(g, list));
}

// The length of the circular convolution: the smallest power of two that
// holds a linear convolution of two sequences of L values.
i64 convolution_length(i64 L) {
  i64 m = 1;
  while (m < 2 * L - 1) m *= 2;
  return m == 2 * L - 1 ? 2 * m : m;
}

// Relative error a Bluestein transform may have: a few roundings for each
// of the log2(M) stages of the two transforms of length M.
template <class R> double bound(i64 L) {
  return 2 * std::numeric_limits<R>::epsilon() * std::log2(static_cast<double>(convolution_length(L)));
}

// ---- Which backend takes what ----

// Commits the geometry alone (no plan, no backend list), so that a
// backend can be offered the node directly.
template <class R> void describe(Node& n, Layout g, bool split = false) {
  g.split = split;
  ASSERT_EQ(describe_node<R>(n, g), 0u);
  n->bkdown_list = nullptr;
  ASSERT_EQ(n.m().commit(n.get()), 0u);
}

TYPED_TEST(DftBluestein, TheListsHandBluesteinWhatTheDefaultRoadDeclines) {
  using R = TypeParam;
  constexpr bool dbl = sizeof(R) == 8;
  AllocWatch watch;
  ASSERT_NE(plain<R>(), nullptr);
  ASSERT_NE(strided<R>(), nullptr);

  // Strided lengths with a large prime factor: the default road declines,
  // the plain form cannot serve the stride, the strided form takes them.
  Layout g;
  g.length = 7;
  g.stride_in = 2;
  EXPECT_EQ(run_on<R>(g, nullptr), strided<R>());
  g.inplace = false;
  g.stride_out = 3;
  EXPECT_EQ(run_on<R>(g, nullptr), strided<R>());
  g.length = 2 * 1009;
  EXPECT_EQ(run_on<R>(g, nullptr), strided<R>());

  // What the earlier roads do stays with them.
  Layout u;
  u.length = 7;
  EXPECT_EQ(run_on<R>(u, nullptr), small_backend(dbl));
  u.length = 5003;
  EXPECT_EQ(run_on<R>(u, nullptr), nullptr);
  u.length = 360;
  u.stride_in = 2;
  EXPECT_EQ(run_on<R>(u, nullptr), nullptr);

  // Offered directly: a stride or an offset is the strided form's alone.
  for (const bool offset : {false, true}) {
    Layout s;
    s.length = 7;
    s.stride_in = offset ? 1 : 2;
    s.offset_in = offset ? 1 : 0;
    Node n;
    describe<R>(n, s);
    EXPECT_EQ(plain<R>()->commit(plain<R>(), n.get()), 100u);
    EXPECT_EQ(n->bkd, nullptr);
    EXPECT_EQ(n->bkd_data, nullptr);
    EXPECT_EQ(n->compute_forward, nullptr);
    EXPECT_EQ(strided<R>()->commit(strided<R>(), n.get()), 0u);
    EXPECT_EQ(n->bkd, strided<R>());
  }

  // Length 1 and powers of two belong to the default road; split storage
  // and the other precision are declined too.
  auto declined = [](const dfxi_backend* b, i64 L, i64 stride, bool split) {
    Layout p;
    p.length = L;
    p.stride_in = stride;
    Node n;
    describe<R>(n, p, split);
    return n.get() != nullptr && b->commit(b, n.get()) == 100u && n->bkd == nullptr;
  };
  for (i64 L : {1, 2, 8, 1024})
    for (i64 stride : {1, 2}) {
      EXPECT_TRUE(declined(plain<R>(), L, stride, false)) << L;
      EXPECT_TRUE(declined(strided<R>(), L, stride, false)) << L;
    }
  EXPECT_TRUE(declined(strided<R>(), 7, 2, true));
  EXPECT_TRUE(declined(object(!dbl, true), 7, 2, false));
}

// ---- Accuracy ----

// Every transform of a batch of contiguous vectors against the long double
// DFT, in and out of place, both directions; the nested transform has the
// convolution length (8 for the shortest length served, 3).
TYPED_TEST(DftBluestein, MatchesTheLongDoubleDft) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L : {3, 5, 6, 7, 12, 97, 100, 1009, 4097})
    for (bool inplace : {true, false}) {
      const Layout g{.length = L, .batch = 2, .inplace = inplace};
      Node n;
      ASSERT_EQ(commit_on<R>(n, g, bluestein_only<R>()), 0u);
      ASSERT_EQ(n->bkd, plain<R>());
      const auto* d = static_cast<const qor::dfxi::BluesteinData*>(n->bkd_data);
      ASSERT_TRUE(d != nullptr && d->nested != nullptr);
      EXPECT_EQ(d->padded, L == 3 ? 8 : convolution_length(L));
      EXPECT_EQ(d->nested->length, d->padded);
      SCOPED_TRACE(::testing::Message() << "L " << L << (inplace ? " in" : " out"));
      for (bool inverse : {false, true})
        expect_right<R>(n.get(), g, inverse, static_cast<std::uint64_t>(L), bound<R>(L));
    }
}

// bwd(x) = conj(fwd(conj(x))). At a length too long for the direct sum,
// also a few bins against the long double sum of that bin alone.
TYPED_TEST(DftBluestein, BackwardIsTheConjugateOfForwardOfTheConjugate) {
  using R = TypeParam;
  AllocWatch watch;
  for (const i64 L : {7, 1009, 65537}) {
    Layout g;
    g.length = L;
    g.stride_in = L > 10000 ? 2 : 1;  // the long one on the strided form, from the library's list
    Node n;
    ASSERT_EQ(commit_on<R>(n, g, L > 10000 ? nullptr : bluestein_only<R>()), 0u);
    ASSERT_EQ(n->bkd, L > 10000 ? strided<R>() : plain<R>());
    const i64 s = g.stride_in;
    Data<R> x(g.span_in(), false, 31), none(0, false, 0);
    Data<R> c = x;
    for (i64 j = 0; j < L; ++j) c.a[2 * j * s + 1] = -c.a[2 * j * s + 1];
    const Data<R> original = x;
    ASSERT_EQ(compute<R>(n.get(), true, x, none, g), 0u);
    ASSERT_EQ(compute<R>(n.get(), false, c, none, g), 0u);
    LD num = 0, den = 0;
    for (i64 k = 0; k < L; ++k) {
      const LD dr = x.a[2 * k * s] - c.a[2 * k * s], di = x.a[2 * k * s + 1] + c.a[2 * k * s + 1];
      num += dr * dr + di * di;
      den += LD(x.a[2 * k * s]) * x.a[2 * k * s] + LD(x.a[2 * k * s + 1]) * x.a[2 * k * s + 1];
    }
    EXPECT_LE(static_cast<double>(sqrtl(num / den)), 2 * bound<R>(L)) << L;
    if (L < 10000) continue;
    dft::RefVec v(2 * L);
    LD energy = 0;
    for (i64 j = 0; j < L; ++j) {
      v[2 * j] = original.a[2 * j * s];
      v[2 * j + 1] = original.a[2 * j * s + 1];
      energy += v[2 * j] * v[2 * j] + v[2 * j + 1] * v[2 * j + 1];
    }
    // A bin's error is the transform's relative error times the RMS of
    // the bins, sqrt(energy) by Parseval; allow a factor for the spread.
    const double per_bin = 8 * bound<R>(L) * static_cast<double>(sqrtl(energy));
    for (i64 k : {i64{0}, i64{1}, L / 3, L - 1}) {
      LD re = 0, im = 0;
      dft::reference_bin(v, k, true, &re, &im);
      EXPECT_LE(static_cast<double>(fabsl(x.a[2 * k * s] - re)), per_bin) << "bin " << k;
      EXPECT_LE(static_cast<double>(fabsl(x.a[2 * k * s + 1] - im)), per_bin) << "bin " << k;
    }
  }
}

// ---- Geometry and scales ----

// Each shape of batch runs under each form of scale: 1, 1/L one way or
// the other, 1/sqrt(L) both ways, and two that are none of these.
TYPED_TEST(DftBluestein, BatchesThroughStridesOffsetsDistancesAndScales) {
  using R = TypeParam;
  AllocWatch watch;
  // length, batch, strides in and out, offsets in and out, distances, in place
  const Layout shapes[] = {
      {97, 3, 1, 1, 0, 0, 100, 120, false},      // plain, spread out
      {97, 3, 1, 1, 0, 0, 101, 0, true},         // plain, in place
      {7, 3, 2, 2, 1, 1, 20, 20, true},          // strided in place with an offset
      {97, 2, 3, 2, 5, 7, 400, 300, false},      // strided both sides
      {97, 2, 1, 1, 3, 0, 100, 97, false},       // an offset only
      {1009, 2, 2, 1, 0, 2, 2100, 1011, false},  // strided input only
  };
  for (const Layout& s : shapes) {
    const double inv = 1.0 / static_cast<double>(s.length), root = std::sqrt(inv);
    const std::pair<double, double> scales[] = {{1.0, 1.0}, {inv, 1.0}, {1.0, inv}, {root, root}, {0.25, 3.0}};
    for (auto [f, b] : scales) {
      Layout g = s;
      g.scale_f = f;
      g.scale_b = b;
      const bool unit = g.stride_in == 1 && g.sout() == 1 && g.offset_in == 0 && g.oout() == 0;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << " strides " << g.stride_in << "," << g.stride_out
                                        << " offsets " << g.offset_in << "," << g.offset_out
                                        << (g.inplace ? " in" : " out") << " scales " << f << ", " << b);
      EXPECT_EQ(run_on<R>(g, bluestein_only<R>()), unit ? plain<R>() : strided<R>());
    }
  }
}

// ---- Teams ----

// Counts the team runs asked of threading slot 6 with more than one
// thread, and passes them on.
dfxi_team_fn g_run_team = nullptr;
int g_team_runs = 0;
std::uint32_t counting_team(int limit, int threads, dfxi_task_fn task, void* context) {
  if (threads > 1) ++g_team_runs;
  return g_run_team(limit, threads, task, context);
}

// Blessing a node fills the table anew, so the count goes in after commit.
void count_teams(dfxi_node* p) { p->qorapi->run_team = counting_team; }

TYPED_TEST(DftBluestein, OneAndTwoThreadsGiveTheSameBits) {
  using R = TypeParam;
  if (qor_get_max_threads() < 2) GTEST_SKIP() << "one thread only";
  AllocWatch watch;
  Node probe;
  describe<R>(probe, Layout{});
  node::Slots slots(probe->qorapi);
  g_run_team = slots->run_team;
  ASSERT_NE(g_run_team, nullptr);

  const Layout contiguous{.length = 1009, .batch = 2, .inplace = false};
  const Layout spaced{.length = 4099, .stride_in = 3};
  const Layout small{.length = 3, .stride_in = 2};
  for (const Layout& g : {contiguous, spaced, small})
    for (bool inverse : {false, true}) {
      SCOPED_TRACE(::testing::Message() << "L " << g.length << (inverse ? " backward" : " forward"));
      const Layout offered = on(g, g.stride_in == 1 ? bluestein_only<R>() : nullptr);
      g_team_runs = 0;
      const Data<R> one = run_with<R>(offered, 1, inverse, count_teams);
      EXPECT_EQ(g_team_runs, 0);
      const Data<R> two = run_with<R>(offered, 2, inverse, count_teams);
      EXPECT_GT(g_team_runs, 0);
      EXPECT_TRUE(one == two);
    }
}

// Every element of a pointwise pass goes to exactly one member, in runs
// that start on a group of 4, and no member gets much more than its part.
TEST(DftBluesteinShare, EachElementOnce) {
  for (i64 n : {0, 1, 3, 4, 5, 7, 8, 9, 15, 16, 17, 33, 97, 100, 1009, 4096})
    for (i64 members = 1; members <= 5; ++members) {
      std::vector<int> owner(static_cast<std::size_t>(n), 0);
      const i64 groups = (n + 3) / 4;
      for (i64 i = 0; i < members; ++i) {
        i64 first = -1, count = -1;
        qor::dfxi::pointwise_share(n, members, i, &first, &count);
        ASSERT_GE(count, 0);
        if (count == 0) continue;
        EXPECT_EQ(first % 4, 0) << n << " " << members << " " << i;
        EXPECT_LE(count, 4 * ((groups + members - 1) / members)) << n << " " << members << " " << i;
        ASSERT_LE(first + count, n);
        for (i64 k = first; k < first + count; ++k) ++owner[static_cast<std::size_t>(k)];
      }
      for (i64 k = 0; k < n; ++k) ASSERT_EQ(owner[static_cast<std::size_t>(k)], 1) << n << " " << members << " " << k;
    }
}

// ---- Failure ----

// The k-th allocation and all later ones refused, for every k, through a
// commit and both directions of compute: status 1, nothing of the caller's
// changed, nothing leaked; until the first k with which everything works.
TYPED_TEST(DftBluestein, AllocationFailureLeavesEverythingAsItWas) {
  using R = TypeParam;
  // The nested transform of the first needs a work buffer off the stack.
  const Layout contiguous{.length = 1009, .batch = 3};
  const Layout spaced{.length = 7, .batch = 2, .stride_in = 2, .stride_out = 2, .thread_limit = 2};
  for (Layout g : {contiguous, spaced})
    for (bool inplace : {true, false}) {
      g.inplace = inplace;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << (inplace ? " in" : " out"));
      const Layout offered = on(g, g.stride_in == 1 ? bluestein_only<R>() : nullptr);
      int commit_failures = 0, compute_failures = 0;
      dft::fail_each_request([&](std::int64_t k) {
        qor_fault_reset();  // described and planned before the faults begin
        Node n;
        ASSERT_EQ(make_node<R>(n, offered), 0u);
        Data<R> in(g.span_in(), false, 51);
        Data<R> out(inplace ? 0 : g.span_out(), false, 52);
        dft::refuse_from(k);
        const std::uint32_t committed = n.m().commit(n.get());
        if (committed != 0) {
          EXPECT_EQ(committed, 1u) << k;
          EXPECT_EQ(n->compute_forward, nullptr) << k;
          EXPECT_EQ(n->bkd_data, nullptr) << k;
          ++commit_failures;
          return;
        }
        for (bool inverse : {false, true}) {
          const Data<R> in_now = in, out_now = out;
          const std::uint32_t st = compute<R>(n.get(), inverse, in, out, g);
          if (st != 0) {
            EXPECT_EQ(st, 1u) << k;
            EXPECT_TRUE(in == in_now) << k;
            EXPECT_TRUE(out == out_now) << k;
            ++compute_failures;
            return;
          }
        }
      });
      EXPECT_GE(commit_failures, 1);
      EXPECT_GE(compute_failures, 1);
    }
}

// Committing again, moving between the forms and destroying leave nothing
// behind, and the node keeps computing right.
TYPED_TEST(DftBluestein, RecommitReplacesThePlan) {
  using R = TypeParam;
  AllocWatch watch;
  Node n;
  ASSERT_EQ(commit_on<R>(n, Layout{.length = 7, .stride_in = 2}, bluestein_only<R>()), 0u);
  EXPECT_EQ(n->bkd, strided<R>());
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, strided<R>());
  const i64 unit[2] = {0, 1};
  ASSERT_EQ(n.m().setInputStrides(n.get(), unit), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, plain<R>());
  ASSERT_EQ(n.m().setScale(n.get(), 4, 0.5), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, plain<R>());
  expect_right<R>(n.get(), Layout{.length = 7, .scale_f = 0.5}, false);
}

}  // namespace
}  // namespace qor::test::bluestein
