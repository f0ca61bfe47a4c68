// The small-kernel tables (lengths 1 to 16 and FFT orders 0 to 5) and the
// exported step kernels of the engine.
//
// A small kernel is one codelet on one complex value per lane, loaded whole
// before anything is stored, so it works in place. The split forms use the
// scalar complex type. The step kernels check their description and run the
// same templates as the engine, in the body the processor calls for.
#include <cstring>

#include "dft/primitive/api.h"
#include "dft/primitive/codelets.h"
#include "dft/primitive/engine_api.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace dsmall {
using namespace ::qor::QOR_ISA_NAME::dftv;

template <int L, bool INV, bool SCALED, class R>
QV_INLINE void c_kernel(const R* in, R* out, R scale) {
  using O = typename VecSet<R>::O;
  O a[L];
  sfor<0, L>([&](auto j) __attribute__((always_inline)) { a[j] = O::load(in + 2 * j); });
  Dft<L, INV, O>::run(a);
  sfor<0, L>([&](auto k) __attribute__((always_inline)) {
    if constexpr (SCALED) mulr(a[k], scale).store(out + 2 * k);
    else a[k].store(out + 2 * k);
  });
}

template <int L, bool INV, bool SCALED, class R>
QV_INLINE void cr_kernel(const R* sre, const R* sim, R* dre, R* dim, R scale) {
  using V = SC<R>;
  V a[L];
  sfor<0, L>([&](auto j) __attribute__((always_inline)) { a[j] = V{sre[j], sim[j]}; });
  Dft<L, INV, V>::run(a);
  sfor<0, L>([&](auto k) __attribute__((always_inline)) {
    V x = SCALED ? mulr(a[k], scale) : a[k];
    dre[k] = x.re;
    dim[k] = x.im;
  });
}

template <int L, bool INV, class R>
void c_plain(const R* in, R* out) {
  c_kernel<L, INV, false, R>(in, out, R(1));
}
template <int L, bool INV, class R>
void c_scaled(const R* in, R* out, R scale) {
  c_kernel<L, INV, true, R>(in, out, scale);
}
template <int L, bool INV, class R>
void cr_plain(const R* sre, const R* sim, R* dre, R* dim) {
  cr_kernel<L, INV, false, R>(sre, sim, dre, dim, R(1));
}
template <int L, bool INV, class R>
void cr_scaled(const R* sre, const R* sim, R* dre, R* dim, R scale) {
  cr_kernel<L, INV, true, R>(sre, sim, dre, dim, scale);
}

}  // namespace dsmall
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::dsmall;

#define QOR_SMALL16(F, INV, R)                                                                              \
  {                                                                                                         \
    F<1, INV, R>, F<2, INV, R>, F<3, INV, R>, F<4, INV, R>, F<5, INV, R>, F<6, INV, R>, F<7, INV, R>,        \
        F<8, INV, R>, F<9, INV, R>, F<10, INV, R>, F<11, INV, R>, F<12, INV, R>, F<13, INV, R>, F<14, INV, R>, \
        F<15, INV, R>, F<16, INV, R>                                                                        \
  }
#define QOR_SMALL_POW2(F, INV, R) \
  { F<1, INV, R>, F<2, INV, R>, F<4, INV, R>, F<8, INV, R>, F<16, INV, R>, F<32, INV, R> }

const zups_small_c32 qor_dft_def_tbl_cDFTfwd_small_32[16] = QOR_SMALL16(c_plain, false, float);
const zups_small_c64 qor_dft_def_tbl_cDFTfwd_small_64[16] = QOR_SMALL16(c_plain, false, double);
const zups_small_c32 qor_dft_def_tbl_cDFXinv_small_32[16] = QOR_SMALL16(c_plain, true, float);
const zups_small_c64 qor_dft_def_tbl_cDFXinv_small_64[16] = QOR_SMALL16(c_plain, true, double);
const zups_small_c32s qor_dft_def_tbl_cDFTfwd_small_scale_32[16] = QOR_SMALL16(c_scaled, false, float);
const zups_small_c64s qor_dft_def_tbl_cDFTfwd_small_scale_64[16] = QOR_SMALL16(c_scaled, false, double);
const zups_small_c32s qor_dft_def_tbl_cDFXinv_small_scale_32[16] = QOR_SMALL16(c_scaled, true, float);
const zups_small_c64s qor_dft_def_tbl_cDFXinv_small_scale_64[16] = QOR_SMALL16(c_scaled, true, double);
const zups_small_cr32 qor_dft_def_tbl_crDFTfwd_small_32[16] = QOR_SMALL16(cr_plain, false, float);
const zups_small_cr64 qor_dft_def_tbl_crDFTfwd_small_64[16] = QOR_SMALL16(cr_plain, false, double);
const zups_small_cr32 qor_dft_def_tbl_crDFXinv_small_32[16] = QOR_SMALL16(cr_plain, true, float);
const zups_small_cr64 qor_dft_def_tbl_crDFXinv_small_64[16] = QOR_SMALL16(cr_plain, true, double);
const zups_small_cr32s qor_dft_def_tbl_crDFTfwd_small_scale_32[16] = QOR_SMALL16(cr_scaled, false, float);
const zups_small_cr64s qor_dft_def_tbl_crDFTfwd_small_scale_64[16] = QOR_SMALL16(cr_scaled, false, double);
const zups_small_cr32s qor_dft_def_tbl_crDFXinv_small_scale_32[16] = QOR_SMALL16(cr_scaled, true, float);
const zups_small_cr64s qor_dft_def_tbl_crDFXinv_small_scale_64[16] = QOR_SMALL16(cr_scaled, true, double);
const zups_small_c32 qor_dft_def_tbl_cFFTfwd_small_32[6] = QOR_SMALL_POW2(c_plain, false, float);
const zups_small_c64 qor_dft_def_tbl_cFFTfwd_small_64[6] = QOR_SMALL_POW2(c_plain, false, double);
const zups_small_c32 qor_dft_def_tbl_cFFTinv_small_32[6] = QOR_SMALL_POW2(c_plain, true, float);
const zups_small_c64 qor_dft_def_tbl_cFFTinv_small_64[6] = QOR_SMALL_POW2(c_plain, true, double);
const zups_small_c32s qor_dft_def_tbl_cFFTfwd_small_scale_32[6] = QOR_SMALL_POW2(c_scaled, false, float);
const zups_small_c64s qor_dft_def_tbl_cFFTfwd_small_scale_64[6] = QOR_SMALL_POW2(c_scaled, false, double);
const zups_small_c32s qor_dft_def_tbl_cFFTinv_small_scale_32[6] = QOR_SMALL_POW2(c_scaled, true, float);
const zups_small_c64s qor_dft_def_tbl_cFFTinv_small_scale_64[6] = QOR_SMALL_POW2(c_scaled, true, double);

// ---- step kernels -----------------------------------------------------------
namespace qor::dft {
namespace {

constexpr int kStep = 0, kOutOrd = 1;

template <class R>
bool run_engine_step(int kind, bool generic, bool inv, const R* src, R* dst, const Step& s) {
  return use_zen_body() ? qor::zen::exec_step<R>(kind, generic, inv, src, dst, s)
                        : qor::base::exec_step<R>(kind, generic, inv, src, dst, s);
}

// Validates a step description; fills the engine's form of it.
int check_step(int kind, int radix, bool prime, const qor_zups_step* st, Step* out) {
  if (st == nullptr) return kNullPtr;
  if (st->rest < 1 || st->count < 1) return kBadSize;
  if (kind == kStep && (st->width < 1 || st->in_stride < 1 || st->out_stride < 1)) return kBadSize;
  const int r = st->radix;
  if (radix != 0 && r != radix) return kBadSize;
  if (radix == 0) {
    if (r < 3 || (r & 1) == 0 || r > 159) return kBadSize;
    if (st->table == nullptr) return kNullPtr;
  }
  const void* tw = prime ? nullptr : st->twiddle;
  if (!prime && st->rest > 1 && tw == nullptr) return kNullPtr;
  *out = Step{r, st->rest, st->count, kind == kStep ? st->width : 1, kind == kStep ? st->in_stride : 1,
              kind == kStep ? st->out_stride : 1, tw, st->table, nullptr};
  return kOk;
}

// Element extents a step reads and writes.
i64 in_extent(const Step& s) { return (s.Q - 1) + s.is * ((s.sl - 1) + s.sl * ((s.m - 1) + i64{s.r - 1} * s.m)) + 1; }
i64 out_extent(const Step& s) { return (s.Q - 1) + s.os * ((s.sl - 1) + s.sl * (i64{s.r} * s.m - 1)) + 1; }

template <class R>
int step_c(int radix, bool prime, bool inv, const R* src, R* dst, const qor_zups_step* st) {
  Step s;
  if (src == nullptr || dst == nullptr) return kNullPtr;
  if (int e = check_step(kStep, radix, prime, st, &s)) return e;
  return run_engine_step<R>(kStep, radix == 0, inv, src, dst, s) ? kOk : kBadSize;
}

template <class R>
int outord_c(int radix, bool prime, bool inv, R* data, const qor_zups_step* st) {
  Step s;
  if (data == nullptr) return kNullPtr;
  if (int e = check_step(kOutOrd, radix, prime, st, &s)) return e;
  return run_engine_step<R>(kOutOrd, false, inv, data, data, s) ? kOk : kBadSize;
}

// Split data: the step runs on interleaved copies of the ranges it touches;
// positions it does not write keep their values.
template <class R>
void interleave(const R* re, const R* im, R* x, i64 n) {
  for (i64 i = 0; i < n; ++i) {
    x[2 * i] = re[i];
    x[2 * i + 1] = im[i];
  }
}
template <class R>
void deinterleave(const R* x, R* re, R* im, i64 n) {
  for (i64 i = 0; i < n; ++i) {
    re[i] = x[2 * i];
    im[i] = x[2 * i + 1];
  }
}

template <class R>
int step_split(int kind, int radix, bool prime, bool inv, const R* sre, const R* sim, R* dre, R* dim,
               const qor_zups_step* st) {
  Step s;
  if (sre == nullptr || sim == nullptr || dre == nullptr || dim == nullptr) return kNullPtr;
  if (int e = check_step(kind, radix, prime, st, &s)) return e;
  const bool same = sre == dre && sim == dim;
  const i64 nin = kind == kStep ? in_extent(s) : s.sl * s.r * s.m;
  const i64 nout = kind == kStep ? out_extent(s) : nin;
  const i64 bytes_in = nin * 2 * i64{sizeof(R)}, bytes_out = nout * 2 * i64{sizeof(R)};
  R* a = static_cast<R*>(qor_serv_malloc(same ? (bytes_in > bytes_out ? bytes_in : bytes_out) : bytes_in, 64));
  if (a == nullptr) return kNoMemory;
  R* b = a;
  if (!same && (b = static_cast<R*>(qor_serv_malloc(bytes_out, 64))) == nullptr) {
    qor_serv_free(a);
    return kNoMemory;
  }
  interleave(sre, sim, a, nin);
  if (!same) interleave(dre, dim, b, nout);
  const bool ok = run_engine_step<R>(kind, radix == 0 && kind == kStep, inv, a, b, s);
  if (ok) deinterleave(b, dre, dim, nout);
  if (b != a) qor_serv_free(b);
  qor_serv_free(a);
  return ok ? kOk : kBadSize;
}

}  // namespace
}  // namespace qor::dft

using qor::dft::outord_c;
using qor::dft::step_c;
using qor::dft::step_split;

#define QOR_STEP_DEFS(stem, RADIX, PRIME, INV)                                                                  \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst,                   \
                                                 const qor_zups_step* step) {                                    \
    return step_c<float>(RADIX, PRIME, INV, reinterpret_cast<const float*>(src), reinterpret_cast<float*>(dst),  \
                         step);                                                                                 \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst,                   \
                                                 const qor_zups_step* step) {                                    \
    return step_c<double>(RADIX, PRIME, INV, reinterpret_cast<const double*>(src), reinterpret_cast<double*>(dst), \
                          step);                                                                                \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_32f(const float* src_re, const float* src_im, float* dst_re,        \
                                                 float* dst_im, const qor_zups_step* step) {                     \
    return step_split<float>(0, RADIX, PRIME, INV, src_re, src_im, dst_re, dst_im, step);                        \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_64f(const double* src_re, const double* src_im, double* dst_re,     \
                                                 double* dst_im, const qor_zups_step* step) {                    \
    return step_split<double>(0, RADIX, PRIME, INV, src_re, src_im, dst_re, dst_im, step);                       \
  }
#define QOR_OUTORD_DEFS(stem, RADIX, PRIME, INV)                                                                \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_32fc(qor_zups_32fc* data, const qor_zups_step* step) {               \
    return outord_c<float>(RADIX, PRIME, INV, reinterpret_cast<float*>(data), step);                            \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_64fc(qor_zups_64fc* data, const qor_zups_step* step) {               \
    return outord_c<double>(RADIX, PRIME, INV, reinterpret_cast<double*>(data), step);                          \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_32f(float* re, float* im, const qor_zups_step* step) {              \
    return step_split<float>(1, RADIX, PRIME, INV, re, im, re, im, step);                                        \
  }                                                                                                             \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_64f(double* re, double* im, const qor_zups_step* step) {            \
    return step_split<double>(1, RADIX, PRIME, INV, re, im, re, im, step);                                       \
  }

#define QOR_FACT(r)                                  \
  QOR_STEP_DEFS(DftFwd_Fact##r, r, false, false)     \
  QOR_STEP_DEFS(DftInv_Fact##r, r, false, true)
#define QOR_PRIME(p)                                 \
  QOR_STEP_DEFS(DftFwd_Prime##p, p, true, false)     \
  QOR_STEP_DEFS(DftInv_Prime##p, p, true, true)
#define QOR_OUTORD_FACT(r)                           \
  QOR_OUTORD_DEFS(DftOutOrdFwd_Fact##r, r, false, false) \
  QOR_OUTORD_DEFS(DftOutOrdInv_Fact##r, r, false, true)
#define QOR_OUTORD_PRIME(p)                          \
  QOR_OUTORD_DEFS(DftOutOrdFwd_Prime##p, p, true, false) \
  QOR_OUTORD_DEFS(DftOutOrdInv_Prime##p, p, true, true)

QOR_FACT(2)
QOR_FACT(3)
QOR_FACT(4)
QOR_FACT(5)
QOR_FACT(7)
QOR_FACT(11)
QOR_FACT(13)
QOR_STEP_DEFS(DftFwd_Fact, 0, false, false)
QOR_STEP_DEFS(DftInv_Fact, 0, false, true)
QOR_PRIME(2)
QOR_PRIME(3)
QOR_PRIME(4)
QOR_PRIME(5)
QOR_PRIME(6)
QOR_PRIME(7)
QOR_PRIME(8)
QOR_PRIME(11)
QOR_PRIME(13)
QOR_PRIME(16)
QOR_STEP_DEFS(DftFwd_Prime, 0, true, false)
QOR_STEP_DEFS(DftInv_Prime, 0, true, true)
QOR_OUTORD_FACT(2)
QOR_OUTORD_FACT(3)
QOR_OUTORD_FACT(4)
QOR_OUTORD_FACT(5)
QOR_OUTORD_FACT(7)
QOR_OUTORD_FACT(11)
QOR_OUTORD_FACT(13)
QOR_OUTORD_PRIME(3)
QOR_OUTORD_PRIME(5)
QOR_OUTORD_PRIME(7)
QOR_OUTORD_PRIME(11)
QOR_OUTORD_PRIME(13)
