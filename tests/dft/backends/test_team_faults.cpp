// Batches on teams of one and two threads give the same bits; allocation
// failure at every request of commit and compute gives status 1, leaves
// the caller's data alone and leaks nothing; and the default road's thread
// plan leaves to Bluestein what the primitive cannot do.
#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

class HeapFamily : public ::testing::Environment {
  void SetUp() override { api().mem_methods_init(nullptr); }
};
const auto* const g_heap = ::testing::AddGlobalTestEnvironment(new HeapFamily);

template <class R> class DftTeams : public ::testing::Test {};
using Precisions = ::testing::Types<double, float>;
TYPED_TEST_SUITE(DftTeams, Precisions);

// Runs the layout with the given thread limit; the output, and the
// threads the commit granted.
template <class R> Data<R> run_with(Layout g, int limit, bool inverse, std::int32_t* threads) {
  g.thread_limit = limit;
  Node n;
  EXPECT_EQ(make_node<R>(n, g), 0u);
  *threads = n->threads;
  Data<R> in(g.span_in(), g.split, 11);
  Data<R> out(g.inplace ? 0 : g.span_out(), g.split, 12);
  EXPECT_EQ(compute<R>(n.get(), inverse, in, out, g), 0u);
  return g.inplace ? in : out;
}

TYPED_TEST(DftTeams, OneAndTwoThreadsGiveTheSameBits) {
  using R = TypeParam;
  if (qor_get_max_threads() < 2) GTEST_SKIP() << "one thread only";
  AllocWatch watch;
  Layout small;  // enough data for a team on the small road
  small.length = 256;
  small.batch = 67;
  Layout strided;
  strided.length = 300;
  strided.batch = 7;
  strided.stride_in = strided.stride_out = 2;
  strided.offset_in = strided.offset_out = 1;
  Layout split = strided;
  split.split = true;
  Layout big;  // members' buffers beyond the stack area
  big.length = 4096;
  big.batch = 3;
  big.scale_f = 0.5;
  for (Layout g : {small, strided, split, big})
    for (bool inplace : {true, false})
      for (bool inverse : {false, true}) {
        g.inplace = inplace;
        SCOPED_TRACE(::testing::Message() << "L " << g.length << (g.split ? " split" : "")
                                          << (inplace ? " in" : " out") << (inverse ? " backward" : " forward"));
        std::int32_t one = 0, two = 0;
        const Data<R> a = run_with<R>(g, 1, inverse, &one);
        const Data<R> b = run_with<R>(g, 2, inverse, &two);
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
  Layout tiny;
  tiny.length = 16;
  tiny.batch = 4;
  tiny.thread_limit = 2;
  Node n;
  ASSERT_EQ(make_node<R>(n, tiny), 0u);
  EXPECT_EQ(n->bkd, small_backend(sizeof(R) == 8));
  EXPECT_EQ(n->threads, 1);
  Layout one;
  one.length = 4096;
  one.scale_f = 2.0;
  one.thread_limit = 2;
  Node m;
  ASSERT_EQ(make_node<R>(m, one), 0u);
  EXPECT_EQ(m->bkd, nullptr);
  EXPECT_EQ(m->threads, 1);
}

// Runs `attempt` with the k-th allocation and all later ones refused, for
// every k until it succeeds.
template <class F> int fail_each_request(F attempt) {
  int failures = 0;
  for (std::int64_t k = 0; k < 200; ++k) {
    AllocWatch watch;
    qor_fault_fail_after(QOR_POOL_BOTH, k);
    const bool done = attempt(k);
    qor_fault_reset();
    if (done) return failures;
    ++failures;
  }
  ADD_FAILURE() << "never succeeded";
  return failures;
}

TYPED_TEST(DftTeams, AllocationFailureGivesStatusOneAndLeavesTheData) {
  using R = TypeParam;
  Layout small;
  small.length = 2048;
  small.batch = 9;
  small.thread_limit = 2;
  Layout wide = small;  // default road, members' buffers on the heap
  wide.scale_f = 0.5;
  wide.length = 4096;
  wide.batch = 3;
  Layout strided;
  strided.length = 360;
  strided.batch = 3;
  strided.stride_in = strided.stride_out = 3;
  strided.thread_limit = 2;
  Layout split = wide;
  split.split = true;
  for (Layout g : {small, wide, strided, split})
    for (bool inplace : {true, false}) {
      g.inplace = inplace;
      SCOPED_TRACE(::testing::Message() << "L " << g.length << (g.split ? " split" : "") << (inplace ? " in" : " out"));
      const int failures = fail_each_request([&](std::int64_t k) {
        Node n;
        dfxi_node* p = nullptr;
        // The node itself is made before the faults begin.
        qor_fault_reset();
        const bool dbl = sizeof(R) == 8;
        Data<R> in(g.span_in(), g.split, 21);
        Data<R> out(g.inplace ? 0 : g.span_out(), g.split, 22);
        const Data<R> in_before = in, out_before = out;
        {
          EXPECT_EQ(dbl ? api().create_dc1d(&p, g.length, nullptr) : api().create_sc1d(&p, g.length, nullptr), 0u);
          n.reset(p);
        }
        qor_dft_bless_node_thr(p);
        p->bkdown_list = road_list(dbl);
        if (!g.inplace) p->placement = 44;
        if (g.split) p->complex_storage = 42;
        const i64 strides_in[2] = {g.offset_in, g.stride_in}, strides_out[2] = {g.offset_out, g.stride_out};
        n.m().setInputStrides(p, strides_in);
        if (!g.inplace) n.m().setOutputStrides(p, strides_out);
        n.m().setNumberOfTransforms(p, g.batch);
        n.m().setInputDistance(p, g.din());
        n.m().setOutputDistance(p, g.dout());
        n.m().setScale(p, 4, g.scale_f);
        n.m().setThreadLimit(p, g.thread_limit);
        qor_fault_fail_after(QOR_POOL_BOTH, k);
        const std::uint32_t committed = n.m().commit(p);
        if (committed != 0) {
          EXPECT_EQ(committed, 1u) << k;
          EXPECT_EQ(p->compute_forward, nullptr) << k;
          return false;
        }
        const std::uint32_t st = compute<R>(p, false, in, out, g);
        if (st != 0) {
          EXPECT_EQ(st, 1u) << k;
          EXPECT_TRUE(in == in_before) << k;
          EXPECT_TRUE(out == out_before) << k;
          return false;
        }
        qor_fault_reset();
        if (g.inplace) check<R>(g, false, in_before, in, in_before);
        else check<R>(g, false, in_before, out, out_before);
        return true;
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
    Node n;
    dfxi_node* p = nullptr;
    EXPECT_EQ(dbl ? api().create_dc1d(&p, L, nullptr) : api().create_sc1d(&p, L, nullptr), 0u);
    n.reset(p);
    qor_dft_bless_node_thr(p);
    p->bkdown_list = nullptr;  // commit only derives the geometry
    if (split) p->complex_storage = 42;
    const i64 s[2] = {0, stride};
    n.m().setInputStrides(p, s);
    EXPECT_EQ(n.m().commit(p), 0u);
    const std::uint32_t st = dbl ? qor_dft_threaded_mode_definition_d_c2c_1d(p, 0)
                                 : qor_dft_threaded_mode_definition_s_c2c_1d(p, 0);
    if (log2 != nullptr) *log2 = p->length_log2;
    return st;
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
