// The methods table, commit, uncommit, destroy and copy of a node.
#include <cstring>

#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "dft/primitive/api.h"
#include "frame/services.h"

namespace qor::dfxi {
namespace {

// Which stride word of an io-tensor entry, and which offset goes with it.
enum class Side { in, out, fwd, bwd };

std::int64_t& word(IotensorEntry& e, Side s) {
  switch (s) {
    case Side::in: return e.is;
    case Side::out: return e.os;
    case Side::fwd: return e.fs;
    default: return e.bs;
  }
}

std::int64_t& offset(dfxi_node* node, Side s) {
  switch (s) {
    case Side::in: return node->offset_in;
    case Side::out: return node->offset_out;
    case Side::fwd: return node->fwd_offset;
    default: return node->bwd_offset;
  }
}

bool usable(const dfxi_node* node) { return node != nullptr && node->tensor.dims != nullptr && node->batch.dims != nullptr; }

// Entry 0 is the offset, entry i+1 the stride of dimension i.
template <Side S> status get_strides(const dfxi_node* node, std::int64_t* strides) {
  if (!usable(node) || strides == nullptr) return kInconsistent;
  auto* n = const_cast<dfxi_node*>(node);
  strides[0] = offset(n, S);
  for (std::int32_t i = 0; i < n->tensor.count; ++i) strides[i + 1] = word(n->tensor.dims[i], S);
  return kOk;
}

// Changing strides always uncommits; the forward and backward forms also
// record that they were set.
template <Side S> status set_strides(dfxi_node* node, const std::int64_t* strides) {
  if (!usable(node) || strides == nullptr) return kInconsistent;
  node->uncommit(node);
  offset(node, S) = strides[0];
  for (std::int32_t i = 0; i < node->tensor.count; ++i) word(node->tensor.dims[i], S) = strides[i + 1];
  if (S == Side::fwd) node->flags |= kFlagFwdStrides;
  if (S == Side::bwd) node->flags |= kFlagBwdStrides;
  return kOk;
}

status getLengths(const dfxi_node* node, std::int64_t* lengths) {
  if (!usable(node) || lengths == nullptr) return kInconsistent;
  for (std::int32_t i = 0; i < node->tensor.count; ++i) lengths[i] = node->tensor.dims[i].n;
  return kOk;
}

constexpr std::int64_t kNameBytes = sizeof(dfxi_node::name);

std::size_t name_bytes(std::int64_t size) {
  return static_cast<std::size_t>(size < 0 ? 0 : (size < kNameBytes ? size : kNameBytes));
}

status getDescriptorName(const dfxi_node* node, char* name, std::int64_t size) {
  if (node == nullptr || (name == nullptr && size > 0)) return kInconsistent;
  if (name_bytes(size) > 0) std::memcpy(name, node->name, name_bytes(size));
  return kOk;
}

status setDescriptorName(dfxi_node* node, const char* name, std::int64_t size, int fill) {
  if (node == nullptr || (name == nullptr && size > 0)) return kInconsistent;
  const std::size_t n = name_bytes(size);
  if (n > 0) std::memcpy(node->name, name, n);
  std::memset(node->name + n, static_cast<unsigned char>(fill), static_cast<std::size_t>(kNameBytes) - n);
  return kOk;
}

double* scale_of(dfxi_node* node, std::int32_t which) {
  if (which == kScaleForward) return &node->scale_forward;
  if (which == kScaleBackward) return &node->scale_backward;
  return nullptr;
}

status getScale(const dfxi_node* node, std::int32_t which, double* value) {
  if (node == nullptr || value == nullptr) return kInconsistent;
  const double* s = scale_of(const_cast<dfxi_node*>(node), which);
  if (s == nullptr) return kInconsistent;
  *value = *s;
  return kOk;
}

// Only a new value uncommits; NaN never equals the old value, so it always
// counts as new.
status setScale(dfxi_node* node, std::int32_t which, double value) {
  if (node == nullptr) return kInconsistent;
  double* s = scale_of(node, which);
  if (s == nullptr) return kInconsistent;
  if (!(*s == value)) node->uncommit(node);
  *s = value;
  return kOk;
}

template <Side S> status get_distance(const dfxi_node* node, std::int64_t* value) {
  if (!usable(node) || value == nullptr) return kInconsistent;
  *value = word(node->batch.dims[0], S);
  return kOk;
}

// Distances do not uncommit: the front end decides.
template <Side S> status set_distance(dfxi_node* node, std::int64_t value) {
  if (!usable(node)) return kInconsistent;
  word(node->batch.dims[0], S) = value;
  if (S == Side::fwd) node->flags |= kFlagFwdDistance;
  if (S == Side::bwd) node->flags |= kFlagBwdDistance;
  return kOk;
}

status getNumberOfTransforms(const dfxi_node* node, std::int64_t* value) {
  if (!usable(node) || value == nullptr) return kInconsistent;
  *value = node->batch.dims[0].n;
  return kOk;
}

status setNumberOfTransforms(dfxi_node* node, std::int64_t value) {
  if (!usable(node) || value == 0) return kInconsistent;
  node->batch.dims[0].n = value;
  return kOk;
}

status getThreadLimit(const dfxi_node* node, std::int32_t* value) {
  if (node == nullptr || value == nullptr) return kInconsistent;
  if (node->commit_status == kCommitted) {
    const int most = max_threads(node);
    *value = node->threads < most ? node->threads : most;
  } else {
    *value = in_parallel(node) ? 1 : node->thread_limit;
  }
  return kOk;
}

status setThreadLimit(dfxi_node* node, std::int32_t value) {
  if (node == nullptr || value < 0) return kInconsistent;
  node->thread_limit = in_parallel(node) ? 1 : value;
  return kOk;
}

status getRank(const dfxi_node* node, std::int64_t* value) {
  if (node == nullptr || value == nullptr) return kInconsistent;
  *value = node->tensor.count;
  return kOk;
}

status setWorkspace(dfxi_node*, std::int32_t) { return kOk; }

status commit_method(dfxi_node* node) { return node == nullptr ? kInconsistent : static_dfxi_commit(node); }
status dt_commit_method(dfxi_node* node) { return node == nullptr ? kInconsistent : static_dt_commit(node); }
status destroy_method(dfxi_node* node) { return static_destroy(node); }
status copy_method(const dfxi_node* node, dfxi_node** out) { return copy_node(node, out); }

// Takes the committed values of the first dimension, the batch and the
// scales from the committed tensors, then plans.
status take_committed(dfxi_node* node) {
  if (node->tensor_committed.dims == nullptr || node->batch_committed.dims == nullptr ||
      node->tensor_committed.count < 1 || node->batch_committed.count < 1)
    return kInconsistent;
  node->rank_committed = node->tensor_committed.count;
  const IotensorEntry& d0 = node->tensor_committed.dims[0];
  node->length = d0.n;
  node->stride_in = d0.is;
  node->stride_out = d0.os;
  const IotensorEntry& b0 = node->batch_committed.dims[0];
  node->ntransforms = b0.n;
  node->distance_in = b0.is;
  node->distance_out = b0.os;
  node->scale_committed[0] = node->scale_forward;
  node->scale_committed[1] = node->scale_backward;
  node->scale_committed_f[0] = static_cast<float>(node->scale_forward);
  node->scale_committed_f[1] = static_cast<float>(node->scale_backward);
  return static_planner(node);
}

}  // namespace

const dfxi_methods static_methods = {
    commit_method,
    dt_commit_method,
    get_strides<Side::in>,
    get_strides<Side::out>,
    set_strides<Side::in>,
    set_strides<Side::out>,
    getLengths,
    getDescriptorName,
    setDescriptorName,
    getScale,
    setScale,
    copy_method,
    get_distance<Side::in>,
    get_distance<Side::out>,
    getNumberOfTransforms,
    set_distance<Side::in>,
    set_distance<Side::out>,
    setNumberOfTransforms,
    getThreadLimit,
    setThreadLimit,
    getRank,
    set_distance<Side::fwd>,
    set_distance<Side::bwd>,
    destroy_method,
    setWorkspace,
    get_distance<Side::fwd>,
    get_distance<Side::bwd>,
    get_strides<Side::fwd>,
    get_strides<Side::bwd>,
    set_strides<Side::fwd>,
    set_strides<Side::bwd>,
};

// In place in the complex domain the output geometry is the input's. The
// real domain keeps the user's order, since its first dimension is the
// conjugate-even one.
status static_dfxi_commit(dfxi_node* node) {
  if (!usable(node)) return kInconsistent;
  const bool complex = node->forward_domain == kDomainComplex;
  const bool mirror = node->placement == kInPlace && complex;
  status st = iotensor_copy(&node->tensor_committed, &node->tensor, mirror, node->mem);
  if (st == kOk) st = iotensor_copy(&node->batch_committed, &node->batch, mirror, node->mem);
  if (st != kOk) return st;
  if (complex) {
    iotensor_sort(&node->tensor_committed);
    iotensor_remove1(&node->tensor_committed);
    iotensor_sort(&node->batch_committed);
    iotensor_remove1(&node->batch_committed);
    iotensor_compress(&node->batch_committed);
  }
  return take_committed(node);
}

// The maker of the node prepared the committed tensors itself.
status static_dt_commit(dfxi_node* node) { return take_committed(node); }

status static_uncommit(dfxi_node* node) {
  if (node == nullptr) return kInconsistent;
  if (node->next_dim != nullptr) {
    dfxi_node* next = node->next_dim;
    next->destroy(next);
    node->next_dim = nullptr;
  }
  if (node->bkd != nullptr) {
    const dfxi_backend* b = node->bkd;
    if (b->detach != nullptr) b->detach(b, node, 0);
    node->bkd = nullptr;
  }
  if (node->data_1d_via_2d != nullptr && node->free_data_1d_via_2d != nullptr) {
    node->free_data_1d_via_2d(node, 0);
    node->data_1d_via_2d = nullptr;
    node->free_data_1d_via_2d = nullptr;
  }
  node->packed_real_1d = 0;
  node->buffer_size = 0;
  node->buffer_size_max = 0;
  // Plans made in caller memory are not the heap's to free.
  const bool heap = node->mem == nullptr;
  if (node->spec_c64 != nullptr) {
    if (heap) qor_dft_def_zupsDFTFree_C_64fc(static_cast<qor_zups_dft_spec*>(node->spec_c64));
    node->spec_c64 = nullptr;
  }
  if (node->spec_c32 != nullptr) {
    if (heap) qor_dft_def_zupsDFTFree_C_32fc(static_cast<qor_zups_dft_spec*>(node->spec_c32));
    node->spec_c32 = nullptr;
  }
  // The real plans have no release form in the primitive layer yet; the
  // real backends that make them bring it and release them here, in this
  // place: the CCS plans now, the plain real plans after the buffers.
  node->spec_r64_ccs = nullptr;
  node->spec_r32_ccs = nullptr;
  if (node->work_data != nullptr) dfxi_free(node->work_data, nullptr);
  node->work_data = nullptr;
  if (node->twiddle_data != nullptr) dfxi_free(node->twiddle_data, nullptr);
  node->twiddle_data = nullptr;
  node->spec_r64 = nullptr;
  node->spec_r32 = nullptr;
  node->commit_status = kUncommitted;
  node->compute_forward = nullptr;
  node->compute_backward = nullptr;
  node->flags &= ~kFlagCodelet;
  return kOk;
}

status static_destroy(dfxi_node* node) {
  if (node == nullptr) return kOk;
  node->uncommit(node);
  iotensor_destroy(&node->tensor);
  iotensor_destroy(&node->batch);
  iotensor_destroy(&node->tensor_committed);
  iotensor_destroy(&node->batch_committed);
  dfxi_free(node, nullptr);
  return kOk;
}

// A copy on the heap that carries the description, not the plan: name,
// backend, compute entries and plans stay behind, while the commit status
// is copied as it stands, so the front end must commit the copy.
status copy_node(const dfxi_node* node, dfxi_node** out) {
  if (!usable(node) || out == nullptr) return kInconsistent;
  auto* c = static_cast<dfxi_node*>(dfxi_calloc(1, sizeof(dfxi_node), kNodeAlign, nullptr));
  if (c == nullptr) return kNoMemory;
  c->forward_domain = node->forward_domain;
  c->precision = node->precision;
  c->mem = node->mem;
  c->bkdown_list = node->bkdown_list;
  c->uncommit = node->uncommit;
  c->destroy = node->destroy;
  c->methods = node->methods;
  c->qorapi = node->qorapi;
  c->rank = node->rank;
  status st = iotensor_copy(&c->tensor, &node->tensor, false, nullptr);
  if (st == kOk) st = iotensor_copy(&c->batch, &node->batch, false, nullptr);
  if (st == kOk) st = iotensor_copy(&c->tensor_committed, &node->tensor_committed, false, nullptr);
  if (st == kOk) st = iotensor_copy(&c->batch_committed, &node->batch_committed, false, nullptr);
  if (st != kOk) {
    c->destroy(c);
    return kNoMemory;
  }
  c->packed_format = node->packed_format;
  c->complex_storage = node->complex_storage;
  c->real_storage = node->real_storage;
  c->conjugate_even_storage = node->conjugate_even_storage;
  c->placement = node->placement;
  c->transpose = node->transpose;
  c->workspace = node->workspace;
  c->offset_in = node->offset_in;
  c->offset_out = node->offset_out;
  c->ntransforms = node->ntransforms;
  c->distance_in = node->distance_in;
  c->distance_out = node->distance_out;
  c->nbuffers = node->nbuffers;
  c->flags = node->flags;
  std::memcpy(c->tag, node->tag, sizeof c->tag);
  c->commit_status = node->commit_status;
  c->thread_limit = node->thread_limit;
  c->planned_threads = node->planned_threads;
  c->scale_forward = node->scale_forward;
  c->scale_backward = node->scale_backward;
  std::memcpy(c->front_end, node->front_end, sizeof c->front_end);
  *out = c;
  return kOk;
}

}  // namespace qor::dfxi
