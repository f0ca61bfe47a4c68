// The transform subsystem's threading layer: the table of threading slots
// that the kernel library's nodes call, the thread plan of the default
// complex one-dimensional road, and the batch drivers that split a batch
// over an OpenMP team. The kernel library creates no threads; every team of
// the transform code starts here.
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>

#include "dft/backends/api.h"
#include "dft/backends/threaded.h"
#include "dft/backends/via2d.h"
#include "frame/member.h"
#include "frame/services.h"
#include "frame/threads.h"
#include "qor/qor.h"
#include "trans/kernels.h"

namespace qor::core {
namespace {

using i64 = std::int64_t;
using dfxi::status;

// ---- Threading slots ----

std::int64_t mode_word() { return qor_serv_cpu_detect(); }
void barrier() {
#pragma omp barrier
}
int slot_max_threads() { return max_threads(); }
// The size of a team started now: one inside a parallel region.
int team_threads() { return max_threads(); }
std::int64_t cache_size(int level) { return qor_serv_get_cache_size(level); }
int in_parallel() { return omp_in_parallel(); }

// Runs task(index, count, context) on a team of at most `threads` members
// (and at most `thread_limit` when that is set).
std::uint32_t run_team(int thread_limit, int threads, dfxi_task_fn task, void* context) {
  int t = threads > 0 ? threads : max_threads();
  if (thread_limit > 0) t = std::min(t, thread_limit);
  if (t <= 1 || omp_in_parallel()) {
    task(0, 1, context);
    return dfxi::kOk;
  }
#pragma omp parallel num_threads(t)
  task(omp_get_thread_num(), omp_get_num_threads(), context);
  return dfxi::kOk;
}

std::mutex g_bless;

// ---- Thread plan of the default road ----

// Whether the primitive engine runs a length through its mixed-radix
// steps: fours, then a two, then odd factors below 89, with a rest of at
// most 90 (odd lengths) or 150 (even). Other lengths take its direct or
// convolution methods, which serve contiguous data only.
bool factors_well(i64 length) {
  i64 n = length;
  int count = 0;
  for (; n % 4 == 0 && n > 1; n /= 4) ++count;
  if (n % 2 == 0) {
    ++count;
    n /= 2;
  }
  for (i64 d = 3; d * d <= n;) {
    if (n % d == 0) {
      ++count;
      n /= d;
    } else {
      if (d > 88) return false;
      d += 2;
    }
  }
  return count > 0 && n <= ((length & 1) ? 90 : 150);
}

std::int64_t floor_log2(i64 n) {
  std::int64_t e = 0;
  while ((n >> (e + 1)) > 0) ++e;
  return e;
}

// Whether the kernel library's four-step plan can take the node: a heap
// node with interleaved unit-stride data, long enough, whose length splits
// into two factors the primitive can plan.
template <class R> bool four_step_splits(const dfxi_node* node) {
  if (node->mem != nullptr || node->complex_storage != dfxi::kStorageComplexComplex || node->stride_in != 1 ||
      node->stride_out != 1 || node->length_log2 < dfxi::kVia2dMinOrder)
    return false;
  i64 n1 = 0, n2 = 0;
  return dfxi::via2d_factors(node->length, sizeof(R) == 8, &n1, &n2) == dfxi::kOk;
}

template <class R> status threaded_mode_definition(dfxi_node* node, std::int64_t) {
  if (node == nullptr || node->rank_committed != 1) return dfxi::kInconsistent;
  const i64 L = node->length;
  node->length_log2 = floor_log2(L);
  const bool four_step = four_step_splits<R>(node);
  // Interleaved lengths the primitive cannot plan (unless the four-step
  // plan splits them), and strided lengths it would only run by direct
  // sums or convolution, are left to Bluestein.
  if (node->complex_storage == dfxi::kStorageComplexComplex && !dfxi::is_pow2(L)) {
    if (L > dfxi::primitive_limit(sizeof(R) == 8, L) && !four_step) return dfxi::kDeclined;
    if ((node->stride_in != 1 || node->stride_out != 1) && !factors_well(L)) return dfxi::kDeclined;
  }
  // A team shares out the batch. A single transform gets a team only
  // through the four-step plan, whose columns and rows the team shares
  // (see commit_c2c_1d), and only where that plan is taken anyway: beyond
  // the primitive's limit, or with workspace avoided. Within the limit the
  // primitive on one thread is several times faster than the four steps on
  // two. A nested node never gets a team.
  if (node->ntransforms == 1) {
    const bool needs_four_step =
        L > dfxi::primitive_limit(sizeof(R) == 8, L) || node->workspace == dfxi::kWorkspaceAvoid;
    const bool team = four_step && needs_four_step && node->threads > 1 && (node->flags & dfxi::kFlagNested) == 0;
    node->threads = team ? node->threads : 1;
    return dfxi::kOk;
  }
  node->threads = static_cast<std::int32_t>(std::max<i64>(1, std::min<i64>(node->threads, node->ntransforms)));
  return dfxi::kOk;
}

// ---- Batch drivers ----

// Members' buffers are taken before the team starts, so that a failure
// leaves the data as it was; member 0 uses the caller's buffer.
class TeamBuffers {
 public:
  TeamBuffers(int members, i64 bytes, void* first) : members_(members), bytes_(bytes) {
    list_[0] = first;
    for (int i = 1; i < members_; ++i) {
      list_[i] = bytes_ > 0 ? qor_serv_allocate(bytes_, kAlign) : nullptr;
      if (bytes_ > 0 && list_[i] == nullptr) {
        taken_ = i;
        failed_ = true;
        return;
      }
    }
    taken_ = members_;
  }
  ~TeamBuffers() {
    for (int i = 1; i < taken_; ++i) qor_serv_deallocate(list_[i]);
  }
  TeamBuffers(const TeamBuffers&) = delete;
  TeamBuffers& operator=(const TeamBuffers&) = delete;
  bool failed() const { return failed_; }
  void* operator[](int i) const { return list_[i]; }
  static constexpr int kMostMembers = 256;

 private:
  static constexpr int kAlign = 4096;
  int members_;
  i64 bytes_;
  int taken_ = 1;
  bool failed_ = false;
  void* list_[kMostMembers] = {};
};

template <class Run>
status share_batch(const dfxi_par_record* record, const void* in, void* out, void* buffer, Run run) {
  if (record == nullptr || record->node == nullptr) return dfxi::kInconsistent;
  dfxi_node* node = record->node;
  const i64 p = node->ntransforms;
  const int t = static_cast<int>(std::min<i64>({node->threads, p, max_threads(), TeamBuffers::kMostMembers}));
  if (t <= 1) return run(node, in, out, p, buffer);
  TeamBuffers buffers(t, node->buffer_size_max, buffer);
  if (buffers.failed()) return dfxi::kNoMemory;
  std::atomic<status> result{dfxi::kOk};
#pragma omp parallel num_threads(t)
  {
    const int members = omp_get_num_threads();
    const int i = omp_get_thread_num();
    i64 first = 0, count = 0;
    dfxi::batch_share(p, members, i, &first, &count);
    if (count > 0) {
      dfxi_split_pair in_pair, out_pair;
      const void* src = dfxi::batch_member(node, in, first, node->distance_in, &in_pair);
      void* dst = dfxi::batch_member(node, out, first, node->distance_out, &out_pair);
      const status st = run(node, src, dst, count, buffers[i]);
      status none = dfxi::kOk;
      if (st != dfxi::kOk) result.compare_exchange_strong(none, st);
    }
  }
  return result.load();
}

// ---- One transform on a team: the four-step plan ----

template <class R> using Cx = std::complex<R>;

// What a run of the plan needs from the core: the kernel library's
// transpositions, and the same allocator as the kernel library's heap
// family of memory methods.
template <class R> dfxi::Via2dOps<Cx<R>> via2d_ops() {
  return {trans::Kernels<Cx<R>>::imatcopy(), trans::Kernels<Cx<R>>::omatcopy(), qor_serv_allocate,
          qor_serv_deallocate};
}

template <class R> status steps_1_2(const dfxi_node* node, const dfxi_via2d_run* run, i64 first, i64 count,
                                    void* scratch) {
  if constexpr (sizeof(R) == 8) return QOR_KERNEL(qor_dft_def_xz_4step_1_2)(node, run, first, count, scratch);
  else return QOR_KERNEL(qor_dft_def_xc_4step_1_2)(node, run, first, count, scratch);
}
template <class R> status step_3(const dfxi_node* node, const dfxi_via2d_run* run, i64 first, i64 count,
                                 void* scratch) {
  if constexpr (sizeof(R) == 8) return QOR_KERNEL(qor_dft_def_xz_4step_3)(node, run, first, count, scratch);
  else return QOR_KERNEL(qor_dft_def_xc_4step_3)(node, run, first, count, scratch);
}
template <class R, bool Inverse> status one_thread(const void* in, void* out, dfxi_node* node, void* buffer) {
  if constexpr (sizeof(R) == 8)
    return Inverse ? QOR_KERNEL(qor_dft_def_xz_1d_via_2d_b)(in, out, node, buffer)
                   : QOR_KERNEL(qor_dft_def_xz_1d_via_2d_f)(in, out, node, buffer);
  else
    return Inverse ? QOR_KERNEL(qor_dft_def_xc_1d_via_2d_b)(in, out, node, buffer)
                   : QOR_KERNEL(qor_dft_def_xc_1d_via_2d_f)(in, out, node, buffer);
}

// Member i's share of `n` items handed out in units of `unit`.
void unit_share(i64 n, i64 unit, int members, int i, i64* first, i64* count) {
  i64 f = 0, c = 0;
  dfxi::batch_share((n + unit - 1) / unit, members, i, &f, &c);
  *first = std::min(n, f * unit);
  *count = std::min(n, (f + c) * unit) - *first;
}

// The threaded one-dimensional entry of the node: every member takes a
// share of the columns of steps 1 and 2, then, once all are done, a share
// of the rows of step 3. Scratch for every member and the intermediate
// array are taken before the team starts, so that a failure leaves the
// data as it was.
template <class R, bool Inverse>
std::uint32_t team_1d_via_2d(const void* in, void* out, dfxi_node* node, void* buffer) {
  auto* plan = static_cast<dfxi_1d_via_2d*>(node->data_1d_via_2d);
  if (plan == nullptr) return dfxi::kInternal;
  const int t = static_cast<int>(std::min<i64>({node->threads, max_threads(), TeamBuffers::kMostMembers}));
  if (t <= 1 || omp_in_parallel()) return one_thread<R, Inverse>(in, out, node, buffer);
  TeamBuffers scratch(t, node->buffer_size_max, buffer);
  if (scratch.failed()) return dfxi::kNoMemory;
  const dfxi::Via2dOps<Cx<R>> ops = via2d_ops<R>();
  dfxi_via2d_run run;
  status st = dfxi::via2d_begin(plan, in, out, Inverse ? -1 : 1, ops, &run);
  if (st != dfxi::kOk) return st;
  std::atomic<status> result{dfxi::kOk};
#pragma omp parallel num_threads(t)
  {
    const int members = omp_get_num_threads();
    const int i = omp_get_thread_num();
    i64 first = 0, count = 0;
    unit_share(plan->n2, dfxi::kVia2dColumnTile, members, i, &first, &count);
    status mine = count > 0 ? steps_1_2<R>(node, &run, first, count, scratch[i]) : dfxi::kOk;
#pragma omp barrier
    unit_share(plan->n1, dfxi::kVia2dRowGroup, members, i, &first, &count);
    if (count > 0 && mine == dfxi::kOk) mine = step_3<R>(node, &run, first, count, scratch[i]);
    status none = dfxi::kOk;
    if (mine != dfxi::kOk) result.compare_exchange_strong(none, mine);
  }
  dfxi::via2d_end(plan, &run, ops);
  return result.load();
}

template <class R> status commit_core(dfxi_node* node) {
  if constexpr (sizeof(R) == 8) return QOR_KERNEL(qor_dft_def_commit_descriptor_core_d_c2c_1d)(node);
  else return QOR_KERNEL(qor_dft_def_commit_descriptor_core_s_c2c_1d)(node);
}

// The commit of the default road. When the thread plan gave a single
// transform a team, the road made no plan for it: the four-step plan is
// built here, and its team entries go into the threaded slots.
template <class R> status commit_c2c_1d(dfxi_node* node) {
  status st = commit_core<R>(node);
  if (st != dfxi::kOk || node->ntransforms != 1 || node->threads <= 1) return st;
  if constexpr (sizeof(R) == 8) st = QOR_KERNEL(qor_dft_def_xz_init_data_1d_via_2d)(node, node);
  else st = QOR_KERNEL(qor_dft_def_xc_init_data_1d_via_2d)(node, node);
  if (st != dfxi::kOk) return st;
  node->kernel_thr_1d_fwd = reinterpret_cast<dfxi_any_fn>(team_1d_via_2d<R, false>);
  node->kernel_thr_1d_bwd = reinterpret_cast<dfxi_any_fn>(team_1d_via_2d<R, true>);
  node->flags |= dfxi::kFlag1dVia2d;
  node->buffer_size_max = std::max(node->buffer_size_max, node->buffer_size);
  return dfxi::kOk;
}

}  // namespace
}  // namespace qor::core

using qor::core::share_batch;

extern "C" {

// Fills the process-wide table the node points to. Every node is blessed
// before commit; the table's values never change, so a second blessing
// rewrites the same words.
QOR_API void qor_dft_bless_node_thr(dfxi_node* node) {
  using namespace qor::core;
  if (node == nullptr || node->qorapi == nullptr) return;
  std::lock_guard<std::mutex> lock(g_bless);
  dfxi_threading* t = node->qorapi;
  t->mode = mode_word;
  t->barrier = barrier;
  t->max_threads = slot_max_threads;
  t->team_threads = team_threads;
  t->cache_size = cache_size;
  t->run_team = run_team;
  t->run_team_real_a = run_team;
  t->run_team_real_b = run_team;
  t->run_team_md = run_team;
  t->in_parallel = in_parallel;
}

QOR_API qor::dfxi::status qor_dft_commit_node_d_c2c_1d_omp(dfxi_node* node) {
  return qor::core::commit_c2c_1d<double>(node);
}
QOR_API qor::dfxi::status qor_dft_commit_node_s_c2c_1d_omp(dfxi_node* node) {
  return qor::core::commit_c2c_1d<float>(node);
}

QOR_API qor::dfxi::status qor_dft_threaded_mode_definition_d_c2c_1d(dfxi_node* node, std::int64_t cpu_mode) {
  return qor::core::threaded_mode_definition<double>(node, cpu_mode);
}
QOR_API qor::dfxi::status qor_dft_threaded_mode_definition_s_c2c_1d(dfxi_node* node, std::int64_t cpu_mode) {
  return qor::core::threaded_mode_definition<float>(node, cpu_mode);
}

// The batch drivers: t is z (double) or c (single); the in-place forms run
// the kernel library's x<t>forward, the others its _out forms.
#define QOR_DFT_PAR(t)                                                                                          \
  QOR_API qor::dfxi::status qor_dft_compute_forward_##t##_par(const dfxi_par_record* record, void* data,        \
                                                              void* buffer) {                                   \
    return share_batch(record, data, data, buffer,                                                              \
                       [](dfxi_node* n, const void*, void* d, std::int64_t c, void* b) {                        \
                         return QOR_KERNEL(qor_dft_def_x##t##forward)(n, d, c, b);                              \
                       });                                                                                      \
  }                                                                                                             \
  QOR_API qor::dfxi::status qor_dft_compute_backward_##t##_par(const dfxi_par_record* record, void* data,       \
                                                               void* buffer) {                                  \
    return share_batch(record, data, data, buffer,                                                              \
                       [](dfxi_node* n, const void*, void* d, std::int64_t c, void* b) {                        \
                         return QOR_KERNEL(qor_dft_def_x##t##backward)(n, d, c, b);                             \
                       });                                                                                      \
  }                                                                                                             \
  QOR_API qor::dfxi::status qor_dft_compute_forward_##t##_out_par(const dfxi_par_record* record, const void* in, \
                                                                  void* out, void* buffer) {                    \
    return share_batch(record, in, out, buffer,                                                                 \
                       [](dfxi_node* n, const void* s, void* d, std::int64_t c, void* b) {                      \
                         return QOR_KERNEL(qor_dft_def_x##t##forward_out)(n, s, d, c, b);                       \
                       });                                                                                      \
  }                                                                                                             \
  QOR_API qor::dfxi::status qor_dft_compute_backward_##t##_out_par(const dfxi_par_record* record, const void* in, \
                                                                   void* out, void* buffer) {                   \
    return share_batch(record, in, out, buffer,                                                                 \
                       [](dfxi_node* n, const void* s, void* d, std::int64_t c, void* b) {                      \
                         return QOR_KERNEL(qor_dft_def_x##t##backward_out)(n, s, d, c, b);                      \
                       });                                                                                      \
  }
QOR_DFT_PAR(z)
QOR_DFT_PAR(c)
#undef QOR_DFT_PAR

}  // extern "C"
