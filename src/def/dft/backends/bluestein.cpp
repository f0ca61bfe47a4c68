// The Bluestein backends of complex one-dimensional transforms. They stand
// after the default road in the lists and take what it declines: lengths
// it cannot plan at all, and strided lengths it would only run by direct
// sums. The plain form serves interleaved data at unit strides and
// offset 0, in any batch; the strided form serves the rest, reading and
// writing through the node's strides and offsets.
//
// Commit makes a nested node of length M, a power of two, and two tables:
// the chirp w and the filter, the transform of conj(w) divided by M. A
// transform then takes five passes over one work array of M values:
//   work = x * w, zero from L on, nested forward transform,
//   work *= filter, nested backward transform, out = work * w * scale;
// the backward direction uses the conjugate tables. The four pointwise
// passes are shared over the team; the nested transforms run on the
// calling thread.
#include "dft/backends/bluestein.h"

#include <cstring>

#include "dft/backends/road.h"
#include "dft/backends/threaded.h"
#include "frame/services.h"
#include "frame/types.h"

namespace qor::dfxi {
namespace {

template <class R> constexpr bool is_double = sizeof(R) == 8;
template <class R> constexpr std::int32_t precision_of = is_double<R> ? kDouble : kSingle;

constexpr int kDataAlign = 64;
// The nested node's name, padded with blanks: the strided forms mark theirs.
constexpr char kNestedName[] = "1d_LRG";
constexpr char kNestedNameStrided[] = "1d_LRG|r";
constexpr int kNameFill = ' ';

// M, the power of two above 2L-1, so that a linear convolution of two
// sequences of L values fits in the circular one of length M. Zero when M
// would pass the longest power of two the primitive layer plans: the
// nested node could not be planned. Below that limit 2L-1 fits in 32 bits.
template <class R> i64 padded_length(i64 L) {
  const i64 longest = is_double<R> ? kLimitDoublePow2 : kLimitSinglePow2;
  if (L < 2 || L > longest / 2) return 0;
  const auto span = static_cast<std::uint32_t>(2 * L - 1);
  return i64{2} << (31 - __builtin_clz(span));
}

// Both forms: interleaved complex data of this precision, one dimension
// and one batch level, a length that is not a power of two (those, and
// length 1, are the default road's). Nodes in caller memory are left
// alone: the tables and work arrays come from the heap, which the size
// query of such a node does not count.
template <class R> bool accepts_any(const dfxi_node* node) {
  return node->precision == precision_of<R> && node->forward_domain == kDomainComplex &&
         node->complex_storage == kStorageComplexComplex && node->rank_committed == 1 &&
         node->batch_committed.count == 1 && node->length > 1 && !is_pow2(node->length) && !arena_node(node);
}

// The plain form also wants unit strides and data at offset 0.
template <class R, bool Strided> bool accepts(const dfxi_node* node) {
  if (!accepts_any<R>(node)) return false;
  if constexpr (Strided) return true;
  const bool inplace = node->placement == kInPlace;
  return node->stride_in == 1 && node->stride_out == 1 && node->offset_in == 0 && (inplace || node->offset_out == 0);
}

// ---- Commit ----

// The nested node: length M in the parent's arena, one contiguous transform
// in place, the parent's threads as its limit, and marked as part of
// another plan, so that it takes the default road's primitive plan, whose
// kernel runs on a buffer the caller gives.
template <class R> status make_nested(dfxi_node* node, BluesteinData* d, const char* name) {
  dfxi_node* nested = nullptr;
  status st = is_double<R> ? qor_dft_def_dfxi_create_dc1d(&nested, d->padded, node->mem)
                           : qor_dft_def_dfxi_create_sc1d(&nested, d->padded, node->mem);
  if (st != kOk) return st;
  d->nested = nested;
  const dfxi_methods& m = *nested->methods;
  const i64 unit[2] = {0, 1};
  st = m.setDescriptorName(nested, name, static_cast<i64>(std::strlen(name)), kNameFill);
  if (st == kOk) st = m.setInputStrides(nested, unit);
  if (st == kOk) st = m.setOutputStrides(nested, unit);
  if (st == kOk) st = m.setNumberOfTransforms(nested, 1);
  if (st == kOk) st = m.setInputDistance(nested, 0);
  if (st == kOk) st = m.setOutputDistance(nested, 0);
  if (st != kOk) return st;
  nested->thread_limit = node->threads;
  nested->placement = kInPlace;
  nested->flags |= kFlagNested;
  qor_dft_bless_node_thr(nested);
  return m.commit(nested);
}

// chirp[j] = exp(i pi j*j / L) for j below L, mirrored to chirp[M-j], zero
// between. j*j is kept modulo 2L (the period of the angle) by adding 2j-1
// at each step, so the angle stays exact however large j grows.
template <class R> void fill_chirp(R* chirp, i64 L, i64 M) {
  chirp[0] = R(1);
  chirp[1] = R(0);
  i64 square = 0;
  for (i64 j = 1; j < L; ++j) {
    square += 2 * j - 1;
    if (square >= 2 * L) square -= 2 * L;
    double s = 0, c = 0;
    qor_serv_libm_sincospi(static_cast<double>(square) / static_cast<double>(L), &s, &c);
    chirp[2 * j] = static_cast<R>(c);
    chirp[2 * j + 1] = static_cast<R>(s);
  }
  for (i64 j = 1; j < L; ++j) {
    chirp[2 * (M - j)] = chirp[2 * j];
    chirp[2 * (M - j) + 1] = chirp[2 * j + 1];
  }
  std::memset(chirp + 2 * L, 0, static_cast<std::size_t>(2 * (M - 2 * L + 1)) * sizeof(R));
}

// The two tables in one block. The filter is the chirp transformed by the
// nested node and divided by M (exact, M being a power of two), which
// folds the normalisation of the later backward transform into it; then
// the chirp is conjugated into w.
template <class R> status make_tables(const dfxi_node* node, BluesteinData* d) {
  const i64 L = node->length, M = d->padded;
  const i64 table_bytes = 2 * M * i64{sizeof(R)};
  auto* chirp = static_cast<R*>(dfxi_allocate(2 * table_bytes, kBufferAlign, nullptr));
  if (chirp == nullptr) return kNoMemory;
  R* filter = chirp + 2 * M;
  d->chirp = chirp;
  d->filter = filter;
  fill_chirp(chirp, L, M);
  const auto bytes = static_cast<std::size_t>(table_bytes);
  if (qor_serv_memcpy_unbounded_s(filter, bytes, chirp, bytes) != 0) return kInternal;
  StackArea stack;
  WorkBuffer buffer(nested_buffer_bytes(d), &stack);
  if (buffer.failed()) return kNoMemory;
  const status st = nested_transform<R>(d, false, filter, buffer.get());
  if (st != kOk) return st;
  const R inv = R(1) / static_cast<R>(M);
  for (i64 i = 0; i < 2 * M; ++i) filter[i] *= inv;
  for (i64 j = 0; j < M; ++j) chirp[2 * j + 1] = -chirp[2 * j + 1];
  return kOk;
}

// ---- Compute ----

enum class Step { chirp_in, zero_pad, filter, chirp_out };

// One pointwise pass of one transform, shared by the team. Data pointers
// count reals; strides count complex elements.
template <class R> struct Pass {
  Step step;
  i64 L, M;
  const R* chirp;
  const R* filter;
  const R* in;
  i64 in_stride;
  R* out;
  i64 out_stride;
  R* work;
  R scale;
};

// c = a * b, or a * conj(b).
template <bool Conj, class R> inline void product(R ar, R ai, R br, R bi, R* cr, R* ci) {
  if constexpr (Conj) bi = -bi;
  *cr = ar * br - ai * bi;
  *ci = ar * bi + ai * br;
}

template <class R, bool Strided, bool Inverse> void run_step(const Pass<R>& p, i64 first, i64 count) {
  const i64 end = first + count;
  R* w = p.work;
  switch (p.step) {
    case Step::chirp_in: {
      const i64 s = Strided ? p.in_stride : 1;
      for (i64 i = first; i < end; ++i) {
        const R* x = p.in + 2 * i * s;
        product<Inverse>(x[0], x[1], p.chirp[2 * i], p.chirp[2 * i + 1], &w[2 * i], &w[2 * i + 1]);
      }
      break;
    }
    case Step::zero_pad:
      std::memset(w + 2 * (p.L + first), 0, static_cast<std::size_t>(2 * count) * sizeof(R));
      break;
    case Step::filter:
      for (i64 i = first; i < end; ++i)
        product<Inverse>(w[2 * i], w[2 * i + 1], p.filter[2 * i], p.filter[2 * i + 1], &w[2 * i], &w[2 * i + 1]);
      break;
    case Step::chirp_out: {
      const i64 s = Strided ? p.out_stride : 1;
      for (i64 i = first; i < end; ++i) {
        R* y = p.out + 2 * i * s;
        product<Inverse>(w[2 * i], w[2 * i + 1], p.chirp[2 * i] * p.scale, p.chirp[2 * i + 1] * p.scale, &y[0],
                         &y[1]);
      }
      break;
    }
  }
}

template <class R, bool Strided, bool Inverse> void pass_task(int index, int members, void* context) {
  const auto& p = *static_cast<const Pass<R>*>(context);
  const i64 n = p.step == Step::filter ? p.M : (p.step == Step::zero_pad ? p.M - p.L : p.L);
  i64 first = 0, count = 0;
  pointwise_share(n, members, index, &first, &count);
  if (count > 0) run_step<R, Strided, Inverse>(p, first, count);
}

// A pass on the node's team (threading slot 6), or on this thread when
// the node has one thread.
template <class R, bool Strided, bool Inverse> status run_pass(const dfxi_node* node, Pass<R>* p) {
  const dfxi_threading* table = node->qorapi;
  if (node->threads != 1 && table != nullptr && table->run_team != nullptr)
    return table->run_team(node->thread_limit, node->threads, pass_task<R, Strided, Inverse>, p);
  pass_task<R, Strided, Inverse>(0, 1, p);
  return kOk;
}

template <class R, bool Strided, bool Inverse>
status transform_one(const dfxi_node* node, const BluesteinData* d, Pass<R>* p, void* nested_buffer) {
  p->step = Step::chirp_in;
  status st = run_pass<R, Strided, Inverse>(node, p);
  p->step = Step::zero_pad;
  if (st == kOk) st = run_pass<R, Strided, Inverse>(node, p);
  if (st == kOk) st = nested_transform<R>(d, false, p->work, nested_buffer);
  p->step = Step::filter;
  if (st == kOk) st = run_pass<R, Strided, Inverse>(node, p);
  if (st == kOk) st = nested_transform<R>(d, true, p->work, nested_buffer);
  p->step = Step::chirp_out;
  if (st == kOk) st = run_pass<R, Strided, Inverse>(node, p);
  return st;
}

// The work array and the nested transforms' buffer are taken once per
// call, before any data is read, so that a failure leaves the caller's
// arrays as they were.
template <class R, bool Strided, bool Inverse>
std::uint32_t compute_1d_bluestein(dfxi_node* node, void* a, void* b, void*, void*) {
  if (node == nullptr) return kInconsistent;
  const bool inplace = node->placement == kInPlace;
  void* out = inplace ? a : b;
  if (a == nullptr || out == nullptr) return kInconsistent;
  const auto* d = static_cast<const BluesteinData*>(node->bkd_data);
  if (d == nullptr) return kInternal;
  const i64 work_bytes = round64(2 * d->padded * i64{sizeof(R)});
  void* block = dfxi_allocate(work_bytes + nested_buffer_bytes(d), kBufferAlign, nullptr);
  if (block == nullptr) return kNoMemory;
  Pass<R> p{};
  p.L = node->length;
  p.M = d->padded;
  p.chirp = static_cast<const R*>(d->chirp);
  p.filter = static_cast<const R*>(d->filter);
  const R* in0 = static_cast<const R*>(a) + 2 * node->offset_in;
  R* out0 = static_cast<R*>(out) + 2 * (inplace ? node->offset_in : node->offset_out);
  p.in_stride = node->stride_in;
  p.out_stride = node->stride_out;
  p.work = static_cast<R*>(block);
  p.scale = committed_scale<R>(node, Inverse);
  void* nested_buffer = static_cast<char*>(block) + work_bytes;
  status st = kOk;
  for (i64 k = 0; k < node->ntransforms && st == kOk; ++k) {
    p.in = in0 + 2 * k * node->distance_in;
    p.out = out0 + 2 * k * node->distance_out;
    st = transform_one<R, Strided, Inverse>(node, d, &p, nested_buffer);
  }
  dfxi_deallocate(block, nullptr);
  return st;
}

template <class R, bool Strided>
std::uint32_t compute_1d_bluestein_fwd(dfxi_node* node, void* a, void* b, void* c, void* e) {
  return compute_1d_bluestein<R, Strided, false>(node, a, b, c, e);
}
template <class R, bool Strided>
std::uint32_t compute_1d_bluestein_bwd(dfxi_node* node, void* a, void* b, void* c, void* e) {
  return compute_1d_bluestein<R, Strided, true>(node, a, b, c, e);
}

// ---- The backend ----

template <class R, bool Strided> std::uint32_t commit(const dfxi_backend* self, dfxi_node* node) {
  if (!accepts<R, Strided>(node)) return kDeclined;
  if (node->bkd != self || node->bkd_data != nullptr) node->uncommit(node);
  node->bkd = self;
  const status st = bluestein_plan<R>(node, Strided ? kNestedNameStrided : kNestedName);
  if (st != kOk) {
    bluestein_free(node);
    node->bkd = nullptr;
    // The nested commit went through a planner, so it cannot decline;
    // should it, that is not this node's answer.
    return st == kDeclined ? kInternal : st;
  }
  node->compute_forward = compute_1d_bluestein_fwd<R, Strided>;
  node->compute_backward = compute_1d_bluestein_bwd<R, Strided>;
  node->commit_status = kCommitted;
  node->nbuffers = node->placement == kInPlace ? 1 : 2;
  return kOk;
}

std::uint32_t detach(const dfxi_backend* self, dfxi_node* node, int) {
  if (node->bkd != self) return kInternal;
  node->compute_forward = nullptr;
  node->compute_backward = nullptr;
  node->commit_status = kUncommitted;
  bluestein_free(node);
  return kOk;
}

}  // namespace

template <class R> status bluestein_plan(dfxi_node* node, const char* nested_name) {
  const i64 M = padded_length<R>(node->length);
  if (M == 0) return kLengthLimit;
  auto* d = static_cast<BluesteinData*>(dfxi_calloc(1, sizeof(BluesteinData), kDataAlign, nullptr));
  if (d == nullptr) return kNoMemory;
  node->bkd_data = d;
  d->padded = M;
  status st = make_nested<R>(node, d, nested_name);
  if (st == kOk) st = make_tables<R>(node, d);
  return st;
}

void bluestein_free(dfxi_node* node) {
  auto* d = static_cast<BluesteinData*>(node->bkd_data);
  if (d == nullptr) return;
  if (d->nested != nullptr) d->nested->destroy(d->nested);
  if (d->chirp != nullptr) dfxi_deallocate(d->chirp, nullptr);
  dfxi_free(d, nullptr);
  node->bkd_data = nullptr;
}

std::int64_t nested_buffer_bytes(const BluesteinData* d) { return d->nested->buffer_size_max; }

// The default road's primitive plan runs its kernel directly on the
// buffer given, as its compute entry would for one transform on one
// thread. Any other plan goes through the nested node's compute entry,
// which takes its own work memory.
template <class R> status nested_transform(const BluesteinData* d, bool inverse, void* data, void* buffer) {
  dfxi_node* nested = d->nested;
  const dfxi_kernel_fn kernel = kernel_slot<R>(nested, inverse);
  if (kernel != nullptr && nested->bkd == nullptr && nested->threads == 1 && nested->data_1d_via_2d == nullptr &&
      (nested->flags & kFlagTwoDim) == 0)
    return kernel(data, data, nested, buffer);
  const dfxi_compute_fn entry = inverse ? nested->compute_backward : nested->compute_forward;
  if (entry == nullptr) return kInternal;
  return entry(nested, data, nullptr, nullptr, nullptr);
}

#define QOR_DFXI_BLUESTEIN_INSTANCES(p, R)                                   \
  template status bluestein_plan<R>(dfxi_node*, const char*);              \
  template status nested_transform<R>(const BluesteinData*, bool, void*, void*);
QOR_FOR_EACH_REAL_TYPE(QOR_DFXI_BLUESTEIN_INSTANCES)
#undef QOR_DFXI_BLUESTEIN_INSTANCES

}  // namespace qor::dfxi

#define QOR_DFXI_BLUESTEIN_OBJECTS(p, R)                                                                   \
  QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_##p = {qor::dfxi::commit<R, false>,      \
                                                                         qor::dfxi::detach, nullptr};      \
  QOR_DEF_API const dfxi_backend qor_dft_def_bkd_c2c_1d_bluestein_strided_##p = {qor::dfxi::commit<R, true>, \
                                                                                 qor::dfxi::detach, nullptr};
QOR_FOR_EACH_REAL_TYPE(QOR_DFXI_BLUESTEIN_OBJECTS)
#undef QOR_DFXI_BLUESTEIN_OBJECTS
