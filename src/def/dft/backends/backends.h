// Backend objects of the one-dimensional complex class that the kernel
// library keeps to itself. The default objects are not exported: they live
// only in the lists (dft/node/lists.cpp names them). Their commit drops the
// backend and goes out to the core's threading layer, which decides the
// thread plan and comes back to the commit of the default road.
#pragma once
#include "dft/node/backend.h"

namespace qor::dfxi {
extern const dfxi_backend bkd_c2c_1d_default_d;
extern const dfxi_backend bkd_c2c_1d_default_s;
}  // namespace qor::dfxi
