// The dispatching names of the vector routines by element type, and the
// pieces the public interfaces share.
#pragma once
#include <cstdint>

#include "blas/level1/dispatch.h"

namespace qor::core::blas1 {

template <class T> using route = ::qor::blas1::dispatch<T>;

// Public arrays arrive as void pointers (complex) or as the real type.
template <class T, class P> inline const T* in(const P* p) { return reinterpret_cast<const T*>(p); }
template <class T, class P> inline T* out(P* p) { return reinterpret_cast<T*>(p); }

// Runs fn(first, count, idx) over the sparse index array indx of nz entries
// with `add` added to each entry and widened to 64 bits (the kernels take
// 1-based 64-bit indices). One pass when the converted array fits on the
// stack or can be allocated (from the allocate pool, so a refusal can be
// injected), pieces of the stack's size otherwise. An empty array still
// makes one call, so the kernel takes its own quick return.
template <class X, class F>
void with_indices(i64 nz, const X* indx, i64 add, F&& fn) {
  constexpr i64 kStack = 512;
  i64 stack[kStack];
  i64* buf = stack;
  i64 cap = kStack;
  i64* heap = nullptr;
  if (nz > kStack) {
    heap = static_cast<i64*>(qor_serv_allocate(nz * static_cast<i64>(sizeof(i64)), 64));
    if (heap != nullptr) {
      buf = heap;
      cap = nz;
    }
  }
  if (nz <= 0) fn(i64{0}, nz, static_cast<const i64*>(nullptr));
  for (i64 s = 0; s < nz; s += cap) {
    const i64 len = nz - s < cap ? nz - s : cap;
    for (i64 i = 0; i < len; ++i) buf[i] = static_cast<i64>(indx[s + i]) + add;
    fn(s, len, static_cast<const i64*>(buf));
  }
  if (heap != nullptr) qor_serv_deallocate(heap);
}

}  // namespace qor::core::blas1
