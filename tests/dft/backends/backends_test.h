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
#include "dft/node/node_test.h"

namespace qor::test::backends {

using node::api;
using node::Node;
using dft::LD;
using i64 = std::int64_t;

// The small backend objects of the loaded kernel library.
inline const dfxi_backend* small_backend(bool dbl) {
  static void* const h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
  static const auto* const d =
      static_cast<const dfxi_backend*>(h != nullptr ? dlsym(h, "qor_dft_def_bkd_c2c_1d_small_d") : nullptr);
  static const auto* const s =
      static_cast<const dfxi_backend*>(h != nullptr ? dlsym(h, "qor_dft_def_bkd_c2c_1d_small_s") : nullptr);
  return dbl ? d : s;
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

// Creates, blesses, describes and commits a node; the status of commit.
template <class R> std::uint32_t make_node(Node& n, const Layout& g) {
  constexpr bool dbl = sizeof(R) == 8;
  dfxi_node* p = nullptr;
  const std::uint32_t st = dbl ? api().create_dc1d(&p, g.length, nullptr) : api().create_sc1d(&p, g.length, nullptr);
  if (st != 0) return st;
  n.reset(p);
  qor_dft_bless_node_thr(p);
  p->bkdown_list = road_list(dbl);
  const dfxi_methods& m = n.m();
  if (!g.inplace) p->placement = 44;
  if (g.split) p->complex_storage = 42;
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
  return m.commit(p);
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
template <class R>
void check(const Layout& g, bool inverse, const Data<R>& before, const Data<R>& result,
           const Data<R>& result_before) {
  const double scale = inverse ? g.scale_b : g.scale_f;
  const double bound = 2 * dft::tolerance<R>(g.length);
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

// Commits a node for the layout and checks both directions against the
// oracle; the input of an out-of-place transform must stay as it was.
// Returns the backend that took the node (null for the default road).
template <class R> const dfxi_backend* run_layout(const Layout& g, std::uint64_t seed = 1) {
  Node n;
  const std::uint32_t st = make_node<R>(n, g);
  EXPECT_EQ(st, 0u);
  if (st != 0) return reinterpret_cast<const dfxi_backend*>(-1);
  for (bool inverse : {false, true}) {
    Data<R> in(g.span_in(), g.split, seed + inverse);
    Data<R> out(g.inplace ? 0 : g.span_out(), g.split, seed + 7);
    const Data<R> in_before = in, out_before = out;
    EXPECT_EQ(compute<R>(n.get(), inverse, in, out, g), 0u);
    if (g.inplace) {
      check<R>(g, inverse, in_before, in, in_before);
    } else {
      check<R>(g, inverse, in_before, out, out_before);
      EXPECT_TRUE(in == in_before) << "the input of an out-of-place transform changed";
    }
  }
  return n->bkd;
}

}  // namespace qor::test::backends
