// The GEMM entry and the baseline body, double precision (plain x86-64,
// 128-bit SSE2): packing, the straight-line inner kernel and the driver.
#include <emmintrin.h>

#include <cstdint>

#include "blas/gemm/api.h"
#include "blas/gemm/common.h"
#include "blas/gemm/driver.h"
#include "frame/services.h"

namespace {

using namespace qor::QOR_ISA_NAME::gemm;

// ---- The inner kernel --------------------------------------------------------

// Copies a column group of W columns of the B panel into the expanded area,
// each element in both lanes of a 16-byte slot, so that the multiplication
// takes it as an aligned memory operand.
template <int W>
inline void expand_b(int depth, const double* bp, double* ex) {
  for (int l = 0; l < depth; l += 4) {
    _mm_prefetch(reinterpret_cast<const char*>(bp + l * W) + 128, _MM_HINT_NTA);
    for (int u = 0; u < 4 * W; ++u) _mm_store_pd(ex + 2 * (l * W + u), _mm_load1_pd(bp + l * W + u));
  }
}

// The depth chain of one pair of rows by W columns, unrolled straight to
// 128 steps in one block of assembly (the compiler, left to itself,
// regroups straight-line code into one long dependent chain per column).
// Each step loads the A pair and, for each column, multiplies the expanded B
// slot by it and adds the product to the column's accumulator. With exits, a
// compare at each multiple of 4 leaves the chain at the depth. The pointers
// advance with each step so that every displacement fits in one byte.
#define QOR_DGEMM_COL(q)                                     \
  "movapd " #q "*16-%c[stride]/2(%[ex]), %%xmm13\n\t"        \
  "mulpd %%xmm12, %%xmm13\n\t"                               \
  "addpd %%xmm13, %[c" #q "]\n\t"
#define QOR_DGEMM_BEGIN(exits)                               \
  "xor %%eax, %%eax\n\t"                                     \
  ".rept 32\n\t"                                             \
  ".if " exits "\n\t"                                        \
  "cmp %%rax, %[depth]\n\t"                                  \
  "jle 9f\n\t"                                               \
  ".endif\n\t"                                               \
  "prefetcht0 128(%[a])\n\t"                                 \
  "add $4, %%eax\n\t"                                        \
  ".rept 4\n\t"                                              \
  "movapd (%[a]), %%xmm12\n\t"
#define QOR_DGEMM_END                                        \
  "add $16, %[a]\n\t"                                        \
  "add $%c[stride], %[ex]\n\t"                               \
  ".endr\n\t"                                                \
  ".endr\n"                                                  \
  "9:\n\t"
#define QOR_DGEMM_IN                                                    \
  [a] "+r"(a), [ex] "+r"(ex)                                            \
  : [depth] "r"(depth), [stride] "i"(16 * W)                            \
  : "rax", "xmm12", "xmm13", "cc", "memory"
#define QOR_DGEMM_CHAIN(exits)                                                                                     \
  if constexpr (W == 12) {                                                                                         \
    asm volatile(QOR_DGEMM_BEGIN(exits) QOR_DGEMM_COL(0) QOR_DGEMM_COL(1) QOR_DGEMM_COL(2) QOR_DGEMM_COL(3)        \
                     QOR_DGEMM_COL(4) QOR_DGEMM_COL(5) QOR_DGEMM_COL(6) QOR_DGEMM_COL(7) QOR_DGEMM_COL(8)          \
                         QOR_DGEMM_COL(9) QOR_DGEMM_COL(10) QOR_DGEMM_COL(11) QOR_DGEMM_END                        \
                 : [c0] "+x"(c[0]), [c1] "+x"(c[1]), [c2] "+x"(c[2]), [c3] "+x"(c[3]), [c4] "+x"(c[4]),            \
                   [c5] "+x"(c[5]), [c6] "+x"(c[6]), [c7] "+x"(c[7]), [c8] "+x"(c[8]), [c9] "+x"(c[9]),            \
                   [c10] "+x"(c[10]), [c11] "+x"(c[11]), QOR_DGEMM_IN);                                           \
  } else if constexpr (W == 8) {                                                                                   \
    asm volatile(QOR_DGEMM_BEGIN(exits) QOR_DGEMM_COL(0) QOR_DGEMM_COL(1) QOR_DGEMM_COL(2) QOR_DGEMM_COL(3)        \
                     QOR_DGEMM_COL(4) QOR_DGEMM_COL(5) QOR_DGEMM_COL(6) QOR_DGEMM_COL(7) QOR_DGEMM_END             \
                 : [c0] "+x"(c[0]), [c1] "+x"(c[1]), [c2] "+x"(c[2]), [c3] "+x"(c[3]), [c4] "+x"(c[4]),            \
                   [c5] "+x"(c[5]), [c6] "+x"(c[6]), [c7] "+x"(c[7]), QOR_DGEMM_IN);                               \
  } else {                                                                                                         \
    static_assert(W == 4);                                                                                         \
    asm volatile(QOR_DGEMM_BEGIN(exits) QOR_DGEMM_COL(0) QOR_DGEMM_COL(1) QOR_DGEMM_COL(2) QOR_DGEMM_COL(3)        \
                     QOR_DGEMM_END                                                                                 \
                 : [c0] "+x"(c[0]), [c1] "+x"(c[1]), [c2] "+x"(c[2]), [c3] "+x"(c[3]), QOR_DGEMM_IN);              \
  }

template <int W, bool Exits>
__attribute__((always_inline)) inline void chain(std::int64_t depth, const double* a, const double* ex,
                                                 __m128d (&c)[W]) {
  ex += W;  // the middle of the first step's slots
  if constexpr (Exits) {
    QOR_DGEMM_CHAIN("1")
  } else {
    QOR_DGEMM_CHAIN("0")
  }
}
#undef QOR_DGEMM_COL
#undef QOR_DGEMM_BEGIN
#undef QOR_DGEMM_END
#undef QOR_DGEMM_IN
#undef QOR_DGEMM_CHAIN

// One pair of rows by W columns. The 2 x W products of each depth step go to
// W two-lane accumulators that start from zero, in order of depth; the sums
// are added to C at the end, by aligned 16-byte operations when C and its
// stride allow, otherwise in halves.
template <int W, bool Exits>
inline void row_pair(int depth, const double* ap, const double* ex, double* c, std::int64_t ldc, bool aligned) {
  __m128d acc[W];
  for (int q = 0; q < W; ++q) acc[q] = _mm_setzero_pd();
  for (int q = 0; q < W; ++q) _mm_prefetch(reinterpret_cast<const char*>(c + q * ldc), _MM_HINT_T0);
  chain<W, Exits>(depth, ap, ex, acc);
  if (aligned) {
    for (int q = 0; q < W; ++q) {
      double* cq = c + q * ldc;
      _mm_store_pd(cq, _mm_add_pd(_mm_load_pd(cq), acc[q]));
    }
  } else {
    for (int q = 0; q < W; ++q) {
      double* cq = c + q * ldc;
      __m128d v = _mm_loadh_pd(_mm_load_sd(cq), cq + 1);
      v = _mm_add_pd(v, acc[q]);
      _mm_storel_pd(cq, v);
      _mm_storeh_pd(cq + 1, v);
    }
  }
}

template <int W, bool Exits>
inline void column_group(std::int64_t m, int depth, const double* ap, const double* bp, double* c, std::int64_t ldc,
                         double* ex, bool aligned) {
  expand_b<W>(depth, bp, ex);
  for (std::int64_t i = 0; i < m; i += 2) row_pair<W, Exits>(depth, ap + i * depth, ex, c + i, ldc, aligned);
}

// m even, n a multiple of 4, depth a multiple of 4 up to 128 (exactly 128
// without Exits). Column groups of 12, then one of 8 or 4.
template <bool Exits>
void inner(std::int64_t m, std::int64_t n, std::int64_t depth64, const double* ap, const double* bp, double* c,
           std::int64_t ldc, double* ex) {
  if (m <= 0 || n <= 0 || depth64 <= 0) return;
  const int depth = Exits ? static_cast<int>(depth64) : 128;
  const bool aligned = ((reinterpret_cast<std::uintptr_t>(c) | static_cast<std::uintptr_t>(ldc * 8)) & 15) == 0;
  std::int64_t j = 0;
  for (; j + 12 <= n; j += 12) column_group<12, Exits>(m, depth, ap, bp + j * depth, c + j * ldc, ldc, ex, aligned);
  if (n - j >= 8) {
    column_group<8, Exits>(m, depth, ap, bp + j * depth, c + j * ldc, ldc, ex, aligned);
  } else if (n - j >= 4) {
    column_group<4, Exits>(m, depth, ap, bp + j * depth, c + j * ldc, ldc, ex, aligned);
  }
}

// ---- Packing for the baseline kernel ------------------------------------------

template <bool Trans>
void copy_a(std::int64_t rows, std::int64_t depth, const double* a, std::int64_t lda, double* panel, double alpha) {
  if (rows <= 0 || depth <= 0) return;
  pack_a<double, 2, Trans, true>(rows, depth, round_up(depth, 4), a, lda, alpha, panel);
}

// Strips of 12 columns, then one of 8 or 4 (or what is left).
template <bool Trans>
void copy_b(std::int64_t depth, std::int64_t cols, const double* b, std::int64_t ldb, double* panel) {
  if (cols <= 0 || depth <= 0) return;
  const std::int64_t kp = round_up(depth, 4);
  for (std::int64_t j = 0; j < cols; j += 12) {
    std::int64_t w = min(12, cols - j);
    pack_b_strip_any<double, Trans>(w, depth, kp, op_b<double, Trans>(b, ldb, 0, j), ldb, panel + j * kp);
  }
}

// ---- The baseline body --------------------------------------------------------

// Step 6: blocks for the straight-line kernel, whose depth is at most 128.
struct Blocks {
  std::int64_t mb, nb, kb;
};

Blocks baseline_blocks(std::int64_t m, std::int64_t n, std::int64_t k) {
  Blocks b{512, min(n, 4992), 128};
  if (k > 128 && k <= 256) b.kb = (k / 2) & ~std::int64_t{3};
  if (k <= 256 && m + n >= 10000) {
    std::int64_t d = min(k, b.kb);
    b.mb = d < 17 ? 1536 : d <= 32 ? 1024 : d <= 64 ? 768 : 512;
  }
  return b;
}

void baseline_body(const char* transa, const char* transb, std::int64_t m, std::int64_t n, std::int64_t k,
                   const double* alpha, const double* a, std::int64_t lda, const double* b, std::int64_t ldb,
                   const double* beta, double* c, std::int64_t ldc) {
  const Blocks blk = baseline_blocks(m, n, k);
  void* raw = nullptr;
  auto alloc = [&] {
    raw = qor_serv_allocate(8 * blk.kb * (blk.mb + blk.nb) + 192 * blk.kb + 18176, 128);
    return raw;
  };
  auto packed = [&](void*) {
    const double one = 1.0;
    const std::int64_t one_i = 1;
    // Panel placement: the A panel on the first page boundary above the
    // base, the expanded-B area on a 128-byte boundary past it, the B panel
    // on the next page boundary past that.
    const auto base = reinterpret_cast<std::uintptr_t>(raw);
    const std::uintptr_t a_bytes = static_cast<std::uintptr_t>(8 * blk.mb * blk.kb);
    auto* apanel = reinterpret_cast<double*>((base & ~std::uintptr_t{4095}) + 4096);
    auto* expanded = reinterpret_cast<double*>(((base + a_bytes + 8704) & ~std::uintptr_t{127}) + 640);
    auto* bpanel = reinterpret_cast<double*>(
        ((base + a_bytes + static_cast<std::uintptr_t>(192 * blk.kb) + 9472) & ~std::uintptr_t{4095}) + 4096);

    const bool na = (*transa & 0xDF) == 'N', nb = (*transb & 0xDF) == 'N';
    auto* const copy_a_fn = na ? &qor_blas_def_dgemm_copyan : &qor_blas_def_dgemm_copyat;
    auto* const copy_b_fn = nb ? &qor_blas_def_dgemm_copybn : &qor_blas_def_dgemm_copybt;
    const std::int64_t n4 = n & ~std::int64_t{3}, m2 = m & ~std::int64_t{1};
    const std::int64_t zero = 0;

    // Pairs of rows and groups of 4 columns through the kernel; the last
    // odd row through the unpacked kernel after each column and depth block.
    block_loop<LoopOrder::ColumnsOuter, DepthOrder::PartialLast>(
        m2, n4, k, blk.mb, blk.nb, blk.kb,
        [&](std::int64_t i, std::int64_t l, std::int64_t rows, std::int64_t kc) {
          copy_a_fn(&rows, &kc, na ? a + i + l * lda : a + l + i * lda, &lda, apanel, alpha);
        },
        [&](std::int64_t l, std::int64_t j, std::int64_t kc, std::int64_t cols) {
          copy_b_fn(&kc, &cols, nb ? b + l + j * ldb : b + j + l * ldb, &ldb, bpanel);
        },
        [&](const Block& t) {
          const std::int64_t kp = round_up(t.depth, 4);
          auto* const kernel = kp == 128 ? &qor_blas_def_dgemm_inner_general : &qor_blas_def_dgemm_inner;
          kernel(&t.rows, &t.cols, &kp, apanel, bpanel, &zero, c + t.i + t.j * ldc, &ldc, expanded, alpha);
        },
        [&](std::int64_t j, std::int64_t cols, std::int64_t l, std::int64_t kc) {
          if ((m & 1) == 0) return;
          const std::int64_t last = m - 1;
          qor_blas_def_dgemm_pst(transa, transb, &one_i, &cols, &kc, alpha,
                                 na ? a + last + l * lda : a + l + last * lda, &lda,
                                 nb ? b + l + j * ldb : b + j + l * ldb, &ldb, &one, c + last + j * ldc, &ldc);
        });
    // The last n mod 4 columns, each a matrix-vector product over the whole
    // m; C has had its beta.
    gemv_columns<double>(transa, !na, !nb, m, n4, n, k, alpha, a, lda, b, ldb, &one, c, ldc);
  };
  beta_first_body<double>(&qor_blas_def_dgemm_scalm, m == 1 || n == 1 || k <= 1, "DGEMM", alloc,
                          &qor_serv_deallocate, packed, transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace

// ---- Exported names ----------------------------------------------------------

QOR_DEF_API void qor_blas_def_xdgemm(QOR_GEMM_ARGS(double)) {
  entry<double>(
      &qor_blas_def_xdgemm1_brc, &qor_blas_def_xdgemm_bdz,
      [](QOR_GEMM_ARGS(double)) { baseline_body(transa, transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc); },
      transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_scalm(const std::int64_t* m, const std::int64_t* n, const double* beta,
                                          double* c, const std::int64_t* ldc) {
  scale_c<double, 4>(*m, *n, *beta, c, *ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_mscale(const std::int64_t* m, const std::int64_t* n, const double* beta,
                                           double* c, const std::int64_t* ldc) {
  scale_c<double, 2>(*m, *n, *beta, c, *ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_pst(QOR_GEMM_ARGS(double)) {
  pst<double>(*transa, *transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc);
}

QOR_DEF_API void qor_blas_def_dgemm_copyan(QOR_GEMM_COPYA_ARGS(double)) { copy_a<false>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copyat(QOR_GEMM_COPYA_ARGS(double)) { copy_a<true>(*rows, *depth, a, *lda, panel, *alpha); }
QOR_DEF_API void qor_blas_def_dgemm_copybn(QOR_GEMM_COPYB_ARGS(double)) { copy_b<false>(*depth, *cols, b, *ldb, panel); }
QOR_DEF_API void qor_blas_def_dgemm_copybt(QOR_GEMM_COPYB_ARGS(double)) { copy_b<true>(*depth, *cols, b, *ldb, panel); }

QOR_DEF_API void qor_blas_def_dgemm_inner(QOR_GEMM_INNER_ARGS) {
  (void)zero;
  (void)alpha;
  inner<true>(*m, *n, *depth, apanel, bpanel, c, *ldc, expanded);
}

QOR_DEF_API void qor_blas_def_dgemm_inner_general(QOR_GEMM_INNER_ARGS) {
  (void)zero;
  (void)alpha;
  (void)depth;
  inner<false>(*m, *n, 128, apanel, bpanel, c, *ldc, expanded);
}
