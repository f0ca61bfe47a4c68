// Dispatching names of the Level 2 BLAS: each binds the member's kernel
// entry and calls it.
#include "blas/level2/dispatch.h"

#include "blas/level2/api.h"
#include "frame/member.h"

#define QOR_L2D_DEFINE(name, kernel, params, args) \
  QOR_L2_DISPATCH void qor_blas_##name params { QOR_KERNEL(qor_blas_def_##kernel) args; }
QOR_L2D_ALL(QOR_L2D_DEFINE)
