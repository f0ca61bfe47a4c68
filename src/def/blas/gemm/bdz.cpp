// The Bulldozer and Zen body, double precision: blocking rules, work area,
// packing into strips of 12 rows and 4 columns, the driver, and the 12 x 4
// kernel built for the Bulldozer class (the Zen build is in zen.cpp). This
// file builds for AVX and FMA only, so that the driver runs on both classes.
#include <immintrin.h>

#include <cstdint>

#include "blas/gemm/api.h"
#include "blas/gemm/common.h"
#include "blas/gemm/driver.h"
#include "blas/gemm/kernel_12x4.h"
#include "frame/services.h"

namespace {

using namespace qor::QOR_ISA_NAME::gemm;
using i64 = std::int64_t;

// Rules D2 (limit 256) and D3 (limit 192) for the depth; rows a multiple of
// 12 up to 504; columns from 4 to 5000. A block already set is kept.
void blk_info(i64 limit, const i64* m, const i64* n, const i64* k, i64* mb, i64* nb, i64* kb, i64* mu, i64* nu,
              i64* ku) {
  *mu = 12;
  *nu = 4;
  *ku = 2;
  if (*kb == 0) *kb = depth_rule_even(*k, limit);
  if (*mb == 0) *mb = min(round_up(*m, 12), 504);
  if (*nb == 0) *nb = clamp(*n, 4, 5000);
}

// 4 x 4 transpose: in[q] holds 4 consecutive depth steps of row (or
// column) q; out[u] holds depth step u of the 4 rows.
inline void transpose4(const __m256d in[4], __m256d out[4]) {
  const __m256d t0 = _mm256_unpacklo_pd(in[0], in[1]), t1 = _mm256_unpackhi_pd(in[0], in[1]);
  const __m256d t2 = _mm256_unpacklo_pd(in[2], in[3]), t3 = _mm256_unpackhi_pd(in[2], in[3]);
  out[0] = _mm256_permute2f128_pd(t0, t2, 0x20);
  out[1] = _mm256_permute2f128_pd(t1, t3, 0x20);
  out[2] = _mm256_permute2f128_pd(t0, t2, 0x31);
  out[3] = _mm256_permute2f128_pd(t1, t3, 0x31);
}

// One full strip of 12 rows of op(A), times alpha, depth padded to kp.
template <bool Trans>
void copy_a_strip(i64 depth, i64 kp, const double* a, i64 lda, double alpha, double* dst) {
  const __m256d al = _mm256_set1_pd(alpha);
  i64 l = 0;
  if (!Trans) {
    for (; l < depth; ++l) {
      const double* src = a + l * lda;
      for (int g = 0; g < 3; ++g) _mm256_store_pd(dst + l * 12 + 4 * g, _mm256_mul_pd(al, _mm256_loadu_pd(src + 4 * g)));
    }
  } else {
    for (; l + 4 <= depth; l += 4)
      for (int g = 0; g < 3; ++g) {
        __m256d in[4], out[4];
        for (int q = 0; q < 4; ++q) in[q] = _mm256_loadu_pd(a + l + (4 * g + q) * lda);
        transpose4(in, out);
        for (int u = 0; u < 4; ++u) _mm256_store_pd(dst + (l + u) * 12 + 4 * g, _mm256_mul_pd(al, out[u]));
      }
    for (; l < depth; ++l)
      for (int r = 0; r < 12; ++r) dst[l * 12 + r] = alpha * a[l + r * lda];
  }
  for (; l < kp; ++l)
    for (int g = 0; g < 3; ++g) _mm256_store_pd(dst + l * 12 + 4 * g, _mm256_setzero_pd());
}

template <bool Trans>
void copy_a(i64 rows, i64 depth, const double* a, i64 lda, double* panel, double alpha) {
  if (rows <= 0 || depth <= 0) return;
  const i64 kp = round_up(depth, 2), full = rows / 12 * 12;
  if (!Trans) {
    // Down each column of A in turn, so that A is read as one stream.
    const __m256d al = _mm256_set1_pd(alpha);
    for (i64 l = 0; l < depth; ++l) {
      const double* src = a + l * lda;
      double* dst = panel + l * 12;
      for (i64 i = 0; i < full; i += 12, dst += 12 * kp)
        for (int g = 0; g < 3; ++g) _mm256_store_pd(dst + 4 * g, _mm256_mul_pd(al, _mm256_loadu_pd(src + i + 4 * g)));
    }
    for (i64 l = depth; l < kp; ++l)
      for (i64 i = 0; i < full; i += 12)
        for (int g = 0; g < 3; ++g) _mm256_store_pd(panel + i * kp + l * 12 + 4 * g, _mm256_setzero_pd());
  } else {
    for (i64 i = 0; i < full; i += 12) copy_a_strip<true>(depth, kp, a + i * lda, lda, alpha, panel + i * kp);
  }
  if (full < rows)
    pack_a<double, 12, Trans, true>(rows - full, depth, kp, op_a<double, Trans>(a, lda, full, 0), lda, alpha,
                                    panel + full * kp);
}

// One full strip of 4 columns of op(B), depth padded to kp.
template <bool Trans>
void copy_b_strip(i64 depth, i64 kp, const double* b, i64 ldb, double* dst) {
  i64 l = 0;
  if (Trans) {
    for (; l < depth; ++l) _mm256_store_pd(dst + l * 4, _mm256_loadu_pd(b + l * ldb));
  } else {
    for (; l + 4 <= depth; l += 4) {
      __m256d in[4], out[4];
      for (int q = 0; q < 4; ++q) in[q] = _mm256_loadu_pd(b + l + q * ldb);
      transpose4(in, out);
      for (int u = 0; u < 4; ++u) _mm256_store_pd(dst + (l + u) * 4, out[u]);
    }
    for (; l < depth; ++l)
      for (int q = 0; q < 4; ++q) dst[l * 4 + q] = b[l + q * ldb];
  }
  for (; l < kp; ++l) _mm256_store_pd(dst + l * 4, _mm256_setzero_pd());
}

template <bool Trans>
void copy_b(i64 depth, i64 cols, const double* b, i64 ldb, double* panel) {
  if (cols <= 0 || depth <= 0) return;
  const i64 kp = round_up(depth, 2);
  i64 j = 0;
  for (; j + 4 <= cols; j += 4) copy_b_strip<Trans>(depth, kp, op_b<double, Trans>(b, ldb, 0, j), ldb, panel + j * kp);
  if (j < cols) pack_b_strip_any<double, Trans>(cols - j, depth, kp, op_b<double, Trans>(b, ldb, 0, j), ldb, panel + j * kp);
}

using BlkInfo = void (*)(QOR_GEMM_BLK_INFO_ARGS);

void tuned_body(BlkInfo rule, const char* transa, const char* transb, const i64* m_, const i64* n_, const i64* k_,
                const double* alpha, const double* a, const i64* lda_, const double* b, const i64* ldb_,
                const double* beta, double* c, const i64* ldc_) {
  const i64 m = *m_, n = *n_, k = *k_, lda = *lda_, ldb = *ldb_, ldc = *ldc_;
  if (m <= 0 || n <= 0) return;
  i64 mb = 0, nb = 0, kb = 0, mu, nu, ku;
  rule(m_, n_, k_, &mb, &nb, &kb, &mu, &nu, &ku);
  double *apanel, *bpanel, *extra;
  auto alloc = [&] {
    void* raw;
    qor_blas_def_dgemm_getbufs_bdz(&mb, &nb, &kb, &raw, &apanel, &bpanel, &extra);
    return raw;
  };
  auto packed = [&](void*) {
    auto* const kernel = qor_serv_cpuiszen() ? &qor_blas_def_dgemm_kernel_zen : &qor_blas_def_dgemm_kernel_bdz;
    const bool na = (*transa & 0xDF) == 'N', nb_ = (*transb & 0xDF) == 'N';
    auto* const copy_b_fn = nb_ ? &qor_blas_def_dgemm_copybn_bdz : &qor_blas_def_dgemm_copybt_bdz;
    const i64 m12 = m / 12 * 12, n4 = n & ~i64{3};
    // Strips of 12 rows and groups of 4 columns through the kernel; the rows
    // past the last strip through the unpacked kernel after each column and
    // depth block.
    block_loop<LoopOrder::ColumnsOuter, DepthOrder::PartialLast>(
        m12, n4, k, mb, nb, kb,
        [&](i64 i, i64 l, i64 rows, i64 kc) {
          if (na) {
            qor_blas_def_dgemm_copyan_bdz(&rows, &kc, a + i + l * lda, lda_, apanel, alpha);
          } else {
            qor_blas_def_dgemm_copyat_bdz(&rows, &kc, a + l + i * lda, lda_, apanel, alpha);
          }
        },
        [&](i64 l, i64 j, i64 kc, i64 cols) {
          copy_b_fn(&kc, &cols, nb_ ? b + l + j * ldb : b + j + l * ldb, ldb_, bpanel);
        },
        [&](const Block& t) {
          qor_dgemm_kernel_args args{apanel, bpanel, c + t.i + t.j * ldc, t.rows, t.cols, t.depth, ldc};
          kernel(&args);
        },
        [&](i64 j, i64 cols, i64 l, i64 kc) {
          if (m12 < m)
            pst<double>(*transa, *transb, m - m12, cols, kc, *alpha, na ? a + m12 + l * lda : a + l + m12 * lda, lda,
                        nb_ ? b + l + j * ldb : b + j + l * ldb, ldb, 1.0, c + m12 + j * ldc, ldc);
        });
    // The last n mod 4 columns, each a matrix-vector product over the whole
    // m; C has had its beta.
    const double one = 1.0;
    gemv_columns<double>(transa, !na, !nb_, m, n4, n, k, alpha, a, lda, b, ldb, &one, c, ldc);
  };
  beta_first_body<double>(&qor_blas_def_dgemm_mscale, m < 12 || n < 4 || k <= 1, "xdgemm", alloc,
                          &qor_blas_def_dgemm_freebufs_bdz, packed, transa, transb, m, n, k, alpha, a, lda, b, ldb,
                          beta, c, ldc);
}

}  // namespace

QOR_DEF_API void qor_blas_def_xdgemm_bdz(QOR_GEMM_ARGS(double)) {
  tuned_body(&qor_blas_def_dgemm_blk_info_bdz, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_DEF_API void qor_blas_def_xdgemm_hi_thr_bdz(QOR_GEMM_ARGS(double)) {
  tuned_body(&qor_blas_def_dgemm_blk_info_hi_thr_bdz, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_blk_info_bdz(QOR_GEMM_BLK_INFO_ARGS) { blk_info(256, m, n, k, mb, nb, kb, mu, nu, ku); }

QOR_DEF_API void qor_blas_def_dgemm_blk_info_hi_thr_bdz(QOR_GEMM_BLK_INFO_ARGS) {
  blk_info(192, m, n, k, mb, nb, kb, mu, nu, ku);
}

// One block of (row block + column block) * depth elements and 16896 bytes
// more, aligned to 128; the A panel on the first page boundary at or above
// it, the B panel on the first page boundary past the A panel.
QOR_DEF_API void qor_blas_def_dgemm_getbufs_bdz(QOR_GEMM_GETBUFS_ARGS(double)) {
  *raw = nullptr;
  *apanel = nullptr;
  *bpanel = nullptr;
  *extra = nullptr;
  if (*mb == 0 || *nb == 0 || *kb == 0) return;
  void* p = qor_serv_allocate((*mb + *nb) * *kb * 8 + 16896, 128);
  if (p == nullptr) return;
  *raw = p;
  *apanel = align_up<double>(p, 4096);
  *bpanel = align_up<double>(*apanel + *mb * *kb, 4096);
}

QOR_DEF_API void qor_blas_def_dgemm_freebufs_bdz(void* raw) { qor_serv_deallocate(raw); }

QOR_DEF_API void qor_blas_def_dgemm_copyan_bdz(QOR_GEMM_COPYA_ARGS(double)) { copy_a<false>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copyat_bdz(QOR_GEMM_COPYA_ARGS(double)) { copy_a<true>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copybn_bdz(QOR_GEMM_COPYB_ARGS(double)) { copy_b<false>(*depth, *cols, b, *ldb, panel); }
QOR_DEF_API void qor_blas_def_dgemm_copybt_bdz(QOR_GEMM_COPYB_ARGS(double)) { copy_b<true>(*depth, *cols, b, *ldb, panel); }

QOR_DEF_API void qor_blas_def_dgemm_kernel_bdz(const qor_dgemm_kernel_args* args) { kernel_12x4(args); }
