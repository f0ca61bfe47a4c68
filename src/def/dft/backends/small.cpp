// The small backend: one primitive plan, scaled by the primitive itself,
// around a batch of short unit-stride transforms that sit in cache. It
// takes only what the plan can do alone: interleaved data at offset 0 with
// unit strides, a length up to kLongest, and scales that the primitive's
// scale flags express.
#include <algorithm>
#include <array>
#include <utility>

#include "dft/backends/road.h"
#include "dft/backends/threaded.h"
#include "dft/primitive/codelets.h"

// Single-precision lengths up to kPairedLongest run two transforms at a
// time: one complex value of each in the two halves of a vector, element
// by element, through the engine's straight-line transforms. The engine's
// own short kernels take one transform a call and leave half of each vector
// empty. (Double precision has one complex value a vector in this build, so
// it keeps the engine's kernels.)
QOR_ISA_BEGIN
namespace paired {
using namespace ::qor::QOR_ISA_NAME::dftv;
using i64 = std::int64_t;

QV_INLINE F2 load_two(const float* a, const float* b) {
  const __m128 low = _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(a)));
  return {_mm_loadh_pi(low, reinterpret_cast<const __m64*>(b))};
}

// `count` transforms of L points, `din` and `dout` complex values apart.
template <int L, bool INV, bool SCALED>
void run(const float* in, float* out, i64 count, i64 din, i64 dout, float scale) {
  i64 t = 0;
  for (; t + 2 <= count; t += 2) {
    const float* a = in + 2 * t * din;
    float* b = out + 2 * t * dout;
    F2 x[L];
    sfor<0, L>([&](auto j) __attribute__((always_inline)) { x[j] = load_two(a + 2 * j, a + 2 * (din + j)); });
    Dft<L, INV, F2>::run(x);
    sfor<0, L>([&](auto k) __attribute__((always_inline)) {
      const F2 y = SCALED ? mulr(x[k], scale) : x[k];
      y.store_lane(b + 2 * k, 0);
      y.store_lane(b + 2 * (dout + k), 1);
    });
  }
  if (t < count) {
    const float* a = in + 2 * t * din;
    float* b = out + 2 * t * dout;
    F1 x[L];
    sfor<0, L>([&](auto j) __attribute__((always_inline)) { x[j] = F1::load(a + 2 * j); });
    Dft<L, INV, F1>::run(x);
    sfor<0, L>([&](auto k) __attribute__((always_inline)) { (SCALED ? mulr(x[k], scale) : x[k]).store(b + 2 * k); });
  }
}

using run_fn = void (*)(const float*, float*, i64, i64, i64, float);

template <bool INV, bool SCALED, int... L>
constexpr std::array<run_fn, sizeof...(L)> table(std::integer_sequence<int, L...>) {
  return {run<L + 1, INV, SCALED>...};
}

}  // namespace paired
QOR_ISA_END

namespace qor::dfxi {
namespace {

constexpr i64 kLongest = 4096;
// Single-precision lengths that run two transforms at a time.
constexpr int kPairedLongest = 16;
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

// The paired kernels by direction, scaling and length.
using paired_fn = QOR_ISA_NAME::paired::run_fn;
template <bool INV, bool SCALED> constexpr std::array<paired_fn, kPairedLongest> paired_table() {
  return QOR_ISA_NAME::paired::table<INV, SCALED>(std::make_integer_sequence<int, kPairedLongest>{});
}
constexpr std::array<paired_fn, kPairedLongest> kPaired[2][2] = {
    {paired_table<false, false>(), paired_table<false, true>()}, {paired_table<true, false>(), paired_table<true, true>()}};

template <class R> status run_range(const Task& t, i64 first, i64 count, void* buffer) {
  const i64 bytes = 2 * i64{sizeof(R)};
  const dfxi_node* node = t.node;
  if constexpr (sizeof(R) == 4) {
    if (node->length <= kPairedLongest) {
      const float s = committed_scale<R>(node, t.inverse);
      kPaired[t.inverse][s != 1.0f][node->length - 1](
          reinterpret_cast<const float*>(t.in + first * node->distance_in * bytes),
          reinterpret_cast<float*>(t.out + first * node->distance_out * bytes), count, node->distance_in,
          node->distance_out, s);
      return kOk;
    }
  }
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
