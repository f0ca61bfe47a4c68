// The planner: the stride pairs it insists on before anything else, the
// spacing of a real in-place transform, the order in which backends are
// asked, and what it answers when all of them decline.
#include <cmath>

#include "dft/node/node_test.h"

namespace qor::test::node {
namespace {

// Commits with a backend that takes anything, and tells whether the
// geometry got as far as the backend.
struct Probe {
  Fake taker{0};
  FakeList list{&taker};
  std::uint32_t commit(const Node& n) {
    n->bkdown_list = list.get();
    AllocWatch watch;
    const int asked = taker.commits;
    const std::uint32_t st = n.m().commit(n.get());
    if (st == 3) {
      EXPECT_EQ(taker.commits, asked) << "a refused geometry reached a backend";
      EXPECT_EQ(watch.allocations(), 0) << "a refused geometry allocated";
    }
    return st;
  }
};

TEST(DftPlanner, ForwardAndBackwardStridesComeAsAPair) {
  AllocWatch watch;
  // Out of place: in place the complex domain copies the forward word over
  // the backward one, so the pair always holds there.
  {
    Probe p;
    Node n(make_dc1d(8));
    n->placement = 44;
    set(n, n.m().setFwdStrides, {0, 1});
    EXPECT_EQ(p.commit(n), 3u);
    set(n, n.m().setBwdStrides, {0, 1});
    EXPECT_EQ(p.commit(n), 0u);
    n->placement = 43;
    set(n, n.m().setBwdStrides, {0, 0});
    EXPECT_EQ(p.commit(n), 0u);
  }
  {
    Probe p;
    Node n(make_dc1d(8));
    n->placement = 44;
    set(n, n.m().setBwdStrides, {0, 1});
    EXPECT_EQ(p.commit(n), 3u);
  }
  // A dimension of extent 1 is not checked (the real domain keeps it).
  for (std::int64_t second : {1, 2}) {
    Probe p;
    Node n(make(36, 33, {8, second}));
    n->placement = 44;
    set(n, n.m().setFwdStrides, {0, 1, 8});
    set(n, n.m().setBwdStrides, {0, 1, 0});
    EXPECT_EQ(p.commit(n), second == 1 ? 0u : 3u) << second;
  }
}

TEST(DftPlanner, InputAndOutputStridesMustBeSet) {
  AllocWatch watch;
  {
    Probe p;
    Node n(make_dc1d(8));
    set(n, n.m().setInputStrides, {0, 0});
    EXPECT_EQ(p.commit(n), 3u);
  }
  {
    // In place the output is the input, so an unset output passes.
    Probe p;
    Node n(make_dc1d(8));
    set(n, n.m().setOutputStrides, {0, 0});
    EXPECT_EQ(p.commit(n), 0u);
    n->placement = 44;
    EXPECT_EQ(p.commit(n), 3u);
  }
  {
    // In place real with conjugate-even storage 39 checks the output too;
    // with storage 40 it does not.
    Probe p;
    Node n(make(36, 33, {8, 4}));
    set(n, n.m().setOutputStrides, {0, 1, 0});
    EXPECT_EQ(p.commit(n), 3u);
    n->conjugate_even_storage = 40;
    EXPECT_EQ(p.commit(n), 0u);
  }
  {
    Probe p;
    Node n(make(36, 33, {8, 1}));
    n->placement = 44;
    set(n, n.m().setInputStrides, {0, 1, 0});
    EXPECT_EQ(p.commit(n), 0u);
  }
}

TEST(DftPlanner, BatchDistancesFollowTheSameRule) {
  AllocWatch watch;
  Probe p;
  Node n(make_dc1d(8));
  n->placement = 44;
  // One transform: its distances do not matter.
  EXPECT_EQ(p.commit(n), 0u);
  ASSERT_EQ(n.m().setNumberOfTransforms(n.get(), 2), 0u);
  EXPECT_EQ(p.commit(n), 3u);  // distances still 0
  ASSERT_EQ(n.m().setInputDistance(n.get(), 8), 0u);
  EXPECT_EQ(p.commit(n), 3u);  // out of place the output distance too
  ASSERT_EQ(n.m().setOutputDistance(n.get(), 8), 0u);
  EXPECT_EQ(p.commit(n), 0u);
  ASSERT_EQ(n.m().setFwdDistance(n.get(), 8), 0u);
  EXPECT_EQ(p.commit(n), 3u);
  ASSERT_EQ(n.m().setBwdDistance(n.get(), 8), 0u);
  EXPECT_EQ(p.commit(n), 0u);
}

// In place, the conjugate-even side of a real transform needs half the
// spacing of the real side, beyond the first dimension.
TEST(DftPlanner, RealInPlaceSpacing) {
  AllocWatch watch;
  auto node = [] { return make(36, 33, {16, 3}); };
  {
    Probe p;
    Node n(node());
    set(n, n.m().setFwdStrides, {0, 1, 20});
    set(n, n.m().setBwdStrides, {0, 1, 9});
    EXPECT_EQ(p.commit(n), 3u);  // neither pair is 2:1
    set(n, n.m().setFwdStrides, {0, 1, 18});
    EXPECT_EQ(p.commit(n), 0u);
    set(n, n.m().setFwdStrides, {4, 1, 18});
    EXPECT_EQ(p.commit(n), 3u);  // the offsets too
    set(n, n.m().setBwdStrides, {2, 1, 9});
    EXPECT_EQ(p.commit(n), 0u);
  }
  for (bool reverse : {false, true}) {
    Probe p;
    Node n(node());
    set(n, n.m().setFwdStrides, {0, 1, 20});
    set(n, n.m().setBwdStrides, {0, 1, 9});
    set(n, n.m().setInputStrides, {0, 1, reverse ? 9 : 18});
    set(n, n.m().setOutputStrides, {0, 1, reverse ? 18 : 9});
    EXPECT_EQ(p.commit(n), 0u) << reverse;
    set(n, n.m().setOutputStrides, {0, 1, 10});
    EXPECT_EQ(p.commit(n), 3u) << reverse;
  }
  {
    // The batch is held to the same spacing.
    Probe p;
    Node n(node());
    set(n, n.m().setFwdStrides, {0, 1, 18});
    set(n, n.m().setBwdStrides, {0, 1, 9});
    ASSERT_EQ(n.m().setNumberOfTransforms(n.get(), 2), 0u);
    ASSERT_EQ(n.m().setInputDistance(n.get(), 96), 0u);
    ASSERT_EQ(n.m().setOutputDistance(n.get(), 48), 0u);
    ASSERT_EQ(n.m().setFwdDistance(n.get(), 100), 0u);
    ASSERT_EQ(n.m().setBwdDistance(n.get(), 48), 0u);
    EXPECT_EQ(p.commit(n), 3u);
    ASSERT_EQ(n.m().setFwdDistance(n.get(), 96), 0u);
    EXPECT_EQ(p.commit(n), 0u);
  }
  {
    // Out of place, or with a strided first dimension, nothing is asked.
    Probe p;
    Node n(node());
    set(n, n.m().setFwdStrides, {0, 1, 20});
    set(n, n.m().setBwdStrides, {0, 1, 9});
    n->placement = 44;
    EXPECT_EQ(p.commit(n), 0u);
    n->placement = 43;
    set(n, n.m().setFwdStrides, {0, 2, 20});
    set(n, n.m().setBwdStrides, {0, 2, 9});
    set(n, n.m().setInputStrides, {0, 2, 16});
    EXPECT_EQ(p.commit(n), 0u);
  }
}

TEST(DftPlanner, BackendsAreAskedInOrderUntilOneAnswers) {
  AllocWatch watch;
  {
    Fake no1(100), no2(100), yes1(0), yes2(0);
    FakeList list{&no1, &no2, &yes1, &yes2};
    Node n(make_dc1d(64));
    n->bkdown_list = list.get();
    EXPECT_EQ(n.m().commit(n.get()), 0u);
    EXPECT_EQ(no1.commits + no2.commits + yes1.commits, 3);
    EXPECT_EQ(yes2.commits, 0);
    EXPECT_EQ(n->bkd, &yes1.obj);
    EXPECT_EQ(n->commit_status, 30);
    n.reset();
    EXPECT_EQ(yes1.detaches, 1);  // destroy lets the backend go
  }
  for (std::uint32_t failure : {1u, 7u, 9u}) {
    // A failing backend stops the search with its own status.
    Fake no(100), bad(failure), yes(0);
    FakeList list{&no, &bad, &yes};
    Node n(make_dc1d(64));
    n->bkdown_list = list.get();
    EXPECT_EQ(n.m().commit(n.get()), failure);
    EXPECT_EQ(yes.commits, 0);
    EXPECT_EQ(n->commit_status, 31);
  }
  {
    // No list, or an empty one: nothing to ask, and nothing committed.
    const dfxi_backend* const empty[] = {nullptr};
    Node n(make_dc1d(64));
    n->bkdown_list = nullptr;
    EXPECT_EQ(n.m().commit(n.get()), 0u);
    n->bkdown_list = empty;
    EXPECT_EQ(n.m().commit(n.get()), 0u);
    EXPECT_EQ(n->commit_status, 31);
  }
  {
    // The list the node entries store: a short unit-stride transform is
    // taken by the first backend that can do it.
    Node d(make_dc1d(64));
    EXPECT_EQ(d.m().commit(d.get()), 0u);
    EXPECT_EQ(d->commit_status, 30);
  }
}

// Every backend declined.
std::uint32_t declined(std::int32_t precision, std::int64_t length, std::int64_t in, std::int64_t out,
                       std::int32_t placement = 43) {
  Fake no(100);
  FakeList list{&no};
  const std::int64_t len[1] = {length};
  dfxi_node* raw = nullptr;
  EXPECT_EQ(api().create_node(&raw, precision, 32, 1, len, nullptr), 0u);
  Node n(raw);
  n->bkdown_list = list.get();
  n->placement = placement;
  set(n, n.m().setInputStrides, {0, in});
  set(n, n.m().setOutputStrides, {0, out});
  const std::uint32_t st = n.m().commit(n.get());
  EXPECT_EQ(no.commits, 1);
  return st;
}

TEST(DftPlanner, AllDeclinedIsInconsistentUnlessTooLong) {
  AllocWatch watch;
  constexpr std::int64_t M = 1 << 20;
  // Double: 16M points, or 64M for powers of two; single twice as many.
  EXPECT_EQ(declined(36, 16 * M - 1, 2, 2), 3u);
  EXPECT_EQ(declined(36, 16 * M + 1, 2, 2), 9u);
  EXPECT_EQ(declined(36, 16 * M, 2, 2), 3u);
  EXPECT_EQ(declined(36, 64 * M, 2, 2), 3u);
  EXPECT_EQ(declined(36, 128 * M, 2, 2), 9u);
  EXPECT_EQ(declined(35, 32 * M - 1, 3, 3), 3u);
  EXPECT_EQ(declined(35, 32 * M + 1, 3, 3), 9u);
  EXPECT_EQ(declined(35, 128 * M, 3, 3), 3u);
  EXPECT_EQ(declined(35, 256 * M, 3, 3), 9u);
  // A unit first stride on either side: always inconsistent.
  EXPECT_EQ(declined(36, 16 * M + 1, 1, 2, 44), 3u);
  EXPECT_EQ(declined(36, 16 * M + 1, 2, 1, 44), 3u);
  EXPECT_EQ(declined(36, 16 * M + 1, 2, 3, 44), 9u);
  EXPECT_EQ(declined(36, 64, 1, 1), 3u);

  // Rank 2, however long, is inconsistent.
  Fake no(100);
  FakeList list{&no};
  Node n(make(36, 32, {16 * M + 1, 2}));
  n->bkdown_list = list.get();
  set(n, n.m().setInputStrides, {0, 2, 32 * M + 2});
  EXPECT_EQ(n.m().commit(n.get()), 3u);
}

TEST(DftPlanner, CanScaleOnlyOnExactValues) {
  AllocWatch watch;
  Node n(make_dc1d(16));
  struct Case {
    double f, b;
    int flag;  // 0: cannot
  } cases[] = {{1.0, 1.0, 8},       {0.0625, 1.0, 1},   {1.0, 0.0625, 2},
               {0.25, 0.25, 4},     {0.25, 1.0, 0},     {0.0625, 0.0625, 0},
               {std::nextafter(0.0625, 1.0), 1.0, 0},   {1.0, std::nan(""), 0},
               {0.25, std::nextafter(0.25, 0.0), 0},    {-1.0, 1.0, 0}};
  for (const Case& c : cases) {
    n->scale_forward = c.f;
    n->scale_backward = c.b;
    int flag = -5;
    EXPECT_EQ(api().can_scale(n.get(), &flag), c.flag != 0 ? 1 : 0) << c.f << " " << c.b;
    EXPECT_EQ(flag, c.flag != 0 ? c.flag : -5) << c.f << " " << c.b;
  }
  // 1/1000 is not a sum of powers of two: still exact against 1/L.
  Node k(make_dc1d(1000));
  k->scale_forward = 0.001;
  int flag = 0;
  EXPECT_EQ(api().can_scale(k.get(), &flag), 1);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(api().can_scale(nullptr, &flag), 0);
  EXPECT_EQ(api().can_scale(k.get(), nullptr), 0);
}

}  // namespace
}  // namespace qor::test::node
