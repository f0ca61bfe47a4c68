// The two allocation pairs, their accounting and fault injection.
//
// Each block carries a header just below the address handed out: the
// address malloc returned, the size, and a tag naming the pair. Giving a
// block back through the other pair is a fault in the caller that would
// corrupt memory in a library whose pairs really differ, so it is caught
// here on every build and ends the process with a message.
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/services.h"
#include "qor/qor.h"

namespace {

constexpr std::uint64_t kMagic = 0x716f72626c6b0000ULL;  // "qorblk"
constexpr std::size_t kHeader = 32;
constexpr int kMinAlign = 32;

struct Header {
  void* raw;
  std::int64_t size;
  std::uint64_t tag;  // kMagic | pool
  std::uint64_t pad;
};
static_assert(sizeof(Header) == kHeader);

struct Pool {
  std::atomic<std::int64_t> allocations{0}, frees{0}, failures{0};
};

Pool g_pools[2];

Pool& pool(int which) { return g_pools[which == QOR_POOL_MALLOC ? 1 : 0]; }

// Injected faults. One state serves both pools, so that "fail after k"
// counts the requests of every pool it watches.
struct Faults {
  std::atomic<int> next_pools{0}, after_pools{0};
  std::atomic<std::int64_t> fail_next{0};
  std::atomic<std::int64_t> fail_after{-1};  // -1: off
};

Faults g_faults;

// Decides whether an injected fault refuses this request.
bool inject(int which) {
  Faults& f = g_faults;
  if (f.next_pools.load(std::memory_order_relaxed) & which) {
    std::int64_t n = f.fail_next.load(std::memory_order_relaxed);
    while (n > 0)
      if (f.fail_next.compare_exchange_weak(n, n - 1, std::memory_order_relaxed)) return true;
  }
  if (f.after_pools.load(std::memory_order_relaxed) & which) {
    std::int64_t k = f.fail_after.load(std::memory_order_relaxed);
    while (k >= 0) {
      if (k == 0) return true;
      if (f.fail_after.compare_exchange_weak(k, k - 1, std::memory_order_relaxed)) return false;
    }
  }
  return false;
}

std::size_t round_alignment(int alignment) {
  std::size_t a = alignment < kMinAlign ? kMinAlign : static_cast<std::size_t>(alignment);
  if (a > (std::size_t{1} << 30)) return 0;
  std::size_t p = kMinAlign;
  while (p < a) p <<= 1;
  return p;
}

void* take(int which, std::int64_t size, int alignment, bool zero) {
  Pool& p = pool(which);
  std::size_t align = round_alignment(alignment);
  if (size < 0 || align == 0 || static_cast<std::uint64_t>(size) > (std::uint64_t{1} << 62) || inject(which)) {
    p.failures.fetch_add(1, std::memory_order_relaxed);
    return nullptr;
  }
  std::size_t bytes = static_cast<std::size_t>(size) + align + kHeader;
  void* raw = std::malloc(bytes);
  if (raw == nullptr) {
    p.failures.fetch_add(1, std::memory_order_relaxed);
    return nullptr;
  }
  auto base = reinterpret_cast<std::uintptr_t>(raw) + kHeader;
  auto user = (base + align - 1) & ~(static_cast<std::uintptr_t>(align) - 1);
  auto* h = reinterpret_cast<Header*>(user - kHeader);
  h->raw = raw;
  h->size = size;
  h->tag = kMagic | static_cast<std::uint64_t>(which);
  if (zero && size > 0) std::memset(reinterpret_cast<void*>(user), 0, static_cast<std::size_t>(size));
  p.allocations.fetch_add(1, std::memory_order_relaxed);
  return reinterpret_cast<void*>(user);
}

const char* pair_name(int which) {
  return which == QOR_POOL_MALLOC ? "qor_serv_malloc/qor_serv_free" : "qor_serv_allocate/qor_serv_deallocate";
}

void give(int which, void* ptr) {
  if (ptr == nullptr) return;
  auto* h = reinterpret_cast<Header*>(static_cast<char*>(ptr) - kHeader);
  if ((h->tag & ~std::uint64_t{0xffff}) != kMagic) {
    std::fprintf(stderr, "qor: %p was not allocated by qor (returned through %s)\n", ptr, pair_name(which));
    std::abort();
  }
  int from = static_cast<int>(h->tag & 0xffff);
  if (from != which) {
    std::fprintf(stderr, "qor: block %p from %s returned through %s\n", ptr, pair_name(from), pair_name(which));
    std::abort();
  }
  h->tag = 0;
  pool(which).frees.fetch_add(1, std::memory_order_relaxed);
  std::free(h->raw);
}

}  // namespace

extern "C" {

QOR_SERV_API void* qor_serv_allocate(std::int64_t size, int alignment) {
  return take(QOR_POOL_ALLOCATE, size, alignment, false);
}
QOR_SERV_API void qor_serv_deallocate(void* p) { give(QOR_POOL_ALLOCATE, p); }
QOR_SERV_API void* qor_serv_malloc(std::int64_t size, int alignment) {
  return take(QOR_POOL_MALLOC, size, alignment, false);
}
QOR_SERV_API void qor_serv_free(void* p) { give(QOR_POOL_MALLOC, p); }
QOR_SERV_API void* qor_serv_calloc(std::int64_t count, std::int64_t size, int alignment) {
  if (count < 0 || size < 0 || (size != 0 && count > INT64_MAX / size)) {
    pool(QOR_POOL_MALLOC).failures.fetch_add(1, std::memory_order_relaxed);
    return nullptr;
  }
  return take(QOR_POOL_MALLOC, count * size, alignment, true);
}

QOR_API void qor_fault_fail_next(int pools, std::int64_t n) {
  g_faults.fail_next.store(n < 0 ? 0 : n, std::memory_order_relaxed);
  g_faults.next_pools.store(pools & QOR_POOL_BOTH, std::memory_order_relaxed);
}
QOR_API void qor_fault_fail_after(int pools, std::int64_t k) {
  g_faults.fail_after.store(k < 0 ? -1 : k, std::memory_order_relaxed);
  g_faults.after_pools.store(pools & QOR_POOL_BOTH, std::memory_order_relaxed);
}
QOR_API void qor_fault_reset(void) {
  g_faults.next_pools.store(0, std::memory_order_relaxed);
  g_faults.after_pools.store(0, std::memory_order_relaxed);
  g_faults.fail_next.store(0, std::memory_order_relaxed);
  g_faults.fail_after.store(-1, std::memory_order_relaxed);
}
QOR_API void qor_alloc_stats(int which, qor_alloc_counts* out) {
  if (out == nullptr) return;
  *out = {};
  for (int w : {QOR_POOL_ALLOCATE, QOR_POOL_MALLOC}) {
    if (!(which & w)) continue;
    Pool& p = pool(w);
    out->allocations += p.allocations.load(std::memory_order_relaxed);
    out->frees += p.frees.load(std::memory_order_relaxed);
    out->failures += p.failures.load(std::memory_order_relaxed);
  }
  out->live = out->allocations - out->frees;
}

}  // extern "C"
