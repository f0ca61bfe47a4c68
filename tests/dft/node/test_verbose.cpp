// The verbose line of a commit: each piece from "FFT(" to ")", and the
// three ways a geometry prints (plain, strided, vector).
#include <cmath>
#include <string>

#include "dft/node/node_test.h"

namespace qor::test::node {
namespace {

// Verbose mode on for the guard's life, and the lines the node printed.
class Verbose {
 public:
  Verbose() : was_(qor_get_verbose()) { qor_set_verbose(1); }
  ~Verbose() { qor_set_verbose(was_); }
  // The node's text alone, or "" when nothing was printed.
  std::string line(const Node& n) {
    MessageCapture capture;
    EXPECT_EQ(api().verbose(n.get()), 0u);
    if (capture.entries().size() != 1) return "";
    const std::string& t = capture.entries()[0].text;
    const std::string head = "QOR_VERBOSE ";
    const std::size_t end = t.rfind(" time=");
    if (t.compare(0, head.size(), head) != 0 || end == std::string::npos) return "bad message: " + t;
    return t.substr(head.size(), end - head.size());
  }

 private:
  int was_;
};

std::string tail(const Node& n) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "desc:%p)", static_cast<void*>(n.get()));
  return buf;
}

TEST(DftVerbose, PlainGeometries) {
  AllocWatch watch;
  Verbose v;
  Node a(make_dc1d(1024));
  ASSERT_EQ(a.m().setThreadLimit(a.get(), 1), 0u);
  EXPECT_EQ(v.line(a), "FFT(dci1024,tLim=1," + tail(a));

  dfxi_node* raw = nullptr;
  ASSERT_EQ(api().create_sc1d(&raw, 7, nullptr), 0u);
  Node b(raw);
  b->placement = 44;
  EXPECT_EQ(v.line(b), "FFT(sco7,tLim=0," + tail(b));

  // The slowest dimension first.
  Node c(make(36, 32, {4, 5, 6}));
  EXPECT_EQ(v.line(c), "FFT(dci6x5x4,tLim=0," + tail(c));

  // Split storage marks the complex domain.
  a->complex_storage = 42;
  EXPECT_EQ(v.line(a), "FFT(dci/1024,tLim=1," + tail(a));

  // Contiguous transforms: the distance only when it is not the natural one.
  Node d(make_dc1d(8));
  ASSERT_EQ(d.m().setNumberOfTransforms(d.get(), 3), 0u);
  ASSERT_EQ(d.m().setInputDistance(d.get(), 8), 0u);
  EXPECT_EQ(v.line(d), "FFT(dci8*3,tLim=0," + tail(d));
  ASSERT_EQ(d.m().setInputDistance(d.get(), 10), 0u);
  ASSERT_EQ(d.m().setOutputDistance(d.get(), 12), 0u);
  EXPECT_EQ(v.line(d), "FFT(dci8*3:10:12,tLim=0," + tail(d));
  // Out of place the output distance counts as well.
  ASSERT_EQ(d.m().setInputDistance(d.get(), 8), 0u);
  d->placement = 44;
  EXPECT_EQ(v.line(d), "FFT(dco8*3:8:12,tLim=0," + tail(d));
  ASSERT_EQ(d.m().setOutputDistance(d.get(), 8), 0u);
  EXPECT_EQ(v.line(d), "FFT(dco8*3,tLim=0," + tail(d));
}

TEST(DftVerbose, StridedAndVectorGeometries) {
  AllocWatch watch;
  Verbose v;
  Node a(make_dc1d(8));
  a->placement = 44;
  set(a, a.m().setInputStrides, {0, 2});
  set(a, a.m().setOutputStrides, {0, 3});
  EXPECT_EQ(v.line(a), "FFT(dco8:2:3,tLim=0," + tail(a));
  ASSERT_EQ(a.m().setNumberOfTransforms(a.get(), 3), 0u);
  ASSERT_EQ(a.m().setInputDistance(a.get(), 16), 0u);
  ASSERT_EQ(a.m().setOutputDistance(a.get(), 24), 0u);
  EXPECT_EQ(v.line(a), "FFT(dco8:2:3*3:16:24,tLim=0," + tail(a));

  // A padded second dimension: strides for every dimension.
  Node b(make(36, 32, {4, 5}));
  set(b, b.m().setInputStrides, {0, 1, 8});
  EXPECT_EQ(v.line(b), "FFT(dci5:8:4x4:1:1,tLim=0," + tail(b));

  // Three transforms interleaved element by element.
  Node c(make_dc1d(8));
  set(c, c.m().setInputStrides, {0, 3});
  ASSERT_EQ(c.m().setNumberOfTransforms(c.get(), 3), 0u);
  ASSERT_EQ(c.m().setInputDistance(c.get(), 1), 0u);
  EXPECT_EQ(v.line(c), "FFT(dci8v3,tLim=0," + tail(c));
  // Out of place the output must be interleaved the same way.
  c->placement = 44;
  set(c, c.m().setOutputStrides, {0, 3});
  ASSERT_EQ(c.m().setOutputDistance(c.get(), 1), 0u);
  EXPECT_EQ(v.line(c), "FFT(dco8v3,tLim=0," + tail(c));
  ASSERT_EQ(c.m().setOutputDistance(c.get(), 2), 0u);
  EXPECT_EQ(v.line(c), "FFT(dco8:3:3*3:1:2,tLim=0," + tail(c));
}

TEST(DftVerbose, RealLayouts) {
  AllocWatch watch;
  Verbose v;
  // Out of place: real rows of 8, conjugate-even rows of 5.
  Node a(make(36, 33, {8, 3}));
  a->placement = 44;
  EXPECT_EQ(v.line(a), "FFT(dro3:8:8x8:1:1,tLim=0," + tail(a));
  set(a, a.m().setOutputStrides, {0, 1, 5});
  EXPECT_EQ(v.line(a), "FFT(dro3x8,tLim=0," + tail(a));
  // The backward direction: conjugate-even input, real output.
  set(a, a.m().setInputStrides, {0, 1, 5});
  set(a, a.m().setOutputStrides, {0, 1, 8});
  EXPECT_EQ(v.line(a), "FFT(dro3x8,tLim=0," + tail(a));
  // In place the real rows are padded to hold 5 complex values.
  a->placement = 43;
  EXPECT_EQ(v.line(a), "FFT(dri3:5:8x8:1:1,tLim=0," + tail(a));
  set(a, a.m().setOutputStrides, {0, 1, 10});
  EXPECT_EQ(v.line(a), "FFT(dri3x8,tLim=0," + tail(a));
  // An odd length pads to the next even count.
  Node b(make(35, 33, {7, 2}));
  set(b, b.m().setInputStrides, {0, 1, 8});
  set(b, b.m().setOutputStrides, {0, 1, 4});
  EXPECT_EQ(v.line(b), "FFT(sri2x7,tLim=0," + tail(b));
}

TEST(DftVerbose, Options) {
  AllocWatch watch;
  Verbose v;
  Node a(make_dc1d(1024));
  ASSERT_EQ(a.m().setScale(a.get(), 4, 0.5), 0u);
  ASSERT_EQ(a.m().setScale(a.get(), 5, 0.25), 0u);
  a->workspace = 52;
  a->options = 16;
  ASSERT_EQ(a.m().setThreadLimit(a.get(), 2), 0u);
  EXPECT_EQ(v.line(a), "FFT(dci1024,fScale=0.5,bScale=0.25,wSpace=avoid,destruct=allow,tLim=2," + tail(a));
  a->workspace = 53;
  a->options = 0;
  ASSERT_EQ(a.m().setScale(a.get(), 4, 1.0), 0u);
  EXPECT_EQ(v.line(a), "FFT(dci1024,bScale=0.25,wSpace=none,tLim=2," + tail(a));
  ASSERT_EQ(a.m().setScale(a.get(), 5, std::nan("")), 0u);
  EXPECT_NE(v.line(a).find(",bScale=nan,"), std::string::npos);

  Node r(make(36, 33, {8}));
  r->placement = 44;
  r->conjugate_even_storage = 40;
  const std::pair<int, const char*> formats[] = {{54, "ccs"}, {55, "pack"}, {56, "perm"}, {57, "perm"}};
  for (auto [format, name] : formats) {
    r->packed_format = format;
    EXPECT_EQ(v.line(r), std::string("FFT(dro8,pack=") + name + ",tLim=0," + tail(r));
  }
  r->conjugate_even_storage = 39;  // the format shows only for packed storage
  EXPECT_EQ(v.line(r), "FFT(dro8,tLim=0," + tail(r));

  qor_set_verbose(0);
  MessageCapture capture;
  EXPECT_EQ(api().verbose(a.get()), 0u);
  EXPECT_TRUE(capture.entries().empty());
}

}  // namespace
}  // namespace qor::test::node
