// The Bulldozer/Zen body of the s, c, z members: blocking rules, work area,
// packing through strip copies, and the loop over blocks. Compiled in the
// Bulldozer-class file; it calls the _bdz or the _zen kernel by the answer
// of qor_serv_cpuiszen.
#pragma once
#include "blas/gemm/driver.h"
#include "blas/gemm/kernel_avx.h"
#include "blas/gemm/pack_sse.h"
#include "blas/gemm/pst.h"
#include "blas/gemm/scale.h"
#include "blas/gemm/traits.h"
#include "frame/services.h"

QOR_ISA_BEGIN
namespace gemm_scz {

// ---- Strip copies --------------------------------------------------------
// One strip of w <= W elements per depth step over d steps. Down: element
// r of step l is src[r + l ld] (the strip walks a column of the source);
// right: src[l + r ld] (it walks a row). Conj conjugates; alpha, if given,
// multiplies.
template <class T, int W, bool Down, bool Conj>
void strip_copy(i64 w, i64 d, const T* src, i64 ld, T* dst, const T* alpha) {
  if (w <= 0 || d <= 0) return;
  const bool scale = alpha != nullptr && !is_one(*alpha);
  const T al = alpha != nullptr ? *alpha : T(1);
  auto put = [&](T v) { v = conj_if(v, Conj); return scale ? mul(al, v) : v; };
  if (Down) {
    if (w == W) {
      for (i64 l = 0; l < d; ++l) {
        const T* s = src + l * ld;
        T* o = dst + l * W;
        for (int r = 0; r < W; ++r) o[r] = put(s[r]);
      }
    } else {
      for (i64 l = 0; l < d; ++l)
        for (i64 r = 0; r < w; ++r) dst[l * w + r] = put(src[r + l * ld]);
    }
  } else {
    // Blocks of four depth steps keep the reads of each source column
    // sequential and the writes within a few lines.
    i64 l = 0;
    for (; l + 4 <= d; l += 4)
      for (i64 r = 0; r < w; ++r) {
        const T* s = src + l + r * ld;
        T* o = dst + l * w + r;
        o[0] = put(s[0]);
        o[w] = put(s[1]);
        o[2 * w] = put(s[2]);
        o[3 * w] = put(s[3]);
      }
    for (; l < d; ++l)
      for (i64 r = 0; r < w; ++r) dst[l * w + r] = put(src[l + r * ld]);
  }
}

// ---- Packing ---------------------------------------------------------------
// A block of op(A) (m x d, times alpha) in strips of MR rows; B block of
// op(B) (d x n) in strips of NR columns; no padding anywhere.
template <class T> void pack_a_avx(Op op, i64 m, i64 d, const T* a, i64 lda, T* panel, T alpha) {
  constexpr i64 MR = avx_shape<T>::mr;
  for (i64 i0 = 0; i0 < m; i0 += MR) {
    const i64 h = m - i0 < MR ? m - i0 : MR;
    T* dst = panel + i0 * d;
    if (op == Op::N) strip_copy<T, MR, true, false>(h, d, a + i0, lda, dst, &alpha);
    else if (op == Op::T) strip_copy<T, MR, false, false>(h, d, a + i0 * lda, lda, dst, &alpha);
    else strip_copy<T, MR, false, true>(h, d, a + i0 * lda, lda, dst, &alpha);
  }
}

template <class T> void pack_b_avx(Op op, i64 d, i64 n, const T* b, i64 ldb, T* panel) {
  constexpr i64 NR = avx_shape<T>::nr;
  for (i64 j0 = 0; j0 < n; j0 += NR) {
    const i64 w = n - j0 < NR ? n - j0 : NR;
    T* dst = panel + j0 * d;
    if (op == Op::N) strip_copy<T, NR, false, false>(w, d, b + j0 * ldb, ldb, dst, nullptr);
    else if (op == Op::T) strip_copy<T, NR, true, false>(w, d, b + j0, ldb, dst, nullptr);
    else strip_copy<T, NR, true, true>(w, d, b + j0, ldb, dst, nullptr);
  }
}

// ---- Blocking rule and work area ------------------------------------------
template <class T> struct avx_blocks;
template <> struct avx_blocks<float> { static constexpr i64 mb_max = 6400, nb_max = 384, b_bytes = 8; };
template <> struct avx_blocks<c32> { static constexpr i64 mb_max = 3200, nb_max = 192, b_bytes = 8; };
template <> struct avx_blocks<c64> { static constexpr i64 mb_max = 1600, nb_max = 96, b_bytes = 16; };

template <class T> void blk_info_avx(i64 m, i64 n, i64 k, i64* mb, i64* nb, i64* kb, i64* mr, i64* nr, i64* kr) {
  constexpr i64 MR = avx_shape<T>::mr, NR = avx_shape<T>::nr;
  *mr = MR;
  *nr = NR;
  *kr = 1;
  if (*kb == 0) *kb = gemm::depth_rule_d1(k);
  if (*mb == 0) {
    const i64 r = round_up(m > 0 ? m : 1, MR);
    *mb = r < avx_blocks<T>::mb_max ? r : avx_blocks<T>::mb_max;
  }
  if (*nb == 0) *nb = clamp(n, NR, avx_blocks<T>::nb_max);
}

// (sizeof A element * mb + B bytes * nb) * kb + 16896 bytes, aligned to 128.
// The s member reserves eight bytes per B element; its panel still holds
// four-byte values at the strip layout above. The A panel starts at the
// raw pointer rounded up to 4096, the B panel at the end of the A panel
// rounded up to 4096; no extra area.
template <class T> void getbufs_avx(i64 mb, i64 nb, i64 kb, void** raw, void** ap, void** bp, void** extra) {
  *raw = *ap = *bp = *extra = nullptr;
  if (mb <= 0 || nb <= 0 || kb <= 0) return;
  const i64 bytes = (static_cast<i64>(sizeof(T)) * mb + avx_blocks<T>::b_bytes * nb) * kb + 16896;
  void* p = qor_serv_allocate(bytes, 128);
  if (p == nullptr) return;
  *raw = p;
  T* a = align_up<T>(p, 4096);
  *ap = a;
  *bp = align_up<T>(a + mb * kb, 4096);
}

template <class T> using AvxKernel = void (*)(const i64*, const i64*, const i64*, const T*, const T*, const T*, T*, const i64*);

// ---- The body ----------------------------------------------------------------
template <class T>
void tuned_body(AvxKernel<T> kzen, AvxKernel<T> kbdz, Op opa, Op opb, i64 m, i64 n, i64 k, T alpha, const T* a,
                i64 lda, const T* b, i64 ldb, T beta, T* c, i64 ldc) {
  i64 mb = 0, nb = 0, kb = 0, mr, nr, kr;
  blk_info_avx<T>(m, n, k, &mb, &nb, &kb, &mr, &nr, &kr);
  void *apv, *bpv, *extra;
  auto alloc = [&] {
    void* raw;
    getbufs_avx<T>(mb, nb, kb, &raw, &apv, &bpv, &extra);
    return raw;
  };
  auto packed = [&](void*) {
    T* ap = static_cast<T*>(apv);
    T* bp = static_cast<T*>(bpv);
    const AvxKernel<T> kernel = qor_serv_cpuiszen() != 0 ? kzen : kbdz;
    const T one(1);
    // The row block is the large one (up to thousands of rows) and the
    // column block the small one (at most a few hundred columns), so the
    // rows go outside (driver.h).
    gemm::block_loop<gemm::LoopOrder::RowsOuter, gemm::DepthOrder::PartialFirst>(
        m, n, k, mb, nb, kb,
        [&](i64 i, i64 l0, i64 mi, i64 d) { pack_a_avx(opa, mi, d, a_at(a, lda, opa, i, l0), lda, ap, alpha); },
        [&](i64 l0, i64 j, i64 d, i64 nj) { pack_b_avx(opb, d, nj, b_at(b, ldb, opb, l0, j), ldb, bp); },
        [&](const gemm::Block& t) {
          kernel(&t.rows, &t.cols, &t.depth, ap, bp, t.first ? &beta : &one, c + t.i + t.j * ldc, &ldc);
        });
  };
  // The four tuned bodies share the lower-case name in their warning.
  packed_body<T>("xdgemm", alloc, packed, opa, opb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace gemm_scz
QOR_ISA_END
