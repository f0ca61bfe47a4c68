// Exported names of the one-dimensional complex road: the commit of the
// default road and its compute entries, the batch drivers the core's
// threaded layer runs, their gather and scatter copies, and the small
// backend (its object is declared with the other backends in
// dft/node/backend.h).
#pragma once
#include "dft/backends/signatures.h"
#include "dft/node/backend.h"
#include "frame/export.h"
#include "frame/types.h"

QOR_DEF_API qor::dfxi::commit_core_fn qor_dft_def_commit_descriptor_core_d_c2c_1d;
QOR_DEF_API qor::dfxi::commit_core_fn qor_dft_def_commit_descriptor_core_s_c2c_1d;

// Compute entries of the default road: direction, precision, placement.
#define QOR_DFXI_C2C_1D_COMPUTE(X) \
  X(fwd, d, i) X(fwd, d, o) X(bwd, d, i) X(bwd, d, o) X(fwd, s, i) X(fwd, s, o) X(bwd, s, i) X(bwd, s, o)
#define QOR_DFXI_DECLARE_COMPUTE(dir, p, pl) \
  QOR_DEF_API qor::dfxi::compute_fn qor_dft_def_compute_##dir##_##p##_c2c_1d_##pl;
QOR_DFXI_C2C_1D_COMPUTE(QOR_DFXI_DECLARE_COMPUTE)
#undef QOR_DFXI_DECLARE_COMPUTE

// Drivers: z double, c single; interleaved or split by the node's storage.
QOR_DEF_API qor::dfxi::driver_fn qor_dft_def_xzforward;
QOR_DEF_API qor::dfxi::driver_fn qor_dft_def_xzbackward;
QOR_DEF_API qor::dfxi::driver_fn qor_dft_def_xcforward;
QOR_DEF_API qor::dfxi::driver_fn qor_dft_def_xcbackward;
QOR_DEF_API qor::dfxi::driver_out_fn qor_dft_def_xzforward_out;
QOR_DEF_API qor::dfxi::driver_out_fn qor_dft_def_xzbackward_out;
QOR_DEF_API qor::dfxi::driver_out_fn qor_dft_def_xcforward_out;
QOR_DEF_API qor::dfxi::driver_out_fn qor_dft_def_xcbackward_out;

QOR_DEF_API qor::dfxi::gather_fn<qor::c64> qor_dft_def_gather_z_z;
QOR_DEF_API qor::dfxi::scatter_fn<qor::c64> qor_dft_def_scatter_z_z;
QOR_DEF_API qor::dfxi::gather_fn<qor::c32> qor_dft_def_gather_c_c;
QOR_DEF_API qor::dfxi::scatter_fn<qor::c32> qor_dft_def_scatter_c_c;
