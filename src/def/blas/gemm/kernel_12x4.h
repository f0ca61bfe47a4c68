// The 12 x 4 double-precision kernel of the Bulldozer/Zen body, compiled
// once for each of the two classes (dgemm_kernel_bdz, dgemm_kernel_zen). It
// uses the three-operand FMA form on both; the four-operand form exists only
// on the Bulldozer family, and the tile and order are the same.
//
// A panel: strips of 12 rows, each holding 12 elements per depth step; B
// panel: strips of 4 columns, 4 elements per depth step; both padded in depth
// to an even count with zeros. The tile of C is loaded into twelve 256-bit
// registers, every product is added on top of it (C + a0 b0 + a1 b1 + ...),
// and it is stored back once per call: C crosses the bus once per depth
// block.
#pragma once
#include <cstdint>

#include "blas/gemm/api.h"
#include "frame/isa.h"

QOR_ISA_BEGIN
namespace gemm {

// One 12 x 4 tile over `pairs` pairs of depth steps. The whole tile lives in
// ymm0..ymm11, the three A vectors of a step in ymm12..ymm14, the broadcast B
// element in ymm15. Written in assembly so that no accumulator is ever
// spilled.
inline void tile_12x4(const double* a, const double* b, double* c, std::int64_t ldc_bytes, std::int64_t pairs) {
  asm volatile(
      "lea (%[c],%[ldc]), %%r8\n\t"
      "lea (%[c],%[ldc],2), %%r9\n\t"
      "lea (%%r8,%[ldc],2), %%r10\n\t"
      "vmovupd (%[c]), %%ymm0\n\t"
      "vmovupd 32(%[c]), %%ymm1\n\t"
      "vmovupd 64(%[c]), %%ymm2\n\t"
      "vmovupd (%%r8), %%ymm3\n\t"
      "vmovupd 32(%%r8), %%ymm4\n\t"
      "vmovupd 64(%%r8), %%ymm5\n\t"
      "vmovupd (%%r9), %%ymm6\n\t"
      "vmovupd 32(%%r9), %%ymm7\n\t"
      "vmovupd 64(%%r9), %%ymm8\n\t"
      "vmovupd (%%r10), %%ymm9\n\t"
      "vmovupd 32(%%r10), %%ymm10\n\t"
      "vmovupd 64(%%r10), %%ymm11\n\t"
      "prefetchw 96(%[c])\n\t"
      "prefetchw 96(%%r8)\n\t"
      "prefetchw 96(%%r9)\n\t"
      "prefetchw 96(%%r10)\n\t"
      ".p2align 5\n"
      "1:\n\t"
      "prefetcht0 384(%[a])\n\t"
      "vmovapd (%[a]), %%ymm12\n\t"
      "vmovapd 32(%[a]), %%ymm13\n\t"
      "vmovapd 64(%[a]), %%ymm14\n\t"
      "vbroadcastsd (%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm0\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm1\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm2\n\t"
      "vbroadcastsd 8(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm3\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm4\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm5\n\t"
      "vbroadcastsd 16(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm6\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm7\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm8\n\t"
      "vbroadcastsd 24(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm9\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm10\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm11\n\t"
      "prefetcht0 448(%[a])\n\t"
      "vmovapd 96(%[a]), %%ymm12\n\t"
      "vmovapd 128(%[a]), %%ymm13\n\t"
      "vmovapd 160(%[a]), %%ymm14\n\t"
      "vbroadcastsd 32(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm0\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm1\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm2\n\t"
      "vbroadcastsd 40(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm3\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm4\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm5\n\t"
      "vbroadcastsd 48(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm6\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm7\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm8\n\t"
      "vbroadcastsd 56(%[b]), %%ymm15\n\t"
      "vfmadd231pd %%ymm12, %%ymm15, %%ymm9\n\t"
      "vfmadd231pd %%ymm13, %%ymm15, %%ymm10\n\t"
      "vfmadd231pd %%ymm14, %%ymm15, %%ymm11\n\t"
      "prefetcht0 512(%[a])\n\t"
      "prefetcht0 128(%[b])\n\t"
      "add $192, %[a]\n\t"
      "add $64, %[b]\n\t"
      "dec %[pairs]\n\t"
      "jnz 1b\n\t"
      "vmovupd %%ymm0, (%[c])\n\t"
      "vmovupd %%ymm1, 32(%[c])\n\t"
      "vmovupd %%ymm2, 64(%[c])\n\t"
      "vmovupd %%ymm3, (%%r8)\n\t"
      "vmovupd %%ymm4, 32(%%r8)\n\t"
      "vmovupd %%ymm5, 64(%%r8)\n\t"
      "vmovupd %%ymm6, (%%r9)\n\t"
      "vmovupd %%ymm7, 32(%%r9)\n\t"
      "vmovupd %%ymm8, 64(%%r9)\n\t"
      "vmovupd %%ymm9, (%%r10)\n\t"
      "vmovupd %%ymm10, 32(%%r10)\n\t"
      "vmovupd %%ymm11, 64(%%r10)\n\t"
      : [a] "+r"(a), [b] "+r"(b), [pairs] "+r"(pairs)
      : [c] "r"(c), [ldc] "r"(ldc_bytes)
      : "r8", "r9", "r10", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
        "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "cc", "memory");
}

// For each group of 4 columns, each group of 12 rows. m must be a multiple
// of 12 and n of 4: the driver gives no tails. The depth is rounded up to
// even so that the padding step of the packing counts.
inline void kernel_12x4(const qor_dgemm_kernel_args* r) {
  const std::int64_t m = r->m, n = r->n, kp = (r->depth + 1) & ~std::int64_t{1}, ldc = r->ldc;
  if (m <= 0 || n <= 0 || kp <= 0) return;
  for (std::int64_t j = 0; j + 4 <= n; j += 4) {
    const double* b = r->bpanel + j * kp;
    for (std::int64_t i = 0; i + 12 <= m; i += 12)
      tile_12x4(r->apanel + i * kp, b, r->c + i + j * ldc, ldc * 8, kp / 2);
  }
  asm volatile("vzeroupper" ::: "memory");
}

}  // namespace gemm
QOR_ISA_END
