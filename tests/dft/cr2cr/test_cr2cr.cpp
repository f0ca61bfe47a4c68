// The split-storage backends against the long double DFT: the library's
// lists hand them split nodes in and out of place with strides, offsets,
// distances and scales the primitive can or cannot apply; a batch of two
// levels unrolls through the nested node; a second commit of the same plan
// allocates nothing while a new scale mode replaces the plan; nodes flagged
// as nested stay on the default road; and every allocation of commit and
// compute may fail without harm.
#include "dft/backends/backends_test.h"

namespace qor::test::cr2cr {
namespace {

using namespace qor::test::backends;

template <class R> class DftCr2cr : public ::testing::Test {};
TYPED_TEST_SUITE(DftCr2cr, Precisions);

template <class R> const dfxi_backend* single_level() {
  return member_symbol<const dfxi_backend>(sizeof(R) == 8 ? "qor_dft_def_bkd_cr2cr_1d_d"
                                                          : "qor_dft_def_bkd_cr2cr_1d_s");
}
const dfxi_backend* batched() { return member_symbol<const dfxi_backend>("qor_dft_def_bkd_cr2cr_1d_batched"); }

Layout split(Layout g) {
  g.split = true;
  g.library_list = true;
  return g;
}

// Two levels: g describes the first, (count, din, dout) the second.
struct Nested {
  Layout g;
  i64 count, din, dout;
  i64 span_in() const { return g.span_in() + (count - 1) * din; }
  i64 span_out() const { return g.inplace ? 0 : g.span_out() + (count - 1) * dout; }
};

template <class R> std::uint32_t make_nested(Node& n, const Nested& c) {
  const std::uint32_t st = describe_node<R>(n, c.g);
  if (st != 0) return st;
  add_level(n.get(), c.count, c.din, c.dout);
  return n.m().commit(n.get());
}

// Runs a node of the first level alone on block u of the second.
template <class R>
std::uint32_t run_block(dfxi_node* n, bool inverse, Data<R>& in, Data<R>& out, const Nested& c, i64 u) {
  const dfxi_compute_fn f = inverse ? n->compute_backward : n->compute_forward;
  R* re = in.a.data() + u * c.din;
  R* im = in.b.data() + u * c.din;
  if (c.g.inplace) return f(n, re, im, nullptr, nullptr);
  return f(n, re, im, out.a.data() + u * c.dout, out.b.data() + u * c.dout);
}

TYPED_TEST(DftCr2cr, SplitNodesOfOneLevelGoToTheSingleLevelBackend) {
  using R = TypeParam;
  const i64 L = 12;
  const std::vector<Layout> layouts = {
      {.length = L},
      {.length = 1},
      {.length = 64, .batch = 3, .scale_f = 1.0 / 64},                     // scaled by the plan
      {.length = L, .batch = 2, .scale_f = 0.5, .scale_b = 3.0},          // scaled in a pass
      {.length = 15, .batch = 3, .stride_in = 3, .offset_in = 2, .dist_in = 50, .scale_b = 0.25},
      {.length = L, .batch = 2, .offset_in = 1, .offset_out = 4, .inplace = false},
      {.length = 30, .batch = 3, .stride_in = 2, .stride_out = 3, .offset_in = 3, .offset_out = 1, .dist_in = 70,
       .dist_out = 95, .inplace = false, .scale_f = 1 / std::sqrt(30.0), .scale_b = 1 / std::sqrt(30.0)},
      {.length = 4096, .stride_in = 2, .inplace = false, .scale_f = 2.0},  // work buffer on the heap
  };
  for (const Layout& g : layouts) {
    SCOPED_TRACE(::testing::Message() << "L " << g.length << " batch " << g.batch << (g.inplace ? " in" : " out"));
    EXPECT_EQ(run_layout<R>(split(g)), single_level<R>());
  }
}

TYPED_TEST(DftCr2cr, TwoBatchLevelsUnrollThroughTheNestedNode) {
  using R = TypeParam;
  const std::vector<Nested> cases = {
      {{.length = 10, .batch = 3, .dist_in = 11}, 2, 40, 40},
      {{.length = 8, .batch = 2, .stride_in = 2, .stride_out = 3, .offset_in = 1, .offset_out = 2, .dist_in = 17,
        .dist_out = 25, .inplace = false, .scale_f = 0.5, .scale_b = 1.0 / 8},
       3, 37, 53},
  };
  // The first level alone, checked against the oracle above, run on each
  // block of the second level must give the same bits, and no others.
  for (const Nested& c0 : cases) {
    Nested c = c0;
    c.g = split(c.g);
    Node two, one;
    ASSERT_EQ(make_nested<R>(two, c), 0u);
    ASSERT_EQ(make_node<R>(one, c.g), 0u);
    EXPECT_EQ(two->bkd, batched());
    ASSERT_EQ(one->bkd, single_level<R>());
    for (bool inverse : {false, true}) {
      Data<R> in(c.span_in(), true, 5 + inverse), out(c.span_out(), true, 9);
      Data<R> in_one = in, out_one = out;
      ASSERT_EQ(compute<R>(two.get(), inverse, in, out, c.g), 0u);
      for (i64 u = 0; u < c.count; ++u) ASSERT_EQ(run_block<R>(one.get(), inverse, in_one, out_one, c, u), 0u);
      EXPECT_TRUE(in == in_one) << inverse;
      EXPECT_TRUE(out == out_one) << inverse;
    }
  }
}

TYPED_TEST(DftCr2cr, ACommitKeepsThePlanUnlessTheScaleModeChanges) {
  using R = TypeParam;
  const i64 L = 20;
  Layout g = split({.length = L, .batch = 1});
  Node n;
  ASSERT_EQ(make_node<R>(n, g), 0u);
  ASSERT_EQ(n->bkd, single_level<R>());
  {
    // A larger batch of the same length: the same plan serves.
    g.batch = 4;
    ASSERT_EQ(n.m().setNumberOfTransforms(n.get(), g.batch), 0u);
    ASSERT_EQ(n.m().setInputDistance(n.get(), g.din()), 0u);
    ASSERT_EQ(n.m().setOutputDistance(n.get(), g.dout()), 0u);
    AllocWatch watch;
    ASSERT_EQ(n.m().commit(n.get()), 0u);
    EXPECT_EQ(watch.allocations(), 0);
  }
  expect_right<R>(n.get(), g, false);
  {
    // A scale the plan can apply, set behind the setters' back so that
    // nothing uncommits: the plan must be made anew.
    g.scale_f = 1.0 / L;
    n->scale_forward = g.scale_f;
    AllocWatch watch;
    ASSERT_EQ(n.m().commit(n.get()), 0u);
    EXPECT_GT(watch.allocations(), 0);
  }
  for (bool inverse : {false, true}) expect_right<R>(n.get(), g, inverse);
}

TYPED_TEST(DftCr2cr, NestedNodesStayOnTheDefaultRoad) {
  using R = TypeParam;
  const Layout g = split({.length = 24, .batch = 2, .stride_in = 2});
  Node n;
  ASSERT_EQ(describe_node<R>(n, g), 0u);
  n->flags |= 8;
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, nullptr);
  for (bool inverse : {false, true}) expect_right<R>(n.get(), g, inverse);
}

TYPED_TEST(DftCr2cr, EveryAllocationMayFail) {
  using R = TypeParam;
  // One level (a second of a single block is removed at commit) and two.
  const Nested cases[] = {
      {split({.length = 4096, .batch = 2, .stride_in = 2, .inplace = false, .scale_f = 0.5}), 1, 0, 0},
      {split({.length = 12, .batch = 2, .dist_in = 13}), 2, 30, 30}};
  for (const Nested& c : cases) {
    const bool nested = c.count > 1;
    SCOPED_TRACE(nested ? "two levels" : "one level");
    int commit_failures = 0, compute_failures = 0;
    dft::fail_each_request([&](std::int64_t k) {
      qor_fault_reset();
      Node n;
      ASSERT_EQ(describe_node<R>(n, c.g), 0u);
      add_level(n.get(), c.count, c.din, c.dout);
      Data<R> in(c.span_in(), true, 3), out(c.span_out(), true, 4);
      dft::refuse_from(k);
      const std::uint32_t committed = n.m().commit(n.get());
      if (committed != 0) {
        EXPECT_EQ(committed, 1u) << k;
        EXPECT_EQ(n->compute_forward, nullptr) << k;
        EXPECT_EQ(n->bkd_data, nullptr) << k;
        ++commit_failures;
        return;
      }
      EXPECT_EQ(n->bkd, nested ? batched() : single_level<R>());
      const Data<R> in_now = in, out_now = out;
      const std::uint32_t st = compute<R>(n.get(), false, in, out, c.g);
      if (st != 0) {
        EXPECT_EQ(st, 1u) << k;
        EXPECT_TRUE(in == in_now) << k;
        EXPECT_TRUE(out == out_now) << k;
        ++compute_failures;
      }
    });
    EXPECT_GE(commit_failures, 1);
    if (!nested) {
      EXPECT_GE(compute_failures, 1);
    }
  }
}

}  // namespace
}  // namespace qor::test::cr2cr
