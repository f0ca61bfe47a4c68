// Dispatching names of the vector routines, defined by the core library.
//
// Kernels of other subsystems that need a vector routine call these, not a
// qor_blas_def_* body: the core routes each call to the loaded member again
// (and may split a long call across threads). They take the arguments of the
// kernel entries: everything by pointer, 64-bit integers, complex results
// through a leading pointer. The qor_blas_lp64_* forms take 32-bit integers.
// qor_blas_x?nrm2 always run on the calling thread.
#pragma once
#include "blas/level1/signatures.h"
#include "frame/services.h"

#define QOR_L1_DISPATCH(fn, name) QOR_SERV_API ::qor::blas1::fn qor_blas_##name;
#define QOR_L1_DISPATCH_C ,
#define QOR_L1_DISPATCH_T(l, T)                                  \
  QOR_L1_DISPATCH(axpy_fn<T>, l##axpy)                           \
  QOR_L1_DISPATCH(axpby_fn<T>, l##axpby)                         \
  QOR_L1_DISPATCH(copy_fn<T>, l##copy)                           \
  QOR_L1_DISPATCH(swap_fn<T>, l##swap)                           \
  QOR_L1_DISPATCH(scal_fn<T QOR_L1_DISPATCH_C T>, l##scal)       \
  QOR_L1_DISPATCH(iamax_fn<T>, i##l##amax)                       \
  QOR_L1_DISPATCH(iamax_fn<T>, i##l##amin)                       \
  QOR_L1_DISPATCH(gthr_fn<T>, l##gthr)                           \
  QOR_L1_DISPATCH(gthrz_fn<T>, l##gthrz)                         \
  QOR_L1_DISPATCH(sctr_fn<T>, l##sctr)                           \
  QOR_L1_DISPATCH(axpyi_fn<T>, l##axpyi)
QOR_FOR_EACH_TYPE(QOR_L1_DISPATCH_T)
#undef QOR_L1_DISPATCH_T

QOR_L1_DISPATCH(asum_fn<float>, sasum)
QOR_L1_DISPATCH(asum_fn<double>, dasum)
QOR_L1_DISPATCH(asum_fn<::qor::c32>, scasum)
QOR_L1_DISPATCH(asum_fn<::qor::c64>, dzasum)
QOR_L1_DISPATCH(nrm2_fn<float>, snrm2)
QOR_L1_DISPATCH(nrm2_fn<double>, dnrm2)
QOR_L1_DISPATCH(nrm2_fn<::qor::c32>, scnrm2)
QOR_L1_DISPATCH(nrm2_fn<::qor::c64>, dznrm2)
QOR_L1_DISPATCH(nrm2_fn<float>, xsnrm2)
QOR_L1_DISPATCH(nrm2_fn<double>, xdnrm2)
QOR_L1_DISPATCH(nrm2_fn<::qor::c32>, xscnrm2)
QOR_L1_DISPATCH(nrm2_fn<::qor::c64>, xdznrm2)

QOR_L1_DISPATCH(dot_fn<float>, sdot)
QOR_L1_DISPATCH(dot_fn<double>, ddot)
QOR_L1_DISPATCH(sdsdot_fn<>, sdsdot)
QOR_L1_DISPATCH(dsdot_fn<>, dsdot)
QOR_L1_DISPATCH(cdot_fn<::qor::c32>, cdotc)
QOR_L1_DISPATCH(cdot_fn<::qor::c32>, cdotu)
QOR_L1_DISPATCH(cdot_fn<::qor::c64>, zdotc)
QOR_L1_DISPATCH(cdot_fn<::qor::c64>, zdotu)

QOR_L1_DISPATCH(scal_fn<::qor::c32 QOR_L1_DISPATCH_C float>, csscal)
QOR_L1_DISPATCH(scal_fn<::qor::c64 QOR_L1_DISPATCH_C double>, zdscal)

QOR_L1_DISPATCH(rot_fn<float QOR_L1_DISPATCH_C float>, srot)
QOR_L1_DISPATCH(rot_fn<double QOR_L1_DISPATCH_C double>, drot)
QOR_L1_DISPATCH(rot_fn<::qor::c32 QOR_L1_DISPATCH_C ::qor::c32>, crot)
QOR_L1_DISPATCH(rot_fn<::qor::c64 QOR_L1_DISPATCH_C ::qor::c64>, zrot)
QOR_L1_DISPATCH(rot_fn<::qor::c32 QOR_L1_DISPATCH_C float>, csrot)
QOR_L1_DISPATCH(rot_fn<::qor::c64 QOR_L1_DISPATCH_C double>, zdrot)
QOR_L1_DISPATCH(rotm_fn<float>, srotm)
QOR_L1_DISPATCH(rotm_fn<double>, drotm)
QOR_L1_DISPATCH(rotg_fn<float>, srotg)
QOR_L1_DISPATCH(rotg_fn<double>, drotg)
QOR_L1_DISPATCH(crotg_fn<::qor::c32>, crotg)
QOR_L1_DISPATCH(crotg_fn<::qor::c64>, zrotg)
QOR_L1_DISPATCH(rotmg_fn<float>, srotmg)
QOR_L1_DISPATCH(rotmg_fn<double>, drotmg)

QOR_L1_DISPATCH(cabs1_fn<::qor::c32>, scabs1)
QOR_L1_DISPATCH(cabs1_fn<::qor::c64>, dcabs1)

QOR_L1_DISPATCH(doti_fn<float>, sdoti)
QOR_L1_DISPATCH(doti_fn<double>, ddoti)
QOR_L1_DISPATCH(cdoti_fn<::qor::c32>, cdotci)
QOR_L1_DISPATCH(cdoti_fn<::qor::c32>, cdotui)
QOR_L1_DISPATCH(cdoti_fn<::qor::c64>, zdotci)
QOR_L1_DISPATCH(cdoti_fn<::qor::c64>, zdotui)
QOR_L1_DISPATCH(roti_fn<float>, sroti)
QOR_L1_DISPATCH(roti_fn<double>, droti)

// 32-bit integer forms.
QOR_L1_DISPATCH(axpy_fn<float QOR_L1_DISPATCH_C int>, lp64_saxpy)
QOR_L1_DISPATCH(axpy_fn<double QOR_L1_DISPATCH_C int>, lp64_daxpy)
QOR_L1_DISPATCH(axpy_fn<::qor::c32 QOR_L1_DISPATCH_C int>, lp64_caxpy)
QOR_L1_DISPATCH(axpy_fn<::qor::c64 QOR_L1_DISPATCH_C int>, lp64_zaxpy)
QOR_L1_DISPATCH(dot_fn<float QOR_L1_DISPATCH_C int>, lp64_sdot)
QOR_L1_DISPATCH(dot_fn<double QOR_L1_DISPATCH_C int>, lp64_ddot)
QOR_L1_DISPATCH(cdot_fn<::qor::c32 QOR_L1_DISPATCH_C int>, lp64_cdotu)
QOR_L1_DISPATCH(cdot_fn<::qor::c64 QOR_L1_DISPATCH_C int>, lp64_zdotu)

#undef QOR_L1_DISPATCH
#undef QOR_L1_DISPATCH_C

namespace qor::blas1 {

// The dispatching names by element type, for code written once for all
// four. Complex types have dotc/dotu for dot, rscal and rrot for the real
// factor forms (csscal, csrot), rot for the complex-sine rotation.
template <class T> struct dispatch;

#define QOR_L1_BY_TYPE_COMMON(l)                        \
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
#define QOR_L1_BY_TYPE_REAL(l)                          \
  QOR_L1_BY_TYPE_COMMON(l)                              \
  static constexpr auto asum = &qor_blas_##l##asum;     \
  static constexpr auto nrm2 = &qor_blas_##l##nrm2;     \
  static constexpr auto dot = &qor_blas_##l##dot;       \
  static constexpr auto rot = &qor_blas_##l##rot;       \
  static constexpr auto rotm = &qor_blas_##l##rotm;     \
  static constexpr auto rotg = &qor_blas_##l##rotg;     \
  static constexpr auto rotmg = &qor_blas_##l##rotmg;   \
  static constexpr auto doti = &qor_blas_##l##doti;     \
  static constexpr auto roti = &qor_blas_##l##roti;
// l: the type letter; r: the real letter (csscal, scabs1); a: the prefix of
// the real results (scasum, scnrm2).
#define QOR_L1_BY_TYPE_COMPLEX(l, r, a)                 \
  QOR_L1_BY_TYPE_COMMON(l)                              \
  static constexpr auto asum = &qor_blas_##a##asum;     \
  static constexpr auto nrm2 = &qor_blas_##a##nrm2;     \
  static constexpr auto dotc = &qor_blas_##l##dotc;     \
  static constexpr auto dotu = &qor_blas_##l##dotu;     \
  static constexpr auto rscal = &qor_blas_##l##r##scal; \
  static constexpr auto rrot = &qor_blas_##l##r##rot;   \
  static constexpr auto rot = &qor_blas_##l##rot;       \
  static constexpr auto rotg = &qor_blas_##l##rotg;     \
  static constexpr auto dotci = &qor_blas_##l##dotci;   \
  static constexpr auto dotui = &qor_blas_##l##dotui;   \
  static constexpr auto cabs1 = &qor_blas_##r##cabs1;

template <> struct dispatch<float> { QOR_L1_BY_TYPE_REAL(s) };
template <> struct dispatch<double> { QOR_L1_BY_TYPE_REAL(d) };
template <> struct dispatch<c32> { QOR_L1_BY_TYPE_COMPLEX(c, s, sc) };
template <> struct dispatch<c64> { QOR_L1_BY_TYPE_COMPLEX(z, d, dz) };

#undef QOR_L1_BY_TYPE_COMMON
#undef QOR_L1_BY_TYPE_REAL
#undef QOR_L1_BY_TYPE_COMPLEX

}  // namespace qor::blas1
