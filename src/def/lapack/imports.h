// LAPACK routines the kernels import from the core library. The core
// defines them with these declarations, so the signatures are written once.
#pragma once
#include "lapack/signatures.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_LAPACK_CORE_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_LAPACK_CORE_API extern "C"
#endif

// Machine parameters of binary32 and binary64 by LAPACK letter, upper or
// lower case: E relative machine precision (eps), S safe minimum (sfmin),
// B base, P eps * base, N mantissa digits, R 1.0 (rounding to nearest),
// M minimum exponent, U underflow threshold, L maximum exponent, O overflow
// threshold. Any other letter gives 0.
QOR_LAPACK_CORE_API ::qor::lapack::lamch_fn<float> qor_lapack_slamch;
QOR_LAPACK_CORE_API ::qor::lapack::lamch_fn<double> qor_lapack_dlamch;
