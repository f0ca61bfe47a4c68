// Making nodes: on the heap, in caller memory, or on the stack to learn the
// sizes that caller memory must have; and blessing them with the threading
// table.
#include <cstring>

#include "dft/backends/threaded.h"
#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "frame/services.h"

namespace qor::dfxi {

dfxi_threading static_qorapi_entries = {};

namespace {

int g_bless_lock = 0;

std::int64_t getCacheSize(int level) { return qor_serv_get_cache_size(level); }

template <class R> constexpr std::int32_t precision_of() { return sizeof(R) == 8 ? kDouble : kSingle; }

void set_defaults(dfxi_node* node, std::int32_t precision, std::int32_t domain, std::int32_t rank) {
  node->uncommit = static_uncommit;
  node->destroy = static_destroy;
  node->methods = &static_methods;
  node->precision = precision;
  node->forward_domain = domain;
  node->rank = rank;
  std::memcpy(node->tag, "DFT", 4);
  node->commit_status = kUncommitted;
  node->complex_storage = kStorageComplexComplex;
  node->real_storage = kStorageRealReal;
  node->conjugate_even_storage = kStorageComplexComplex;
  node->placement = kInPlace;
  node->packed_format = kFormatConjugateEven;
  node->workspace = kWorkspaceAllow;
  node->ordering = kOrdered;
  node->transpose = kWorkspaceNone;
  node->options = 0;
  node->planned_threads = 1;
  node->scale_forward = 1.0;
  node->scale_backward = 1.0;
  node->front_end[0] = 2;
}

// Entry i: extent lengths[i], input and output strides the product of the
// extents before it, so the first length is the fastest dimension.
bool fill_tensor(Iotensor* t, const std::int64_t* lengths) {
  std::int64_t stride = 1;
  for (std::int32_t i = 0; i < t->count; ++i) {
    t->dims[i] = IotensorEntry{lengths[i], stride, stride, 0, 0};
    if (__builtin_mul_overflow(stride, lengths[i], &stride)) return false;
  }
  return true;
}

}  // namespace

void bless_node_core(dfxi_node* node) {
  node->qorapi = &static_qorapi_entries;
  qor_serv_lock(&g_bless_lock);
  if (static_qorapi_entries.cache_size == nullptr) static_qorapi_entries.cache_size = getCacheSize;
  qor_serv_unlock(&g_bless_lock);
}

int max_threads(const dfxi_node* node) {
  const dfxi_threading* t = node->qorapi;
  if (t == nullptr || t->max_threads == nullptr) return 1;
  const int n = t->max_threads();
  return n < 1 ? 1 : n;
}

int in_parallel(const dfxi_node* node) {
  const dfxi_threading* t = node->qorapi;
  return t != nullptr && t->in_parallel != nullptr ? t->in_parallel() : 0;
}

std::int64_t plan_mode(const dfxi_node* node) {
  const dfxi_threading* t = node->qorapi;
  return t != nullptr && t->mode != nullptr ? t->mode() : 0;
}

namespace {

status create_node(dfxi_node** out, std::int32_t precision, std::int32_t domain, std::int64_t rank,
                   const std::int64_t* lengths, dfxi_arena* arena) {
  if (out == nullptr || lengths == nullptr) return kInconsistent;
  if (precision != kSingle && precision != kDouble) return kInconsistent;
  if (domain != kDomainComplex && domain != kDomainReal) return kInconsistent;
  if (rank < 1 || rank > INT32_MAX / static_cast<std::int64_t>(sizeof(IotensorEntry))) return kInconsistent;
  std::int64_t total = 1;
  for (std::int64_t i = 0; i < rank; ++i)
    if (lengths[i] < 1 || __builtin_mul_overflow(total, lengths[i], &total)) return kInconsistent;

  qor_dft_def_dfxi_mem_methods_init(arena);
  auto* node = static_cast<dfxi_node*>(dfxi_calloc(1, sizeof(dfxi_node), kNodeAlign, first_cell(arena)));
  if (node == nullptr) {
    // The size query hands its own node in *out.
    if (*out == nullptr || !arena_mode(arena)) return kNoMemory;
    node = *out;
  }
  set_defaults(node, precision, domain, static_cast<std::int32_t>(rank));
  node->mem = arena;
  status st = iotensor_create(&node->tensor, static_cast<std::int32_t>(rank), arena);
  if (st == kOk) st = iotensor_create(&node->batch, 1, arena);
  if (st == kOk) {
    fill_tensor(&node->tensor, lengths);
    node->batch.dims[0] = IotensorEntry{1, 0, 0, 0, 0};
    st = iotensor_copy(&node->tensor_committed, &node->tensor, false, arena);
  }
  if (st == kOk) st = iotensor_copy(&node->batch_committed, &node->batch, false, arena);
  if (st != kOk) {
    node->destroy(node);
    return st;
  }
  *out = node;
  bless_node_core(node);
  return kOk;
}

template <class R> status create_1d(dfxi_node** out, std::int64_t length, dfxi_arena* arena) {
  const status st = create_node(out, precision_of<R>(), kDomainComplex, 1, &length, arena);
  if (st == kOk) (*out)->bkdown_list = complex_1d_list<R>();
  return st;
}

template <class R> status set_bkdlist_1d(dfxi_node* node) {
  if (node == nullptr) return kInconsistent;
  node->bkdown_list = complex_1d_list<R>();
  return kOk;
}

void bless_thr(dfxi_node* node) { qor_dft_bless_node_thr(node); }

// The pieces that make a node's caller memory last: the arena record and
// one cell for each buffer. The size query charges them here too, so that
// its sizes cover what construction takes.
constexpr std::int64_t kRecordBytes = 32;
constexpr std::int64_t kCellBytes = 16;
static_assert(sizeof(dfxi_arena) <= kRecordBytes && sizeof(dfxi_cell) <= kCellBytes);

// The size query: builds the node on the stack against counting cells
// (active 0, so every arena allocator answers null while the cursors add
// up) and commits it, so that the plans charge the cells as well.
template <class R, bool Split>
status get_size_1d(std::int64_t, const std::int64_t* lengths, std::int32_t prim_flags, std::int64_t* size1,
                   std::int64_t* size2, std::int64_t* size3, R scale_forward, R scale_backward) {
  if (lengths == nullptr || size1 == nullptr || size2 == nullptr || size3 == nullptr) return kInconsistent;
  dfxi_cell cells[3] = {};
  dfxi_arena arena = {{&cells[0], &cells[1], &cells[2]}, kArenaCaller};
  alignas(64) dfxi_node stack_node;
  std::memset(&stack_node, 0, sizeof stack_node);
  // Arrays for the four io-tensors of a one-dimensional node.
  IotensorEntry arrays[4] = {};
  stack_node.tensor.dims = &arrays[0];
  stack_node.batch.dims = &arrays[1];
  stack_node.tensor_committed.dims = &arrays[2];
  stack_node.batch_committed.dims = &arrays[3];

  qor_dft_def_dfxi_mem_methods_init(&arena);
  // The heap family would put the node on the heap and count nothing.
  if (!arena_family()) return kInternal;
  dfxi_node* node = &stack_node;
  status st = create_1d<R>(&node, lengths[0], &arena);
  if (st != kOk) return st;
  node->scale_forward = scale_forward;
  node->scale_backward = scale_backward;
  if (Split) node->complex_storage = kStorageRealReal;

  dfxi_allocate(kRecordBytes, kArenaAlign, &cells[0]);
  dfxi_allocate(kCellBytes, kArenaAlign, &cells[0]);
  dfxi_allocate(kCellBytes, kArenaAlign, &cells[2]);

  bless_thr(node);
  node->prim_flags = prim_flags;
  st = node->methods->commit(node);
  if (st != kOk) return st;
  *size1 = static_cast<std::int64_t>(cells[0].cursor);
  *size2 = static_cast<std::int64_t>(cells[1].cursor);
  *size3 = static_cast<std::int64_t>(cells[2].cursor);
  return kOk;
}

// Builds an uncommitted node at the start of buffer1. The split forms leave
// the storage at its default on purpose: the front end sets it.
template <class R>
status init_1d(std::int64_t, const std::int64_t* lengths, std::int32_t prim_flags, void* buffer1, void* buffer2) {
  if (lengths == nullptr || buffer1 == nullptr || buffer2 == nullptr) return kInconsistent;
  const auto b1 = reinterpret_cast<std::uintptr_t>(buffer1);
  const auto b2 = reinterpret_cast<std::uintptr_t>(buffer2);
  if (b1 % kNodeAlign != 0 || b2 % kNodeAlign != 0) return kInconsistent;
  dfxi_cell cells[3] = {{b1, 1}, {b2, 1}, {0, 0}};
  dfxi_arena arena = {{&cells[0], &cells[1], &cells[2]}, kArenaCaller};

  qor_dft_def_dfxi_mem_methods_init(&arena);
  if (!arena_family()) return kInternal;
  dfxi_node* node = nullptr;
  const status st = create_1d<R>(&node, lengths[0], &arena);
  if (st != kOk) return st;

  // The running cells live on this stack; the node keeps lasting copies in
  // its own memory. The third cell has nothing behind it here, so the
  // second lasting cell is taken from the second buffer.
  auto* record = static_cast<dfxi_arena*>(dfxi_allocate(kRecordBytes, kArenaAlign, &cells[0]));
  auto* first = static_cast<dfxi_cell*>(dfxi_allocate(kCellBytes, kArenaAlign, &cells[0]));
  auto* second = static_cast<dfxi_cell*>(dfxi_allocate(kCellBytes, kArenaAlign, &cells[1]));
  *first = cells[0];
  *second = cells[1];
  *record = dfxi_arena{{first, second, nullptr}, kArenaCaller};
  node->mem = record;

  bless_thr(node);
  node->prim_flags = prim_flags;
  return kOk;
}

}  // namespace
}  // namespace qor::dfxi

using namespace qor::dfxi;

QOR_DEF_API status qor_dft_def_dfxi_create_node(dfxi_node** out, std::int32_t precision, std::int32_t domain,
                                                std::int64_t rank, const std::int64_t* lengths, dfxi_arena* arena) {
  return create_node(out, precision, domain, rank, lengths, arena);
}

#define QOR_DFXI_STAMP_1D(p, R)                                                                                  \
  QOR_DEF_API status qor_dft_def_dfxi_create_##p##c1d(dfxi_node** out, std::int64_t length, dfxi_arena* arena) { \
    return create_1d<R>(out, length, arena);                                                                     \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_dfxi_set_bkdlist_##p##c1d(dfxi_node* node) { return set_bkdlist_1d<R>(node); } \
  QOR_DEF_API status qor_dft_def_dfxi_get_size_##p##c1d(std::int64_t rank, const std::int64_t* lengths,         \
                                                        std::int32_t prim_flags, std::int64_t* size1,           \
                                                        std::int64_t* size2, std::int64_t* size3, R sf, R sb) { \
    return get_size_1d<R, false>(rank, lengths, prim_flags, size1, size2, size3, sf, sb);                        \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_dfxi_get_size_##p##csp1d(std::int64_t rank, const std::int64_t* lengths,       \
                                                          std::int32_t prim_flags, std::int64_t* size1,         \
                                                          std::int64_t* size2, std::int64_t* size3, R sf,       \
                                                          R sb) {                                               \
    return get_size_1d<R, true>(rank, lengths, prim_flags, size1, size2, size3, sf, sb);                         \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_dfxi_init_##p##c1d(std::int64_t rank, const std::int64_t* lengths,             \
                                                    std::int32_t prim_flags, void* buffer1, void* buffer2) {    \
    return init_1d<R>(rank, lengths, prim_flags, buffer1, buffer2);                                              \
  }                                                                                                              \
  QOR_DEF_API status qor_dft_def_dfxi_init_##p##csp1d(std::int64_t rank, const std::int64_t* lengths,           \
                                                      std::int32_t prim_flags, void* buffer1, void* buffer2) {  \
    return init_1d<R>(rank, lengths, prim_flags, buffer1, buffer2);                                              \
  }

QOR_DFXI_STAMP_1D(d, double)
QOR_DFXI_STAMP_1D(s, float)
