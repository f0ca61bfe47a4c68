// Exported names of the transform engine (the zups layer).
//
// Every entry is listed once in an X-macro so that the declarations here, the
// core's forwarding functions and the export manifest cannot drift apart:
//   X(return type, name without prefix, (parameters), (arguments))
// The kernel library exports qor_dft_def_<name>; the core forwards
// qor_dft_<name> to it.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "qor/dft_primitive.h"

using zups_u8 = std::uint8_t;

#define QOR_ZUPS_DFT_PLAN(X, T)                                                                                    \
  X(int, zupsDFTGetSize_##T, (int length, int flag, int hint, int* spec_size, int* init_size, int* work_size),      \
    (length, flag, hint, spec_size, init_size, work_size))                                                         \
  X(int, zupsDFXInit_##T, (int length, int flag, int hint, zups_u8* spec, zups_u8* init),                           \
    (length, flag, hint, spec, init))                                                                              \
  X(int, zupsDFXInitAlloc_##T, (qor_zups_dft_spec * *spec, int length, int flag, int hint),                         \
    (spec, length, flag, hint))                                                                                    \
  X(int, zupsDFTFree_##T, (qor_zups_dft_spec * spec), (spec))                                                      \
  X(int, zupsDFTGetBufSize_##T, (const qor_zups_dft_spec* spec, int* size), (spec, size))

#define QOR_ZUPS_DFT_RUN_C(X, T, E)                                                                                \
  X(int, zupsDFTFwd_CToC_##T, (const E* src, E* dst, const qor_zups_dft_spec* spec, zups_u8* buffer),              \
    (src, dst, spec, buffer))                                                                                      \
  X(int, zupsDFXInv_CToC_##T, (const E* src, E* dst, const qor_zups_dft_spec* spec, zups_u8* buffer),              \
    (src, dst, spec, buffer))

#define QOR_ZUPS_DFT_RUN_S(X, T, R)                                                                                \
  X(int, zupsDFTFwd_CToC_##T,                                                                                      \
    (const R* src_re, const R* src_im, R* dst_re, R* dst_im, const qor_zups_dft_spec* spec, zups_u8* buffer),      \
    (src_re, src_im, dst_re, dst_im, spec, buffer))                                                                \
  X(int, zupsDFXInv_CToC_##T,                                                                                      \
    (const R* src_re, const R* src_im, R* dst_re, R* dst_im, const qor_zups_dft_spec* spec, zups_u8* buffer),      \
    (src_re, src_im, dst_re, dst_im, spec, buffer))

#define QOR_ZUPS_FFT_PLAN(X, T)                                                                                    \
  X(int, zupsFFTGetSize_##T, (int order, int flag, int hint, int* spec_size, int* init_size, int* work_size),       \
    (order, flag, hint, spec_size, init_size, work_size))                                                          \
  X(int, zupsFFTInit_##T, (int order, int flag, int hint, zups_u8* spec, zups_u8* init),                            \
    (order, flag, hint, spec, init))                                                                               \
  X(int, zupsFFTInitAlloc_##T, (qor_zups_fft_spec * *spec, int order, int flag, int hint),                          \
    (spec, order, flag, hint))                                                                                     \
  X(int, zupsFFTFree_##T, (qor_zups_fft_spec * spec), (spec))                                                      \
  X(int, ownsFFTGetBufSize_##T, (const qor_zups_fft_spec* spec, int* size), (spec, size))

#define QOR_ZUPS_FFT_RUN_C(X, DIR, T, E)                                                                           \
  X(int, zupsFFT##DIR##_CToC_##T, (const E* src, E* dst, const qor_zups_fft_spec* spec, zups_u8* buffer),          \
    (src, dst, spec, buffer))                                                                                      \
  X(int, zupsFFT##DIR##_CToC_##T##_I, (E * srcdst, const qor_zups_fft_spec* spec, zups_u8* buffer),                \
    (srcdst, spec, buffer))

#define QOR_ZUPS_FFT_RUN_S(X, DIR, T, R)                                                                           \
  X(int, zupsFFT##DIR##_CToC_##T,                                                                                  \
    (const R* src_re, const R* src_im, R* dst_re, R* dst_im, const qor_zups_fft_spec* spec, zups_u8* buffer),      \
    (src_re, src_im, dst_re, dst_im, spec, buffer))                                                                \
  X(int, zupsFFT##DIR##_CToC_##T##_I, (R * re, R * im, const qor_zups_fft_spec* spec, zups_u8* buffer),            \
    (re, im, spec, buffer))

#define QOR_ZUPS_VECTOR(X)                                                                                         \
  X(zups_u8*, zupsMalloc_8u, (int len), (len))                                                                     \
  X(float*, zupsMalloc_32f, (int len), (len))                                                                      \
  X(double*, zupsMalloc_64f, (int len), (len))                                                                     \
  X(qor_zups_32fc*, zupsMalloc_32fc, (int len), (len))                                                             \
  X(qor_zups_64fc*, zupsMalloc_64fc, (int len), (len))                                                             \
  X(void, zupsFree, (void* p), (p))                                                                                \
  X(int, zupsMulC_32f_I, (float value, float* srcdst, int len), (value, srcdst, len))                              \
  X(int, zupsMulC_64f_I, (double value, double* srcdst, int len), (value, srcdst, len))                            \
  X(int, zupsMulC_32fc_I, (qor_zups_32fc value, qor_zups_32fc* srcdst, int len), (value, srcdst, len))             \
  X(int, zupsMulC_64fc_I, (qor_zups_64fc value, qor_zups_64fc* srcdst, int len), (value, srcdst, len))             \
  X(int, zupsMul_32f_I, (const float* src, float* srcdst, int len), (src, srcdst, len))                            \
  X(int, zupsMul_64f_I, (const double* src, double* srcdst, int len), (src, srcdst, len))                          \
  X(int, zupsMul_32fc_I, (const qor_zups_32fc* src, qor_zups_32fc* srcdst, int len), (src, srcdst, len))           \
  X(int, zupsMul_64fc_I, (const qor_zups_64fc* src, qor_zups_64fc* srcdst, int len), (src, srcdst, len))           \
  X(int, zupsConj_32fc, (const qor_zups_32fc* src, qor_zups_32fc* dst, int len), (src, dst, len))                  \
  X(int, zupsConj_64fc, (const qor_zups_64fc* src, qor_zups_64fc* dst, int len), (src, dst, len))                  \
  X(int, zupsZero_32f, (float* dst, int len), (dst, len))                                                          \
  X(int, zupsZero_64f, (double* dst, int len), (dst, len))                                                         \
  X(int, zupsZero_32fc, (qor_zups_32fc * dst, int len), (dst, len))                                                \
  X(int, zupsZero_64fc, (qor_zups_64fc * dst, int len), (dst, len))                                                \
  X(int, zupsCopy_32f, (const float* src, float* dst, int len), (src, dst, len))                                   \
  X(int, zupsCopy_64f, (const double* src, double* dst, int len), (src, dst, len))                                 \
  X(int, zupsCopy_32fc, (const qor_zups_32fc* src, qor_zups_32fc* dst, int len), (src, dst, len))                  \
  X(int, zupsCopy_64fc, (const qor_zups_64fc* src, qor_zups_64fc* dst, int len), (src, dst, len))                  \
  X(unsigned int, transfer_zup_qor_error, (int status), (status))

// All forwarded entries.
#define QOR_ZUPS_ENTRIES(X)                                        \
  QOR_ZUPS_DFT_PLAN(X, C_32fc)                                     \
  QOR_ZUPS_DFT_PLAN(X, C_64fc)                                     \
  QOR_ZUPS_DFT_PLAN(X, C_32f)                                      \
  QOR_ZUPS_DFT_PLAN(X, C_64f)                                      \
  QOR_ZUPS_DFT_RUN_C(X, 32fc, qor_zups_32fc)                       \
  QOR_ZUPS_DFT_RUN_C(X, 64fc, qor_zups_64fc)                       \
  QOR_ZUPS_DFT_RUN_S(X, 32f, float)                                \
  QOR_ZUPS_DFT_RUN_S(X, 64f, double)                               \
  QOR_ZUPS_FFT_PLAN(X, C_32fc)                                     \
  QOR_ZUPS_FFT_PLAN(X, C_64fc)                                     \
  QOR_ZUPS_FFT_PLAN(X, C_32f)                                      \
  QOR_ZUPS_FFT_PLAN(X, C_64f)                                      \
  QOR_ZUPS_FFT_RUN_C(X, Fwd, 32fc, qor_zups_32fc)                  \
  QOR_ZUPS_FFT_RUN_C(X, Fwd, 64fc, qor_zups_64fc)                  \
  QOR_ZUPS_FFT_RUN_C(X, Inv, 32fc, qor_zups_32fc)                  \
  QOR_ZUPS_FFT_RUN_C(X, Inv, 64fc, qor_zups_64fc)                  \
  QOR_ZUPS_FFT_RUN_S(X, Fwd, 32f, float)                           \
  QOR_ZUPS_FFT_RUN_S(X, Fwd, 64f, double)                          \
  QOR_ZUPS_FFT_RUN_S(X, Inv, 32f, float)                           \
  QOR_ZUPS_FFT_RUN_S(X, Inv, 64f, double)                          \
  QOR_ZUPS_VECTOR(X)

#define QOR_ZUPS_DECLARE(ret, name, params, args) QOR_DEF_API ret qor_dft_def_##name params;
QOR_ZUPS_ENTRIES(QOR_ZUPS_DECLARE)
#undef QOR_ZUPS_DECLARE

// ---- Step kernels --------------------------------------------------------
// K(name): one kernel name without prefix and precision suffix; the lists
// expand per direction and layout. Interleaved kernels take
// (const E* src, E* dst, const qor_zups_step*), split ones
// (const R* src_re, const R* src_im, R* dst_re, R* dst_im, const qor_zups_step*),
// out-of-order ones (E* data, const qor_zups_step*) or (R* re, R* im, ...).
#define QOR_ZUPS_STEP_RADICES(K, DIR)                                                                \
  K(Dft##DIR##_Fact2) K(Dft##DIR##_Fact3) K(Dft##DIR##_Fact4) K(Dft##DIR##_Fact5) K(Dft##DIR##_Fact7) \
  K(Dft##DIR##_Fact11) K(Dft##DIR##_Fact13) K(Dft##DIR##_Fact)                                       \
  K(Dft##DIR##_Prime2) K(Dft##DIR##_Prime3) K(Dft##DIR##_Prime4) K(Dft##DIR##_Prime5)                \
  K(Dft##DIR##_Prime6) K(Dft##DIR##_Prime7) K(Dft##DIR##_Prime8) K(Dft##DIR##_Prime11)              \
  K(Dft##DIR##_Prime13) K(Dft##DIR##_Prime16) K(Dft##DIR##_Prime)
#define QOR_ZUPS_OUTORD_RADICES(K, DIR)                                                              \
  K(DftOutOrd##DIR##_Fact2) K(DftOutOrd##DIR##_Fact3) K(DftOutOrd##DIR##_Fact4)                      \
  K(DftOutOrd##DIR##_Fact5) K(DftOutOrd##DIR##_Fact7) K(DftOutOrd##DIR##_Fact11)                     \
  K(DftOutOrd##DIR##_Fact13) K(DftOutOrd##DIR##_Prime3) K(DftOutOrd##DIR##_Prime5)                   \
  K(DftOutOrd##DIR##_Prime7) K(DftOutOrd##DIR##_Prime11) K(DftOutOrd##DIR##_Prime13)

#define QOR_ZUPS_STEP_DECL_C(stem)                                                                           \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst,                   \
                                                 const qor_zups_step* step);                                     \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst,                   \
                                                 const qor_zups_step* step);                                     \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_32f(const float* src_re, const float* src_im, float* dst_re,        \
                                                 float* dst_im, const qor_zups_step* step);                      \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_64f(const double* src_re, const double* src_im, double* dst_re,     \
                                                 double* dst_im, const qor_zups_step* step);
#define QOR_ZUPS_OUTORD_DECL_C(stem)                                                                         \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_32fc(qor_zups_32fc* data, const qor_zups_step* step);              \
  QOR_DEF_API int qor_dft_def_ownsc##stem##_64fc(qor_zups_64fc* data, const qor_zups_step* step);              \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_32f(float* re, float* im, const qor_zups_step* step);             \
  QOR_DEF_API int qor_dft_def_ownscr##stem##_64f(double* re, double* im, const qor_zups_step* step);

QOR_ZUPS_STEP_RADICES(QOR_ZUPS_STEP_DECL_C, Fwd)
QOR_ZUPS_STEP_RADICES(QOR_ZUPS_STEP_DECL_C, Inv)
QOR_ZUPS_OUTORD_RADICES(QOR_ZUPS_OUTORD_DECL_C, Fwd)
QOR_ZUPS_OUTORD_RADICES(QOR_ZUPS_OUTORD_DECL_C, Inv)

// ---- Small-kernel tables -------------------------------------------------
// Indexed by length minus 1 (DFT, lengths 1 to 16) or by order (FFT,
// orders 0 to 5). c: interleaved (src, dst); cr: split (re, im, re, im);
// the _scale forms take the factor as a last argument.
extern "C" {
using zups_small_c32 = void (*)(const float* src, float* dst);
using zups_small_c64 = void (*)(const double* src, double* dst);
using zups_small_c32s = void (*)(const float* src, float* dst, float scale);
using zups_small_c64s = void (*)(const double* src, double* dst, double scale);
using zups_small_cr32 = void (*)(const float* sre, const float* sim, float* dre, float* dim);
using zups_small_cr64 = void (*)(const double* sre, const double* sim, double* dre, double* dim);
using zups_small_cr32s = void (*)(const float* sre, const float* sim, float* dre, float* dim, float scale);
using zups_small_cr64s = void (*)(const double* sre, const double* sim, double* dre, double* dim, double scale);
}

#define QOR_ZUPS_SMALL_TABLES(X)                                                   \
  X(tbl_cDFTfwd_small_32, zups_small_c32, 16)                                      \
  X(tbl_cDFTfwd_small_64, zups_small_c64, 16)                                      \
  X(tbl_cDFXinv_small_32, zups_small_c32, 16)                                      \
  X(tbl_cDFXinv_small_64, zups_small_c64, 16)                                      \
  X(tbl_cDFTfwd_small_scale_32, zups_small_c32s, 16)                               \
  X(tbl_cDFTfwd_small_scale_64, zups_small_c64s, 16)                               \
  X(tbl_cDFXinv_small_scale_32, zups_small_c32s, 16)                               \
  X(tbl_cDFXinv_small_scale_64, zups_small_c64s, 16)                               \
  X(tbl_crDFTfwd_small_32, zups_small_cr32, 16)                                    \
  X(tbl_crDFTfwd_small_64, zups_small_cr64, 16)                                    \
  X(tbl_crDFXinv_small_32, zups_small_cr32, 16)                                    \
  X(tbl_crDFXinv_small_64, zups_small_cr64, 16)                                    \
  X(tbl_crDFTfwd_small_scale_32, zups_small_cr32s, 16)                             \
  X(tbl_crDFTfwd_small_scale_64, zups_small_cr64s, 16)                             \
  X(tbl_crDFXinv_small_scale_32, zups_small_cr32s, 16)                             \
  X(tbl_crDFXinv_small_scale_64, zups_small_cr64s, 16)                             \
  X(tbl_cFFTfwd_small_32, zups_small_c32, 6)                                       \
  X(tbl_cFFTfwd_small_64, zups_small_c64, 6)                                       \
  X(tbl_cFFTinv_small_32, zups_small_c32, 6)                                       \
  X(tbl_cFFTinv_small_64, zups_small_c64, 6)                                       \
  X(tbl_cFFTfwd_small_scale_32, zups_small_c32s, 6)                                \
  X(tbl_cFFTfwd_small_scale_64, zups_small_c64s, 6)                                \
  X(tbl_cFFTinv_small_scale_32, zups_small_c32s, 6)                                \
  X(tbl_cFFTinv_small_scale_64, zups_small_c64s, 6)

#define QOR_ZUPS_DECLARE_TABLE(name, type, count) \
  extern "C" __attribute__((visibility("default"))) const type qor_dft_def_##name[count];
QOR_ZUPS_SMALL_TABLES(QOR_ZUPS_DECLARE_TABLE)
#undef QOR_ZUPS_DECLARE_TABLE
