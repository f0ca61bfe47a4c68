// Function types of the one-dimensional complex road, written once: the
// kernel library's api.h declares its exported names from them, threaded.h
// declares the core's threaded entries from them, and the core defines and
// binds both through the same types.
//
// Data pointers. A compute entry takes as many data pointers as the node's
// `nbuffers`, in the order the caller gives them: interleaved storage
// (data) in place and (in, out) out of place; split storage (re, im) in
// place and (in re, in im, out re, out im) out of place. Drivers and kernel
// slots take one pointer a side: interleaved data, or for split storage a
// dfxi_split_pair holding the two arrays. Pointers reaching a driver already
// include the node's offsets.
#pragma once
#include <cstdint>
#include <type_traits>

#include "dft/node/node.h"

// The two arrays of split (real, imaginary) storage, handed to drivers and
// kernel slots as one pointer.
struct dfxi_split_pair {
  void* re;
  void* im;
};

// What the core's batch drivers receive: the node, wrapped.
struct dfxi_par_record {
  dfxi_node* node;
};

namespace qor::dfxi {

// ---- Kernel library ----
// A compute entry of a committed node: the node and its data pointers.
using compute_fn = std::remove_pointer_t<dfxi_compute_fn>;
// Commit of the default road: plans every per-dimension record of the node.
using commit_core_fn = status(dfxi_node* node);
// Runs `count` transforms of the node: in place on `data`, or from `in` to
// `out`. `buffer` holds the node's buffer_size_max bytes (null when 0).
using driver_fn = status(dfxi_node* node, void* data, std::int64_t count, void* buffer);
using driver_out_fn = status(dfxi_node* node, const void* in, void* out, std::int64_t count, void* buffer);
// Copies `count` vectors of n elements: element i of vector j is at
// i * stride + j * distance on the strided side and at i + j * ld on the
// packed side.
template <class T>
using gather_fn = void(std::int64_t n, std::int64_t count, const T* src, std::int64_t stride, std::int64_t distance,
                       T* dst, std::int64_t ld);
template <class T>
using scatter_fn = void(std::int64_t n, std::int64_t count, const T* src, std::int64_t ld, T* dst, std::int64_t stride,
                        std::int64_t distance);

// ---- Core threading layer ----
using bless_fn = void(dfxi_node* node);
// Decides the thread plan and calls back the commit of the default road.
using commit_omp_fn = status(dfxi_node* node);
// Sets the thread plan, the per-dimension chain and length_log2; 100 when
// the default road cannot take the node.
using threaded_mode_fn = status(dfxi_node* node, std::int64_t cpu_mode);
// The batch of the node split over a team of threads.
using par_fn = status(const dfxi_par_record* record, void* data, void* buffer);
using par_out_fn = status(const dfxi_par_record* record, const void* in, void* out, void* buffer);

}  // namespace qor::dfxi
