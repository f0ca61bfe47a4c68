// The Barcelona bodies, double precision (128-bit, SSE3): two kernel
// families with their blocking rules, the work area with its four cases, the
// copies, and the 4 x 4 kernels with row and column tails of 1 to 3.
//
// A body's name carries two digits. The first picks the kernel family: 0
// packs the last partial row strip with zero rows and runs the full tile,
// with a general depth loop and a short one for what is left; 1 packs that
// strip at its own width and has its own row tails, with depth loops of 64,
// 8 and 4 steps. The second tells where B is packed: 0 in a separate pass
// into a panel, 1 inside the kernel, straight from the source matrix into the
// expanded area.
#include <pmmintrin.h>

#include <cstdint>

#include "blas/gemm/api.h"
#include "blas/gemm/common.h"
#include "blas/gemm/driver.h"
#include "frame/services.h"

namespace {

using namespace qor::QOR_ISA_NAME::gemm;
using i64 = std::int64_t;

// ---- Blocking rules -------------------------------------------------------

template <int Family>
void blk_info(const i64* m, const i64* n, const i64* k, i64* mb, i64* nb, i64* kb, i64* mu, i64* nu, i64* ku) {
  *mu = 4;
  *nu = 4;
  *ku = 4;
  if constexpr (Family == 0) {
    // Always stores: the row block follows the depth so that the A block
    // keeps to about 480 KiB.
    *kb = depth_rule_d4(*k, 256);
    *mb = clamp(*m, 4, (61440 / *kb) & ~i64{7});
    *nb = clamp(*n, 4, 5000);
  } else {
    if (*kb == 0) *kb = depth_rule_d4(*k, 256);
    if (*mb == 0) *mb = min(round_up(*m, 4), 128);
    if (*nb == 0) *nb = clamp(*n, 4, 384);
  }
}

// ---- Packing ------------------------------------------------------------------

template <bool Trans, bool PadRows>
void copy_a(i64 rows, i64 depth, const double* a, i64 lda, double* panel, double alpha) {
  if (rows <= 0 || depth <= 0) return;
  pack_a<double, 4, Trans, PadRows>(rows, depth, round_up(depth, 4), a, lda, alpha, panel);
}

template <bool Trans>
void copy_b(i64 depth, i64 cols, const double* b, i64 ldb, double* panel) {
  if (cols <= 0 || depth <= 0) return;
  const i64 kp = round_up(depth, 4);
  for (i64 j = 0; j < cols; j += 4)
    pack_b_strip_any<double, Trans>(min(4, cols - j), depth, kp, op_b<double, Trans>(b, ldb, 0, j), ldb,
                                    panel + j * kp);
}

// ---- Kernels ------------------------------------------------------------------

// Expands a strip of W columns for kp depth steps: each element duplicated
// into a 16-byte slot (movddup). From a packed strip (l * W + q), or from the
// source matrix, with zeros past the depth.
template <int W>
inline void expand_packed(i64 kp, const double* bp, double* ex) {
  for (i64 u = 0; u < kp * W; ++u) _mm_store_pd(ex + 2 * u, _mm_loaddup_pd(bp + u));
}

template <int W, bool Trans>
inline void expand_source(i64 depth, i64 kp, const double* b, i64 ldb, double* ex) {
  for (i64 l = 0; l < depth; ++l)
    for (int q = 0; q < W; ++q) _mm_store_pd(ex + 2 * (l * W + q), _mm_loaddup_pd(op_b<double, Trans>(b, ldb, l, q)));
  for (i64 l = depth; l < kp; ++l)
    for (int q = 0; q < W; ++q) _mm_store_pd(ex + 2 * (l * W + q), _mm_setzero_pd());
}

// R rows (a strip of width R: two-lane pairs and a single odd row) by W
// columns. Accumulators start from zero and take the products in order of
// depth; the sums are added to C.
template <int R, int W>
struct Tile {
  static constexpr int P = R / 2;  // row pairs
  static constexpr bool odd = R % 2;
  __m128d acc[P > 0 ? P : 1][W];
  __m128d acc1[W];

  Tile() {
    for (int q = 0; q < W; ++q) {
      for (int p = 0; p < P; ++p) acc[p][q] = _mm_setzero_pd();
      acc1[q] = _mm_setzero_pd();
    }
  }

  __attribute__((always_inline)) void step(const double* a, const double* ex) {
    __m128d av[P > 0 ? P : 1];
    for (int p = 0; p < P; ++p) av[p] = (R % 4 == 0 || R == 2) ? _mm_load_pd(a + 2 * p) : _mm_loadu_pd(a + 2 * p);
    __m128d a1 = odd ? _mm_load_sd(a + R - 1) : _mm_setzero_pd();
    for (int q = 0; q < W; ++q) {
      const __m128d bv = _mm_load_pd(ex + 2 * q);
      for (int p = 0; p < P; ++p) acc[p][q] = _mm_add_pd(acc[p][q], _mm_mul_pd(av[p], bv));
      if (odd) acc1[q] = _mm_add_sd(acc1[q], _mm_mul_sd(a1, bv));
    }
  }

  // Rows beyond `rows` (zero rows of a padded strip) are not stored.
  void add_to(double* c, i64 ldc, int rows, bool aligned) const {
    for (int q = 0; q < W; ++q) {
      double* cq = c + q * ldc;
      for (int p = 0; p < P; ++p) {
        if (2 * p + 2 <= rows) {
          if (aligned) {
            _mm_store_pd(cq + 2 * p, _mm_add_pd(_mm_load_pd(cq + 2 * p), acc[p][q]));
          } else {
            _mm_storeu_pd(cq + 2 * p, _mm_add_pd(_mm_loadu_pd(cq + 2 * p), acc[p][q]));
          }
        } else if (2 * p + 1 == rows) {
          _mm_store_sd(cq + 2 * p, _mm_add_sd(_mm_load_sd(cq + 2 * p), acc[p][q]));
        }
      }
      if (odd && R <= rows) _mm_store_sd(cq + R - 1, _mm_add_sd(_mm_load_sd(cq + R - 1), acc1[q]));
    }
  }
};

// The depth loops. Family 0: eight steps at a time, then a short loop of
// four for what is left. Family 1: 64, then 8, then 4 steps at a time.
template <int Family, int R, int W>
inline void run_depth(Tile<R, W>& t, i64 kp, const double* a, const double* ex) {
  i64 l = 0;
  if constexpr (Family == 1) {
    for (; l + 64 <= kp; l += 64) {
      _mm_prefetch(reinterpret_cast<const char*>(a + (l + 64) * R), _MM_HINT_T2);
#pragma GCC unroll 8
      for (int u = 0; u < 64; ++u) t.step(a + (l + u) * R, ex + 2 * (l + u) * W);
    }
  }
  for (; l + 8 <= kp; l += 8) {
    if constexpr (Family == 0)
      for (int off = 192; off <= 1152; off += 320)
        _mm_prefetch(reinterpret_cast<const char*>(a + l * R) + off, _MM_HINT_T2);
#pragma GCC unroll 8
    for (int u = 0; u < 8; ++u) t.step(a + (l + u) * R, ex + 2 * (l + u) * W);
  }
  for (; l < kp; l += 4) {
#pragma GCC unroll 4
    for (int u = 0; u < 4; ++u) t.step(a + (l + u) * R, ex + 2 * (l + u) * W);
  }
}

// One row strip of `rows` rows against an expanded strip of W columns.
template <int Family, int W>
inline void row_strip(int rows, i64 kp, const double* a, const double* ex, double* c, i64 ldc, bool aligned) {
  if constexpr (Family == 0) {
    _mm_prefetch(reinterpret_cast<const char*>(c) + 40, _MM_HINT_T0);
    Tile<4, W> t;
    run_depth<0>(t, kp, a, ex);
    t.add_to(c, ldc, rows, aligned);
  } else {
    for (int q = 0; q < W; ++q) _mm_prefetch(reinterpret_cast<const char*>(c + q * ldc) + 40, _MM_HINT_ET0);
    switch (rows) {
      case 4: { Tile<4, W> t; run_depth<1>(t, kp, a, ex); t.add_to(c, ldc, 4, aligned); break; }
      case 3: { Tile<3, W> t; run_depth<1>(t, kp, a, ex); t.add_to(c, ldc, 3, aligned); break; }
      case 2: { Tile<2, W> t; run_depth<1>(t, kp, a, ex); t.add_to(c, ldc, 2, aligned); break; }
      default: { Tile<1, W> t; run_depth<1>(t, kp, a, ex); t.add_to(c, ldc, 1, aligned); break; }
    }
  }
}

template <int Family, int W>
inline void column_strip(i64 m, i64 kp, const double* ap, const double* ex, double* c, i64 ldc) {
  const bool aligned = ((reinterpret_cast<std::uintptr_t>(c) | static_cast<std::uintptr_t>(ldc * 8)) & 15) == 0;
  for (i64 i = 0; i < m; i += 4)
    row_strip<Family, W>(static_cast<int>(min(4, m - i)), kp, ap + i * kp, ex, c + i, ldc, aligned);
}

// B from a packed panel: strips of 4 columns, a narrower last one.
template <int Family>
void kernel_packed(i64 m, i64 n, i64 kp, const double* ap, const double* bp, double* c, i64 ldc, double* ex) {
  if (m <= 0 || n <= 0 || kp <= 0) return;
  for (i64 j = 0; j < n; j += 4) {
    const double* bs = bp + j * kp;
    double* cj = c + j * ldc;
    switch (min(4, n - j)) {
      case 4: expand_packed<4>(kp, bs, ex); column_strip<Family, 4>(m, kp, ap, ex, cj, ldc); break;
      case 3: expand_packed<3>(kp, bs, ex); column_strip<Family, 3>(m, kp, ap, ex, cj, ldc); break;
      case 2: expand_packed<2>(kp, bs, ex); column_strip<Family, 2>(m, kp, ap, ex, cj, ldc); break;
      default: expand_packed<1>(kp, bs, ex); column_strip<Family, 1>(m, kp, ap, ex, cj, ldc); break;
    }
  }
}

// B straight from the source, with a copy loop for each letter.
template <int Family, bool Trans>
void kernel_source(i64 m, i64 n, i64 depth, const double* ap, const double* b, i64 ldb, double* c, i64 ldc,
                   double* ex) {
  if (m <= 0 || n <= 0 || depth <= 0) return;
  const i64 kp = round_up(depth, 4);
  for (i64 j = 0; j < n; j += 4) {
    const double* bs = op_b<double, Trans>(b, ldb, 0, j);
    double* cj = c + j * ldc;
    switch (min(4, n - j)) {
      case 4: expand_source<4, Trans>(depth, kp, bs, ldb, ex); column_strip<Family, 4>(m, kp, ap, ex, cj, ldc); break;
      case 3: expand_source<3, Trans>(depth, kp, bs, ldb, ex); column_strip<Family, 3>(m, kp, ap, ex, cj, ldc); break;
      case 2: expand_source<2, Trans>(depth, kp, bs, ldb, ex); column_strip<Family, 2>(m, kp, ap, ex, cj, ldc); break;
      default: expand_source<1, Trans>(depth, kp, bs, ldb, ex); column_strip<Family, 1>(m, kp, ap, ex, cj, ldc); break;
    }
  }
}

// ---- The bodies -----------------------------------------------------------------

template <int Family, int BMode>
void brc_body(const char* transa, const char* transb, const i64* m_, const i64* n_, const i64* k_,
              const double* alpha, const double* a, const i64* lda_, const double* b, const i64* ldb_,
              const double* beta, double* c, const i64* ldc_) {
  const i64 m = *m_, n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  if (m <= 0 || n <= 0) return;
  i64 mb = 0, nb = 0, kb = 0, mu, nu, ku;
  blk_info<Family>(m_, n_, k_, &mb, &nb, &kb, &mu, &nu, &ku);
  // The A panel holds whole strips of 4 rows; without a B pass there is no B
  // panel.
  const i64 mb_area = round_up(mb, 4), nb_area = BMode == 0 ? nb : 0;
  double *apanel, *bpanel, *ex;
  auto alloc = [&] {
    void* raw;
    qor_blas_def_dgemm_getbufs_brc(&mb_area, &nb_area, &kb, &raw, &apanel, &bpanel, &ex);
    return raw;
  };
  auto packed = [&](void*) {
    const bool na = (*transa & 0xDF) == 'N', nbl = (*transb & 0xDF) == 'N';
    auto* const copy_a_fn = Family == 0 ? (na ? &qor_blas_def_dgemm_copyan_0_brc : &qor_blas_def_dgemm_copyat_0_brc)
                                        : (na ? &qor_blas_def_dgemm_copyan_1_brc : &qor_blas_def_dgemm_copyat_1_brc);
    auto* const copy_b_fn = nbl ? &qor_blas_def_dgemm_copybn_brc : &qor_blas_def_dgemm_copybt_brc;
    const i64 zero = 0;
    auto bsrc = [&](i64 l, i64 j) { return nbl ? b + l + j * ldb : b + j + l * ldb; };
    block_loop<LoopOrder::ColumnsOuter, DepthOrder::PartialLast>(
        m, n, k, mb, nb, kb,
        [&](i64 i, i64 l, i64 rows, i64 kc) {
          copy_a_fn(&rows, &kc, na ? a + i + l * lda : a + l + i * lda, lda_, apanel, alpha);
        },
        [&](i64 l, i64 j, i64 kc, i64 cols) {
          if (BMode == 0) copy_b_fn(&kc, &cols, bsrc(l, j), ldb_, bpanel);
        },
        [&](const Block& t) {
          double* ct = c + t.i + t.j * ldc;
          if constexpr (BMode == 0) {
            const i64 kp = round_up(t.depth, 4);
            (Family == 0 ? qor_blas_def_dgemm_kernel0_0_brc : qor_blas_def_dgemm_kernel1_0_brc)(
                &t.rows, &t.cols, &kp, apanel, bpanel, &zero, ct, ldc_, ex, alpha);
          } else {
            (Family == 0 ? qor_blas_def_dgemm_kernel0_1_brc : qor_blas_def_dgemm_kernel1_1_brc)(
                transb, &t.rows, &t.cols, &t.depth, apanel, bsrc(t.l, t.j), ldb_, ct, ldc_, ex, alpha);
          }
        });
  };
  beta_first_body<double>(&qor_blas_def_dgemm_mscale, m < 3 || n < 5 || k <= 4, "DGEMM", alloc,
                          &qor_blas_def_dgemm_freebufs_brc, packed, transa, transb, m, n, k, alpha, a, lda, b, ldb,
                          beta, c, ldc);
}

}  // namespace

// ---- Exported names ----------------------------------------------------------

QOR_DEF_API void qor_blas_def_xdgemm0_0_brc(QOR_GEMM_ARGS(double)) {
  brc_body<0, 0>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xdgemm0_1_brc(QOR_GEMM_ARGS(double)) {
  brc_body<0, 1>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xdgemm1_0_brc(QOR_GEMM_ARGS(double)) {
  brc_body<1, 0>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xdgemm1_1_brc(QOR_GEMM_ARGS(double)) {
  brc_body<1, 1>(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xdgemm0_brc(QOR_GEMM_ARGS(double)) {
  qor_blas_def_xdgemm0_0_brc(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QOR_DEF_API void qor_blas_def_xdgemm1_brc(QOR_GEMM_ARGS(double)) {
  qor_blas_def_xdgemm1_0_brc(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_blk_info_0_brc(QOR_GEMM_BLK_INFO_ARGS) { blk_info<0>(m, n, k, mb, nb, kb, mu, nu, ku); }
QOR_DEF_API void qor_blas_def_dgemm_blk_info_1_brc(QOR_GEMM_BLK_INFO_ARGS) { blk_info<1>(m, n, k, mb, nb, kb, mu, nu, ku); }

// Four cases, by whether there is an A block and a B block (common.h).
QOR_DEF_API void qor_blas_def_dgemm_getbufs_brc(QOR_GEMM_GETBUFS_ARGS(double)) {
  getbufs_brc<8>(*mb, *nb, *kb, raw, apanel, bpanel, extra);
}

QOR_DEF_API void qor_blas_def_dgemm_freebufs_brc(void* raw) { qor_serv_deallocate(raw); }

QOR_DEF_API void qor_blas_def_dgemm_copyan_0_brc(QOR_GEMM_COPYA_ARGS(double)) { copy_a<false, true>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copyat_0_brc(QOR_GEMM_COPYA_ARGS(double)) { copy_a<true, true>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copyan_1_brc(QOR_GEMM_COPYA_ARGS(double)) { copy_a<false, false>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copyat_1_brc(QOR_GEMM_COPYA_ARGS(double)) { copy_a<true, false>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copybn_brc(QOR_GEMM_COPYB_ARGS(double)) { copy_b<false>(*depth, *cols, b, *ldb, panel); }
QOR_DEF_API void qor_blas_def_dgemm_copybt_brc(QOR_GEMM_COPYB_ARGS(double)) { copy_b<true>(*depth, *cols, b, *ldb, panel); }

QOR_DEF_API void qor_blas_def_dgemm_kernel0_0_brc(QOR_GEMM_INNER_ARGS) {
  (void)zero;
  (void)alpha;
  kernel_packed<0>(*m, *n, *depth, apanel, bpanel, c, *ldc, expanded);
}
QOR_DEF_API void qor_blas_def_dgemm_kernel1_0_brc(QOR_GEMM_INNER_ARGS) {
  (void)zero;
  (void)alpha;
  kernel_packed<1>(*m, *n, *depth, apanel, bpanel, c, *ldc, expanded);
}
QOR_DEF_API void qor_blas_def_dgemm_kernel0_1_brc(QOR_GEMM_KERNEL_B_ARGS) {
  (void)alpha;
  if ((*transb & 0xDF) == 'N') {
    kernel_source<0, false>(*m, *n, *depth, apanel, b, *ldb, c, *ldc, expanded);
  } else {
    kernel_source<0, true>(*m, *n, *depth, apanel, b, *ldb, c, *ldc, expanded);
  }
}
QOR_DEF_API void qor_blas_def_dgemm_kernel1_1_brc(QOR_GEMM_KERNEL_B_ARGS) {
  (void)alpha;
  if ((*transb & 0xDF) == 'N') {
    kernel_source<1, false>(*m, *n, *depth, apanel, b, *ldb, c, *ldc, expanded);
  } else {
    kernel_source<1, true>(*m, *n, *depth, apanel, b, *ldb, c, *ldc, expanded);
  }
}
