// The dispatching names of each element type, reachable from typed tests.
#pragma once
#include "blas/level2/dispatch.h"
#include "ref.h"

namespace l2t {

template <class T> struct Calls;

// Names common to all types, and the symmetric (real) or Hermitian
// (complex) members under one name each.
#define L2T_CALLS(t, T, sy, sb, sp, r1, p1, r2, p2, g1, g2, g2v) \
  template <> struct Calls<T> {                                    \
    static constexpr auto gemv = &qor_blas_##t##gemv;              \
    static constexpr auto gbmv = &qor_blas_##t##gbmv;              \
    static constexpr auto trmv = &qor_blas_##t##trmv;              \
    static constexpr auto trsv = &qor_blas_##t##trsv;              \
    static constexpr auto tbmv = &qor_blas_##t##tbmv;              \
    static constexpr auto tbsv = &qor_blas_##t##tbsv;              \
    static constexpr auto tpmv = &qor_blas_##t##tpmv;              \
    static constexpr auto tpsv = &qor_blas_##t##tpsv;              \
    static constexpr auto symv = &qor_blas_##t##sy;                \
    static constexpr auto sbmv = &qor_blas_##t##sb;                \
    static constexpr auto spmv = &qor_blas_##t##sp;                \
    static constexpr auto syr = &qor_blas_##t##r1;                 \
    static constexpr auto spr = &qor_blas_##t##p1;                 \
    static constexpr auto syr2 = &qor_blas_##t##r2;                \
    static constexpr auto spr2 = &qor_blas_##t##p2;                \
    static constexpr auto ger = &qor_blas_##t##g1;                 \
    static constexpr auto ger2 = &qor_blas_##t##g2;                \
    static constexpr auto gem2v = &qor_blas_##t##g2v;              \
  };
L2T_CALLS(s, float, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
L2T_CALLS(d, double, symv, sbmv, spmv, syr, spr, syr2, spr2, ger, ger, gem2vu)
L2T_CALLS(c, c32, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
L2T_CALLS(z, c64, hemv, hbmv, hpmv, her, hpr, her2, hpr2, gerc, geru, gem2vc)
#undef L2T_CALLS

}  // namespace l2t
