// Band products: gbmv on a general band matrix, sbmv and hbmv on a
// symmetric or Hermitian one. One routine each, with its own option test
// and loops; unit strides get loops of their own so they vectorise.
#include <cstring>

#include "blas/level2/api.h"
#include "blas/level2/common.h"

namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2c::i64;

namespace {

inline i64 max0(i64 a, i64 b) { return a > b ? a : b; }
inline i64 min0(i64 a, i64 b) { return a < b ? a : b; }

// y = beta y (y at its first logical element); zeros are stored with
// memset when beta is 0 and y is contiguous.
template <class T>
void band_beta(i64 n, T beta, T* y, i64 incy) {
  if (l2c::is_one(beta)) return;
  if (l2c::is_zero(beta) && incy == 1) {
    std::memset(static_cast<void*>(y), 0, static_cast<std::size_t>(n) * sizeof(T));
  } else {
    l2c::scale(n, beta, y, incy);
  }
}

// Band storage: element (i, j) of the band lies at a[ku + i - j + j*lda].
template <class T, bool Conj>
T band_dot(const T* colj, i64 lo, i64 hi, const T* x, i64 incx) {
  T s = T(0);
  if (incx == 1) {
    for (i64 i = lo; i < hi; ++i) s += l2c::mul(l2c::conj_if<Conj>(colj[i]), x[i]);
  } else {
    for (i64 i = lo; i < hi; ++i) s += l2c::mul(l2c::conj_if<Conj>(colj[i]), x[i * incx]);
  }
  return s;
}

template <class T>
void band_axpy(T t, const T* colj, i64 lo, i64 hi, T* y, i64 incy) {
  if (incy == 1) {
    for (i64 i = lo; i < hi; ++i) y[i] += l2c::mul(t, colj[i]);
  } else {
    for (i64 i = lo; i < hi; ++i) y[i * incy] += l2c::mul(t, colj[i]);
  }
}

template <class T>
void gbmv(const char* trans, i64 m, i64 n, i64 kl, i64 ku, T alpha, const T* a, i64 lda, const T* x, i64 incx,
          T beta, T* y, i64 incy) {
  if (m < 1 || n < 1) return;
  const char op = static_cast<char>(*trans & 0xDF);
  const bool tr = op != 'N';
  const i64 leny = tr ? n : m;
  const i64 lenx = tr ? m : n;
  y = l2c::first(y, leny, incy);
  band_beta(leny, beta, y, incy);
  if (l2c::is_zero(alpha)) return;
  x = l2c::first(x, lenx, incx);
  for (i64 j = 0; j < n; ++j) {
    // colj[i] is element (i, j); rows lo..hi-1 are inside the band.
    const T* colj = a + j * lda + ku - j;
    const i64 lo = max0(0, j - ku);
    const i64 hi = min0(m, j + kl + 1);
    if (!tr) {
      band_axpy(l2c::mul(alpha, x[j * incx]), colj, lo, hi, y, incy);
    } else if (qor::is_complex_v<T> && op == 'C') {
      y[j * incy] += l2c::mul(alpha, band_dot<T, true>(colj, lo, hi, x, incx));
    } else {
      y[j * incy] += l2c::mul(alpha, band_dot<T, false>(colj, lo, hi, x, incx));
    }
  }
}

// Symmetric (Herm false) or Hermitian band product. Upper storage: element
// (i, j), j-k <= i <= j, at a[k + i - j + j*lda]; lower: j <= i <= j+k at
// a[i - j + j*lda]. Each stored element is used for both triangles.
template <class T, bool Herm>
void sbmv(bool upper, i64 n, i64 k, T alpha, const T* a, i64 lda, const T* x, i64 incx, T beta, T* y, i64 incy) {
  if (n < 1) return;
  y = l2c::first(y, n, incy);
  band_beta(n, beta, y, incy);
  if (l2c::is_zero(alpha)) return;
  x = l2c::first(x, n, incx);
  for (i64 j = 0; j < n; ++j) {
    const T t = l2c::mul(alpha, x[j * incx]);
    const T* colj = a + j * lda + (upper ? k : 0) - j;
    const T d = Herm ? l2c::real_only(colj[j]) : colj[j];
    const i64 lo = upper ? max0(0, j - k) : j + 1;
    const i64 hi = upper ? j : min0(n, j + k + 1);
    band_axpy(t, colj, lo, hi, y, incy);
    const T s = band_dot<T, Herm>(colj, lo, hi, x, incx);
    y[j * incy] += l2c::mul(d, t) + l2c::mul(alpha, s);
  }
}

}  // namespace

#define QOR_L2_BAND_DEF(t, T, sb, H, UPPER)                                                                   \
  QOR_L2_DEF(qor_blas_def_##t##gbmv, (const char* trans, QOR_L2_I m, QOR_L2_I n, QOR_L2_I kl,            \
                                          QOR_L2_I ku, const T* alpha, const T* a, QOR_L2_I lda, const T* x, \
                                          QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy), (trans, m, n, kl, ku, alpha, a, lda, x, incx, beta, y, incy)) {               \
    gbmv<T>(trans, *m, *n, *kl, *ku, *alpha, a, *lda, x, *incx, *beta, y, *incy);                            \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_##t##sb, (const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* a, \
                                        QOR_L2_I lda, const T* x, QOR_L2_I incx, const T* beta, T* y,        \
                                        QOR_L2_I incy), (uplo, n, k, alpha, a, lda, x, incx, beta, y, incy)) {                                                     \
    sbmv<T, H>(UPPER, *n, *k, *alpha, a, *lda, x, *incx, *beta, y, *incy);                                    \
  }
// sbmv folds the letter with 0xDF, hbmv asks the core.
QOR_L2_BAND_DEF(s, float, sbmv, false, (*uplo & 0xDF) == 'U')
QOR_L2_BAND_DEF(d, double, sbmv, false, (*uplo & 0xDF) == 'U')
QOR_L2_BAND_DEF(c, qor::c32, hbmv, true, qor_serv_lsame(uplo, "U", 1, 1) != 0)
QOR_L2_BAND_DEF(z, qor::c64, hbmv, true, qor_serv_lsame(uplo, "U", 1, 1) != 0)
