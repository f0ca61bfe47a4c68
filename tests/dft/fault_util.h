// Allocation failure at every request of a transform's life: one loop for
// the node, backend and descriptor tests.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>

#include "common/testing.h"

namespace qor::test::dft {

// Refuses the k-th allocation request from now on and every later one.
// Attempts whose setup must not fail call it where the faults begin.
inline void refuse_from(std::int64_t k) { qor_fault_fail_after(QOR_POOL_BOTH, k); }

// Runs attempt(k) for k = 0, 1, ... with refuse_from(k) in force at the
// start, each run under an AllocWatch (every block given back), until a
// run meets no refusal. The attempt checks that a refused run reports the
// failure and leaves the caller's data alone, and that the last one is
// right. Returns how many runs met a refusal.
template <class F> int fail_each_request(F attempt, std::int64_t limit = 400) {
  for (std::int64_t k = 0; k < limit; ++k) {
    bool refused;
    {
      AllocWatch watch;
      refuse_from(k);
      attempt(k);
      refused = watch.failures() > 0;
    }
    qor_fault_reset();
    if (!refused) return static_cast<int>(k);
  }
  ADD_FAILURE() << "requests were still refused after " << limit << " runs";
  return 0;
}

}  // namespace qor::test::dft
