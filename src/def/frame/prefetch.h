// Software prefetch for the kernels that stream long vectors or matrix
// columns. On one core the hardware prefetcher alone does not keep enough
// misses in flight to reach the memory bandwidth; asking for the line
// 2 KiB ahead of each stream does. Past the end of an array the hint is
// harmless: prefetches do not fault. One call per 64-byte line of a stream.
#pragma once
#include "frame/isa.h"

QOR_ISA_BEGIN

inline constexpr int kPrefetchBytes = 2048;

template <class P>
inline void prefetch_read(const P* p) {
  __builtin_prefetch(reinterpret_cast<const char*>(p) + kPrefetchBytes, 0, 3);
}
template <class P>
inline void prefetch_write(const P* p) {
  __builtin_prefetch(reinterpret_cast<const char*>(p) + kPrefetchBytes, 1, 3);
}

QOR_ISA_END
