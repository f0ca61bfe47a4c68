// Helpers of the transform tests: a long double reference DFT, error
// measures, and one plan type over the four data kinds (interleaved and
// split, single and double), so that each test is written once.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "common/testing.h"
#include "qor/dft_primitive.h"

namespace qor::test::dft {

using LD = long double;
constexpr LD kTwoPi = 6.283185307179586476925286766559005768L;

// Interleaved complex data in long double, length n.
using RefVec = std::vector<LD>;

inline RefVec random_signal(std::int64_t n, std::uint64_t seed) {
  Rng rng(seed);
  RefVec x(2 * n);
  for (auto& v : x) v = rng.next();
  return x;
}

// X[k] = sum_j x[j] exp(-+2 pi i jk/n), O(n^2) in long double.
inline RefVec reference_dft(const RefVec& x, bool inv) {
  const std::int64_t n = static_cast<std::int64_t>(x.size() / 2);
  std::vector<LD> c(n), s(n);
  for (std::int64_t t = 0; t < n; ++t) {
    c[t] = cosl(kTwoPi * t / n);
    s[t] = (inv ? 1 : -1) * sinl(kTwoPi * t / n);
  }
  RefVec y(2 * n, 0);
  for (std::int64_t k = 0; k < n; ++k) {
    LD re = 0, im = 0;
    std::int64_t idx = 0;
    for (std::int64_t j = 0; j < n; ++j) {
      re += x[2 * j] * c[idx] - x[2 * j + 1] * s[idx];
      im += x[2 * j] * s[idx] + x[2 * j + 1] * c[idx];
      idx += k;
      if (idx >= n) idx -= n;
    }
    y[2 * k] = re;
    y[2 * k + 1] = im;
  }
  return y;
}

// One output bin, O(n).
inline void reference_bin(const RefVec& x, std::int64_t k, bool inv, LD* re, LD* im) {
  const std::int64_t n = static_cast<std::int64_t>(x.size() / 2);
  LD sr = 0, si = 0;
  for (std::int64_t j = 0; j < n; ++j) {
    const std::int64_t t = static_cast<std::int64_t>((static_cast<__int128>(j) * k) % n);
    const LD c = cosl(kTwoPi * t / n), s = (inv ? 1 : -1) * sinl(kTwoPi * t / n);
    sr += x[2 * j] * c - x[2 * j + 1] * s;
    si += x[2 * j] * s + x[2 * j + 1] * c;
  }
  *re = sr;
  *im = si;
}

template <class R, class V>
double rel_error(const std::vector<R>& got, const V& want) {
  LD num = 0, den = 0;
  for (std::size_t i = 0; i < want.size(); ++i) {
    const LD d = static_cast<LD>(got[i]) - static_cast<LD>(want[i]);
    num += d * d;
    den += static_cast<LD>(want[i]) * static_cast<LD>(want[i]);
  }
  return den == 0 ? static_cast<double>(sqrtl(num)) : static_cast<double>(sqrtl(num / den));
}

template <class R>
std::vector<R> to(const RefVec& x) {
  return std::vector<R>(x.begin(), x.end());
}
template <class R>
RefVec to_ref(const std::vector<R>& x) {
  return RefVec(x.begin(), x.end());
}

// Expected relative error bound of a transform of length n.
template <class R>
double tolerance(std::int64_t n) {
  const double eps = sizeof(R) == 8 ? 2.2e-16 : 1.2e-7;
  return eps * (8.0 + 2.0 * std::log2(static_cast<double>(n) + 1.0)) * (n > 90 && n % 2 ? 4.0 : 1.0);
}

// ---- plans over the four kinds -----------------------------------------------
// R: float or double; SPLIT: split-complex arrays. Data is always handed
// over interleaved; split kinds split and merge around the call.
template <class R, bool SPLIT>
struct Kind;

#define QOR_TEST_KIND(R, SPLIT, T, E)                                                                        \
  template <>                                                                                               \
  struct Kind<R, SPLIT> {                                                                                   \
    static int init_alloc(qor_zups_dft_spec** s, int n, int flag) {                                         \
      return qor_dft_zupsDFXInitAlloc_C_##T(s, n, flag, 0);                                                 \
    }                                                                                                       \
    static int free(qor_zups_dft_spec* s) { return qor_dft_zupsDFTFree_C_##T(s); }                           \
    static int buf_size(const qor_zups_dft_spec* s, int* n) { return qor_dft_zupsDFTGetBufSize_C_##T(s, n); } \
    static int get_size(int n, int flag, int* a, int* b, int* c) {                                          \
      return qor_dft_zupsDFTGetSize_C_##T(n, flag, 0, a, b, c);                                             \
    }                                                                                                       \
    static int init(int n, int flag, uint8_t* spec, uint8_t* init) {                                        \
      return qor_dft_zupsDFXInit_C_##T(n, flag, 0, spec, init);                                             \
    }                                                                                                       \
    static int fft_init_alloc(qor_zups_fft_spec** s, int order, int flag) {                                 \
      return qor_dft_zupsFFTInitAlloc_C_##T(s, order, flag, 0);                                             \
    }                                                                                                       \
    static int fft_free(qor_zups_fft_spec* s) { return qor_dft_zupsFFTFree_C_##T(s); }                      \
    static int fft_buf_size(const qor_zups_fft_spec* s, int* n) { return qor_dft_ownsFFTGetBufSize_C_##T(s, n); } \
    static int fft_get_size(int order, int flag, int* a, int* b, int* c) {                                  \
      return qor_dft_zupsFFTGetSize_C_##T(order, flag, 0, a, b, c);                                         \
    }                                                                                                       \
  };
QOR_TEST_KIND(float, false, 32fc, qor_zups_32fc)
QOR_TEST_KIND(double, false, 64fc, qor_zups_64fc)
QOR_TEST_KIND(float, true, 32f, float)
QOR_TEST_KIND(double, true, 64f, double)
#undef QOR_TEST_KIND

// Runs the DFT (fft = false) or FFT entries of one kind on interleaved data.
template <class R, bool SPLIT>
int run(const void* spec, bool fft, bool inv, const R* src, R* dst, std::uint8_t* buf, std::int64_t n) {
  if constexpr (!SPLIT) {
    using E = std::conditional_t<sizeof(R) == 8, qor_zups_64fc, qor_zups_32fc>;
    const E* s = reinterpret_cast<const E*>(src);
    E* d = reinterpret_cast<E*>(dst);
    if (fft) {
      auto* f = static_cast<const qor_zups_fft_spec*>(spec);
      if (src == dst) {
        if constexpr (sizeof(R) == 8) return inv ? qor_dft_zupsFFTInv_CToC_64fc_I(d, f, buf) : qor_dft_zupsFFTFwd_CToC_64fc_I(d, f, buf);
        else return inv ? qor_dft_zupsFFTInv_CToC_32fc_I(d, f, buf) : qor_dft_zupsFFTFwd_CToC_32fc_I(d, f, buf);
      }
      if constexpr (sizeof(R) == 8) return inv ? qor_dft_zupsFFTInv_CToC_64fc(s, d, f, buf) : qor_dft_zupsFFTFwd_CToC_64fc(s, d, f, buf);
      else return inv ? qor_dft_zupsFFTInv_CToC_32fc(s, d, f, buf) : qor_dft_zupsFFTFwd_CToC_32fc(s, d, f, buf);
    }
    auto* p = static_cast<const qor_zups_dft_spec*>(spec);
    if constexpr (sizeof(R) == 8) return inv ? qor_dft_zupsDFXInv_CToC_64fc(s, d, p, buf) : qor_dft_zupsDFTFwd_CToC_64fc(s, d, p, buf);
    else return inv ? qor_dft_zupsDFXInv_CToC_32fc(s, d, p, buf) : qor_dft_zupsDFTFwd_CToC_32fc(s, d, p, buf);
  } else {
    std::vector<R> re(n), im(n);
    for (std::int64_t i = 0; i < n; ++i) {
      re[i] = src[2 * i];
      im[i] = src[2 * i + 1];
    }
    std::vector<R> ore(n), oim(n);
    for (std::int64_t i = 0; i < n; ++i) {  // keep the output's values for untouched-on-failure checks
      ore[i] = dst[2 * i];
      oim[i] = dst[2 * i + 1];
    }
    const bool inplace = src == dst;
    R* dr = inplace ? re.data() : ore.data();
    R* di = inplace ? im.data() : oim.data();
    int st;
    if (fft) {
      auto* f = static_cast<const qor_zups_fft_spec*>(spec);
      if (inplace) {
        if constexpr (sizeof(R) == 8) st = inv ? qor_dft_zupsFFTInv_CToC_64f_I(dr, di, f, buf) : qor_dft_zupsFFTFwd_CToC_64f_I(dr, di, f, buf);
        else st = inv ? qor_dft_zupsFFTInv_CToC_32f_I(dr, di, f, buf) : qor_dft_zupsFFTFwd_CToC_32f_I(dr, di, f, buf);
      } else {
        if constexpr (sizeof(R) == 8) st = inv ? qor_dft_zupsFFTInv_CToC_64f(re.data(), im.data(), dr, di, f, buf) : qor_dft_zupsFFTFwd_CToC_64f(re.data(), im.data(), dr, di, f, buf);
        else st = inv ? qor_dft_zupsFFTInv_CToC_32f(re.data(), im.data(), dr, di, f, buf) : qor_dft_zupsFFTFwd_CToC_32f(re.data(), im.data(), dr, di, f, buf);
      }
    } else {
      auto* p = static_cast<const qor_zups_dft_spec*>(spec);
      if constexpr (sizeof(R) == 8) st = inv ? qor_dft_zupsDFXInv_CToC_64f(re.data(), im.data(), dr, di, p, buf) : qor_dft_zupsDFTFwd_CToC_64f(re.data(), im.data(), dr, di, p, buf);
      else st = inv ? qor_dft_zupsDFXInv_CToC_32f(re.data(), im.data(), dr, di, p, buf) : qor_dft_zupsDFTFwd_CToC_32f(re.data(), im.data(), dr, di, p, buf);
    }
    for (std::int64_t i = 0; i < n; ++i) {
      dst[2 * i] = dr[i];
      dst[2 * i + 1] = di[i];
    }
    return st;
  }
}

// A DFT plan made by InitAlloc, with its work buffer.
template <class R, bool SPLIT>
class DftPlan {
 public:
  DftPlan(int n, int flag = QOR_ZUPS_NODIV_BY_ANY) : n_(n) {
    status_ = Kind<R, SPLIT>::init_alloc(&spec_, n, flag);
    int size = 0;
    if (status_ == 0 && Kind<R, SPLIT>::buf_size(spec_, &size) == 0) buf_.resize(static_cast<std::size_t>(size) + 1);
  }
  ~DftPlan() {
    if (spec_ != nullptr) Kind<R, SPLIT>::free(spec_);
  }
  DftPlan(const DftPlan&) = delete;
  DftPlan& operator=(const DftPlan&) = delete;
  int status() const { return status_; }
  const qor_zups_dft_spec* spec() const { return spec_; }
  int run(bool inv, const std::vector<R>& x, std::vector<R>& y) {
    y.resize(x.size());
    return run_raw(inv, x.data(), y.data());
  }
  // With a deliberately unaligned buffer, as callers may pass.
  int run_raw(bool inv, const R* x, R* y) {
    return dft::run<R, SPLIT>(spec_, false, inv, x, y, buf_.empty() ? nullptr : buf_.data() + 1, n_);
  }

 private:
  int n_;
  int status_ = 0;
  qor_zups_dft_spec* spec_ = nullptr;
  std::vector<std::uint8_t> buf_;
};

template <class R, bool SPLIT>
class FftPlan {
 public:
  FftPlan(int order, int flag = QOR_ZUPS_NODIV_BY_ANY) : n_(std::int64_t{1} << order) {
    status_ = Kind<R, SPLIT>::fft_init_alloc(&spec_, order, flag);
    int size = 0;
    if (status_ == 0 && Kind<R, SPLIT>::fft_buf_size(spec_, &size) == 0) buf_.resize(static_cast<std::size_t>(size));
  }
  ~FftPlan() {
    if (spec_ != nullptr) Kind<R, SPLIT>::fft_free(spec_);
  }
  FftPlan(const FftPlan&) = delete;
  FftPlan& operator=(const FftPlan&) = delete;
  int status() const { return status_; }
  const qor_zups_fft_spec* spec() const { return spec_; }
  int run_raw(bool inv, const R* x, R* y, bool own_buffer = true) {
    return dft::run<R, SPLIT>(spec_, true, inv, x, y, own_buffer && !buf_.empty() ? buf_.data() : nullptr, n_);
  }

 private:
  std::int64_t n_;
  int status_ = 0;
  qor_zups_fft_spec* spec_ = nullptr;
  std::vector<std::uint8_t> buf_;
};

}  // namespace qor::test::dft
