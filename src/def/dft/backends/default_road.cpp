// The default road of complex one-dimensional transforms: the commit that
// the core's threading layer calls back, which makes a primitive plan for
// each per-dimension record, and the compute entries that run it over the
// batch, serially or through the core's batch drivers.
#include <algorithm>

#include "dft/backends/backends.h"
#include "dft/backends/road.h"
#include "dft/backends/threaded.h"
#include "dft/backends/via2d.h"
#include "dft/smallradix/smallradix.h"

namespace qor::dfxi {
namespace {

// Scale flag of a primitive plan that does not scale: the kernels of the
// slots apply the committed scales afterwards.
constexpr int kNoScale = QOR_ZUPS_NODIV_BY_ANY;
// Transforms from this order up, on unit strides, may take the four-step
// plan when the primitive cannot plan them or no workspace is wanted.
constexpr std::int64_t kFourStepOrder = 16;
constexpr std::int64_t kPrimitiveOrderMost = 31;

template <class R> constexpr bool is_double = sizeof(R) == 8;

template <class R> status threaded_mode_definition(dfxi_node* node) {
  if constexpr (is_double<R>) return qor_dft_threaded_mode_definition_d_c2c_1d(node, node->cpu_mode);
  else return qor_dft_threaded_mode_definition_s_c2c_1d(node, node->cpu_mode);
}

template <class R> status commit_omp(dfxi_node* node) {
  if constexpr (is_double<R>) return qor_dft_commit_node_d_c2c_1d_omp(node);
  else return qor_dft_commit_node_s_c2c_1d_omp(node);
}

// A failed plan leaves nothing behind: the chain after the record is let
// go and the root drops every plan it holds.
status plan_failed(dfxi_node* record, dfxi_node* root, status st) {
  record->next_dim = nullptr;
  root->uncommit(root);
  return st;
}

status map_primitive(int st) { return qor_dft_def_transfer_zup_qor_error(st); }

// Counting mode (the node's memory is the caller's): the plan's three
// sizes are charged to the arena's cells, and no plan is made.
template <class R> status zup_get_size(dfxi_node* record, bool split) {
  const i64 L = record->length;
  if (L > primitive_limit(is_double<R>, L)) return kLengthLimit;
  int spec = 0, init = 0, work = 0;
  const int st = Prim<R>::get_size(split, static_cast<int>(L), kNoScale, &spec, &init, &work);
  if (st != 0) return map_primitive(st);
  record->buffer_size = (work > 0 ? work + 64 : 0) + gather_bytes<R>(record);
  dfxi_cell* const* cells = record->mem->cells;
  dfxi_allocate(spec, 64, cells[0]);
  dfxi_allocate(init, 64, cells[1]);
  dfxi_allocate(record->buffer_size, 64, cells[2]);
  return kOk;
}

// The interleaved plan, made by the primitive layer with its own memory
// and released by uncommit.
template <class R> status zup_initalloc_c2c(dfxi_node* record, dfxi_node* root) {
  const i64 L = record->length;
  if (L > primitive_limit(is_double<R>, L)) return kLengthLimit;
  qor_zups_dft_spec* spec = nullptr;
  int st = Prim<R>::init_alloc(&spec, static_cast<int>(L), kNoScale);
  if (st != 0) return plan_failed(record, root, map_primitive(st));
  spec_slot<R>(record) = spec;
  int work = 0;
  st = Prim<R>::buf_size(spec, &work);
  if (st != 0) return plan_failed(record, root, map_primitive(st));
  record->buffer_size = work + gather_bytes<R>(record);
  i64 area = 0;
  const status cs = plan_columns<R>(record, &area);
  if (cs != kOk) return plan_failed(record, root, cs);
  record->buffer_size = std::max(record->buffer_size, area);
  return kOk;
}

// The split plan is built in memory of the node's own allocator, kept in
// twiddle_data, so that uncommit releases it with the other buffers.
template <class R> status zup_initalloc_ri2ri(dfxi_node* record, dfxi_node* root) {
  const i64 L = record->length;
  if (L > primitive_limit(is_double<R>, L)) return kLengthLimit;
  int spec_bytes = 0, init_bytes = 0, work = 0;
  int st = Prim<R>::get_size(true, static_cast<int>(L), kNoScale, &spec_bytes, &init_bytes, &work);
  if (st != 0) return plan_failed(record, root, map_primitive(st));
  record->twiddle_data = dfxi_malloc(spec_bytes, 64, nullptr);
  if (record->twiddle_data == nullptr) return plan_failed(record, root, kNoMemory);
  void* init = init_bytes > 0 ? dfxi_malloc(init_bytes, 64, nullptr) : nullptr;
  if (init_bytes > 0 && init == nullptr) return plan_failed(record, root, kNoMemory);
  st = Prim<R>::split_init(static_cast<int>(L), kNoScale, static_cast<zups_u8*>(record->twiddle_data),
                           static_cast<zups_u8*>(init));
  if (init != nullptr) dfxi_free(init, nullptr);
  if (st != 0) return plan_failed(record, root, map_primitive(st));
  st = Prim<R>::split_buf_size(static_cast<const qor_zups_dft_spec*>(record->twiddle_data), &work);
  if (st != 0) return plan_failed(record, root, map_primitive(st));
  record->buffer_size = work + gather_bytes<R>(record);
  return kOk;
}

// The four-step plan of a very long transform (via2d.cpp). A length with
// no factor pair answers kNoFactorPair, and commit goes on with a
// primitive plan of the full length.
template <class R> status init_data_1d_via_2d(dfxi_node* record, dfxi_node* root) {
  if constexpr (is_double<R>) return qor_dft_def_xz_init_data_1d_via_2d(record, root);
  else return qor_dft_def_xc_init_data_1d_via_2d(record, root);
}

template <class R> bool wants_four_step(const dfxi_node* record) {
  const i64 L = record->length;
  return record->rank_committed == 1 && record->stride_in == 1 && record->stride_out == 1 &&
         record->length_log2 >= kFourStepOrder &&
         (L > primitive_limit(is_double<R>, L) || record->length_log2 > kPrimitiveOrderMost ||
          record->workspace == kWorkspaceAvoid);
}

template <class R> status plan_record(dfxi_node* record, dfxi_node* root) {
  const bool counting = arena_node(root);
  record->use_default_codelet = 1;
  if (split_storage(record)) {
    kernel_slot<R>(record, false) = xzups<R, true, false>;
    kernel_slot<R>(record, true) = xzups<R, true, true>;
    return counting ? zup_get_size<R>(record, true) : zup_initalloc_ri2ri<R>(record, root);
  }
  if (wants_four_step<R>(record)) {
    const status st = init_data_1d_via_2d<R>(record, root);
    if (st == kOk) {
      if (root->ntransforms == 1) root->flags |= kFlag1dVia2d;
      return kOk;
    }
    if (st != kNoFactorPair) return st;
  }
  kernel_slot<R>(record, false) = xzups<R, false, false>;
  kernel_slot<R>(record, true) = xzups<R, false, true>;
  // Short lengths that are not powers of two have straight-line kernels in
  // double precision. They do not scale, so a direction keeps the scaling
  // kernel unless its scale is 1.
  if constexpr (is_double<R>) {
    namespace sr = qor::dft::smallradix;
    const i64 L = record->length;
    if (L >= sr::kMinLength && L <= sr::kMaxLength && !is_pow2(L)) {
      if (record->scale_committed[0] == 1.0) record->kernel_fwd_d = qor_dft_def_zsmallradix_forward[L - sr::kMinLength];
      if (record->scale_committed[1] == 1.0) record->kernel_bwd_d = qor_dft_def_zsmallradix_inverse[L - sr::kMinLength];
    }
  }
  return counting ? zup_get_size<R>(record, false) : zup_initalloc_c2c<R>(record, root);
}

// What a per-dimension record takes over from the root.
void inherit(dfxi_node* record, const dfxi_node* root) {
  if (record == root) return;
  record->offset_in = root->offset_in;
  record->offset_out = root->offset_out;
  record->forward_domain = root->forward_domain;
  record->ordering = root->ordering;
  record->packed_format = root->packed_format;
  record->ntransforms = root->ntransforms;
  record->complex_storage = root->complex_storage;
  record->real_storage = root->real_storage;
  record->conjugate_even_storage = root->conjugate_even_storage;
  record->placement = root->placement;
  record->workspace = root->workspace;
  record->transpose = root->transpose;
  record->options = root->options;
}

template <class R, bool Inverse, bool InPlace>
std::uint32_t compute(dfxi_node* node, void* a, void* b, void* c, void* d);

template <class R> status commit_core(dfxi_node* node) {
  if (node == nullptr) return kInconsistent;
  const std::int32_t threads = node->threads;
  const std::int32_t thread_limit = node->thread_limit;
  auto fail = [&](status st) {
    node->threads = threads;
    node->thread_limit = thread_limit;
    return st;
  };
  // A new plan replaces whatever an earlier commit left in the node.
  node->uncommit(node);
  status st = threaded_mode_definition<R>(node);
  if (st != kOk) return fail(st);
  if (node->rank_committed != 1) return fail(kInconsistent);

  // One transform on a team is the four-step plan's threaded form, which
  // needs no primitive plan per record.
  const bool team_on_one = node->ntransforms == 1 && node->threads > 1;
  if (!team_on_one) {
    std::int64_t index = 0;
    for (dfxi_node* record = node; record != nullptr; record = record->next_dim, ++index) {
      inherit(record, node);
      record->dim_index = index;
      record->kernel_thr_1d_fwd = nullptr;
      record->kernel_thr_1d_bwd = nullptr;
      st = plan_record<R>(record, node);
      if (st != kOk) return fail(st);
      record->commit_status = kCommitted;
      node->buffer_size_max = std::max(node->buffer_size_max, record->buffer_size);
    }
  }
  const bool inplace = node->placement == kInPlace;
  const bool split = split_storage(node);
  node->nbuffers = (inplace ? 1 : 2) * (split ? 2 : 1);
  node->commit_status = kCommitted;
  if (arena_node(node)) return kOk;
  node->compute_forward = inplace ? compute<R, false, true> : compute<R, false, false>;
  node->compute_backward = inplace ? compute<R, true, true> : compute<R, true, false>;
  return kOk;
}

template <class R, bool Inverse> status run_par(dfxi_par_record* record, void* data, void* buffer) {
  if constexpr (is_double<R>)
    return Inverse ? qor_dft_compute_backward_z_par(record, data, buffer)
                   : qor_dft_compute_forward_z_par(record, data, buffer);
  else
    return Inverse ? qor_dft_compute_backward_c_par(record, data, buffer)
                   : qor_dft_compute_forward_c_par(record, data, buffer);
}

template <class R, bool Inverse> status run_par_out(dfxi_par_record* record, const void* in, void* out, void* buffer) {
  if constexpr (is_double<R>)
    return Inverse ? qor_dft_compute_backward_z_out_par(record, in, out, buffer)
                   : qor_dft_compute_forward_z_out_par(record, in, out, buffer);
  else
    return Inverse ? qor_dft_compute_backward_c_out_par(record, in, out, buffer)
                   : qor_dft_compute_forward_c_out_par(record, in, out, buffer);
}

void* shifted(void* p, i64 elements, i64 bytes) { return static_cast<char*>(p) + elements * bytes; }

// Data pointers in the caller's order (see signatures.h), moved by the
// node's offsets.
template <class R, bool InPlace>
bool take_data(const dfxi_node* node, void* a, void* b, void* c, void* d, dfxi_split_pair* pin, dfxi_split_pair* pout,
               void** in, void** out) {
  const i64 real_bytes = sizeof(R);
  if (split_storage(node)) {
    void* out_re = InPlace ? a : c;
    void* out_im = InPlace ? b : d;
    if (a == nullptr || b == nullptr || out_re == nullptr || out_im == nullptr) return false;
    *pin = {shifted(a, node->offset_in, real_bytes), shifted(b, node->offset_in, real_bytes)};
    *pout = InPlace ? *pin
                    : dfxi_split_pair{shifted(out_re, node->offset_out, real_bytes),
                                      shifted(out_im, node->offset_out, real_bytes)};
    *in = pin;
    *out = pout;
    return true;
  }
  void* o = InPlace ? a : b;
  if (a == nullptr || o == nullptr) return false;
  *in = shifted(a, node->offset_in, 2 * real_bytes);
  *out = InPlace ? *in : shifted(o, node->offset_out, 2 * real_bytes);
  return true;
}

template <class R, bool Inverse, bool InPlace>
std::uint32_t compute(dfxi_node* node, void* a, void* b, void* c, void* d) {
  if (node == nullptr) return kInconsistent;
  dfxi_split_pair pin, pout;
  void* in = nullptr;
  void* out = nullptr;
  if (!take_data<R, InPlace>(node, a, b, c, d, &pin, &pout, &in, &out)) return kInconsistent;
  StackArea stack;
  WorkBuffer buffer(node->buffer_size_max, &stack);
  if (buffer.failed()) return kNoMemory;
  if (node->flags & kFlagCodelet) return kernel_slot<R>(node, Inverse)(in, out, node, buffer.get());
  // The two-dimensional form belongs to the multi-dimensional class.
  if (node->flags & kFlagTwoDim) return kInternal;
  if (node->threads != 1) {
    const dfxi_any_fn threaded = Inverse ? node->kernel_thr_1d_bwd : node->kernel_thr_1d_fwd;
    if (!split_storage(node) && node->ntransforms == 1 && threaded != nullptr) {
      if (node->data_1d_via_2d == nullptr) return kInternal;
      return reinterpret_cast<dfxi_kernel_fn>(threaded)(in, out, node, buffer.get());
    }
    dfxi_par_record record{node};
    return InPlace ? run_par<R, Inverse>(&record, in, buffer.get())
                   : run_par_out<R, Inverse>(&record, in, out, buffer.get());
  }
  return drive<R, Inverse>(node, in, out, node->ntransforms, buffer.get());
}

template <class R> std::uint32_t default_commit(const dfxi_backend*, dfxi_node* node) { return commit_omp<R>(node); }

}  // namespace

const dfxi_backend bkd_c2c_1d_default_d = {default_commit<double>, nullptr, nullptr};
const dfxi_backend bkd_c2c_1d_default_s = {default_commit<float>, nullptr, nullptr};

}  // namespace qor::dfxi

using namespace qor::dfxi;

QOR_DEF_API status qor_dft_def_commit_descriptor_core_d_c2c_1d(dfxi_node* node) { return commit_core<double>(node); }
QOR_DEF_API status qor_dft_def_commit_descriptor_core_s_c2c_1d(dfxi_node* node) { return commit_core<float>(node); }

#define QOR_DFXI_COMPUTE_DEF(dir, p, pl)                                                                         \
  QOR_DEF_API std::uint32_t qor_dft_def_compute_##dir##_##p##_c2c_1d_##pl(dfxi_node* node, void* a, void* b,     \
                                                                          void* c, void* d) {                    \
    return compute<std::conditional_t<#p[0] == 'd', double, float>, #dir[0] == 'b', #pl[0] == 'i'>(node, a, b, c, \
                                                                                                   d);          \
  }
QOR_DFXI_C2C_1D_COMPUTE(QOR_DFXI_COMPUTE_DEF)
#undef QOR_DFXI_COMPUTE_DEF
