// The small backend: one primitive plan, scaled by the primitive itself,
// around a batch of short unit-stride transforms that sit in cache. It
// takes only what the plan can do alone: interleaved data at offset 0 with
// unit strides, a length up to kLongest, and scales that the primitive's
// scale flags express.
#include <algorithm>

#include "dft/backends/road.h"
#include "dft/backends/threaded.h"

namespace qor::dfxi {
namespace {

constexpr i64 kLongest = 4096;
// Below this many bytes of data a batch is not worth a team.
constexpr i64 kTeamBytes = 4096;
// Pages of the thread plan, counted as 4 KiB of single-complex data.
constexpr int kPageShift = 12;
constexpr i64 kPageElementBytes = 8;
// Cache level whose size (per core) bounds the data a team shares.
constexpr int kTeamCacheLevel = 2;

// The private data: the plan and the bytes of work one transform needs.
struct SmallData {
  qor_zups_dft_spec* spec;
  std::int32_t work;
};
static_assert(sizeof(SmallData) == 16);

template <class R> constexpr std::int32_t precision_of = sizeof(R) == 8 ? kDouble : kSingle;

template <class R> bool accepts(const dfxi_node* node, int* flag) {
  // Nodes in caller memory go to the default road, which sizes their
  // plans through the arena.
  return node->precision == precision_of<R> && node->forward_domain == kDomainComplex &&
         node->complex_storage == kStorageComplexComplex && node->rank_committed == 1 && node->length >= 1 &&
         node->length <= kLongest && node->stride_in == 1 && node->stride_out == 1 && node->offset_in == 0 &&
         node->offset_out == 0 && (node->flags & kFlagNested) == 0 && !arena_node(node) &&
         qor_dft_def_zup_can_scale(node, flag) == 1;
}

template <class R> void bkd_free(dfxi_node* node) {
  auto* d = static_cast<SmallData*>(node->bkd_data);
  if (d == nullptr) return;
  if (d->spec != nullptr) Prim<R>::free(d->spec);
  dfxi_free(d, nullptr);
  node->bkd_data = nullptr;
}

// The thread plan: one thread for a batch that fits in a page, the whole
// team when the batch fits in half the team's share of cache and each
// member gets at least a page, else a thread a page; never more threads
// than the planner granted.
template <class R> void plan_threads(dfxi_node* node) {
  const dfxi_threading* table = node->qorapi;
  const i64 p = node->ntransforms;
  const i64 L = node->length;
  const i64 pages = p < 2 ? p : (p * L * kPageElementBytes + (i64{1} << kPageShift) - 1) >> kPageShift;
  const i64 t = table != nullptr && table->team_threads != nullptr ? table->team_threads() : 1;
  i64 bytes = p;
  for (std::int32_t i = 0; i < node->tensor_committed.count; ++i) bytes *= node->tensor_committed.dims[i].n;
  bytes *= (node->placement == kInPlace ? 1 : 2) * 2 * i64{sizeof(R)};
  const i64 cache = table != nullptr && table->cache_size != nullptr ? table->cache_size(kTeamCacheLevel) * t : 0;
  i64 plan;
  if (bytes <= kTeamBytes)
    plan = 1;
  else if (bytes < cache / 2 && pages >= t)
    plan = t;
  else
    plan = pages;
  node->threads = static_cast<std::int32_t>(std::min<i64>(plan, node->threads));
  if (node->threads < 1) node->threads = 1;
}

template <class R> status bkd_init(dfxi_node* node, int flag) {
  auto* d = static_cast<SmallData*>(dfxi_calloc(1, sizeof(SmallData), 64, nullptr));
  if (d == nullptr) return kNoMemory;
  node->bkd_data = d;
  int st = Prim<R>::init_alloc(&d->spec, static_cast<int>(node->length), flag);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  int work = 0;
  st = Prim<R>::buf_size(d->spec, &work);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  d->work = work;
  plan_threads<R>(node);
  return kOk;
}

// What each member of a team needs: the batch, the plan and a buffer of
// its own, all taken before the team starts.
struct Task {
  dfxi_node* node;
  const char* in;
  char* out;
  const SmallData* data;
  char* buffers;
  i64 buffer_stride;
  i64 members;
  bool inverse;
  status result;
};

template <class R> status run_range(const Task& t, i64 first, i64 count, void* buffer) {
  const i64 bytes = 2 * i64{sizeof(R)};
  const dfxi_node* node = t.node;
  for (i64 k = first; k < first + count; ++k) {
    const int st = Prim<R>::run(t.inverse, t.in + k * node->distance_in * bytes, t.out + k * node->distance_out * bytes,
                                t.data->spec, buffer);
    if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  }
  return kOk;
}

// The only place that divides the batch among the team.
template <class R> void compute_task(int index, int count, void* context) {
  auto* t = static_cast<Task*>(context);
  if (index >= t->members) return;
  i64 first = 0, share = 0;
  batch_share(t->node->ntransforms, std::min<i64>(count, t->members), index, &first, &share);
  void* buffer = t->buffers != nullptr ? t->buffers + index * t->buffer_stride : nullptr;
  const status st = run_range<R>(*t, first, share, buffer);
  if (st != kOk) {
    status none = kOk;
    __atomic_compare_exchange_n(&t->result, &none, st, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
  }
}

template <class R, bool Inverse> std::uint32_t compute_1d_small(dfxi_node* node, void* in, void* out, void*, void*) {
  if (node == nullptr || in == nullptr) return kInconsistent;
  if (out == nullptr) out = in;
  const auto* d = static_cast<const SmallData*>(node->bkd_data);
  if (d == nullptr) return kInternal;
  const dfxi_threading* table = node->qorapi;
  const bool team = node->ntransforms > 1 && node->threads != 1 && table != nullptr && table->run_team != nullptr;
  const i64 members = team ? node->threads : 1;
  const i64 stride = round64(d->work);
  StackArea stack;
  WorkBuffer buffers(members * stride, &stack);
  if (buffers.failed()) return kNoMemory;
  Task t{node, static_cast<const char*>(in), static_cast<char*>(out), d, static_cast<char*>(buffers.get()),
         stride, members, Inverse, kOk};
  if (!team) return run_range<R>(t, 0, node->ntransforms, buffers.get());
  const status st = table->run_team(node->thread_limit, node->threads, compute_task<R>, &t);
  return st != kOk ? st : t.result;
}

template <class R> std::uint32_t compute_1d_small_fwd(dfxi_node* node, void* in, void* out, void* in2, void* out2) {
  return compute_1d_small<R, false>(node, in, out, in2, out2);
}
template <class R> std::uint32_t compute_1d_small_bwd(dfxi_node* node, void* in, void* out, void* in2, void* out2) {
  return compute_1d_small<R, true>(node, in, out, in2, out2);
}

template <class R> std::uint32_t commit(const dfxi_backend* self, dfxi_node* node) {
  int flag = 0;
  if (!accepts<R>(node, &flag)) return kDeclined;
  if (node->bkd != self || node->bkd_data != nullptr) node->uncommit(node);
  node->bkd = self;
  const status st = bkd_init<R>(node, flag);
  if (st != kOk) {
    bkd_free<R>(node);
    node->bkd = nullptr;
    return st;
  }
  node->compute_forward = compute_1d_small_fwd<R>;
  node->compute_backward = compute_1d_small_bwd<R>;
  node->commit_status = kCommitted;
  node->nbuffers = node->placement == kInPlace ? 1 : 2;
  return kOk;
}

template <class R> std::uint32_t detach(const dfxi_backend* self, dfxi_node* node, int) {
  if (node->bkd != self) return kInternal;
  node->compute_forward = nullptr;
  node->compute_backward = nullptr;
  node->commit_status = kUncommitted;
  bkd_free<R>(node);
  return kOk;
}

}  // namespace
}  // namespace qor::dfxi

QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_small_d = {qor::dfxi::commit<double>, qor::dfxi::detach<double>,
                                                                 nullptr};
QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_small_s = {qor::dfxi::commit<float>, qor::dfxi::detach<float>,
                                                                 nullptr};
