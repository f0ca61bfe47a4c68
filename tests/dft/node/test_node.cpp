// The node as the front end sees it: what creation stores, every method of
// the table, the geometry commit derives from what the user set, copies,
// the blessing with the threading table and the version text.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>

#include "dft/node/node_test.h"

namespace qor::test::node {
namespace {

// The first node of the process decides which memory methods serve it:
// this program tests heap nodes.
class HeapFamily : public ::testing::Environment {
  void SetUp() override { api().mem_methods_init(nullptr); }
};
const auto* const g_heap = ::testing::AddGlobalTestEnvironment(new HeapFamily);

TEST(DftNode, CreationStoresTheDescription) {
  AllocWatch watch;
  Node d(make_dc1d(1024));
  ASSERT_NE(d.get(), nullptr);
  EXPECT_EQ(std::memcmp(d->tag, "DFT\0", 4), 0);
  // The stored values as the front end reads them.
  const std::pair<std::int32_t dfxi_node::*, std::int32_t> words[] = {
      {&dfxi_node::commit_status, 31},   {&dfxi_node::precision, 36},
      {&dfxi_node::forward_domain, 32},  {&dfxi_node::rank, 1},
      {&dfxi_node::complex_storage, 39}, {&dfxi_node::real_storage, 42},
      {&dfxi_node::conjugate_even_storage, 39}, {&dfxi_node::placement, 43},
      {&dfxi_node::packed_format, 57},   {&dfxi_node::workspace, 51},
      {&dfxi_node::ordering, 48},        {&dfxi_node::transpose, 53},
      {&dfxi_node::planned_threads, 1},  {&dfxi_node::options, 0}};
  for (auto [word, value] : words) EXPECT_EQ(d.get()->*word, value);
  EXPECT_EQ(d->scale_forward, 1.0);
  EXPECT_EQ(d->scale_backward, 1.0);
  EXPECT_EQ(d->front_end[0], 2);
  EXPECT_EQ(d->compute_forward, nullptr);
  EXPECT_EQ(d->bkd, nullptr);
  EXPECT_EQ(d->mem, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(d.get()) % 64, 0u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(d->tensor.dims) % 64, 0u);
  auto same = [](const IotensorEntry& e, std::vector<std::int64_t> w) {
    return std::vector<std::int64_t>{e.n, e.is, e.os, e.fs, e.bs} == w;
  };
  ASSERT_EQ(d->tensor.count, 1);
  EXPECT_TRUE(same(d->tensor.dims[0], {1024, 1, 1, 0, 0}));
  ASSERT_EQ(d->batch.count, 1);
  EXPECT_TRUE(same(d->batch.dims[0], {1, 0, 0, 0, 0}));
  ASSERT_EQ(d->tensor_committed.count, 1);
  EXPECT_EQ(d->tensor_committed.dims[0].n, 1024);
  EXPECT_NE(d->tensor_committed.dims, d->tensor.dims);
  ASSERT_NE(d->bkdown_list, nullptr);
  ASSERT_NE(d->qorapi, nullptr);

  Node s;
  dfxi_node* p = nullptr;
  ASSERT_EQ(api().create_sc1d(&p, 7, nullptr), 0u);
  s.reset(p);
  EXPECT_EQ(s->precision, 35);
  EXPECT_NE(s->bkdown_list, d->bkdown_list);  // one list a precision

  // The first length given is the fastest dimension.
  Node m(make(36, 33, {4, 5, 6}));
  ASSERT_EQ(m->tensor.count, 3);
  const std::vector<std::int64_t> dims[3] = {{4, 1, 1, 0, 0}, {5, 4, 4, 0, 0}, {6, 20, 20, 0, 0}};
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(same(m->tensor.dims[i], dims[i])) << i;
  EXPECT_EQ(m->forward_domain, 33);
  EXPECT_EQ(m->bkdown_list, nullptr);  // the generic form stores no list

  // A list goes into a node that exists.
  EXPECT_EQ(api().set_bkdlist_sc1d(m.get()), 0u);
  EXPECT_EQ(m->bkdown_list, s->bkdown_list);
  EXPECT_EQ(api().set_bkdlist_dc1d(m.get()), 0u);
  EXPECT_EQ(m->bkdown_list, d->bkdown_list);
  EXPECT_EQ(api().set_bkdlist_dc1d(nullptr), 3u);
}

TEST(DftNode, BadCreationArgumentsLeaveTheOutputAlone) {
  AllocWatch watch;
  dfxi_node sentinel_storage;
  dfxi_node* const sentinel = &sentinel_storage;
  const std::int64_t good[2] = {8, 8};
  const std::int64_t zero[2] = {8, 0};
  const std::int64_t negative[2] = {-8, 8};
  const std::int64_t huge[2] = {std::int64_t{1} << 40, std::int64_t{1} << 40};
  struct Case {
    std::int32_t precision, domain;
    std::int64_t rank;
    const std::int64_t* lengths;
  } cases[] = {{34, 32, 2, good}, {37, 32, 2, good}, {36, 31, 2, good}, {36, 34, 2, good}, {36, 32, 0, good},
               {36, 32, -1, good}, {36, 32, 2, nullptr}, {36, 32, 2, zero}, {35, 33, 2, negative},
               {36, 32, 2, huge}};
  for (const Case& c : cases) {
    dfxi_node* out = sentinel;
    EXPECT_EQ(api().create_node(&out, c.precision, c.domain, c.rank, c.lengths, nullptr), 3u);
    EXPECT_EQ(out, sentinel);
  }
  EXPECT_EQ(api().create_node(nullptr, 36, 32, 2, good, nullptr), 3u);
  dfxi_node* out = sentinel;
  EXPECT_EQ(api().create_dc1d(&out, 0, nullptr), 3u);
  EXPECT_EQ(out, sentinel);
  // Nodes in caller memory come from the arena entries; a heap process
  // refuses them rather than putting a node on the heap.
  std::int64_t sizes[3] = {-1, -1, -1};
  const std::int64_t len = 64;
  EXPECT_EQ(api().get_size_dc1d(0, &len, 0, &sizes[0], &sizes[1], &sizes[2], 1.0, 1.0), 7u);
  EXPECT_EQ(sizes[0], -1);
}

// Stride arrays: entry 0 the offset, then one stride a dimension.
TEST(DftNode, StrideMethodsWordByWord) {
  AllocWatch watch;
  Node n(make(36, 32, {4, 5}));
  const dfxi_methods& m = n.m();
  using Get = std::uint32_t (*)(const dfxi_node*, std::int64_t*);
  using Set = std::uint32_t (*)(dfxi_node*, const std::int64_t*);
  struct Side {
    Get get;
    Set set;
    std::int64_t IotensorEntry::*word;
    std::int64_t dfxi_node::*offset;
    std::int32_t flag;
  } sides[] = {{m.getInputStrides, m.setInputStrides, &IotensorEntry::is, &dfxi_node::offset_in, 0},
               {m.getOutputStrides, m.setOutputStrides, &IotensorEntry::os, &dfxi_node::offset_out, 0},
               {m.getFwdStrides, m.setFwdStrides, &IotensorEntry::fs, &dfxi_node::fwd_offset, 128},
               {m.getBwdStrides, m.setBwdStrides, &IotensorEntry::bs, &dfxi_node::bwd_offset, 256}};
  std::int64_t base = 100;
  for (const Side& s : sides) {
    const std::int64_t set[3] = {base, base + 1, base + 2};
    const std::int32_t flags_before = n->flags;
    ASSERT_EQ(s.set(n.get(), set), 0u);
    EXPECT_EQ(n.get()->*s.offset, base);
    EXPECT_EQ(n->flags, flags_before | s.flag);
    std::int64_t got[4] = {-7, -7, -7, -7};
    ASSERT_EQ(s.get(n.get(), got), 0u);
    EXPECT_EQ(std::vector<std::int64_t>(got, got + 4), (std::vector<std::int64_t>{base, base + 1, base + 2, -7}))
        << "rank + 1 entries, no more";
    EXPECT_EQ(s.get(n.get(), nullptr), 3u);
    EXPECT_EQ(s.set(n.get(), nullptr), 3u);
    base += 10;
  }
  // Each array went to its own word: none overwrote another.
  for (int d = 0; d < 2; ++d) {
    const IotensorEntry& e = n->tensor.dims[d];
    EXPECT_EQ(std::vector<std::int64_t>({e.is, e.os, e.fs, e.bs}),
              (std::vector<std::int64_t>{101 + d, 111 + d, 121 + d, 131 + d}));
  }
  std::int64_t lengths[3] = {0, 0, -7};
  EXPECT_EQ(m.getLengths(n.get(), lengths), 0u);
  EXPECT_EQ(std::vector<std::int64_t>(lengths, lengths + 3), (std::vector<std::int64_t>{4, 5, -7}));
}

TEST(DftNode, DistancesAndTransforms) {
  AllocWatch watch;
  Node n(make_dc1d(16));
  const dfxi_methods& m = n.m();
  EXPECT_EQ(m.setInputDistance(n.get(), 17), 0u);
  EXPECT_EQ(m.setOutputDistance(n.get(), 18), 0u);
  EXPECT_EQ(n->flags, 0);  // the plain distances set no flag
  EXPECT_EQ(m.setFwdDistance(n.get(), 19), 0u);
  EXPECT_EQ(n->flags, 2048);
  EXPECT_EQ(m.setBwdDistance(n.get(), 20), 0u);
  EXPECT_EQ(n->flags, 2048 | 4096);
  const IotensorEntry& b = n->batch.dims[0];
  EXPECT_EQ(std::vector<std::int64_t>({b.is, b.os, b.fs, b.bs}), (std::vector<std::int64_t>{17, 18, 19, 20}));
  std::int64_t v = 0;

  EXPECT_EQ(m.setNumberOfTransforms(n.get(), 5), 0u);
  EXPECT_EQ(m.setNumberOfTransforms(n.get(), 0), 3u);
  EXPECT_EQ(m.getNumberOfTransforms(n.get(), &v), 0u);
  EXPECT_EQ(v, 5);  // the refused 0 left it
  EXPECT_EQ(m.getNumberOfTransforms(n.get(), nullptr), 3u);
  EXPECT_EQ(m.setWorkspace(n.get(), 52), 0u);
  EXPECT_EQ(n->workspace, 51);  // does nothing
}

TEST(DftNode, DescriptorName) {
  AllocWatch watch;
  Node n(make_dc1d(16));
  const dfxi_methods& m = n.m();
  // Cut at ten bytes; a short name is filled from the low byte of the
  // fill argument.
  ASSERT_EQ(m.setDescriptorName(n.get(), "ABCDEFGHIJKL", 12, '#'), 0u);
  EXPECT_EQ(std::string(n->name, 10), "ABCDEFGHIJ");
  ASSERT_EQ(m.setDescriptorName(n.get(), "xyz", 3, 0x100 + '*'), 0u);
  EXPECT_EQ(std::string(n->name, 10), "xyz*******");
  char out[16];
  std::memset(out, '.', sizeof out);
  ASSERT_EQ(m.getDescriptorName(n.get(), out, 4), 0u);
  EXPECT_EQ(std::string(out, 6), "xyz*..");
  std::memset(out, '.', sizeof out);
  ASSERT_EQ(m.getDescriptorName(n.get(), out, 16), 0u);
  EXPECT_EQ(std::string(out, 11), "xyz*******.");
  EXPECT_EQ(m.setDescriptorName(n.get(), nullptr, 4, 0), 3u);
  EXPECT_EQ(std::string(n->name, 10), "xyz*******");
  EXPECT_EQ(m.setDescriptorName(n.get(), "q", 0, 'z'), 0u);
  EXPECT_EQ(std::string(n->name, 10), "zzzzzzzzzz");
}

// Commits `n` with a backend that takes it, so that uncommitting shows.
void commit_with(const Node& n, const FakeList& list) {
  n->bkdown_list = list.get();
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  ASSERT_EQ(n->commit_status, 30);
}

TEST(DftNode, WhichSettersUncommit) {
  AllocWatch watch;
  Fake taker(0);
  FakeList list{&taker};
  Node n(make(36, 32, {8, 3}));
  const dfxi_methods& m = n.m();
  const std::int64_t strides[3] = {0, 1, 8};
  // Forward and backward strides must come as a pair for every commit.
  ASSERT_EQ(m.setFwdStrides(n.get(), strides), 0u);
  ASSERT_EQ(m.setBwdStrides(n.get(), strides), 0u);

  struct Setter {
    const char* name;
    bool uncommits;
    std::function<std::uint32_t()> call;
  };
  const std::vector<Setter> setters = {
      {"setInputStrides", true, [&] { return m.setInputStrides(n.get(), strides); }},
      {"setOutputStrides", true, [&] { return m.setOutputStrides(n.get(), strides); }},
      {"setFwdStrides", true, [&] { return m.setFwdStrides(n.get(), strides); }},
      {"setBwdStrides", true, [&] { return m.setBwdStrides(n.get(), strides); }},
      {"setScale new", true, [&] { return m.setScale(n.get(), 4, n->scale_forward * 2); }},
      {"setScale same", false, [&] { return m.setScale(n.get(), 5, n->scale_backward); }},
      {"setScale NaN", true, [&] { return m.setScale(n.get(), 4, std::nan("")); }},
      {"setScale NaN again", true, [&] { return m.setScale(n.get(), 4, std::nan("")); }},
      {"setInputDistance", false, [&] { return m.setInputDistance(n.get(), 24); }},
      {"setOutputDistance", false, [&] { return m.setOutputDistance(n.get(), 24); }},
      {"setFwdDistance", false, [&] { return m.setFwdDistance(n.get(), 24); }},
      {"setBwdDistance", false, [&] { return m.setBwdDistance(n.get(), 24); }},
      {"setNumberOfTransforms", false, [&] { return m.setNumberOfTransforms(n.get(), 1); }},
      {"setThreadLimit", false, [&] { return m.setThreadLimit(n.get(), 1); }},
      {"setDescriptorName", false, [&] { return m.setDescriptorName(n.get(), "n", 1, 0); }},
      {"setWorkspace", false, [&] { return m.setWorkspace(n.get(), 53); }},
  };
  for (const Setter& s : setters) {
    SCOPED_TRACE(s.name);
    // NaN is kept between its two calls; the rest start from a clean scale.
    if (!std::isnan(n->scale_forward)) n->scale_forward = 1.0;
    commit_with(n, list);
    const int detaches = taker.detaches;
    ASSERT_EQ(s.call(), 0u);
    if (s.uncommits) {
      EXPECT_EQ(n->commit_status, 31);
      EXPECT_EQ(n->compute_forward, nullptr);
      EXPECT_EQ(n->bkd, nullptr);
      EXPECT_EQ(taker.detaches, detaches + 1);
    } else {
      EXPECT_EQ(n->commit_status, 30);
      EXPECT_NE(n->compute_forward, nullptr);
      EXPECT_EQ(taker.detaches, detaches);
    }
  }
}

TEST(DftNode, Scales) {
  AllocWatch watch;
  Node n(make_dc1d(16));
  const dfxi_methods& m = n.m();
  double v = -1;
  EXPECT_EQ(m.setScale(n.get(), 4, 0.25), 0u);
  EXPECT_EQ(m.setScale(n.get(), 5, -3.5), 0u);
  for (std::int32_t bad : {3, 6, 0, -4}) {
    v = 42;
    EXPECT_EQ(m.getScale(n.get(), bad, &v), 3u);
    EXPECT_EQ(v, 42);
    EXPECT_EQ(m.setScale(n.get(), bad, 9.0), 3u);
  }
  EXPECT_EQ(n->scale_forward, 0.25);
  EXPECT_EQ(n->scale_backward, -3.5);
  EXPECT_EQ(m.getScale(n.get(), 4, nullptr), 3u);
}

int g_max_threads = 1;
int g_parallel = 0;
int max_threads_slot() { return g_max_threads; }
int parallel_slot() { return g_parallel; }
std::int64_t mode_slot() { return 0x5eed; }

TEST(DftNode, ThreadLimit) {
  AllocWatch watch;
  Fake taker(0);
  FakeList list{&taker};
  Node n(make_dc1d(64));
  const dfxi_methods& m = n.m();
  Slots slots(n->qorapi);
  slots->max_threads = max_threads_slot;
  slots->in_parallel = parallel_slot;
  g_max_threads = 6;
  g_parallel = 0;
  auto limit = [&] {
    std::int32_t v = -1;
    EXPECT_EQ(m.getThreadLimit(n.get(), &v), 0u);
    return v;
  };

  EXPECT_EQ(m.setThreadLimit(n.get(), -1), 3u);
  EXPECT_EQ(m.setThreadLimit(n.get(), 4), 0u);
  EXPECT_EQ(limit(), 4);
  g_parallel = 1;  // inside a parallel region: one thread, stored and read
  EXPECT_EQ(limit(), 1);
  EXPECT_EQ(m.setThreadLimit(n.get(), 5), 0u);
  EXPECT_EQ(n->thread_limit, 1);
  g_parallel = 0;

  // Committed: the granted threads, bounded by what the layer allows now.
  EXPECT_EQ(m.setThreadLimit(n.get(), 0), 0u);
  commit_with(n, list);
  EXPECT_EQ(n->threads, 6);  // no limit: the layer's maximum
  EXPECT_EQ(n->cpu_mode, 0);  // no mode slot yet
  g_max_threads = 2;
  EXPECT_EQ(limit(), 2);
  g_max_threads = 9;
  EXPECT_EQ(limit(), 6);
  EXPECT_EQ(m.setThreadLimit(n.get(), 3), 0u);
  EXPECT_EQ(n->commit_status, 30);
  slots->mode = mode_slot;
  commit_with(n, list);
  EXPECT_EQ(n->threads, 3);  // the user's limit wins
  EXPECT_EQ(n->cpu_mode, 0x5eed);
  EXPECT_EQ(m.getThreadLimit(n.get(), nullptr), 3u);
}

// ---- Geometry after commit ----

const IotensorEntry& cdim(const Node& n, int i) { return n->tensor_committed.dims[i]; }

TEST(DftNodeCommit, UnitExtentsDropOutButOneStays) {
  AllocWatch watch;
  // The lengths given and the committed dimensions as {n, is}: the others
  // keep their order and strides, and one dimension always stays.
  const std::pair<std::vector<std::int64_t>, std::vector<std::vector<std::int64_t>>> cases[] = {
      {{1, 8}, {{8, 1}}}, {{1, 1}, {{1, 1}}}, {{3, 1, 5, 1}, {{3, 1}, {5, 3}}}};
  for (const auto& [lengths, want] : cases) {
    Node n(make(36, 32, lengths));
    ASSERT_EQ(n.m().commit(n.get()), 0u);
    std::vector<std::vector<std::int64_t>> got;
    for (int i = 0; i < n->tensor_committed.count; ++i) got.push_back({cdim(n, i).n, cdim(n, i).is});
    EXPECT_EQ(got, want) << lengths.size();
    EXPECT_EQ(n->rank_committed, static_cast<std::int32_t>(want.size()));
    EXPECT_EQ(n->length, want[0][0]);
    EXPECT_EQ(n->stride_in, want[0][1]);
    EXPECT_EQ(n->tensor.count, static_cast<std::int32_t>(lengths.size()));  // the user's tensor is untouched
  }
}

TEST(DftNodeCommit, DimensionsOrderedByStride) {
  AllocWatch watch;
  // A 2x3x4 array stored with the dimension of 4 fastest, then 2, then 3.
  Node n(make(36, 32, {2, 3, 4}));
  const std::int64_t strides[4] = {0, 4, 8, 1};
  ASSERT_EQ(n.m().setInputStrides(n.get(), strides), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  ASSERT_EQ(n->tensor_committed.count, 3);
  const std::int64_t want[3][2] = {{4, 1}, {2, 4}, {3, 8}};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(cdim(n, i).n, want[i][0]);
    EXPECT_EQ(cdim(n, i).is, want[i][1]);
    EXPECT_EQ(cdim(n, i).os, want[i][1]);  // in place: the output is the input
  }
  EXPECT_EQ(n->length, 4);

  // The real domain keeps the user's order: its first dimension is special.
  Node r(make(36, 33, {2, 3, 4}));
  ASSERT_EQ(r.m().setInputStrides(r.get(), strides), 0u);
  ASSERT_EQ(r.m().commit(r.get()), 0u);
  EXPECT_EQ(r->tensor_committed.dims[0].n, 2);
  EXPECT_EQ(r->tensor_committed.dims[2].is, 1);
}

// The exchange asks "input stride greater, or forward stride greater", so
// when the two strides disagree an entry moves even though its input
// stride is the smaller one.
TEST(DftNodeCommit, SortExchangesOnEitherStride) {
  AllocWatch watch;
  Node n(make(36, 32, {2, 3, 5}));
  const std::int64_t in[4] = {0, 1, 2, 6};
  const std::int64_t fwd[4] = {0, 30, 10, 1};
  ASSERT_EQ(n.m().setInputStrides(n.get(), in), 0u);
  ASSERT_EQ(n.m().setFwdStrides(n.get(), fwd), 0u);
  ASSERT_EQ(n.m().setBwdStrides(n.get(), fwd), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  // Every pair is exchanged on the forward stride alone: the order ends
  // descending in the input stride, which no order by one stride gives.
  ASSERT_EQ(n->tensor_committed.count, 3);
  EXPECT_EQ(cdim(n, 0).n, 5);
  EXPECT_EQ(cdim(n, 1).n, 3);
  EXPECT_EQ(cdim(n, 2).n, 2);
  for (int i = 0; i < 3; ++i) {
    // Entries move whole: each keeps its own strides.
    const std::int64_t len = cdim(n, i).n;
    const int user = len == 2 ? 0 : len == 3 ? 1 : 2;
    EXPECT_EQ(cdim(n, i).is, in[user + 1]);
    EXPECT_EQ(cdim(n, i).fs, fwd[user + 1]);
    EXPECT_EQ(cdim(n, i).bs, fwd[user + 1]);
  }
}

TEST(DftNodeCommit, BatchLevelsMergeWhenContiguous) {
  AllocWatch watch;
  // Out of place, for transforms of 16 points: the levels given and the
  // committed levels as {n, is, os}.
  struct Case {
    const char* what;
    std::vector<IotensorEntry> levels;
    std::vector<std::vector<std::int64_t>> want;
  } cases[] = {
      {"2 and 3 in a run: one run of 6", {{2, 16, 16, 0, 0}, {3, 32, 32, 0, 0}}, {{6, 16, 16}}},
      {"the top pair merges, then the scan restarts at the top",
       {{2, 10, 20, 0, 0}, {3, 20, 40, 0, 0}, {4, 60, 120, 0, 0}}, {{24, 10, 20}}},
      {"only the lower pair runs on", {{2, 10, 10, 0, 0}, {3, 20, 20, 0, 0}, {4, 100, 100, 0, 0}},
       {{6, 10, 10}, {4, 100, 100}}},
      {"the output does not run on", {{2, 16, 16, 0, 0}, {3, 32, 33, 0, 0}}, {{2, 16, 16}, {3, 32, 33}}},
      {"sorted first, unit levels removed", {{3, 32, 32, 0, 0}, {1, 7, 7, 0, 0}, {2, 16, 16, 0, 0}}, {{6, 16, 16}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Node n(make_dc1d(16));
    n->placement = 44;
    // Replace the batch as a maker of nested nodes does; the node frees
    // the array with itself.
    auto* dims = static_cast<IotensorEntry*>(qor_serv_malloc(static_cast<std::int64_t>(c.levels.size() * 40), 64));
    ASSERT_NE(dims, nullptr);
    std::copy(c.levels.begin(), c.levels.end(), dims);
    qor_serv_free(n->batch.dims);
    n->batch.dims = dims;
    n->batch.count = static_cast<std::int32_t>(c.levels.size());
    ASSERT_EQ(n.m().commit(n.get()), 0u);
    std::vector<std::vector<std::int64_t>> got;
    for (int i = 0; i < n->batch_committed.count; ++i) {
      const IotensorEntry& e = n->batch_committed.dims[i];
      got.push_back({e.n, e.is, e.os});
    }
    EXPECT_EQ(got, c.want);
    if (c.want.size() == 1) {
      EXPECT_EQ(n->ntransforms, c.want[0][0]);
      EXPECT_EQ(n->distance_in, c.want[0][1]);
      EXPECT_EQ(n->distance_out, c.want[0][2]);
    }
  }
}

TEST(DftNodeCommit, InPlaceMirrorsTheOutput) {
  AllocWatch watch;
  Node n(make_dc1d(32));
  const std::int64_t in[2] = {3, 2};
  const std::int64_t out[2] = {5, 7};
  ASSERT_EQ(n.m().setInputStrides(n.get(), in), 0u);
  ASSERT_EQ(n.m().setOutputStrides(n.get(), out), 0u);
  ASSERT_EQ(n.m().setScale(n.get(), 5, 1.0 / 3), 0u);
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->stride_in, 2);
  EXPECT_EQ(n->stride_out, 2);
  EXPECT_EQ(n->tensor.dims[0].os, 7);  // the user's words stay
  EXPECT_EQ(n->scale_committed[1], 1.0 / 3);
  EXPECT_EQ(n->scale_committed_f[1], static_cast<float>(1.0 / 3));
  n->placement = 44;
  ASSERT_EQ(n.m().commit(n.get()), 0u);
  EXPECT_EQ(n->stride_out, 7);
}

TEST(DftNode, CopyOfACommittedNode) {
  AllocWatch watch;
  Fake taker(0);
  FakeList list{&taker};
  Node n(make(36, 32, {8, 4}));
  const dfxi_methods& m = n.m();
  const std::int64_t strides[3] = {2, 1, 8};
  ASSERT_EQ(m.setInputStrides(n.get(), strides), 0u);
  ASSERT_EQ(m.setDescriptorName(n.get(), "named", 5, 0), 0u);
  n->front_end[1] = 77;
  commit_with(n, list);

  dfxi_node* raw = nullptr;
  ASSERT_EQ(m.copy_node(n.get(), &raw), 0u);
  Node c(raw);
  EXPECT_EQ(c->commit_status, 30);  // as it stands
  EXPECT_EQ(c->compute_forward, nullptr);
  EXPECT_EQ(c->bkd, nullptr);
  EXPECT_EQ(c->name[0], 0);  // the front end copies the name itself
  EXPECT_EQ(c->front_end[1], 77);
  EXPECT_EQ(c->bkdown_list, n->bkdown_list);
  EXPECT_EQ(c->methods, n->methods);
  EXPECT_EQ(std::memcmp(c->tag, "DFT", 4), 0);
  ASSERT_EQ(c->tensor.count, 2);
  EXPECT_NE(c->tensor.dims, n->tensor.dims);
  EXPECT_EQ(c->tensor.dims[1].is, 8);
  EXPECT_EQ(c->tensor.dims[1].n, 4);
  ASSERT_EQ(c->tensor_committed.count, 2);
  EXPECT_NE(c->tensor_committed.dims, n->tensor_committed.dims);
  // The copy is its own node: committing it takes the backend again, and
  // destroying the original leaves it whole.
  ASSERT_EQ(c.m().commit(c.get()), 0u);
  EXPECT_EQ(taker.commits, 2);
  EXPECT_NE(c->compute_forward, nullptr);
  n.reset();
  EXPECT_EQ(c->tensor.dims[1].is, 8);
  EXPECT_EQ(m.copy_node(c.get(), nullptr), 3u);
}

std::int64_t fake_cache(int) { return 12345; }

TEST(DftNode, BlessingFillsOnlyTheCacheSlot) {
  AllocWatch watch;
  Node a(make_dc1d(8));
  ASSERT_NE(a->qorapi->cache_size, nullptr);
  for (int level : {1, 2, 3}) EXPECT_EQ(a->qorapi->cache_size(level), qor_serv_get_cache_size(level));
  Slots slots(a->qorapi);
  slots->cache_size = fake_cache;
  Node b(make_dc1d(8));
  EXPECT_EQ(b->qorapi, a->qorapi);  // one table for the process
  EXPECT_EQ(b->qorapi->cache_size(2), 12345);  // a filled slot is kept
}

TEST(DftNode, VersionTextIsCopiedUnterminated) {
  const std::string version = std::string(qor_version_string()).substr(0, 197);
  char buf[300];
  std::memset(buf, '~', sizeof buf);
  ASSERT_EQ(api().version_string(buf, 5), 0u);
  EXPECT_EQ(std::string(buf, 5), version.substr(0, 5));
  EXPECT_EQ(buf[5], '~');
  std::memset(buf, '~', sizeof buf);
  ASSERT_EQ(api().version_string(buf, 300), 0u);
  EXPECT_EQ(std::string(buf, version.size()), version);
  EXPECT_EQ(buf[version.size()], '~');  // no terminator written
  std::memset(buf, '~', sizeof buf);
  ASSERT_EQ(api().version_string(buf, 0), 0u);
  EXPECT_EQ(buf[0], '~');
}

}  // namespace
}  // namespace qor::test::node
