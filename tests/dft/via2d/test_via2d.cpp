// The four-step road of very long complex one-dimensional transforms.
//
// Oracles: selected bins of the long double DFT (O(n) each), pure tones
// (a misplaced row or column moves the peak), the round trip and Parseval's
// identity, with bounds scaled by the length and the data's norm. The rest
// checks what the road promises: its factor choice on hand-worked lengths,
// one nested node for equal factors, correct results when two callers share
// a plan's scratch, the same bits from a team as from one thread, and
// allocation failure at every request of commit and compute.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "dft/backends/backends_test.h"
#include "dft/backends/via2d.h"

namespace qor::test::backends {
namespace {

template <class R> class DftVia2d : public ::testing::Test {};
TYPED_TEST_SUITE(DftVia2d, Precisions);

template <class R> auto* init_fn() {
  return member_symbol<qor::dfxi::via2d_init_fn>(sizeof(R) == 8 ? "qor_dft_def_xz_init_data_1d_via_2d"
                                                                : "qor_dft_def_xc_init_data_1d_via_2d");
}
template <class R> dfxi_kernel_fn one_thread_kernel(bool inverse) {
  const char* name = sizeof(R) == 8 ? (inverse ? "qor_dft_def_xz_1d_via_2d_b" : "qor_dft_def_xz_1d_via_2d_f")
                                    : (inverse ? "qor_dft_def_xc_1d_via_2d_b" : "qor_dft_def_xc_1d_via_2d_f");
  return member_symbol<std::remove_pointer_t<dfxi_kernel_fn>>(name);
}

// One transform of length L; without workspace unless `avoid` is off.
Layout setup(i64 L, bool inplace = true, bool avoid = true, int limit = 1, double f = 1.0, double b = 1.0) {
  return Layout{.length = L, .inplace = inplace, .scale_f = f, .scale_b = b, .thread_limit = limit,
                .avoid_workspace = avoid};
}

const dfxi_1d_via_2d* plan_of(const Node& n) { return static_cast<const dfxi_1d_via_2d*>(n->data_1d_via_2d); }

// Interleaved vectors: x is the input, y the result (y aliases x in place).
template <class R> std::vector<R> random_vector(i64 length, std::uint64_t seed) {
  Rng rng(seed);
  std::vector<R> v(static_cast<std::size_t>(2 * length));
  for (auto& e : v) e = static_cast<R>(rng.next());
  return v;
}

// Runs the committed node; out of place the result goes to a fresh vector
// and the input must not change.
template <class R> std::vector<R> run(const Node& n, bool inverse, const std::vector<R>& x, bool inplace,
                                      std::uint32_t* status = nullptr) {
  const dfxi_compute_fn f = inverse ? n->compute_backward : n->compute_forward;
  std::vector<R> a = x, b(inplace ? 0 : x.size(), R(7));
  const std::uint32_t st = f == nullptr ? 7u : inplace ? f(n.get(), a.data(), nullptr, nullptr, nullptr)
                                                       : f(n.get(), a.data(), b.data(), nullptr, nullptr);
  if (status != nullptr) *status = st;
  else EXPECT_EQ(st, 0u);
  if (!inplace) {
    EXPECT_TRUE(a == x) << "the input of an out-of-place transform changed";
  }
  return inplace ? a : b;
}

LD norm2(const dft::RefVec& x) {
  LD s = 0;
  for (LD v : x) s += v * v;
  return s;
}

// Bins of the long double DFT of x, scaled, against y; the bound scales
// with the length and with the norm of the data, which bounds every bin.
template <class R>
void expect_bins(const std::vector<R>& x, const std::vector<R>& y, bool inverse, double scale, i64 L) {
  const dft::RefVec xr = dft::to_ref(x);
  const LD bound = dft::tolerance<R>(L) * sqrtl(norm2(xr)) * scale;
  Rng rng(L);
  std::vector<i64> bins = {0, 1, L / 2, L - 1};
  for (int i = 0; i < 3; ++i) bins.push_back(static_cast<i64>((rng.next() + 1) / 2 * static_cast<double>(L)) % L);
  for (i64 k : bins) {
    LD re = 0, im = 0;
    dft::reference_bin(xr, k, inverse, &re, &im);
    const LD dr = y[2 * k] - scale * re, di = y[2 * k + 1] - scale * im;
    EXPECT_LE(static_cast<double>(sqrtl(dr * dr + di * di)), static_cast<double>(bound)) << "bin " << k;
  }
}

// A pure tone of frequency f comes out as L at bin f (at -f backward) and
// nothing elsewhere.
template <class R> void expect_tone(const Node& n, i64 L, i64 f, bool inverse, bool inplace) {
  std::vector<R> x(static_cast<std::size_t>(2 * L));
  for (i64 j = 0; j < L; ++j) {
    const LD a = dft::kTwoPi * static_cast<LD>((static_cast<__int128>(f) * j) % L) / L;
    x[2 * j] = static_cast<R>(cosl(a));
    x[2 * j + 1] = static_cast<R>(sinl(a));
  }
  const std::vector<R> y = run<R>(n, inverse, x, inplace);
  const i64 peak = inverse ? (L - f) % L : f;
  double worst = 0;
  for (i64 k = 0; k < L; ++k) {
    const double want = k == peak ? static_cast<double>(L) : 0.0;
    worst = std::max(worst, std::hypot(static_cast<double>(y[2 * k]) - want, static_cast<double>(y[2 * k + 1])));
  }
  EXPECT_LE(worst, 4 * dft::tolerance<R>(L) * L) << "tone " << f;
}

// ---- Factor choice ----------------------------------------------------------

TYPED_TEST(DftVia2d, FactorChoiceOnWorkedLengths) {
  using R = TypeParam;
  AllocWatch watch;
  // Powers of two split as 2^(e/2) by the rest; the other pairs were
  // worked by hand from the prime factors.
  const struct {
    i64 length, n1, n2;
  } cases[] = {{1 << 16, 256, 256},   {1 << 17, 256, 512}, {1 << 18, 512, 512}, {100000, 250, 400},
               {177147, 243, 729},    {2 * 65537, 2, 65537}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << "L " << c.length);
    Node n;
    ASSERT_EQ(make_node<R>(n, setup(c.length)), 0u);
    const dfxi_1d_via_2d* plan = plan_of(n);
    ASSERT_NE(plan, nullptr);
    EXPECT_EQ(plan->n1, c.n1);
    EXPECT_EQ(plan->n2, c.n2);
    for (auto [n_, ld] : {std::pair{plan->n1, plan->ld1}, std::pair{plan->n2, plan->ld2}}) {
      EXPECT_GE(ld, n_);
      EXPECT_LT(ld, n_ + 8);
      EXPECT_EQ(ld % 8, 4) << "not an odd multiple of 4";
    }
    EXPECT_EQ(plan->desc1->length, c.n1);
    EXPECT_EQ(plan->desc2->length, c.n2);
    EXPECT_NE(plan->desc1->flags & 8, 0);
    EXPECT_EQ(plan->desc1->threads, 1);
    EXPECT_EQ(plan->mode, 1);
    EXPECT_EQ(plan->buffer, nullptr) << "no workspace was asked for";
    EXPECT_NE(n->flags & 4, 0);
  }
}

// A prime has no factor pair: the road keeps the primitive plan of the
// whole length, and the plan's builder says so without touching the node.
TYPED_TEST(DftVia2d, PrimeLengthStaysOnThePrimitiveRoad) {
  using R = TypeParam;
  AllocWatch watch;
  Node n;
  const i64 L = 65537;
  ASSERT_EQ(make_node<R>(n, setup(L)), 0u);
  EXPECT_EQ(n->data_1d_via_2d, nullptr);
  EXPECT_NE(sizeof(R) == 8 ? n->spec_c64 : n->spec_c32, nullptr);
  EXPECT_EQ(n->flags & 4, 0);
  const std::vector<R> x = random_vector<R>(L, 3);
  expect_bins<R>(x, run<R>(n, false, x, true), false, 1.0, L);
  auto* init = init_fn<R>();
  ASSERT_NE(init, nullptr);
  EXPECT_EQ(init(n.get(), n.get()), 102u);
  EXPECT_EQ(n->commit_status, 30);
  EXPECT_NE(n->compute_forward, nullptr);
}

// ---- Results ------------------------------------------------------------------

TYPED_TEST(DftVia2d, MatchesTheOraclesInAndOutOfPlace) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L : {i64{1} << 16, i64{1} << 18, i64{100000}})
    for (bool inplace : {true, false}) {
      SCOPED_TRACE(::testing::Message() << "L " << L << (inplace ? " in" : " out"));
      Node n;
      ASSERT_EQ(make_node<R>(n, setup(L, inplace)), 0u);
      ASSERT_NE(plan_of(n), nullptr);
      const std::vector<R> x = random_vector<R>(L, L + inplace);
      const std::vector<R> fwd = run<R>(n, false, x, inplace);
      expect_bins<R>(x, fwd, false, 1.0, L);
      expect_bins<R>(x, run<R>(n, true, x, inplace), true, 1.0, L);
      // Round trip and Parseval.
      const std::vector<R> back = run<R>(n, true, fwd, inplace);
      const dft::RefVec xr = dft::to_ref(x), fr = dft::to_ref(fwd);
      dft::RefVec scaled(xr.size());
      for (std::size_t i = 0; i < xr.size(); ++i) scaled[i] = xr[i] * L;
      EXPECT_LE(dft::rel_error(back, scaled), 2 * dft::tolerance<R>(L));
      EXPECT_LE(static_cast<double>(fabsl(norm2(fr) / (L * norm2(xr)) - 1)), 2 * dft::tolerance<R>(L));
      for (i64 f : {i64{1}, i64{3} * plan_of(n)->n1 + 5, L - 2}) expect_tone<R>(n, L, f, f % 2 == 0, inplace);
    }
}

// A plan with the shared scratch is taken, within the primitive's limit,
// by no committed node (the primitive runs such lengths faster on one
// thread): the plan's builder attaches one to a node of one thread, and its
// kernel is called directly.
template <class R> void attach_scratch_plan(Node& n, i64 L, double f = 1.0, double b = 1.0) {
  ASSERT_EQ(make_node<R>(n, setup(L, true, false, 1, f, b)), 0u);
  ASSERT_EQ(plan_of(n), nullptr);
  ASSERT_EQ(init_fn<R>()(n.get(), n.get()), 0u);
  ASSERT_NE(plan_of(n), nullptr);
  ASSERT_EQ(plan_of(n)->mode, 0);
  ASSERT_NE(plan_of(n)->buffer, nullptr);
}

// The kernel of one thread called directly, with scratch of its own.
template <class R> std::vector<R> run_one_thread(const Node& n, bool inverse, const std::vector<R>& x) {
  std::vector<R> a = x;
  // The plan's builder records its scratch in buffer_size; commit gathers
  // the largest into buffer_size_max.
  const i64 need = std::max<i64>(std::max<i64>(n->buffer_size, n->buffer_size_max), 1);
  const std::size_t bytes = static_cast<std::size_t>((need + 4095) / 4096 * 4096);
  void* scratch = std::aligned_alloc(4096, bytes);
  EXPECT_EQ(one_thread_kernel<R>(inverse)(a.data(), a.data(), n.get(), scratch), 0u);
  std::free(scratch);
  return a;
}

// The committed scales are applied once: a backward scale of 2/L after a
// forward scale of 1/2 makes the round trip the identity, on both layouts
// of the intermediate array (without workspace, and in the plan's scratch).
TYPED_TEST(DftVia2d, AppliesTheCommittedScales) {
  using R = TypeParam;
  AllocWatch watch;
  const i64 L = 100000;
  const std::vector<R> x = random_vector<R>(L, 9);
  for (bool inplace : {true, false}) {
    SCOPED_TRACE(::testing::Message() << "no workspace" << (inplace ? " in" : " out"));
    Node n;
    ASSERT_EQ(make_node<R>(n, setup(L, inplace, true, 1, 0.5, 2.0 / L)), 0u);
    ASSERT_NE(plan_of(n), nullptr);
    EXPECT_EQ(plan_of(n)->mode, 1);
    const std::vector<R> fwd = run<R>(n, false, x, inplace);
    expect_bins<R>(x, fwd, false, 0.5, L);
    EXPECT_LE(dft::rel_error(run<R>(n, true, fwd, inplace), x), 2 * dft::tolerance<R>(L));
  }
  SCOPED_TRACE("scratch");
  Node n;
  attach_scratch_plan<R>(n, L, 0.5, 2.0 / L);
  const std::vector<R> fwd = run_one_thread<R>(n, false, x);
  expect_bins<R>(x, fwd, false, 0.5, L);
  EXPECT_LE(dft::rel_error(run_one_thread<R>(n, true, fwd), x), 2 * dft::tolerance<R>(L));
}

// Mode -1 transposes the input into the output before it starts.
TYPED_TEST(DftVia2d, TransposingModeOutOfPlace) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L : {i64{1} << 17, i64{100000}}) {
    Node n;
    ASSERT_EQ(make_node<R>(n, setup(L, false)), 0u);
    const_cast<dfxi_1d_via_2d*>(plan_of(n))->mode = -1;
    const std::vector<R> x = random_vector<R>(L, 5);
    for (bool inverse : {false, true}) expect_bins<R>(x, run<R>(n, inverse, x, false), inverse, 1.0, L);
  }
}

// ---- Plan life ------------------------------------------------------------------

// Equal factors share one nested node, which is freed once: on uncommit,
// on a second commit, and on destruction (AllocWatch counts every block).
TYPED_TEST(DftVia2d, EqualFactorsShareOneNestedNode) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L : {i64{1} << 16, i64{1} << 17, i64{1} << 18}) {
    Node n;
    ASSERT_EQ(make_node<R>(n, setup(L)), 0u);
    const bool square = plan_of(n)->n1 == plan_of(n)->n2;
    EXPECT_EQ(plan_of(n)->desc1 == plan_of(n)->desc2, square) << L;
    ASSERT_EQ(n.m().commit(n.get()), 0u);
    ASSERT_NE(plan_of(n), nullptr);
    n->uncommit(n.get());
    EXPECT_EQ(n->data_1d_via_2d, nullptr);
    EXPECT_EQ(n->flags & 4, 0);
    ASSERT_EQ(n.m().commit(n.get()), 0u);
  }
}

// ---- Concurrent callers and teams -------------------------------------------------

// A node of one transform without workspace and with a thread limit of 2
// gets the team form: the plan and the threaded entries.
template <class R> void commit_team(Node& n, i64 L, bool inplace) {
  ASSERT_EQ(make_node<R>(n, setup(L, inplace, true, 2)), 0u);
  ASSERT_EQ(n->threads, 2);
  ASSERT_NE(plan_of(n), nullptr);
  ASSERT_NE(n->kernel_thr_1d_fwd, nullptr);
  ASSERT_NE(n->kernel_thr_1d_bwd, nullptr);
  EXPECT_NE(n->flags & 4, 0);
}

TYPED_TEST(DftVia2d, TwoCallersShareThePlanAndBothAreRight) {
  using R = TypeParam;
  AllocWatch watch;
  Node n;
  attach_scratch_plan<R>(n, i64{1} << 16);
  const std::vector<R> x0 = random_vector<R>(n->length, 1), x1 = random_vector<R>(n->length, 2);
  const std::vector<R> y0 = run_one_thread<R>(n, false, x0), y1 = run_one_thread<R>(n, false, x1);
  expect_bins<R>(x0, y0, false, 1.0, n->length);

  // A caller that finds the scratch busy brings its own and leaves the
  // holder's word alone.
  auto* plan = const_cast<dfxi_1d_via_2d*>(plan_of(n));
  plan->busy = 1;
  {
    AllocWatch during;
    EXPECT_TRUE(run_one_thread<R>(n, false, x0) == y0);
    EXPECT_GE(during.allocations(), 1);
  }
  EXPECT_EQ(plan->busy, 1);
  plan->busy = 0;

  // Two callers at once.
  for (int round = 0; round < 4; ++round) {
    std::atomic<int> ready{0};
    std::vector<R> r0, r1;
    auto caller = [&](const std::vector<R>& x, std::vector<R>* r) {
      ready.fetch_add(1);
      while (ready.load() < 2) {
      }
      *r = run_one_thread<R>(n, false, x);
    };
    std::thread a(caller, std::cref(x0), &r0), b(caller, std::cref(x1), &r1);
    a.join();
    b.join();
    EXPECT_TRUE(r0 == y0) << "round " << round;
    EXPECT_TRUE(r1 == y1) << "round " << round;
    EXPECT_EQ(plan->busy, 0);
  }
}

// The team shares whole tiles of columns and groups of rows, so it gives
// the bits of a node of one thread.
TYPED_TEST(DftVia2d, TeamGivesTheBitsOfOneThread) {
  using R = TypeParam;
  if (qor_get_max_threads() < 2) GTEST_SKIP() << "one thread only";
  AllocWatch watch;
  for (i64 L : {i64{1} << 17, i64{100000}}) {
    SCOPED_TRACE(::testing::Message() << "L " << L);
    const std::vector<R> x = random_vector<R>(L, 4);
    for (bool inplace : {true, false}) {
      Node many, one;
      commit_team<R>(many, L, inplace);
      ASSERT_EQ(make_node<R>(one, setup(L, inplace)), 0u);
      EXPECT_EQ(one->threads, 1);
      for (bool inverse : {false, true})
        EXPECT_TRUE(run<R>(many, inverse, x, inplace) == run<R>(one, inverse, x, inplace))
            << (inplace ? "in " : "out ") << inverse;
    }
  }
}

// The thread plan: a single long transform has a team only where it takes
// the four-step plan anyway (here: without workspace); within the
// primitive's limit with workspace, a short length, a prime or a nested
// node run on one thread.
TYPED_TEST(DftVia2d, ThreadPlanOfLongLengths) {
  using R = TypeParam;
  AllocWatch watch;
  auto plan = [](i64 L, int limit, bool nested, bool avoid, std::int32_t* threads) {
    return thread_plan<R>(Layout{.length = L, .thread_limit = limit, .avoid_workspace = avoid}, nested, threads,
                          nullptr);
  };
  // (Which lengths beyond the primitive's limit are planned is checked
  // with the default road's thread plan in test_team_faults.cpp.)
  std::int32_t threads = 0;
  for (i64 L : {i64{1} << 16, i64{100000}}) {
    EXPECT_EQ(plan(L, 2, false, true, &threads), 0u);
    EXPECT_EQ(threads, 2) << L;
    EXPECT_EQ(plan(L, 2, false, false, &threads), 0u);
    EXPECT_EQ(threads, 1) << L;
  }
  for (i64 L : {i64{1} << 15, i64{65537}}) {
    EXPECT_EQ(plan(L, 2, false, true, &threads), 0u);
    EXPECT_EQ(threads, 1) << L;
  }
  EXPECT_EQ(plan(i64{1} << 16, 2, true, true, &threads), 0u);
  EXPECT_EQ(threads, 1);
}

// ---- Allocation failure ----------------------------------------------------------

TYPED_TEST(DftVia2d, AllocationFailureGivesStatusOneAndLeavesTheData) {
  using R = TypeParam;
  const i64 L = i64{1} << 16;
  for (int team : {0, 1})
    for (bool inplace : {true, false}) {
      if (team == 1 && qor_get_max_threads() < 2) continue;
      SCOPED_TRACE(::testing::Message() << (team ? "team" : "one thread") << (inplace ? " in" : " out"));
      const std::vector<R> x = random_vector<R>(L, 8);
      const int failures = dft::fail_each_request([&](std::int64_t k) {
        qor_fault_reset();  // the node is made before the faults begin
        Node n;
        const std::uint32_t committed = make_node<R>(n, setup(L, inplace, true, team ? 2 : 1), k);
        dfxi_node* p = n.get();
        if (committed != 0) {
          EXPECT_EQ(committed, 1u) << k;
          EXPECT_EQ(p->compute_forward, nullptr) << k;
          EXPECT_EQ(p->data_1d_via_2d, nullptr) << k;
          return;
        }
        std::uint32_t st = 0;
        const std::vector<R> y = run<R>(n, false, x, inplace, &st);
        if (st != 0) {
          EXPECT_EQ(st, 1u) << k;
          EXPECT_TRUE(inplace ? y == x : y == std::vector<R>(x.size(), R(7))) << k;
          return;
        }
        expect_bins<R>(x, y, false, 1.0, L);
      });
      EXPECT_GE(failures, 2);
    }
}

}  // namespace
}  // namespace qor::test::backends
