// Dispatching names of the Level 3 BLAS beside GEMM: each binds the member's
// kernel and, for large calls, splits the output over a team of threads,
// every thread running the sequential kernel on its own part.
#include "blas/level3/dispatch.h"

#include "blas/gemm/api.h"
#include "blas/level3/api.h"
#include "blas/level3/team.h"
#include "frame/member.h"

namespace {

using qor::core::l3::i64;
namespace team = qor::core::l3;
using qor::c32;
using qor::c64;

inline bool is_left(const char* side) { return (*side & 0xDF) == 'L'; }
inline bool is_upper(const char* uplo) { return (*uplo & 0xDF) == 'U'; }
inline bool is_n(const char* t) { return (*t & 0xDF) == 'N'; }

template <class T>
bool zero(const T& x) {
  return x == T(0);
}

// The member's sequential GEMM entry of each type.
template <class T> struct Gemm;
#define QOR_L3D_GEMM_OF(t, T)                                                                           \
  template <> struct Gemm<T> {                                                                          \
    static void call(const char* ta, const char* tb, i64 m, i64 n, i64 k, const T& alpha, const T* a,   \
                     i64 lda, const T* b, i64 ldb, const T& beta, T* c, i64 ldc) {                      \
      QOR_KERNEL(qor_blas_def_x##t##gemm)(ta, tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc); \
    }                                                                                                   \
  };
QOR_FOR_EACH_TYPE(QOR_L3D_GEMM_OF)
#undef QOR_L3D_GEMM_OF

// ---- Triangular solve and product ------------------------------------------------
// The right-hand sides are independent: each thread takes a range of them
// (columns of B on the left, rows on the right). call(m, n, b) runs the
// kernel on one range.
template <class T, class Call>
void triangular(const char* side, i64 m, i64 n, T* b, i64 ldb, Call&& call) {
  const bool left = is_left(side);
  const i64 tri = left ? m : n, rhs = left ? n : m;
  const int parts =
      (m > 0 && n > 0)
          ? team::team_size(0.5 * static_cast<double>(tri) * static_cast<double>(tri) * static_cast<double>(rhs),
                            rhs / 16)
          : 1;
  if (parts <= 1) {
    call(m, n, b);
    return;
  }
  team::run_shared(parts, rhs, 16, [&](i64 lo, i64 hi) {
    if (left) {
      call(m, hi - lo, b + lo * ldb);
    } else {
      call(hi - lo, n, b + lo);
    }
  });
}

// ---- Symmetric and Hermitian products -------------------------------------------------
// Columns of B and C (left) or rows (right) are independent.
template <class T, class Call>
void symmetric(const char* side, i64 m, i64 n, const T& alpha, const T* b, i64 ldb, T* c, i64 ldc, Call&& call) {
  const bool left = is_left(side);
  const i64 order = left ? m : n, other = left ? n : m;
  const int parts = (m > 0 && n > 0 && !zero(alpha))
                        ? team::team_size(static_cast<double>(order) * static_cast<double>(order) *
                                              static_cast<double>(other),
                                          other / 16)
                        : 1;
  if (parts <= 1) {
    call(m, n, b, c);
    return;
  }
  team::run_shared(parts, other, 16, [&](i64 lo, i64 hi) {
    if (left) {
      call(m, hi - lo, b + lo * ldb, c + lo * ldc);
    } else {
      call(hi - lo, n, b + lo, c + lo);
    }
  });
}

// ---- Triangle updates ---------------------------------------------------------------------
// One term alpha op(X) op(Y) of a triangle update, for the rectangles that
// the core hands to GEMM.
template <class T>
struct Term {
  T alpha;
  const T* x;
  i64 ldx;
  char xop;
  const T* y;
  i64 ldy;
  char yop;
  const T* xrows(i64 r) const { return xop == 'N' ? x + r : x + r * ldx; }
  const T* ycols(i64 c) const { return yop == 'N' ? y + c * ldy : y + c; }
};

// The triangle is cut into column ranges of equal area. A thread computes
// the diagonal block of its range with the kernel (diag(j0, w)) and the
// rectangle beside it (below for the lower triangle, above for the upper)
// with GEMM, one call per term; the first term applies beta.
template <class T, class Diag>
void triangle(bool lower, i64 n, i64 k, bool trivial, const Term<T>* terms, int nterms, const T& beta, T* c, i64 ldc,
              Diag&& diag) {
  const int parts = (n > 0 && k > 0 && !trivial)
                        ? team::team_size(0.5 * static_cast<double>(n) * static_cast<double>(n) *
                                              static_cast<double>(k) * nterms,
                                          n / 32)
                        : 1;
  if (parts <= 1) {
    diag(i64{0}, n);
    return;
  }
  i64 bounds[65];
  const int np = parts < 64 ? parts : 64;
  team::triangle_bounds(n, np, lower, 16, bounds);
#pragma omp parallel for num_threads(np) schedule(static, 1)
  for (int p = 0; p < np; ++p) {
    const i64 j0 = bounds[p], j1 = bounds[p + 1];
    if (j1 <= j0) continue;
    diag(j0, j1 - j0);
    const i64 r0 = lower ? j1 : 0, r1 = lower ? n : j0;
    if (r1 <= r0) continue;
    for (int t = 0; t < nterms; ++t) {
      const Term<T>& tm = terms[t];
      const char xo[2] = {tm.xop, 0}, yo[2] = {tm.yop, 0};
      Gemm<T>::call(xo, yo, r1 - r0, j1 - j0, k, tm.alpha, tm.xrows(r0), tm.ldx, tm.ycols(j0), tm.ldy,
                    t == 0 ? beta : T(1), c + r0 + j0 * ldc, ldc);
    }
  }
}

// op letters of a GEMM operand: 'N', 'T', or 'C' for complex types.
template <class T>
char op_of(const char* p) {
  const char c = static_cast<char>(*p & 0xDF);
  if (c == 'N') return 'N';
  return (qor::is_complex_v<T> && c == 'C') ? 'C' : 'T';
}

// The mirror letter of a rank-k operand: op(A) = A for 'N' pairs with A^T
// (or A^H), and the reverse.
inline char other_op(bool trans, bool herm) { return trans ? 'N' : (herm ? 'C' : 'T'); }
inline char self_op(bool trans, bool herm) { return trans ? (herm ? 'C' : 'T') : 'N'; }

// ---- Products split over C ----------------------------------------------------------------
// call(i0, rows, j0, cols) computes one block of C; the longer side is cut.
template <class Call>
void blocks_of_c(i64 m, i64 n, i64 k, Call&& call) {
  const bool by_cols = n >= m;
  const i64 along = by_cols ? n : m;
  const int parts = (m > 0 && n > 0 && k > 0)
                        ? team::team_size(static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k),
                                          along / 16)
                        : 1;
  team::run_shared(parts, along, 16, [&](i64 lo, i64 hi) {
    if (parts <= 1) {
      call(i64{0}, m, i64{0}, n);
    } else if (by_cols) {
      call(i64{0}, m, lo, hi - lo);
    } else {
      call(lo, hi - lo, i64{0}, n);
    }
  });
}

}  // namespace

// ---- trsm, trmm -----------------------------------------------------------------------------

#define QOR_L3D_TRI_DEF(t, T)                                                                                 \
  QOR_L3_DISPATCH void qor_blas_##t##trsm(QOR_L3D_TRI_ARGS(T)) {                                              \
    const i64 lda_ = *lda, ldb_ = *ldb;                                                                       \
    triangular<T>(side, *m, *n, b, ldb_, [&](i64 mm, i64 nn, T* bb) {                                         \
      QOR_KERNEL(qor_blas_def_x##t##trsm)(side, uplo, transa, diag, &mm, &nn, alpha, a, &lda_, bb, &ldb_, 1, 1, 1, \
                                          1);                                                                 \
    });                                                                                                       \
  }                                                                                                           \
  QOR_L3_DISPATCH void qor_blas_##t##trmm(QOR_L3D_TRI_ARGS(T)) {                                              \
    const i64 lda_ = *lda, ldb_ = *ldb;                                                                       \
    triangular<T>(side, *m, *n, b, ldb_, [&](i64 mm, i64 nn, T* bb) {                                         \
      QOR_KERNEL(qor_blas_def_x##t##trmm)(side, uplo, transa, diag, &mm, &nn, alpha, a, &lda_, bb, &ldb_);    \
    });                                                                                                       \
  }
QOR_FOR_EACH_TYPE(QOR_L3D_TRI_DEF)
#undef QOR_L3D_TRI_DEF

// ---- symm, hemm ---------------------------------------------------------------------------------

#define QOR_L3D_SYMM_DEF(t, T, name)                                                                          \
  QOR_L3_DISPATCH void qor_blas_##t##name(QOR_L3D_SYMM_ARGS(T)) {                                             \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc;                                                          \
    symmetric<T>(side, *m, *n, *alpha, b, ldb_, c, ldc_, [&](i64 mm, i64 nn, const T* bb, T* cc) {            \
      QOR_KERNEL(qor_blas_def_x##t##name)(side, uplo, &mm, &nn, alpha, a, &lda_, bb, &ldb_, beta, cc, &ldc_); \
    });                                                                                                       \
  }
#define QOR_L3D_SYMM(t, T) QOR_L3D_SYMM_DEF(t, T, symm)
#define QOR_L3D_HEMM(t, T) QOR_L3D_SYMM_DEF(t, T, hemm)
QOR_FOR_EACH_TYPE(QOR_L3D_SYMM)
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L3D_HEMM)
#undef QOR_L3D_SYMM
#undef QOR_L3D_HEMM
#undef QOR_L3D_SYMM_DEF

// ---- syrk, herk, syr2k, her2k, gemmt ---------------------------------------------------------

#define QOR_L3D_RANKK_DEF(t, T)                                                                                \
  QOR_L3_DISPATCH void qor_blas_##t##syrk(QOR_L3D_SYRK_ARGS(T, T)) {                                           \
    const bool tr = !is_n(trans);                                                                              \
    const i64 lda_ = *lda, ldc_ = *ldc, kk = *k;                                                               \
    const Term<T> term{*alpha, a, lda_, self_op(tr, false), a, lda_, other_op(tr, false)};                     \
    triangle<T>(!is_upper(uplo), *n, kk, zero(*alpha), &term, 1, *beta, c, ldc_, [&](i64 j0, i64 w) {          \
      QOR_KERNEL(qor_blas_def_x##t##syrk)(uplo, trans, &w, &kk, alpha, term.xrows(j0), &lda_, beta,           \
                                          c + j0 + j0 * ldc_, &ldc_);                                          \
    });                                                                                                        \
  }                                                                                                            \
  QOR_L3_DISPATCH void qor_blas_##t##syr2k(QOR_L3D_SYR2K_ARGS(T, T)) {                                         \
    const bool tr = !is_n(trans);                                                                              \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc, kk = *k;                                                  \
    const Term<T> terms[2] = {{*alpha, a, lda_, self_op(tr, false), b, ldb_, other_op(tr, false)},             \
                              {*alpha, b, ldb_, self_op(tr, false), a, lda_, other_op(tr, false)}};            \
    triangle<T>(!is_upper(uplo), *n, kk, zero(*alpha), terms, 2, *beta, c, ldc_, [&](i64 j0, i64 w) {          \
      QOR_KERNEL(qor_blas_def_x##t##syr2k)(uplo, trans, &w, &kk, alpha, terms[0].xrows(j0), &lda_,            \
                                           terms[1].xrows(j0), &ldb_, beta, c + j0 + j0 * ldc_, &ldc_);        \
    });                                                                                                        \
  }                                                                                                            \
  QOR_L3_DISPATCH void qor_blas_##t##gemmt(QOR_L3D_GEMMT_ARGS(T)) {                                            \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc, kk = *k;                                                  \
    const Term<T> term{*alpha, a, lda_, op_of<T>(transa), b, ldb_, op_of<T>(transb)};                          \
    triangle<T>(!is_upper(uplo), *n, kk, zero(*alpha), &term, 1, *beta, c, ldc_, [&](i64 j0, i64 w) {          \
      QOR_KERNEL(qor_blas_def_x##t##gemmt)(uplo, transa, transb, &w, &kk, alpha, term.xrows(j0), &lda_,       \
                                           term.ycols(j0), &ldb_, beta, c + j0 + j0 * ldc_, &ldc_);            \
    });                                                                                                        \
  }
QOR_FOR_EACH_TYPE(QOR_L3D_RANKK_DEF)
#undef QOR_L3D_RANKK_DEF

#define QOR_L3D_HERK_DEF(t, T)                                                                                 \
  QOR_L3_DISPATCH void qor_blas_##t##herk(QOR_L3D_SYRK_ARGS(T, ::qor::real_t<T>)) {                            \
    const bool tr = !is_n(trans);                                                                              \
    const i64 lda_ = *lda, ldc_ = *ldc, kk = *k;                                                               \
    const Term<T> term{T(*alpha), a, lda_, self_op(tr, true), a, lda_, other_op(tr, true)};                    \
    triangle<T>(!is_upper(uplo), *n, kk, *alpha == 0, &term, 1, T(*beta), c, ldc_, [&](i64 j0, i64 w) {        \
      QOR_KERNEL(qor_blas_def_x##t##herk)(uplo, trans, &w, &kk, alpha, term.xrows(j0), &lda_, beta,           \
                                          c + j0 + j0 * ldc_, &ldc_);                                          \
    });                                                                                                        \
  }                                                                                                            \
  QOR_L3_DISPATCH void qor_blas_##t##her2k(QOR_L3D_SYR2K_ARGS(T, ::qor::real_t<T>)) {                          \
    const bool tr = !is_n(trans);                                                                              \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc, kk = *k;                                                  \
    const Term<T> terms[2] = {{*alpha, a, lda_, self_op(tr, true), b, ldb_, other_op(tr, true)},               \
                              {std::conj(*alpha), b, ldb_, self_op(tr, true), a, lda_, other_op(tr, true)}};   \
    triangle<T>(!is_upper(uplo), *n, kk, zero(*alpha), terms, 2, T(*beta), c, ldc_, [&](i64 j0, i64 w) {       \
      QOR_KERNEL(qor_blas_def_x##t##her2k)(uplo, trans, &w, &kk, alpha, terms[0].xrows(j0), &lda_,            \
                                           terms[1].xrows(j0), &ldb_, beta, c + j0 + j0 * ldc_, &ldc_);        \
    });                                                                                                        \
  }                                                                                                            \
  QOR_L3_DISPATCH void qor_blas_##t##gemm3m(QOR_L3D_GEMM_ARGS(T, T)) {                                         \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc;                                                           \
    const bool na = is_n(transa), nb = is_n(transb);                                                           \
    blocks_of_c(*m, *n, *k, [&](i64 i0, i64 rows, i64 j0, i64 cols) {                                          \
      QOR_KERNEL(qor_blas_def_x##t##gemm3m)(transa, transb, &rows, &cols, k, alpha, na ? a + i0 : a + i0 * lda_, \
                                            &lda_, nb ? b + j0 * ldb_ : b + j0, &ldb_, beta,                   \
                                            c + i0 + j0 * ldc_, &ldc_);                                        \
    });                                                                                                        \
  }
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L3D_HERK_DEF)
#undef QOR_L3D_HERK_DEF

// ---- Real A with complex B ----------------------------------------------------------------------

// Both operand orders (real A with complex B, and the complex-by-real forms
// row-major calls turn into) split C the same way.
#define QOR_L3D_MIXED_DEF(name, ARGS)                                                                          \
  QOR_L3_DISPATCH void qor_blas_##name(ARGS) {                                                                 \
    const i64 lda_ = *lda, ldb_ = *ldb, ldc_ = *ldc;                                                           \
    const bool na = is_n(transa), nb = is_n(transb);                                                           \
    blocks_of_c(*m, *n, *k, [&](i64 i0, i64 rows, i64 j0, i64 cols) {                                          \
      QOR_KERNEL(qor_blas_def_x##name)(transa, transb, &rows, &cols, k, alpha, na ? a + i0 : a + i0 * lda_,   \
                                       &lda_, nb ? b + j0 * ldb_ : b + j0, &ldb_, beta, c + i0 + j0 * ldc_,    \
                                       &ldc_);                                                                 \
    });                                                                                                        \
  }
QOR_L3D_MIXED_DEF(scgemm, QOR_L3D_GEMM_ARGS(c32, float))
QOR_L3D_MIXED_DEF(dzgemm, QOR_L3D_GEMM_ARGS(c64, double))
QOR_L3D_MIXED_DEF(csgemm, QOR_L3D_GEMM_RB_ARGS(c32, float))
QOR_L3D_MIXED_DEF(zdgemm, QOR_L3D_GEMM_RB_ARGS(c64, double))
#undef QOR_L3D_MIXED_DEF
