/*
 * sgemm, dgemm, cgemm and zgemm in the Fortran BLAS interface:
 * C = alpha * op(A) * op(B) + beta * C, with op selected by 'N', 'T' or 'C'
 * (conjugate transpose for the complex forms). Names with a trailing
 * underscore take 32-bit integers, the _64_ twins 64-bit ones. Every
 * argument is by address; complex scalars and arrays are interleaved real
 * and imaginary pairs; each character argument has a hidden length after
 * the last argument (gfortran convention), which is not read.
 */
#ifndef QOR_BLAS_GEMM_H
#define QOR_BLAS_GEMM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_BLAS_GEMM_DECL(SFX, INT)                                                                          \
  void sgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,           \
                  const float* alpha, const float* a, const INT* lda, const float* b, const INT* ldb,          \
                  const float* beta, float* c, const INT* ldc, size_t transa_len, size_t transb_len);         \
  void dgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,           \
                  const double* alpha, const double* a, const INT* lda, const double* b, const INT* ldb,       \
                  const double* beta, double* c, const INT* ldc, size_t transa_len, size_t transb_len);       \
  void cgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,           \
                  const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,             \
                  const void* beta, void* c, const INT* ldc, size_t transa_len, size_t transb_len);           \
  void zgemm##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,           \
                  const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,             \
                  const void* beta, void* c, const INT* ldc, size_t transa_len, size_t transb_len);
QOR_BLAS_GEMM_DECL(_, int)
QOR_BLAS_GEMM_DECL(_64_, int64_t)
#undef QOR_BLAS_GEMM_DECL

#ifdef __cplusplus
}
#endif
#endif
