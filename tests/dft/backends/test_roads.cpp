// Each road of complex one-dimensional transforms against the long double
// DFT: the small backend with the four scale forms the primitive applies,
// the default road with the scales it applies itself, through strides,
// offsets and distances, the straight-line kernels of short lengths and
// split storage; in and out of place, single and double.
#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

class HeapFamily : public ::testing::Environment {
  void SetUp() override { api().mem_methods_init(nullptr); }
};
const auto* const g_heap = ::testing::AddGlobalTestEnvironment(new HeapFamily);

template <class R> class DftRoads : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(DftRoads, Precisions);

template <class R> const dfxi_backend* small() { return small_backend(sizeof(R) == 8); }

// The straight-line kernel of a length, from the kernel library's tables.
void* straight_line(bool inverse, i64 length) {
  void* h = dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL);
  auto* table = static_cast<void* const*>(
      dlsym(h, inverse ? "qor_dft_def_zsmallradix_inverse" : "qor_dft_def_zsmallradix_forward"));
  void* k = table != nullptr ? table[length - 2] : nullptr;
  dlclose(h);
  return k;
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
  Layout g;
  g.length = 4096;
  g.scale_f = 0.5;
  EXPECT_EQ(run_layout<R>(g), nullptr);
  g.scale_f = g.scale_b = 1.0 / 4096;  // both divided by N: no single flag
  g.inplace = false;
  EXPECT_EQ(run_layout<R>(g), nullptr);

  Layout o;
  o.length = 64;
  o.offset_in = 3;
  EXPECT_EQ(run_layout<R>(o), nullptr);
  o.offset_in = 0;
  o.inplace = false;
  o.offset_out = 5;
  EXPECT_EQ(run_layout<R>(o), nullptr);

  Layout s;
  s.length = 64;
  s.stride_in = 2;
  EXPECT_EQ(run_layout<R>(s), nullptr);

  Layout l;
  l.length = 4097;
  EXPECT_EQ(run_layout<R>(l), nullptr);

  // A nested node of another plan never takes the small road.
  Node n;
  dfxi_node* p = nullptr;
  ASSERT_EQ(sizeof(R) == 8 ? api().create_dc1d(&p, 16, nullptr) : api().create_sc1d(&p, 16, nullptr), 0u);
  n.reset(p);
  qor_dft_bless_node_thr(p);
  p->bkdown_list = road_list(sizeof(R) == 8);
  p->flags |= 8;
  ASSERT_EQ(n.m().commit(p), 0u);
  EXPECT_EQ(p->bkd, nullptr);
  EXPECT_NE(p->compute_forward, nullptr);
}

TYPED_TEST(DftRoads, DefaultRoadThroughStridesOffsetsAndDistances) {
  using R = TypeParam;
  AllocWatch watch;
  struct Shape {
    i64 L, batch, si, so, oi, oo, di, dout;
  };
  const Shape shapes[] = {
      {5000, 2, 1, 1, 0, 0, 0, 0},        // beyond the small backend
      {8192, 1, 1, 1, 0, 0, 0, 0},        // a power of two
      {360, 3, 2, 3, 5, 7, 800, 1200},    // strided both sides, spread out
      {360, 2, 1, 2, 1, 0, 361, 0},       // strided output only
      {96, 4, 3, 1, 2, 3, 300, 100},      // strided input only
      {97, 2, 1, 1, 4, 9, 101, 103},      // prime, unit strides, offsets
      {4096, 2, 2, 2, 0, 0, 0, 0},        // work area at the stack limit
      {1, 3, 2, 2, 1, 1, 5, 5},           // length 1
  };
  for (const Shape& s : shapes)
    for (bool inplace : {true, false}) {
      Layout g;
      g.length = s.L;
      g.batch = s.batch;
      g.stride_in = s.si;
      g.stride_out = s.so;
      g.offset_in = s.oi;
      g.offset_out = s.oo;
      g.dist_in = s.di;
      g.dist_out = s.dout;
      g.inplace = inplace;
      g.scale_f = 0.25;
      g.scale_b = 3.0;
      SCOPED_TRACE(::testing::Message() << "L " << s.L << " strides " << s.si << "," << s.so
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
  Layout u;  // unit strides, a scale the primitive cannot apply
  u.length = 60;
  u.scale_f = 0.5;
  EXPECT_EQ(run_layout<R>(u), nullptr);
}

// Committing again, or after a change that moves the node to the other
// road, replaces the plan without leaking the old one.
TYPED_TEST(DftRoads, RecommitReplacesThePlan) {
  using R = TypeParam;
  AllocWatch watch;
  Layout g;
  g.length = 100;
  g.batch = 2;
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
  g.scale_f = 1.0;
  Data<R> in(g.span_in(), false, 5), none(0, false, 6);
  const Data<R> before = in;
  ASSERT_EQ(compute<R>(n.get(), false, in, none, g), 0u);
  check<R>(g, false, before, in, before);
}

}  // namespace
}  // namespace qor::test::backends
