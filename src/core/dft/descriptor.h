// The public descriptor interface (qor/dft.h) inside the core: a handle is
// the kernel library's node itself, so the front end keeps no state of its
// own. Its files share what is declared here.
#pragma once
#include <cstdarg>
#include <cstdint>
#include <cstring>

#include "dft/backends/threaded.h"
#include "dft/node/node.h"
#include "qor/dft.h"

namespace qor::core::dft {

inline dfxi_node* node_of(qor_dft_handle h) { return reinterpret_cast<dfxi_node*>(h); }
inline qor_dft_handle handle_of(dfxi_node* n) { return reinterpret_cast<qor_dft_handle>(n); }

// A node made by the kernel library carries the tag "DFT" and its methods.
inline bool valid(const dfxi_node* n) {
  return n != nullptr && std::memcmp(n->tag, "DFT", 4) == 0 && n->methods != nullptr && n->uncommit != nullptr &&
         n->tensor.dims != nullptr && n->batch.dims != nullptr;
}

// Committed means a backend took the node and left its compute entries.
inline bool committed(const dfxi_node* n) {
  return n->commit_status == qor::dfxi::kCommitted && n->compute_forward != nullptr && n->compute_backward != nullptr;
}

// The core's threading layer fills the node's threading table; every node
// is blessed before its first commit.
inline void bless(dfxi_node* n) { qor_dft_bless_node_thr(n); }

// Commits a valid node (qor_dft_commit without the handle check).
int commit(dfxi_node* n);

// How many data pointers the compute form of a node's placement and
// storage takes: 1, 2 or 4.
int data_pointers(const dfxi_node* n);
// Runs a transform in the form the descriptor was committed for.
int compute_committed(qor_dft_handle h, bool forward, void* a, void* b, void* c, void* d);

// qor_dft_set_value with its variadic argument in hand.
int set_value(qor_dft_handle h, int param, va_list ap);

}  // namespace qor::core::dft
