// The kernels of the default road's slots and the drivers that run them
// over a batch. A kernel transforms one contiguous vector with the node's
// primitive plan and then applies the committed scale, since the plan is
// made without one. A driver walks the batch; where a first stride is not
// 1 it gathers the vector into the head of the work buffer, transforms it
// there and scatters the result back. A batch of transforms side by side
// for which the commit made a chain of steps runs as columns instead
// (columns.cpp), without gathering.
#include "dft/backends/road.h"
#include "dft/backends/threaded.h"

namespace qor::dfxi {
namespace {

template <class R> void scale_vector(R* x, i64 n, R s) {
  for (i64 i = 0; i < n; ++i) x[i] *= s;
}

// The work buffer's head as the gather area of one side: the interleaved
// vector, or the two split arrays one after the other.
template <class R> void* gather_area(const dfxi_node* node, void* buffer, dfxi_split_pair* pair) {
  if (!split_storage(node)) return buffer;
  pair->re = buffer;
  pair->im = static_cast<char*>(buffer) + round64(node->length * i64{sizeof(R)});
  return pair;
}

template <class R> void gather_one(const dfxi_node* node, const void* src, i64 stride, void* area) {
  const i64 L = node->length;
  if (split_storage(node)) {
    const auto* s = static_cast<const dfxi_split_pair*>(src);
    const auto* d = static_cast<const dfxi_split_pair*>(area);
    gather<R>(L, 1, static_cast<const R*>(s->re), stride, 0, static_cast<R*>(d->re), L);
    gather<R>(L, 1, static_cast<const R*>(s->im), stride, 0, static_cast<R*>(d->im), L);
  } else {
    using C = std::complex<R>;
    gather<C>(L, 1, static_cast<const C*>(src), stride, 0, static_cast<C*>(area), L);
  }
}

template <class R> void scatter_one(const dfxi_node* node, const void* area, void* dst, i64 stride) {
  const i64 L = node->length;
  if (split_storage(node)) {
    const auto* s = static_cast<const dfxi_split_pair*>(area);
    const auto* d = static_cast<const dfxi_split_pair*>(dst);
    scatter<R>(L, 1, static_cast<const R*>(s->re), L, static_cast<R*>(d->re), stride, 0);
    scatter<R>(L, 1, static_cast<const R*>(s->im), L, static_cast<R*>(d->im), stride, 0);
  } else {
    using C = std::complex<R>;
    scatter<C>(L, 1, static_cast<const C*>(area), L, static_cast<C*>(dst), stride, 0);
  }
}

// The split plan lives in the memory the node keeps in twiddle_data (see
// the commit of the default road).
template <class R, bool Split> const qor_zups_dft_spec* plan_of(dfxi_node* record) {
  if constexpr (Split) return static_cast<const qor_zups_dft_spec*>(record->twiddle_data);
  else return static_cast<const qor_zups_dft_spec*>(spec_slot<R>(record));
}

}  // namespace

template <class R, bool Split, bool Inverse>
std::uint32_t xzups(const void* in, void* out, dfxi_node* record, void* buffer) {
  const qor_zups_dft_spec* spec = plan_of<R, Split>(record);
  int st;
  if constexpr (Split)
    st = Prim<R>::run_split(Inverse, static_cast<const dfxi_split_pair*>(in), static_cast<const dfxi_split_pair*>(out),
                            spec, buffer);
  else
    st = Prim<R>::run(Inverse, in, out, spec, buffer);
  if (st != 0) return qor_dft_def_transfer_zup_qor_error(st);
  const R s = committed_scale<R>(record, Inverse);
  if (s != R(1)) {
    const i64 L = record->length;
    if constexpr (Split) {
      const auto* o = static_cast<const dfxi_split_pair*>(out);
      scale_vector(static_cast<R*>(o->re), L, s);
      scale_vector(static_cast<R*>(o->im), L, s);
    } else {
      scale_vector(static_cast<R*>(out), 2 * L, s);
    }
  }
  return kOk;
}

template <class R, bool Inverse>
status drive(dfxi_node* node, const void* in, void* out, i64 count, void* buffer) {
  if (!split_storage(node) && node->work_data != nullptr) return run_columns<R, Inverse>(node, in, out, count, buffer);
  const dfxi_kernel_fn kernel = kernel_slot<R>(node, Inverse);
  if (kernel == nullptr) return kInternal;
  const bool gather_in = node->stride_in != 1;
  const bool scatter_out = node->stride_out != 1;
  dfxi_split_pair area_pair;
  void* area = nullptr;    // the gathered input
  void* result = nullptr;  // the result before its scatter
  void* work = buffer;
  if (gather_in || scatter_out) {
    if (buffer == nullptr) return kInternal;
    area = gather_area<R>(node, buffer, &area_pair);
    result = second_area(node) ? static_cast<char*>(buffer) + gather_bytes<R>(node) / 2 : area;
    work = static_cast<char*>(buffer) + gather_bytes<R>(node);
  }
  for (i64 k = 0; k < count; ++k) {
    dfxi_split_pair in_pair, out_pair;
    const void* src = batch_member(node, in, k, node->distance_in, &in_pair);
    void* dst = batch_member(node, out, k, node->distance_out, &out_pair);
    if (gather_in) {
      gather_one<R>(node, src, node->stride_in, area);
      src = area;
    }
    const status st = kernel(src, scatter_out ? result : dst, node, work);
    if (st != kOk) return st;
    if (scatter_out) scatter_one<R>(node, result, dst, node->stride_out);
  }
  return kOk;
}

#define QOR_DFXI_INSTANCES(R)                                                                    \
  template std::uint32_t xzups<R, false, false>(const void*, void*, dfxi_node*, void*);          \
  template std::uint32_t xzups<R, false, true>(const void*, void*, dfxi_node*, void*);           \
  template std::uint32_t xzups<R, true, false>(const void*, void*, dfxi_node*, void*);           \
  template std::uint32_t xzups<R, true, true>(const void*, void*, dfxi_node*, void*);            \
  template status drive<R, false>(dfxi_node*, const void*, void*, i64, void*);                   \
  template status drive<R, true>(dfxi_node*, const void*, void*, i64, void*);
QOR_DFXI_INSTANCES(double)
QOR_DFXI_INSTANCES(float)
#undef QOR_DFXI_INSTANCES

}  // namespace qor::dfxi

using qor::dfxi::drive;
using qor::dfxi::i64;

// x<t>forward and kin: t is z for double and c for single; `count`
// transforms of the node from its distances.
#define QOR_DFXI_DRIVERS(t, R)                                                                                   \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##forward(dfxi_node* node, void* data, i64 count, void* buffer) {     \
    return drive<R, false>(node, data, data, count, buffer);                                                     \
  }                                                                                                              \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##backward(dfxi_node* node, void* data, i64 count, void* buffer) {    \
    return drive<R, true>(node, data, data, count, buffer);                                                      \
  }                                                                                                              \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##forward_out(dfxi_node* node, const void* in, void* out, i64 count,  \
                                                          void* buffer) {                                        \
    return drive<R, false>(node, in, out, count, buffer);                                                        \
  }                                                                                                              \
  QOR_DEF_API std::uint32_t qor_dft_def_x##t##backward_out(dfxi_node* node, const void* in, void* out, i64 count, \
                                                           void* buffer) {                                       \
    return drive<R, true>(node, in, out, count, buffer);                                                         \
  }                                                                                                              \
  QOR_DEF_API void qor_dft_def_gather_##t##_##t(i64 n, i64 count, const std::complex<R>* src, i64 stride,        \
                                                i64 distance, std::complex<R>* dst, i64 ld) {                    \
    qor::dfxi::gather(n, count, src, stride, distance, dst, ld);                                                 \
  }                                                                                                              \
  QOR_DEF_API void qor_dft_def_scatter_##t##_##t(i64 n, i64 count, const std::complex<R>* src, i64 ld,           \
                                                 std::complex<R>* dst, i64 stride, i64 distance) {               \
    qor::dfxi::scatter(n, count, src, ld, dst, stride, distance);                                                \
  }
QOR_DFXI_DRIVERS(z, double)
QOR_DFXI_DRIVERS(c, float)
#undef QOR_DFXI_DRIVERS
