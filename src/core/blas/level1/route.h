// The dispatching names of the vector routines by element type, and the
// pieces the public interfaces share.
#pragma once
#include <cstdint>
#include <cstdlib>

#include "blas/level1/dispatch.h"

namespace qor::core::blas1 {

template <class T> struct route;

#define QOR_L1_ROUTE_COMMON(l)                          \
  static constexpr auto axpy = &qor_blas_##l##axpy;     \
  static constexpr auto axpby = &qor_blas_##l##axpby;   \
  static constexpr auto copy = &qor_blas_##l##copy;     \
  static constexpr auto swap = &qor_blas_##l##swap;     \
  static constexpr auto scal = &qor_blas_##l##scal;     \
  static constexpr auto iamax = &qor_blas_i##l##amax;   \
  static constexpr auto iamin = &qor_blas_i##l##amin;   \
  static constexpr auto gthr = &qor_blas_##l##gthr;     \
  static constexpr auto gthrz = &qor_blas_##l##gthrz;   \
  static constexpr auto sctr = &qor_blas_##l##sctr;     \
  static constexpr auto axpyi = &qor_blas_##l##axpyi;

template <> struct route<float> {
  QOR_L1_ROUTE_COMMON(s)
  static constexpr auto asum = &qor_blas_sasum;
  static constexpr auto nrm2 = &qor_blas_snrm2;
  static constexpr auto dot = &qor_blas_sdot;
  static constexpr auto rot = &qor_blas_srot;
  static constexpr auto rotm = &qor_blas_srotm;
  static constexpr auto rotg = &qor_blas_srotg;
  static constexpr auto rotmg = &qor_blas_srotmg;
  static constexpr auto doti = &qor_blas_sdoti;
  static constexpr auto roti = &qor_blas_sroti;
};
template <> struct route<double> {
  QOR_L1_ROUTE_COMMON(d)
  static constexpr auto asum = &qor_blas_dasum;
  static constexpr auto nrm2 = &qor_blas_dnrm2;
  static constexpr auto dot = &qor_blas_ddot;
  static constexpr auto rot = &qor_blas_drot;
  static constexpr auto rotm = &qor_blas_drotm;
  static constexpr auto rotg = &qor_blas_drotg;
  static constexpr auto rotmg = &qor_blas_drotmg;
  static constexpr auto doti = &qor_blas_ddoti;
  static constexpr auto roti = &qor_blas_droti;
};
template <> struct route<c32> {
  QOR_L1_ROUTE_COMMON(c)
  static constexpr auto asum = &qor_blas_scasum;
  static constexpr auto nrm2 = &qor_blas_scnrm2;
  static constexpr auto dotc = &qor_blas_cdotc;
  static constexpr auto dotu = &qor_blas_cdotu;
  static constexpr auto rscal = &qor_blas_csscal;
  static constexpr auto rrot = &qor_blas_csrot;
  static constexpr auto rot = &qor_blas_crot;
  static constexpr auto rotg = &qor_blas_crotg;
  static constexpr auto dotci = &qor_blas_cdotci;
  static constexpr auto dotui = &qor_blas_cdotui;
  static constexpr auto cabs1 = &qor_blas_scabs1;
};
template <> struct route<c64> {
  QOR_L1_ROUTE_COMMON(z)
  static constexpr auto asum = &qor_blas_dzasum;
  static constexpr auto nrm2 = &qor_blas_dznrm2;
  static constexpr auto dotc = &qor_blas_zdotc;
  static constexpr auto dotu = &qor_blas_zdotu;
  static constexpr auto rscal = &qor_blas_zdscal;
  static constexpr auto rrot = &qor_blas_zdrot;
  static constexpr auto rot = &qor_blas_zrot;
  static constexpr auto rotg = &qor_blas_zrotg;
  static constexpr auto dotci = &qor_blas_zdotci;
  static constexpr auto dotui = &qor_blas_zdotui;
  static constexpr auto cabs1 = &qor_blas_dcabs1;
};
#undef QOR_L1_ROUTE_COMMON

// Public arrays arrive as void pointers (complex) or as the real type.
template <class T, class P> inline const T* in(const P* p) { return reinterpret_cast<const T*>(p); }
template <class T, class P> inline T* out(P* p) { return reinterpret_cast<T*>(p); }

// Runs fn(first, count, idx) over the sparse index array indx of nz entries
// with `add` added to each entry and widened to 64 bits (the kernels take
// 1-based 64-bit indices). One pass when the converted array fits on the
// stack or can be allocated, pieces of it otherwise. An empty array still
// makes one call, so the kernel takes its own quick return.
template <class X, class F>
void with_indices(i64 nz, const X* indx, i64 add, F&& fn) {
  constexpr i64 kStack = 512;
  i64 stack[kStack];
  i64* buf = stack;
  i64 cap = kStack;
  i64* heap = nullptr;
  if (nz > kStack) {
    heap = static_cast<i64*>(std::malloc(static_cast<std::size_t>(nz) * sizeof(i64)));
    if (heap != nullptr) {
      buf = heap;
      cap = nz;
    }
  }
  if (nz <= 0) fn(i64{0}, nz, static_cast<const i64*>(nullptr));
  for (i64 s = 0; s < nz; s += cap) {
    const i64 len = nz - s < cap ? nz - s : cap;
    for (i64 i = 0; i < len; ++i) buf[i] = static_cast<i64>(indx[s + i]) + add;
    fn(s, len, static_cast<const i64*>(buf));
  }
  std::free(heap);
}

}  // namespace qor::core::blas1
