// The dispatching names of each element type, reachable from typed tests.
#pragma once
#include <cstring>

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

// In a reproducible mode a 512-bit machine computes what the Zen path does,
// bit for bit, in every type: `run(tag, path)` gives the outputs (a vector
// of result vectors) of the type of `tag` on `path`.
template <class Run>
void expect_zen_bits_in_reproducible_mode(Run&& run) {
  auto same = [&](auto tag) {
    const auto zen = run(tag, QOR_CPU_PATH_ZEN);
    const auto wide = run(tag, QOR_CPU_PATH_AVX512);
    ASSERT_EQ(zen.size(), wide.size());
    for (std::size_t k = 0; k < zen.size(); ++k)
      EXPECT_EQ(0, std::memcmp(zen[k].data(), wide[k].data(), zen[k].size() * sizeof(zen[k][0]))) << k;
  };
  qor_set_cbwr(2);
  same(1.0f);
  same(1.0);
  same(c32());
  same(c64());
  qor_set_cbwr(1);
}

}  // namespace l2t
