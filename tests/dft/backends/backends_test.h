// Helpers of the backend tests: nodes of the complex one-dimensional class
// built and committed through the node's entries as the front end does,
// data laid out through any strides, offsets and distances, and a long
// double DFT as the oracle of every transform of a batch.
#pragma once
#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "dft/backends/threaded.h"
#include "dft/dft_util.h"
#include "dft/fault_util.h"
#include "dft/node/node_test.h"

namespace qor::test::backends {

using node::api;
using node::Node;
using dft::LD;
using i64 = std::int64_t;

// Every program of these tests runs its nodes on the heap family.
class HeapFamily : public ::testing::Environment {
  void SetUp() override { api().mem_methods_init(nullptr); }
};
inline ::testing::Environment* const g_heap_family = ::testing::AddGlobalTestEnvironment(new HeapFamily);

using Precisions = ::testing::Types<double, float>;

// An exported name of the loaded kernel library; null when it is missing.
inline void* member_address(const char* name) {
  static void* const h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
  return h != nullptr ? dlsym(h, name) : nullptr;
}
template <class T> T* member_symbol(const char* name) { return reinterpret_cast<T*>(member_address(name)); }

// The small backend objects of the loaded kernel library.
inline const dfxi_backend* small_backend(bool dbl) {
  return member_symbol<const dfxi_backend>(dbl ? "qor_dft_def_bkd_c2c_1d_small_d" : "qor_dft_def_bkd_c2c_1d_small_s");
}

// The default road as the lists hold it: its commit goes out to the core's
// threading layer, which comes back to the kernel library's commit.
inline std::uint32_t default_commit_d(const dfxi_backend*, dfxi_node* n) { return qor_dft_commit_node_d_c2c_1d_omp(n); }
inline std::uint32_t default_commit_s(const dfxi_backend*, dfxi_node* n) { return qor_dft_commit_node_s_c2c_1d_omp(n); }
inline const dfxi_backend kDefaultD{default_commit_d, nullptr, nullptr};
inline const dfxi_backend kDefaultS{default_commit_s, nullptr, nullptr};

// The complex one-dimensional list in its order: small, then default.
inline const dfxi_backend* const* road_list(bool dbl) {
  static const dfxi_backend* list_d[3];
  static const dfxi_backend* list_s[3];
  const dfxi_backend** l = dbl ? list_d : list_s;
  l[0] = small_backend(dbl);
  l[1] = dbl ? &kDefaultD : &kDefaultS;
  l[2] = nullptr;
  return l;
}

// What the user describes.
struct Layout {
  i64 length = 8;
  i64 batch = 1;
  i64 stride_in = 1, stride_out = 1;
  i64 offset_in = 0, offset_out = 0;
  i64 dist_in = 0, dist_out = 0;  // 0: packed one after the other
  bool inplace = true;
  bool split = false;
  double scale_f = 1.0, scale_b = 1.0;
  int thread_limit = 1;
  bool avoid_workspace = false;
  // The backends offered: null for road_list(); `library_list` for the
  // list the kernel library gives a node of this class.
  const dfxi_backend* const* list = nullptr;
  bool library_list = false;

  i64 din() const { return dist_in != 0 ? dist_in : length * stride_in; }
  i64 dout() const { return inplace ? din() : (dist_out != 0 ? dist_out : length * stride_out); }
  i64 sout() const { return inplace ? stride_in : stride_out; }
  i64 oout() const { return inplace ? offset_in : offset_out; }
  // Elements of an array holding every transform (strides and distances
  // are positive in these tests).
  static i64 span(i64 off, i64 stride, i64 dist, i64 length, i64 batch) {
    return off + (length - 1) * stride + (batch - 1) * dist + 1;
  }
  i64 span_in() const { return span(offset_in, stride_in, din(), length, batch); }
  i64 span_out() const { return span(oout(), sout(), dout(), length, batch); }
};

// Creates, blesses and describes a node and gives it its list of backends;
// the status of creation. Setters are checked.
template <class R> std::uint32_t describe_node(Node& n, const Layout& g) {
  constexpr bool dbl = sizeof(R) == 8;
  dfxi_node* p = nullptr;
  const std::uint32_t st = dbl ? api().create_dc1d(&p, g.length, nullptr) : api().create_sc1d(&p, g.length, nullptr);
  if (st != 0) return st;
  n.reset(p);
  qor_dft_bless_node_thr(p);
  if (g.library_list) {
    EXPECT_EQ(dbl ? api().set_bkdlist_dc1d(p) : api().set_bkdlist_sc1d(p), 0u);
  } else {
    p->bkdown_list = g.list != nullptr ? g.list : road_list(dbl);
  }
  const dfxi_methods& m = n.m();
  if (!g.inplace) p->placement = 44;
  if (g.split) p->complex_storage = 42;
  if (g.avoid_workspace) p->workspace = 52;  // avoid
  const i64 in[2] = {g.offset_in, g.stride_in};
  const i64 out[2] = {g.offset_out, g.stride_out};
  EXPECT_EQ(m.setInputStrides(p, in), 0u);
  if (!g.inplace) {
    EXPECT_EQ(m.setOutputStrides(p, out), 0u);
  }
  EXPECT_EQ(m.setNumberOfTransforms(p, g.batch), 0u);
  EXPECT_EQ(m.setInputDistance(p, g.din()), 0u);
  EXPECT_EQ(m.setOutputDistance(p, g.dout()), 0u);
  EXPECT_EQ(m.setScale(p, 4, g.scale_f), 0u);
  EXPECT_EQ(m.setScale(p, 5, g.scale_b), 0u);
  EXPECT_EQ(m.setThreadLimit(p, g.thread_limit), 0u);
  return 0;
}

// A second batch level of `count` transforms, `din` and `dout` apart, added
// to the described node's batch before commit.
inline void add_level(dfxi_node* p, i64 count, i64 din, i64 dout) {
  auto* dims = static_cast<IotensorEntry*>((*api().malloc)(2 * sizeof(IotensorEntry), 64, nullptr));
  ASSERT_NE(dims, nullptr);
  dims[0] = p->batch.dims[0];
  dims[1] = IotensorEntry{count, din, dout, 0, 0};
  (*api().free)(p->batch.dims, nullptr);
  p->batch = Iotensor{2, dims};
}

// describe_node, then commit; the status of the first that fails. With
// `fail_from` set, allocations fail from that request of the commit on.
template <class R> std::uint32_t make_node(Node& n, const Layout& g, std::int64_t fail_from = -1) {
  const std::uint32_t st = describe_node<R>(n, g);
  if (st != 0) return st;
  if (fail_from >= 0) dft::refuse_from(fail_from);
  return n.m().commit(n.get());
}

// The default road's thread plan for the layout (commit derives only the
// geometry); its status, the threads granted and the length's log2.
template <class R> std::uint32_t thread_plan(const Layout& g, bool nested, std::int32_t* threads, std::int64_t* log2) {
  constexpr bool dbl = sizeof(R) == 8;
  Node n;
  EXPECT_EQ(describe_node<R>(n, g), 0u);
  dfxi_node* p = n.get();
  p->bkdown_list = nullptr;
  if (nested) p->flags |= 8;
  EXPECT_EQ(n.m().commit(p), 0u);
  const std::uint32_t st =
      dbl ? qor_dft_threaded_mode_definition_d_c2c_1d(p, 0) : qor_dft_threaded_mode_definition_s_c2c_1d(p, 0);
  if (threads != nullptr) *threads = p->threads;
  if (log2 != nullptr) *log2 = p->length_log2;
  return st;
}

// Interleaved data (re, im pairs) or the two arrays of split data.
template <class R> struct Data {
  std::vector<R> a, b;  // interleaved: a only; split: a real, b imaginary
  Data(i64 elements, bool split, std::uint64_t seed) {
    Rng rng(seed);
    a.resize(split ? elements : 2 * elements);
    if (split) b.resize(elements);
    for (auto& v : a) v = static_cast<R>(rng.next());
    for (auto& v : b) v = static_cast<R>(rng.next());
  }
  bool operator==(const Data& o) const {
    auto same = [](const std::vector<R>& x, const std::vector<R>& y) {
      return x.size() == y.size() && (x.empty() || std::memcmp(x.data(), y.data(), x.size() * sizeof(R)) == 0);
    };
    return same(a, o.a) && same(b, o.b);
  }
  LD re(bool split, i64 i) const { return split ? a[i] : a[2 * i]; }
  LD im(bool split, i64 i) const { return split ? b[i] : a[2 * i + 1]; }
};

// Runs the committed node the way the front end does, with nbuffers data
// pointers in the caller's order.
template <class R> std::uint32_t compute(dfxi_node* n, bool inverse, Data<R>& in, Data<R>& out, const Layout& g) {
  const dfxi_compute_fn f = inverse ? n->compute_backward : n->compute_forward;
  if (f == nullptr) return 7;
  if (g.split)
    return g.inplace ? f(n, in.a.data(), in.b.data(), nullptr, nullptr)
                     : f(n, in.a.data(), in.b.data(), out.a.data(), out.b.data());
  return g.inplace ? f(n, in.a.data(), nullptr, nullptr, nullptr) : f(n, in.a.data(), out.a.data(), nullptr, nullptr);
}

// Checks every transform of the batch against the long double DFT of the
// values actually stored, scaled, and that no element outside the
// transforms changed. `before` is the input array as it was, `result` the
// array the output went to, `result_before` that array before the call.
// `bound` replaces the default bound on the relative error when positive.
template <class R>
void check(const Layout& g, bool inverse, const Data<R>& before, const Data<R>& result,
           const Data<R>& result_before, double bound = 0) {
  const double scale = inverse ? g.scale_b : g.scale_f;
  if (bound <= 0) bound = 2 * dft::tolerance<R>(g.length);
  std::vector<char> touched(static_cast<std::size_t>(g.span_out()), 0);
  double worst = 0;
  for (i64 t = 0; t < g.batch; ++t) {
    dft::RefVec x(2 * g.length);
    for (i64 j = 0; j < g.length; ++j) {
      const i64 at = g.offset_in + j * g.stride_in + t * g.din();
      x[2 * j] = before.re(g.split, at);
      x[2 * j + 1] = before.im(g.split, at);
    }
    const dft::RefVec y = dft::reference_dft(x, inverse);
    LD num = 0, den = 0;
    for (i64 k = 0; k < g.length; ++k) {
      const i64 at = g.oout() + k * g.sout() + t * g.dout();
      touched[static_cast<std::size_t>(at)] = 1;
      const LD wr = y[2 * k] * scale, wi = y[2 * k + 1] * scale;
      const LD dr = result.re(g.split, at) - wr, di = result.im(g.split, at) - wi;
      num += dr * dr + di * di;
      den += wr * wr + wi * wi;
    }
    worst = std::max(worst, static_cast<double>(sqrtl(num / (den > 0 ? den : 1))));
  }
  EXPECT_LE(worst, bound) << "length " << g.length << (inverse ? " backward" : " forward");
  i64 changed = 0;
  for (i64 i = 0; i < g.span_out(); ++i)
    if (!touched[static_cast<std::size_t>(i)] &&
        (result.re(g.split, i) != result_before.re(g.split, i) || result.im(g.split, i) != result_before.im(g.split, i)))
      ++changed;
  EXPECT_EQ(changed, 0) << "elements outside the transforms changed";
}

// Commits the layout under a thread limit and runs one direction on fixed
// data; the result, and through `committed` the node before the run (to
// read or instrument it).
template <class R, class F> Data<R> run_with(Layout g, int limit, bool inverse, F committed) {
  g.thread_limit = limit;
  Node n;
  EXPECT_EQ(make_node<R>(n, g), 0u);
  committed(n.get());
  Data<R> in(g.span_in(), g.split, 11);
  Data<R> out(g.inplace ? 0 : g.span_out(), g.split, 12);
  EXPECT_EQ(compute<R>(n.get(), inverse, in, out, g), 0u);
  return g.inplace ? in : out;
}

// Runs one direction of the committed node on random data and checks it
// against the oracle; the input of an out-of-place transform must stay as
// it was.
template <class R>
void expect_right(dfxi_node* n, const Layout& g, bool inverse, std::uint64_t seed = 1, double bound = 0) {
  Data<R> in(g.span_in(), g.split, seed + inverse);
  Data<R> out(g.inplace ? 0 : g.span_out(), g.split, seed + 7);
  const Data<R> in_before = in, out_before = out;
  EXPECT_EQ(compute<R>(n, inverse, in, out, g), 0u);
  if (g.inplace) {
    check<R>(g, inverse, in_before, in, in_before, bound);
  } else {
    check<R>(g, inverse, in_before, out, out_before, bound);
    EXPECT_TRUE(in == in_before) << "the input of an out-of-place transform changed";
  }
}

// Commits a node for the layout and checks both directions against the
// oracle. Returns the backend that took the node (null for the default
// road).
template <class R> const dfxi_backend* run_layout(const Layout& g, std::uint64_t seed = 1, double bound = 0) {
  Node n;
  const std::uint32_t st = make_node<R>(n, g);
  EXPECT_EQ(st, 0u);
  if (st != 0) return reinterpret_cast<const dfxi_backend*>(-1);
  for (bool inverse : {false, true}) expect_right<R>(n.get(), g, inverse, seed, bound);
  return n->bkd;
}

}  // namespace qor::test::backends
