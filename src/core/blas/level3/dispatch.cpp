// Dispatching names of the Level 3 BLAS beside GEMM: each binds the member's
// kernel and, for large calls, splits the output over a team of threads.
#include "blas/level3/dispatch.h"

#include "blas/level3/api.h"
#include "blas/level3/team.h"
#include "frame/member.h"

namespace {

using qor::core::l3::i64;
namespace team = qor::core::l3;

inline bool is_left(const char* side) { return (*side & 0xDF) == 'L'; }

// Triangular solve and product: the right-hand sides are independent, so
// each thread takes a range of them (columns of B on the left, rows on the
// right) and runs the sequential kernel on it.
template <class T, class Kernel>
void triangular(Kernel kernel, const char* side, const char* uplo, const char* transa, const char* diag, i64 m,
                i64 n, const T* alpha, const T* a, i64 lda, T* b, i64 ldb) {
  const bool left = is_left(side);
  const i64 tri = left ? m : n, rhs = left ? n : m;
  const int parts = (m > 0 && n > 0)
                        ? team::team_size(0.5 * static_cast<double>(tri) * static_cast<double>(tri) *
                                              static_cast<double>(rhs),
                                          rhs / 16)
                        : 1;
  team::run_shared(parts, rhs, 16, [&](i64 lo, i64 hi) {
    const i64 cnt = hi - lo;
    if (parts > 1 && cnt <= 0) return;
    if (left) {
      const i64 nn = parts > 1 ? cnt : n;
      kernel(side, uplo, transa, diag, &m, &nn, alpha, a, &lda, b + lo * ldb, &ldb, 1, 1, 1, 1);
    } else {
      const i64 mm = parts > 1 ? cnt : m;
      kernel(side, uplo, transa, diag, &mm, &n, alpha, a, &lda, b + lo, &ldb, 1, 1, 1, 1);
    }
  });
}

}  // namespace

#define QOR_L3D_TRI_DEF(t, T)                                                                          \
  QOR_L3_DISPATCH void qor_blas_##t##trsm(QOR_L3D_TRI_ARGS(T)) {                                       \
    triangular<T>(QOR_KERNEL(qor_blas_def_x##t##trsm), side, uplo, transa, diag, *m, *n, alpha, a, *lda, b, \
                  *ldb);                                                                               \
  }
QOR_FOR_EACH_TYPE(QOR_L3D_TRI_DEF)
#undef QOR_L3D_TRI_DEF
