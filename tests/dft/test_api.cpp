// The engine's interface: statuses and the order of checks, outputs left
// alone on failure, memory sizes and caller memory, allocation failures,
// the vector helpers and the exported step kernels.
#include <string>

#include "dft/dft_util.h"

namespace qor::test::dft {
namespace {

using C64 = qor_zups_64fc;
using C32 = qor_zups_32fc;

TEST(DftApi, StatusMapping) {
  EXPECT_EQ(qor_dft_transfer_zup_qor_error(0), 0u);
  EXPECT_EQ(qor_dft_transfer_zup_qor_error(QOR_ZUPS_NULL_POINTER), 3u);
  EXPECT_EQ(qor_dft_transfer_zup_qor_error(QOR_ZUPS_NO_MEMORY), 1u);
  for (int st : {int{QOR_ZUPS_BAD_SIZE}, int{QOR_ZUPS_WRONG_SPEC}, int{QOR_ZUPS_BAD_ORDER}, int{QOR_ZUPS_BAD_FLAG}, -1, 5})
    EXPECT_EQ(qor_dft_transfer_zup_qor_error(st), 7u) << st;
}

TEST(DftApi, PlanArgumentErrors) {
  int a = -1, b = -1, c = -1;
  EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(10, 8, 0, nullptr, &b, &c), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(10, 8, 0, &a, &b, nullptr), QOR_ZUPS_NULL_POINTER);
  for (int n : {0, -1, -100}) EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(n, 8, 0, &a, &b, &c), QOR_ZUPS_BAD_SIZE);
  for (int flag : {0, 3, 5, 16, -1}) EXPECT_EQ(qor_dft_zupsDFTGetSize_C_32f(12, flag, 0, &a, &b, &c), QOR_ZUPS_BAD_FLAG);
  EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(0x4000001, 8, 0, &a, &b, &c), QOR_ZUPS_BAD_SIZE);  // above the factor limit
  EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(0x2000002, 8, 0, &a, &b, &c), QOR_ZUPS_BAD_SIZE);  // convolution limit
  EXPECT_EQ(qor_dft_zupsDFXInit_C_64fc(10, 8, 0, nullptr, nullptr), QOR_ZUPS_NULL_POINTER);
  qor_zups_dft_spec* spec = reinterpret_cast<qor_zups_dft_spec*>(&a);
  EXPECT_EQ(qor_dft_zupsDFXInitAlloc_C_64fc(nullptr, 10, 8, 0), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFXInitAlloc_C_64fc(&spec, 0, 8, 0), QOR_ZUPS_BAD_SIZE);
  EXPECT_EQ(qor_dft_zupsDFXInitAlloc_C_32fc(&spec, 10, 7, 0), QOR_ZUPS_BAD_FLAG);
  EXPECT_EQ(spec, reinterpret_cast<qor_zups_dft_spec*>(&a));  // left alone
  EXPECT_EQ(qor_dft_zupsDFTFree_C_64fc(nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFTGetBufSize_C_64fc(nullptr, &a), QOR_ZUPS_NULL_POINTER);

  // Powers of two go to the FFT family whatever their size, and fail as it does.
  for (int n : {1 << 28, 1 << 30}) EXPECT_EQ(qor_dft_zupsDFTGetSize_C_64fc(n, 8, 0, &a, &b, &c), QOR_ZUPS_BAD_ORDER);
  EXPECT_EQ(qor_dft_zupsDFXInitAlloc_C_32f(&spec, 1 << 29, 8, 0), QOR_ZUPS_BAD_ORDER);
  EXPECT_EQ(spec, reinterpret_cast<qor_zups_dft_spec*>(&a));

  qor_zups_fft_spec* fspec = nullptr;
  for (int order : {28, 30, 31, -1})
    EXPECT_EQ(qor_dft_zupsFFTInitAlloc_C_64fc(&fspec, order, 8, 0), QOR_ZUPS_BAD_ORDER) << order;
  EXPECT_EQ(qor_dft_zupsFFTGetSize_C_32fc(10, 9, 0, &a, &b, &c), QOR_ZUPS_BAD_FLAG);
  EXPECT_EQ(qor_dft_zupsFFTGetSize_C_32fc(10, 8, 0, &a, nullptr, &c), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsFFTInit_C_64f(10, 8, 0, nullptr, nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(fspec, nullptr);
}

// Spec first, then its kind, then the data; the output keeps its values.
TEST(DftApi, TransformChecksInOrder) {
  AllocWatch watch;
  DftPlan<double, false> d64(100);
  DftPlan<float, false> d32(100);
  DftPlan<double, true> s64(100);
  FftPlan<double, false> f64(7);
  ASSERT_EQ(d64.status(), 0);
  std::vector<double> x(200, 1.0), y(200, 42.0);
  auto* xs = reinterpret_cast<const C64*>(x.data());
  auto* ys = reinterpret_cast<C64*>(y.data());
  auto as_dft = [](const void* p) { return static_cast<const qor_zups_dft_spec*>(p); };
  auto as_fft = [](const void* p) { return static_cast<const qor_zups_fft_spec*>(p); };
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(xs, ys, nullptr, nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(nullptr, ys, nullptr, nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(xs, ys, d32.spec(), nullptr), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(nullptr, ys, s64.spec(), nullptr), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(xs, ys, as_dft(f64.spec()), nullptr), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsDFXInv_CToC_64fc(nullptr, ys, d64.spec(), nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFXInv_CToC_64fc(xs, nullptr, d64.spec(), nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsFFTFwd_CToC_64fc(xs, ys, as_fft(d64.spec()), nullptr), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsFFTInv_CToC_64fc_I(nullptr, f64.spec(), nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsFFTFwd_CToC_64f_I(y.data(), nullptr, as_fft(s64.spec()), nullptr), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64f(x.data(), x.data(), y.data(), nullptr, s64.spec(), nullptr),
            QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsDFTFree_C_32fc(const_cast<qor_zups_dft_spec*>(d64.spec())), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsFFTFree_C_64fc(const_cast<qor_zups_fft_spec*>(as_fft(d64.spec()))), QOR_ZUPS_WRONG_SPEC);
  int size = -5;
  EXPECT_EQ(qor_dft_zupsDFTGetBufSize_C_32fc(d64.spec(), &size), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_zupsDFTGetBufSize_C_64fc(d64.spec(), nullptr), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_ownsFFTGetBufSize_C_64fc(as_fft(d64.spec()), &size), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(size, -5);
  for (double v : y) ASSERT_EQ(v, 42.0);
}

// Sizes are sums of parts rounded to 64 bytes plus 64 for aligning the
// base; plans built in caller memory, aligned or not, work like allocated
// ones and are not freed by Free.
TEST(DftApi, SizesAndCallerMemory) {
  int s, i, w;
  ASSERT_EQ(qor_dft_zupsDFTGetSize_C_64fc(16, 8, 0, &s, &i, &w), 0);
  EXPECT_EQ(s, 832 + 64);
  EXPECT_EQ(i, 0);
  EXPECT_EQ(w, 0);
  for (int order = 0; order <= 5; ++order) {
    ASSERT_EQ(qor_dft_zupsFFTGetSize_C_64fc(order, 8, 0, &s, &i, &w), 0);
    EXPECT_EQ(s, 208);
    EXPECT_EQ(w, 0);
  }
  for (int n : {17, 32, 100, 97, 4096, 4099, 6144, 65536}) {
    for (bool split : {false, true}) {
      ASSERT_EQ(split ? qor_dft_zupsDFTGetSize_C_32f(n, 4, 0, &s, &i, &w) : qor_dft_zupsDFTGetSize_C_64fc(n, 4, 0, &s, &i, &w), 0);
      EXPECT_EQ(s % 64, 0) << n;
      EXPECT_EQ(i % 64, 0) << n;
      EXPECT_EQ(w % 64, 0) << n;
      if (n != 32 || split) {
        EXPECT_GT(w, 0) << n;
      }
    }
    AllocWatch watch;
    ASSERT_EQ(qor_dft_zupsDFTGetSize_C_64fc(n, 4, 0, &s, &i, &w), 0);
    std::vector<std::uint8_t> spec(static_cast<std::size_t>(s) + 3), init(static_cast<std::size_t>(i) + 5);
    std::uint8_t* base = spec.data() + 3;  // not aligned
    ASSERT_EQ(qor_dft_zupsDFXInit_C_64fc(n, 4, 0, base, init.data() + 5), 0);
    auto* p = reinterpret_cast<qor_zups_dft_spec*>(base);
    int bs = 0;
    ASSERT_EQ(qor_dft_zupsDFTGetBufSize_C_64fc(p, &bs), 0);
    EXPECT_EQ(bs, w);
    RefVec x = random_signal(n, n);
    std::vector<double> in = to<double>(x), got(in.size()), want;
    std::fill(init.begin(), init.end(), 0xEE);  // the scratch is not needed afterwards
    ASSERT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(reinterpret_cast<const C64*>(in.data()), reinterpret_cast<C64*>(got.data()), p,
                                           nullptr),
              0);
    DftPlan<double, false> ref(n, 4);
    ASSERT_EQ(ref.run(false, in, want), 0);
    EXPECT_EQ(got, want) << n;
    EXPECT_EQ(qor_dft_zupsDFTFree_C_64fc(p), 0);
  }
  ASSERT_EQ(qor_dft_zupsFFTGetSize_C_64fc(10, 8, 0, &s, &i, &w), 0);
  FftPlan<double, false> f(10);
  int fb = 0;
  ASSERT_EQ(qor_dft_ownsFFTGetBufSize_C_64fc(f.spec(), &fb), 0);
  EXPECT_EQ(fb, w);
}

// The head of a DFT spec as the engine lays it out, and its factor records.
struct SpecHead {
  std::int32_t id, length, scale_forward_on, scale_inverse_on;
  double scale;
  std::int32_t hint, buffer_size, is_pow2, conv_length;
  const void *chirp, *filter, *fft_spec, *direct_table;
  std::int32_t prime_fact_on, last_index;
};
struct SpecRecord {
  std::int32_t factor, rest;
  std::int64_t stride;
  const void *twiddle, *direct;
};
static_assert(sizeof(SpecHead) == 80 && sizeof(SpecRecord) == 32);

// The method each length gets: small kernels, the FFT family, the factor
// test (fours with the single 2 in front, the merge of 2 and 3 into 6,
// divisors up to 88, rests up to 90 or 150, the leading 4 folded into the
// first factor), direct evaluation up to 90 and convolution lengths.
TEST(DftApi, MethodChoice) {
  struct Case {
    int n;
    std::vector<int> factors;  // empty: not the mixed-radix engine
    int conv;                  // convolution length, 0 if none
  };
  const Case cases[] = {
      {1000, {8, 5, 5, 5}, 0},   {96, {8, 4, 3}, 0},   {210, {6, 5, 7}, 0},  {54, {6, 3, 3}, 0},
      {194, {2, 97}, 0},         {596, {4, 149}, 0},   {87, {3, 29}, 0},     {24, {8, 3}, 0},
      {17, {}, 0},               {89, {}, 0},          {97, {}, 200},        {1031, {}, 2304},
      {4099, {}, 16384},         {291, {}, 640},       {302, {}, 640},       {28227, {}, 65536},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.n);
    qor_zups_dft_spec* spec = nullptr;
    ASSERT_EQ(qor_dft_zupsDFXInitAlloc_C_64fc(&spec, c.n, QOR_ZUPS_DIV_BY_SQRTN, 5), 0);
    SpecHead h;
    std::memcpy(&h, spec, sizeof h);
    EXPECT_EQ(h.id, 16);
    EXPECT_EQ(h.length, c.n);
    EXPECT_EQ(h.hint, 5);
    EXPECT_EQ(h.scale, 1.0 / std::sqrt(static_cast<double>(c.n)));
    EXPECT_EQ(h.scale_forward_on + h.scale_inverse_on, 2);
    EXPECT_EQ(h.is_pow2, 0);
    EXPECT_EQ(h.conv_length, c.conv);
    EXPECT_EQ(h.prime_fact_on, c.factors.empty() ? 0 : 1);
    EXPECT_EQ(h.direct_table != nullptr, c.factors.empty() && c.conv == 0);
    if (!c.factors.empty()) {
      ASSERT_EQ(h.last_index + 1, static_cast<int>(c.factors.size()));
      std::int64_t stride = 1;
      for (int i = 0; i <= h.last_index; ++i) {
        SpecRecord r;
        std::memcpy(&r, reinterpret_cast<const std::uint8_t*>(spec) + sizeof h + i * sizeof r, sizeof r);
        EXPECT_EQ(r.factor, c.factors[i]) << i;
        EXPECT_EQ(r.stride, stride) << i;
        stride *= r.factor;
        EXPECT_EQ(r.rest * stride, c.n) << i;
        EXPECT_EQ(r.twiddle != nullptr, r.rest > 1) << i;
      }
    }
    EXPECT_EQ(qor_dft_zupsDFTFree_C_64fc(spec), 0);
  }
  for (int n : {16, 1 << 12}) {
    qor_zups_dft_spec* spec = nullptr;
    ASSERT_EQ(qor_dft_zupsDFXInitAlloc_C_64f(&spec, n, QOR_ZUPS_DIV_FWD_BY_N, 0), 0);
    SpecHead h;
    std::memcpy(&h, spec, sizeof h);
    EXPECT_EQ(h.id, 17);
    EXPECT_EQ(h.scale, 1.0 / n);
    EXPECT_EQ(h.scale_forward_on, 1);
    EXPECT_EQ(h.scale_inverse_on, 0);
    EXPECT_EQ(h.is_pow2, n > 16 ? 1 : 0) << n;  // up to 16 the small kernels
    EXPECT_EQ(h.fft_spec != nullptr, n > 16) << n;
    EXPECT_EQ(h.prime_fact_on, 0);
    EXPECT_EQ(qor_dft_zupsDFTFree_C_64f(spec), 0);
  }
}

// Every allocation the engine makes may fail: plans report no memory and
// leave nothing behind; a transform without a buffer reports no memory and
// leaves the output alone.
TEST(DftApi, AllocationFailures) {
  for (int n : {10, 64, 100, 17, 97, 4096, 100000}) {
    for (int k = 0; k < 2; ++k) {
      AllocWatch watch;
      qor_zups_dft_spec* spec = nullptr;
      qor_fault_fail_after(QOR_POOL_BOTH, k);
      int st = qor_dft_zupsDFXInitAlloc_C_64fc(&spec, n, 8, 0);
      qor_fault_reset();
      if (st == 0) {
        EXPECT_GT(k, 0);  // plans without init scratch need one block only
        qor_dft_zupsDFTFree_C_64fc(spec);
      } else {
        EXPECT_EQ(st, QOR_ZUPS_NO_MEMORY) << n;
        EXPECT_EQ(spec, nullptr);
      }
    }
    AllocWatch watch;
    qor_zups_dft_spec* spec = nullptr;
    ASSERT_EQ(qor_dft_zupsDFXInitAlloc_C_64fc(&spec, n, 8, 0), 0);
    int size = 0;
    ASSERT_EQ(qor_dft_zupsDFTGetBufSize_C_64fc(spec, &size), 0);
    std::vector<double> x(2 * n, 0.5), y(2 * n, 3.0);
    qor_fault_fail_next(QOR_POOL_BOTH, 1);
    int st = qor_dft_zupsDFTFwd_CToC_64fc(reinterpret_cast<const C64*>(x.data()), reinterpret_cast<C64*>(y.data()), spec,
                                          nullptr);
    qor_fault_reset();
    if (size > 0) {
      EXPECT_EQ(st, QOR_ZUPS_NO_MEMORY) << n;
      for (double v : y) ASSERT_EQ(v, 3.0);
      // with the buffer allocated inside, the call succeeds and frees it
      EXPECT_EQ(qor_dft_zupsDFTFwd_CToC_64fc(reinterpret_cast<const C64*>(x.data()), reinterpret_cast<C64*>(y.data()),
                                             spec, nullptr),
                0);
      EXPECT_NEAR(y[0], 0.5 * n, 1e-9 * n);
    } else {
      EXPECT_EQ(st, 0);
    }
    EXPECT_EQ(qor_dft_zupsDFTFree_C_64fc(spec), 0);
  }
  AllocWatch watch;
  qor_zups_fft_spec* f = nullptr;
  qor_fault_fail_next(QOR_POOL_BOTH, 1);
  EXPECT_EQ(qor_dft_zupsFFTInitAlloc_C_32f(&f, 12, 8, 0), QOR_ZUPS_NO_MEMORY);
  EXPECT_EQ(f, nullptr);
}

TEST(DftApi, VectorHelpers) {
  std::vector<double> d = {1, 2, 3, 4};
  EXPECT_EQ(qor_dft_zupsMulC_64f_I(2.0, d.data(), 4), 0);
  EXPECT_EQ(d, (std::vector<double>{2, 4, 6, 8}));
  std::vector<float> f = {1, -2, 3, 5};
  const std::vector<float> g = {2, 2, 0.5f, -1};
  EXPECT_EQ(qor_dft_zupsMul_32f_I(g.data(), f.data(), 4), 0);
  EXPECT_EQ(f, (std::vector<float>{2, -4, 1.5f, -5}));
  C64 z[2] = {{1, 2}, {3, -1}};
  EXPECT_EQ(qor_dft_zupsMulC_64fc_I(C64{0, 1}, z, 2), 0);  // times i
  EXPECT_EQ(z[0].re, -2);
  EXPECT_EQ(z[0].im, 1);
  EXPECT_EQ(z[1].re, 1);
  EXPECT_EQ(z[1].im, 3);
  const C32 a[2] = {{1, 1}, {2, 0}};
  C32 b[2] = {{1, -1}, {0, 3}};
  EXPECT_EQ(qor_dft_zupsMul_32fc_I(a, b, 2), 0);
  EXPECT_EQ(b[0].re, 2);
  EXPECT_EQ(b[0].im, 0);
  EXPECT_EQ(b[1].re, 0);
  EXPECT_EQ(b[1].im, 6);
  C32 cj[2];
  EXPECT_EQ(qor_dft_zupsConj_32fc(a, cj, 2), 0);
  EXPECT_EQ(cj[0].im, -1);
  C64 zz[3];
  EXPECT_EQ(qor_dft_zupsCopy_64fc(z, zz, 2), 0);
  EXPECT_EQ(zz[1].im, 3);
  EXPECT_EQ(qor_dft_zupsZero_64fc(zz, 3), 0);
  EXPECT_EQ(zz[2].re, 0);
  EXPECT_EQ(qor_dft_zupsZero_32f(f.data(), 4), 0);
  EXPECT_EQ(f[3], 0.0f);
  EXPECT_EQ(qor_dft_zupsCopy_32f(g.data(), f.data(), 4), 0);
  EXPECT_EQ(f, g);

  EXPECT_EQ(qor_dft_zupsMulC_32f_I(1.f, nullptr, 4), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsMulC_32f_I(1.f, f.data(), 0), QOR_ZUPS_BAD_SIZE);
  EXPECT_EQ(qor_dft_zupsMul_64fc_I(nullptr, z, 2), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsConj_64fc(z, nullptr, 2), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsZero_32fc(nullptr, 2), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_zupsCopy_64f(d.data(), d.data(), -1), QOR_ZUPS_BAD_SIZE);

  AllocWatch watch;
  EXPECT_EQ(qor_dft_zupsMalloc_8u(0), nullptr);
  EXPECT_EQ(qor_dft_zupsMalloc_8u(-3), nullptr);
  std::uint8_t* p = qor_dft_zupsMalloc_8u(1000);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
  qor_dft_zupsFree(p);
  qor_dft_zupsFree(nullptr);
  // element counts, aligned, and no byte count beyond an int
  C64* z64 = qor_dft_zupsMalloc_64fc(100);
  float* f32 = qor_dft_zupsMalloc_32f(3);
  ASSERT_NE(z64, nullptr);
  ASSERT_NE(f32, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(z64) % 64, 0u);
  z64[99].im = 1.0;  // the last element is ours (the sanitized build checks)
  f32[2] = 1.0f;
  qor_dft_zupsFree(z64);
  qor_dft_zupsFree(f32);
  EXPECT_EQ(qor_dft_zupsMalloc_64f(0), nullptr);
  EXPECT_EQ(qor_dft_zupsMalloc_32fc(-1), nullptr);
  EXPECT_EQ(qor_dft_zupsMalloc_64fc(1 << 28), nullptr);
  qor_fault_fail_next(QOR_POOL_BOTH, 1);
  EXPECT_EQ(qor_dft_zupsMalloc_64f(8), nullptr);
  qor_fault_reset();
}

// ---- step kernels ---------------------------------------------------------------
// The step of the header, evaluated directly.
RefVec reference_step(const RefVec& src, const RefVec& dst0, const qor_zups_step& st, bool inv, bool twiddled,
                      bool outord) {
  RefVec dst = outord ? src : dst0;
  const int r = st.radix;
  const LD sg = inv ? 1 : -1;
  auto tw = static_cast<const double*>(st.twiddle);
  const std::int64_t blocks = st.count, width = outord ? 1 : st.width;
  for (std::int64_t p = 0; p < st.rest; ++p)
    for (std::int64_t c = 0; c < blocks; ++c)
      for (std::int64_t q = 0; q < width; ++q) {
        auto in_at = [&](int j) {
          return outord ? c * r * st.rest + p + j * st.rest : q + st.in_stride * (c + st.count * (p + j * st.rest));
        };
        auto out_at = [&](int k) {
          return outord ? c * r * st.rest + p + k * st.rest : q + st.out_stride * (c + st.count * (r * p + k));
        };
        for (int k = 0; k < r; ++k) {
          LD re = 0, im = 0;
          for (int j = 0; j < r; ++j) {
            const LD a = kTwoPi * ((j * k) % r) / r, cr = cosl(a), ci = sg * sinl(a);
            re += src[2 * in_at(j)] * cr - src[2 * in_at(j) + 1] * ci;
            im += src[2 * in_at(j)] * ci + src[2 * in_at(j) + 1] * cr;
          }
          if (twiddled && k > 0) {
            const LD tr = tw[2 * ((k - 1) * st.rest + p)], ti = (inv ? -1 : 1) * tw[2 * ((k - 1) * st.rest + p) + 1];
            const LD nr = re * tr - im * ti;
            im = re * ti + im * tr;
            re = nr;
          }
          dst[2 * out_at(k)] = re;
          dst[2 * out_at(k) + 1] = im;
        }
      }
  return dst;
}

struct KernelCase {
  std::string stem;  // without the ownsc/ownscr prefix and precision
  int radix;
  bool prime, outord;
};

std::vector<KernelCase> all_kernels() {
  std::vector<KernelCase> list;
  for (const char* dir : {"Fwd", "Inv"}) {
    for (int r : {2, 3, 4, 5, 7, 11, 13}) list.push_back({std::string("Dft") + dir + "_Fact" + std::to_string(r), r, false, false});
    list.push_back({std::string("Dft") + dir + "_Fact", 17, false, false});
    for (int r : {2, 3, 4, 5, 6, 7, 8, 11, 13, 16})
      list.push_back({std::string("Dft") + dir + "_Prime" + std::to_string(r), r, true, false});
    list.push_back({std::string("Dft") + dir + "_Prime", 19, true, false});
    for (int r : {2, 3, 4, 5, 7, 11, 13})
      list.push_back({std::string("DftOutOrd") + dir + "_Fact" + std::to_string(r), r, false, true});
    for (int r : {3, 5, 7, 11, 13})
      list.push_back({std::string("DftOutOrd") + dir + "_Prime" + std::to_string(r), r, true, true});
  }
  return list;
}

template <class R>
void check_kernel(const KernelCase& kc, const qor_zups_step& shape) {
  const bool inv = kc.stem.find("Inv") != std::string::npos;
  qor_zups_step st = shape;
  st.radix = kc.radix;
  const std::int64_t n_in = kc.outord ? st.count * st.radix * st.rest
                                      : st.width + st.in_stride * st.count * st.radix * st.rest;
  const std::int64_t n_out = kc.outord ? n_in : st.width + st.out_stride * st.count * st.radix * st.rest;
  RefVec src = random_signal(n_in, kc.radix * 13 + n_in), dst0 = random_signal(n_out, 5);
  RefVec twr = random_signal(st.radix * st.rest, 3);
  std::vector<double> tw_d(twr.begin(), twr.end());
  std::vector<R> tw(twr.begin(), twr.end());
  std::vector<R> roots(2 * st.radix);
  for (int t = 0; t < st.radix; ++t) {
    roots[2 * t] = static_cast<R>(cosl(kTwoPi * t / st.radix));
    roots[2 * t + 1] = static_cast<R>(-sinl(kTwoPi * t / st.radix));
  }
  st.twiddle = tw.data();
  st.table = roots.data();
  qor_zups_step ref_st = st;
  ref_st.twiddle = tw_d.data();
  RefVec want = reference_step(src, dst0, ref_st, inv, !kc.prime, kc.outord);
  const std::string suffix = sizeof(R) == 8 ? "_64" : "_32";
  // interleaved
  std::vector<R> s = to<R>(src), d = to<R>(dst0);
  int status = kc.outord ? qor_dft_step_outord(("ownsc" + kc.stem + suffix + "fc").c_str(), s.data(), &st)
                         : qor_dft_step(("ownsc" + kc.stem + suffix + "fc").c_str(), s.data(), d.data(), &st);
  ASSERT_EQ(status, 0) << kc.stem;
  EXPECT_LE(rel_error(kc.outord ? s : d, want), tolerance<R>(64) * kc.radix) << kc.stem;
  // split
  std::vector<R> sre(n_in), sim(n_in), dre(n_out), dim(n_out);
  for (std::int64_t i = 0; i < n_in; ++i) {
    sre[i] = static_cast<R>(src[2 * i]);
    sim[i] = static_cast<R>(src[2 * i + 1]);
  }
  for (std::int64_t i = 0; i < n_out; ++i) {
    dre[i] = static_cast<R>(dst0[2 * i]);
    dim[i] = static_cast<R>(dst0[2 * i + 1]);
  }
  status = kc.outord ? qor_dft_step_outord_split(("ownscr" + kc.stem + suffix + "f").c_str(), sre.data(), sim.data(), &st)
                     : qor_dft_step_split(("ownscr" + kc.stem + suffix + "f").c_str(), sre.data(), sim.data(),
                                          dre.data(), dim.data(), &st);
  ASSERT_EQ(status, 0) << kc.stem;
  std::vector<R> merged(2 * n_out);
  for (std::int64_t i = 0; i < n_out; ++i) {
    merged[2 * i] = kc.outord ? sre[i] : dre[i];
    merged[2 * i + 1] = kc.outord ? sim[i] : dim[i];
  }
  EXPECT_LE(rel_error(merged, want), tolerance<R>(64) * kc.radix) << "split " << kc.stem;
}

TEST(DftApi, StepKernels) {
  // rows of 3 contiguous columns, and strided rows with gaps
  const qor_zups_step shapes[] = {{0, 3, 2, 3, 3, 3, nullptr, nullptr}, {0, 1, 1, 5, 7, 6, nullptr, nullptr},
                                  {0, 2, 3, 1, 2, 1, nullptr, nullptr}};
  for (const auto& kc : all_kernels()) {
    for (const auto& shape : shapes) {
      check_kernel<double>(kc, shape);
      check_kernel<float>(kc, shape);
    }
  }
  std::vector<double> x(512, 1.0), y(512, 0.0);
  qor_zups_step st{5, 1, 1, 1, 1, 1, nullptr, nullptr};
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Fact9_64fc", x.data(), y.data(), &st), QOR_ZUPS_WRONG_SPEC);
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Fact3_64fc", x.data(), y.data(), &st), QOR_ZUPS_BAD_SIZE);  // radix 5
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Fact5_64fc", x.data(), nullptr, &st), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Fact5_64fc", x.data(), y.data(), nullptr), QOR_ZUPS_NULL_POINTER);
  st.rest = 2;  // twiddles needed
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Fact5_64fc", x.data(), y.data(), &st), QOR_ZUPS_NULL_POINTER);
  st.rest = 0;
  EXPECT_EQ(qor_dft_step("ownscDftFwd_Prime5_64fc", x.data(), y.data(), &st), QOR_ZUPS_BAD_SIZE);
  st = {18, 1, 1, 1, 1, 1, nullptr, x.data()};  // the generic kernels take odd radices
  EXPECT_EQ(qor_dft_step("ownscDftInv_Prime_32fc", x.data(), y.data(), &st), QOR_ZUPS_BAD_SIZE);
  st.radix = 19;
  st.table = nullptr;
  EXPECT_EQ(qor_dft_step("ownscDftInv_Prime_32fc", x.data(), y.data(), &st), QOR_ZUPS_NULL_POINTER);
  EXPECT_EQ(qor_dft_step_outord("ownscDftOutOrdFwd_Prime5_64fc", nullptr, &st), QOR_ZUPS_NULL_POINTER);
}

}  // namespace
}  // namespace qor::test::dft
