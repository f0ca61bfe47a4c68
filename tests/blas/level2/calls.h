// The dispatching names of each element type, reachable from typed tests.
#pragma once
#include "blas/level2/dispatch.h"
#include "ref.h"

namespace l2t {

template <class T> struct Calls;

#define L2T_CALLS(t, T)                            \
  template <> struct Calls<T> {                    \
    static constexpr auto gemv = &qor_blas_##t##gemv; \
  };
QOR_FOR_EACH_TYPE(L2T_CALLS)
#undef L2T_CALLS

}  // namespace l2t
