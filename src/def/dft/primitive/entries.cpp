// The exported entries of the transform engine: plan management and the
// transforms. Checks come first and in a fixed order (spec, spec id, data
// pointers); a failed call leaves the output as it was. The body that runs
// is chosen by the library's body rule: the 512-bit one, the Zen-class one
// or the baseline.
#include <climits>
#include <cstring>
#include <type_traits>

#include "dft/primitive/api.h"
#include "dft/primitive/engine_api.h"
#include "dft/primitive/plan.h"
#include "frame/body.h"
#include "frame/services.h"

namespace qor::dft {

// The engine has bodies for the Zen class (AVX2 and FMA) and the 512-bit
// class; the rule gives one of them or the baseline. A reproducible mode
// never gets the 512-bit body, so it computes what an AVX2 machine does.
Body engine_body() { return ::qor::QOR_ISA_NAME::choose_body<bodies_of<Body::zen, Body::avx512>>(); }

bool use_zen_body() { return ::qor::QOR_ISA_NAME::choose_body<bodies_of<Body::zen>>() == Body::zen; }

namespace {

// The caller's work buffer aligned up to 64 bytes, or one of our own.
class Work {
 public:
  bool get(std::int32_t size, std::uint8_t* given) {
    if (size <= 0) return true;
    if (given != nullptr) {
      ptr_ = align64(given);
      return true;
    }
    own_ = qor_dft_def_zupsMalloc_8u(size);
    ptr_ = own_ != nullptr ? align64(own_) : nullptr;
    return own_ != nullptr;
  }
  ~Work() {
    if (own_ != nullptr) qor_dft_def_zupsFree(own_);
  }
  template <class R>
  R* as() const {
    return reinterpret_cast<R*>(ptr_);
  }

 private:
  std::uint8_t* own_ = nullptr;
  std::uint8_t* ptr_ = nullptr;
};

template <class S>
const S* spec_at(const void* p) {
  return reinterpret_cast<const S*>(align64(static_cast<const std::uint8_t*>(p)));
}
template <class S>
S* spec_at(void* p) {
  return reinterpret_cast<S*>(align64(static_cast<std::uint8_t*>(p)));
}

int report_sizes(const Sizes& sz, int* spec_size, int* init_size, int* work_size) {
  auto total = [](i64 v) { return v > 0 ? v + 64 : i64{0}; };
  const i64 s = total(sz.spec), i = total(sz.init), w = total(sz.work);
  if (s > INT_MAX || i > INT_MAX || w > INT_MAX) return kNoMemory;
  *spec_size = static_cast<int>(s);
  *init_size = static_cast<int>(i);
  *work_size = static_cast<int>(w);
  return kOk;
}

// ---- plans ------------------------------------------------------------------
template <class R, bool FFT>
int build(int n, int flag, int hint, bool split, std::uint8_t* spec, std::uint8_t* init, Sizes* sz) {
  if constexpr (FFT) return build_fft<R>(n, flag, hint, split, spec, init, sz);
  else return build_dft<R>(n, flag, hint, split, spec, init, sz);
}

template <class R, bool FFT>
int get_size(int n, int flag, int hint, bool split, int* spec_size, int* init_size, int* work_size) {
  if (spec_size == nullptr || init_size == nullptr || work_size == nullptr) return kNullPtr;
  Sizes sz;
  const int st = build<R, FFT>(n, flag, hint, split, nullptr, nullptr, &sz);
  if (st != kOk && sz.spec == 0) return st;
  const int rs = report_sizes(sz, spec_size, init_size, work_size);
  return st != kOk ? st : rs;
}

template <class R, bool FFT>
int init(int n, int flag, int hint, bool split, std::uint8_t* spec, std::uint8_t* init_mem) {
  if (spec == nullptr) return kNullPtr;
  Sizes sz;
  int st = build<R, FFT>(n, flag, hint, split, nullptr, nullptr, &sz);
  if (st != kOk) return st;
  int a, b, c;
  if ((st = report_sizes(sz, &a, &b, &c)) != kOk) return st;
  if (sz.init > 0 && init_mem == nullptr) return kNullPtr;
  return build<R, FFT>(n, flag, hint, split, align64(spec), sz.init > 0 ? align64(init_mem) : nullptr, &sz);
}

template <class R, bool FFT, class Out>
int init_alloc(Out** out, int n, int flag, int hint, bool split) {
  if (out == nullptr) return kNullPtr;
  Sizes sz;
  int st = build<R, FFT>(n, flag, hint, split, nullptr, nullptr, &sz);
  if (st != kOk) return st;
  int spec_bytes, init_bytes, work_bytes;
  if ((st = report_sizes(sz, &spec_bytes, &init_bytes, &work_bytes)) != kOk) return st;
  std::uint8_t* mem = qor_dft_def_zupsMalloc_8u(spec_bytes);
  if (mem == nullptr) return kNoMemory;
  std::uint8_t* scratch = nullptr;
  if (init_bytes > 0 && (scratch = qor_dft_def_zupsMalloc_8u(init_bytes)) == nullptr) {
    qor_dft_def_zupsFree(mem);
    return kNoMemory;
  }
  st = build<R, FFT>(n, flag, hint, split, align64(mem), scratch != nullptr ? align64(scratch) : nullptr, &sz);
  if (scratch != nullptr) qor_dft_def_zupsFree(scratch);
  if (st != kOk) {
    qor_dft_def_zupsFree(mem);
    return st;
  }
  if constexpr (FFT) {
    auto* s = reinterpret_cast<FftSpec*>(align64(mem));
    s->allocated = 1;
    s->self = mem;
  } else {
    auto* s = reinterpret_cast<DftSpec*>(align64(mem));
    s->allocated = 1;
    s->self = mem;
  }
  *out = reinterpret_cast<Out*>(align64(mem));
  return kOk;
}

template <class S>
int free_spec(void* spec, int id) {
  if (spec == nullptr) return kNullPtr;
  S* s = spec_at<S>(spec);
  if (s->id != id) return kWrongSpec;
  if (s->allocated != 0) qor_dft_def_zupsFree(s->self);
  return kOk;
}

template <class S>
int buf_size(const void* spec, int id, int* size) {
  if (spec == nullptr) return kNullPtr;
  const S* s = spec_at<S>(spec);
  if (s->id != id) return kWrongSpec;
  if (size == nullptr) return kNullPtr;
  *size = s->buffer_size;
  return kOk;
}

// ---- small kernels through the tables ---------------------------------------
template <class R>
void small_c(bool fft, int index, bool inv, bool scaled, double scale, const R* src, R* dst) {
  if constexpr (sizeof(R) == 8) {
    if (scaled) {
      const zups_small_c64s* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_scale_64 : qor_dft_def_tbl_cFFTfwd_small_scale_64)
                                     : (inv ? qor_dft_def_tbl_cDFXinv_small_scale_64 : qor_dft_def_tbl_cDFTfwd_small_scale_64);
      t[index](src, dst, scale);
    } else {
      const zups_small_c64* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_64 : qor_dft_def_tbl_cFFTfwd_small_64)
                                    : (inv ? qor_dft_def_tbl_cDFXinv_small_64 : qor_dft_def_tbl_cDFTfwd_small_64);
      t[index](src, dst);
    }
  } else {
    if (scaled) {
      const zups_small_c32s* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_scale_32 : qor_dft_def_tbl_cFFTfwd_small_scale_32)
                                     : (inv ? qor_dft_def_tbl_cDFXinv_small_scale_32 : qor_dft_def_tbl_cDFTfwd_small_scale_32);
      t[index](src, dst, static_cast<float>(scale));
    } else {
      const zups_small_c32* t = fft ? (inv ? qor_dft_def_tbl_cFFTinv_small_32 : qor_dft_def_tbl_cFFTfwd_small_32)
                                    : (inv ? qor_dft_def_tbl_cDFXinv_small_32 : qor_dft_def_tbl_cDFTfwd_small_32);
      t[index](src, dst);
    }
  }
}

template <class R>
void small_cr(int index, bool inv, bool scaled, double scale, const R* sre, const R* sim, R* dre, R* dim) {
  if constexpr (sizeof(R) == 8) {
    if (scaled)
      (inv ? qor_dft_def_tbl_crDFXinv_small_scale_64 : qor_dft_def_tbl_crDFTfwd_small_scale_64)[index](sre, sim, dre, dim,
                                                                                                   scale);
    else (inv ? qor_dft_def_tbl_crDFXinv_small_64 : qor_dft_def_tbl_crDFTfwd_small_64)[index](sre, sim, dre, dim);
  } else {
    if (scaled)
      (inv ? qor_dft_def_tbl_crDFXinv_small_scale_32 : qor_dft_def_tbl_crDFTfwd_small_scale_32)[index](
          sre, sim, dre, dim, static_cast<float>(scale));
    else (inv ? qor_dft_def_tbl_crDFXinv_small_32 : qor_dft_def_tbl_crDFTfwd_small_32)[index](sre, sim, dre, dim);
  }
}

// ---- transforms -----------------------------------------------------------------
template <class R>
void engine_run(const DftSpec* s, const R* src, R* dst, R* work, bool inv) {
  const Body b = engine_body();
  if (s->method == kPow2) {  // straight to the power-of-two engine, with this spec's scaling
    const auto* f = static_cast<const FftSpec*>(s->fft_spec);
    const bool scaled = inv ? s->scale_inverse_on != 0 : s->scale_forward_on != 0;
    if (b == Body::avx512) qor::avx512::exec_pow2<R>(f, src, dst, work, inv, scaled, s->scale);
    else if (b == Body::zen) qor::zen::exec_pow2<R>(f, src, dst, work, inv, scaled, s->scale);
    else qor::base::exec_pow2<R>(f, src, dst, work, inv, scaled, s->scale);
    return;
  }
  if (b == Body::avx512) qor::avx512::exec_dft<R>(s, src, dst, work, inv);
  else if (b == Body::zen) qor::zen::exec_dft<R>(s, src, dst, work, inv);
  else qor::base::exec_dft<R>(s, src, dst, work, inv);
}
template <class R>
void engine_run(const FftSpec* s, const R* src, R* dst, R* work, bool inv) {
  const Body b = engine_body();
  if (b == Body::avx512) qor::avx512::exec_fft<R>(s, src, dst, work, inv);
  else if (b == Body::zen) qor::zen::exec_fft<R>(s, src, dst, work, inv);
  else qor::base::exec_fft<R>(s, src, dst, work, inv);
}

template <class S>
bool is_small(const S* s) {
  if constexpr (std::is_same_v<S, FftSpec>) return s->method == kFftSmall;
  else return s->method == kSmall;
}
template <class S>
int small_index(const S* s) {
  if constexpr (std::is_same_v<S, FftSpec>) return s->order;
  else return s->length - 1;
}
template <class S>
i64 length_of(const S* s) {
  if constexpr (std::is_same_v<S, FftSpec>) return i64{1} << s->order;
  else return s->length;
}

template <class R, class S>
int run_c(const void* spec, int id, const R* src, R* dst, std::uint8_t* buffer, bool inv) {
  if (spec == nullptr) return kNullPtr;
  const S* s = spec_at<S>(spec);
  if (s->id != id) return kWrongSpec;
  if (src == nullptr || dst == nullptr) return kNullPtr;
  if (is_small(s)) {
    small_c<R>(std::is_same_v<S, FftSpec>, small_index(s), inv,
               inv ? s->scale_inverse_on != 0 : s->scale_forward_on != 0, s->scale, src, dst);
    return kOk;
  }
  Work w;
  if (!w.get(s->buffer_size, buffer)) return kNoMemory;
  engine_run<R>(s, src, dst, w.as<R>(), inv);
  return kOk;
}

template <class R, class S>
int run_split(const void* spec, int id, const R* sre, const R* sim, R* dre, R* dim, std::uint8_t* buffer, bool inv) {
  if (spec == nullptr) return kNullPtr;
  const S* s = spec_at<S>(spec);
  if (s->id != id) return kWrongSpec;
  if (sre == nullptr || sim == nullptr || dre == nullptr || dim == nullptr) return kNullPtr;
  const bool scaled = inv ? s->scale_inverse_on != 0 : s->scale_forward_on != 0;
  const i64 n = length_of(s);
  if (is_small(s)) {
    if constexpr (std::is_same_v<S, FftSpec>) {
      R x[64] = {};
      for (i64 j = 0; j < n; ++j) {
        x[2 * j] = sre[j];
        x[2 * j + 1] = sim[j];
      }
      small_c<R>(true, s->order, inv, scaled, s->scale, x, x);
      for (i64 j = 0; j < n; ++j) {
        dre[j] = x[2 * j];
        dim[j] = x[2 * j + 1];
      }
    } else {
      small_cr<R>(s->length - 1, inv, scaled, s->scale, sre, sim, dre, dim);
    }
    return kOk;
  }
  Work w;
  if (!w.get(s->buffer_size, buffer)) return kNoMemory;
  R* x = w.as<R>();
  R* rest = x + round64(n * 2 * i64{sizeof(R)}) / i64{sizeof(R)};
  for (i64 j = 0; j < n; ++j) {
    x[2 * j] = sre[j];
    x[2 * j + 1] = sim[j];
  }
  engine_run<R>(s, x, x, rest, inv);
  for (i64 j = 0; j < n; ++j) {
    dre[j] = x[2 * j];
    dim[j] = x[2 * j + 1];
  }
  return kOk;
}

}  // namespace
}  // namespace qor::dft

using namespace qor::dft;
using qor::dft::i64;

// ---- DFT ----------------------------------------------------------------------------
#define QOR_DFT_PLAN_DEFS(T, R, SPLIT, SPEC_ID)                                                                  \
  QOR_DEF_API int qor_dft_def_zupsDFTGetSize_##T(int length, int flag, int hint, int* spec_size, int* init_size, \
                                                 int* work_size) {                                               \
    return get_size<R, false>(length, flag, hint, SPLIT, spec_size, init_size, work_size);                      \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsDFXInit_##T(int length, int flag, int hint, zups_u8* spec, zups_u8* init_mem) {  \
    return init<R, false>(length, flag, hint, SPLIT, spec, init_mem);                                            \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsDFXInitAlloc_##T(qor_zups_dft_spec** spec, int length, int flag, int hint) {    \
    return init_alloc<R, false>(spec, length, flag, hint, SPLIT);                                                 \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsDFTFree_##T(qor_zups_dft_spec* spec) { return free_spec<DftSpec>(spec, SPEC_ID); } \
  QOR_DEF_API int qor_dft_def_zupsDFTGetBufSize_##T(const qor_zups_dft_spec* spec, int* size) {                  \
    return buf_size<DftSpec>(spec, SPEC_ID, size);                                                               \
  }
QOR_DFT_PLAN_DEFS(C_32fc, float, false, kDft32fc)
QOR_DFT_PLAN_DEFS(C_64fc, double, false, kDft64fc)
QOR_DFT_PLAN_DEFS(C_32f, float, true, kDft32f)
QOR_DFT_PLAN_DEFS(C_64f, double, true, kDft64f)

#define QOR_DFT_RUN_DEFS(T, E, R, SPEC_ID)                                                                       \
  QOR_DEF_API int qor_dft_def_zupsDFTFwd_CToC_##T(const E* src, E* dst, const qor_zups_dft_spec* spec,            \
                                                  zups_u8* buffer) {                                             \
    return run_c<R, DftSpec>(spec, SPEC_ID, reinterpret_cast<const R*>(src), reinterpret_cast<R*>(dst), buffer,   \
                             false);                                                                            \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsDFXInv_CToC_##T(const E* src, E* dst, const qor_zups_dft_spec* spec,            \
                                                  zups_u8* buffer) {                                             \
    return run_c<R, DftSpec>(spec, SPEC_ID, reinterpret_cast<const R*>(src), reinterpret_cast<R*>(dst), buffer,   \
                             true);                                                                             \
  }
QOR_DFT_RUN_DEFS(32fc, qor_zups_32fc, float, kDft32fc)
QOR_DFT_RUN_DEFS(64fc, qor_zups_64fc, double, kDft64fc)

#define QOR_DFT_SPLIT_DEFS(T, R, SPEC_ID)                                                                        \
  QOR_DEF_API int qor_dft_def_zupsDFTFwd_CToC_##T(const R* src_re, const R* src_im, R* dst_re, R* dst_im,         \
                                                  const qor_zups_dft_spec* spec, zups_u8* buffer) {              \
    return run_split<R, DftSpec>(spec, SPEC_ID, src_re, src_im, dst_re, dst_im, buffer, false);                   \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsDFXInv_CToC_##T(const R* src_re, const R* src_im, R* dst_re, R* dst_im,         \
                                                  const qor_zups_dft_spec* spec, zups_u8* buffer) {              \
    return run_split<R, DftSpec>(spec, SPEC_ID, src_re, src_im, dst_re, dst_im, buffer, true);                    \
  }
QOR_DFT_SPLIT_DEFS(32f, float, kDft32f)
QOR_DFT_SPLIT_DEFS(64f, double, kDft64f)

// ---- FFT ----------------------------------------------------------------------------
#define QOR_FFT_PLAN_DEFS(T, R, SPLIT, SPEC_ID)                                                                  \
  QOR_DEF_API int qor_dft_def_zupsFFTGetSize_##T(int order, int flag, int hint, int* spec_size, int* init_size,  \
                                                 int* work_size) {                                               \
    return get_size<R, true>(order, flag, hint, SPLIT, spec_size, init_size, work_size);                        \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFTInit_##T(int order, int flag, int hint, zups_u8* spec, zups_u8* init_mem) {   \
    return init<R, true>(order, flag, hint, SPLIT, spec, init_mem);                                              \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFTInitAlloc_##T(qor_zups_fft_spec** spec, int order, int flag, int hint) {     \
    return init_alloc<R, true>(spec, order, flag, hint, SPLIT);                                                   \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFTFree_##T(qor_zups_fft_spec* spec) { return free_spec<FftSpec>(spec, SPEC_ID); } \
  QOR_DEF_API int qor_dft_def_ownsFFTGetBufSize_##T(const qor_zups_fft_spec* spec, int* size) {                  \
    return buf_size<FftSpec>(spec, SPEC_ID, size);                                                               \
  }
QOR_FFT_PLAN_DEFS(C_32fc, float, false, kFft32fc)
QOR_FFT_PLAN_DEFS(C_64fc, double, false, kFft64fc)
QOR_FFT_PLAN_DEFS(C_32f, float, true, kFft32f)
QOR_FFT_PLAN_DEFS(C_64f, double, true, kFft64f)

#define QOR_FFT_RUN_DEFS(DIR, INV, T, E, R, SPEC_ID)                                                             \
  QOR_DEF_API int qor_dft_def_zupsFFT##DIR##_CToC_##T(const E* src, E* dst, const qor_zups_fft_spec* spec,        \
                                                      zups_u8* buffer) {                                         \
    return run_c<R, FftSpec>(spec, SPEC_ID, reinterpret_cast<const R*>(src), reinterpret_cast<R*>(dst), buffer,   \
                             INV);                                                                              \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFT##DIR##_CToC_##T##_I(E* srcdst, const qor_zups_fft_spec* spec,               \
                                                          zups_u8* buffer) {                                     \
    return run_c<R, FftSpec>(spec, SPEC_ID, reinterpret_cast<const R*>(srcdst), reinterpret_cast<R*>(srcdst),     \
                             buffer, INV);                                                                      \
  }
QOR_FFT_RUN_DEFS(Fwd, false, 32fc, qor_zups_32fc, float, kFft32fc)
QOR_FFT_RUN_DEFS(Fwd, false, 64fc, qor_zups_64fc, double, kFft64fc)
QOR_FFT_RUN_DEFS(Inv, true, 32fc, qor_zups_32fc, float, kFft32fc)
QOR_FFT_RUN_DEFS(Inv, true, 64fc, qor_zups_64fc, double, kFft64fc)

#define QOR_FFT_SPLIT_DEFS(DIR, INV, T, R, SPEC_ID)                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFT##DIR##_CToC_##T(const R* src_re, const R* src_im, R* dst_re, R* dst_im,     \
                                                      const qor_zups_fft_spec* spec, zups_u8* buffer) {          \
    return run_split<R, FftSpec>(spec, SPEC_ID, src_re, src_im, dst_re, dst_im, buffer, INV);                     \
  }                                                                                                              \
  QOR_DEF_API int qor_dft_def_zupsFFT##DIR##_CToC_##T##_I(R* re, R* im, const qor_zups_fft_spec* spec,            \
                                                          zups_u8* buffer) {                                     \
    return run_split<R, FftSpec>(spec, SPEC_ID, re, im, re, im, buffer, INV);                                     \
  }
QOR_FFT_SPLIT_DEFS(Fwd, false, 32f, float, kFft32f)
QOR_FFT_SPLIT_DEFS(Fwd, false, 64f, double, kFft64f)
QOR_FFT_SPLIT_DEFS(Inv, true, 32f, float, kFft32f)
QOR_FFT_SPLIT_DEFS(Inv, true, 64f, double, kFft64f)
