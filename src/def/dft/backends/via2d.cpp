// The four-step plan of very long one-dimensional complex transforms (see
// via2d.h for the index map): building it in a per-dimension record of the
// default road, the kernels of its slots, and the two pieces that the
// core's threading layer shares out over a team.
//
// Twiddles. exp(-2 pi i a b / L) is T(a + b) * conj(T(a - b)) with
// T(k) = exp(-i pi k^2 / (2 L)), since 4ab = (a + b)^2 - (a - b)^2. So a
// table of n1 + n2 values replaces one of L: entry k + 4 holds T(k), with
// k^2 reduced modulo 4L in integers so that the angle stays exact for
// large k. T is even, and the four entries below the centre mirror those
// above it, so that a reader may step a little past zero on either side.
#include <algorithm>

#include "dft/backends/road.h"
#include "dft/backends/via2d.h"
#include "trans/api.h"

namespace qor::dfxi {
namespace {

template <class R> constexpr bool is_double = sizeof(R) == 8;
template <class R> using Cx = std::complex<R>;

constexpr int kPlanAlign = 64;
constexpr int kTableAlign = 64;
// Index of T(0) in the table, and the entries mirrored around it.
constexpr i64 kCentre = 4;
constexpr i64 kMirrored = 5;

dfxi_1d_via_2d* plan_of(const dfxi_node* node) { return static_cast<dfxi_1d_via_2d*>(node->data_1d_via_2d); }

// The transposition kernels of this library and the node's allocator.
void* own_allocate(i64 bytes, int align) { return dfxi_allocate(bytes, align, nullptr); }
void own_deallocate(void* p) { dfxi_deallocate(p, nullptr); }
template <class C> constexpr Via2dOps<C> kOps = {};
template <>
constexpr Via2dOps<c64> kOps<c64> = {qor_trans_def_qor_zimatcopy, qor_trans_def_qor_zomatcopy, own_allocate,
                                     own_deallocate};
template <>
constexpr Via2dOps<c32> kOps<c32> = {qor_trans_def_qor_cimatcopy, qor_trans_def_qor_comatcopy, own_allocate,
                                     own_deallocate};

// Releases everything the plan holds; a node shared by both factors is
// destroyed once. Partial plans (a failed build) are released the same way.
void free_data_1d_via_2d(dfxi_node* node, int) {
  dfxi_1d_via_2d* plan = plan_of(node);
  if (plan != nullptr) {
    if (plan->desc2 != nullptr && plan->desc2 != plan->desc1) plan->desc2->destroy(plan->desc2);
    if (plan->desc1 != nullptr) plan->desc1->destroy(plan->desc1);
    if (plan->twiddle != nullptr) dfxi_free(plan->twiddle, nullptr);
    if (plan->buffer != nullptr) dfxi_deallocate(plan->buffer, nullptr);
    dfxi_free(plan, nullptr);
  }
  node->data_1d_via_2d = nullptr;
  node->kernel_thr_1d_fwd = nullptr;
  node->kernel_thr_1d_bwd = nullptr;
  node->flags &= ~kFlag1dVia2d;
}

status build_failed(dfxi_node* record, dfxi_node* root, status st) {
  record->next_dim = nullptr;
  root->uncommit(root);
  return st;
}

template <class R> status setup_twiddle_table(dfxi_1d_via_2d* plan) {
  const i64 n = plan->n1 + plan->n2;
  auto* t = static_cast<Cx<R>*>(dfxi_malloc((n + kCentre) * i64{sizeof(Cx<R>)}, kTableAlign, nullptr));
  if (t == nullptr) return kNoMemory;
  const i64 w = 4 * plan->n1 * plan->n2;
  const double step = -2.0 / static_cast<double>(w);
  for (i64 k = 0; k < n; ++k) {
    const i64 m = (k * k) % w;
    double s = 0, c = 0;
    qor_serv_libm_sincospi(step * static_cast<double>(m), &s, &c);
    t[kCentre + k] = Cx<R>(static_cast<R>(c), static_cast<R>(s));
  }
  for (i64 k = 1; k < std::min(kMirrored, n); ++k) t[kCentre - k] = t[kCentre + k];
  plan->twiddle = t;
  return kOk;
}

// A nested node of length n: one thread, and the nested flag keeps it off
// the small backends and every team.
template <class R> status make_nested(i64 n, dfxi_node** out) {
  dfxi_node* d = nullptr;
  status st = is_double<R> ? qor_dft_def_dfxi_create_dc1d(&d, n, nullptr) : qor_dft_def_dfxi_create_sc1d(&d, n, nullptr);
  if (st != kOk) return st;
  d->methods->setThreadLimit(d, 1);
  d->flags |= kFlagNested;
  st = d->methods->commit(d);
  if (st != kOk) {
    d->destroy(d);
    return st;
  }
  // Only the outermost plan goes without workspace.
  if (dfxi_1d_via_2d* inner = plan_of(d)) inner->mode = 0;
  *out = d;
  return kOk;
}

// A caller's scratch: a tile of kVia2dColumnTile padded rows for either
// step, then the work buffer of the nested transforms.
template <class R> i64 tile_bytes(const dfxi_1d_via_2d* plan) {
  return round64(kVia2dColumnTile * std::max(plan->ld1, plan->ld2) * i64{sizeof(Cx<R>)});
}
template <class R> i64 scratch_bytes(const dfxi_1d_via_2d* plan) {
  return tile_bytes<R>(plan) + std::max(plan->desc1->buffer_size_max, plan->desc2->buffer_size_max);
}

template <class R> status init_data_1d_via_2d(dfxi_node* record, dfxi_node* root) {
  if (record == nullptr || root == nullptr) return kInconsistent;
  // A node in caller memory keeps the primitive plan, which its arena sizes.
  if (arena_node(root)) return kNoFactorPair;
  i64 n1 = 0, n2 = 0;
  status st = via2d_factors(record->length, is_double<R>, &n1, &n2);
  if (st != kOk) return st;

  auto* plan = static_cast<dfxi_1d_via_2d*>(dfxi_calloc(1, sizeof(dfxi_1d_via_2d), kPlanAlign, nullptr));
  if (plan == nullptr) return build_failed(record, root, kNoMemory);
  record->data_1d_via_2d = plan;
  record->free_data_1d_via_2d = free_data_1d_via_2d;
  plan->n1 = n1;
  plan->n2 = n2;
  plan->ld1 = via2d_padded(n1);
  plan->ld2 = via2d_padded(n2);
  plan->mode = record->workspace == kWorkspaceAvoid ? 1 : 0;
  // Without workspace the output is the intermediate array: no buffer.
  if (plan->mode == 0) {
    plan->buffer = dfxi_allocate(plan->ld2 * n1 * i64{sizeof(Cx<R>)}, kBufferAlign, nullptr);
    if (plan->buffer == nullptr) return build_failed(record, root, kNoMemory);
  }
  st = setup_twiddle_table<R>(plan);
  if (st == kOk) st = make_nested<R>(n1, &plan->desc1);
  if (st == kOk) {
    if (n2 == n1) plan->desc2 = plan->desc1;
    else st = make_nested<R>(n2, &plan->desc2);
  }
  if (st != kOk) return build_failed(record, root, st);
  kernel_slot<R>(record, false) = is_double<R> ? qor_dft_def_xz_1d_via_2d_f : qor_dft_def_xc_1d_via_2d_f;
  kernel_slot<R>(record, true) = is_double<R> ? qor_dft_def_xz_1d_via_2d_b : qor_dft_def_xc_1d_via_2d_b;
  record->buffer_size = scratch_bytes<R>(plan);
  return kOk;
}

// The product of two complex values, the second conjugated when asked,
// without the library's care for infinities.
template <class R> Cx<R> mul(Cx<R> a, Cx<R> b, bool conj_b) {
  const R bi = conj_b ? -b.imag() : b.imag();
  return {a.real() * b.real() - a.imag() * bi, a.real() * bi + a.imag() * b.real()};
}

// The twiddle of column a, row b: exp(-+2 pi i a b / L).
template <class R> Cx<R> twiddle(const Cx<R>* t, i64 a, i64 b, bool forward) {
  const i64 d = a >= b ? a - b : b - a;
  const Cx<R> w = mul(t[kCentre + a + b], t[kCentre + d], true);
  return forward ? w : Cx<R>(w.real(), -w.imag());
}

// Writes `width` transformed columns of the tile (row r holds column
// j2 + r, k1 along the row) into the intermediate array at
// k1 * dk + (j2 + r) * dj, each multiplied by its twiddle. The loop runs
// along whichever index is contiguous in the destination.
template <class R>
void tiled1_scatter_twist_rows(const dfxi_1d_via_2d* plan, const Cx<R>* tile, i64 width, i64 j2, Cx<R>* dst, i64 dk,
                               i64 dj, bool forward) {
  const auto* t = static_cast<const Cx<R>*>(plan->twiddle);
  const i64 n1 = plan->n1, ld1 = plan->ld1;
  if (dk == 1) {
    for (i64 r = 0; r < width; ++r) {
      const Cx<R>* s = tile + r * ld1;
      Cx<R>* d = dst + (j2 + r) * dj;
      for (i64 k1 = 0; k1 < n1; ++k1) d[k1] = mul(s[k1], twiddle(t, j2 + r, k1, forward), false);
    }
    return;
  }
  for (i64 k1 = 0; k1 < n1; ++k1) {
    Cx<R>* d = dst + k1 * dk + j2 * dj;
    for (i64 r = 0; r < width; ++r) d[r * dj] = mul(tile[r * ld1 + k1], twiddle(t, j2 + r, k1, forward), false);
  }
}

template <class R> void scale_rows(Cx<R>* x, i64 n, R s) {
  if (s == R(1)) return;
  for (i64 i = 0; i < n; ++i) x[i] *= s;
}

// Steps 1 and 2 on columns [first, first + count): gather a tile of
// columns into padded rows, transform each row, and twist it into the
// intermediate array.
template <class R>
status steps_1_2(const dfxi_node* record, const dfxi_via2d_run* run, i64 first, i64 count, void* scratch) {
  using C = Cx<R>;
  const dfxi_1d_via_2d* plan = plan_of(record);
  if (plan == nullptr || scratch == nullptr) return kInternal;
  const i64 n1 = plan->n1, n2 = plan->n2, ld1 = plan->ld1, ld2 = plan->ld2;
  const bool forward = run->direction == 1;
  const dfxi_kernel_fn kernel = kernel_slot<R>(plan->desc1, !forward);
  auto* tile = static_cast<C*>(scratch);
  void* work = static_cast<char*>(scratch) + tile_bytes<R>(plan);
  const auto* src = static_cast<const C*>(run->source);
  // Element j1 of column j2 of the source, and where (k1, j2) goes.
  const i64 es = run->transposed ? 1 : n2, cs = run->transposed ? n1 : 1;
  const i64 dk = run->buffered ? ld2 : 1, dj = run->buffered ? 1 : n1;
  auto* dst = static_cast<C*>(run->inter);
  status st = kOk;
  const i64 end = std::min(n2, first + count);
  for (i64 j2 = first; j2 < end; j2 += kVia2dColumnTile) {
    const i64 width = std::min(kVia2dColumnTile, end - j2);
    gather<C>(n1, width, src + j2 * cs, es, cs, tile, ld1);
    for (i64 r = 0; r < width; ++r) st |= kernel(tile + r * ld1, tile + r * ld1, plan->desc1, work);
    tiled1_scatter_twist_rows<R>(plan, tile, width, j2, dst, dk, dj, forward);
  }
  return st;
}

// Step 3 on rows [first, first + count), scaled by the record's committed
// scale. The buffered layout transforms its rows where they are and
// scatters each group into the output, transposing; otherwise the rows
// (k1 + n1 * j2 in the output) are gathered a tile at a time and put back
// in place.
template <class R>
status step_3(const dfxi_node* record, const dfxi_via2d_run* run, i64 first, i64 count, void* scratch) {
  using C = Cx<R>;
  const dfxi_1d_via_2d* plan = plan_of(record);
  if (plan == nullptr || scratch == nullptr) return kInternal;
  const i64 n1 = plan->n1, n2 = plan->n2, ld2 = plan->ld2;
  const bool inverse = run->direction != 1;
  const dfxi_kernel_fn kernel = kernel_slot<R>(plan->desc2, inverse);
  const R scale = committed_scale<R>(record, inverse);
  auto* tile = static_cast<C*>(scratch);
  void* work = static_cast<char*>(scratch) + tile_bytes<R>(plan);
  auto* inter = static_cast<C*>(run->inter);
  auto* out = static_cast<C*>(run->out);
  status st = kOk;
  const i64 end = std::min(n1, first + count);
  if (run->buffered) {
    for (i64 k1 = first; k1 < end; k1 += kVia2dRowGroup) {
      const i64 rows = std::min(kVia2dRowGroup, end - k1);
      for (i64 r = 0; r < rows; ++r) {
        C* row = inter + (k1 + r) * ld2;
        st |= kernel(row, row, plan->desc2, work);
        scale_rows(row, n2, scale);
      }
      scatter<C>(n2, rows, inter + k1 * ld2, ld2, out + k1, n1, 1);
    }
    return st;
  }
  for (i64 k1 = first; k1 < end; k1 += kVia2dColumnTile) {
    const i64 rows = std::min(kVia2dColumnTile, end - k1);
    gather<C>(n2, rows, inter + k1, n1, 1, tile, ld2);
    for (i64 r = 0; r < rows; ++r) {
      C* row = tile + r * ld2;
      st |= kernel(row, row, plan->desc2, work);
      scale_rows(row, n2, scale);
    }
    scatter<C>(n2, rows, tile, ld2, inter + k1, n1, 1);
  }
  return st;
}

// The kernel of the record's slots: the whole plan on the caller's thread,
// with `buffer` of the record's buffer_size bytes as scratch.
template <class R, bool Inverse>
std::uint32_t run_1d_via_2d(const void* in, void* out, dfxi_node* record, void* buffer) {
  dfxi_1d_via_2d* plan = record != nullptr ? plan_of(record) : nullptr;
  if (plan == nullptr || buffer == nullptr) return kInternal;
  dfxi_via2d_run run;
  status st = via2d_begin<Cx<R>>(plan, in, out, Inverse ? -1 : 1, kOps<Cx<R>>, &run);
  if (st != kOk) return st;
  st = steps_1_2<R>(record, &run, 0, plan->n2, buffer);
  if (st == kOk) st = step_3<R>(record, &run, 0, plan->n1, buffer);
  via2d_end(plan, &run, kOps<Cx<R>>);
  return st;
}

}  // namespace
}  // namespace qor::dfxi

using namespace qor::dfxi;

// t is z for double and c for single.
#define QOR_DFXI_VIA2D(t, R)                                                                                     \
  QOR_DEF_API status qor_dft_def_x##t##_init_data_1d_via_2d(dfxi_node* record, dfxi_node* root) {                \
    return init_data_1d_via_2d<R>(record, root);                                                                 \
  }                                                                                                              \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##_1d_via_2d_f(const void* in, void* out, dfxi_node* record,         \
                                                           void* buffer) {                                       \
    return run_1d_via_2d<R, false>(in, out, record, buffer);                                                     \
  }                                                                                                              \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##_1d_via_2d_b(const void* in, void* out, dfxi_node* record,         \
                                                           void* buffer) {                                       \
    return run_1d_via_2d<R, true>(in, out, record, buffer);                                                      \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_x##t##_4step_1_2(const dfxi_node* record, const dfxi_via2d_run* run, i64 first, \
                                                  i64 count, void* scratch) {                                    \
    return record != nullptr && run != nullptr ? steps_1_2<R>(record, run, first, count, scratch) : kInternal;   \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_x##t##_4step_3(const dfxi_node* record, const dfxi_via2d_run* run, i64 first,   \
                                                i64 count, void* scratch) {                                      \
    return record != nullptr && run != nullptr ? step_3<R>(record, run, first, count, scratch) : kInternal;      \
  }
QOR_DFXI_VIA2D(z, double)
QOR_DFXI_VIA2D(c, float)
#undef QOR_DFXI_VIA2D
