// Backends: the plug-in objects that the planner offers a node to.
//
// A backend is three pointers: `commit` takes (backend, node) and returns 0
// when it took the node, kDeclined when it did not (touching nothing), and
// any other status when it failed; `detach` takes (backend, node, 0) and
// gives the node up; the third slot is always null. The objects are
// constants; a node holds a null-terminated list of them, chosen when it is
// created, and the list order is the order of preference.
#pragma once
#include "dft/node/node.h"
#include "frame/export.h"

namespace qor::dfxi {
// Statuses that never leave the kernel library: a backend declining a node
// (the planner turns it into 3 or 9), and a soft failure of the factor
// search of the 1d-via-2d plan (commit goes on with a plain plan).
inline constexpr status kDeclined = 100;
inline constexpr status kNoFactorPair = 102;
}  // namespace qor::dfxi

struct dfxi_backend {
  std::uint32_t (*commit)(const dfxi_backend* self, dfxi_node* node);
  std::uint32_t (*detach)(const dfxi_backend* self, dfxi_node* node, int unused);
  const void* reserved;
};

// A null-terminated list of backends.
using dfxi_backend_list = const dfxi_backend* const*;

// The backends of the complex one-dimensional class, in the order they are
// tried. Each is defined by the code of its algorithm; the lists name only
// the ones that are built.
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_batched;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_d;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_s;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_small_d;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_small_s;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_d;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_s;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_strided_d;
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_strided_s;

namespace qor::dfxi {

// The lists of the complex one-dimensional class, one a precision.
extern const dfxi_backend* const bkdown_list_c2c_1d_d[];
extern const dfxi_backend* const bkdown_list_c2c_1d_s[];

// The list of a class, by precision.
template <class R> dfxi_backend_list complex_1d_list();
template <> inline dfxi_backend_list complex_1d_list<double>() { return bkdown_list_c2c_1d_d; }
template <> inline dfxi_backend_list complex_1d_list<float>() { return bkdown_list_c2c_1d_s; }

}  // namespace qor::dfxi
