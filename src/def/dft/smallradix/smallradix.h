// Straight-line complex transforms of lengths 2 to 64 in double precision.
//
// Each kernel computes the full transform of its length on contiguous
// interleaved data, forward exp(-2 pi i jk/n) or inverse exp(+2 pi i jk/n),
// without scaling: whoever needs a scale applies it to the result. The
// input and the output may be the same array. A kernel has the signature of
// a node's kernel slot (input, output, the node record, a work buffer) so
// that commit can store it there directly for a length from 2 to 64 that is
// not a power of two; it uses neither the record nor the buffer, which may
// be null, and always returns status 0.
//
// The kernels themselves (smallradixDFTFwd_CToC_<n>_64fc and
// smallradixDFXInv_CToC_<n>_64fc) are written into the build tree by
// tools/gen_smallradix.py and are reached only through the two tables.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "qor/dft_primitive.h"

struct dfxi_node;

extern "C" {
// Data arrive untyped, as in every kernel slot of a node: interleaved
// double complex values (qor_zups_64fc).
using zsmallradix_kernel = unsigned int (*)(const void* in, void* out, dfxi_node* node, void* buffer);
}

namespace qor::dft::smallradix {
// The tables cover every length from kMinLength to kMaxLength; the entry of
// length n is at n - kMinLength.
inline constexpr int kMinLength = 2;
inline constexpr int kMaxLength = 64;
inline constexpr int kCount = kMaxLength - kMinLength + 1;
}  // namespace qor::dft::smallradix

QOR_DEF_API const zsmallradix_kernel qor_dft_def_zsmallradix_forward[qor::dft::smallradix::kCount];
QOR_DEF_API const zsmallradix_kernel qor_dft_def_zsmallradix_inverse[qor::dft::smallradix::kCount];
