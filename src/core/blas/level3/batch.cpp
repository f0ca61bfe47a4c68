// Batched GEMM, all types, Fortran and CBLAS, 32- and 64-bit integers:
// gemm_batch (groups of products sharing their arguments) and
// gemm_batch_strided (one argument set, matrices at fixed strides).
//
// Every argument of every group is checked before any product starts, so a
// bad call changes nothing. Many products run side by side on the team, one
// thread each with the member's sequential GEMM; a batch with fewer
// products than threads runs them one after another, each on the whole
// team through the dispatching GEMM.
#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "blas/common/interface.h"
#include "blas/gemm/api.h"
#include "blas/gemm/dispatch.h"
#include "blas/gemm/gemm.h"
#include "blas/level3/checks.h"
#include "blas/level3/team.h"
#include "frame/member.h"
#include "frame/trace.h"
#include "qor/blas_level3_ext.h"
#include "qor/cblas_level3_ext.h"
#include "qor/qor.h"

namespace {

using qor::c32;
using qor::c64;
using qor::core::blas::trans_letter;
using qor::core::blas::upper;
namespace l3 = qor::core::l3;
using l3::i64;

// The sequential member entry and the threaded dispatching name of a type.
template <class T> struct Gemm;
#define QOR_L3B_GEMM(t, T)                                                                                  \
  template <> struct Gemm<T> {                                                                              \
    static void one(const char* ta, const char* tb, i64 m, i64 n, i64 k, const T* alpha, const T* a, i64 lda, \
                    const T* b, i64 ldb, const T* beta, T* c, i64 ldc) {                                    \
      QOR_KERNEL(qor_blas_def_x##t##gemm)(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);     \
    }                                                                                                       \
    static void team(const char* ta, const char* tb, i64 m, i64 n, i64 k, const T* alpha, const T* a,       \
                     i64 lda, const T* b, i64 ldb, const T* beta, T* c, i64 ldc) {                          \
      qor_blas_##t##gemm(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);                       \
    }                                                                                                       \
  };
QOR_FOR_EACH_TYPE(QOR_L3B_GEMM)
#undef QOR_L3B_GEMM

// One product of a batch, column-major.
template <class T>
struct Product {
  char ta, tb;
  i64 m, n, k;
  const T* alpha;
  const T* a;
  i64 lda;
  const T* b;
  i64 ldb;
  const T* beta;
  T* c;
  i64 ldc;
};

// The column-major product for a call in `row` layout: a row-major C is
// the transpose, C^T = op(B)^T op(A)^T.
template <class T>
Product<T> column_major(bool row, char ta, char tb, i64 m, i64 n, i64 k, const T* alpha, const T* a, i64 lda,
                        const T* b, i64 ldb, const T* beta, T* c, i64 ldc) {
  if (!row) return {ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc};
  return {tb, ta, n, m, k, alpha, b, ldb, a, lda, beta, c, ldc};
}

// Runs `count` products; get(i) gives product i.
template <class T, class Get>
void run(i64 count, Get&& get) {
  if (count <= 0) return;
  const int nt = qor::core::max_threads();
  if (count < nt) {
    for (i64 i = 0; i < count; ++i) {
      const Product<T> p = get(i);
      const char ta[2] = {p.ta, 0}, tb[2] = {p.tb, 0};
      Gemm<T>::team(ta, tb, p.m, p.n, p.k, p.alpha, p.a, p.lda, p.b, p.ldb, p.beta, p.c, p.ldc);
    }
    return;
  }
#pragma omp parallel for num_threads(nt) schedule(dynamic, 1)
  for (i64 i = 0; i < count; ++i) {
    const Product<T> p = get(i);
    const char ta[2] = {p.ta, 0}, tb[2] = {p.tb, 0};
    Gemm<T>::one(ta, tb, p.m, p.n, p.k, p.alpha, p.a, p.lda, p.b, p.ldb, p.beta, p.c, p.ldc);
  }
}

// ---- gemm_batch ----------------------------------------------------------------------------------

// `row` and `ta(g)`, `tb(g)` give the layout and letters of group g
// (letters upper case, '?' when invalid); check(g) reports a bad group and
// returns false.
template <class T, class Int, class LetterA, class LetterB, class Check>
void batch(bool row, LetterA&& ta, LetterB&& tb, const Int* m, const Int* n, const Int* k, const T* alpha,
           const T* const* a, const Int* lda, const T* const* b, const Int* ldb, const T* beta, T* const* c,
           const Int* ldc, Int groups, const Int* sizes, Check&& check) {
  i64 total = 0;
  for (Int g = 0; g < groups; ++g) {
    if (!check(g)) return;
    total += sizes[g];
  }
  if (total == 0) return;
  // Group of each product, by a prefix of the sizes.
  std::vector<i64> first(static_cast<std::size_t>(groups) + 1, 0);
  for (Int g = 0; g < groups; ++g) first[g + 1] = first[g] + sizes[g];
  run<T>(total, [&](i64 i) {
    const Int g = static_cast<Int>(std::upper_bound(first.begin(), first.end(), i) - first.begin() - 1);
    return column_major<T>(row, ta(g), tb(g), m[g], n[g], k[g], alpha + g, a[i], lda[g], b[i], ldb[g], beta + g,
                           c[i], ldc[g]);
  });
}

template <class Int, class T>
QOR_TRACED_WORK
void fortran_batch(const char* name, const char* transa, const char* transb, const Int* m, const Int* n,
                   const Int* k, const void* alpha, const void* const* a, const Int* lda, const void* const* b,
                   const Int* ldb, const void* beta, void* const* c, const Int* ldc, const Int* group_count,
                   const Int* group_size) {
  using qor::core::blas::fortran_arg_error;
  const Int groups = *group_count;
  if (groups < 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(14));
    return;
  }
  auto letter_a = [&](Int g) { return upper(transa + g); };
  auto letter_b = [&](Int g) { return upper(transb + g); };
  auto check = [&](Int g) {
    int bad = group_size[g] < 0 ? 15
                                : qor::core::blas::gemm_fortran_check(letter_a(g), letter_b(g), m[g], n[g], k[g],
                                                                      lda[g], ldb[g], ldc[g]);
    if (bad != 0) fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return bad == 0;
  };
  batch<T, Int>(false, letter_a, letter_b, m, n, k, static_cast<const T*>(alpha),
                reinterpret_cast<const T* const*>(a), lda, reinterpret_cast<const T* const*>(b), ldb,
                static_cast<const T*>(beta), reinterpret_cast<T* const*>(c), ldc, groups, group_size, check);
}

template <class Int, class T>
QOR_TRACED_WORK
void cblas_batch(const char* name, CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE* transa, const CBLAS_TRANSPOSE* transb,
                 const Int* m, const Int* n, const Int* k, const void* alpha, const void* const* a, const Int* lda,
                 const void* const* b, const Int* ldb, const void* beta, void* const* c, const Int* ldc, Int groups,
                 const Int* group_size) {
  if (layout != CblasRowMajor && layout != CblasColMajor) {
    cblas_xerbla(1, name, "Illegal layout setting, %d\n", static_cast<int>(layout));
    return;
  }
  if (groups < 0) {
    cblas_xerbla(15, name, "");
    return;
  }
  const bool row = layout == CblasRowMajor;
  auto letter_a = [&](Int g) { return trans_letter(transa[g]); };
  auto letter_b = [&](Int g) { return trans_letter(transb[g]); };
  auto check = [&](Int g) {
    int bad = group_size[g] < 0 ? 16
                                : l3::cblas_gemm_check(row, letter_a(g), letter_b(g), m[g], n[g], k[g], lda[g],
                                                       ldb[g], ldc[g]);
    if (bad != 0) cblas_xerbla(bad, name, "");
    return bad == 0;
  };
  batch<T, Int>(row, letter_a, letter_b, m, n, k, static_cast<const T*>(alpha), reinterpret_cast<const T* const*>(a),
                lda, reinterpret_cast<const T* const*>(b), ldb, static_cast<const T*>(beta),
                reinterpret_cast<T* const*>(c), ldc, groups, group_size, check);
}

// ---- gemm_batch_strided ----------------------------------------------------------------------------

// Checks the strides: A and B may be shared (stride 0), the C matrices may
// not overlap. Returns the offending argument as 0 (stridea), 1 (strideb),
// 2 (stridec), 3 (batch size), or -1.
inline int stride_check(i64 count, i64 stridea, i64 strideb, i64 stridec, i64 c_extent) {
  if (stridea < 0) return 0;
  if (strideb < 0) return 1;
  if (count > 1 && stridec < c_extent) return 2;
  if (count < 0) return 3;
  return -1;
}

template <class T>
void strided(bool row, char ta, char tb, i64 m, i64 n, i64 k, const T* alpha, const T* a, i64 lda, i64 sa,
             const T* b, i64 ldb, i64 sb, const T* beta, T* c, i64 ldc, i64 sc, i64 count) {
  run<T>(count, [&](i64 i) {
    return column_major<T>(row, ta, tb, m, n, k, alpha, a + i * sa, lda, b + i * sb, ldb, beta, c + i * sc, ldc);
  });
}

template <class Int, class T>
QOR_TRACED_WORK
void fortran_strided(const char* name, const char* transa, const char* transb, const Int* m, const Int* n,
                     const Int* k, const void* alpha, const void* a, const Int* lda, const Int* stridea, const void* b,
                     const Int* ldb, const Int* strideb, const void* beta, void* c, const Int* ldc,
                     const Int* stridec, const Int* batch_size) {
  using qor::core::blas::fortran_arg_error;
  const char ta = upper(transa), tb = upper(transb);
  int bad = qor::core::blas::gemm_fortran_check(ta, tb, *m, *n, *k, *lda, *ldb, *ldc);
  static const int fortran_pos[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 11, 12, 15};  // gemm -> strided
  if (bad != 0) {
    bad = fortran_pos[bad];
  } else if (int s = stride_check(*batch_size, *stridea, *strideb, *stridec, static_cast<i64>(*ldc) * *n); s >= 0) {
    static const int pos[] = {9, 12, 16, 17};
    bad = pos[s];
  }
  if (bad != 0) {
    fortran_arg_error<Int>(name, static_cast<Int>(bad));
    return;
  }
  strided<T>(false, ta, tb, *m, *n, *k, static_cast<const T*>(alpha), static_cast<const T*>(a), *lda, *stridea,
             static_cast<const T*>(b), *ldb, *strideb, static_cast<const T*>(beta), static_cast<T*>(c), *ldc,
             *stridec, *batch_size);
}

template <class Int, class T>
QOR_TRACED_WORK
void cblas_strided(const char* name, CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, Int m,
                   Int n, Int k, const void* alpha, const void* a, Int lda, Int stridea, const void* b, Int ldb,
                   Int strideb, const void* beta, void* c, Int ldc, Int stridec, Int batch_size) {
  if (layout != CblasRowMajor && layout != CblasColMajor) {
    cblas_xerbla(1, name, "Illegal layout setting, %d\n", static_cast<int>(layout));
    return;
  }
  const bool row = layout == CblasRowMajor;
  const char ta = trans_letter(transa), tb = trans_letter(transb);
  int bad = l3::cblas_gemm_check(row, ta, tb, m, n, k, lda, ldb, ldc);
  // gemm positions -> strided: lda 9 -> 9, ldb 11 -> 12, ldc 14 -> 16.
  if (bad == 11) bad = 12;
  if (bad == 14) bad = 16;
  if (bad == 0) {
    if (int s = stride_check(batch_size, stridea, strideb, stridec, static_cast<i64>(ldc) * (row ? m : n)); s >= 0) {
      static const int pos[] = {10, 13, 17, 18};
      bad = pos[s];
    }
  }
  if (bad != 0) {
    cblas_xerbla(bad, name, "");
    return;
  }
  strided<T>(row, ta, tb, m, n, k, static_cast<const T*>(alpha), static_cast<const T*>(a), lda, stridea,
             static_cast<const T*>(b), ldb, strideb, static_cast<const T*>(beta), static_cast<T*>(c), ldc, stridec,
             batch_size);
}

}  // namespace

#define QOR_L3C_REF(x) (&(x))
#define QOR_L3C_PTR(x) (x)

// S: public array type, A: CBLAS scalar argument type, P: its address.
#define QOR_L3B_TYPE(t, T, S, A, P, UP, INT, FSFX, CSFX)                                                        \
  QOR_API void t##gemm_batch##FSFX(const char* transa, const char* transb, const INT* m, const INT* n,          \
                                   const INT* k, const S* alpha, const S** a, const INT* lda, const S** b,      \
                                   const INT* ldb, const S* beta, S** c, const INT* ldc, const INT* group_count, \
                                   const INT* group_size, size_t, size_t) {                                    \
    using qor::core::trace::first;                                                                             \
    QOR_TRACED_NAMED((first(transa), first(transb), first(m), first(n), first(k), first(lda), first(ldb),      \
                      first(ldc), *group_count), "transa,transb,m,n,k,lda,ldb,ldc,group_count", [=] {          \
      fortran_batch<INT, T>(#UP "GEMM_BATCH", transa, transb, m, n, k, alpha, reinterpret_cast<const void* const*>(a), \
                            lda, reinterpret_cast<const void* const*>(b), ldb, beta,                           \
                            reinterpret_cast<void* const*>(c), ldc, group_count, group_size);                  \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void t##gemm_batch_strided##FSFX(const char* transa, const char* transb, const INT* m, const INT* n,  \
                                           const INT* k, const S* alpha, const S* a, const INT* lda,            \
                                           const INT* stridea, const S* b, const INT* ldb, const INT* strideb,  \
                                           const S* beta, S* c, const INT* ldc, const INT* stridec,             \
                                           const INT* batch_size, size_t, size_t) {                            \
    QOR_TRACED((transa, transb, *m, *n, *k, *lda, *stridea, *ldb, *strideb, *ldc, *stridec,                    \
                *batch_size), [=] {                                                                            \
      fortran_strided<INT, T>(#UP "GEMM_BATCH_STRIDED", transa, transb, m, n, k, alpha, a, lda, stridea, b, ldb, \
                              strideb, beta, c, ldc, stridec, batch_size);                                     \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##gemm_batch##CSFX(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE* transa,                  \
                                           const CBLAS_TRANSPOSE* transb, const INT* m, const INT* n,          \
                                           const INT* k, const S* alpha, const S** a, const INT* lda,           \
                                           const S** b, const INT* ldb, const S* beta, S** c, const INT* ldc,   \
                                           INT group_count, const INT* group_size) {                           \
    using qor::core::trace::first;                                                                             \
    QOR_TRACED_NAMED((layout, first(transa), first(transb), first(m), first(n), first(k), first(lda),          \
                      first(ldb), first(ldc), group_count),                                                    \
                      "layout,transa,transb,m,n,k,lda,ldb,ldc,group_count", [=] {                              \
      cblas_batch<INT, T>("cblas_" #t "gemm_batch", layout, transa, transb, m, n, k, alpha,                    \
                          reinterpret_cast<const void* const*>(a), lda, reinterpret_cast<const void* const*>(b), \
                          ldb, beta, reinterpret_cast<void* const*>(c), ldc, group_count, group_size);         \
    });                                                                                                        \
  }                                                                                                            \
  QOR_API void cblas_##t##gemm_batch_strided##CSFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa,                 \
                                                   CBLAS_TRANSPOSE transb, INT m, INT n, INT k, A alpha,        \
                                                   const S* a, INT lda, INT stridea, const S* b, INT ldb,       \
                                                   INT strideb, A beta, S* c, INT ldc, INT stridec,             \
                                                   INT batch_size) {                                           \
    QOR_TRACED((layout, transa, transb, m, n, k, lda, stridea, ldb, strideb, ldc, stridec, batch_size), [=] {  \
      cblas_strided<INT, T>("cblas_" #t "gemm_batch_strided", layout, transa, transb, m, n, k, P(alpha), a, lda, \
                            stridea, b, ldb, strideb, P(beta), c, ldc, stridec, batch_size);                   \
    });                                                                                                        \
  }

#define QOR_L3B_ALL(INT, FSFX, CSFX)                                                \
  QOR_L3B_TYPE(s, float, float, float, QOR_L3C_REF, S, INT, FSFX, CSFX)             \
  QOR_L3B_TYPE(d, double, double, double, QOR_L3C_REF, D, INT, FSFX, CSFX)          \
  QOR_L3B_TYPE(c, c32, void, const void*, QOR_L3C_PTR, C, INT, FSFX, CSFX)          \
  QOR_L3B_TYPE(z, c64, void, const void*, QOR_L3C_PTR, Z, INT, FSFX, CSFX)

extern "C" {
QOR_L3B_ALL(int, _, )
QOR_L3B_ALL(std::int64_t, _64_, _64)
}
