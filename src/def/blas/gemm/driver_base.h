// The baseline body of the s, c, z members.
//
// Unlike the d member, beta is not applied to C in advance: the first
// kernel call on each part of C applies it (_z_roll for beta 0 without
// reading C, _b_roll for other values, _roll for beta 1), and the partial
// depth block, k mod the depth block, is handled first, so all later calls
// are full blocks that only add. Blocks are fixed per type (traits.h).
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

template <class T>
void inner_any(Beta mode, i64 m, i64 n, i64 kp, const T* a, const T* b, T beta, T* c, i64 ldc, T* e) {
  if (mode == Beta::Zero) inner<T, Beta::Zero>(m, n, kp, a, b, beta, c, ldc, e);
  else if (mode == Beta::One) inner<T, Beta::One>(m, n, kp, a, b, beta, c, ldc, e);
  else inner<T, Beta::Any>(m, n, kp, a, b, beta, c, ldc, e);
}

// The columns past the last group of 4, over all m rows, each through the
// dispatching gemv (driver.h), with beta. A conjugated B column is not a
// gemv operand, so with the letter C for B these columns go through the
// unpacked kernel instead.
template <class T>
void remainder_columns(const char* ta, Op opa, Op opb, i64 m, i64 j0, i64 n, i64 k, T alpha, const T* a, i64 lda,
                       const T* b, i64 ldb, T beta, T* c, i64 ldc) {
  if (j0 >= n) return;
  if (opb == Op::C) {
    pst(opa, opb, m, n - j0, k, alpha, a, lda, b_at(b, ldb, opb, 0, j0), ldb, beta, c + j0 * ldc, ldc);
    return;
  }
  gemm::gemv_columns<T>(ta, opa != Op::N, opb != Op::N, m, j0, n, k, &alpha, a, lda, b, ldb, &beta, c, ldc);
}

template <class T>
void base_body(const char* ta, Op opa, Op opb, i64 m, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* b, i64 ldb, T beta,
               T* c, i64 ldc) {
  using Tr = traits<T>;
  using R = real_t<T>;
  const i64 nb = n < Tr::nb_max ? n : Tr::nb_max;
  auto alloc = [&] { return qor_serv_allocate(Tr::work_bytes(nb), 128); };
  auto packed = [&](void* raw) {
    // A panel on the first 4096-byte boundary above the raw pointer, the
    // expanded area after it on 128, the B panel after that on 4096.
    T* ap = reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(raw) & ~std::uintptr_t{4095}) + 4096);
    T* ep = align_up<T>(ap + Tr::mb * Tr::kb, 128);
    T* bp = align_up<T>(reinterpret_cast<R*>(ep) + Tr::kb * sse_tile<T>::e_step, 4096);

    const i64 mm = m / Tr::main_rows * Tr::main_rows, n4 = n / 4 * 4;
    gemm::block_loop<gemm::LoopOrder::ColumnsOuter, gemm::DepthOrder::PartialFirst>(
        mm, n4, k, Tr::mb, nb, Tr::kb,
        [&](i64 i, i64 l0, i64 mi, i64 d) { pack_a_sse(opa, mi, d, a_at(a, lda, opa, i, l0), lda, ap, alpha); },
        [&](i64 l0, i64 j, i64 d, i64 nj) { pack_b_sse(opb, d, nj, b_at(b, ldb, opb, l0, j), ldb, bp); },
        [&](const gemm::Block& t) {
          inner_any(beta_mode(t.first, beta), t.rows, t.cols, round_up(t.depth, 4), ap, bp, beta,
                    c + t.i + t.j * ldc, ldc, ep);
        });
    // Rows past the last whole tile, over the packed columns; then the
    // columns past the last group of 4, over all rows. Each part of C gets
    // beta once.
    if (mm < m && n4 > 0)
      pst(opa, opb, m - mm, n4, k, alpha, a_at(a, lda, opa, mm, 0), lda, b, ldb, beta, c + mm, ldc);
    remainder_columns(ta, opa, opb, m, n4, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  };
  packed_body<T>(Tr::name, alloc, packed, opa, opb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace gemm_scz
QOR_ISA_END
