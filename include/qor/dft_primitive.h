/*
 * qor: the one-dimensional transform engine (the primitive layer under the
 * transform descriptors), as the core library passes it through.
 *
 * A plan ("spec") is made for one length and one scale mode, and a call
 * transforms one contiguous array of that length. Two families:
 *
 *   DFT  any length from 1 up to 0x3ffffff elements (0x1ffffff for lengths
 *        that go through convolution), and powers of two up to 2^27. Small
 *        kernels up to 16, powers of two through the FFT family (a larger
 *        power of two fails with QOR_ZUPS_BAD_ORDER), a mixed-radix engine
 *        for lengths that factor well, direct evaluation and Bluestein
 *        convolution for the rest.
 *   FFT  powers of two, the order (log2 of the length) from 0 to 27.
 *
 * Each family comes for interleaved complex data (C_32fc, C_64fc) and for
 * split complex data, real and imaginary parts in two arrays (C_32f, C_64f).
 *
 * Memory: GetSize reports three byte counts (the plan, the scratch needed
 * only while Init runs, the work buffer of one transform). Init builds the
 * plan in caller memory of the reported size and keeps its address: pass
 * that same pointer to the transforms. InitAlloc does both steps with memory
 * of its own; Free releases only plans made by InitAlloc. A null work
 * buffer makes the transform allocate (and free) one itself.
 *
 * Forward is exp(-2 pi i j k / N), inverse exp(+2 pi i j k / N); the scale
 * flag chooses where 1/N or 1/sqrt(N) is applied. Plans are read-only during
 * transforms and may be shared between threads, each with its own buffer.
 * Every function returns a status; a failed transform leaves its output as
 * it was.
 */
#ifndef QOR_DFT_PRIMITIVE_H
#define QOR_DFT_PRIMITIVE_H

#include <stdint.h>

#include "qor/qor.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct qor_zups_32fc {
  float re, im;
} qor_zups_32fc;
typedef struct qor_zups_64fc {
  double re, im;
} qor_zups_64fc;

/* Plans are opaque; the kind a plan was made for is checked on every call. */
typedef struct qor_zups_dft_spec qor_zups_dft_spec;
typedef struct qor_zups_fft_spec qor_zups_fft_spec;

/* Status values. */
enum {
  QOR_ZUPS_OK = 0,
  QOR_ZUPS_BAD_SIZE = -6,       /* length below 1 or above a limit */
  QOR_ZUPS_NULL_POINTER = -8,
  QOR_ZUPS_NO_MEMORY = -9,
  QOR_ZUPS_WRONG_SPEC = -13,    /* a plan of another kind */
  QOR_ZUPS_BAD_ORDER = -17,     /* FFT order above 27 (power-of-two DFT above 2^27) */
  QOR_ZUPS_BAD_FLAG = -18       /* scale flag not one of the four below */
};

/* Scale flags: exactly one. */
enum {
  QOR_ZUPS_DIV_FWD_BY_N = 1,
  QOR_ZUPS_DIV_INV_BY_N = 2,
  QOR_ZUPS_DIV_BY_SQRTN = 4,
  QOR_ZUPS_NODIV_BY_ANY = 8
};

/* ---- DFT plans ----------------------------------------------------------- */
#define QOR_ZUPS_DFT_PLAN_FUNCTIONS(T)                                                               \
  QOR_API int qor_dft_zupsDFTGetSize_##T(int length, int flag, int hint, int* spec_size, int* init_size, \
                                         int* work_size);                                            \
  QOR_API int qor_dft_zupsDFXInit_##T(int length, int flag, int hint, uint8_t* spec, uint8_t* init);    \
  QOR_API int qor_dft_zupsDFXInitAlloc_##T(qor_zups_dft_spec** spec, int length, int flag, int hint);  \
  QOR_API int qor_dft_zupsDFTFree_##T(qor_zups_dft_spec* spec);                                        \
  QOR_API int qor_dft_zupsDFTGetBufSize_##T(const qor_zups_dft_spec* spec, int* size);
QOR_ZUPS_DFT_PLAN_FUNCTIONS(C_32fc)
QOR_ZUPS_DFT_PLAN_FUNCTIONS(C_64fc)
QOR_ZUPS_DFT_PLAN_FUNCTIONS(C_32f)
QOR_ZUPS_DFT_PLAN_FUNCTIONS(C_64f)
#undef QOR_ZUPS_DFT_PLAN_FUNCTIONS

QOR_API int qor_dft_zupsDFTFwd_CToC_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, const qor_zups_dft_spec* spec,
                                         uint8_t* buffer);
QOR_API int qor_dft_zupsDFTFwd_CToC_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, const qor_zups_dft_spec* spec,
                                         uint8_t* buffer);
QOR_API int qor_dft_zupsDFXInv_CToC_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, const qor_zups_dft_spec* spec,
                                         uint8_t* buffer);
QOR_API int qor_dft_zupsDFXInv_CToC_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, const qor_zups_dft_spec* spec,
                                         uint8_t* buffer);
QOR_API int qor_dft_zupsDFTFwd_CToC_32f(const float* src_re, const float* src_im, float* dst_re, float* dst_im,
                                        const qor_zups_dft_spec* spec, uint8_t* buffer);
QOR_API int qor_dft_zupsDFTFwd_CToC_64f(const double* src_re, const double* src_im, double* dst_re, double* dst_im,
                                        const qor_zups_dft_spec* spec, uint8_t* buffer);
QOR_API int qor_dft_zupsDFXInv_CToC_32f(const float* src_re, const float* src_im, float* dst_re, float* dst_im,
                                        const qor_zups_dft_spec* spec, uint8_t* buffer);
QOR_API int qor_dft_zupsDFXInv_CToC_64f(const double* src_re, const double* src_im, double* dst_re, double* dst_im,
                                        const qor_zups_dft_spec* spec, uint8_t* buffer);

/* ---- FFT plans (powers of two, by order) --------------------------------- */
#define QOR_ZUPS_FFT_PLAN_FUNCTIONS(T)                                                               \
  QOR_API int qor_dft_zupsFFTGetSize_##T(int order, int flag, int hint, int* spec_size, int* init_size,  \
                                         int* work_size);                                            \
  QOR_API int qor_dft_zupsFFTInit_##T(int order, int flag, int hint, uint8_t* spec, uint8_t* init);     \
  QOR_API int qor_dft_zupsFFTInitAlloc_##T(qor_zups_fft_spec** spec, int order, int flag, int hint);   \
  QOR_API int qor_dft_zupsFFTFree_##T(qor_zups_fft_spec* spec);                                        \
  QOR_API int qor_dft_ownsFFTGetBufSize_##T(const qor_zups_fft_spec* spec, int* size);
QOR_ZUPS_FFT_PLAN_FUNCTIONS(C_32fc)
QOR_ZUPS_FFT_PLAN_FUNCTIONS(C_64fc)
QOR_ZUPS_FFT_PLAN_FUNCTIONS(C_32f)
QOR_ZUPS_FFT_PLAN_FUNCTIONS(C_64f)
#undef QOR_ZUPS_FFT_PLAN_FUNCTIONS

#define QOR_ZUPS_FFT_INTERLEAVED(DIR, T, E)                                                          \
  QOR_API int qor_dft_zupsFFT##DIR##_CToC_##T(const E* src, E* dst, const qor_zups_fft_spec* spec,     \
                                              uint8_t* buffer);                                     \
  QOR_API int qor_dft_zupsFFT##DIR##_CToC_##T##_I(E* srcdst, const qor_zups_fft_spec* spec, uint8_t* buffer);
#define QOR_ZUPS_FFT_SPLIT(DIR, T, R)                                                                \
  QOR_API int qor_dft_zupsFFT##DIR##_CToC_##T(const R* src_re, const R* src_im, R* dst_re, R* dst_im,   \
                                              const qor_zups_fft_spec* spec, uint8_t* buffer);      \
  QOR_API int qor_dft_zupsFFT##DIR##_CToC_##T##_I(R* re, R* im, const qor_zups_fft_spec* spec, uint8_t* buffer);
QOR_ZUPS_FFT_INTERLEAVED(Fwd, 32fc, qor_zups_32fc)
QOR_ZUPS_FFT_INTERLEAVED(Fwd, 64fc, qor_zups_64fc)
QOR_ZUPS_FFT_INTERLEAVED(Inv, 32fc, qor_zups_32fc)
QOR_ZUPS_FFT_INTERLEAVED(Inv, 64fc, qor_zups_64fc)
QOR_ZUPS_FFT_SPLIT(Fwd, 32f, float)
QOR_ZUPS_FFT_SPLIT(Fwd, 64f, double)
QOR_ZUPS_FFT_SPLIT(Inv, 32f, float)
QOR_ZUPS_FFT_SPLIT(Inv, 64f, double)
#undef QOR_ZUPS_FFT_INTERLEAVED
#undef QOR_ZUPS_FFT_SPLIT

/* ---- Vector helpers the engine uses --------------------------------------
 * len below 1 gives QOR_ZUPS_BAD_SIZE, a null array QOR_ZUPS_NULL_POINTER. */
QOR_API uint8_t* qor_dft_zupsMalloc_8u(int len); /* 64-byte aligned, or null */
QOR_API float* qor_dft_zupsMalloc_32f(int len);  /* len elements; free them with qor_dft_zupsFree */
QOR_API double* qor_dft_zupsMalloc_64f(int len);
QOR_API qor_zups_32fc* qor_dft_zupsMalloc_32fc(int len);
QOR_API qor_zups_64fc* qor_dft_zupsMalloc_64fc(int len);
QOR_API void qor_dft_zupsFree(void* p);
QOR_API int qor_dft_zupsMulC_32f_I(float value, float* srcdst, int len);
QOR_API int qor_dft_zupsMulC_64f_I(double value, double* srcdst, int len);
QOR_API int qor_dft_zupsMulC_32fc_I(qor_zups_32fc value, qor_zups_32fc* srcdst, int len);
QOR_API int qor_dft_zupsMulC_64fc_I(qor_zups_64fc value, qor_zups_64fc* srcdst, int len);
QOR_API int qor_dft_zupsMul_32f_I(const float* src, float* srcdst, int len);
QOR_API int qor_dft_zupsMul_64f_I(const double* src, double* srcdst, int len);
QOR_API int qor_dft_zupsMul_32fc_I(const qor_zups_32fc* src, qor_zups_32fc* srcdst, int len);
QOR_API int qor_dft_zupsMul_64fc_I(const qor_zups_64fc* src, qor_zups_64fc* srcdst, int len);
QOR_API int qor_dft_zupsConj_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, int len);
QOR_API int qor_dft_zupsConj_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, int len);
QOR_API int qor_dft_zupsZero_32f(float* dst, int len);
QOR_API int qor_dft_zupsZero_64f(double* dst, int len);
QOR_API int qor_dft_zupsZero_32fc(qor_zups_32fc* dst, int len);
QOR_API int qor_dft_zupsZero_64fc(qor_zups_64fc* dst, int len);
QOR_API int qor_dft_zupsCopy_32f(const float* src, float* dst, int len);
QOR_API int qor_dft_zupsCopy_64f(const double* src, double* dst, int len);
QOR_API int qor_dft_zupsCopy_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, int len);
QOR_API int qor_dft_zupsCopy_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, int len);

/* The transform subsystem's status for a primitive status: 0 for 0, 3 for
 * a null pointer, 1 for no memory, 7 for anything else. */
QOR_API unsigned int qor_dft_transfer_zup_qor_error(int status);

/* ---- Building blocks -------------------------------------------------------
 * The engine's step kernels, exported by the kernel library as
 *   ownscDft{Fwd,Inv}_Fact<r>_{32fc,64fc}      r = 2,3,4,5,7,11,13; generic: Fact
 *   ownscDft{Fwd,Inv}_Prime<p>_{32fc,64fc}     p = 2,3,4,5,6,7,8,11,13,16; generic: Prime
 *   ownscDftOutOrd{Fwd,Inv}_Fact<r>_...        r = 2,3,4,5,7,11,13
 *   ownscDftOutOrd{Fwd,Inv}_Prime<p>_...       p = 3,5,7,11,13
 * and the same with "cr" for split data (ownscrDftFwd_Fact5_64f, ...).
 *
 * One self-sorting step of radix r over an array seen as rows:
 *   for p < rest, c < count, q < width, with a_j = src[q + in_stride*(c + count*(p + j*rest))]:
 *   dst[q + out_stride*(c + count*(r*p + k))] = (sum_j a_j w^(j k)) * t_k(p),  k < r,
 * w = exp(-+2 pi i / r), t_k(p) = twiddle[(k-1)*rest + p] (conjugated for Inv),
 * t_0 = 1. Prime kernels have no twiddles. The generic kernels take any odd r
 * with table[t] = exp(-2 pi i t / r), t < r.
 * An out-of-order step works in place on count blocks of r*rest elements:
 *   a_j = data[b + p + j*rest] -> data[b + p + k*rest] = (sum_j a_j w^(j k)) * t_k(p),
 * without twiddles for the Prime forms.
 * qor_dft_step_* runs the named kernel (for example "ownscDftFwd_Fact5_64fc");
 * an unknown name gives QOR_ZUPS_WRONG_SPEC. */
typedef struct qor_zups_step {
  int radix;
  int rest;
  int64_t count;
  int64_t width;
  int64_t in_stride;
  int64_t out_stride;
  const void* twiddle;
  const void* table;
} qor_zups_step;

QOR_API int qor_dft_step(const char* kernel, const void* src, void* dst, const qor_zups_step* step);
QOR_API int qor_dft_step_split(const char* kernel, const void* src_re, const void* src_im, void* dst_re,
                               void* dst_im, const qor_zups_step* step);
QOR_API int qor_dft_step_outord(const char* kernel, void* data, const qor_zups_step* step);
QOR_API int qor_dft_step_outord_split(const char* kernel, void* re, void* im, const qor_zups_step* step);

#ifdef __cplusplus
}
#endif
#endif
