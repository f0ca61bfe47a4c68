// C = 0 and C = beta * C over an m x n block, the pieces the drivers use
// when alpha is 0. The zero form never reads C, so NaN in C is cleared.
#pragma once
#include <cstring>

#include "blas/gemm/traits.h"

QOR_ISA_BEGIN
namespace gemm_scz {

template <class T> void zero_block(i64 m, i64 n, T* c, i64 ldc) {
  if (m <= 0 || n <= 0) return;
  for (i64 j = 0; j < n; ++j) std::memset(static_cast<void*>(c + j * ldc), 0, static_cast<std::size_t>(m) * sizeof(T));
}

// beta * C, with beta 0 storing zeros and beta 1 leaving C alone.
template <class T> void scale_block(i64 m, i64 n, T beta, T* c, i64 ldc) {
  if (m <= 0 || n <= 0 || is_one(beta)) return;
  if (is_zero(beta)) return zero_block(m, n, c, ldc);
  for (i64 j = 0; j < n; ++j) {
    T* col = c + j * ldc;
    for (i64 i = 0; i < m; ++i) col[i] = mul(beta, col[i]);
  }
}

}  // namespace gemm_scz
QOR_ISA_END
