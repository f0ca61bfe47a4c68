// Exported vector kernels of the kernel library.
//
// The core calls these; they check no argument, read each scalar once, and
// take only the quick returns documented with each routine. Signatures come
// from signatures.h. Names are listed in exports/blas_level1.txt.
#pragma once
#include "blas/level1/signatures.h"
#include "frame/export.h"

#define QOR_L1_DECLARE(fn, name) QOR_DEF_API ::qor::blas1::fn qor_blas_def_##name;
#define QOR_L1_DECLARE_T(l, T)                                     \
  QOR_L1_DECLARE(axpy_fn<T>, x##l##axpy)                           \
  QOR_L1_DECLARE(axpby_fn<T>, x##l##axpby)                         \
  QOR_L1_DECLARE(copy_fn<T>, x##l##copy)                           \
  QOR_L1_DECLARE(swap_fn<T>, x##l##swap)                           \
  QOR_L1_DECLARE(scal_fn<T QOR_L1_COMMA T>, x##l##scal)            \
  QOR_L1_DECLARE(iamax_fn<T>, xi##l##amax)                         \
  QOR_L1_DECLARE(iamax_fn<T>, xi##l##amin)                         \
  QOR_L1_DECLARE(amax_kernel_fn<T>, x##l##amax_kernel)             \
  QOR_L1_DECLARE(amax_kernel_fn<T>, x##l##amin_kernel)             \
  QOR_L1_DECLARE(search_kernel_fn<T>, xi##l##amax_kernel)          \
  QOR_L1_DECLARE(search_kernel_fn<T>, xi##l##amin_kernel)          \
  QOR_L1_DECLARE(index_kernel_fn<T>, x##l##index_kernel)           \
  QOR_L1_DECLARE(gthr_fn<T>, l##gthr)                              \
  QOR_L1_DECLARE(gthrz_fn<T>, l##gthrz)                            \
  QOR_L1_DECLARE(sctr_fn<T>, l##sctr)                              \
  QOR_L1_DECLARE(axpyi_fn<T>, l##axpyi)
#define QOR_L1_COMMA ,

QOR_FOR_EACH_TYPE(QOR_L1_DECLARE_T)

// Sums of magnitudes and Euclidean norms.
QOR_L1_DECLARE(asum_fn<float>, xsasum)
QOR_L1_DECLARE(asum_fn<double>, xdasum)
QOR_L1_DECLARE(asum_fn<::qor::c32>, xscasum)
QOR_L1_DECLARE(asum_fn<::qor::c64>, xdzasum)
QOR_L1_DECLARE(nrm2_fn<float>, xsnrm2)
QOR_L1_DECLARE(nrm2_fn<double>, xdnrm2)
QOR_L1_DECLARE(nrm2_fn<::qor::c32>, xscnrm2)
QOR_L1_DECLARE(nrm2_fn<::qor::c64>, xdznrm2)

// Dot products.
QOR_L1_DECLARE(dot_fn<float>, xsdot)
QOR_L1_DECLARE(dot_fn<double>, xddot)
QOR_L1_DECLARE(sdsdot_fn<>, xsdsdot)
QOR_L1_DECLARE(dsdot_fn<>, xdsdot)
QOR_L1_DECLARE(cdot_fn<::qor::c32>, xcdotc)
QOR_L1_DECLARE(cdot_fn<::qor::c32>, xcdotu)
QOR_L1_DECLARE(cdot_fn<::qor::c64>, xzdotc)
QOR_L1_DECLARE(cdot_fn<::qor::c64>, xzdotu)

// axpy without the test for a zero alpha, for the band solves.
QOR_L1_DECLARE(axpy_fn<::qor::c32>, xcaxpy_a)
QOR_L1_DECLARE(axpy_fn<::qor::c64>, xzaxpy_a)

// Scaling of complex vectors by a real factor.
QOR_L1_DECLARE(scal_fn<::qor::c32 QOR_L1_COMMA float>, xcsscal)
QOR_L1_DECLARE(scal_fn<::qor::c64 QOR_L1_COMMA double>, xzdscal)

// Rotations.
QOR_L1_DECLARE(rot_fn<float QOR_L1_COMMA float>, xsrot)
QOR_L1_DECLARE(rot_fn<double QOR_L1_COMMA double>, xdrot)
QOR_L1_DECLARE(rot_fn<::qor::c32 QOR_L1_COMMA ::qor::c32>, xcrot)
QOR_L1_DECLARE(rot_fn<::qor::c64 QOR_L1_COMMA ::qor::c64>, xzrot)
QOR_L1_DECLARE(rot_fn<::qor::c32 QOR_L1_COMMA float>, xcsrot)
QOR_L1_DECLARE(rot_fn<::qor::c64 QOR_L1_COMMA double>, xzdrot)
QOR_L1_DECLARE(rotm_fn<float>, xsrotm)
QOR_L1_DECLARE(rotm_fn<double>, xdrotm)
QOR_L1_DECLARE(rotg_fn<float>, srotg)
QOR_L1_DECLARE(rotg_fn<double>, drotg)
QOR_L1_DECLARE(crotg_fn<::qor::c32>, crotg)
QOR_L1_DECLARE(crotg_fn<::qor::c64>, zrotg)
QOR_L1_DECLARE(rotmg_fn<float>, srotmg)
QOR_L1_DECLARE(rotmg_fn<double>, drotmg)

// |re| + |im| of one complex element.
QOR_L1_DECLARE(cabs1_fn<::qor::c32>, scabs1)
QOR_L1_DECLARE(cabs1_fn<::qor::c64>, dcabs1)

// Sparse dot products and rotation.
QOR_L1_DECLARE(doti_fn<float>, sdoti)
QOR_L1_DECLARE(doti_fn<double>, ddoti)
QOR_L1_DECLARE(cdoti_fn<::qor::c32>, cdotci)
QOR_L1_DECLARE(cdoti_fn<::qor::c32>, cdotui)
QOR_L1_DECLARE(cdoti_fn<::qor::c64>, zdotci)
QOR_L1_DECLARE(cdoti_fn<::qor::c64>, zdotui)
QOR_L1_DECLARE(roti_fn<float>, sroti)
QOR_L1_DECLARE(roti_fn<double>, droti)

#undef QOR_L1_DECLARE_T
