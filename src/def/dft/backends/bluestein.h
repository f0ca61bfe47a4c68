// The Bluestein backends: a transform of a length L that the default road
// gives up on, computed as a circular convolution of power-of-two length M
// by a nested node of that length. With w[j] = exp(-i pi j*j / L),
//   X[k] = w[k] * sum_j (x[j] w[j]) conj(w[k-j]),
// and the sum is a convolution with the chirp conj(w), whose transform is
// kept as the filter. The backward transform uses the conjugate tables.
//
// The backend objects are declared with the other backends in
// dft/node/backend.h. What is declared here is what the forms over other
// data (the real twins) share with the complex ones: the private data, the
// plan of the nested node and its tables, and the split of a pointwise
// pass over a team.
#pragma once
#include <algorithm>
#include <cstdint>

#include "dft/node/backend.h"

namespace qor::dfxi {

// A committed node's private data, in this order: the nested node of
// length M, M itself, and the two tables of M complex values, chirp then
// filter, in one block. After commit chirp[j] is w[j] for j below L and
// filter is the transform of the chirp conj(w) (made even around 0 and
// zero between), divided by M so that the nested backward transform comes
// out normalised.
struct BluesteinData {
  dfxi_node* nested;
  std::int64_t padded;
  void* chirp;
  void* filter;
};
static_assert(sizeof(BluesteinData) == 32);

// Plans a node of length node->length: the private data, the nested node
// (given `nested_name`, padded with blanks) and the tables. On failure the
// status is returned and the caller releases what was made with
// bluestein_free. R is the real type of the precision.
template <class R> status bluestein_plan(dfxi_node* node, const char* nested_name);
void bluestein_free(dfxi_node* node);

// Runs the nested node's transform in place on M complex values. `buffer`
// holds nested_buffer_bytes bytes, so that a transform takes no memory of
// its own.
template <class R> status nested_transform(const BluesteinData* d, bool inverse, void* data, void* buffer);
std::int64_t nested_buffer_bytes(const BluesteinData* d);

// The share of member `index` of a team of `members` in a pointwise pass
// over n elements. The elements go in groups of 4, ceil(groups / members)
// groups to a member from the first on, so every share but the last starts
// and ends on a group boundary; the last is cut at n. A team of one, or an
// empty pass, leaves everything to member 0.
inline void pointwise_share(std::int64_t n, std::int64_t members, std::int64_t index, std::int64_t* first,
                            std::int64_t* count) {
  *first = 0;
  *count = 0;
  if (members < 2 || n <= 0) {
    if (index == 0) *count = n > 0 ? n : 0;
    return;
  }
  constexpr std::int64_t kGroup = 4;
  const std::int64_t groups = (n + kGroup - 1) / kGroup;
  const std::int64_t per = (groups + members - 1) / members;
  const std::int64_t full = groups / per;  // members with a whole share
  const std::int64_t taken = index < full ? per : (index == full ? groups - per * full : 0);
  const std::int64_t start = kGroup * index * per;
  const std::int64_t end = std::min<std::int64_t>(start + kGroup * taken, n);
  if (taken == 0 || end <= start) return;
  *first = start;
  *count = end - start;
}

}  // namespace qor::dfxi
