// The Barcelona bodies of the s, c, z members (SSE3 build).
//
// They use the 128-bit tile of sse.h with the Barcelona blocking rules, and
// kernels that handle every tail themselves: the packing pads the last
// strip of A and of B to a whole strip with zeros, and the kernel writes
// only the part of the tile that lies in C, so no remainder goes through
// the unpacked kernel once the block loop has started. As in the other
// bodies, the partial depth block comes first and its kernel call applies
// beta.
#pragma once
#include "blas/gemm/driver.h"
#include "blas/gemm/pack_sse.h"
#include "blas/gemm/pst.h"
#include "blas/gemm/scale.h"
#include "blas/gemm/sse.h"
#include "blas/gemm/traits.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace gemm_scz {

// Depth rule D4 with limit 256; the c and z bodies keep 256 for every k
// from 256 on, without the halving.
inline i64 depth_rule_d4(i64 k, bool halve = true) { return halve || k < 256 ? gemm::depth_rule_d4(k, 256) : 256; }

// A tile product followed by the store of its part in C.
template <class T>
inline void brc_tile(i64 kp, const real_t<T>* a, const real_t<T>* e, Beta mode, T beta, T* c, i64 ldc, i64 h, i64 w) {
  using K = sse_tile<T>;
  typename K::V out[4][2];
  K::product(kp, a, e, out);
  if (h == K::rows && w == 4) {
    auto* cr = reinterpret_cast<real_t<T>*>(c);
    const i64 ldc_r = ldc * reals<T>;
    if (mode == Beta::Zero) K::template put<Beta::Zero, false>(out, beta, cr, ldc_r);
    else if (mode == Beta::One) K::template put<Beta::One, false>(out, beta, cr, ldc_r);
    else K::template put<Beta::Any, false>(out, beta, cr, ldc_r);
  } else {
    K::put_part(out, beta, mode, c, ldc, h, w);
  }
}

// The kernel over a packed A block and a packed B block: m x n of C, depth
// d (the panels are padded to a multiple of 4).
template <class T>
void brc_kernel(i64 m, i64 n, i64 d, const T* a, const T* b, T beta, Beta mode, T* c, i64 ldc, T* expanded) {
  using K = sse_tile<T>;
  using R = real_t<T>;
  if (m <= 0 || n <= 0 || d <= 0) return;
  const i64 kp = round_up(d, 4);
  R* e = reinterpret_cast<R*>(expanded);
  for (i64 j0 = 0; j0 < n; j0 += 4) {
    const i64 w = n - j0 < 4 ? n - j0 : 4;
    K::expand(reinterpret_cast<const R*>(b + j0 * kp), kp, e);
    for (i64 i0 = 0; i0 < m; i0 += K::rows) {
      const i64 h = m - i0 < K::rows ? m - i0 : K::rows;
      brc_tile(kp, reinterpret_cast<const R*>(a + i0 * kp), e, mode, beta, c + i0 + j0 * ldc, ldc, h, w);
    }
  }
}

// The same with B read from its source: each column group is expanded
// straight from op(B), with its own loops for the two letters.
template <class T>
void brc_kernel_inside(Op opb, i64 m, i64 n, i64 d, const T* a, const T* b, i64 ldb, T beta, Beta mode, T* c, i64 ldc,
                       T* expanded) {
  using K = sse_tile<T>;
  using R = real_t<T>;
  using S = sse<R>;
  if (m <= 0 || n <= 0 || d <= 0) return;
  const i64 kp = round_up(d, 4);
  R* e = reinterpret_cast<R*>(expanded);
  for (i64 j0 = 0; j0 < n; j0 += 4) {
    const i64 w = n - j0 < 4 ? n - j0 : 4;
    for (i64 l = 0; l < kp; ++l)
      for (i64 q = 0; q < 4; ++q) {
        R v = 0;
        if (l < d && q < w) v = opb == Op::N ? b[l + (j0 + q) * ldb] : b[(j0 + q) + l * ldb];
        S::store(e + (l * 4 + q) * S::lanes, S::set1(v));
      }
    for (i64 i0 = 0; i0 < m; i0 += K::rows) {
      const i64 h = m - i0 < K::rows ? m - i0 : K::rows;
      brc_tile(kp, reinterpret_cast<const R*>(a + i0 * kp), e, mode, beta, c + i0 + j0 * ldc, ldc, h, w);
    }
  }
}

// s blocking rules. Rule 0 always stores its blocks; rule 1 fills only the
// ones that are zero.
inline void sgemm_blk_info_0(i64 m, i64 n, i64 k, i64* mb, i64* nb, i64* kb, i64* mr, i64* nr, i64* kr) {
  *mr = 8, *nr = 4, *kr = 4;
  *kb = depth_rule_d4(k);
  *mb = clamp(m, 8, (122880 / *kb) & ~i64{15});
  *nb = clamp(n, 4, 5000);
}
inline void sgemm_blk_info_1(i64 m, i64 n, i64 k, i64* mb, i64* nb, i64* kb, i64* mr, i64* nr, i64* kr) {
  *mr = 8, *nr = 4, *kr = 4;
  if (*kb == 0) *kb = depth_rule_d4(k);
  if (*mb == 0) {
    const i64 r = round_up(m > 0 ? m : 1, 8);
    *mb = r < 256 ? r : 256;
  }
  if (*nb == 0) *nb = clamp(n, 4, 512);
}

// c and z blocks: depth by D4 without the halving, rows a multiple of the
// strip (4 for c, 2 for z) up to 128 or 64.
template <class T> void get_blks_size_brc(i64 m, i64 k, i64* mb, i64* kb) {
  constexpr i64 strip = sse_tile<T>::rows, cap = std::is_same_v<T, c32> ? 128 : 64;
  *kb = depth_rule_d4(k, false);
  const i64 r = round_up(m > 0 ? m : 1, strip);
  *mb = r < cap ? r : cap;
}

// The s bodies: blocks from the rule, work area, and the loop over blocks,
// with B packed in its own pass (inside false) or by the kernel.
inline void sgemm_brc_body(bool rule1, bool inside, Op opa, Op opb, i64 m, i64 n, i64 k, float alpha, const float* a,
                           i64 lda, const float* b, i64 ldb, float beta, float* c, i64 ldc) {
  i64 mb = 0, nb = 0, kb = 0, mr, nr, kr;
  if (rule1) sgemm_blk_info_1(m, n, k, &mb, &nb, &kb, &mr, &nr, &kr);
  else sgemm_blk_info_0(m, n, k, &mb, &nb, &kb, &mr, &nr, &kr);
  float *ap, *bp, *ep;
  auto alloc = [&] {
    void* raw;
    gemm::getbufs_brc<4>(mb, inside ? 0 : nb, kb, &raw, &ap, &bp, &ep);
    return raw;
  };
  auto packed = [&](void*) {
    const i64 mstep = mb & ~i64{7};
    gemm::block_loop<gemm::LoopOrder::ColumnsOuter, gemm::DepthOrder::PartialFirst>(
        m, n, k, mstep, nb, kb,
        [&](i64 i, i64 l0, i64 mi, i64 d) { pack_a_sse(opa, mi, d, a_at(a, lda, opa, i, l0), lda, ap, alpha); },
        [&](i64 l0, i64 j, i64 d, i64 nj) {
          if (!inside) pack_b_sse(opb, d, nj, b_at(b, ldb, opb, l0, j), ldb, bp);
        },
        [&](const gemm::Block& t) {
          const Beta mode = beta_mode(t.first, beta);
          float* ct = c + t.i + t.j * ldc;
          if (inside)
            brc_kernel_inside(opb, t.rows, t.cols, t.depth, ap, b_at(b, ldb, opb, t.l, t.j), ldb, beta, mode, ct, ldc,
                              ep);
          else
            brc_kernel(t.rows, t.cols, t.depth, ap, bp, beta, mode, ct, ldc, ep);
        });
  };
  packed_body<float>("SGEMM", alloc, packed, opa, opb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// The c and z body, with its one kernel.
template <class T>
void cz_brc_body(Op opa, Op opb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta, T* c,
                 i64 ldc) {
  using R = real_t<T>;
  i64 mb, kb;
  get_blks_size_brc<T>(m, k, &mb, &kb);
  const i64 nb = n < 256 ? round_up(n, 4) : 256;
  auto alloc = [&] {
    return qor_serv_allocate(static_cast<i64>(sizeof(T)) * kb * (mb + nb) +
                                 kb * sse_tile<T>::e_step * static_cast<i64>(sizeof(R)) + 3 * 4096,
                             128);
  };
  auto packed = [&](void* raw) {
    T* ap = align_up<T>(raw, 4096);
    T* ep = align_up<T>(ap + mb * kb, 128);
    T* bp = align_up<T>(reinterpret_cast<R*>(ep) + kb * sse_tile<T>::e_step, 4096);
    gemm::block_loop<gemm::LoopOrder::ColumnsOuter, gemm::DepthOrder::PartialFirst>(
        m, n, k, mb, nb, kb,
        [&](i64 i, i64 l0, i64 mi, i64 d) { pack_a_sse(opa, mi, d, a_at(a, lda, opa, i, l0), lda, ap, alpha); },
        [&](i64 l0, i64 j, i64 d, i64 nj) { pack_b_sse(opb, d, nj, b_at(b, ldb, opb, l0, j), ldb, bp); },
        [&](const gemm::Block& t) {
          brc_kernel(t.rows, t.cols, t.depth, ap, bp, beta, beta_mode(t.first, beta), c + t.i + t.j * ldc, ldc, ep);
        });
  };
  packed_body<T>(traits<T>::name, alloc, packed, opa, opb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace gemm_scz
QOR_ISA_END
