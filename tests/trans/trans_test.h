// Shared pieces of the transposition tests: the public routines by element
// type, a plain reference of each operation, and buffer checks.
#pragma once
#include <dlfcn.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "common/testing.h"
#include "qor/trans.h"

namespace qor::test::trans {

using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T> struct real_of { using type = T; };
template <class R> struct real_of<std::complex<R>> { using type = R; };
template <class T> using real_t = typename real_of<T>::type;
template <class T> inline constexpr bool is_cplx = !std::is_same_v<T, real_t<T>>;

// The public element type of T.
template <class T> struct pub { using type = T; };
template <> struct pub<c32> { using type = qor_complex8; };
template <> struct pub<c64> { using type = qor_complex16; };
template <class T> using pub_t = typename pub<T>::type;

template <class T>
pub_t<T> p(T x) {
  if constexpr (is_cplx<T>) {
    return {x.real(), x.imag()};
  } else {
    return x;
  }
}
template <class T> pub_t<T>* p(T* x) { return reinterpret_cast<pub_t<T>*>(x); }
template <class T> const pub_t<T>* p(const T* x) { return reinterpret_cast<const pub_t<T>*>(x); }

// The public routines, called as one name for all four types.
template <class T> struct Api;
#define QOR_TRANS_TEST_API(t, T)                                                                                     \
  template <> struct Api<T> {                                                                                        \
    static void omatcopy(char o, char tr, size_t r, size_t c, T al, const T* a, size_t lda, T* b, size_t ldb) {      \
      qor_##t##omatcopy(o, tr, r, c, p(al), p(a), lda, p(b), ldb);                                                   \
    }                                                                                                                \
    static void omatcopy2(char o, char tr, size_t r, size_t c, T al, const T* a, size_t lda, size_t sa, T* b,        \
                          size_t ldb, size_t sb) {                                                                   \
      qor_##t##omatcopy2(o, tr, r, c, p(al), p(a), lda, sa, p(b), ldb, sb);                                          \
    }                                                                                                                \
    static void imatcopy(char o, char tr, size_t r, size_t c, T al, T* ab, size_t lda, size_t ldb) {                 \
      qor_##t##imatcopy(o, tr, r, c, p(al), p(ab), lda, ldb);                                                        \
    }                                                                                                                \
    static void omatadd(char o, char ta, char tb, size_t r, size_t c, T al, const T* a, size_t lda, T be,            \
                        const T* b, size_t ldb, T* cc, size_t ldc) {                                                 \
      qor_##t##omatadd(o, ta, tb, r, c, p(al), p(a), lda, p(be), p(b), ldb, p(cc), ldc);                             \
    }                                                                                                                \
    static void omatcopy_batch_strided(char o, char tr, size_t r, size_t c, T al, const T* a, size_t lda,            \
                                       size_t sa, T* b, size_t ldb, size_t sb, size_t n) {                           \
      qor_##t##omatcopy_batch_strided(o, tr, r, c, p(al), p(a), lda, sa, p(b), ldb, sb, n);                          \
    }                                                                                                                \
    static void imatcopy_batch_strided(char o, char tr, size_t r, size_t c, T al, T* ab, size_t lda, size_t ldb,     \
                                       size_t s, size_t n) {                                                         \
      qor_##t##imatcopy_batch_strided(o, tr, r, c, p(al), p(ab), lda, ldb, s, n);                                    \
    }                                                                                                                \
    static void omatadd_batch_strided(char o, char ta, char tb, size_t r, size_t c, T al, const T* a, size_t lda,    \
                                      size_t sa, T be, const T* b, size_t ldb, size_t sb, T* cc, size_t ldc,         \
                                      size_t sc, size_t n) {                                                         \
      qor_##t##omatadd_batch_strided(o, ta, tb, r, c, p(al), p(a), lda, sa, p(be), p(b), ldb, sb, p(cc), ldc, sc, n); \
    }                                                                                                                \
    static void omatcopy_batch(char o, const char* tr, const size_t* r, const size_t* c, const T* al,               \
                               const T* const* a, const size_t* lda, T* const* b, const size_t* ldb, size_t groups,  \
                               const size_t* sizes) {                                                                \
      qor_##t##omatcopy_batch(o, tr, r, c, p(al), reinterpret_cast<const pub_t<T>* const*>(a), lda,                  \
                              reinterpret_cast<pub_t<T>* const*>(b), ldb, groups, sizes);                            \
    }                                                                                                                \
    static void imatcopy_batch(char o, const char* tr, const size_t* r, const size_t* c, const T* al,               \
                               T* const* ab, const size_t* lda, const size_t* ldb, size_t groups,                    \
                               const size_t* sizes) {                                                                \
      qor_##t##imatcopy_batch(o, tr, r, c, p(al), reinterpret_cast<pub_t<T>* const*>(ab), lda, ldb, groups, sizes);  \
    }                                                                                                                \
  };
QOR_TRANS_TEST_API(s, float)
QOR_TRANS_TEST_API(d, double)
QOR_TRANS_TEST_API(c, c32)
QOR_TRANS_TEST_API(z, c64)
#undef QOR_TRANS_TEST_API

using Types = ::testing::Types<float, double, c32, c64>;

template <class T> inline constexpr char letter_of = sizeof(T) == 4 ? 's' : sizeof(T) == 16 ? 'z' : is_cplx<T> ? 'c' : 'd';

// One worker's share of the threaded square transposition, called through
// the kernel library's own name (dlopen on the member the core loads), so a
// test can run any team size on one thread.
template <class T> struct Team {
  using fn = void(std::uint64_t n, T* ab, std::uint64_t lda, int thread, int threads);
  static void run(std::uint64_t n, T* ab, std::uint64_t lda, int thread, int threads) {
    static fn* const worker = [] {
      void* h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
      const std::string name = std::string("qor_trans_def_qor_") + letter_of<T> + "imatcopy_square_t_team";
      return h ? reinterpret_cast<fn*>(dlsym(h, name.c_str())) : nullptr;
    }();
    ASSERT_NE(worker, nullptr);
    worker(n, ab, lda, thread, threads);
  }
};

template <class T>
T value(Rng& rng) {
  if constexpr (is_cplx<T>) {
    return T(static_cast<real_t<T>>(rng.next()), static_cast<real_t<T>>(rng.next()));
  } else {
    return static_cast<T>(rng.next());
  }
}

// A scalar that is not 1 (complex: with an imaginary part).
template <class T>
T odd_scalar() {
  if constexpr (is_cplx<T>) {
    return T(0.75, -1.25);
  } else {
    return T(-1.5);
  }
}

template <class T>
T conj_of(T x) {
  if constexpr (is_cplx<T>) {
    return std::conj(x);
  } else {
    return x;
  }
}

template <class T>
std::vector<T> random_buffer(std::size_t n, std::uint64_t seed) {
  Rng rng(seed);
  std::vector<T> v(n);
  for (auto& x : v) x = value<T>(rng);
  return v;
}

// Letters a caller may pass, valid and not.
inline const std::string kOrderings = "RrCcX";
inline const std::string kTrans = "NnTtCcRrX";

struct Letter {
  bool valid, transpose, conjugate;
};
inline Letter read_trans(char c) {
  switch (c) {
    case 'N': case 'n': return {true, false, false};
    case 'T': case 't': return {true, true, false};
    case 'C': case 'c': return {true, true, true};
    case 'R': case 'r': return {true, false, true};
    default: return {false, false, false};
  }
}
inline int read_ordering(char c) {  // 1 row-major, 0 column-major, -1 invalid
  return c == 'R' || c == 'r' ? 1 : c == 'C' || c == 'c' ? 0 : -1;
}

// Element (i, j), in row-major terms, of op(x).
template <class T>
T op_at(const T* x, std::size_t ld, std::size_t stride, Letter l, std::size_t i, std::size_t j) {
  T v = l.transpose ? x[j * ld + i * stride] : x[i * ld + j * stride];
  return l.conjugate ? conj_of(v) : v;
}

// b := alpha * op(a) with element strides, as a plain double loop.
template <class T>
void reference_omatcopy2(char ordering, char trans, std::size_t rows, std::size_t cols, T alpha, const T* a,
                         std::size_t lda, std::size_t sa, T* b, std::size_t ldb, std::size_t sb) {
  const Letter l = read_trans(trans);
  const int row = read_ordering(ordering);
  if (!l.valid || row < 0 || rows == 0 || cols == 0) return;
  if (row == 0) std::swap(rows, cols);
  for (std::size_t i = 0; i < rows; ++i)
    for (std::size_t j = 0; j < cols; ++j) {
      T v = alpha * (l.conjugate ? conj_of(a[i * lda + j * sa]) : a[i * lda + j * sa]);
      (l.transpose ? b[j * ldb + i * sb] : b[i * ldb + j * sb]) = v;
    }
}

// The in-place result: every element of the destination receives alpha *
// op(source) read from the original store; nothing else changes.
template <class T>
void reference_imatcopy(char ordering, char trans, std::size_t rows, std::size_t cols, T alpha, std::vector<T>& ab,
                        std::size_t lda, std::size_t ldb) {
  const std::vector<T> orig = ab;
  reference_omatcopy2(ordering, trans, rows, cols, alpha, orig.data(), lda, 1, ab.data(), ldb, 1);
}

template <class T>
void reference_omatadd(char ordering, char transa, char transb, std::size_t rows, std::size_t cols, T alpha,
                       const T* a, std::size_t lda, T beta, const T* b, std::size_t ldb, T* c, std::size_t ldc) {
  const Letter la = read_trans(transa), lb = read_trans(transb);
  const int row = read_ordering(ordering);
  if (!la.valid || !lb.valid || row < 0 || rows == 0 || cols == 0) return;
  if (row == 0) std::swap(rows, cols);
  std::vector<T> out(rows * cols);
  for (std::size_t i = 0; i < rows; ++i)
    for (std::size_t j = 0; j < cols; ++j)
      out[i * cols + j] = alpha * op_at(a, lda, 1, la, i, j) + beta * op_at(b, ldb, 1, lb, i, j);
  for (std::size_t i = 0; i < rows; ++i)
    for (std::size_t j = 0; j < cols; ++j) c[i * ldc + j] = out[i * cols + j];
}

// Every element of `got` equals `want` up to rounding of a product and a sum.
template <class T>
::testing::AssertionResult same_buffer(const std::vector<T>& got, const std::vector<T>& want) {
  using R = real_t<T>;
  const R tol = 8 * std::numeric_limits<R>::epsilon();
  if (got.size() != want.size()) return ::testing::AssertionFailure() << "size differs";
  for (std::size_t k = 0; k < got.size(); ++k) {
    const R err = std::abs(got[k] - want[k]);
    if (!(err <= tol * (1 + std::abs(want[k]))))
      return ::testing::AssertionFailure() << "element " << k << ": got " << got[k] << ", want " << want[k];
  }
  return ::testing::AssertionSuccess();
}

// The number of elements a row-major matrix of r rows with leading
// dimension ld and element stride s spans, plus a tail that must stay as it was.
inline std::size_t span(std::size_t r, std::size_t c, std::size_t ld, std::size_t s = 1) {
  return r == 0 || c == 0 ? 8 : (r - 1) * ld + (c - 1) * s + 1 + 8;
}

}  // namespace qor::test::trans
