// Transforms through descriptors against the long double DFT: in and out of
// place, interleaved and split, batches with their distances, strides and
// offsets, and the scales. Storage a transform must not reach is filled
// with a marker and checked afterwards. While no backend takes the
// descriptors these tests are skipped.
#include <cmath>

#include "dft/api/api_test.h"
#include "dft/dft_util.h"

namespace qor::test::dftapi {
namespace {

using dft::LD;
using dft::RefVec;

struct Case {
  std::int64_t n;
  std::int64_t count = 1;
  bool split = false;
  bool inplace = true;
  std::int64_t stride_in = 1, stride_out = 1;
  std::int64_t offset_in = 0, offset_out = 0;
  std::int64_t dist_in = 0, dist_out = 0;  // 0: n * stride, packed
  double fscale = 1.0, bscale = 1.0;
};

std::ostream& operator<<(std::ostream& os, const Case& c) {
  return os << "n=" << c.n << " count=" << c.count << (c.split ? " split" : " interleaved")
            << (c.inplace ? " in place" : " out of place") << " strides " << c.offset_in << ":" << c.stride_in << "/"
            << c.offset_out << ":" << c.stride_out << " distances " << c.dist_in << "/" << c.dist_out << " scales "
            << c.fscale << "/" << c.bscale;
}

// One side of the data: its geometry and its arrays (one interleaved
// array, or real and imaginary arrays).
template <class R>
struct Side {
  std::int64_t offset, stride, distance, size;
  bool split;
  std::vector<R> a, b;
  static constexpr R kMarker = R(-7777.25);

  Side(std::int64_t n, std::int64_t count, std::int64_t off, std::int64_t str, std::int64_t dist, bool sp)
      : offset(off), stride(str), distance(dist != 0 ? dist : n * str), split(sp) {
    size = offset + (n - 1) * stride + (count - 1) * distance + 1;
    a.assign(static_cast<std::size_t>(split ? size : 2 * size), kMarker);
    if (split) b.assign(static_cast<std::size_t>(size), kMarker);
  }
  std::int64_t at(std::int64_t j, std::int64_t t) const { return offset + j * stride + t * distance; }
  R& re(std::int64_t i) { return split ? a[i] : a[2 * i]; }
  R& im(std::int64_t i) { return split ? b[i] : a[2 * i + 1]; }
  void put(const RefVec& x, std::int64_t t) {
    for (std::int64_t j = 0; j < static_cast<std::int64_t>(x.size() / 2); ++j) {
      re(at(j, t)) = static_cast<R>(x[2 * j]);
      im(at(j, t)) = static_cast<R>(x[2 * j + 1]);
    }
  }
  RefVec take(std::int64_t n, std::int64_t t) {
    RefVec y(2 * n);
    for (std::int64_t j = 0; j < n; ++j) {
      y[2 * j] = re(at(j, t));
      y[2 * j + 1] = im(at(j, t));
    }
    return y;
  }
  // The positions no transform element occupies still hold the marker.
  std::int64_t touched_outside(std::int64_t n, std::int64_t count) {
    std::vector<char> used(static_cast<std::size_t>(size), 0);
    for (std::int64_t t = 0; t < count; ++t)
      for (std::int64_t j = 0; j < n; ++j) used[at(j, t)] = 1;
    std::int64_t bad = 0;
    for (std::int64_t i = 0; i < size; ++i)
      if (!used[i] && (re(i) != kMarker || im(i) != kMarker)) ++bad;
    return bad;
  }
  void* p0() { return a.data(); }
  void* p1() { return b.data(); }
};

LD error_of(const RefVec& got, const RefVec& want) {
  LD num = 0, den = 0;
  for (std::size_t i = 0; i < want.size(); ++i) {
    num += (got[i] - want[i]) * (got[i] - want[i]);
    den += want[i] * want[i];
  }
  return den == 0 ? sqrtl(num) : sqrtl(num / den);
}

RefVec scaled(RefVec x, LD s) {
  for (LD& v : x) v *= s;
  return x;
}

// Runs the case forward and then backward on the forward result.
// Returns false when the test has to be skipped.
template <class R>
bool run_case(const Case& c, bool* skipped) {
  SCOPED_TRACE(testing::Message() << (sizeof(R) == 8 ? "double " : "single ") << c);
  *skipped = false;
  Desc d(make_1d(sizeof(R) == 8 ? QOR_DFT_DOUBLE : QOR_DFT_SINGLE, c.n));
  const qor_dft_handle h = d.get();
  Side<R> in(c.n, c.count, c.offset_in, c.stride_in, c.dist_in, c.split);
  Side<R> out(c.n, c.count, c.offset_out, c.stride_out, c.dist_out, c.split);
  const std::int64_t sin[2] = {in.offset, in.stride}, sout[2] = {out.offset, out.stride};
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_PLACEMENT, c.inplace ? QOR_DFT_INPLACE : QOR_DFT_NOT_INPLACE), 0);
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_COMPLEX_STORAGE, c.split ? QOR_DFT_REAL_REAL : QOR_DFT_COMPLEX_COMPLEX), 0);
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_NUMBER_OF_TRANSFORMS, c.count), 0);
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_INPUT_STRIDES, sin), 0);
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_INPUT_DISTANCE, in.distance), 0);
  if (!c.inplace) {
    EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_OUTPUT_STRIDES, sout), 0);
    EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_OUTPUT_DISTANCE, out.distance), 0);
  }
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_FORWARD_SCALE, c.fscale), 0);
  EXPECT_EQ(qor_dft_set_value(h, QOR_DFT_BACKWARD_SCALE, c.bscale), 0);
  const int st = qor_dft_commit(h);
  if (st == QOR_DFT_UNSUPPORTED && !is_committed(h)) {
    *skipped = true;
    return false;
  }
  EXPECT_EQ(st, QOR_DFT_OK) << qor_dft_error_message(st);
  if (st != QOR_DFT_OK) return false;

  std::vector<RefVec> x(c.count);
  for (std::int64_t t = 0; t < c.count; ++t) {
    x[t] = dft::random_signal(c.n, 100 + 7 * t + c.n);
    in.put(x[t], t);
  }
  const Side<R> in_before = in;
  Side<R>& res = c.inplace ? in : out;
  auto call = [&](bool forward, Side<R>& src, Side<R>& dst) {
    if (c.inplace && !c.split) return forward ? qor_dft_forward(h, src.p0()) : qor_dft_backward(h, src.p0());
    if (c.inplace) return forward ? qor_dft_forward_split(h, src.p0(), src.p1()) : qor_dft_backward_split(h, src.p0(), src.p1());
    if (!c.split) return forward ? qor_dft_forward_out(h, src.p0(), dst.p0()) : qor_dft_backward_out(h, src.p0(), dst.p0());
    return forward ? qor_dft_forward_split_out(h, src.p0(), src.p1(), dst.p0(), dst.p1())
                   : qor_dft_backward_split_out(h, src.p0(), src.p1(), dst.p0(), dst.p1());
  };
  EXPECT_EQ(call(true, in, out), QOR_DFT_OK);
  const double tol = 4 * dft::tolerance<R>(c.n);
  std::vector<RefVec> y(c.count);
  for (std::int64_t t = 0; t < c.count; ++t) {
    y[t] = res.take(c.n, t);
    const RefVec want = scaled(dft::reference_dft(x[t], false), c.fscale);
    EXPECT_LE(static_cast<double>(error_of(y[t], want)), tol) << "forward, transform " << t;
  }
  EXPECT_EQ(res.touched_outside(c.n, c.count), 0) << "forward wrote outside its elements";
  if (!c.inplace) {
    EXPECT_EQ(in.a, in_before.a) << "the input changed";
    EXPECT_EQ(in.b, in_before.b) << "the input changed";
  }

  // Backward from the forward results, laid out as input again: both
  // directions read with the input geometry and write with the output one.
  Side<R> bin(c.n, c.count, c.offset_in, c.stride_in, c.dist_in, c.split);
  Side<R> bout(c.n, c.count, c.offset_out, c.stride_out, c.dist_out, c.split);
  for (std::int64_t t = 0; t < c.count; ++t) bin.put(y[t], t);
  EXPECT_EQ(call(false, bin, bout), QOR_DFT_OK);
  Side<R>& back = c.inplace ? bin : bout;
  const LD round_trip = static_cast<LD>(c.fscale) * c.bscale * c.n;
  for (std::int64_t t = 0; t < c.count; ++t) {
    const RefVec want = scaled(dft::reference_dft(y[t], true), c.bscale);
    EXPECT_LE(static_cast<double>(error_of(back.take(c.n, t), want)), tol) << "backward, transform " << t;
    EXPECT_LE(static_cast<double>(error_of(back.take(c.n, t), scaled(x[t], round_trip))), 2 * tol)
        << "round trip, transform " << t;
  }
  EXPECT_EQ(back.touched_outside(c.n, c.count), 0) << "backward wrote outside its elements";
  return true;
}

std::vector<Case> cases() {
  std::vector<Case> all;
  for (bool split : {false, true})
    for (bool inplace : {true, false})
      for (std::int64_t n : {1, 2, 5, 16, 60, 97, 128, 1000, 4096, 5000}) {
        Case c{n};
        c.split = split;
        c.inplace = inplace;
        all.push_back(c);
      }
  // Batches, packed and padded, with strides and offsets.
  for (bool split : {false, true})
    for (bool inplace : {true, false}) {
      Case c{24, 3};
      c.split = split, c.inplace = inplace;
      all.push_back(c);
      c.dist_in = 30, c.dist_out = 27;
      all.push_back(c);
      c.stride_in = 2, c.stride_out = 3, c.offset_in = 5, c.offset_out = 1, c.dist_in = 50, c.dist_out = 75;
      all.push_back(c);
      // Transforms interleaved element by element.
      Case v{16, 4};
      v.split = split, v.inplace = inplace;
      v.stride_in = v.stride_out = 4, v.dist_in = v.dist_out = 1;
      all.push_back(v);
    }
  // Scales, including the ones a plan may fold into its passes.
  for (double fs : {1.0 / 100, 1.0 / 10, -2.5}) {
    Case c{100, 2};
    c.fscale = fs;
    c.bscale = fs == -2.5 ? 0.75 : 1.0;
    all.push_back(c);
    c.inplace = false, c.split = true;
    all.push_back(c);
  }
  Case root{64};
  root.fscale = root.bscale = 1.0 / 8;
  all.push_back(root);
  return all;
}

template <class R>
void run_all() {
  for (const Case& c : cases()) {
    bool skipped = false;
    run_case<R>(c, &skipped);
    if (skipped) GTEST_SKIP() << "no backend took the descriptor yet";
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(DftDescriptorCompute, Double) { run_all<double>(); }
TEST(DftDescriptorCompute, Single) { run_all<float>(); }

// A long transform checked at a few bins, and the same descriptor used
// again after a failed call left everything alone.
TEST(DftDescriptorCompute, LongTransformAndReuse) {
  const std::int64_t n = 1 << 16;
  Desc d(make_1d(QOR_DFT_DOUBLE, n));
  ASSERT_EQ(qor_dft_set_value(d.get(), QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_OK);
  QOR_COMMIT_OR_SKIP(d.get());
  const RefVec x = dft::random_signal(n, 5);
  std::vector<double> in(x.begin(), x.end()), out(2 * n, 3.0);
  EXPECT_EQ(qor_dft_forward(d.get(), in.data()), QOR_DFT_WRONG_FORM);
  EXPECT_EQ(qor_dft_forward_out(d.get(), in.data(), nullptr), QOR_DFT_NULL_ARGUMENT);
  for (double v : out) ASSERT_EQ(v, 3.0);
  ASSERT_EQ(qor_dft_forward_out(d.get(), in.data(), out.data()), QOR_DFT_OK);
  // A bin's rounding error grows like eps log2(n) sqrt(n) for data of unit
  // size; the bound allows fifty times that.
  const double bound = 50 * 2.2e-16 * 16 * std::sqrt(static_cast<double>(n));
  for (std::int64_t k : {std::int64_t{0}, std::int64_t{1}, n / 3, n - 1}) {
    LD re, im;
    dft::reference_bin(x, k, false, &re, &im);
    EXPECT_NEAR(out[2 * k], static_cast<double>(re), bound) << k;
    EXPECT_NEAR(out[2 * k + 1], static_cast<double>(im), bound) << k;
  }
}

// A copy of a committed descriptor transforms on its own once the source
// is gone, with the source's configuration.
TEST(DftDescriptorCompute, CopyOfACommittedDescriptor) {
  const std::int64_t n = 45, count = 2;
  Desc src(make_1d(QOR_DFT_DOUBLE, n));
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_COMPLEX_STORAGE, QOR_DFT_REAL_REAL), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_NUMBER_OF_TRANSFORMS, count), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_INPUT_DISTANCE, n), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_OUTPUT_DISTANCE, n + 3), QOR_DFT_OK);
  ASSERT_EQ(qor_dft_set_value(src.get(), QOR_DFT_FORWARD_SCALE, 1.0 / n), QOR_DFT_OK);
  QOR_COMMIT_OR_SKIP(src.get());
  Desc copy;
  ASSERT_EQ(qor_dft_copy(src.get(), copy.out()), QOR_DFT_OK);
  ASSERT_TRUE(is_committed(copy.get()));
  src.reset();
  std::vector<double> re(n * count), im(n * count), ore((n + 3) * count, 0.0), oim((n + 3) * count, 0.0);
  std::vector<RefVec> x(count);
  for (std::int64_t t = 0; t < count; ++t) {
    x[t] = dft::random_signal(n, 40 + t);
    for (std::int64_t j = 0; j < n; ++j) {
      re[t * n + j] = static_cast<double>(x[t][2 * j]);
      im[t * n + j] = static_cast<double>(x[t][2 * j + 1]);
    }
  }
  ASSERT_EQ(qor_dft_forward_split_out(copy.get(), re.data(), im.data(), ore.data(), oim.data()), QOR_DFT_OK);
  for (std::int64_t t = 0; t < count; ++t) {
    const RefVec want = scaled(dft::reference_dft(x[t], false), 1.0L / n);
    RefVec got(2 * n);
    for (std::int64_t j = 0; j < n; ++j) {
      got[2 * j] = ore[t * (n + 3) + j];
      got[2 * j + 1] = oim[t * (n + 3) + j];
    }
    EXPECT_LE(static_cast<double>(error_of(got, want)), 4 * dft::tolerance<double>(n)) << t;
  }
}

}  // namespace
}  // namespace qor::test::dftapi
