// The dispatching names of each element type, reachable from typed tests.
#pragma once
#include "blas/level2/dispatch.h"
#include "ref.h"

namespace l2t {

template <class T> using Calls = qor::blas2::dispatch<T>;

}  // namespace l2t
