// Io-tensor operations: the geometry of a node as lists of (extent, input,
// output, forward, backward stride) entries, and the normal form that commit
// brings them to (sorted, unit extents removed, contiguous levels merged).
#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "frame/services.h"

namespace qor::dfxi {
namespace {

constexpr std::size_t kEntry = sizeof(IotensorEntry);

// A new array of `count` entries from the arena's first cell, or from the
// heap without an arena. In arena mode 1 a null answer is not a failure: it
// is the size query counting, and the array in hand (the caller's, on its
// stack) is kept. Returns the array to use, or null on failure.
IotensorEntry* obtain(IotensorEntry* current, std::int64_t count, dfxi_arena* arena) {
  const auto bytes = static_cast<std::int64_t>(count * static_cast<std::int64_t>(kEntry));
  if (arena == nullptr) return static_cast<IotensorEntry*>(dfxi_malloc(bytes, kNodeAlign, nullptr));
  dfxi_cell* cell = first_cell(arena);
  if (cell == nullptr) return current;
  auto* p = static_cast<IotensorEntry*>(dfxi_malloc(bytes, kNodeAlign, cell));
  if (p == nullptr && arena_mode(arena)) return current;
  return p;
}

// Removes entry k, moving the later ones down.
void erase(Iotensor* t, std::int32_t k) {
  const std::size_t after = static_cast<std::size_t>(t->count - 1 - k) * kEntry;
  qor_serv_memmove_s(&t->dims[k], after + kEntry, &t->dims[k + 1], after);
  --t->count;
}

bool scaled_equal(std::int64_t stride, std::int64_t n, std::int64_t want) {
  std::int64_t product;
  return !__builtin_mul_overflow(stride, n, &product) && product == want;
}

// b continues a: a's strides times a's extent are b's strides.
bool continues(const IotensorEntry& a, const IotensorEntry& b) {
  return scaled_equal(a.is, a.n, b.is) && scaled_equal(a.os, a.n, b.os) && scaled_equal(a.fs, a.n, b.fs) &&
         scaled_equal(a.bs, a.n, b.bs);
}

}  // namespace

status iotensor_create(Iotensor* t, std::int32_t count, dfxi_arena* arena) {
  IotensorEntry* p = obtain(t->dims, count, arena);
  t->count = count;
  t->dims = p;
  return p == nullptr ? kNoMemory : kOk;
}

void iotensor_destroy(Iotensor* t) {
  if (t == nullptr) return;
  if (t->dims != nullptr) dfxi_free(t->dims, nullptr);
  t->dims = nullptr;
  t->count = 0;
}

status iotensor_copy(Iotensor* dst, const Iotensor* src, bool mirror, dfxi_arena* arena) {
  if (dst->count < src->count || (dst->dims == nullptr && src->count > 0)) {
    IotensorEntry* p = obtain(dst->dims, src->count, arena);
    if (p == nullptr) return kNoMemory;
    if (p != dst->dims && arena == nullptr && dst->dims != nullptr) dfxi_free(dst->dims, nullptr);
    dst->dims = p;
  }
  dst->count = src->count;
  for (std::int32_t i = 0; i < src->count; ++i) {
    const IotensorEntry& e = src->dims[i];
    dst->dims[i] = mirror ? IotensorEntry{e.n, e.is, e.is, e.fs, e.fs} : e;
  }
  return kOk;
}

bool iotensor_is_inplace(const Iotensor* t) {
  for (std::int32_t i = 0; i < t->count; ++i)
    if (t->dims[i].is != t->dims[i].os || t->dims[i].fs != t->dims[i].bs) return false;
  return true;
}

// The exchange tests the input and the forward strides with "or", so two
// entries whose strides disagree in order may be exchanged back and forth;
// the result is then not a total order, and that is the rule.
void iotensor_sort(Iotensor* t) {
  for (std::int32_t i = 0; i + 1 < t->count; ++i)
    for (std::int32_t j = i + 1; j < t->count; ++j) {
      IotensorEntry& a = t->dims[i];
      IotensorEntry& b = t->dims[j];
      if (a.is > b.is || a.fs > b.fs) {
        const IotensorEntry tmp = a;
        a = b;
        b = tmp;
      }
    }
}

// Unit extents add nothing to the geometry; one entry always stays.
void iotensor_remove1(Iotensor* t) {
  for (std::int32_t k = t->count - 1; k >= 0; --k)
    if (t->dims[k].n == 1 && t->count > 1) erase(t, k);
}

// Merges a level into the one below it when the two are one contiguous run,
// scanning from the top pair down and starting again at the top after each
// merge.
void iotensor_compress(Iotensor* t) {
  bool merged = true;
  while (merged && t->count >= 2) {
    merged = false;
    for (std::int32_t k = t->count - 2; k >= 0; --k) {
      IotensorEntry& a = t->dims[k];
      const IotensorEntry& b = t->dims[k + 1];
      std::int64_t n;
      if (!continues(a, b) || __builtin_mul_overflow(a.n, b.n, &n)) continue;
      a.n = n;
      erase(t, k + 1);
      merged = true;
      break;
    }
  }
}

status iotensor_join(Iotensor* dst, const Iotensor* a, const Iotensor* b, dfxi_arena* arena) {
  const std::int64_t sum = static_cast<std::int64_t>(a->count) + b->count;
  if (sum > INT32_MAX) return kInconsistent;
  if (dst->count < sum || (dst->dims == nullptr && sum > 0)) {
    // The new array comes first, so that a failure leaves dst as it was.
    IotensorEntry* p = obtain(nullptr, sum, arena);
    if (p == nullptr) return kNoMemory;
    if (arena == nullptr && dst->dims != nullptr) dfxi_free(dst->dims, nullptr);
    dst->dims = p;
    dst->count = static_cast<std::int32_t>(sum);
  }
  for (std::int32_t i = 0; i < a->count; ++i) dst->dims[i] = a->dims[i];
  for (std::int32_t i = 0; i < b->count; ++i) dst->dims[a->count + i] = b->dims[i];
  return kOk;
}

}  // namespace qor::dfxi
