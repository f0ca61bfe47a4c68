// Dispatching names of the Level 2 BLAS, defined by the core library.
//
// Kernels of other subsystems that need a Level 2 routine call these, never
// a qor_blas_def_* body: the core chooses the implementation again. They take
// the arguments of the reference routine, all by pointer, with 64-bit
// integers and no hidden lengths, and check nothing: the caller passes valid
// arguments. The core expands the same list for its definitions, so a
// signature is written once.
#pragma once
#include <cstdint>

#include "frame/types.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_L2_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_L2_DISPATCH extern "C"
#endif

#define QOR_L2D_I const std::int64_t*
#define QOR_L2D_C const char*

// X(name, kernel, (parameters), (arguments)) for every dispatching name of
// one element type t, T (real type R).
#define QOR_L2D_COMMON(X, t, T, R)                                                                          \
  X(t##gemv, x##t##gemv,                                                                                   \
    (QOR_L2D_C trans, QOR_L2D_I m, QOR_L2D_I n, const T* alpha, const T* a, QOR_L2D_I lda, const T* x,     \
     QOR_L2D_I incx, const T* beta, T* y, QOR_L2D_I incy),                                                 \
    (trans, m, n, alpha, a, lda, x, incx, beta, y, incy))                                                  \
  X(t##gbmv, t##gbmv,                                                                                      \
    (QOR_L2D_C trans, QOR_L2D_I m, QOR_L2D_I n, QOR_L2D_I kl, QOR_L2D_I ku, const T* alpha, const T* a,    \
     QOR_L2D_I lda, const T* x, QOR_L2D_I incx, const T* beta, T* y, QOR_L2D_I incy),                      \
    (trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy))                                          \
  X(t##trmv, x##t##trmv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, const T* a, QOR_L2D_I lda, T* x,        \
     QOR_L2D_I incx),                                                                                      \
    (uplo, trans, diag, n, a, lda, x, incx))                                                               \
  X(t##trsv, x##t##trsv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, const T* a, QOR_L2D_I lda, T* x,        \
     QOR_L2D_I incx),                                                                                      \
    (uplo, trans, diag, n, a, lda, x, incx))                                                               \
  X(t##tbmv, x##t##tbmv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, QOR_L2D_I k, const T* a, QOR_L2D_I lda, \
     T* x, QOR_L2D_I incx),                                                                                \
    (uplo, trans, diag, n, k, a, lda, x, incx))                                                            \
  X(t##tbsv, x##t##tbsv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, QOR_L2D_I k, const T* a, QOR_L2D_I lda, \
     T* x, QOR_L2D_I incx),                                                                                \
    (uplo, trans, diag, n, k, a, lda, x, incx))                                                            \
  X(t##tpmv, x##t##tpmv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, const T* ap, T* x, QOR_L2D_I incx),     \
    (uplo, trans, diag, n, ap, x, incx))                                                                   \
  X(t##tpsv, x##t##tpsv,                                                                                   \
    (QOR_L2D_C uplo, QOR_L2D_C trans, QOR_L2D_C diag, QOR_L2D_I n, const T* ap, T* x, QOR_L2D_I incx),     \
    (uplo, trans, diag, n, ap, x, incx))

// Symmetric (real) or Hermitian (complex) members: sy names symv, sb
// sbmv, and so on; TA is the type of alpha of the rank-one updates.
#define QOR_L2D_SYM(X, t, T, TA, sy, sb, sp, r1, p1, r2, p2)                                                \
  X(t##sy, x##t##sy,                                                                                       \
    (QOR_L2D_C uplo, QOR_L2D_I n, const T* alpha, const T* a, QOR_L2D_I lda, const T* x, QOR_L2D_I incx,   \
     const T* beta, T* y, QOR_L2D_I incy),                                                                 \
    (uplo, n, alpha, a, lda, x, incx, beta, y, incy))                                                      \
  X(t##sb, t##sb,                                                                                          \
    (QOR_L2D_C uplo, QOR_L2D_I n, QOR_L2D_I k, const T* alpha, const T* a, QOR_L2D_I lda, const T* x,      \
     QOR_L2D_I incx, const T* beta, T* y, QOR_L2D_I incy),                                                 \
    (uplo, n, k, alpha, a, lda, x, incx, beta, y, incy))                                                   \
  X(t##sp, x##t##sp,                                                                                       \
    (QOR_L2D_C uplo, QOR_L2D_I n, const T* alpha, const T* ap, const T* x, QOR_L2D_I incx, const T* beta,  \
     T* y, QOR_L2D_I incy),                                                                                \
    (uplo, n, alpha, ap, x, incx, beta, y, incy))                                                          \
  X(t##r1, x##t##r1, (QOR_L2D_C uplo, QOR_L2D_I n, const TA* alpha, const T* x, QOR_L2D_I incx, T* a,      \
                      QOR_L2D_I lda),                                                                      \
    (uplo, n, alpha, x, incx, a, lda))                                                                     \
  X(t##p1, x##t##p1, (QOR_L2D_C uplo, QOR_L2D_I n, const TA* alpha, const T* x, QOR_L2D_I incx, T* ap),    \
    (uplo, n, alpha, x, incx, ap))                                                                         \
  X(t##r2, x##t##r2,                                                                                       \
    (QOR_L2D_C uplo, QOR_L2D_I n, const T* alpha, const T* x, QOR_L2D_I incx, const T* y, QOR_L2D_I incy,  \
     T* a, QOR_L2D_I lda),                                                                                 \
    (uplo, n, alpha, x, incx, y, incy, a, lda))                                                            \
  X(t##p2, x##t##p2,                                                                                       \
    (QOR_L2D_C uplo, QOR_L2D_I n, const T* alpha, const T* x, QOR_L2D_I incx, const T* y, QOR_L2D_I incy,  \
     T* ap),                                                                                               \
    (uplo, n, alpha, x, incx, y, incy, ap))

#define QOR_L2D_GER(X, t, T, name)                                                                          \
  X(t##name, x##t##name,                                                                                   \
    (QOR_L2D_I m, QOR_L2D_I n, const T* alpha, const T* x, QOR_L2D_I incx, const T* y, QOR_L2D_I incy,     \
     T* a, QOR_L2D_I lda),                                                                                 \
    (m, n, alpha, x, incx, y, incy, a, lda))

#define QOR_L2D_GEM2V(X, t, T, name)                                                                        \
  X(t##name, x##t##name,                                                                                   \
    (QOR_L2D_I m, QOR_L2D_I n, const T* alpha, const T* a, QOR_L2D_I lda, const T* x1, QOR_L2D_I incx1,    \
     const T* x2, QOR_L2D_I incx2, const T* beta, T* y1, QOR_L2D_I incy1, T* y2, QOR_L2D_I incy2),         \
    (m, n, alpha, a, lda, x1, incx1, x2, incx2, beta, y1, incy1, y2, incy2))

#define QOR_L2D_MIXED(X, t, C, R)                                                                           \
  X(t##gemv, x##t##gemv,                                                                                   \
    (QOR_L2D_C trans, QOR_L2D_I m, QOR_L2D_I n, const C* alpha, const R* a, QOR_L2D_I lda, const C* x,     \
     QOR_L2D_I incx, const C* beta, C* y, QOR_L2D_I incy),                                                 \
    (trans, m, n, alpha, a, lda, x, incx, beta, y, incy))

// Every Level 2 dispatching name.
#define QOR_L2D_ALL(X)                                                                                      \
  QOR_L2D_COMMON(X, s, float, float)                                                                        \
  QOR_L2D_COMMON(X, d, double, double)                                                                      \
  QOR_L2D_COMMON(X, c, ::qor::c32, float)                                                                   \
  QOR_L2D_COMMON(X, z, ::qor::c64, double)                                                                  \
  QOR_L2D_SYM(X, s, float, float, symv, sbmv, spmv, syr, spr, syr2, spr2)                                   \
  QOR_L2D_SYM(X, d, double, double, symv, sbmv, spmv, syr, spr, syr2, spr2)                                 \
  QOR_L2D_SYM(X, c, ::qor::c32, float, hemv, hbmv, hpmv, her, hpr, her2, hpr2)                              \
  QOR_L2D_SYM(X, z, ::qor::c64, double, hemv, hbmv, hpmv, her, hpr, her2, hpr2)                             \
  QOR_L2D_GER(X, s, float, ger)                                                                             \
  QOR_L2D_GER(X, d, double, ger)                                                                            \
  QOR_L2D_GER(X, c, ::qor::c32, gerc)                                                                       \
  QOR_L2D_GER(X, c, ::qor::c32, geru)                                                                       \
  QOR_L2D_GER(X, z, ::qor::c64, gerc)                                                                       \
  QOR_L2D_GER(X, z, ::qor::c64, geru)                                                                       \
  QOR_L2D_GEM2V(X, s, float, gem2vu)                                                                        \
  QOR_L2D_GEM2V(X, d, double, gem2vu)                                                                       \
  QOR_L2D_GEM2V(X, c, ::qor::c32, gem2vc)                                                                   \
  QOR_L2D_GEM2V(X, z, ::qor::c64, gem2vc)                                                                   \
  QOR_L2D_MIXED(X, sc, ::qor::c32, float)                                                                   \
  QOR_L2D_MIXED(X, dz, ::qor::c64, double)

#define QOR_L2D_ARGS(...) __VA_ARGS__
#define QOR_L2D_DECLARE(name, kernel, params, args) QOR_L2_DISPATCH void qor_blas_##name params;
QOR_L2D_ALL(QOR_L2D_DECLARE)
#undef QOR_L2D_DECLARE

namespace qor::blas2 {

// The dispatching names by element type, for code written once for all
// four: the symmetric (real) or Hermitian (complex) members under one name
// each; ger is ger or gerc, geru is ger or geru.
template <class T> struct dispatch;

#define QOR_L2D_BY_TYPE(t, T, sy, sb, sp, r1, p1, r2, p2, g1, g2, g2v) \
  template <> struct dispatch<T> {                                    \
    static constexpr auto gemv = &qor_blas_##t##gemv;                 \
    static constexpr auto gbmv = &qor_blas_##t##gbmv;                 \
    static constexpr auto trmv = &qor_blas_##t##trmv;                 \
    static constexpr auto trsv = &qor_blas_##t##trsv;                 \
    static constexpr auto tbmv = &qor_blas_##t##tbmv;                 \
    static constexpr auto tbsv = &qor_blas_##t##tbsv;                 \
    static constexpr auto tpmv = &qor_blas_##t##tpmv;                 \
    static constexpr auto tpsv = &qor_blas_##t##tpsv;                 \
    static constexpr auto symv = &qor_blas_##t##sy;                   \
    static constexpr auto sbmv = &qor_blas_##t##sb;                   \
    static constexpr auto spmv = &qor_blas_##t##sp;                   \
    static constexpr auto syr = &qor_blas_##t##r1;                    \
    static constexpr auto spr = &qor_blas_##t##p1;                    \
    static constexpr auto syr2 = &qor_blas_##t##r2;                   \
    static constexpr auto spr2 = &qor_blas_##t##p2;                   \
    static constexpr auto ger = &qor_blas_##t##g1;                    \
    static constexpr auto geru = &qor_blas_##t##g2;                   \
    static constexpr auto gem2v = &qor_blas_##t##g2v;                 \
  };
QOR_L2D_BY_TYPE(s, float, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
QOR_L2D_BY_TYPE(d, double, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
QOR_L2D_BY_TYPE(c, ::qor::c32, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
QOR_L2D_BY_TYPE(z, ::qor::c64, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
#undef QOR_L2D_BY_TYPE

}  // namespace qor::blas2
