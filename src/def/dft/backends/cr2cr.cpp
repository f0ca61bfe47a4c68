// The split-storage backends of one-dimensional complex transforms: the
// real and imaginary parts live in two arrays.
//
// bkd_cr2cr_1d_<p> runs one split primitive plan over a batch of a single
// level. Its plan outlives a commit: committing the node again with the
// same length and scale mode keeps the plan, so re-committing after a
// change of the batch costs no allocation. Scales the primitive cannot
// express are applied in a separate pass.
//
// bkd_cr2cr_1d_batched takes batches of several levels, for both
// precisions. It holds a nested node, `inner`, whose batch is the parent's
// without its last level, and runs `inner` once for each transform of that
// level; `inner` is offered the same list, so the levels unroll one by one
// until a single level is left for bkd_cr2cr_1d_<p>.
//
// Both decline nested nodes (flag 8) and nodes in caller memory: those stay
// on the default road, which plans them through the arena.
#include <cstddef>

#include "dft/backends/road.h"
#include "dft/backends/threaded.h"
#include "dft/node/internal.h"

namespace qor::dfxi {
namespace {

// Scale mode of a plan that leaves the data unscaled.
constexpr int kUnscaled = 8;
constexpr std::size_t kPlanDataBytes = 112;
constexpr int kPlanDataAlign = 64;

template <class R> constexpr std::int32_t precision_of = sizeof(R) == 8 ? kDouble : kSingle;

bool split_candidate(const dfxi_node* node) {
  return node->forward_domain == kDomainComplex && node->complex_storage == kStorageRealReal &&
         node->rank_committed == 1 && (node->flags & kFlagNested) == 0 && !arena_node(node);
}

void* advance(void* p, i64 elements, i64 element_bytes) { return static_cast<char*>(p) + elements * element_bytes; }

// ---- bkd_cr2cr_1d_<p> --------------------------------------------------------

// The split plan of a precision, with the primitive layer's own memory.
template <class R> int split_plan_alloc(qor_zups_dft_spec** spec, int n, int flag) {
  if constexpr (sizeof(R) == 8) return qor_dft_def_zupsDFXInitAlloc_C_64f(spec, n, flag, 0);
  else return qor_dft_def_zupsDFXInitAlloc_C_32f(spec, n, flag, 0);
}
template <class R> void split_plan_free(qor_zups_dft_spec* spec) {
  if constexpr (sizeof(R) == 8) qor_dft_def_zupsDFTFree_C_64f(spec);
  else qor_dft_def_zupsDFTFree_C_32f(spec);
}

// The private data. `dirty` is set while the plan is being replaced, so a
// plan left half-made by a failure is never reused.
struct PlanData {
  qor_zups_dft_spec* spec;
  i64 length;
  std::int32_t flag;
  std::int32_t dirty;
  std::int32_t work;
};
static_assert(sizeof(PlanData) <= kPlanDataBytes);

template <class R> bool accepts_1d(const dfxi_node* node) {
  return node->precision == precision_of<R> && split_candidate(node) && node->batch_committed.count == 1 &&
         node->length >= 1 && node->length <= primitive_limit(sizeof(R) == 8, node->length);
}

template <class R> void plan_free(dfxi_node* node) {
  auto* d = static_cast<PlanData*>(node->bkd_data);
  if (d == nullptr) return;
  if (d->spec != nullptr) split_plan_free<R>(d->spec);
  dfxi_free(d, nullptr);
  node->bkd_data = nullptr;
}

// Keeps the plan in hand when length and scale mode are unchanged.
template <class R> status plan_init(dfxi_node* node, int flag) {
  auto* d = static_cast<PlanData*>(node->bkd_data);
  if (d == nullptr) {
    d = static_cast<PlanData*>(dfxi_calloc(1, kPlanDataBytes, kPlanDataAlign, nullptr));
    if (d == nullptr) return kNoMemory;
    node->bkd_data = d;
  }
  if (d->spec != nullptr && d->dirty == 0 && d->length == node->length && d->flag == flag) return kOk;
  d->dirty = 1;
  if (d->spec != nullptr) split_plan_free<R>(d->spec);
  d->spec = nullptr;
  int st = split_plan_alloc<R>(&d->spec, static_cast<int>(node->length), flag);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  int work = 0;
  st = Prim<R>::split_buf_size(d->spec, &work);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  d->length = node->length;
  d->flag = flag;
  d->work = work;
  d->dirty = 0;
  return kOk;
}

template <class R> void scale_pass(R* re, R* im, i64 n, i64 stride, R s) {
  for (i64 i = 0; i < n; ++i) {
    re[i * stride] *= s;
    im[i * stride] *= s;
  }
}

// One transform from (ir, ii) with stride si to (orr, oi) with stride so.
// Strided data goes through the head of the buffer; `work` is the rest.
template <class R>
status transform_one(const dfxi_node* node, const PlanData* d, bool inverse, const R* ir, const R* ii, i64 si, R* orr,
                     R* oi, i64 so, char* area) {
  const i64 L = node->length;
  void* work = area;
  dfxi_split_pair in{const_cast<R*>(ir), const_cast<R*>(ii)}, out{orr, oi};
  const bool gathered = si != 1 || so != 1;
  if (gathered) {
    auto* gre = reinterpret_cast<R*>(area);
    auto* gim = reinterpret_cast<R*>(area + round64(L * i64{sizeof(R)}));
    work = area + 2 * round64(L * i64{sizeof(R)});
    gather<R>(L, 1, ir, si, 0, gre, L);
    gather<R>(L, 1, ii, si, 0, gim, L);
    in = out = dfxi_split_pair{gre, gim};
  }
  const int st = Prim<R>::run_split(inverse, &in, &out, d->spec, work);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  if (gathered) {
    scatter<R>(L, 1, static_cast<const R*>(out.re), L, orr, so, 0);
    scatter<R>(L, 1, static_cast<const R*>(out.im), L, oi, so, 0);
  }
  const R s = committed_scale<R>(node, inverse);
  if (d->flag == kUnscaled && s != R(1)) scale_pass<R>(orr, oi, L, so, s);
  return kOk;
}

// The batch, one transform after the other; pointers already include the
// offsets.
template <class R>
status run_batch(dfxi_node* node, bool inverse, R* ir, R* ii, R* orr, R* oi, bool inplace) {
  const auto* d = static_cast<const PlanData*>(node->bkd_data);
  if (d == nullptr || d->spec == nullptr) return kInternal;
  const i64 si = node->stride_in;
  const i64 so = inplace ? si : node->stride_out;
  const i64 di = node->distance_in;
  const i64 dout = inplace ? di : node->distance_out;
  const i64 gather_area = si != 1 || so != 1 ? 2 * round64(node->length * i64{sizeof(R)}) : 0;
  StackArea stack;
  WorkBuffer buffer(gather_area + d->work, &stack);
  if (buffer.failed()) return kNoMemory;
  for (i64 k = 0; k < node->ntransforms; ++k) {
    const status st = transform_one<R>(node, d, inverse, ir + k * di, ii + k * di, si, orr + k * dout, oi + k * dout,
                                       so, static_cast<char*>(buffer.get()));
    if (st != kOk) return st;
  }
  return kOk;
}

template <class R> status worker_i(dfxi_node* node, bool inverse, void* re, void* im) {
  if (node == nullptr || re == nullptr || im == nullptr) return kInconsistent;
  auto* r = static_cast<R*>(advance(re, node->offset_in, sizeof(R)));
  auto* i = static_cast<R*>(advance(im, node->offset_in, sizeof(R)));
  return run_batch<R>(node, inverse, r, i, r, i, true);
}

template <class R> status worker_o(dfxi_node* node, bool inverse, void* ire, void* iim, void* ore, void* oim) {
  if (node == nullptr || ire == nullptr || iim == nullptr || ore == nullptr || oim == nullptr) return kInconsistent;
  return run_batch<R>(node, inverse, static_cast<R*>(advance(ire, node->offset_in, sizeof(R))),
                      static_cast<R*>(advance(iim, node->offset_in, sizeof(R))),
                      static_cast<R*>(advance(ore, node->offset_out, sizeof(R))),
                      static_cast<R*>(advance(oim, node->offset_out, sizeof(R))), false);
}

template <class R> std::uint32_t compute_fi(dfxi_node* node, void* re, void* im, void*, void*) {
  return worker_i<R>(node, false, re, im);
}
template <class R> std::uint32_t compute_bi(dfxi_node* node, void* re, void* im, void*, void*) {
  return worker_i<R>(node, true, re, im);
}
template <class R> std::uint32_t compute_fo(dfxi_node* node, void* ire, void* iim, void* ore, void* oim) {
  return worker_o<R>(node, false, ire, iim, ore, oim);
}
template <class R> std::uint32_t compute_bo(dfxi_node* node, void* ire, void* iim, void* ore, void* oim) {
  return worker_o<R>(node, true, ire, iim, ore, oim);
}

void set_entries(dfxi_node* node, dfxi_compute_fn fi, dfxi_compute_fn bi, dfxi_compute_fn fo, dfxi_compute_fn bo) {
  const bool inplace = node->placement == kInPlace;
  node->compute_forward = inplace ? fi : fo;
  node->compute_backward = inplace ? bi : bo;
  node->commit_status = kCommitted;
  node->nbuffers = inplace ? 2 : 4;
}

void clear_entries(dfxi_node* node) {
  node->compute_forward = nullptr;
  node->compute_backward = nullptr;
  node->commit_status = kUncommitted;
}

template <class R> std::uint32_t commit_1d(const dfxi_backend* self, dfxi_node* node) {
  if (!accepts_1d<R>(node)) return kDeclined;
  int flag = kUnscaled;
  qor_dft_def_zup_can_scale(node, &flag);
  // The node's own private data stays: its plan may serve again.
  if (node->bkd != self) node->uncommit(node);
  node->bkd = self;
  const status st = plan_init<R>(node, flag);
  if (st != kOk) {
    clear_entries(node);
    plan_free<R>(node);
    node->bkd = nullptr;
    return st;
  }
  set_entries(node, compute_fi<R>, compute_bi<R>, compute_fo<R>, compute_bo<R>);
  return kOk;
}

template <class R> std::uint32_t detach_1d(const dfxi_backend* self, dfxi_node* node, int) {
  if (node->bkd != self) return kInternal;
  clear_entries(node);
  plan_free<R>(node);
  return kOk;
}

// ---- bkd_cr2cr_1d_batched ----------------------------------------------------

// The private data: the level taken off the batch, and the node that runs
// the rest.
struct BatchData {
  i64 count;
  i64 distance_in;
  i64 distance_out;
  dfxi_node* inner;
};

bool accepts_batched(const dfxi_node* node) { return split_candidate(node) && node->batch_committed.count >= 2; }

void batch_free(dfxi_node* node) {
  auto* d = static_cast<BatchData*>(node->bkd_data);
  if (d == nullptr) return;
  if (d->inner != nullptr) d->inner->destroy(d->inner);
  dfxi_free(d, nullptr);
  node->bkd_data = nullptr;
}

status batch_init(dfxi_node* node) {
  auto* d = static_cast<BatchData*>(dfxi_calloc(1, sizeof(BatchData), kPlanDataAlign, nullptr));
  if (d == nullptr) return kNoMemory;
  node->bkd_data = d;
  const i64 L = node->length;
  status st = qor_dft_def_dfxi_create_node(&d->inner, node->precision, node->forward_domain, 1, &L, nullptr);
  if (st != kOk) {
    d->inner = nullptr;
    return st;
  }
  dfxi_node* in = d->inner;
  in->complex_storage = kStorageRealReal;
  in->placement = node->placement;
  in->bkdown_list = node->bkdown_list;
  in->qorapi = node->qorapi;
  in->scale_forward = node->scale_forward;
  in->scale_backward = node->scale_backward;
  in->thread_limit = node->thread_limit;
  in->planned_threads = node->planned_threads;
  st = iotensor_copy(&in->tensor_committed, &node->tensor_committed, false, nullptr);
  if (st == kOk) st = iotensor_copy(&in->batch_committed, &node->batch_committed, false, nullptr);
  if (st != kOk) return st;
  Iotensor& b = in->batch_committed;
  const IotensorEntry& top = b.dims[b.count - 1];
  d->count = top.n;
  d->distance_in = top.is;
  d->distance_out = top.os;
  --b.count;
  return in->methods->commit_prepared(in);
}

// Runs the inner node over the popped batch level. In place the two split
// arrays move by the input distance; out of place the two outputs follow,
// from the output offset by the output distance.
template <bool Inverse, bool InPlace>
std::uint32_t batched(dfxi_node* node, void* re, void* im, void* out_re, void* out_im) {
  constexpr int arrays = InPlace ? 2 : 4;
  void* p[4] = {re, im, InPlace ? nullptr : out_re, InPlace ? nullptr : out_im};
  if (node == nullptr) return kInconsistent;
  for (int a = 0; a < arrays; ++a)
    if (p[a] == nullptr) return kInconsistent;
  const auto* d = static_cast<const BatchData*>(node->bkd_data);
  if (d == nullptr || d->inner == nullptr) return kInternal;
  dfxi_node* in = d->inner;
  const dfxi_compute_fn f = Inverse ? in->compute_backward : in->compute_forward;
  if (f == nullptr) return kInternal;
  const i64 bytes = node->precision == kDouble ? 8 : 4;
  for (int a = 0; a < arrays; ++a) p[a] = advance(p[a], a < 2 ? node->offset_in : node->offset_out, bytes);
  for (i64 k = 0; k < d->count; ++k) {
    const std::uint32_t st = f(in, p[0], p[1], p[2], p[3]);
    if (st != kOk) return st;
    for (int a = 0; a < arrays; ++a) p[a] = advance(p[a], a < 2 ? d->distance_in : d->distance_out, bytes);
  }
  return kOk;
}

std::uint32_t commit_batched(const dfxi_backend* self, dfxi_node* node) {
  if (!accepts_batched(node)) return kDeclined;
  if (node->bkd != self || node->bkd_data != nullptr) node->uncommit(node);
  node->bkd = self;
  const status st = batch_init(node);
  if (st != kOk) {
    clear_entries(node);
    batch_free(node);
    node->bkd = nullptr;
    return st;
  }
  set_entries(node, batched<false, true>, batched<true, true>, batched<false, false>, batched<true, false>);
  return kOk;
}

std::uint32_t detach_batched(const dfxi_backend* self, dfxi_node* node, int) {
  if (node->bkd != self) return kInternal;
  clear_entries(node);
  batch_free(node);
  return kOk;
}

}  // namespace
}  // namespace qor::dfxi

QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_d = {qor::dfxi::commit_1d<double>,
                                                             qor::dfxi::detach_1d<double>, nullptr};
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_s = {qor::dfxi::commit_1d<float>, qor::dfxi::detach_1d<float>,
                                                             nullptr};
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_cr2cr_1d_batched = {qor::dfxi::commit_batched,
                                                                   qor::dfxi::detach_batched, nullptr};
