// Function types of the exported node entries, written once: api.h declares
// the names from them and the core's front end will bind them through the
// same types. R is the real type of the precision (double or float).
#pragma once
#include <cstdint>

#include "dft/node/node.h"

namespace qor::dfxi {

using mem_methods_init_fn = void(dfxi_arena* arena);

// Creates a node of the given precision, domain and rank; `lengths` holds
// `rank` extents, the fastest first. With an arena of mode 1 a failed
// allocation of the node takes the node already stored in *out.
using create_node_fn = status(dfxi_node** out, std::int32_t precision, std::int32_t domain, std::int64_t rank,
                              const std::int64_t* lengths, dfxi_arena* arena);
// The one-dimensional forms take the length by value and store their list.
using create_1d_fn = status(dfxi_node** out, std::int64_t length, dfxi_arena* arena);
using set_bkdlist_fn = status(dfxi_node* node);

// Sizes of the three caller buffers a node of this form needs. `rank` is 0
// for the one-dimensional forms, whose length is lengths[0].
template <class R>
using get_size_fn = status(std::int64_t rank, const std::int64_t* lengths, std::int32_t prim_flags,
                           std::int64_t* size1, std::int64_t* size2, std::int64_t* size3, R scale_forward,
                           R scale_backward);
// Builds an uncommitted node at the start of buffer1.
using init_fn = status(std::int64_t rank, const std::int64_t* lengths, std::int32_t prim_flags, void* buffer1,
                       void* buffer2);

// 1 when the primitive layer can apply the node's scales itself, with the
// scale-mode flag stored in *flag; 0 otherwise, leaving *flag alone.
using can_scale_fn = int(const dfxi_node* node, int* flag);

using version_string_fn = status(char* buffer, std::int64_t length);
using verbose_fn = status(const dfxi_node* node);

}  // namespace qor::dfxi
