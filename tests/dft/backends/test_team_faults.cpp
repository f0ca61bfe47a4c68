// Batches on teams of one and two threads give the same bits; allocation
// failure at every request of commit and compute gives status 1, leaves
// the caller's data alone and leaks nothing; and the default road's thread
// plan leaves to Bluestein what the primitive cannot do.
#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

template <class R> class DftTeams : public ::testing::Test {};
TYPED_TEST_SUITE(DftTeams, Precisions);

TYPED_TEST(DftTeams, OneAndTwoThreadsGiveTheSameBits) {
  using R = TypeParam;
  if (qor_get_max_threads() < 2) GTEST_SKIP() << "one thread only";
  AllocWatch watch;
  const Layout small{.length = 256, .batch = 67};  // enough data for a team on the small road
  const Layout strided{.length = 300, .batch = 7, .stride_in = 2, .stride_out = 2, .offset_in = 1, .offset_out = 1};
  Layout split = strided;
  split.split = true;
  const Layout big{.length = 4096, .batch = 3, .scale_f = 0.5};  // members' buffers beyond the stack area
  for (Layout g : {small, strided, split, big})
    for (bool inplace : {true, false})
      for (bool inverse : {false, true}) {
        g.inplace = inplace;
        SCOPED_TRACE(::testing::Message() << "L " << g.length << (g.split ? " split" : "")
                                          << (inplace ? " in" : " out") << (inverse ? " backward" : " forward"));
        std::int32_t one = 0, two = 0;
        const Data<R> a = run_with<R>(g, 1, inverse, [&](dfxi_node* p) { one = p->threads; });
        const Data<R> b = run_with<R>(g, 2, inverse, [&](dfxi_node* p) { two = p->threads; });
        EXPECT_EQ(one, 1);
        EXPECT_EQ(two, 2);
        EXPECT_TRUE(a == b);
      }
}

// A batch within one page of data is not worth a team; a single transform
// never starts one.
TYPED_TEST(DftTeams, SmallBatchesStayOnOneThread) {
  using R = TypeParam;
  AllocWatch watch;
  Node n;
  ASSERT_EQ(make_node<R>(n, Layout{.length = 16, .batch = 4, .thread_limit = 2}), 0u);
  EXPECT_EQ(n->bkd, small_backend(sizeof(R) == 8));
  EXPECT_EQ(n->threads, 1);
  Node m;
  ASSERT_EQ(make_node<R>(m, Layout{.length = 4096, .scale_f = 2.0, .thread_limit = 2}), 0u);
  EXPECT_EQ(m->bkd, nullptr);
  EXPECT_EQ(m->threads, 1);
}

TYPED_TEST(DftTeams, AllocationFailureGivesStatusOneAndLeavesTheData) {
  using R = TypeParam;
  const Layout small{.length = 2048, .batch = 9, .thread_limit = 2};
  // Default road, members' buffers on the heap; and its split form.
  const Layout wide{.length = 4096, .batch = 3, .scale_f = 0.5, .thread_limit = 2};
  Layout split = wide;
  split.split = true;
  const Layout strided{.length = 360, .batch = 3, .stride_in = 3, .stride_out = 3, .thread_limit = 2};
  for (Layout g : {small, wide, strided, split})
    for (bool inplace : {true, false}) {
      g.inplace = inplace;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << (g.split ? " split" : "") << (inplace ? " in" : " out"));
      const int failures = dft::fail_each_request([&](std::int64_t k) {
        qor_fault_reset();  // the node is made before the faults begin
        Data<R> in(g.span_in(), g.split, 21);
        Data<R> out(g.inplace ? 0 : g.span_out(), g.split, 22);
        const Data<R> in_before = in, out_before = out;
        Node n;
        const std::uint32_t committed = make_node<R>(n, g, k);
        if (committed != 0) {
          EXPECT_EQ(committed, 1u) << k;
          EXPECT_EQ(n->compute_forward, nullptr) << k;
          return;
        }
        const std::uint32_t st = compute<R>(n.get(), false, in, out, g);
        if (st != 0) {
          EXPECT_EQ(st, 1u) << k;
          EXPECT_TRUE(in == in_before) << k;
          EXPECT_TRUE(out == out_before) << k;
          return;
        }
        if (g.inplace) check<R>(g, false, in_before, in, in_before);
        else check<R>(g, false, in_before, out, out_before);
      });
      EXPECT_GE(failures, 1);
    }
}

// The thread plan of the default road: powers of two get their exact
// order; interleaved lengths the primitive cannot plan, and strided
// lengths it would only run by direct sums or convolution, are declined.
TYPED_TEST(DftTeams, DefaultRoadDeclinesWhatBluesteinShouldTake) {
  using R = TypeParam;
  constexpr bool dbl = sizeof(R) == 8;
  AllocWatch watch;
  auto plan = [](i64 L, i64 stride, bool split, std::int64_t* log2) {
    return thread_plan<R>(Layout{.length = L, .stride_in = stride, .split = split}, false, nullptr, log2);
  };
  for (int e = 0; e <= 30; ++e) {
    std::int64_t log2 = -1;
    EXPECT_EQ(plan(i64{1} << e, 1, false, &log2), 0u);
    EXPECT_EQ(log2, e);
  }
  // Strided: primes and a large prime rest decline, lengths of small
  // factors are planned.
  for (i64 L : {3, 7, 97, 1009, 2 * 1009}) EXPECT_EQ(plan(L, 2, false, nullptr), 100u) << L;
  for (i64 L : {6, 12, 360, 1000, 2 * 97, 3 * 5 * 7 * 11 * 13}) EXPECT_EQ(plan(L, 2, false, nullptr), 0u) << L;
  // Unit strides: the primitive runs any length it can plan.
  for (i64 L : {7, 97, 1009}) EXPECT_EQ(plan(L, 1, false, nullptr), 0u) << L;
  // Split storage stays on the default road.
  EXPECT_EQ(plan(97, 2, true, nullptr), 0u);
  // Beyond the primitive's limit for lengths that are not powers of two: a
  // prime is left to the convolution road, a length that splits into two
  // factors is planned (as two passes of shorter transforms).
  const i64 beyond = dbl ? (i64{1} << 24) + 2 : (i64{1} << 25) + 2;
  const i64 prime_beyond = dbl ? 16777259 : 33554467;
  EXPECT_EQ(plan(prime_beyond, 1, false, nullptr), 100u);
  EXPECT_EQ(plan(beyond, 1, false, nullptr), 0u);
  EXPECT_EQ(plan(beyond - 4, 1, false, nullptr), 0u);
}

}  // namespace
}  // namespace qor::test::backends
