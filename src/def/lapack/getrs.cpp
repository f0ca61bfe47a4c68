// Solves from the LU factors of getrf: A X = B, A' X = B or A^H X = B.
//
// Orders of work: without transposition the interchanges ascending, the
// unit lower triangle, then the upper; with it the transposed upper
// triangle (dividing by the diagonal), the transposed unit lower triangle
// from the last row up, then the interchanges descending. Each right-hand
// side is finished before the next begins; every inner product is a
// two-way sum (lu_common.h). For n up to 7 a straight-line body per size
// and case holds the factors in locals and gives the bits of the loop; its
// one difference is at n == 1 with T, where b is multiplied by 1 / a.
//
// Real data takes C as T, through a branch of its own.
#include "frame/services.h"
#include "lapack/api.h"
#include "lapack/lu_common.h"

QOR_ISA_BEGIN
namespace lu {
namespace {

enum class Op { n, t, c };

// An element of op(A) as the solve reads it: conjugated for C.
template <Op op, class T>
inline T el(T x) {
  if constexpr (op == Op::c) {
    return conj(x);
  } else {
    return x;
  }
}

// Interchanges rows i and p of B, four columns a turn.
template <class T>
void swap_rhs_rows(T* b, i64 ldb, i64 nrhs, i64 i, i64 p) {
  i64 c = 0;
  for (; c + 4 <= nrhs; c += 4) {
    T* x = b + c * ldb;
    std::swap(x[i], x[p]);
    std::swap(x[i + ldb], x[p + ldb]);
    std::swap(x[i + 2 * ldb], x[p + 2 * ldb]);
    std::swap(x[i + 3 * ldb], x[p + 3 * ldb]);
  }
  for (; c < nrhs; ++c) std::swap(b[i + c * ldb], b[p + c * ldb]);
}

template <class T, Op op>
void getrs_loop(i64 n, i64 nrhs, const T* a, i64 lda, const i64* ipiv, T* b, i64 ldb) {
  auto A = [&](i64 i, i64 k) { return el<op>(a[i + k * lda]); };
  if constexpr (op == Op::n) {
    for (i64 i = 0; i < n; ++i)
      if (ipiv[i] != i + 1) swap_rhs_rows(b, ldb, nrhs, i, ipiv[i] - 1);
  }
  for (i64 r = 0; r < nrhs; ++r) {
    T* x = b + r * ldb;
    if constexpr (op == Op::n) {
      for (i64 i = 1; i < n; ++i) x[i] -= pair_sum<T>(0, i, [&](i64 k) { return mul(A(i, k), x[k]); });
      for (i64 i = n - 1; i >= 0; --i) {
        T t = x[i];
        if (i + 1 < n) t -= pair_sum<T>(i + 1, n, [&](i64 k) { return mul(A(i, k), x[k]); });
        x[i] = t / A(i, i);
      }
    } else {
      for (i64 i = 0; i < n; ++i) {
        T t = x[i];
        if (i > 0) t -= pair_sum<T>(0, i, [&](i64 k) { return mul(A(k, i), x[k]); });
        x[i] = t / A(i, i);
      }
      for (i64 i = n - 2; i >= 0; --i) x[i] -= pair_sum<T>(i + 1, n, [&](i64 k) { return mul(A(k, i), x[k]); });
    }
  }
  if constexpr (op != Op::n) {
    for (i64 i = n - 1; i >= 0; --i)
      if (ipiv[i] != i + 1) swap_rhs_rows(b, ldb, nrhs, i, ipiv[i] - 1);
  }
}

// Interchange of x[I] with x[p], p a row number known at run time.
template <int I, int N, class T>
[[gnu::always_inline]] inline void swap_with(T (&x)[N], i64 p) {
  up<0, N>([&](auto K) {
    if constexpr (K != I) {
      if (p == K) std::swap(x[I], x[K]);
    }
  });
}

template <class T, Op op, int N>
[[gnu::flatten]] void getrs_body(i64 nrhs, const T* a, i64 lda, const i64* ipiv, T* b, i64 ldb) {
  Tile<T, N, N> f;
  f.load(a, lda);
  up<0, N>([&](auto I) { up<0, N>([&](auto K) { f(I, K) = el<op>(f(I, K)); }); });
  i64 p[N];
  up<0, N>([&](auto I) { p[I] = ipiv[I] - 1; });
  // n == 1 with T multiplies by the reciprocal.
  [[maybe_unused]] const T r = N == 1 && op == Op::t ? T(1) / f(0, 0) : T(1);
  for (i64 c = 0; c < nrhs; ++c) {
    T* col = b + c * ldb;
    T x[N];
    up<0, N>([&](auto I) { x[I] = col[I]; });
    if constexpr (N == 1) {
      x[0] = op == Op::t ? mul(x[0], r) : x[0] / f(0, 0);
    } else if constexpr (op == Op::n) {
      up<0, N>([&](auto I) { swap_with<I>(x, p[I]); });
      up<1, N>([&](auto I) { x[I] -= pair_sum_fixed<0, I, T>([&](auto K) { return mul(f(I, K), x[K]); }); });
      down<0, N>([&](auto I) {
        T t = x[I];
        if constexpr (I + 1 < N) t -= pair_sum_fixed<I + 1, N, T>([&](auto K) { return mul(f(I, K), x[K]); });
        x[I] = t / f(I, I);
      });
    } else {
      up<0, N>([&](auto I) {
        T t = x[I];
        if constexpr (I > 0) t -= pair_sum_fixed<0, I, T>([&](auto K) { return mul(f(K, I), x[K]); });
        x[I] = t / f(I, I);
      });
      down<0, N - 1>([&](auto I) {
        x[I] -= pair_sum_fixed<I + 1, N, T>([&](auto K) { return mul(f(K, I), x[K]); });
      });
      down<0, N>([&](auto I) { swap_with<I>(x, p[I]); });
    }
    up<0, N>([&](auto I) { col[I] = x[I]; });
  }
}

template <class T, Op op>
void solve(i64 n, i64 nrhs, const T* a, i64 lda, const i64* ipiv, T* b, i64 ldb) {
  if (!with_size<1, 7>(n, [&](auto N) { getrs_body<T, op, N>(nrhs, a, lda, ipiv, b, ldb); }))
    getrs_loop<T, op>(n, nrhs, a, lda, ipiv, b, ldb);
}

// The routine's name for error reports: "DGETRS" and its twins.
template <class T>
struct getrs_name {
  const char text[7] = {static_cast<char>(letter_of<T> - 'a' + 'A'), 'G', 'E', 'T', 'R', 'S', '\0'};
};

template <class T>
void getrs(const lapack::option_t* trans, const i64* n, const i64* nrhs, const T* a, const i64* lda,
           const i64* ipiv, T* b, const i64* ldb, i64* info) {
  *info = 0;
  const lapack::option_t t = *trans;
  const i64 nn = *n, nr = *nrhs, la = *lda, lb = *ldb;
  const bool is_n = t == 'N' || t == 'n', is_t = t == 'T' || t == 't', is_c = t == 'C' || t == 'c';
  i64 bad = 0;
  if (!is_n && !is_t && !is_c) {
    bad = 1;
  } else if (nn < 0) {
    bad = 2;
  } else if (nr < 0) {
    bad = 3;
  } else if (la < max_i(nn, 1)) {
    bad = 5;
  } else if (lb < max_i(nn, 1)) {
    bad = 8;
  }
  if (bad != 0) {
    *info = -bad;
    static constexpr getrs_name<T> name;
    qor_serv_xerbla(name.text, &bad, 6);
    return;
  }
  if (nn == 0 || nr == 0) return;
  if (is_t) {
    solve<T, Op::t>(nn, nr, a, la, ipiv, b, lb);
  } else if (is_n) {
    solve<T, Op::n>(nn, nr, a, la, ipiv, b, lb);
  } else {
    // Conjugated; for real data the transposed system again, through a
    // size dispatch of its own.
    solve<T, Op::c>(nn, nr, a, la, ipiv, b, lb);
  }
}

}  // namespace
}  // namespace lu
QOR_ISA_END

#define QOR_LAPACK_GETRS(l, T)                                                                                  \
  QOR_DEF_API void qor_lapack_ps_def_##l##getrs_small(const qor::lapack::option_t* trans, const i64* n,        \
                                                      const i64* nrhs, const T* a, const i64* lda,              \
                                                      const i64* ipiv, T* b, const i64* ldb, i64* info) {       \
    qor::QOR_ISA_NAME::lu::getrs(trans, n, nrhs, a, lda, ipiv, b, ldb, info);                                   \
  }
using qor::i64;
QOR_FOR_EACH_TYPE(QOR_LAPACK_GETRS)
