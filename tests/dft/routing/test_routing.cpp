// The routing table of complex one-dimensional nodes: for each geometry
// (length, strides, offsets, scales, workspace, batch, storage, threads),
// the backend of the library's own list that takes the node, or the status
// of a commit that every backend declines. The expectations are the
// acceptance rules of the backends as their users meet them. The default
// road leaves the node's backend word null.
#include <cmath>
#include <string>

#include "dft/backends/backends_test.h"

namespace qor::test::backends {
namespace {

// Where a node is expected to land: a named backend, the default road, or
// no backend with the given commit status.
enum class Goes { batched_split, split, small, default_road, bluestein, bluestein_strided, nowhere };

struct Route {
  const char* what;
  Layout g;
  Goes goes;
  std::uint32_t status = 0;
  i64 second_level = 0;  // transforms of a second batch level
};

template <class R> const dfxi_backend* named(Goes goes) {
  const std::string p = sizeof(R) == 8 ? "_d" : "_s";
  switch (goes) {
    case Goes::batched_split:
      return member_symbol<const dfxi_backend>("qor_dft_def_bkd_cr2cr_1d_batched");
    case Goes::split:
      return member_symbol<const dfxi_backend>(("qor_dft_def_bkd_cr2cr_1d" + p).c_str());
    case Goes::small:
      return member_symbol<const dfxi_backend>(("qor_dft_def_bkd_c2c_1d_small" + p).c_str());
    case Goes::bluestein:
      return member_symbol<const dfxi_backend>(("qor_dft_def_bkd_c2c_1d_bluestein" + p).c_str());
    case Goes::bluestein_strided:
      return member_symbol<const dfxi_backend>(("qor_dft_def_bkd_c2c_1d_bluestein_strided" + p).c_str());
    default:
      return nullptr;
  }
}

template <class R> const char* name_of(const dfxi_backend* b) {
  static const std::pair<Goes, const char*> names[] = {{Goes::batched_split, "batched split"},
                                                       {Goes::split, "split"},
                                                       {Goes::small, "small"},
                                                       {Goes::bluestein, "Bluestein"},
                                                       {Goes::bluestein_strided, "strided Bluestein"}};
  for (auto [g, name] : names)
    if (b != nullptr && b == named<R>(g)) return name;
  return b == nullptr ? "default road" : "another backend";
}

Layout layout(i64 length) {
  Layout g;
  g.length = length;
  g.library_list = true;
  return g;
}

// The table. Lengths above the engine's limit are kept to geometries that
// every backend declines before planning, so the table stays cheap.
template <class R> std::vector<Route> routes() {
  std::vector<Route> t;
  auto add = [&](const char* what, Layout g, Goes goes, std::uint32_t st = 0, i64 second_level = 0) {
    t.push_back({what, g, goes, st, second_level});
  };
  Layout g = layout(1024);
  add("short, unit stride, unscaled", g, Goes::small);
  g = layout(4096);
  g.scale_f = 1.0 / 4096;
  add("4096 scaled by 1/L forward", g, Goes::small);
  g.scale_f = 0.5;
  add("4096 at scale 0.5: the primitive cannot scale it", g, Goes::default_road);
  g = layout(8192);
  add("longer than the small backend takes", g, Goes::default_road);
  g = layout(64);
  g.stride_in = 2;
  g.inplace = false;
  add("strided input", g, Goes::default_road);
  g = layout(64);
  g.offset_in = 3;
  add("offset input", g, Goes::default_road);
  g = layout(64);
  g.batch = 5;
  g.thread_limit = 2;
  add("a batch on two threads", g, Goes::small);
  g = layout(100);
  g.split = true;
  g.batch = 3;
  add("split storage, one batch level", g, Goes::split);
  add("split storage, two batch levels", g, Goes::batched_split, 0, 2);
  g.batch = 1;
  add("split storage, one transform", g, Goes::split);
  g = layout(7);
  g.stride_in = 2;
  add("L 7 at stride 2", g, Goes::bluestein_strided);
  g = layout(65537);
  g.avoid_workspace = true;
  add("a prime above 65536 with workspace avoided: the engine plans primes", g, Goes::default_road);
  g = layout(10007);
  g.stride_in = 3;
  g.inplace = false;
  g.stride_out = 3;
  g.batch = 2;
  add("a strided prime batch: the engine declines, strided Bluestein takes one level", g, Goes::bluestein_strided);
  g = layout(1 << 16);
  g.avoid_workspace = true;
  add("a power of two with workspace avoided", g, Goes::default_road);
  g = layout(10007);
  g.stride_in = 3;
  g.batch = 2;
  add("a strided prime in two batch levels", g, Goes::nowhere, 3, 2);
  // A prime beyond the engine's limit cannot be split into two factors,
  // and Bluestein takes it strided in one batch level only.
  g = layout(sizeof(R) == 8 ? (i64{1} << 24) + 43 : (i64{1} << 25) + 35);
  g.stride_in = 2;
  g.stride_out = 2;
  g.inplace = false;
  g.batch = 2;
  add("a strided batch above the limit", g, Goes::nowhere, 9, 2);
  return t;
}

template <class R> class DftRouting : public ::testing::Test {};
TYPED_TEST_SUITE(DftRouting, Precisions);

TYPED_TEST(DftRouting, EachGeometryGoesWhereItsRulesSay) {
  using R = TypeParam;
  for (const Route& r : routes<R>()) {
    SCOPED_TRACE(r.what);
    Node n;
    ASSERT_EQ(describe_node<R>(n, r.g), 0u);
    // Padding keeps the two levels from merging into one.
    if (r.second_level > 0) add_level(n.get(), r.second_level, r.g.span_in() + 3, r.g.span_out() + 3);
    const std::uint32_t st = n.m().commit(n.get());
    if (r.goes == Goes::nowhere) {
      EXPECT_EQ(st, r.status) << name_of<R>(n->bkd);
      continue;
    }
    ASSERT_EQ(st, 0u);
    const dfxi_backend* expected = named<R>(r.goes);
    ASSERT_TRUE(expected != nullptr || r.goes == Goes::default_road);
    EXPECT_EQ(n->bkd, expected) << name_of<R>(n->bkd);
  }
}

}  // namespace
}  // namespace qor::test::backends
