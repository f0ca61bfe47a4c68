// Exported LAPACK kernels of the kernel library: the small LU family.
//
// The core routes small LU factorisations, solves and inverses here. Each
// member accepts any size and stays correct at any size: small square
// matrices take straight-line bodies, everything else one simple loop
// (getrf.cpp, getrs.cpp, getri.cpp). Only the solve kernels check
// arguments and report through qor_serv_xerbla; the others trust their
// caller. None allocates or starts a thread.
// Signatures come from signatures.h; names are listed in
// exports/lapack.txt.
//
// trans is passed as a pointer to a qor::lapack::option_t: the letter's
// character code in a 32-bit integer, which the kernel reads whole.
#pragma once
#include "frame/export.h"
#include "lapack/signatures.h"

#define QOR_LAPACK_DECLARE(fn, name) QOR_DEF_API ::qor::lapack::fn qor_lapack_ps_def_##name;
#define QOR_LAPACK_DECLARE_LU(l, T)                  \
  QOR_LAPACK_DECLARE(getrf_fn<T>, l##getrf_small)     \
  QOR_LAPACK_DECLARE(getrfnp_fn<T>, l##getrfnp_small) \
  QOR_LAPACK_DECLARE(getrs_fn<T>, l##getrs_small)     \
  QOR_LAPACK_DECLARE(getri_fn<T>, l##getri_small)     \
  QOR_LAPACK_DECLARE(getrinp_fn<T>, l##getrinp_small)
QOR_FOR_EACH_TYPE(QOR_LAPACK_DECLARE_LU)
#undef QOR_LAPACK_DECLARE_LU

// Second entries of the complex inverse, reaching the same code as
// ?getri_small.
QOR_LAPACK_DECLARE(getri_fn<::qor::c32>, qor_dc_cgetri)
QOR_LAPACK_DECLARE(getri_fn<::qor::c64>, qor_dc_zgetri)
