// Nodes in caller memory. The first call of the memory-method set-up in
// this process gives an arena, so the arena family serves it for good: the
// bump rules of each method, the sizes a node will need, and a node built
// in buffers of exactly those sizes.
#include <cstring>
#include <vector>

#include "dft/node/node_test.h"

namespace qor::test::node {
namespace {

class ArenaFamily : public ::testing::Environment {
  void SetUp() override {
    dfxi_cell cells[3] = {};
    dfxi_arena arena = {{&cells[0], &cells[1], &cells[2]}, 1};
    api().mem_methods_init(&arena);
  }
};
const auto* const g_arena = ::testing::AddGlobalTestEnvironment(new ArenaFamily);

// A 64-aligned buffer with guard bytes on both sides.
class Guarded {
 public:
  static constexpr std::size_t kGuard = 256;
  static constexpr unsigned char kFill = 0xA5;
  explicit Guarded(std::size_t size) : size_(size), raw_(size + 2 * kGuard + 64, kFill) {}
  unsigned char* data() {
    auto at = reinterpret_cast<std::uintptr_t>(raw_.data()) + kGuard;
    at = (at + 63) & ~std::uintptr_t{63};
    return reinterpret_cast<unsigned char*>(at);
  }
  bool guards_intact() {
    unsigned char* d = data();
    for (unsigned char* q = raw_.data(); q < d; ++q)
      if (*q != kFill) return false;
    for (unsigned char* q = d + size_; q < raw_.data() + raw_.size(); ++q)
      if (*q != kFill) return false;
    return true;
  }
  bool contains(const void* p, std::size_t bytes = 1) {
    auto* c = static_cast<const unsigned char*>(p);
    return c >= data() && c + bytes <= data() + size_;
  }

 private:
  std::size_t size_;
  std::vector<unsigned char> raw_;
};

TEST(DftNodeArena, CellsAreBumpedInWholePieces) {
  AllocWatch watch;
  // The set-up is done: a later call with no arena changes nothing.
  api().mem_methods_init(nullptr);
  alignas(64) unsigned char mem[1024];
  std::memset(mem, 0x5c, sizeof mem);
  const auto base = reinterpret_cast<std::uintptr_t>(mem);
  dfxi_cell cell = {base, 1};
  EXPECT_EQ((*api().malloc)(100, 4096, &cell), mem);
  EXPECT_EQ(cell.cursor, base + 128);
  EXPECT_EQ((*api().malloc)(64, 4096, &cell), mem + 128);
  EXPECT_EQ((*api().malloc)(1, 8, &cell), mem + 192);
  EXPECT_EQ(cell.cursor, base + 256);
  EXPECT_EQ(mem[0], 0x5c);  // malloc leaves the memory as it was

  // calloc zeroes exactly count times size bytes.
  unsigned char* z = static_cast<unsigned char*>((*api().calloc)(3, 7, 64, &cell));
  EXPECT_EQ(z, mem + 256);
  for (int i = 0; i < 21; ++i) EXPECT_EQ(z[i], 0) << i;
  EXPECT_EQ(z[21], 0x5c);
  EXPECT_EQ(cell.cursor, base + 320);

  // Without memory behind it a cell only counts; allocate still hands out
  // the cursor.
  dfxi_cell counting = {0, 0};
  EXPECT_EQ((*api().malloc)(10, 64, &counting), nullptr);
  EXPECT_EQ((*api().calloc)(2, 40, 64, &counting), nullptr);
  EXPECT_EQ(counting.cursor, 64u + 128u);
  dfxi_cell inactive = {base, 0};
  EXPECT_EQ((*api().allocate)(16, 4096, &inactive), mem);
  EXPECT_EQ(inactive.cursor, base + 64);

  // Freeing gives nothing back and touches nothing.
  const dfxi_cell keep = cell;
  (*api().free)(mem, &cell);
  (*api().deallocate)(mem + 128, &cell);
  EXPECT_EQ(cell.cursor, keep.cursor);
  EXPECT_EQ(mem[0], 0x5c);
  EXPECT_EQ(watch.allocations(), 0);  // the heap is never asked
}

TEST(DftNodeArena, HeapNodesAreRefusedHere) {
  dfxi_node sentinel_storage;
  dfxi_node* out = &sentinel_storage;
  EXPECT_EQ(api().create_dc1d(&out, 64, nullptr), 1u);
  EXPECT_EQ(out, &sentinel_storage);
}

struct Form {
  const char* name;
  std::uint32_t (*get_size_d)(std::int64_t, const std::int64_t*, std::int32_t, std::int64_t*, std::int64_t*,
                              std::int64_t*, double, double);
  std::uint32_t (*get_size_s)(std::int64_t, const std::int64_t*, std::int32_t, std::int64_t*, std::int64_t*,
                              std::int64_t*, float, float);
  decltype(&qor_dft_def_dfxi_init_dc1d) init;
  std::int32_t precision;
  bool split;
};

std::vector<Form> forms() {
  const Api& a = api();
  return {{"dc1d", a.get_size_dc1d, nullptr, a.init_dc1d, 36, false},
          {"dcsp1d", a.get_size_dcsp1d, nullptr, a.init_dcsp1d, 36, true},
          {"sc1d", nullptr, a.get_size_sc1d, a.init_sc1d, 35, false},
          {"scsp1d", nullptr, a.get_size_scsp1d, a.init_scsp1d, 35, true}};
}

std::uint32_t get_size(const Form& f, std::int64_t length, std::int64_t* sizes) {
  return f.get_size_d != nullptr ? f.get_size_d(0, &length, 0, &sizes[0], &sizes[1], &sizes[2], 1.0, 0.5)
                                 : f.get_size_s(0, &length, 0, &sizes[0], &sizes[1], &sizes[2], 1.0f, 0.5f);
}

// A node built in buffers of the sizes the query gave stays inside them;
// the third size is the second buffer's share of the lasting pieces.
TEST(DftNodeArena, NodeFitsTheQueriedSizes) {
  AllocWatch watch;
  for (const Form& f : forms()) {
    SCOPED_TRACE(f.name);
    for (std::int64_t length : {1, 64, 1000}) {
      std::int64_t sizes[3] = {-1, -1, -1};
      ASSERT_EQ(get_size(f, length, sizes), 0u);
      EXPECT_GE(sizes[0], static_cast<std::int64_t>(sizeof(dfxi_node)));
      EXPECT_GT(sizes[2], 0);
      for (std::int64_t s : sizes) EXPECT_EQ(s % 64, 0);
      Guarded b1(static_cast<std::size_t>(sizes[0]));
      Guarded b2(static_cast<std::size_t>(sizes[1] + sizes[2]));
      const std::int64_t len = length;
      ASSERT_EQ(f.init(0, &len, 0x33, b1.data(), b2.data()), 0u);
      auto* node = reinterpret_cast<dfxi_node*>(b1.data());
      EXPECT_EQ(std::memcmp(node->tag, "DFT", 4), 0);
      EXPECT_EQ(node->precision, f.precision);
      EXPECT_EQ(node->commit_status, 31);  // built, not committed
      EXPECT_EQ(node->prim_flags, 0x33);
      EXPECT_EQ(node->complex_storage, 39);  // the split form leaves it to the front end
      ASSERT_EQ(node->tensor.count, 1);
      EXPECT_EQ(node->tensor.dims[0].n, length);
      EXPECT_TRUE(b1.contains(node->tensor.dims, 40));
      EXPECT_TRUE(b1.contains(node->batch.dims, 40));
      EXPECT_TRUE(b1.contains(node->tensor_committed.dims, 40));
      EXPECT_TRUE(b1.contains(node->batch_committed.dims, 40));
      ASSERT_NE(node->mem, nullptr);
      EXPECT_TRUE(b1.contains(node->mem, sizeof(dfxi_arena)));
      EXPECT_EQ(node->mem->mode, 1);
      ASSERT_NE(node->mem->cells[0], nullptr);
      ASSERT_NE(node->mem->cells[1], nullptr);
      EXPECT_TRUE(b1.contains(node->mem->cells[0], sizeof(dfxi_cell)));
      EXPECT_TRUE(b2.contains(node->mem->cells[1], sizeof(dfxi_cell)));
      // The lasting cells carry on where construction stopped.
      const std::uintptr_t used1 = node->mem->cells[0]->cursor - reinterpret_cast<std::uintptr_t>(b1.data());
      const std::uintptr_t used2 = node->mem->cells[1]->cursor - reinterpret_cast<std::uintptr_t>(b2.data());
      EXPECT_LE(used1, static_cast<std::uintptr_t>(sizes[0]));
      EXPECT_LE(used2, static_cast<std::uintptr_t>(sizes[1] + sizes[2]));
      EXPECT_NE(node->mem->cells[0]->active, 0u);

      // Methods and commit work on it in place; nothing reaches the heap.
      const std::int64_t strides[2] = {0, 1};
      EXPECT_EQ(node->methods->setOutputStrides(node, strides), 0u);
      EXPECT_EQ(node->methods->setScale(node, 5, 0.5), 0u);
      EXPECT_EQ(node->methods->commit(node), 0u);
      EXPECT_EQ(node->scale_committed[1], 0.5);
      EXPECT_EQ(node->methods->destroy(node), 0u);
      EXPECT_TRUE(b1.guards_intact());
      EXPECT_TRUE(b2.guards_intact());
    }
  }
  EXPECT_EQ(watch.allocations(), 0);
}

TEST(DftNodeArena, BadArguments) {
  std::int64_t sizes[3] = {-1, -1, -1};
  const std::int64_t len = 64;
  const Api& a = api();
  EXPECT_EQ(a.get_size_dc1d(0, nullptr, 0, &sizes[0], &sizes[1], &sizes[2], 1.0, 1.0), 3u);
  EXPECT_EQ(a.get_size_dc1d(0, &len, 0, nullptr, &sizes[1], &sizes[2], 1.0, 1.0), 3u);
  const std::int64_t zero = 0;
  EXPECT_EQ(a.get_size_sc1d(0, &zero, 0, &sizes[0], &sizes[1], &sizes[2], 1.0f, 1.0f), 3u);
  for (std::int64_t s : sizes) EXPECT_EQ(s, -1);

  alignas(64) unsigned char b1[4096], b2[512];
  std::memset(b1, 0x11, sizeof b1);
  EXPECT_EQ(a.init_dc1d(0, &len, 0, nullptr, b2), 3u);
  EXPECT_EQ(a.init_dc1d(0, &len, 0, b1, nullptr), 3u);
  EXPECT_EQ(a.init_dc1d(0, nullptr, 0, b1, b2), 3u);
  EXPECT_EQ(a.init_dc1d(0, &len, 0, b1 + 8, b2), 3u);  // a node needs 64-byte alignment
  EXPECT_EQ(a.init_scsp1d(0, &zero, 0, b1, b2), 3u);
  for (unsigned char c : b1) ASSERT_EQ(c, 0x11);
}

}  // namespace
}  // namespace qor::test::node
