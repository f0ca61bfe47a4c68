// The life of a public transform descriptor: create, commit, copy, free,
// the eight compute forms and the status texts. The node is made and
// planned by the kernel library; the front end checks what the caller hands
// it, keeps to the forms this release computes, and never leaves a caller's
// handle or data changed by a call that fails.
#include <cstdint>
#include <cstring>

#include "dft/descriptor.h"
#include "dft/node/api.h"
#include "frame/member.h"
#include "frame/trace.h"

namespace qor::core::dft {
namespace {

namespace x = qor::dfxi;
using i64 = std::int64_t;

// ---- Creation ----

// Statuses of the kernel library are small unsigned values; anything else
// would be a fault of its own.
int public_status(x::status st) { return st <= 100 ? static_cast<int>(st) : QOR_DFT_UNSUPPORTED; }

int check_shape(i64 precision, i64 domain, i64 rank, const i64* lengths) {
  if (precision != x::kSingle && precision != x::kDouble) return QOR_DFT_BAD_VALUE;
  if (domain != x::kDomainComplex && domain != x::kDomainReal) return QOR_DFT_BAD_VALUE;
  if (rank < 1 || rank > INT32_MAX / static_cast<i64>(sizeof(IotensorEntry))) return QOR_DFT_BAD_VALUE;
  i64 total = 1;
  for (i64 i = 0; i < rank; ++i)
    if (lengths[i] < 1 || __builtin_mul_overflow(total, lengths[i], &total)) return QOR_DFT_BAD_VALUE;
  return QOR_DFT_OK;
}

int create(qor_dft_handle* h, i64 precision, i64 domain, i64 rank, const i64* lengths) {
  if (h == nullptr || lengths == nullptr) return QOR_DFT_NULL_ARGUMENT;
  if (const int st = check_shape(precision, domain, rank, lengths); st != QOR_DFT_OK) return st;
  dfxi_node* node = nullptr;
  x::status st;
  // The one-dimensional complex forms also choose the backends; other
  // shapes get a node without any, which this release does not commit.
  if (domain == x::kDomainComplex && rank == 1)
    st = precision == x::kDouble ? QOR_KERNEL(qor_dft_def_dfxi_create_dc1d)(&node, lengths[0], nullptr)
                                 : QOR_KERNEL(qor_dft_def_dfxi_create_sc1d)(&node, lengths[0], nullptr);
  else
    st = QOR_KERNEL(qor_dft_def_dfxi_create_node)(&node, static_cast<std::int32_t>(precision),
                                                   static_cast<std::int32_t>(domain), rank, lengths, nullptr);
  if (st != x::kOk) return public_status(st);
  bless(node);
  *h = handle_of(node);
  return QOR_DFT_OK;
}

// ---- Commit ----

// The lowest and highest element index a side of the geometry reaches from
// its offset, over every dimension and every transform of the batch.
// False when a step overflows.
bool reach(const dfxi_node* n, i64 offset, i64 IotensorEntry::*stride, i64 distance, i64* low, i64* high) {
  i64 lo = offset, hi = offset;
  auto add = [&](i64 count, i64 step) {
    i64 span;
    if (__builtin_mul_overflow(count - 1, step, &span)) return false;
    return span < 0 ? !__builtin_add_overflow(lo, span, &lo) : !__builtin_add_overflow(hi, span, &hi);
  };
  for (std::int32_t i = 0; i < n->tensor.count; ++i)
    if (!add(n->tensor.dims[i].n, n->tensor.dims[i].*stride)) return false;
  if (!add(n->batch.dims[0].n, distance)) return false;
  *low = lo;
  *high = hi;
  return true;
}

// Every element a transform touches must lie at or after the start of the
// caller's array, and its byte offset must be representable.
bool geometry_in_range(const dfxi_node* n) {
  const i64 element = (n->precision == x::kDouble ? 8 : 4) * (n->complex_storage == x::kStorageRealReal ? 1 : 2);
  const i64 max_index = INT64_MAX / element;
  i64 lo, hi;
  if (!reach(n, n->offset_in, &IotensorEntry::is, n->batch.dims[0].is, &lo, &hi) || lo < 0 || hi > max_index)
    return false;
  if (n->placement == x::kInPlace) return true;
  return reach(n, n->offset_out, &IotensorEntry::os, n->batch.dims[0].os, &lo, &hi) && lo >= 0 && hi <= max_index;
}

// What this release plans: complex, rank 1, interleaved or split, with the
// plain input and output geometry.
int check_scope(const dfxi_node* n) {
  if (n->forward_domain != x::kDomainComplex || n->rank != 1) return QOR_DFT_UNSUPPORTED;
  constexpr std::int32_t kDomainGeometry =
      x::kFlagFwdStrides | x::kFlagBwdStrides | x::kFlagFwdDistance | x::kFlagBwdDistance;
  if ((n->flags & kDomainGeometry) != 0) return QOR_DFT_UNSUPPORTED;
  if (n->complex_storage != x::kStorageComplexComplex && n->complex_storage != x::kStorageRealReal)
    return QOR_DFT_BAD_VALUE;
  return QOR_DFT_OK;
}

}  // namespace

int commit(dfxi_node* n) {
  if (committed(n)) return QOR_DFT_OK;
  if (const int st = check_scope(n); st != QOR_DFT_OK) return st;
  if (!geometry_in_range(n)) return QOR_DFT_BAD_VALUE;
  x::status st = n->methods->commit(n);
  // A planner that found no backend to take the node leaves it uncommitted.
  if (st == x::kOk && !committed(n)) st = x::kInternal;
  if (st != x::kOk) {
    // Whatever a failed plan left behind goes; the configuration stays.
    n->uncommit(n);
    return public_status(st);
  }
  if (qor_get_verbose() == 1) QOR_KERNEL(qor_dft_def_dfxi_verbose)(n);
  return QOR_DFT_OK;
}

namespace {

// ---- Copy ----

// The words the node's copy leaves behind that still describe the
// transform: the name, the ordering, the input option, the forward and
// backward offsets and the flags word of the primitive layer.
void complete_copy(const dfxi_node* src, dfxi_node* c) {
  char name[sizeof src->name];
  src->methods->getDescriptorName(src, name, sizeof name);
  c->methods->setDescriptorName(c, name, sizeof name, 0);
  c->ordering = src->ordering;
  c->options = src->options;
  c->fwd_offset = src->fwd_offset;
  c->bwd_offset = src->bwd_offset;
  c->prim_flags = src->prim_flags;
}

int copy(const dfxi_node* src, qor_dft_handle* out) {
  dfxi_node* c = nullptr;
  if (const x::status st = src->methods->copy_node(src, &c); st != x::kOk) return public_status(st);
  complete_copy(src, c);
  // The copy claims the source's commit status without having a plan;
  // it is planned afresh below, or stays uncommitted.
  c->uncommit(c);
  bless(c);
  if (committed(src)) {
    if (const int st = commit(c); st != QOR_DFT_OK) {
      c->methods->destroy(c);
      return st;
    }
  }
  *out = handle_of(c);
  return QOR_DFT_OK;
}

// ---- Compute ----

enum Form { kInterleavedInPlace, kInterleavedOut, kSplitInPlace, kSplitOut };

Form form_of(const dfxi_node* n) {
  const bool split = n->complex_storage == x::kStorageRealReal;
  const bool inplace = n->placement == x::kInPlace;
  return split ? (inplace ? kSplitInPlace : kSplitOut) : (inplace ? kInterleavedInPlace : kInterleavedOut);
}

int pointers_of(Form form) { return form == kInterleavedInPlace ? 1 : form == kSplitOut ? 4 : 2; }

// Checks in this order: the handle, the commit, the form, the pointers.
int compute(qor_dft_handle h, bool forward, Form form, void* a, void* b, void* c, void* d) {
  dfxi_node* n = node_of(h);
  if (!valid(n)) return QOR_DFT_INVALID_DESCRIPTOR;
  if (!committed(n)) return QOR_DFT_NOT_COMMITTED;
  if (form_of(n) != form) return QOR_DFT_WRONG_FORM;
  void* const p[4] = {a, b, c, d};
  for (int i = 0; i < pointers_of(form); ++i)
    if (p[i] == nullptr) return QOR_DFT_NULL_ARGUMENT;
  const x::status st = forward ? n->compute_forward(n, a, b, c, d) : n->compute_backward(n, a, b, c, d);
  return public_status(st);
}

// ---- Status texts ----

struct Text {
  int status;
  const char* text;
};

constexpr Text kTexts[] = {
    {QOR_DFT_OK, "no error"},
    {QOR_DFT_NO_MEMORY, "memory could not be obtained"},
    {QOR_DFT_INVALID_DESCRIPTOR, "not a valid descriptor: null, freed or not made by qor_dft_create"},
    {QOR_DFT_BAD_VALUE, "a value is not allowed, or the configuration is not consistent"},
    {QOR_DFT_BAD_PARAMETER, "unknown or read-only parameter, or a parameter of another type"},
    {QOR_DFT_BAD_FORMAT, "packed format not supported by this transform"},
    {QOR_DFT_UNSUPPORTED, "transform not supported yet, or an internal failure"},
    {QOR_DFT_NOT_COMMITTED, "descriptor not committed"},
    {QOR_DFT_LENGTH_LIMIT, "a length is beyond the longest transform supported"},
    {QOR_DFT_NULL_ARGUMENT, "null argument"},
    {QOR_DFT_WRONG_FORM, "compute call does not match the descriptor's placement, storage or precision"},
};

const char* find_text(int status) {
  for (const Text& t : kTexts)
    if (t.status == status) return t.text;
  return nullptr;
}

}  // namespace

int data_pointers(const dfxi_node* n) { return pointers_of(form_of(n)); }

int compute_committed(qor_dft_handle h, bool forward, void* a, void* b, void* c, void* d) {
  const dfxi_node* n = node_of(h);
  if (!valid(n)) return QOR_DFT_INVALID_DESCRIPTOR;
  if (!committed(n)) return QOR_DFT_NOT_COMMITTED;
  return compute(h, forward, form_of(n), a, b, c, d);
}

}  // namespace qor::core::dft

using namespace qor::core::dft;

// Each entry runs traced: in verbose mode it reports one line with its
// integer arguments (qor/qor.h).
extern "C" {

QOR_API int qor_dft_create(qor_dft_handle* h, int64_t precision, int64_t domain, int64_t rank,
                           const int64_t* lengths) {
  QOR_TRACED_STATUS((precision, domain, rank), [=] { return create(h, precision, domain, rank, lengths); });
}

QOR_API int qor_dft_create_1d(qor_dft_handle* h, int64_t precision, int64_t domain, int64_t length) {
  QOR_TRACED_STATUS((precision, domain, length), [=] { return create(h, precision, domain, 1, &length); });
}

QOR_API int qor_dft_commit(qor_dft_handle h) {
  QOR_TRACED_STATUS((), [=]() -> int {
    dfxi_node* n = node_of(h);
    return valid(n) ? commit(n) : QOR_DFT_INVALID_DESCRIPTOR;
  });
}

QOR_API int qor_dft_copy(qor_dft_handle src, qor_dft_handle* out) {
  QOR_TRACED_STATUS((), [=]() -> int {
    const dfxi_node* n = node_of(src);
    if (!valid(n)) return QOR_DFT_INVALID_DESCRIPTOR;
    if (out == nullptr) return QOR_DFT_NULL_ARGUMENT;
    return copy(n, out);
  });
}

QOR_API int qor_dft_free(qor_dft_handle* h) {
  QOR_TRACED_STATUS((), [=]() -> int {
    if (h == nullptr) return QOR_DFT_NULL_ARGUMENT;
    dfxi_node* n = node_of(*h);
    if (!valid(n)) return QOR_DFT_INVALID_DESCRIPTOR;
    // The tag goes first, so that a stale handle to reused memory is less
    // likely to pass for a descriptor.
    std::memset(n->tag, 0, sizeof n->tag);
    n->methods->destroy(n);
    *h = nullptr;
    return QOR_DFT_OK;
  });
}

#define QOR_DFT_COMPUTE_ENTRIES(dir, forward)                                                                   \
  QOR_API int qor_dft_##dir(qor_dft_handle h, void* x) {                                                       \
    QOR_TRACED_STATUS((), [=] { return compute(h, forward, kInterleavedInPlace, x, nullptr, nullptr, nullptr); });      \
  }                                                                                                             \
  QOR_API int qor_dft_##dir##_out(qor_dft_handle h, void* in, void* out) {                                     \
    QOR_TRACED_STATUS((), [=] { return compute(h, forward, kInterleavedOut, in, out, nullptr, nullptr); });      \
  }                                                                                                             \
  QOR_API int qor_dft_##dir##_split(qor_dft_handle h, void* re, void* im) {                                    \
    QOR_TRACED_STATUS((), [=] { return compute(h, forward, kSplitInPlace, re, im, nullptr, nullptr); });         \
  }                                                                                                             \
  QOR_API int qor_dft_##dir##_split_out(qor_dft_handle h, void* in_re, void* in_im, void* out_re, void* out_im) { \
    QOR_TRACED_STATUS((), [=] { return compute(h, forward, kSplitOut, in_re, in_im, out_re, out_im); });         \
  }
QOR_DFT_COMPUTE_ENTRIES(forward, true)
QOR_DFT_COMPUTE_ENTRIES(backward, false)
#undef QOR_DFT_COMPUTE_ENTRIES

QOR_API const char* qor_dft_error_message(int status) {
  QOR_TRACED((status), [=] {
    const char* t = find_text(status);
    return t != nullptr ? t : "unknown status";
  });
}

QOR_API int qor_dft_error_class(int status, int error_class) {
  QOR_TRACED((status, error_class), [=] { return status == error_class && find_text(status) != nullptr ? 1 : 0; });
}

}  // extern "C"
