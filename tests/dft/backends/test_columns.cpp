// Batches whose transforms sit side by side (distance 1, the stride at
// least the count) against the long double DFT: lengths of every radix the
// chain of steps takes, counts that leave a partial block, gaps between
// rows, offsets, unequal strides, scales, in and out of place; lengths with
// a factor no step takes, and split storage, on the per-transform path; a
// team of two against one; allocation failure at every request. And the
// short unit-stride batches the small backend runs two at a time.
#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

template <class R> class DftColumns : public ::testing::Test {};
TYPED_TEST_SUITE(DftColumns, Precisions);

// Transforms side by side: element j of transform t at t + j * stride.
Layout columns(i64 length, i64 batch, i64 gap_in = 0, i64 gap_out = 0) {
  Layout g;
  g.length = length;
  g.batch = batch;
  g.stride_in = batch + gap_in;
  g.stride_out = batch + gap_out;
  g.dist_in = 1;
  g.dist_out = 1;
  return g;
}

// Whether the node runs its batch as columns: the chain the commit keeps.
bool runs_as_columns(const dfxi_node* n) { return n->bkd == nullptr && n->work_data != nullptr; }

template <class R> void expect_columns(Layout g, bool chained, std::uint64_t seed) {
  Node n;
  ASSERT_EQ(make_node<R>(n, g), 0u);
  EXPECT_EQ(runs_as_columns(n.get()), chained);
  for (bool inverse : {false, true}) expect_right<R>(n.get(), g, inverse, seed);
}

TYPED_TEST(DftColumns, EveryRadixInPlaceAndOutOfPlace) {
  using R = TypeParam;
  AllocWatch watch;
  // One step, each radix last and each twiddled radix before it, several
  // steps, and long lengths. (Strided prime lengths are left to Bluestein by
  // the thread plan.)
  const i64 lengths[] = {2, 4, 6, 8, 9, 15, 16, 24, 35, 39, 45, 49, 64, 77, 121, 143, 169, 210, 330, 1000, 1024};
  for (i64 L : lengths)
    for (bool inplace : {true, false}) {
      Layout g = columns(L, L >= 1000 ? 5 : 9, inplace ? 2 : 1, inplace ? 2 : 4);
      g.inplace = inplace;
      g.offset_in = 3;
      g.offset_out = inplace ? 3 : 5;
      g.scale_f = 0.25;
      g.scale_b = 1.0 / static_cast<double>(L);
      SCOPED_TRACE(::testing::Message() << "L " << L << (inplace ? " in" : " out"));
      expect_columns<R>(g, true, static_cast<std::uint64_t>(L));
    }
}

// Counts that end in a partial block: with a second-level cache of up to a
// few MiB each of these beyond 16 points crosses two or more blocks. (The
// tests keep to lengths up to 1024, which run as columns from a 512 KiB
// second-level cache up.)
TYPED_TEST(DftColumns, PartialBlocks) {
  using R = TypeParam;
  AllocWatch watch;
  const std::pair<i64, i64> shapes[] = {{16, 1001}, {64, 333}, {256, 131}, {1000, 37}, {1024, 45}};
  for (auto [L, count] : shapes)
    for (bool inplace : {true, false}) {
      Layout g = columns(L, count, 0, inplace ? 0 : 7);
      g.inplace = inplace;
      g.scale_b = 0.5;
      SCOPED_TRACE(::testing::Message() << "L " << L << " count " << count << (inplace ? " in" : " out"));
      expect_columns<R>(g, true, 3);
    }
}

// A length with a factor no step takes, one transform, and split storage
// keep the per-transform path, through the same layout.
TYPED_TEST(DftColumns, WhatTheChainDoesNotTake) {
  using R = TypeParam;
  AllocWatch watch;
  for (bool inplace : {true, false}) {
    Layout prime = columns(2 * 17, 6);
    Layout large_factor = columns(3 * 23, 6, 1, 3);
    Layout one = columns(64, 1, 3, 3);
    Layout split = columns(60, 7, 2, 2);
    split.split = true;
    for (Layout g : {prime, large_factor, one, split}) {
      g.inplace = inplace;
      g.scale_f = 2.0;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << " count " << g.batch << (g.split ? " split" : "")
                                        << (inplace ? " in" : " out"));
      // A split plan lives in twiddle_data; work_data stays empty.
      expect_columns<R>(g, false, 5);
    }
  }
}

TYPED_TEST(DftColumns, OneAndTwoThreadsGiveTheSameBits) {
  using R = TypeParam;
  if (qor_get_max_threads() < 2) GTEST_SKIP() << "one thread only";
  AllocWatch watch;
  for (Layout g : {columns(64, 301, 1, 1), columns(1000, 23, 0, 2)})
    for (bool inplace : {true, false})
      for (bool inverse : {false, true}) {
        g.inplace = inplace;
        g.scale_b = 0.125;
        SCOPED_TRACE(::testing::Message() << "L " << g.length << (inplace ? " in" : " out")
                                          << (inverse ? " backward" : " forward"));
        std::int32_t one = 0, two = 0;
        bool chained = false;
        const Data<R> a = run_with<R>(g, 1, inverse, [&](dfxi_node* p) { one = p->threads; });
        const Data<R> b = run_with<R>(g, 2, inverse, [&](dfxi_node* p) {
          two = p->threads;
          chained = runs_as_columns(p);
        });
        EXPECT_EQ(one, 1);
        EXPECT_EQ(two, 2);
        EXPECT_TRUE(chained);
        EXPECT_TRUE(a == b);
      }
}

// The chain's twiddles at commit and its block areas at compute (beyond
// the stack area at these lengths) may each be refused.
TYPED_TEST(DftColumns, AllocationFailureGivesStatusOneAndLeavesTheData) {
  using R = TypeParam;
  for (Layout g : {columns(512, 67, 1, 0), columns(1000, 9)})
    for (int threads : {1, 2})
      for (bool inplace : {true, false}) {
        g.inplace = inplace;
        g.thread_limit = threads;
        SCOPED_TRACE(::testing::Message() << "L " << g.length << " threads " << threads << (inplace ? " in" : " out"));
        bool refused_compute = false;
        const int failures = dft::fail_each_request([&](std::int64_t k) {
          qor_fault_reset();
          Data<R> in(g.span_in(), false, 31);
          Data<R> out(g.inplace ? 0 : g.span_out(), false, 32);
          const Data<R> in_before = in, out_before = out;
          Node n;
          const std::uint32_t committed = make_node<R>(n, g, k);
          if (committed != 0) {
            EXPECT_EQ(committed, 1u) << k;
            EXPECT_EQ(n->compute_forward, nullptr) << k;
            return;
          }
          EXPECT_TRUE(runs_as_columns(n.get()));
          const std::uint32_t st = compute<R>(n.get(), false, in, out, g);
          if (st != 0) {
            refused_compute = true;
            EXPECT_EQ(st, 1u) << k;
            EXPECT_TRUE(in == in_before) << k;
            EXPECT_TRUE(out == out_before) << k;
            return;
          }
          if (g.inplace) check<R>(g, false, in_before, in, in_before);
          else check<R>(g, false, in_before, out, out_before);
        });
        EXPECT_GE(failures, 1);
        EXPECT_TRUE(refused_compute);
      }
}

// Every short length on the small backend, with even and odd counts (the
// last transform alone), gaps between transforms that must stay as they
// were, and each scale form.
TYPED_TEST(DftColumns, ShortUnitStrideBatches) {
  using R = TypeParam;
  AllocWatch watch;
  for (i64 L = 1; L <= 20; ++L) {
    const double inv = 1.0 / static_cast<double>(L), root = 1.0 / std::sqrt(static_cast<double>(L));
    const std::pair<double, double> scales[] = {{1.0, 1.0}, {inv, 1.0}, {1.0, inv}, {root, root}};
    for (i64 count : {1, 2, 5})
      for (bool inplace : {true, false}) {
        Layout g;
        g.length = L;
        g.batch = count;
        g.dist_in = L + 3;
        g.dist_out = inplace ? L + 3 : L + 1;
        g.inplace = inplace;
        g.scale_f = scales[(L + count) % 4].first;
        g.scale_b = scales[(L + count) % 4].second;
        SCOPED_TRACE(::testing::Message() << "L " << L << " count " << count << (inplace ? " in" : " out"));
        EXPECT_EQ(run_layout<R>(g, static_cast<std::uint64_t>(L * count)), small_backend(sizeof(R) == 8));
      }
  }
}

}  // namespace
}  // namespace qor::test::backends
