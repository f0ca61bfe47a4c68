// The dispatching names of each element type, reachable from typed tests.
#pragma once
#include "blas/level2/dispatch.h"
#include "ref.h"

namespace l2t {

template <class T> using Calls = qor::blas2::dispatch<T>;

// Every Level 2 entry has a Zen-class body, and the general and symmetric
// products and the rank-one update a 512-bit one: each must be reached on
// its path.
inline qor::test::TunedOn tuned_bodies() {
  return qor::test::TunedOn::paths({QOR_CPU_PATH_ZEN, QOR_CPU_PATH_AVX512});
}

}  // namespace l2t
