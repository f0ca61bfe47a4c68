// The memory methods of the node: a heap family that goes straight to the
// core's allocation services, and an arena family that bumps a cell of
// caller memory. One family is installed for the whole process by the first
// call of qor_dft_def_dfxi_mem_methods_init and stays.
#include <cstring>

#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "frame/services.h"

namespace qor::dfxi {
namespace {

// ---- Heap family: the cell is not used ----
void* malloc_int(std::int64_t size, int align, dfxi_cell*) { return qor_serv_malloc(size, align); }
void* calloc_int(std::int64_t count, std::int64_t size, int align, dfxi_cell*) {
  return qor_serv_calloc(count, size, align);
}
void* allocate_int(std::int64_t size, int align, dfxi_cell*) { return qor_serv_allocate(size, align); }
void free_int(void* p, dfxi_cell*) { qor_serv_free(p); }
void deallocate_int(void* p, dfxi_cell*) { qor_serv_deallocate(p); }

// ---- Arena family ----
// Pieces are whole multiples of 64 bytes, so a cursor that starts aligned
// stays aligned and the alignment argument is not needed.
constexpr std::uintptr_t kPiece = 64;

std::uintptr_t round_piece(std::int64_t size) {
  if (size <= 0) return 0;
  return (static_cast<std::uintptr_t>(size) + kPiece - 1) & ~(kPiece - 1);
}

// Hands out the cursor and moves it on; a cell without memory behind it
// (active 0) only counts, and answers null.
void* bump(dfxi_cell* cell, std::int64_t size, bool need_active) {
  if (cell == nullptr) return nullptr;
  std::uintptr_t at = cell->cursor;
  bool active = cell->active != 0;
  if (need_active && !active) {
    cell->cursor = at + round_piece(size);
    return nullptr;
  }
  cell->cursor = at + round_piece(size);
  return reinterpret_cast<void*>(at);
}

void* malloc_ext(std::int64_t size, int, dfxi_cell* cell) { return bump(cell, size, true); }

void* calloc_ext(std::int64_t count, std::int64_t size, int, dfxi_cell* cell) {
  if (count < 0 || size < 0 || (size != 0 && count > INT64_MAX / size)) return nullptr;
  const std::int64_t bytes = count * size;
  auto* p = static_cast<unsigned char*>(bump(cell, bytes, true));
  if (p == nullptr) return nullptr;
  // Exactly count * size bytes: the 4-byte words, then the tail.
  const auto n = static_cast<std::size_t>(bytes);
  const std::size_t words = n & ~std::size_t{3};
  std::memset(p, 0, words);
  std::memset(p + words, 0, n - words);
  return p;
}

// Without the active test: the cursor is handed out even when it only counts.
void* allocate_ext(std::int64_t size, int, dfxi_cell* cell) { return bump(cell, size, false); }
void free_ext(void*, dfxi_cell*) {}
void deallocate_ext(void*, dfxi_cell*) {}

int g_done = 0;
int g_lock = 0;

}  // namespace
}  // namespace qor::dfxi

// Declared exported, with C names, in api.h; empty until the first call of
// qor_dft_def_dfxi_mem_methods_init.
dfxi_malloc_fn dfxi_malloc = nullptr;
dfxi_calloc_fn dfxi_calloc = nullptr;
dfxi_allocate_fn dfxi_allocate = nullptr;
dfxi_free_fn dfxi_free = nullptr;
dfxi_deallocate_fn dfxi_deallocate = nullptr;

// Double-checked: once the done word is set the slots never change, so a
// caller that sees it needs no lock.
QOR_DEF_API void qor_dft_def_dfxi_mem_methods_init(dfxi_arena* arena) {
  using namespace qor::dfxi;
  if (__atomic_load_n(&g_done, __ATOMIC_ACQUIRE) != 0) return;
  qor_serv_lock(&g_lock);
  if (__atomic_load_n(&g_done, __ATOMIC_RELAXED) == 0) {
    if (arena == nullptr) {
      dfxi_malloc = malloc_int;
      dfxi_calloc = calloc_int;
      dfxi_allocate = allocate_int;
      dfxi_free = free_int;
      dfxi_deallocate = deallocate_int;
    } else {
      dfxi_malloc = malloc_ext;
      dfxi_calloc = calloc_ext;
      dfxi_allocate = allocate_ext;
      dfxi_free = free_ext;
      dfxi_deallocate = deallocate_ext;
    }
    __atomic_store_n(&g_done, 1, __ATOMIC_RELEASE);
  }
  qor_serv_unlock(&g_lock);
}

bool qor::dfxi::arena_family() {
  return __atomic_load_n(&g_done, __ATOMIC_ACQUIRE) != 0 && dfxi_malloc == malloc_ext;
}
