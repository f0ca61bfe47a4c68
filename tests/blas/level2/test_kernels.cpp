// The exported kernels and dispatchers below the Level 2 entries, called in
// the kernel library directly (no dispatching name reaches them): their
// argument orders, the letters the dispatchers fold, the column offsets of
// gpmv in packed storage, the start column of the symmetric kernels, and
// the gpmv entry with its work vector and fallback. Products are checked
// against the plain reference, the other kernels against their entries.
#include <string>

#include "blas/level1/member.h"
#include "calls.h"

using namespace l2t;

template <class T>
class Kernels : public ::testing::Test {};
using Types = ::testing::Types<float, double, c32, c64>;
TYPED_TEST_SUITE(Kernels, Types);

namespace {

using C = const char*;
using I = const i64*;

// Signatures of the kernels, by element type (A the type of a real alpha).
template <class T> using gemvk_fn = void(I, I, const T*, const T*, I, const T*, I, T*, I, T*);
template <class T> using gemvd_fn = void(C, I, I, const T*, const T*, I, const T*, I, T*, I, T*);
template <class T> using mscale_fn = void(I, const T*, T*, I);
template <class T> using gpmv_fn = void(C, C, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);
template <class T> using gpmvd_fn = void(C, C, I, I, const T*, const T*, I, const T*, I, T*, I, T*);
template <class T> using symk_fn = void(I, I, const T*, const T*, I, const T*, T*);
template <class T> using symd_fn = void(C, I, I, const T*, const T*, I, const T*, T*);
template <class T> using spk_fn = void(I, I, const T*, const T*, const T*, T*);
template <class T> using syrk_fn = void(I, const real_t<T>*, const T*, T*, I);
template <class T> using sprk_fn = void(I, const real_t<T>*, const T*, T*);
template <class T> using syr2k_fn = void(I, const T*, const T*, const T*, T*, I);
template <class T> using spr2k_fn = void(I, const T*, const T*, const T*, T*);
template <class T> using gerk_fn = void(I, I, const T*, const T*, const T*, I, T*, I);
template <class T> using gem2vk_fn = void(I, I, const T*, const T*, I, const T*, const T*, T*, T*);
template <class T> using trk_fn = void(C, I, const T*, I, T*);
template <class T> using tpk_fn = void(C, I, const T*, T*);
template <class T> using tbk_fn = void(C, I, I, const T*, I, T*, I);
template <class T> using trd_fn = void(C, C, C, I, const T*, I, T*);

template <class T> const char* letter() {
  if constexpr (std::is_same_v<T, float>) return "s";
  else if constexpr (std::is_same_v<T, double>) return "d";
  else if constexpr (std::is_same_v<T, c32>) return "c";
  else return "z";
}

// The kernel of `name` for type T ("gemv_kernel_n" gives
// qor_blas_def_xdgemv_kernel_n); sym is the symmetric or Hermitian
// family's stem in place of "%" ("%mv_kernel_l": symv or hemv).
template <class F, class T>
F* kernel(const qor::test::Member& m, std::string name) {
  if (auto p = name.find('%'); p != std::string::npos) name.replace(p, 1, cplx<T> ? "he" : "sy");
  if (auto p = name.find('&'); p != std::string::npos) name.replace(p, 1, cplx<T> ? "hp" : "sp");
  const std::string full = std::string("qor_blas_def_x") + letter<T>() + name;
  F* f = m.get<F>(full);
  EXPECT_NE(f, nullptr) << full;
  return f;
}

// Column j of a gpmv rectangle starts j*ld - j(j+1)/2 (lower) or
// j*ld + j(j+1)/2 (upper) elements from its base.
inline i64 gp_off(bool lower, i64 ld, i64 j) { return lower ? j * ld - j * (j + 1) / 2 : j * ld + j * (j + 1) / 2; }

}  // namespace

TYPED_TEST(Kernels, GemvKernelsAndDispatcher) {
  using T = TypeParam;
  qor::test::Member mem;
  qor::test::Rng rng(61);
  std::vector<std::string> ops = {"n", "t"};
  if (cplx<T>) ops.push_back("c");
  const i64 m = 37, n = 11, lda = 40;
  auto a = random<T>(lda * n, rng);
  std::vector<T> buf(static_cast<std::size_t>(m > n ? m : n));
  const T alpha = value<T>(rng);
  for (const auto& op : ops) {
    const char letter = static_cast<char>(op[0] - 32);
    const bool tr = op != "n";
    // The contiguous vector is y for n, x for t and c; the other runs with
    // stride 2 into the buffer or straight.
    for (i64 inc : {1, 3}) {
      const i64 incx = tr ? inc : 2, incy = tr ? 2 : inc;
      const i64 lenx = tr ? m : n, leny = tr ? n : m;
      auto x = random<T>(span(lenx, incx), rng);
      auto y = random<T>(span(leny, incy), rng), want = y;
      gemv<T>(letter, m, n, alpha, a.data(), lda, x.data(), incx, T(1), want.data(), incy);
      auto y1 = y;
      kernel<gemvk_fn<T>, T>(mem, "gemv_kernel_" + op)(&m, &n, &alpha, a.data(), &lda, x.data(), &incx, y1.data(),
                                                       &incy, buf.data());
      EXPECT_LE(maxdiff(y1, want), tol<T>(lenx)) << op << " inc " << inc;
      // The dispatcher folds the letter: lower case, and any other letter
      // is a transposition.
      for (char l : {letter, static_cast<char>(letter + 32), op == "t" ? 'X' : letter}) {
        auto y2 = y;
        kernel<gemvd_fn<T>, T>(mem, "gemv_kernel")(&l, &m, &n, &alpha, a.data(), &lda, x.data(), &incx, y2.data(),
                                                   &incy, buf.data());
        EXPECT_LE(maxdiff(y2, want), tol<T>(lenx)) << "letter " << l;
      }
    }
  }
  // mscale: beta 0 stores zeros over NaN, any other beta multiplies.
  const real_t<T> nan = std::numeric_limits<real_t<T>>::quiet_NaN();
  std::vector<T> y(9, T(nan));
  const i64 five = 5, two = 2;
  const T zero = T(0), beta = value<T>(rng);
  auto mscale = kernel<mscale_fn<T>, T>(mem, "gemv_mscale");
  mscale(&five, &zero, y.data(), &two);
  for (i64 i = 0; i < 9; ++i) {
    EXPECT_EQ(std::isnan(std::abs(static_cast<c64>(y[i]))), i % 2 == 1) << i;
  }
  auto v = random<T>(9, rng), w = v;
  for (i64 i = 0; i < 9; i += 2) w[i] = beta * w[i];
  mscale(&five, &beta, v.data(), &two);
  EXPECT_LE(maxdiff(v, w), tol<T>(1));
}

// gpmv: the entry (beta, negative strides, work vector, slices of 128 when
// no memory is given), the dispatcher and the kernel of every form.
TYPED_TEST(Kernels, GpmvOnRectanglesInPackedStorage) {
  using T = TypeParam;
  qor::test::Member mem;
  qor::test::Rng rng(62);
  std::vector<char> ops = {'N', 'T'};
  if (cplx<T>) ops.push_back('C');
  auto gpmv = kernel<gpmv_fn<T>, T>(mem, "gpmv");
  auto dispatcher = kernel<gpmvd_fn<T>, T>(mem, "gpmv_kernel");
  for (bool lower : {true, false})
    for (char op : ops)
      for (i64 m : {1, 9, 130, 1000}) {
        const i64 n = 13, ld = lower ? m + n + 2 : 5;
        const bool tr = op != 'N';
        const i64 lenx = tr ? m : n, leny = tr ? n : m;
        auto ap = random<T>(gp_off(lower, ld, n - 1) + m, rng);
        Dense<T> d(static_cast<std::size_t>(m * n));
        for (i64 j = 0; j < n; ++j)
          for (i64 i = 0; i < m; ++i) d[i + j * m] = ap[gp_off(lower, ld, j) + i];
        const T alpha = value<T>(rng), beta = value<T>(rng);
        const char uplo = lower ? 'l' : 'U';
        // The entry, strided both ways; at m of 1000 without memory.
        for (i64 inc : {-2, 3}) {
          auto x = random<T>(span(lenx, inc), rng);
          auto y = random<T>(span(leny, -inc), rng), want = y;
          gemv<T>(op, m, n, alpha, d.data(), m, x.data(), inc, beta, want.data(), -inc);
          const i64 incy = -inc;
          {
            qor::test::AllocWatch watch;
            if (m == 1000) qor_fault_fail_after(QOR_POOL_ALLOCATE, 0);
            gpmv(&uplo, &op, &m, &n, &alpha, ap.data(), &ld, x.data(), &inc, &beta, y.data(), &incy);
            if (m == 1000) {
              EXPECT_EQ(watch.failures(), 1);
            } else {
              EXPECT_EQ(watch.allocations(), m > 128 ? 1 : 0);
            }
          }
          EXPECT_LE(maxdiff(y, want), tol<T>(lenx) * 4) << "gpmv " << uplo << op << " m " << m << " inc " << inc;
        }
        if (m > 130) continue;
        // Kernels: contiguous vectors, beta 1.
        auto x = random<T>(lenx, rng);
        auto y = random<T>(leny, rng), want = y;
        std::vector<T> buf(static_cast<std::size_t>(m));
        gemv<T>(op, m, n, alpha, d.data(), m, x.data(), 1, T(1), want.data(), 1);
        const i64 one = 1;
        auto y1 = y, y2 = y;
        const std::string sfx = std::string(1, lower ? 'l' : 'u') + static_cast<char>(op + 32);
        kernel<gemvk_fn<T>, T>(mem, "gpmv_kernel_" + sfx)(&m, &n, &alpha, ap.data(), &ld, x.data(), &one, y1.data(),
                                                          &one, buf.data());
        dispatcher(&uplo, &op, &m, &n, &alpha, ap.data(), &ld, x.data(), &one, y2.data(), &one, buf.data());
        EXPECT_LE(maxdiff(y1, want), tol<T>(lenx) * 4) << "gpmv_kernel_" << sfx << " m " << m;
        EXPECT_LE(maxdiff(y2, want), tol<T>(lenx) * 4) << "gpmv_kernel " << uplo << op << " m " << m;
      }
}

// The symmetric (Hermitian) kernels from a start column k: y += alpha S x,
// S made of the stored elements in columns k and on, with their mirrors.
TYPED_TEST(Kernels, SymmetricKernelsFromAStartColumn) {
  using T = TypeParam;
  qor::test::Member mem;
  qor::test::Rng rng(63);
  const bool herm = cplx<T>;
  for (bool lower : {true, false})
    for (i64 n : {1, 2, 5, 9, 33})
      for (i64 k : {i64{0}, n / 2, n - 1}) {
        const i64 lda = n + 2;
        auto a = random<T>(lda * n, rng);
        std::vector<T> ap(static_cast<std::size_t>(n * (n + 1) / 2));
        for (i64 j = 0; j < n; ++j)
          for (i64 i = lower ? j : 0; i < (lower ? n : j + 1); ++i) ap[packed_at(lower, n, i, j)] = a[i + j * lda];
        auto s = sym_full<T>(n, lower, herm, [&](i64 i, i64 j) { return j >= k ? a[i + j * lda] : T(0); });
        auto x = random<T>(n, rng);
        auto y = random<T>(n, rng), want = y;
        const T alpha = value<T>(rng);
        gemv<T>('N', n, n, alpha, s.data(), n, x.data(), 1, T(1), want.data(), 1);
        const std::string sfx = lower ? "_l" : "_u";
        const char uplo = lower ? 'L' : 'u';
        auto y1 = y, y2 = y, y3 = y, y4 = y;
        using SpD = void(C, I, I, const T*, const T*, const T*, T*);
        kernel<symk_fn<T>, T>(mem, "%mv_kernel" + sfx)(&n, &k, &alpha, a.data(), &lda, x.data(), y1.data());
        kernel<symd_fn<T>, T>(mem, "%mv_kernel")(&uplo, &n, &k, &alpha, a.data(), &lda, x.data(), y2.data());
        kernel<spk_fn<T>, T>(mem, "&mv_kernel" + sfx)(&n, &k, &alpha, ap.data(), x.data(), y3.data());
        kernel<SpD, T>(mem, "&mv_kernel")(&uplo, &n, &k, &alpha, ap.data(), x.data(), y4.data());
        const double t = tol<T>(n) * 4;
        EXPECT_LE(maxdiff(y1, want), t) << "lower " << lower << " n " << n << " k " << k;
        EXPECT_LE(maxdiff(y2, want), t) << "dispatcher, lower " << lower << " n " << n << " k " << k;
        EXPECT_LE(maxdiff(y3, want), t) << "packed, lower " << lower << " n " << n << " k " << k;
        EXPECT_LE(maxdiff(y4, want), t) << "packed dispatcher, lower " << lower << " n " << n << " k " << k;
      }
}

// Rank-one and rank-two kernels (contiguous vectors) give what their
// entries give with unit strides.
TYPED_TEST(Kernels, UpdateKernelsMatchTheirEntries) {
  using T = TypeParam;
  using R = real_t<T>;
  qor::test::Member mem;
  qor::test::Rng rng(64);
  const i64 one = 1;
  for (i64 n : {1, 3, 8, 9, 31}) {
    const i64 lda = n + 1;
    auto x = random<T>(n, rng), y = random<T>(n, rng);
    const T alpha = value<T>(rng);
    const R ralpha = std::real(alpha);
    // With a real type syr takes alpha as it is; the Hermitian her a real.
    const auto* a1 = reinterpret_cast<const real_t<T>*>(&alpha);
    const auto* alpha1 = cplx<T> ? &ralpha : a1;
    for (bool lower : {true, false}) {
      const std::string sfx = lower ? "_l" : "_u";
      const char uplo = lower ? 'L' : 'U';
      auto a = random<T>(lda * n, rng);
      auto ap = random<T>(n * (n + 1) / 2, rng);
      // syr / her
      auto want = a, got = a;
      if constexpr (cplx<T>) {
        Calls<T>::syr(&uplo, &n, &ralpha, x.data(), &one, want.data(), &lda);
      } else {
        Calls<T>::syr(&uplo, &n, &alpha, x.data(), &one, want.data(), &lda);
      }
      kernel<syrk_fn<T>, T>(mem, cplx<T> ? "her_kernel" + sfx : "syr_kernel" + sfx)(&n, alpha1, x.data(),
                                                                                      got.data(), &lda);
      EXPECT_LE(maxdiff(got, want), tol<T>(1)) << "syr " << uplo << " n " << n;
      // spr / hpr
      auto pw = ap, pg = ap;
      if constexpr (cplx<T>) {
        Calls<T>::spr(&uplo, &n, &ralpha, x.data(), &one, pw.data());
      } else {
        Calls<T>::spr(&uplo, &n, &alpha, x.data(), &one, pw.data());
      }
      kernel<sprk_fn<T>, T>(mem, cplx<T> ? "hpr_kernel" + sfx : "spr_kernel" + sfx)(&n, alpha1, x.data(), pg.data());
      EXPECT_LE(maxdiff(pg, pw), tol<T>(1)) << "spr " << uplo << " n " << n;
      // syr2 / her2 and spr2 / hpr2
      want = a, got = a;
      Calls<T>::syr2(&uplo, &n, &alpha, x.data(), &one, y.data(), &one, want.data(), &lda);
      kernel<syr2k_fn<T>, T>(mem, cplx<T> ? "her2_kernel" + sfx : "syr2_kernel" + sfx)(&n, &alpha, x.data(),
                                                                                         y.data(), got.data(), &lda);
      EXPECT_LE(maxdiff(got, want), tol<T>(2)) << "syr2 " << uplo << " n " << n;
      pw = ap, pg = ap;
      Calls<T>::spr2(&uplo, &n, &alpha, x.data(), &one, y.data(), &one, pw.data());
      kernel<spr2k_fn<T>, T>(mem, cplx<T> ? "hpr2_kernel" + sfx : "spr2_kernel" + sfx)(&n, &alpha, x.data(),
                                                                                         y.data(), pg.data());
      EXPECT_LE(maxdiff(pg, pw), tol<T>(2)) << "spr2 " << uplo << " n " << n;
    }
    // ger / gerc: y read with its stride by the kernel.
    const i64 m = n + 4, two = 2;
    auto xm = random<T>(m, rng), y2 = random<T>(2 * n, rng);
    auto g = random<T>((m + 1) * n, rng), gw = g;
    const i64 ldg = m + 1;
    Calls<T>::ger(&m, &n, &alpha, xm.data(), &one, y2.data(), &two, gw.data(), &ldg);
    kernel<gerk_fn<T>, T>(mem, cplx<T> ? "gerc_kernel" : "ger_kernel")(&m, &n, &alpha, xm.data(), y2.data(), &two,
                                                                      g.data(), &ldg);
    EXPECT_LE(maxdiff(g, gw), tol<T>(1)) << "ger n " << n;
    // gem2v: both products in one pass, beta 1.
    auto x1 = random<T>(n, rng), x2 = random<T>(m, rng);
    auto z1 = random<T>(m, rng), z2 = random<T>(n, rng), w1 = z1, w2 = z2;
    gemv<T>('N', m, n, alpha, g.data(), ldg, x1.data(), 1, T(1), w1.data(), 1);
    gemv<T>(cplx<T> ? 'C' : 'T', m, n, alpha, g.data(), ldg, x2.data(), 1, T(1), w2.data(), 1);
    kernel<gem2vk_fn<T>, T>(mem, cplx<T> ? "gem2vc_kernel" : "gem2vu_kernel")(&m, &n, &alpha, g.data(), &ldg,
                                                                              x1.data(), x2.data(), z1.data(),
                                                                              z2.data());
    EXPECT_LE(maxdiff(z1, w1), tol<T>(n) * 4) << "gem2v y1 n " << n;
    EXPECT_LE(maxdiff(z2, w2), tol<T>(m) * 4) << "gem2v y2 n " << n;
  }
}

// Triangular kernels of every form and their dispatchers give what the
// entries give on a contiguous x.
TYPED_TEST(Kernels, TriangularKernelsMatchTheirEntries) {
  using T = TypeParam;
  qor::test::Member mem;
  qor::test::Rng rng(65);
  std::vector<char> ops = {'N', 'T'};
  if (cplx<T>) ops.push_back('C');
  const i64 n = 140, k = 3, lda = n + 1, ldb = k + 1, one = 1;
  // Small off-diagonal elements and a large diagonal: the solves stay
  // bounded with a unit diagonal too.
  auto a = random<T>(lda * n, rng);
  for (auto& e : a) e *= real_t<T>(0.01);
  for (i64 j = 0; j < n; ++j) a[j + j * lda] += T(4);
  for (bool lower : {true, false}) {
    std::vector<T> ap(static_cast<std::size_t>(n * (n + 1) / 2)), band(static_cast<std::size_t>(ldb * n));
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < n; ++i) {
        if (lower ? i < j : i > j) continue;
        ap[packed_at(lower, n, i, j)] = a[i + j * lda];
        if ((lower ? i - j : j - i) <= k) band[(lower ? i - j : k + i - j) + j * ldb] = a[i + j * lda];
      }
    for (char op : ops)
      for (char diag : {'N', 'U'}) {
        const std::string sfx = std::string("_") + (lower ? 'l' : 'u') + static_cast<char>(op + 32);
        const char uplo = lower ? 'L' : 'U', dl = static_cast<char>(diag + 32), ol = static_cast<char>(op + 32);
        auto x = random<T>(n, rng);
        SCOPED_TRACE(std::string("uplo ") + uplo + " op " + op + " diag " + diag);
        auto run = [&](const char* what, auto entry, auto direct, auto dispatched) {
          auto want = x, got = x, got2 = x;
          entry(want.data());
          direct(got.data());
          dispatched(got2.data());
          EXPECT_LE(maxdiff(got, want), 0.0) << what << sfx;
          EXPECT_LE(maxdiff(got2, want), 0.0) << what << " dispatcher";
        };
        for (bool solve : {false, true}) {
          const std::string tr = solve ? "trsv" : "trmv", tp = solve ? "tpsv" : "tpmv", tb = solve ? "tbsv" : "tbmv";
          auto tr_k = kernel<trk_fn<T>, T>(mem, tr + "_kernel" + sfx);
          auto tr_d = kernel<trd_fn<T>, T>(mem, tr + "_kernel");
          auto tp_k = kernel<tpk_fn<T>, T>(mem, tp + "_kernel" + sfx);
          auto tb_k = kernel<tbk_fn<T>, T>(mem, tb + "_kernel" + sfx);
          run(tr.c_str(),
              [&](T* v) { (solve ? Calls<T>::trsv : Calls<T>::trmv)(&uplo, &op, &diag, &n, a.data(), &lda, v, &one); },
              [&](T* v) { tr_k(&diag, &n, a.data(), &lda, v); },
              [&](T* v) { tr_d(&uplo, &ol, &dl, &n, a.data(), &lda, v); });
          run(tp.c_str(), [&](T* v) { (solve ? Calls<T>::tpsv : Calls<T>::tpmv)(&uplo, &op, &diag, &n, ap.data(), v, &one); },
              [&](T* v) { tp_k(&diag, &n, ap.data(), v); },
              [&](T* v) {
                using D = void(C, C, C, I, const T*, T*);
                kernel<D, T>(mem, tp + "_kernel")(&uplo, &ol, &dl, &n, ap.data(), v);
              });
          run(tb.c_str(),
              [&](T* v) {
                (solve ? Calls<T>::tbsv : Calls<T>::tbmv)(&uplo, &op, &diag, &n, &k, band.data(), &ldb, v, &one);
              },
              [&](T* v) { tb_k(&diag, &n, &k, band.data(), &ldb, v, &one); },
              [&](T* v) {
                using D = void(C, C, C, I, I, const T*, I, T*, I);
                kernel<D, T>(mem, tb + "_kernel")(&uplo, &ol, &dl, &n, &k, band.data(), &ldb, v, &one);
              });
        }
      }
  }
}
