// Each road of complex one-dimensional transforms against the long double
// DFT: the small backend with the four scale forms the primitive applies,
// the default road with the scales it applies itself, through strides,
// offsets and distances, the straight-line kernels of short lengths and
// split storage; in and out of place, single and double.
#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

template <class R> class DftRoads : public ::testing::Test {};
TYPED_TEST_SUITE(DftRoads, Precisions);

template <class R> const dfxi_backend* small() { return small_backend(sizeof(R) == 8); }

// The straight-line kernel of a length, from the kernel library's tables.
void* straight_line(bool inverse, i64 length) {
  auto* table =
      member_symbol<void* const>(inverse ? "qor_dft_def_zsmallradix_inverse" : "qor_dft_def_zsmallradix_forward");
  return table != nullptr ? table[length - 2] : nullptr;
}

TYPED_TEST(DftRoads, SmallBackendTakesUnitStrideBatchesWithFlagScales) {
  using R = TypeParam;
  AllocWatch watch;
  ASSERT_NE(small<R>(), nullptr);
  for (i64 L : {1, 2, 7, 12, 64, 97, 1000, 4096}) {
    const double inv = 1.0 / static_cast<double>(L), root = 1.0 / std::sqrt(static_cast<double>(L));
    const std::pair<double, double> scales[] = {{1.0, 1.0}, {inv, 1.0}, {1.0, inv}, {root, root}};
    for (auto [f, b] : scales)
      for (bool inplace : {true, false}) {
        // Long lengths see each scale form in one placement only: the
        // pairs are all covered at the shorter ones.
        if (L >= 1000 && inplace == (f == b)) continue;
        Layout g;
        g.length = L;
        g.batch = L > 1000 ? 2 : 3;
        g.inplace = inplace;
        g.scale_f = f;
        g.scale_b = b;
        SCOPED_TRACE(::testing::Message() << "L " << L << " scales " << f << ", " << b << (inplace ? " in" : " out"));
        EXPECT_EQ(run_layout<R>(g), small<R>());
      }
  }
}

// Scales the primitive cannot apply, data away from offset 0 or with a
// stride, nested nodes and longer lengths all go to the default road.
TYPED_TEST(DftRoads, WhatTheSmallBackendCannotDoGoesToTheDefaultRoad) {
  using R = TypeParam;
  AllocWatch watch;
  const double both = 1.0 / 4096;  // both directions divided by N: no single flag
  const Layout declined[] = {
      {.length = 4096, .scale_f = 0.5},
      {.length = 4096, .inplace = false, .scale_f = both, .scale_b = both},
      {.length = 64, .offset_in = 3},
      {.length = 64, .offset_out = 5, .inplace = false},
      {.length = 64, .stride_in = 2},
      {.length = 4097},
  };
  for (const Layout& g : declined) {
    SCOPED_TRACE(::testing::Message() << "L " << g.length << " offsets " << g.offset_in << "," << g.offset_out
                                      << " stride " << g.stride_in << " scales " << g.scale_f << ", " << g.scale_b);
    EXPECT_EQ(run_layout<R>(g), nullptr);
  }

  // A nested node of another plan never takes the small road.
  Node n;
  ASSERT_EQ(describe_node<R>(n, Layout{.length = 16}), 0u);
  n->flags |= 8;
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, nullptr);
  EXPECT_NE(n->compute_forward, nullptr);
}

TYPED_TEST(DftRoads, DefaultRoadThroughStridesOffsetsAndDistances) {
  using R = TypeParam;
  AllocWatch watch;
  // length, batch, strides in and out, offsets in and out, distances
  const Layout shapes[] = {
      {5000, 2, 1, 1, 0, 0, 0, 0},        // beyond the small backend
      {8192, 1, 1, 1, 0, 0, 0, 0},        // a power of two
      {360, 3, 2, 3, 5, 7, 800, 1200},    // strided both sides, spread out
      {360, 2, 1, 2, 1, 0, 361, 0},       // strided output only
      {96, 4, 3, 1, 2, 3, 300, 100},      // strided input only
      {97, 2, 1, 1, 4, 9, 101, 103},      // prime, unit strides, offsets
      {4096, 2, 2, 2, 0, 0, 0, 0},        // work area at the stack limit
      {1, 3, 2, 2, 1, 1, 5, 5},           // length 1
  };
  for (Layout g : shapes)
    for (bool inplace : {true, false}) {
      g.inplace = inplace;
      g.scale_f = 0.25;
      g.scale_b = 3.0;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << " strides " << g.stride_in << "," << g.stride_out
                                        << (inplace ? " in" : " out"));
      EXPECT_EQ(run_layout<R>(g), nullptr);
    }
}

// Split storage: two real arrays a side, through the same strides.
TYPED_TEST(DftRoads, SplitStorage) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L : {1, 12, 100, 1024, 5000})
    for (bool inplace : {true, false})
      for (i64 stride : {1, 3}) {
        Layout g;
        g.length = L;
        g.split = true;
        g.batch = L >= 1024 ? 2 : 3;
        g.stride_in = stride;
        g.stride_out = inplace ? stride : 1;
        g.offset_in = 2;
        g.offset_out = inplace ? 2 : 1;
        g.dist_in = L * stride + 3;
        g.dist_out = inplace ? g.dist_in : L + 1;
        g.inplace = inplace;
        g.scale_b = 1.0 / static_cast<double>(L);
        SCOPED_TRACE(::testing::Message() << "L " << L << " stride " << stride << (inplace ? " in" : " out"));
        EXPECT_EQ(run_layout<R>(g), nullptr);
      }
}

// Lengths from 2 to 64 that are not powers of two, strided so that they
// take the default road; with scale 1 one way and not the other.
TYPED_TEST(DftRoads, ShortLengthsOnTheDefaultRoad) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L = 2; L <= 64; ++L) {
    if ((L & (L - 1)) == 0) continue;
    Layout g;
    g.length = L;
    g.batch = 2;
    g.stride_in = 2;
    g.stride_out = 2;
    g.inplace = L % 2 == 0;
    g.scale_f = 1.0;
    g.scale_b = 0.5;
    SCOPED_TRACE(::testing::Message() << "L " << L);
    // A strided prime length is left to Bluestein, which this list lacks:
    // every backend declines it.
    bool prime = true;
    for (i64 d = 2; d * d <= L; ++d) prime = prime && L % d != 0;
    if (prime) {
      Node n;
      EXPECT_EQ(make_node<R>(n, g), 3u);
      continue;
    }
    EXPECT_EQ(run_layout<R>(g, static_cast<std::uint64_t>(L)), nullptr);
    // Double precision runs the unscaled direction on the straight-line
    // kernel of its length; the scaled one keeps a kernel that scales.
    if constexpr (sizeof(R) == 8) {
      Node n;
      ASSERT_EQ(make_node<R>(n, g), 0u);
      EXPECT_EQ(reinterpret_cast<void*>(n->kernel_fwd_d), straight_line(false, L));
      EXPECT_NE(reinterpret_cast<void*>(n->kernel_bwd_d), straight_line(true, L));
    }
  }
  // Unit strides, a scale the primitive cannot apply.
  EXPECT_EQ(run_layout<R>(Layout{.length = 60, .scale_f = 0.5}), nullptr);
}

// Committing again, or after a change that moves the node to the other
// road, replaces the plan without leaking the old one.
TYPED_TEST(DftRoads, RecommitReplacesThePlan) {
  using R = TypeParam;
  AllocWatch watch;
  const Layout g{.length = 100, .batch = 2};
  Node n;
  ASSERT_EQ(make_node<R>(n, g), 0u);
  EXPECT_EQ(n->bkd, small<R>());
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, small<R>());
  ASSERT_EQ(n.m().setScale(n.get(), 4, 0.5), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, nullptr);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  ASSERT_EQ(n.m().setScale(n.get(), 4, 1.0), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->bkd, small<R>());
  expect_right<R>(n.get(), g, false);
}

}  // namespace
}  // namespace qor::test::backends
